// Damaged streams (run under the sanitizers): every prefix of a valid stream of every object
// kind, and random byte changes in it, must load or be refused with a library exception.
#include <cstdint>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/io/lists.h"

namespace quorel::test {
namespace {

TBytes ValidStream() {
  TQuorelMemoryStream s;
  TVec v = Cplx({{1, -2}, {3.5, 4}});
  v.SetCaption("vec");
  for (TPrecision p : {prDouble, prSmallInt, prInt24, prMuLaw}) {
    v.SetPrecision(p);
    v.SaveToStream(s);
  }
  TMtx m(2, 2);
  m.SetPrecision(prSingle);
  m.SaveToStream(s);
  TVecList vl;
  vl.SetCount(2);
  vl.SetItems(1, Real({1, 2, 3}));
  vl.SaveToStream(s);
  TMtxList ml;
  ml.SetCount(1);
  ml.SaveToStream(s);
  return BytesOf(s);
}

// Reads the objects in the order they were written; a cut inside a values block is not
// reported, a cut anywhere else raises its reader's error.
void ReadAll(const TBytes& bytes) {
  TQuorelMemoryStream s(bytes);
  try {
    TVec v;
    for (int i = 0; i < 4; ++i) v.LoadFromStream(s);
    TMtx m;
    m.LoadFromStream(s);
    TVecList vl;
    vl.LoadFromStream(s);
    TMtxList ml;
    ml.LoadFromStream(s);
  } catch (const Exception&) {
  }
  ASSERT_LE(s.Position(), s.Size());
}

TEST(PersistRobustness, EveryPrefixAndRandomDamage) {
  const TBytes valid = ValidStream();
  for (std::size_t len = 0; len <= valid.size(); ++len) ReadAll(TBytes(valid.begin(), valid.begin() + len));
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<std::size_t> pos(0, valid.size() - 1);
  // Bytes that give headers extreme values when they land in a single's exponent.
  const std::uint8_t extremes[] = {0x00, 0x7F, 0x80, 0xFF, 0x4F, 0xCF};
  for (int round = 0; round < 3000; ++round) {
    TBytes bytes = valid;
    for (int k = round % 4; k >= 0; --k) bytes[pos(rng)] = round % 2 == 0 ? rng() & 0xFF : extremes[rng() % 6];
    ReadAll(bytes);
  }
}

}  // namespace
}  // namespace quorel::test
