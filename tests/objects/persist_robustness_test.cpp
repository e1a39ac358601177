// Damaged streams: random byte changes in valid streams of every object kind must load or be
// refused with a library exception, and never read outside the stream.
#include <cstdint>
#include <random>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/lists.h"

namespace quorel::test {
namespace {

/// A valid stream with vectors, matrices and lists in several precisions.
TBytes ValidStream() {
  TQuorelMemoryStream s;
  TVec v = Cplx({{1, -2}, {3.5, 4}});
  v.SetCaption("vec");
  for (TPrecision p : {prDouble, prSmallInt, prInt24, prMuLaw}) {
    v.SetPrecision(p);
    v.SaveToStream(s);
  }
  TMtx m(2, 2);
  for (double& x : m.Values()) x = -7.5;
  m.SetPrecision(prSingle);
  m.SaveToStream(s);
  TVecList vl;
  vl.SetCount(2);
  vl.SetItems(1, Real({1, 2, 3}));
  vl.SaveToStream(s);
  TMtxList ml;
  ml.SetCount(1);
  ml[0].Size(1, 3);
  ml.SaveToStream(s);
  return BytesOf(s);
}

// Reads the stream as the sequence it was written in, stopping at the first refusal.
void ReadAll(TQuorelMemoryStream& s) {
  TVec v;
  for (int i = 0; i < 4; ++i) v.LoadFromStream(s);
  TMtx m;
  m.LoadFromStream(s);
  TVecList vl;
  vl.LoadFromStream(s);
  TMtxList ml;
  ml.LoadFromStream(s);
}

TEST(PersistRobustness, RandomlyDamagedStreamsLoadOrRaise) {
  const TBytes valid = ValidStream();
  {
    TQuorelMemoryStream s(valid);
    ReadAll(s);
    EXPECT_EQ(s.Remaining(), 0);
  }
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<std::size_t> pos(0, valid.size() - 1);
  std::uniform_int_distribution<int> byte(0, 255), edits(1, 4);
  // Bytes that make headers announce extreme values when they land in a float's exponent.
  const std::uint8_t extremes[] = {0x00, 0x7F, 0x80, 0xFF, 0x4F, 0xCF};
  int refused = 0;
  for (int round = 0; round < 3000; ++round) {
    TBytes bytes = valid;
    for (int k = edits(rng); k > 0; --k) {
      const std::size_t at = pos(rng);
      bytes[at] = round % 2 == 0 ? static_cast<std::uint8_t>(byte(rng)) : extremes[at % 6];
    }
    if (round % 5 == 0) bytes.resize(pos(rng));
    TQuorelMemoryStream s(bytes);
    try {
      ReadAll(s);
    } catch (const Exception&) {
      ++refused;
    }
    ASSERT_LE(s.Position(), s.Size());
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace quorel::test
