// Constructors, checked access, iteration and TCplx arithmetic.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <numeric>

#include "quorel/core/complex_ops.h"
#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Doubles;
using test::MessageOf;

TEST(FaceConstruct, SizedAndListObjects) {
  EXPECT_THAT(Doubles(TVec(3)), ElementsAre(0, 0, 0));
  EXPECT_THAT(Doubles(TVec(1, true)), ElementsAre(0, 0));
  EXPECT_THAT(Doubles(TVec{5}), ElementsAre(5));  // braces list values, as std::vector's do
  const TVec c{TCplx(1, 2), std::complex<double>(3, -4)};
  EXPECT_TRUE(c.Complex());
  EXPECT_THAT(Doubles(c), ElementsAre(1, 2, 3, -4));
  const TMtx z(2, 3, true), m{{1, 2, 3}, {4, 5, 6}}, cm{{TCplx(1, 1)}, {TCplx(2, -2)}};
  EXPECT_EQ(Doubles(z), std::vector<double>(12, 0.0));
  EXPECT_EQ(m.Rows(), 2);
  EXPECT_EQ(m(1, 0), 4);
  EXPECT_EQ(cm.atc(1, 0), TCplx(2, -2));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { TMtx bad{{1, 2}, {3}}; }),
            "TMtx.CopyFromArray: rows of different length");
}

TEST(FaceAccess, CheckedAccessRaisesOutsideAndOnTheWrongKind) {
  TVec v{1, 2, 3}, c{TCplx(1, 2)};
  TMtx m{{1, 2}, {3, 4}}, cm(1, 1, true);
  v.at(2) = 7;
  m.at(0, 1) = 9;
  EXPECT_EQ(v[2], 7);
  EXPECT_EQ(m(0, 1), 9);
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { v.at(3); }, "TVec.at: Index out of range: Index: 3, Length: 3"},
      {[&] { v.at(-1); }, "TVec.at: Index out of range: Index: -1, Length: 3"},
      {[&] { c.atc(1); }, "TVec.at: Index out of range: Index: 1, Length: 1"},
      {[&] { m.at(2, 0); }, "TMtx.at: Index out of range: Row: 2, Col: 0, Rows: 2, Cols: 2"},
      {[&] { cm.atc(0, -1); }, "TMtx.at: Index out of range: Row: 0, Col: -1, Rows: 1, Cols: 1"},
  });
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.at(0); }, "TVec.at: Complex = True"},
      {[&] { v.atc(0); }, "TVec.atc: Complex = False"},
      {[&] { cm.at(0, 0); }, "TMtx.at: Complex = True"},
      {[&] { m.atc(0, 0); }, "TMtx.atc: Complex = False"},
  });
  // The checks follow the current range.
  v.SetSubRange(1, 1);
  EXPECT_EQ(v.at(0), 2);
  EXPECT_THROW(v.at(1), EQuorelRangeError);
}

TEST(FaceAccess, IterationCoversTheCurrentRealRange) {
  TVec v{4, 1, 3, 2};
  std::sort(v.begin(), v.end());
  EXPECT_THAT(Doubles(v), ElementsAre(1, 2, 3, 4));
  v.SetSubRange(1, 2);
  double seen = 0;
  for (double x : v) seen += x;
  EXPECT_EQ(seen, 5);
  const TMtx m{{1, 2}, {3, 4}};
  EXPECT_EQ(std::accumulate(m.begin(), m.end(), 0.0), 10);
  // Complex data are not walked as doubles by accident.
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { (void)TVec{TCplx(1, 2)}.begin(); }),
            "TVec.begin: Complex = True (iterate CValues())");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { (void)TMtx(1, 1, true).end(); }),
            "TMtx.end: Complex = True (iterate CValues())");
}

TEST(FaceComplex, OperatorsAreTheNamedFunctionsAndStdComplexConverts) {
  // Operands where the extended-precision product and quotient differ from plain double formulas.
  const TCplx a(1e308, 3e-300), b(0.1, 7.0 / 3);
  const double x = 1.0 / 3;
  EXPECT_EQ(a * b, CMul(a, b));
  EXPECT_EQ(a / b, CDiv(a, b));
  EXPECT_EQ(x / b, CDiv(x, b));
  EXPECT_EQ(x - b, CSub(x, b));
  TCplx acc(1, 1);
  acc += b;
  acc *= TCplx(0, 1);
  acc /= 2.0;
  EXPECT_EQ(acc, CDiv(CMul(CAdd(TCplx(1, 1), b), TCplx(0, 1)), 2.0));
  EXPECT_EQ(-b, TCplx(-0.1, -7.0 / 3));
  EXPECT_TRUE(TCplx(2, -0.0) == 2.0);
  EXPECT_FALSE(TCplx(2, 1e-300) == 2.0);
  const std::complex<double> s(1.5, -2);
  const TCplx t = s;
  EXPECT_EQ(std::complex<double>(t), s);
  EXPECT_EQ(t + s, TCplx(3, -4));  // mixed expressions take the TCplx operators
}

}  // namespace
}  // namespace quorel
