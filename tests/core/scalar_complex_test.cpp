// Complex arithmetic, square roots, powers and roots, rounding and the elementary functions.
#include <cmath>

#include <gtest/gtest.h>

#include "accuracy.h"
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

TEST(ComplexArith, TextbookFormulas) {
  EXPECT_TRUE(Equal(CDiv(TCplx{1, 2}, TCplx{3, 4}), TCplx{0.44, 0.08}, 1e-16));
  EXPECT_EQ(CMul(TCplx{1, 2}, TCplx{3, 4}), (TCplx{-5, 10}));
  EXPECT_EQ(CAdd(TCplx{1, 2}, 3.0), (TCplx{4, 2}));
  EXPECT_EQ(CSub(3.0, TCplx{1, 2}), (TCplx{2, -2}));
  EXPECT_EQ(CDiv(2.0, TCplx{0, 2}), (TCplx{0, -1}));
  EXPECT_EQ(CDiv(TCplx{4, 2}, 2.0), (TCplx{2, 1}));
  EXPECT_EQ(CInv(TCplx{0, 2}), (TCplx{0, -0.5}));
  EXPECT_EQ(CSqr(TCplx{1, 2}), (TCplx{-3, 4}));
  EXPECT_EQ(CAddI(TCplx{1, 2}, 3), (TCplx{1, 5}));
  EXPECT_EQ(CSubI(TCplx{1, 2}, 3), (TCplx{1, -1}));
  EXPECT_EQ(CMulI(TCplx{1, 2}, 3), (TCplx{-6, 3}));
  EXPECT_EQ(CInvMulI(TCplx{0, 2}), (TCplx{0.5, 0}));  // i / (2i)
  ExpectNear(CInvMulI(TCplx{3, -4}), CDiv(TCplx{0, 1}, TCplx{3, -4}));
  EXPECT_EQ(CSubMulI(TCplx{1, 2}), (TCplx{2, PIDIV2 - 1}));
  EXPECT_EQ(MulI(TCplx{1, 2}), (TCplx{-2, 1}));
  EXPECT_EQ(Flip(TCplx{1, 2}), (TCplx{2, 1}));
  EXPECT_EQ(FlipConj(TCplx{1, 2}), (TCplx{2, -1}));
  TCplx r;
  CMul(TCplx{1, 2}, TCplx{3, 4}, r);
  EXPECT_EQ(r, (TCplx{-5, 10}));
}

TEST(ComplexArith, UnscaledFormulasDoNotOverflowForDoubles) {
  // |b|^2 = 2e400 would overflow a double; it is formed in extended precision.
  ExpectNear(CDiv(TCplx{1e200, 1e200}, TCplx{1e200, 1e200}), TCplx{1, 0});
  ExpectNear(CMul(TCplx{1e300, 1e300}, TCplx{1e-300, -1e-300}), TCplx{2, 0});
  EXPECT_TRUE(Equal(CInv(TCplx{1e-200, 0}), TCplx{1e200, 0}, 1e185));
  EXPECT_LE(test::UlpDistance(CAbs(TCplx{3e200, 4e200}), 5e200), 1u);
  EXPECT_EQ(CAbs1(TCplx{-3, 4}), 7);
  EXPECT_EQ(Norm(TCplx{3, 4}), 25);
  EXPECT_TRUE(IsNanInf(CDiv(TCplx{1, 0}, TCplx{0, 0})));
}

TEST(ComplexSqrt, PrincipalRootAndSignRules) {
  EXPECT_EQ(CSqrt(TCplx{-4, 0}), (TCplx{0, 2}));
  EXPECT_EQ(CSqrt(TCplx{-4, -0.0}), (TCplx{0, 2}));  // -0 counts as non-negative
  EXPECT_EQ(CSqrt(TCplx{4, 0}), (TCplx{2, 0}));
  EXPECT_EQ(CSqrt(TCplx{0, 0}), (TCplx{0, 0}));
  EXPECT_EQ(CSqrt(TCplx{0, 2}), (TCplx{1, 1}));
  EXPECT_EQ(CSqrt(TCplx{0, -2}), (TCplx{1, -1}));
  EXPECT_EQ(CSqrt(TCplx{-3, 4}), (TCplx{1, 2}));
  EXPECT_EQ(CSqrt(TCplx{-3, -4}), (TCplx{1, -2}));
  EXPECT_EQ(CSqrt(TCplx{3, -4}), (TCplx{2, -1}));
  // The root squares back and lies in the right half-plane, for every quadrant.
  for (double re : {-2.5, -1e-3, 0.7, 1e5}) {
    for (double im : {-3.0, -1e-8, 1e-8, 2.0}) {
      TCplx s = CSqrt(TCplx{re, im});
      EXPECT_GE(s.Re, 0);
      EXPECT_EQ(std::signbit(s.Im), std::signbit(im));
      ExpectNear(CSqr(s), TCplx{re, im});
    }
  }
}

TEST(ComplexPower, ZeroRulesAndAgreementWithRepeatedProducts) {
  EXPECT_EQ(Power(TCplx{0, 0}, TCplx{0, 0}), (TCplx{1, 0}));
  EXPECT_EQ(Power(TCplx{0, 0}, TCplx{2, 0}), (TCplx{0, 0}));
  EXPECT_EQ(Power(TCplx{0, 0}, 0.0), (TCplx{1, 0}));
  EXPECT_EQ(Power(0.0, TCplx{3, 1}), (TCplx{0, 0}));
  EXPECT_EQ(Power(TCplx{5, 7}, TCplx{0, 0}), (TCplx{1, 0}));
  ExpectNear(Power(-8.0, TCplx{1.0 / 3, 0}), TCplx{1, std::sqrt(3.0)});  // principal cube root
  ExpectNear(Power(TCplx{0, 1}, TCplx{0, 1}), TCplx{std::exp(-PIDIV2), 0});  // i^i
  TCplx z{0.8, -1.3}, p{1, 0};
  for (int n = 1; n <= 12; ++n) {
    p = CMul(p, z);
    ExpectNear(IntPower(z, n), p);
    ExpectNear(Power(z, double(n)), p);
    ExpectNear(IntPower(z, -n), CInv(p));
  }
  EXPECT_EQ(IntPower(TCplx{3, 4}, 0), (TCplx{1, 0}));
}

TEST(ComplexRoot, AllRootsAreDistinctAndRaiseBack) {
  TCplx z{-2, 5};
  const int n = 5;
  for (int k = 0; k < n; ++k) {
    TCplx r = Root(z, k, n);
    ExpectNear(IntPower(r, n), z);
    for (int j = 0; j < k; ++j) EXPECT_GT(CAbs(CSub(r, Root(z, j, n))), 0.1);
  }
  ExpectNear(Root(TCplx{-4, 0}, 0, 2), TCplx{0, 2});
  ExpectNear(Root(TCplx{8, 0}, 0, 3), TCplx{2, 0});
  // FixAngle keeps the angle in (-2pi, 2pi): the last root of 1 is at 2pi (n-1)/n.
  ExpectNear(Root(TCplx{1, 0}, 3, 4), TCplx{0, -1});
}

TEST(ComplexRounding, PerPartRules) {
  EXPECT_EQ(CTrunc(TCplx{-2.7, 2.7}), (TCplx{-2, 2}));
  EXPECT_EQ(CRound(TCplx{2.5, -3.5}), (TCplx{2, -4}));  // ties to even
  EXPECT_EQ(CFrac(TCplx{-2.75, 2.25}), (TCplx{-0.75, 0.25}));
  EXPECT_EQ(Ceil(TCplx{-2.7, 2.2}), (TCplx{-2, 3}));
  EXPECT_EQ(Floor(TCplx{-2.7, 2.2}), (TCplx{-3, 2}));
  EXPECT_EQ(Rem(TCplx{-7, 7}, TCplx{3, -3}), (TCplx{-1, 1}));
  EXPECT_EQ(Sgn(TCplx{0, -2}), -1);
  EXPECT_EQ(Sgn(TCplx{-0.0, 2}), 1);
  EXPECT_EQ(Sgn(TCplx{3, -2}), 1);
  EXPECT_EQ(Sgn(TCplx{0, 0}), 0);
  EXPECT_EQ(Sign(TCplx{0, 0}), (TCplx{0, 0}));
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
  ExpectNear(Exp(Ln(z)), z);
  ExpectNear(Exp2(Log2(z)), z);
  ExpectNear(Exp10(Log10(z)), z);
  ExpectNear(Exp2(TCplx{10, 0}), TCplx{1024, 0});
  ExpectNear(LogN(TCplx{0, 2}, z), CDiv(Ln(z), Ln(TCplx{0, 2})));
  ExpectNear(LogN(2.0, TCplx{8, 0}), TCplx{3, 0});
  ExpectNear(LogN(TCplx{2, 0}, 0.5), TCplx{-1, 0});
  // The cut of Ln: the sign of a zero imaginary part picks the side.
  EXPECT_EQ(Ln(TCplx{-1, 0}).Im, PI);
  EXPECT_EQ(Ln(TCplx{-1, -0.0}).Im, -PI);
  EXPECT_EQ(Ln(TCplx{0, 0}).Re, -INF);
}

TEST(ComplexFunctions, TrigonometricIdentities) {
  const TCplx zs[] = {{0.3, -0.7}, {-2.1, 1.4}, {5, 0.5}};
  for (const TCplx& z : zs) {
    TCplx s = Sin(z), c = Cos(z);
    ExpectNear(CAdd(CSqr(s), CSqr(c)), C_ONE);
    ExpectNear(Tan(z), CDiv(s, c));
    ExpectNear(Sec(z), CInv(c));
    ExpectNear(Csc(z), CInv(s));
    ExpectNear(Cot(z), CInv(Tan(z)));
    ExpectNear(Sinh(z), Neg(MulI(Sin(MulI(z)))));  // sinh z = -i sin(iz)
    ExpectNear(Cosh(z), Cos(MulI(z)));
    ExpectNear(Tanh(z), CDiv(Sinh(z), Cosh(z)));
    ExpectNear(Sech(z), CInv(Cosh(z)));
    ExpectNear(Csch(z), CInv(Sinh(z)));
    ExpectNear(Coth(z), CInv(Tanh(z)));
    ExpectNear(Sin(ArcSin(z)), z);
    ExpectNear(Cos(ArcCos(z)), z);
    ExpectNear(Tan(ArcTan(z)), z);
    ExpectNear(Sinh(ArcSinh(z)), z);
    ExpectNear(Cosh(ArcCosh(z)), z);
    ExpectNear(Tanh(ArcTanh(z)), z);
    ExpectNear(ArcSec(z), ArcCos(CInv(z)));
    ExpectNear(ArcCsc(z), ArcSin(CInv(z)));
    ExpectNear(ArcCot(z), ArcTan(CInv(z)));
    ExpectNear(ArcSech(z), ArcCosh(CInv(z)));
    ExpectNear(ArcCsch(z), ArcSinh(CInv(z)));
    ExpectNear(ArcCoth(z), ArcTanh(CInv(z)));
  }
  // Principal values on the cuts follow the sign of the zero part.
  ExpectNear(ArcSin(TCplx{2, 0}), TCplx{PIDIV2, 1.3169578969248166});
  ExpectNear(ArcSin(TCplx{2, -0.0}), TCplx{PIDIV2, -1.3169578969248166});
  EXPECT_GE(ArcCosh(TCplx{-2, -0.0}).Re, 0);
  ExpectNear(Pythag(TCplx{3, 0}, TCplx{0, 4}), TCplx{0, std::sqrt(7.0)});
  ExpectNear(Pythag(TCplx{3, 0}, TCplx{4, 0}), TCplx{5, 0});
}

}  // namespace
}  // namespace quorel
