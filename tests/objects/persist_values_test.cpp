// Value encoders and decoders: rounding, saturation, the single-precision stage, the 24-bit
// codec, memory and stream forms, and raw 4-byte blocks.
#include <cfloat>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/persist.h"

namespace quorel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The values that come back after writing src in the precision and rounding.
std::vector<double> RoundTrip(const std::vector<double>& src, TPrecision p, TRounding r) {
  TQuorelMemoryStream s;
  WriteBinaryValues(s, src.data(), p, r, false, static_cast<std::int32_t>(src.size()));
  EXPECT_EQ(s.Size(), static_cast<std::int64_t>(src.size()) * detail::BytesPerValue(p));
  s.Seek(0, soBeginning);
  std::vector<double> out(src.size(), -999);
  ReadBinaryValues(s, out.data(), p, false, static_cast<std::int32_t>(src.size()));
  return out;
}

TEST(PersistValues, RoundingAndSaturationOfIntegerPrecisions) {
  struct Case {
    TPrecision p;
    std::vector<double> in, trunc, round;
  };
  const Case cases[] = {
      {prInteger, {-1.6, 2.5, 3.5, 3e9, -3e9, kNaN}, {-1, 2, 3, 2147483647, -2147483648.0, 0},
       {-2, 2, 4, 2147483647, -2147483648.0, 0}},
      {prCardinal, {-1.6, 2.5, 4294967295.4, 5e9, -0.4}, {0, 2, 4294967295, 4294967295, 0},
       {0, 2, 4294967295, 4294967295, 0}},
      {prSmallInt, {-1.6, 2.5, 40000, -40000, 32767.4}, {-1, 2, 32767, -32768, 32767}, {-2, 2, 32767, -32768, 32767}},
      {prWord, {-1.6, 2.5, 70000, 65535.5}, {0, 2, 65535, 65535}, {0, 2, 65535, 65535}},
      {prShortInt, {-1.6, 127.5, -129, -128.5}, {-1, 127, -128, -128}, {-2, 127, -128, -128}},
      {prByte, {-1.6, 0.5, 1.5, 300}, {0, 0, 1, 255}, {0, 0, 2, 255}},
      {prInt24, {9e6, -9e6, -8388608, 1.5, 2.5, -2.5, kNaN}, {8388607, -8388607, -8388607, 1, 2, -2, 0},
       {8388607, -8388607, -8388607, 2, 2, -2, 0}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(RoundTrip(c.in, c.p, rnTrunc), c.trunc) << int(c.p);
    EXPECT_EQ(RoundTrip(c.in, c.p, rnRound), c.round) << int(c.p);
  }
}

// Narrow integers are converted through single precision, 32-bit ones straight from double.
TEST(PersistValues, NarrowIntegersSeeTheSingle) {
  const double justAboveHalf = 2.5000001;  // a single holds it as 2.5
  EXPECT_EQ(RoundTrip({justAboveHalf}, prSmallInt, rnRound)[0], 2);
  EXPECT_EQ(RoundTrip({justAboveHalf}, prByte, rnRound)[0], 2);
  EXPECT_EQ(RoundTrip({justAboveHalf}, prInteger, rnRound)[0], 3);
  EXPECT_EQ(RoundTrip({justAboveHalf}, prInt24, rnRound)[0], 3);
}

TEST(PersistValues, FloatingPrecisions) {
  const std::vector<double> in{0.1, -1e39, 1e-50, INFINITY, 1.0 / 3};
  const std::vector<double> single = RoundTrip(in, prSingle, rnTrunc);
  EXPECT_EQ(single[0], double(0.1f));
  EXPECT_EQ(single[1], -double(FLT_MAX));  // saturates rather than overflowing to infinity
  EXPECT_EQ(single[2], 0.0);
  EXPECT_EQ(single[3], INFINITY);
  EXPECT_EQ(single[4], double(1.0f / 3));
  const std::vector<double> dbl = RoundTrip({kNaN, -0.0, DBL_MIN / 4}, prDouble, rnRound);
  EXPECT_TRUE(std::isnan(dbl[0]));
  EXPECT_TRUE(std::signbit(dbl[1]));
  EXPECT_EQ(dbl[2], DBL_MIN / 4);
}

TEST(PersistValues, CompandedPrecisionsReturnTheReconstructionLevel) {
  const std::vector<double> in{0, 301, -301, 1e9, -1e9, kNaN};
  EXPECT_EQ(RoundTrip(in, prMuLaw, rnTrunc), (std::vector<double>{0, 308, -308, 32124, -32124, 0}));
  EXPECT_EQ(RoundTrip(in, prALaw, rnTrunc), (std::vector<double>{8, 296, -296, 32256, -32256, 8}));
}

// Long blocks run in chunks; the memory forms must agree with the stream forms byte for byte,
// at any alignment of the caller's buffer.
TEST(PersistValues, MemoryAndStreamFormsAgreeAcrossChunks) {
  const std::int32_t n = 2 * 1024 + 37;
  std::vector<double> src(2 * static_cast<std::size_t>(n));
  for (std::size_t i = 0; i < src.size(); ++i) src[i] = std::sin(0.37 * double(i)) * 40000.0;
  for (int p = prDouble; p <= prInt24; ++p) {
    const auto precision = static_cast<TPrecision>(p);
    TQuorelMemoryStream s;
    WriteBinaryValues(s, src.data(), precision, rnRound, true, n);
    const std::size_t bytes = src.size() * static_cast<std::size_t>(detail::BytesPerValue(precision));
    ASSERT_EQ(s.Size(), static_cast<std::int64_t>(bytes)) << p;
    TBytes mem(bytes + 1);
    WriteBinaryValues(mem.data() + 1, src.data(), precision, rnRound, true, n);
    EXPECT_TRUE(std::equal(s.Bytes().begin(), s.Bytes().end(), mem.begin() + 1)) << p;

    std::vector<double> fromStream(src.size()), fromMemory(src.size());
    s.Seek(0, soBeginning);
    ReadBinaryValues(s, fromStream.data(), precision, true, n);
    ReadBinaryValues(mem.data() + 1, fromMemory.data(), precision, true, n);
    EXPECT_EQ(fromStream, fromMemory) << p;
    // Spot check the last element: the final partial chunk is decoded too.
    std::vector<double> last = RoundTrip({src.back()}, precision, rnRound);
    EXPECT_EQ(fromStream.back(), last[0]) << p;
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

// The chunked path of streams that lend no memory gives the same bytes and values as the
// in-place path of the memory stream, including a partial last chunk.
TEST(PersistValues, StreamsWithoutMemoryAndShortTransfers) {
  TVec v;
  v.Size(1500, true);
  for (std::size_t i = 0; i < v.Values().size(); ++i) v.Values()[i] = std::cos(0.01 * double(i)) * 1e5;
  for (int p = prDouble; p <= prInt24; ++p) {
    v.SetPrecision(static_cast<TPrecision>(p));
    TQuorelMemoryStream direct;
    TTrickleStream trickle;
    v.SaveToStream(direct);
    v.SaveToStream(trickle);
    EXPECT_TRUE(std::ranges::equal(direct.Bytes(), trickle.inner.Bytes())) << p;
    TVec a, b;
    direct.Seek(0, soBeginning);
    trickle.Seek(0, soBeginning);
    a.LoadFromStream(direct);
    b.LoadFromStream(trickle);
    EXPECT_TRUE(std::ranges::equal(a.Values(), b.Values())) << p;
    EXPECT_EQ(trickle.Position(), trickle.Size()) << p;
  }
}

TEST(PersistValues, UnknownPrecisionAndEmptyBlocksMoveNothing) {
  TQuorelMemoryStream s;
  const double x[2] = {1, 2};
  WriteBinaryValues(s, x, static_cast<TPrecision>(11), rnRound, false, 2);
  WriteBinaryValues(s, x, prDouble, rnRound, false, 0);
  WriteBinaryValues(s, x, prDouble, rnRound, false, -5);
  EXPECT_EQ(s.Size(), 0);
  TQuorelMemoryStream full(TBytes(64, 0xAB));
  double y[2] = {7, 7};
  ReadBinaryValues(full, y, static_cast<TPrecision>(200), false, 2);
  EXPECT_EQ(full.Position(), 0);
  EXPECT_EQ(y[0], 7);
}

TEST(PersistValues, Int24Codec) {
  const double in[] = {-8388608.0, 8388607.6, -1.5, 65536.5, kNaN};
  std::uint8_t bytes[15] = {};
  FloatTo24Bit(5, in, rnRound, bytes);
  const std::uint8_t expected[15] = {0x01, 0x00, 0x80, 0xFF, 0xFF, 0x7F, 0xFE, 0xFF, 0xFF,
                                     0x00, 0x00, 0x01, 0x00, 0x00, 0x00};
  EXPECT_TRUE(std::equal(bytes, bytes + 15, expected));
  std::uint8_t untouched[3] = {9, 9, 9};
  FloatTo24Bit(1, in, static_cast<TRounding>(2), untouched);
  EXPECT_EQ(untouched[0], 9);

  const std::uint8_t raw[9] = {0x00, 0x00, 0x80, 0xFF, 0xFF, 0x7F, 0x34, 0x12, 0x00};
  double out[5] = {0, 0, 0, 0, 0};
  Bit24ToFloat(3, raw, out, 2);
  EXPECT_EQ(out[1], 0);
  EXPECT_EQ(out[2], -8388608);  // readable although never written
  EXPECT_EQ(out[3], 8388607);
  EXPECT_EQ(out[4], 0x1234);
}

TEST(PersistValues, ARoundTiesToEvenAndSaturates) {
  EXPECT_EQ(aRound(2.5), 2);
  EXPECT_EQ(aRound(3.5), 4);
  EXPECT_EQ(aRound(-2.5), -2);
  EXPECT_EQ(aRound(-2.6), -3);
  EXPECT_EQ(aRound(1e12), 2147483647);
  EXPECT_EQ(aRound(-1e12), -2147483647 - 1);
  EXPECT_EQ(aRound(kNaN), 0);
}

TEST(PersistValues, RawFourByteBlocks) {
  TQuorelMemoryStream s;
  const std::vector<float> f{1.5f, -2};
  const std::vector<std::int32_t> i{7, -8, 9};
  WriteBinaryToStream(s, 2, f);
  WriteBinaryToStream(s, 3, i);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { WriteBinaryToStream(s, 4, i); }),
            "WriteBinaryToStream: Count > Length(Values) (4 > 3)");
  TBytes expected;
  Put<float>(expected, {1.5f, -2});
  Put<std::int32_t>(expected, {7, -8, 9});
  EXPECT_EQ(BytesOf(s), expected);

  s.Seek(0, soBeginning);
  TSingleArray fr;
  TIntegerArray ir;
  EXPECT_TRUE(ReadBinaryFromStream(s, 2, fr));
  EXPECT_EQ(fr, f);
  EXPECT_FALSE(ReadBinaryFromStream(s, 4, ir));  // only three are left
  EXPECT_EQ(ir.size(), 4u);
  EXPECT_EQ(ir[2], 9);
  EXPECT_FALSE(ReadBinaryFromStream(s, -1, ir));
  EXPECT_TRUE(ir.empty());
}

}  // namespace
}  // namespace quorel::test
