// The matrix's binary layout byte for byte, its settings, and its reader on damaged input.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/persist.h"

namespace quorel::test {
namespace {

TMtx Filled(std::int32_t rows, std::int32_t cols, bool complex, std::initializer_list<double> doubles) {
  TMtx m(rows, cols, complex);
  std::copy(doubles.begin(), doubles.end(), m.PValues1D(0));
  return m;
}

TBytes Saved(const TMtx& m) {
  TQuorelMemoryStream s;
  m.SaveToStream(s);
  return BytesOf(s);
}

TEST(MtxFormat, RealMatrixWithSettingsBytes) {
  TMtx m = Filled(2, 3, false, {1, 2, 3, -4, 5.5, 6});
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
  TBytes expected;
  Put<float>(expected, {0, 2, 3, 0, 1, 1, 1, 1, 2, 0, 1, 1, 1, 2, 1, 8, 200, 5, 64019, 0, 0, 0, 0, 0, 0, 0});
  PutCaption(expected, "m");
  Put<double>(expected, {1, 2, 3, -4, 5.5, 6});
  const TBytes got = Saved(m);
  EXPECT_EQ(got, expected);
  // The constant 8.0 and the version stand in the opposite order to the vector header.
  EXPECT_EQ(TBytes(got.begin() + 60, got.begin() + 68), (TBytes{0, 0, 0, 0x41, 0, 0, 0x48, 0x43}));
}

TEST(MtxFormat, ComplexMatrixRowMajorInterleaved) {
  TMtx m = Filled(2, 2, true, {1.5, -1.5, 2, 3, 9e6, -9e6, 0.4, 7.9});
  m.SetPrecision(prInt24);
  TBytes expected;
  Put<float>(expected, {1, 2, 2, 1, 0, 0, btFull, 1, 0, prInt24, 0, 0, 0, 0, 0, 8, 200, 0, 64019, 0, 0, 0, 0, 0, 0, 0});
  PutCaption(expected, "");
  const TBytes values{0x01, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0x02, 0x00, 0x00, 0x03, 0x00, 0x00,
                      0xFF, 0xFF, 0x7F, 0x01, 0x00, 0x80, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00};
  expected.insert(expected.end(), values.begin(), values.end());
  EXPECT_EQ(Saved(m), expected);
}

TEST(MtxFormat, RoundTripRestoresShapeSettingsAndValues) {
  TMtx m = Filled(3, 2, true, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  m.SetPrecision(prSingle);
  m.SetEigGenType(etBAz);
  m.SetBalance(btPerm);
  m.SetTriangleForm(tfUpper);
  m.SetSubDiag(4);
  m.SetConditionCheck(false);
  m.SetCaption("three by two");
  TQuorelMemoryStream s;
  m.SaveToStream(s);
  s.Seek(0, soBeginning);
  TMtx r(1, 1);
  r.LoadFromStream(s);
  EXPECT_EQ(r.Rows(), 3);
  EXPECT_EQ(r.Cols(), 2);
  EXPECT_TRUE(r.Complex());
  EXPECT_EQ(r.LeadingCols(), 2);
  EXPECT_EQ(r.CValues(2, 1), (TCplx{11, 12}));
  EXPECT_EQ(r.Precision(), prSingle);
  EXPECT_EQ(r.EigGenType(), etBAz);
  EXPECT_EQ(r.Balance(), btPerm);
  EXPECT_EQ(r.TriangleForm(), tfUpper);
  EXPECT_EQ(r.SubDiag(), 4);
  EXPECT_FALSE(r.ConditionCheck());
  EXPECT_EQ(r.Caption(), "three by two");
  EXPECT_EQ(s.Position(), s.Size());
}

TEST(MtxFormat, OldVersionAndInvalidSettings) {
  TBytes b;
  // Version 104: no caption, no file code; ordinals out of range and a negative diagonal count.
  Put<float>(b, {0, 1, 2, 0, 0, 9, -1, 1, 3, prByte, 0, 2, 0, -5, 3, 8, 104, 77, 0, 0, 0, 0, 0, 0, 0, 0});
  Put<std::uint8_t>(b, {200, 7});
  TQuorelMemoryStream s(b);
  TMtx m;
  m.SetTag(1);
  m.LoadFromStream(s);
  EXPECT_EQ(m.Values(0, 0), 200);
  EXPECT_EQ(m.Values(0, 1), 7);
  EXPECT_EQ(m.Tag(), 1);
  EXPECT_EQ(m.EigGenType(), etAzBz);
  EXPECT_EQ(m.Balance(), btFull);
  EXPECT_EQ(m.ConditionNumber(), cnNone);
  EXPECT_EQ(m.TriangleForm(), tfLower);
  EXPECT_EQ(m.SuperDiag(), 0);
  EXPECT_EQ(m.SubDiag(), 3);
  EXPECT_EQ(QuorelTVecVer.load(), 104);
}

TEST(MtxFormat, RefusalsChangeNothing) {
  TMtx m = Filled(1, 2, false, {4, 5});
  m.SetCaption("c");
  const auto unchanged = [&] {
    EXPECT_EQ(m.Rows(), 1);
    EXPECT_EQ(m.Cols(), 2);
    EXPECT_EQ(m.Values(0, 1), 5);
    EXPECT_EQ(m.Caption(), "c");
  };
  const auto load = [&](float rows, float cols, float code, std::size_t keep) {
    TBytes b;
    Put<float>(b, {0, rows, cols, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8, 200, 0, code, 0, 0, 0, 0, 0, 0, 0});
    PutCaption(b, "x");
    b.resize(std::min(b.size(), keep));
    TQuorelMemoryStream s(b);
    m.LoadFromStream(s);
  };
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(2, 2, 64019, 103); }), "TMtx: Error reading stream!");
  unchanged();
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(2, 2, 1, 200); }), "Wrong file format!");
  unchanged();
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(20000, 20000, 64019, 200); }),
            "Out of memory! Attempted to allocate over 2GB!");
  unchanged();
  EXPECT_EQ(MessageOf<EQuorelException>([&] { load(1e30f, 1e30f, 64019, 200); }),
            "Out of memory! Attempted to allocate over 2GB!");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { load(-1, 2, 64019, 200); }), "Value < 0");
  unchanged();
}

TEST(MtxFormat, EveryPrefixLoadsOrRaises) {
  TQuorelMemoryStream whole;
  TMtx a = Filled(2, 2, false, {1, 2, 3, 4});
  a.SetCaption("a");
  a.SaveToStream(whole);
  TMtx b = Filled(1, 2, true, {1, 2, 3, 4});
  b.SetPrecision(prALaw);
  b.SaveToStream(whole);
  const TBytes bytes = BytesOf(whole);
  for (std::size_t len = 0; len <= bytes.size(); ++len) {
    TQuorelMemoryStream s(TBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(len)));
    TMtx m;
    int loaded = 0;
    try {
      for (; loaded < 2; ++loaded) m.LoadFromStream(s);
    } catch (const EQuorelException& e) {
      EXPECT_STREQ(e.what(), "TMtx: Error reading stream!") << len;
    }
    if (len == bytes.size()) EXPECT_EQ(loaded, 2);
  }
}

}  // namespace
}  // namespace quorel::test
