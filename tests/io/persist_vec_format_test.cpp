// The vector's binary layout byte for byte, and its reader on old, foreign and short input.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/io/lists.h"
#include "quorel/io/persist.h"

namespace quorel::test {
namespace {

/// The 11 header singles as the layout table lists them, and the caption block.
TBytes VecHeader(float complex, float length, float condCheck, float precision, float tag, const char* caption = "") {
  TBytes b = Put<float>({complex, length, 0, condCheck, precision, 200, 8, tag, 64019, 0, 0});
  return PutCaption(b, caption);
}

// One input through every precision: rounding to nearest, saturation at each type's range; the
// header carries the caption and the tag. Complex values are interleaved (re, im).
TEST(VecFormat, HeaderAndValuesBlockOfEveryPrecision) {
  TVec v = Real({2.5, -1.6, 300.7, 1e6});
  v.SetRounding(rnRound);
  v.SetCaption("ab");
  v.SetTag(7);
  const TBytes blocks[] = {
      Put<double>({2.5, -1.6, 300.7, 1e6}),
      Put<float>({2.5f, -1.6f, 300.7f, 1e6f}),
      Put<std::int32_t>({2, -2, 301, 1000000}),
      Put<std::uint32_t>({2, 0, 301, 1000000}),
      Put<std::int16_t>({2, -2, 301, 32767}),
      Put<std::uint16_t>({2, 0, 301, 65535}),
      Put<std::int8_t>({2, -2, 127, 127}),
      Put<std::uint8_t>({2, 0, 255, 255}),
      {0xFF, 0x7E, 0xE4, 0x80},                                                      // mu-law
      {0xD5, 0x55, 0xC7, 0xAA},                                                      // A-law
      {0x02, 0x00, 0x00, 0xFE, 0xFF, 0xFF, 0x2D, 0x01, 0x00, 0x40, 0x42, 0x0F},  // 24-bit
  };
  for (int p = prDouble; p <= prInt24; ++p) {
    v.SetPrecision(static_cast<TPrecision>(p));
    TBytes expected = VecHeader(0, 4, 1, static_cast<float>(p), 7, "ab");
    expected.insert(expected.end(), blocks[p].begin(), blocks[p].end());
    EXPECT_EQ(Saved(v), expected) << "precision " << p;
  }
  TVec c = Cplx({{1.4, -2.6}, {40000, 7}});
  c.SetPrecision(prSmallInt);
  c.SetRounding(rnRound);
  c.SetConditionCheck(false);
  TBytes expected = VecHeader(1, 2, 0, prSmallInt, 0);
  Put<std::int16_t>(expected, {1, -3, 32767, 7});
  EXPECT_EQ(Saved(c), expected);
}

TEST(VecFormat, ReadingRestoresFieldsAndOldVersionsHaveNoCaption) {
  TVec v = Cplx({{1, 2}, {3, 4}, {5, 6}}), r = Real({9});
  v.SetCaption("caption");
  v.SetTag(-12);
  v.SetPrecision(prInteger);
  v.SetConditionCheck(false);
  SaveAndLoad(v, r);
  EXPECT_EQ(Doubles(r), Doubles(v));
  EXPECT_EQ(std::tuple(r.Length(), r.Caption(), r.Tag(), r.Precision(), r.ConditionCheck()),
            std::tuple(3, "caption", -12, prInteger, false));
  EXPECT_EQ(QuorelTVecVer.load(), 200);

  TBytes old = Put<float>({0, 2, 0, 1, prSmallInt, 100, 8, 55, 0, 0, 0});  // no file code either
  Put<std::int16_t>(old, {-7, 9});
  TQuorelMemoryStream o(old);
  r.LoadFromStream(o);
  EXPECT_EQ(Doubles(r), (std::vector<double>{-7, 9}));
  EXPECT_TRUE(r.Caption() == "caption" && r.Tag() == -12);  // neither caption nor tag in that layout
  EXPECT_EQ(QuorelTVecVer.load(), 100);
}

// The format has no integer flag: integer data is written as the values it holds, in every
// precision, and loads back as reals, also into an object that held integers.
TEST(VecFormat, IntegerDataIsWrittenAsItsValues) {
  TVec ints = IndexList({1, 2, -3, 70000});
  TBytes expected = VecHeader(0, 4, 1, 0, 0);
  Put<double>(expected, {1, 2, -3, 70000});
  EXPECT_EQ(Saved(ints), expected);
  ints.SetPrecision(prSmallInt);
  expected = VecHeader(0, 4, 1, prSmallInt, 0);
  Put<std::int16_t>(expected, {1, 2, -3, 32767});
  EXPECT_EQ(Saved(ints), expected);

  // Longer than the stretch the writer widens at a time.
  TVec many(5000), r = IndexList({9});
  many.SetIsInteger(true);
  std::vector<double> values(5000);
  for (int i = 0; i < 5000; ++i) values[i] = many.IValues()[i] = 3 * i - 7000;
  many.SetPrecision(prInteger);
  SaveAndLoad(many, r);
  EXPECT_FALSE(r.IsInteger());
  EXPECT_EQ(Doubles(r), values);

  TMtx back(1, 2);  // the matrix's own header reader sizes it
  back.SetIsInteger(true);
  SaveAndLoad(RealMtx(1, 2, {5, -6}), back);
  EXPECT_FALSE(back.IsInteger());
  EXPECT_EQ(Doubles(back), (std::vector<double>{5, -6}));
}

// A caption is written whole but read back only up to 254 bytes; the reader then continues
// inside the text. Both halves of the asymmetry are pinned.
TEST(VecFormat, LongCaptionIsWrittenWholeAndReadShort) {
  TVec v = Real({1});
  v.SetCaption(std::string(254, 'a') + "\x01\x02\x03\x04\x05\x06\x07\x08");
  TQuorelMemoryStream s;
  v.SaveToStream(s);
  EXPECT_EQ(s.Size(), 44 + 4 + 262 + 8);
  s.Seek(0, soBeginning);
  TVec r;
  r.LoadFromStream(s);
  EXPECT_EQ(r.Caption(), std::string(254, 'a'));
  const std::uint8_t tail[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(std::memcmp(r.PValues1D(0), tail, 8), 0);  // the caption's tail read as the value
}

TEST(VecFormat, RefusalsChangeNothing) {
  TVec v = Real({4, 5});
  v.SetCaption("c");
  const auto load = [&](float length, float fileCode, std::size_t keep) {
    TBytes b = Put<float>({0, length, 0, 1, 0, 200, 8, 9, fileCode, 0, 0});
    PutCaption(b, "x");
    b.resize(std::min(b.size(), keep));
    TQuorelMemoryStream s(b);
    v.LoadFromStream(s);
  };
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(3, 64018, 99); }), "Wrong file format!");
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(3, 64019, 43); }), "Error reading stream!");
  EXPECT_EQ(MessageOf<EOutOfMemory>([&] { load(1e30f, 64019, 99); }), "Quorel: Out of memory!");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(-3, 64019, 99); }), "Value < 0");
  EXPECT_EQ(Doubles(v), (std::vector<double>{4, 5}));
  EXPECT_TRUE(v.Caption() == "c" && v.Tag() == 0);
}

std::uint64_t Bits(double x) { return std::bit_cast<std::uint64_t>(x); }

// The raw reader reads a short block as a plain read does: what arrived, then nothing.
TEST(VecFormat, ShortBlockLeavesTheRestOfTheDestination) {
  TBytes b = Put<double>({1, 0.1});
  b.resize(b.size() - 4);  // the second double loses its upper half
  TQuorelMemoryStream s(b);
  double dst[4] = {7, 7, 7, 7};
  ReadBinaryValues(s, dst, prDouble, false, 2);
  EXPECT_EQ(dst[0], 1);
  EXPECT_EQ(Bits(dst[1]), (Bits(7) & 0xFFFFFFFF00000000u) | (Bits(0.1) & 0xFFFFFFFFu));
  EXPECT_EQ(dst[2], 7);

  b = Put<std::int16_t>({1, -2});
  b.push_back(0x7F);  // part of a third value: read, but not decodable
  TQuorelMemoryStream c(b);
  ReadBinaryValues(c, dst, prSmallInt, true, 2);
  EXPECT_TRUE(dst[0] == 1 && dst[1] == -2 && dst[2] == 7 && dst[3] == 7);
  EXPECT_EQ(c.Position(), c.Size());
}

// A load that keeps the vector's size leaves the values the block did not supply; one that
// resized it zeroes them rather than expose what the allocator left in the new storage, also in
// a large block the heap hands out again.
TEST(VecFormat, ShortValuesBlockOfALoad) {
  auto shortBlock = [](TPrecision p, std::int32_t n) {
    TBytes b = VecHeader(0, static_cast<float>(n), 1, p, 0);
    p == prDouble ? Put<double>(b, {11, 22}) : Put<std::int32_t>(b, {11, 22});
    b.push_back(0x7F);  // a partial third value
    return b;
  };
  for (const TPrecision p : {prInteger, prDouble}) {
    TVec v(300);
    v.SetVal(-1);
    TQuorelMemoryStream s(shortBlock(p, 300));
    v.LoadFromStream(s);
    EXPECT_EQ(v[1], 22);
    EXPECT_EQ(Bits(v[2]), p == prDouble ? (Bits(-1) & ~std::uint64_t{0xFF}) | 0x7F : Bits(-1));
    for (int i = 3; i < 300; ++i) ASSERT_EQ(v[i], -1) << "precision " << p << " element " << i;

    for (const std::int32_t n : {300, 1 << 20, (1 << 20) + 1, (1 << 20) + 2}) {  // up to 8 MB
      {  // heap storage the resized vector is likely to be given next, full of non-zero bytes
        TVec garbage(n);
        garbage.SetVal(-1);
      }
      TVec r = Real({5});
      TQuorelMemoryStream t(shortBlock(p, n));
      r.LoadFromStream(t);
      ASSERT_EQ(r.Length(), n);
      EXPECT_EQ(r[1], 22);
      EXPECT_EQ(Bits(r[2]), p == prDouble ? 0x7Fu : 0u);
      const double* x = r.PValues1D(0);
      EXPECT_TRUE(std::all_of(x + 3, x + n, [](double y) { return Bits(y) == 0; })) << "precision " << p << " n " << n;
    }
  }
  // A precision the reader does not know supplies nothing.
  TBytes unknown = VecHeader(0, 3, 1, 42, 0);
  Put<double>(unknown, {1, 2, 3});
  TVec same = Real({4, 5, 6}), grown = Real({4});
  TQuorelMemoryStream u1(unknown), u2(unknown);
  same.LoadFromStream(u1);
  grown.LoadFromStream(u2);
  EXPECT_EQ(Doubles(same), (std::vector<double>{4, 5, 6}));
  EXPECT_EQ(Doubles(grown), (std::vector<double>{0, 0, 0}));
}

// A /proc/self/status figure in kB, or -1 where the system does not tell.
long StatusKb(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key + ":", 0) == 0) return std::stol(line.substr(key.size() + 1));
  }
  return -1;
}

// A few bytes announcing a huge vector must cost neither memory nor time: the storage the load
// takes is not written, nor read (reading fresh pages would build page tables for all of them),
// not even when a list repeats such an item with a precision that supplies no bytes at all.
TEST(VecFormat, HugeLengthWithNoValuesCostsNothing) {
  if (StatusKb("VmRSS") < 0 || StatusKb("VmPTE") < 0) GTEST_SKIP() << "no memory figures on this system";
  TBytes b = VecHeader(1, 25'000'000, 1, prDouble, 0);  // 400 MB of complex values
  Put<double>(b, {1, 2});
  TQuorelMemoryStream s(b);
  TVec v;
  const long rss = StatusKb("VmRSS"), pte = StatusKb("VmPTE");
  v.LoadFromStream(s);
  ASSERT_EQ(v.Length(), 25'000'000);
  EXPECT_EQ(v.atc(0), (TCplx{1, 2}));
  EXPECT_EQ(v.atc(24'999'999), (TCplx{0, 0}));

  constexpr std::int32_t kItems = 16;
  TBytes items = Put<std::int32_t>({kItems});
  for (int i = 0; i < kItems; ++i) {
    const TBytes item = VecHeader(0, 1 << 25, 0, 11, 0);  // 256 MB each, no values
    items.insert(items.end(), item.begin(), item.end());
  }
  TQuorelMemoryStream t(items);
  TVecList list;
  list.LoadFromStream(t);
  ASSERT_EQ(list.Count(), kItems);
  EXPECT_EQ(list[kItems - 1][(1 << 25) - 1], 0);
  EXPECT_LT(StatusKb("VmRSS") - rss, 100'000);
  EXPECT_LT(StatusKb("VmPTE") - pte, 1'000);  // reading 4 GB of fresh 4 KB pages would take 8,000
}

// A vector with header data of its own, right after the caption.
class TUnitVec : public TVec {
 public:
  std::string unit;

 protected:
  void InternalWriteHeader(TQuorelStream& stream) const override { WriteShortString(stream, unit); }
  void InternalReadHeader(TQuorelStream& stream) override { unit = ReadShortString(stream); }
};

TEST(VecFormat, SubclassHeaderDataRoundTrips) {
  TUnitVec v;
  v.SetDouble(std::vector<double>{1.5, -2});
  v.SetCaption("c");
  v.unit = "volt";
  TBytes expected = VecHeader(0, 2, v.ConditionCheck() ? 1 : 0, prDouble, 0, "c");
  PutCaption(expected, "volt");
  Put<double>(expected, {1.5, -2});
  EXPECT_EQ(Saved(v), expected);
  TQuorelMemoryStream s(expected);
  TUnitVec r;
  r.LoadFromStream(s);
  EXPECT_EQ(std::tuple(r.unit, r.Caption()), std::tuple("volt", "c"));
  EXPECT_EQ(Doubles(r), (std::vector<double>{1.5, -2}));
  EXPECT_EQ(s.Position(), s.Size());
}

}  // namespace
}  // namespace quorel::test
