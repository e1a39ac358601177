// Constructors, element access, iteration and TCplx arithmetic: the reflexes of a C++ user.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <numeric>
#include <vector>

#include "quorel/core/complex_ops.h"
#include "quorel/core/constants.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Doubles;
using test::MessageOf;

TEST(FaceConstruct, SizedAndListVectors) {
  const TVec zeros(3), czeros(2, true);
  EXPECT_THAT(Doubles(zeros), ElementsAre(0, 0, 0));
  EXPECT_TRUE(czeros.Complex());
  EXPECT_THAT(Doubles(czeros), ElementsAre(0, 0, 0, 0));
  // Braces list the values: one number is a one-element vector, as with std::vector.
  const TVec one{5}, three{1, 2.5, -3};
  EXPECT_THAT(Doubles(one), ElementsAre(5));
  EXPECT_FALSE(three.Complex());
  EXPECT_THAT(Doubles(three), ElementsAre(1, 2.5, -3));
  const TVec c{TCplx(1, 2), std::complex<double>(3, -4)};
  EXPECT_TRUE(c.Complex());
  EXPECT_THAT(Doubles(c), ElementsAre(1, 2, 3, -4));
  // Objects made this way work with the cache-borrowing methods like any other.
  TVec sum;
  sum.Add(three, TVec{1, 1, 1}).SortAscend().CumSum();
  EXPECT_THAT(Doubles(sum), ElementsAre(-2, 0, 3.5));
}

TEST(FaceConstruct, SizedAndListMatrices) {
  const TMtx z(2, 3), cz(1, 2, true);
  EXPECT_EQ(z.Rows(), 2);
  EXPECT_EQ(z.Cols(), 3);
  EXPECT_THAT(Doubles(z), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_THAT(Doubles(cz), ElementsAre(0, 0, 0, 0));
  const TMtx m{{1, 2, 3}, {4, 5, 6}};
  EXPECT_EQ(m.Rows(), 2);
  EXPECT_EQ(m.Cols(), 3);
  EXPECT_EQ(m(1, 0), 4);
  const TMtx c{{TCplx(1, 1)}, {TCplx(2, -2)}};
  EXPECT_TRUE(c.Complex());
  EXPECT_EQ(c.atc(1, 0), TCplx(2, -2));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { TMtx bad{{1, 2}, {3}}; }),
            "TMtx.CopyFromArray: rows of different length");
}

TEST(FaceAccess, CheckedAccessRaisesOutsideAndOnTheWrongKind) {
  TVec v{1, 2, 3};
  TVec c{TCplx(1, 2)};
  TMtx m{{1, 2}, {3, 4}};
  TMtx cm(1, 1, true);
  v.at(2) = 7;
  m.at(0, 1) = 9;
  c.atc(0) = TCplx(5, 6);
  EXPECT_EQ(v[2], 7);
  EXPECT_EQ(m(0, 1), 9);
  EXPECT_EQ(c.CValues()[0], TCplx(5, 6));
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { v.at(3); }, "TVec.at: Index out of range: Index: 3, Length: 3"},
      {[&] { v.at(-1); }, "TVec.at: Index out of range: Index: -1, Length: 3"},
      {[&] { c.atc(1); }, "TVec.at: Index out of range: Index: 1, Length: 1"},
      {[&] { m.at(2, 0); }, "TMtx.at: Index out of range: Row: 2, Col: 0, Rows: 2, Cols: 2"},
      {[&] { m.at(0, -1); }, "TMtx.at: Index out of range: Row: 0, Col: -1, Rows: 2, Cols: 2"},
      {[&] { cm.atc(0, 1); }, "TMtx.at: Index out of range: Row: 0, Col: 1, Rows: 1, Cols: 1"},
  });
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.at(0); }, "TVec.at: Complex = True"},
      {[&] { v.atc(0); }, "TVec.atc: Complex = False"},
      {[&] { cm.at(0, 0); }, "TMtx.at: Complex = True"},
      {[&] { m.atc(0, 0); }, "TMtx.atc: Complex = False"},
  });
  // The checks follow the current range, not the storage behind it.
  v.SetSubRange(1, 1);
  EXPECT_EQ(v.at(0), 2);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { v.at(1); }), "TVec.at: Index out of range: Index: 1, Length: 1");
}

TEST(FaceAccess, IterationCoversTheCurrentRange) {
  TVec v{4, 1, 3, 2};
  std::sort(v.begin(), v.end());
  EXPECT_THAT(Doubles(v), ElementsAre(1, 2, 3, 4));
  v.SetSubRange(1, 2);
  double seen = 0;
  for (double x : v) seen += x;
  EXPECT_EQ(seen, 5);
  v.SetFullRange();
  const TMtx m{{1, 2}, {3, 4}};
  EXPECT_EQ(std::accumulate(m.begin(), m.end(), 0.0), 10);
  EXPECT_EQ(*std::max_element(m.begin(), m.end()), 4);
  const TVec empty;
  EXPECT_EQ(empty.begin(), empty.end());
  // Complex data are not walked as doubles by accident.
  const TVec c{TCplx(1, 2)};
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { (void)c.begin(); }),
            "TVec.begin: Complex = True (iterate CValues())");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { (void)TMtx(1, 1, true).end(); }),
            "TMtx.end: Complex = True (iterate CValues())");
}

TEST(FaceComplex, OperatorsAreTheNamedFunctions) {
  // Operands where the extended-precision product and quotient differ from plain double formulas.
  const TCplx a(1e308, 3e-300), b(0.1, 7.0 / 3);
  const double x = 1.0 / 3;
  EXPECT_EQ(a * b, CMul(a, b));
  EXPECT_EQ(a / b, CDiv(a, b));
  EXPECT_EQ(x / b, CDiv(x, b));
  EXPECT_EQ(a / x, CDiv(a, x));
  EXPECT_EQ(a + b, CAdd(a, b));
  EXPECT_EQ(x - b, CSub(x, b));
  EXPECT_EQ(b * x, CMul(b, x));
  EXPECT_EQ(-b, TCplx(-0.1, -7.0 / 3));
  TCplx acc(1, 1);
  acc += b;
  acc -= 1.0;
  acc *= TCplx(0, 1);
  acc /= 2.0;
  EXPECT_EQ(acc, CDiv(CMul(CSub(CAdd(TCplx(1, 1), b), 1.0), TCplx(0, 1)), 2.0));
  EXPECT_TRUE(TCplx(2, 0) == 2.0);
  EXPECT_TRUE(TCplx(2, -0.0) == 2.0);
  EXPECT_FALSE(TCplx(2, 1e-300) == 2.0);
  static_assert(TCplx(1, 2) * TCplx(3, 4) == TCplx(-5, 10));
}

TEST(FaceComplex, ConvertsToAndFromStdComplex) {
  const std::complex<double> s(1.5, -2);
  const TCplx t = s;
  EXPECT_EQ(t, TCplx(1.5, -2));
  const std::complex<double> back = t;
  EXPECT_EQ(back, s);
  // Mixed expressions take the TCplx operators; std::complex functions take a TCplx.
  EXPECT_EQ(t + s, TCplx(3, -4));
  EXPECT_EQ(std::abs(std::complex<double>(TCplx(3, 4))), 5);
  // Arrays of one are arrays of the other.
  std::vector<std::complex<double>> data{{1, 2}, {3, 4}};
  TVec v;
  v.SetCplx(std::span<const TCplx>(reinterpret_cast<const TCplx*>(data.data()), data.size()));
  EXPECT_THAT(Doubles(v), ElementsAre(1, 2, 3, 4));
}

}  // namespace
}  // namespace quorel
