// Complex arithmetic, roots, powers and rounding; the elementary functions against reference values.
#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/complex_compare.h"
#include "quorel/core/complex_trig.h"
#include "quorel/core/constants.h"
#include "quorel/core/scalar_complex.h"

namespace quorel {
namespace {

// Agreement of results computed along different routes: a few roundings of the larger part.
constexpr double kRouteTol = 1e-14;

void ExpectNear(const TCplx& got, const TCplx& want, double tol = kRouteTol) {
  double scale = std::max({1.0, std::fabs(want.Re), std::fabs(want.Im)});
  EXPECT_TRUE(Equal(got, want, tol * scale)) << "(" << got.Re << ", " << got.Im << ") vs (" << want.Re << ", "
                                             << want.Im << ")";
}

TEST(ComplexArith, TextbookFormulasWithoutOverflowAndExactRoots) {
  EXPECT_TRUE(Equal(CDiv(TCplx{1, 2}, TCplx{3, 4}), TCplx{0.44, 0.08}, 1e-16));
  // Exact results: operand order of the mixed forms, and the square roots' axes.
  const TCplx exact[][2] = {
      {CMul(TCplx{1, 2}, TCplx{3, 4}), {-5, 10}}, {CAdd(TCplx{1, 2}, 3.0), {4, 2}}, {CSub(3.0, TCplx{1, 2}), {2, -2}},
      {CDiv(2.0, TCplx{0, 2}), {0, -1}},          {CDiv(TCplx{4, 2}, 2.0), {2, 1}}, {CInv(TCplx{0, 2}), {0, -0.5}},
      {CSqr(TCplx{1, 2}), {-3, 4}},               {CSubI(TCplx{1, 2}, 3), {1, -1}}, {CMulI(TCplx{1, 2}, 3), {-6, 3}},
      {CInvMulI(TCplx{0, 2}), {0.5, 0}},          {CSubMulI(TCplx{1, 2}), {2, PIDIV2 - 1}},
      {CSqrt(TCplx{-4, 0}), {0, 2}},              {CSqrt(TCplx{0, 0}), {0, 0}},     {CSqrt(TCplx{0, -2}), {1, -1}}};
  for (const auto& e : exact) EXPECT_EQ(e[0], e[1]) << "entry " << &e - exact;
  ExpectNear(CInvMulI(TCplx{3, -4}), CDiv(TCplx{0, 1}, TCplx{3, -4}));
  // |b|^2 = 2e400 would overflow a double; it is formed in extended precision.
  ExpectNear(CDiv(TCplx{1e200, 1e200}, TCplx{1e200, 1e200}), TCplx{1, 0});
  ExpectNear(CMul(TCplx{1e300, 1e300}, TCplx{1e-300, -1e-300}), TCplx{2, 0});
  EXPECT_TRUE(Equal(CInv(TCplx{1e-200, 0}), TCplx{1e200, 0}, 1e185));
  EXPECT_LE(test::UlpDistance(CAbs(TCplx{3e200, 4e200}), 5e200), 1u);
  EXPECT_TRUE(CAbs1(TCplx{-3, 4}) == 7 && Norm(TCplx{3, 4}) == 25);
  EXPECT_TRUE(IsNanInf(CDiv(TCplx{1, 0}, TCplx{0, 0})));
}

TEST(ComplexPower, ZeroRulesRepeatedProductsAndRoots) {
  const TCplx one{1, 0};
  EXPECT_TRUE(Power(TCplx{0, 0}, TCplx{0, 0}) == one && Power(TCplx{0, 0}, 0.0) == one);
  EXPECT_TRUE(Power(0.0, TCplx{3, 1}) == (TCplx{0, 0}) && Power(TCplx{5, 7}, TCplx{0, 0}) == one);
  ExpectNear(Power(-8.0, TCplx{1.0 / 3, 0}), TCplx{1, std::sqrt(3.0)});  // principal cube root
  ExpectNear(Power(TCplx{0, 1}, TCplx{0, 1}), TCplx{std::exp(-PIDIV2), 0});  // i^i
  const TCplx z{0.8, -1.3};
  TCplx p{1, 0};
  for (int n = 1; n <= 12; ++n) {
    p = CMul(p, z);
    ExpectNear(IntPower(z, n), p);
    ExpectNear(Power(z, double(n)), p);
    ExpectNear(IntPower(z, -n), CInv(p));
  }
  EXPECT_EQ(IntPower(TCplx{3, 4}, 0), one);
  // The n roots are distinct and raise back.
  for (int k = 0; k < 5; ++k) {
    const TCplx r = Root(TCplx{-2, 5}, k, 5);
    ExpectNear(IntPower(r, 5), TCplx{-2, 5});
    for (int j = 0; j < k; ++j) EXPECT_GT(CAbs(CSub(r, Root(TCplx{-2, 5}, j, 5))), 0.1);
  }
  ExpectNear(Root(TCplx{-4, 0}, 0, 2), TCplx{0, 2});
  // FixAngle keeps the angle in (-2pi, 2pi): the last root of 1 is at 2pi (n-1)/n.
  ExpectNear(Root(TCplx{1, 0}, 3, 4), TCplx{0, -1});
}

TEST(ComplexRounding, PerPartRules) {
  const TCplx exact[][2] = {
      {CTrunc(TCplx{-2.7, 2.7}), {-2, 2}},        {CRound(TCplx{2.5, -3.5}), {2, -4}},  // ties to even
      {CFrac(TCplx{-2.75, 2.25}), {-0.75, 0.25}}, {Ceil(TCplx{-2.7, 2.2}), {-2, 3}},
      {Floor(TCplx{-2.7, 2.2}), {-3, 2}},         {Rem(TCplx{-7, 7}, TCplx{3, -3}), {-1, 1}},
      {Sign(TCplx{0, 0}), {0, 0}}};
  for (const auto& e : exact) EXPECT_EQ(e[0], e[1]) << "entry " << &e - exact;
  EXPECT_TRUE(Sgn(TCplx{0, -2}) == -1 && Sgn(TCplx{-0.0, 2}) == 1 && Sgn(TCplx{0, 0}) == 0);
  ExpectNear(Sign(TCplx{3, -4}), TCplx{0.6, -0.8});
}

TEST(ComplexFunctions, PolarFormAndLogarithms) {
  TCplx z{-1.5, 2.5};
  TCplx p = CartToPolar(z);
  EXPECT_DOUBLE_EQ(p.Re, CAbs(z));
  EXPECT_DOUBLE_EQ(p.Im, Arg(z));
  ExpectNear(PolarToCart(p), z);
  ExpectNear(PolarToCart(2, PIDIV2), TCplx{0, 2});
  ExpectNear(Expj(PI), TCplx{-1, 0});
  ExpectNear(Exp2(Log2(z)), z);
  ExpectNear(Exp10(Log10(z)), z);
  ExpectNear(Exp2(TCplx{10, 0}), TCplx{1024, 0});
  ExpectNear(LogN(TCplx{0, 2}, z), CDiv(Ln(z), Ln(TCplx{0, 2})));
  ExpectNear(LogN(2.0, TCplx{8, 0}), TCplx{3, 0});
  ExpectNear(LogN(TCplx{2, 0}, 0.5), TCplx{-1, 0});
  EXPECT_EQ(Ln(TCplx{0, 0}).Re, -INF);  // the cuts themselves are in the reference data
}

TEST(ComplexFunctions, TrigonometricIdentities) {
  const TCplx zs[] = {{0.3, -0.7}, {-2.1, 1.4}, {5, 0.5}};
  for (const TCplx& z : zs) {
    const TCplx s = Sin(z), c = Cos(z), sh = Neg(MulI(Sin(MulI(z)))), ch = Cos(MulI(z)), iz = CInv(z);
    // each function and its identity; sinh z = -i sin(iz), cosh z = cos(iz)
    const TCplx pairs[][2] = {
        {Sec(z), CInv(c)},           {Csc(z), CInv(s)},           {Cot(z), CDiv(c, s)},        {Sinh(z), sh},
        {Cosh(z), ch},               {Sech(z), CInv(ch)},         {Csch(z), CInv(sh)},         {Coth(z), CDiv(ch, sh)},
        {ArcSec(z), ArcCos(iz)},     {ArcCsc(z), ArcSin(iz)},     {ArcCot(z), ArcTan(iz)},     {ArcSech(z), ArcCosh(iz)},
        {ArcCsch(z), ArcSinh(iz)},   {ArcCoth(z), ArcTanh(iz)}};
    for (const auto& pair : pairs) {
      SCOPED_TRACE(&pair - pairs);
      ExpectNear(pair[0], pair[1]);
    }
  }
  ExpectNear(Pythag(TCplx{3, 0}, TCplx{0, 4}), TCplx{0, std::sqrt(7.0)});
  ExpectNear(Pythag(TCplx{3, 0}, TCplx{4, 0}), TCplx{5, 0});
}

// On a branch cut the sign of a zero part picks the side: (x, +0) gives the limit from above the
// real axis, (x, -0) from below (for the imaginary axis: right and left). A real value stored in a
// complex is the common case, and 1/z must not drop the sign on the way to the inverse function,
// in the scalar functions and in the vector methods alike.
TEST(ComplexFunctions, ReciprocalInversesTakeTheSideOfTheZerosSign) {
  using F = TCplx (*)(const TCplx&);
  using Member = TVec& (TVec::*)(const TDenseQuorel&);
  const double acosh2 = std::acosh(2.0), acoth2 = 0.5 * std::log(3.0);
  struct Case {
    const char* name;
    F f;
    Member vec;
    TCplx onCut;  // the zero part is +0
    TCplx want;   // the limit from the +0 side
  };
  const Case cases[] = {
      {"ArcSec", ArcSec, &TVec::ArcSec, {0.5, 0.0}, {0, acosh2}},
      {"ArcSec", ArcSec, &TVec::ArcSec, {-0.5, 0.0}, {PI, acosh2}},
      {"ArcCsc", ArcCsc, &TVec::ArcCsc, {0.5, 0.0}, {PIDIV2, -acosh2}},
      {"ArcCsc", ArcCsc, &TVec::ArcCsc, {-0.5, 0.0}, {-PIDIV2, -acosh2}},
      {"ArcCoth", ArcCoth, &TVec::ArcCoth, {0.5, 0.0}, {acoth2, -PIDIV2}},
      {"ArcSech", ArcSech, &TVec::ArcSech, {2.0, 0.0}, {0, -PI / 3}},
      {"ArcSech", ArcSech, &TVec::ArcSech, {-0.5, 0.0}, {acosh2, -PI}},
      {"ArcCot", ArcCot, &TVec::ArcCot, {0.0, 0.5}, {PIDIV2, -acoth2}},
      {"ArcCsch", ArcCsch, &TVec::ArcCsch, {0.0, 0.5}, {acosh2, -PIDIV2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name + std::string("(") + std::to_string(c.onCut.Re) + ", " + std::to_string(c.onCut.Im) + ")");
    const bool realAxis = c.onCut.Im == 0;
    // The other side: the zero part negated. Real coefficients give the conjugate there on the
    // real axis; on the imaginary axis ArcCot and ArcCsch are odd as well, so -conj.
    const TCplx below = realAxis ? TCplx{c.onCut.Re, -0.0} : TCplx{-0.0, c.onCut.Im};
    const TCplx wantBelow = realAxis ? Conj(c.want) : Neg(Conj(c.want));
    ExpectNear(c.f(c.onCut), c.want);
    ExpectNear(c.f(below), wantBelow);
    // A tiny nonzero part approaches from the same side without any signed zero.
    const TCplx above = realAxis ? TCplx{c.onCut.Re, 1e-300} : TCplx{1e-300, c.onCut.Im};
    ExpectNear(c.f(above), c.want);
    TVec r;
    (r.*c.vec)(test::Cplx({c.onCut, below}));
    ExpectNear(r.CValues()[0], c.want);
    ExpectNear(r.CValues()[1], wantBelow);
  }
}

// Normwise: |got - want| / |want| in units of the double rounding error 2^-53.
constexpr double kComplexTolUnits = 4;

double NormwiseUnits(const TCplx& got, const TCplx& want) {
  if (got.Re == want.Re && got.Im == want.Im) return 0;  // also infinities of the same sign
  double d = std::hypot(got.Re - want.Re, got.Im - want.Im), w = std::hypot(want.Re, want.Im);
  return (w == 0 ? d : d / w) / 0x1p-53;
}

TEST(ComplexAccuracy, NormwiseWithinFewRoundings) {
  using F = TCplx (*)(const TCplx&);
  const std::map<std::string, F> unary = {
      {"Exp", Exp},     {"Ln", Ln},         {"CSqrt", CSqrt},     {"Sin", Sin},         {"Cos", Cos},
      {"Tan", Tan},     {"Tanh", Tanh},     {"ArcSin", ArcSin},   {"ArcCos", ArcCos},   {"ArcTan", ArcTan},
      {"ArcSinh", ArcSinh}, {"ArcCosh", ArcCosh}, {"ArcTanh", ArcTanh}};
  auto ref = test::ReadReference("scalar_complex.txt");
  ASSERT_EQ(ref.size(), unary.size() + 1) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    double worst = 0;
    for (const auto& r : rows) {
      TCplx z{r[0], r[1]}, got, want;
      if (name == "Power") {
        got = Power(z, TCplx{r[2], r[3]});
        want = {r[4], r[5]};
      } else {
        got = unary.at(name)(z);
        want = {r[2], r[3]};
      }
      double u = NormwiseUnits(got, want);
      worst = std::max(worst, u);
      EXPECT_LE(u, kComplexTolUnits) << name << "(" << z.Re << ", " << z.Im << ") = (" << got.Re << ", " << got.Im
                                     << "), want (" << want.Re << ", " << want.Im << ")";
    }
    std::printf("%-8s %4zu points, max %.2f roundings\n", name.c_str(), rows.size(), worst);
  }
}

}  // namespace
}  // namespace quorel
