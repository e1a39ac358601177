// The vector's binary layout byte for byte, and its reader on old, foreign and damaged input.
#include <cmath>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/persist.h"

namespace quorel::test {
namespace {

/// The 11 header singles as the layout table lists them.
TBytes VecHeader(float complex, float length, float condCheck, float precision, float tag) {
  TBytes b;
  return Put<float>(b, {complex, length, 0, condCheck, precision, 200, 8, tag, 64019, 0, 0});
}

TBytes Saved(const TVec& v) {
  TQuorelMemoryStream s;
  v.SaveToStream(s);
  return BytesOf(s);
}

TEST(VecFormat, RealDoubleBytes) {
  TVec v = Real({1, -2.5, 3});
  v.SetCaption("ab");
  v.SetTag(7);
  TBytes expected = VecHeader(0, 3, 1, 0, 7);
  PutCaption(expected, "ab");
  Put<double>(expected, {1, -2.5, 3});
  const TBytes got = Saved(v);
  EXPECT_EQ(got, expected);
  EXPECT_EQ(got.size(), 44u + 4 + 2 + 24);
  // Version 200.0f and file code 64019.0f as literal little-endian IEEE singles.
  EXPECT_EQ(TBytes(got.begin() + 20, got.begin() + 24), (TBytes{0x00, 0x00, 0x48, 0x43}));
  EXPECT_EQ(TBytes(got.begin() + 32, got.begin() + 36), (TBytes{0x00, 0x13, 0x7A, 0x47}));
}

TEST(VecFormat, ComplexSmallIntBytes) {
  TVec v = Cplx({{1.4, -2.6}, {40000, 7}});
  v.SetPrecision(prSmallInt);
  v.SetRounding(rnRound);
  v.SetConditionCheck(false);
  TBytes expected = VecHeader(1, 2, 0, prSmallInt, 0);
  PutCaption(expected, "");
  Put<std::int16_t>(expected, {1, -3, 32767, 7});
  EXPECT_EQ(Saved(v), expected);
}

// One input through every precision: rounding to nearest, saturation at each type's range.
TEST(VecFormat, ValuesBlockOfEveryPrecision) {
  const TVec v = Real({2.5, -1.6, 300.7, 1e6});
  struct Case {
    TPrecision precision;
    TBytes values;
  };
  TBytes d, s, i32, u32, i16, u16, i8, u8;
  const Case cases[] = {
      {prDouble, Put<double>(d, {2.5, -1.6, 300.7, 1e6})},
      {prSingle, Put<float>(s, {2.5f, -1.6f, 300.7f, 1e6f})},
      {prInteger, Put<std::int32_t>(i32, {2, -2, 301, 1000000})},
      {prCardinal, Put<std::uint32_t>(u32, {2, 0, 301, 1000000})},
      {prSmallInt, Put<std::int16_t>(i16, {2, -2, 301, 32767})},
      {prWord, Put<std::uint16_t>(u16, {2, 0, 301, 65535})},
      {prShortInt, Put<std::int8_t>(i8, {2, -2, 127, 127})},
      {prByte, Put<std::uint8_t>(u8, {2, 0, 255, 255})},
      {prMuLaw, {0xFF, 0x7E, 0xE4, 0x80}},
      {prALaw, {0xD5, 0x55, 0xC7, 0xAA}},
      {prInt24, {0x02, 0x00, 0x00, 0xFE, 0xFF, 0xFF, 0x2D, 0x01, 0x00, 0x40, 0x42, 0x0F}},
  };
  for (const Case& c : cases) {
    TVec w = v;
    w.SetPrecision(c.precision);
    w.SetRounding(rnRound);
    TBytes expected = VecHeader(0, 4, 1, static_cast<float>(c.precision), 0);
    PutCaption(expected, "");
    expected.insert(expected.end(), c.values.begin(), c.values.end());
    EXPECT_EQ(Saved(w), expected) << "precision " << int(c.precision);
  }
}

TEST(VecFormat, ReadBackRestoresHeaderFields) {
  TVec v = Cplx({{1, 2}, {3, 4}, {5, 6}});
  v.SetCaption("caption");
  v.SetTag(-12);
  v.SetPrecision(prInteger);
  v.SetConditionCheck(false);
  TQuorelMemoryStream s;
  v.SaveToStream(s);
  s.Seek(0, soBeginning);
  TVec r = Real({9});
  r.LoadFromStream(s);
  EXPECT_TRUE(r.Complex());
  EXPECT_EQ(r.Length(), 3);
  EXPECT_EQ(r.Caption(), "caption");
  EXPECT_EQ(r.Tag(), -12);
  EXPECT_EQ(r.Precision(), prInteger);
  EXPECT_FALSE(r.ConditionCheck());
  EXPECT_EQ(r.CValues()[2], (TCplx{5, 6}));
  EXPECT_EQ(QuorelTVecVer.load(), 200);
  EXPECT_EQ(s.Position(), s.Size());
}

TEST(VecFormat, OldVersionHasNoCaptionNorFileCode) {
  TBytes b;
  Put<float>(b, {0, 2, 0, 1, prSmallInt, 100, 8, 55, 0, 0, 0});
  Put<std::int16_t>(b, {-7, 9});
  TQuorelMemoryStream s(b);
  TVec v;
  v.SetCaption("kept");
  v.SetTag(3);
  v.LoadFromStream(s);
  EXPECT_EQ(v.Length(), 2);
  EXPECT_EQ(v[0], -7);
  EXPECT_EQ(v[1], 9);
  EXPECT_EQ(v.Caption(), "kept");  // neither caption nor tag in this layout
  EXPECT_EQ(v.Tag(), 3);
  EXPECT_EQ(QuorelTVecVer.load(), 100);
}

// A caption is written whole but read back only up to 254 bytes; the reader then continues
// inside the text. Both halves of the asymmetry are pinned.
TEST(VecFormat, LongCaptionIsWrittenWholeAndReadShort) {
  TVec v = Real({1});
  v.SetCaption(std::string(254, 'a'));
  TQuorelMemoryStream ok;
  v.SaveToStream(ok);
  ok.Seek(0, soBeginning);
  TVec r;
  r.LoadFromStream(ok);
  EXPECT_EQ(r.Caption(), std::string(254, 'a'));
  EXPECT_EQ(r[0], 1);

  v.SetCaption(std::string(254, 'a') + "\x01\x02\x03\x04\x05\x06\x07\x08");
  TQuorelMemoryStream s;
  v.SaveToStream(s);
  EXPECT_EQ(s.Size(), 44 + 4 + 262 + 8);
  s.Seek(0, soBeginning);
  r.LoadFromStream(s);
  EXPECT_EQ(r.Caption(), std::string(254, 'a'));
  double first;
  const std::uint8_t tail[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::memcpy(&first, tail, 8);
  EXPECT_EQ(std::memcmp(r.PValues1D(0), &first, 8), 0);  // the caption's tail read as the value
}

TEST(VecFormat, ForeignOrShortHeaderChangesNothing) {
  TVec v = Real({4, 5});
  v.SetCaption("c");
  v.SetTag(1);
  const auto unchanged = [&] {
    EXPECT_EQ(v.Length(), 2);
    EXPECT_EQ(v[1], 5);
    EXPECT_EQ(v.Caption(), "c");
    EXPECT_EQ(v.Tag(), 1);
  };
  TBytes foreign;
  Put<float>(foreign, {0, 3, 0, 1, 0, 200, 8, 9, 64018, 0, 0});
  TQuorelMemoryStream f(foreign);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { v.LoadFromStream(f); }), "Wrong file format!");
  unchanged();
  TQuorelMemoryStream shortHeader(TBytes(foreign.begin(), foreign.begin() + 43));
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.LoadFromStream(shortHeader); }), "Error reading stream!");
  unchanged();
}

TEST(VecFormat, AbsurdSizesAreRefusedBySizing) {
  TVec v = Real({4, 5});
  const auto load = [&](float complex, float length) {
    TBytes b = VecHeader(complex, length, 1, 0, 0);
    PutCaption(b, "");
    TQuorelMemoryStream s(b);
    v.LoadFromStream(s);
  };
  EXPECT_EQ(MessageOf<EOutOfMemory>([&] { load(0, 1e30f); }), "Quorel: Out of memory!");
  EXPECT_EQ(MessageOf<EOutOfMemory>([&] { load(1, 1.5e9f); }), "Quorel: Out of memory!");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(0, -3); }), "Value < 0");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(0, NAN); }), "<no exception>");  // NaN counts 0
  EXPECT_EQ(v.Length(), 0);
}

// A short values block fills what arrived and leaves the rest as it was.
TEST(VecFormat, ShortValuesBlock) {
  TBytes b = VecHeader(0, 3, 1, prInteger, 0);
  PutCaption(b, "");
  Put<std::int32_t>(b, {11, 22});
  b.push_back(0x7F);  // a partial third value
  TVec v = Real({-1, -1, -1});
  TQuorelMemoryStream s(b);
  v.LoadFromStream(s);
  EXPECT_EQ(v[0], 11);
  EXPECT_EQ(v[1], 22);
  EXPECT_EQ(v[2], -1);
}

// Every prefix of a stream of several objects either loads or raises one of the reader's errors.
TEST(VecFormat, EveryPrefixLoadsOrRaises) {
  TQuorelMemoryStream whole;
  TVec a = Real({1, 2, 3});
  a.SetCaption("first");
  a.SaveToStream(whole);
  TVec b = Cplx({{1, -1}, {2, -2}});
  b.SetPrecision(prInt24);
  b.SaveToStream(whole);
  TVec c = Real({0.5});
  c.SetPrecision(prMuLaw);
  c.SaveToStream(whole);
  const TBytes bytes = BytesOf(whole);
  for (std::size_t len = 0; len <= bytes.size(); ++len) {
    TQuorelMemoryStream s(TBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(len)));
    TVec v;
    int loaded = 0;
    try {
      for (; loaded < 3; ++loaded) v.LoadFromStream(s);
    } catch (const EQuorelException& e) {
      EXPECT_STREQ(e.what(), "Error reading stream!") << len;
    }
    EXPECT_LE(s.Position(), s.Size());
    if (len == bytes.size()) EXPECT_EQ(loaded, 3);
  }
}

}  // namespace
}  // namespace quorel::test
