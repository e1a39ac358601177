// The matrix's binary layout byte for byte, its settings, and its reader on damaged headers.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/io/persist.h"

namespace quorel::test {
namespace {

TEST(MtxFormat, RealWithSettingsAndComplexRowMajorBytes) {
  TMtx m = RealMtx(2, 3, {1, 2, 3, -4, 5.5, 6});
  m.SetAutoMtxType(true);
  m.SetEigGenType(etABz);
  m.SetBalance(btScale);
  m.SetConditionNumber(cnNormInf);
  m.SetRefineSolution(true);
  m.SetTriangleForm(tfUpper);
  m.SetTriangleUnit(true);
  m.SetSuperDiag(2);
  m.SetSubDiag(1);
  m.SetTag(5);
  m.SetCaption("m");
  TBytes expected = Put<float>({0, 2, 3, 0, 1, 1, 1, 1, 2, 0, 1, 1, 1, 2, 1, 8, 200, 5, 64019, 0, 0, 0, 0, 0, 0, 0});
  PutCaption(expected, "m");
  Put<double>(expected, {1, 2, 3, -4, 5.5, 6});
  EXPECT_EQ(Saved(m), expected);

  TMtx c = CplxMtx(2, 2, {{1.5, -1.5}, {2, 3}, {9e6, -9e6}, {0.4, 7.9}});
  c.SetPrecision(prInt24);
  expected = Put<float>({1, 2, 2, 1, 0, 0, btFull, 1, 0, prInt24, 0, 0, 0, 0, 0, 8, 200, 0, 64019, 0, 0, 0, 0, 0, 0, 0});
  PutCaption(expected, "");
  const TBytes values{0x01, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0x02, 0x00, 0x00, 0x03, 0x00, 0x00,
                      0xFF, 0xFF, 0x7F, 0x01, 0x00, 0x80, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00};
  expected.insert(expected.end(), values.begin(), values.end());
  EXPECT_EQ(Saved(c), expected);
  TQuorelMemoryStream s(expected);
  TMtx r(5, 1);
  r.LoadFromStream(s);
  EXPECT_EQ(r.Rows(), 2);
  EXPECT_EQ(r.CValues(1, 0), (TCplx{8388607, -8388607}));
}

// Version 104: no caption and no file code. Valid settings are restored; ordinals out of range
// and a negative diagonal count are not.
TEST(MtxFormat, OldVersionAndSettings) {
  TBytes b = Put<float>({0, 1, 2, 0, 1, 9, 1, 1, 2, prByte, 1, 1, 0, -5, 3, 8, 104, 77, 0, 0, 0, 0, 0, 0, 0, 0});
  Put<std::uint8_t>(b, {200, 7});
  TQuorelMemoryStream s(b);
  TMtx m;
  m.LoadFromStream(s);
  EXPECT_EQ(Doubles(m), (std::vector<double>{200, 7}));
  EXPECT_EQ(std::tuple(m.Tag(), m.AutoMtxType(), m.RefineSolution(), m.Balance(), m.ConditionNumber(), m.TriangleForm(),
                       m.SubDiag()),
            std::tuple(0, true, true, btScale, cnNormInf, tfUpper, 3));
  EXPECT_EQ(std::pair(m.EigGenType(), m.SuperDiag()), std::pair(etAzBz, 0));  // out of range, negative: kept
}

TEST(MtxFormat, RefusalsChangeNothing) {
  TMtx m = RealMtx(1, 2, {4, 5});
  m.SetCaption("c");
  const auto load = [&](float rows, float cols, float code, std::size_t keep) {
    TBytes b = Put<float>({0, rows, cols, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8, 200, 9, code, 0, 0, 0, 0, 0, 0, 0});
    PutCaption(b, "x");
    b.resize(std::min(b.size(), keep));
    TQuorelMemoryStream s(b);
    m.LoadFromStream(s);
  };
  const char* tooBig = "Out of memory! Attempted to allocate over 2GB!";
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(2, 2, 64019, 103); }), "TMtx: Error reading stream!");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(2, 2, 1, 200); }), "Wrong file format!");
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(20000, 20000, 64019, 200); }), tooBig);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(1e30f, 1e30f, 64019, 200); }), tooBig);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(-1, 2, 64019, 200); }), "Value < 0");
  EXPECT_TRUE(m.Rows() == 1 && m.Cols() == 2 && m.Caption() == "c" && m.Tag() == 0);
  EXPECT_EQ(Doubles(m), (std::vector<double>{4, 5}));
}

// A short values block: a matrix that kept its element count, in another shape, keeps the values
// that did not arrive (the zeroing of resized storage is the vectors' shared code).
TEST(MtxFormat, ShortValuesBlockOfALoadIntoTheSameCount) {
  TBytes b = Put<float>({0, 2, 3, 0, 0, 0, 0, 1, 0, prDouble, 0, 0, 0, 0, 0, 8, 200, 0, 64019, 0, 0, 0, 0, 0, 0, 0});
  PutCaption(b, "");
  Put<double>(b, {1, 2});
  TMtx same = RealMtx(3, 2, {9, 9, 9, 9, 9, 9});
  TQuorelMemoryStream s(b);
  same.LoadFromStream(s);
  EXPECT_TRUE(same.Rows() == 2 && same.Cols() == 3);
  EXPECT_EQ(Doubles(same), (std::vector<double>{1, 2, 9, 9, 9, 9}));
}

}  // namespace
}  // namespace quorel::test
