// Value encoders and decoders: rounding, saturation, the single-precision stage, the 24-bit
// codec, memory and stream forms, and raw 4-byte blocks.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <limits>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/io/detail/persist_format.h"
#include "quorel/core/errors.h"
#include "quorel/io/persist.h"

namespace quorel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using TValues = std::vector<double>;

/// The values that come back after writing src in the precision and rounding.
TValues RoundTrip(const TValues& src, TPrecision p, TRounding r) {
  TQuorelMemoryStream s;
  const auto n = static_cast<std::int32_t>(src.size());
  WriteBinaryValues(s, src.data(), p, r, false, n);
  EXPECT_EQ(s.Size(), n * detail::BytesPerValue(p));
  s.Seek(0, soBeginning);
  TValues out(src.size(), -999);
  ReadBinaryValues(s, out.data(), p, false, n);
  return out;
}

TEST(PersistValues, RoundingAndSaturation) {
  struct Case {
    TPrecision p;
    TValues in, trunc, round;
  };
  // Narrow integers are converted through single precision, 32-bit ones straight from double:
  // 2.5000001 is the single 2.5.
  const Case cases[] = {
      {prInteger, {-1.6, 2.5, 3.5, 3e9, -3e9, kNaN, 2.5000001}, {-1, 2, 3, 2147483647, -2147483648.0, 0, 2},
       {-2, 2, 4, 2147483647, -2147483648.0, 0, 3}},
      {prCardinal, {-1.6, 2.5, 4294967295.4, 5e9}, {0, 2, 4294967295, 4294967295}, {0, 2, 4294967295, 4294967295}},
      {prSmallInt, {-1.6, 2.5, 40000, -40000, 2.5000001}, {-1, 2, 32767, -32768, 2}, {-2, 2, 32767, -32768, 2}},
      {prWord, {-1.6, 2.5, 70000, 65535.5}, {0, 2, 65535, 65535}, {0, 2, 65535, 65535}},
      {prShortInt, {-1.6, 127.5, -129}, {-1, 127, -128}, {-2, 127, -128}},
      {prByte, {-1.6, 0.5, 1.5, 300}, {0, 0, 1, 255}, {0, 0, 2, 255}},
      {prInt24, {9e6, -9e6, -8388608, 1.5, 2.5, kNaN, 2.5000001}, {8388607, -8388607, -8388607, 1, 2, 0, 2},
       {8388607, -8388607, -8388607, 2, 2, 0, 3}},
      {prMuLaw, {0, 301, -301, 1e9, kNaN}, {0, 308, -308, 32124, 0}, {0, 308, -308, 32124, 0}},
      {prALaw, {0, 301, -301, -1e9, kNaN}, {8, 296, -296, -32256, 8}, {8, 296, -296, -32256, 8}},
      // Singles round to nearest whatever the rounding, and saturate rather than overflow.
      {prSingle, {0.1, -1e39, 1e-50, INFINITY}, {double(0.1f), -double(FLT_MAX), 0, INFINITY},
       {double(0.1f), -double(FLT_MAX), 0, INFINITY}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(RoundTrip(c.in, c.p, rnTrunc), c.trunc) << int(c.p);
    EXPECT_EQ(RoundTrip(c.in, c.p, rnRound), c.round) << int(c.p);
  }
}

// A stream that lends no memory and moves at most 7 bytes per call, as a pipe might.
class TTrickleStream final : public TQuorelStream {
 public:
  TQuorelMemoryStream inner;
  std::int64_t Read(void* b, std::int64_t n) override { return inner.Read(b, std::min<std::int64_t>(n, 7)); }
  std::int64_t Write(const void* b, std::int64_t n) override { return inner.Write(b, std::min<std::int64_t>(n, 7)); }
  std::int64_t Seek(std::int64_t o, TSeekOrigin origin) override { return inner.Seek(o, origin); }
  std::int64_t Position() override { return inner.Position(); }
  std::int64_t Size() override { return inner.Size(); }
};

// Long blocks run in chunks. The three paths (memory stream in place, a stream without memory,
// unaligned caller memory through the scratch) must agree byte for byte and value for value;
// from 8 MB of doubles on, decoded chunks are stored around the caches.
// Memory streams lend the whole block, file streams their buffer a chunk at a time (here at an
// odd offset) and read large blocks past it, other streams take and give small pieces.
TEST(PersistValues, AllPathsAgreeAcrossChunks) {
  const std::string name = ::testing::TempDir() + "quorel_values_paths_" + std::to_string(::getpid()) + ".bin";
  for (const std::int32_t n : {2 * 1024 + 37, 512 * 1024 + 37}) {
    TValues src(2 * static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = std::sin(0.37 * double(i)) * 40000.0;
    for (int p = prDouble; p <= prInt24; ++p) {
      const auto precision = static_cast<TPrecision>(p);
      TQuorelMemoryStream s;
      TTrickleStream t;
      TQuorelFileStream f(name, fmCreate);
      const std::uint8_t odd = 0x5A;
      f.Write(&odd, 1);
      TQuorelStream* const streams[] = {&s, &t, &f};
      for (TQuorelStream* st : streams) WriteBinaryValues(*st, src.data(), precision, rnRound, true, n);
      TBytes mem(static_cast<std::size_t>(s.Size()) + 1);
      WriteBinaryValues(mem.data() + 1, src.data(), precision, rnRound, true, n);
      EXPECT_TRUE(std::ranges::equal(s.Bytes(), t.inner.Bytes())) << p;
      EXPECT_TRUE(std::equal(s.Bytes().begin(), s.Bytes().end(), mem.begin() + 1)) << p;
      ASSERT_EQ(f.Size(), s.Size() + 1) << p;

      TValues a(src.size());
      ReadBinaryValues(mem.data() + 1, a.data(), precision, true, n);
      for (TQuorelStream* st : streams) {
        TValues b(src.size());
        st->Seek(st == &f ? 1 : 0, soBeginning);
        ReadBinaryValues(*st, b.data(), precision, true, n);
        EXPECT_EQ(b, a) << p;
      }
      EXPECT_EQ(a.back(), RoundTrip({src.back()}, precision, rnRound)[0]) << p;
    }
  }
  std::remove(name.c_str());
}

TEST(PersistValues, UnknownPrecisionAndEmptyBlocksMoveNothing) {
  TQuorelMemoryStream s;
  const double x[2] = {1, 2};
  WriteBinaryValues(s, x, static_cast<TPrecision>(11), rnRound, false, 2);
  WriteBinaryValues(s, x, prDouble, rnRound, false, -5);
  EXPECT_EQ(s.Size(), 0);
  TQuorelMemoryStream full(TBytes(64, 0xAB));
  double y[2] = {7, 7};
  ReadBinaryValues(full, y, static_cast<TPrecision>(200), false, 2);
  EXPECT_EQ(full.Position(), 0);
  EXPECT_EQ(y[0], 7);
}

TEST(PersistValues, Int24CodecAndARound) {
  const double in[] = {-8388608.0, 65536.5};
  std::uint8_t bytes[6] = {9, 9, 9, 9, 9, 9};
  FloatTo24Bit(2, in, static_cast<TRounding>(2), bytes);  // neither rounding: nothing written
  EXPECT_EQ(bytes[0], 9);
  FloatTo24Bit(2, in, rnRound, bytes);
  EXPECT_EQ(TBytes(bytes, bytes + 6), (TBytes{0x01, 0x00, 0x80, 0x00, 0x00, 0x01}));
  const std::uint8_t raw[6] = {0x00, 0x00, 0x80, 0x34, 0x12, 0x00};
  double out[3] = {0, 0, 0};
  Bit24ToFloat(2, raw, out, 1);
  EXPECT_EQ(out[1], -8388608);  // readable although never written
  EXPECT_EQ(out[2], 0x1234);
  EXPECT_EQ((std::vector<std::int32_t>{aRound(2.5), aRound(-3.5), aRound(1e12), aRound(kNaN)}),
            (std::vector<std::int32_t>{2, -4, 2147483647, 0}));
}

TEST(PersistValues, RawFourByteBlocks) {
  TQuorelMemoryStream s;
  const std::vector<float> f{1.5f, -2};
  const std::vector<std::int32_t> i{7, -8, 9};
  WriteBinaryToStream(s, 2, f);
  WriteBinaryToStream(s, 3, i);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { WriteBinaryToStream(s, 4, i); }),
            "WriteBinaryToStream: Count > Length(Values) (4 > 3)");
  s.Seek(0, soBeginning);
  TSingleArray fr;
  TIntegerArray ir;
  EXPECT_TRUE(ReadBinaryFromStream(s, 2, fr));
  EXPECT_EQ(fr, f);
  EXPECT_FALSE(ReadBinaryFromStream(s, 4, ir));  // only three are left
  EXPECT_EQ(ir, (TIntegerArray{7, -8, 9, 0}));
}

}  // namespace
}  // namespace quorel::test
