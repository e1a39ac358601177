// Elementary functions on vectors: the complex formulas, rounding through 32-bit integers,
// thresholds and the members with parameters.
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string>
#include <complex>

#include <gtest/gtest.h>

#include "quorel/core/complex_trig.h"
#include "quorel/core/errors.h"
#include "quorel/core/scalar_complex.h"
#include "quorel/core/scalar_real.h"
#include "quorel/core/scalar_util.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;

// Relative error of a complex result against std::complex<long double>, in units of MACHEP.
double CplxErrorEps(TCplx got, std::complex<long double> want) {
  const long double dr = got.Re - want.real(), di = got.Im - want.imag();
  return static_cast<double>(std::sqrt(dr * dr + di * di) / std::abs(want)) / MACHEP;
}

// Complex results of the vector members stay within a few MACHEP of the exact value.
constexpr double kComplexTolEps = 8;

// The other members are checked against reference data (accuracy_test.cpp).
TEST(ComplexFunctions, Log10AndExp10) {
  for (const TCplx& p : {TCplx{0.5, 0.25}, TCplx{-1.5, 2}, TCplx{3, -0.75}, TCplx{0, 1}}) {
    TVec v = Cplx({p});
    v.Log10();
    EXPECT_LE(CplxErrorEps(v.CValues()[0], std::log10(std::complex<long double>(p.Re, p.Im))), kComplexTolEps)
        << p.Re << "," << p.Im;
  }
  EXPECT_TRUE(Cplx({{0, 1}}).Exp10().IsEqual(Cplx({{std::cos(LN10), std::sin(LN10)}}), 4 * MACHEP, cmpAbsolute));
}

// Where the squared modulus of cosh (cos) would overflow, the quotients reach their limits, as
// for real data; the reciprocals follow.
TEST(ComplexFunctions, TangentsOfLargePartsReachTheirLimits) {
  TVec r;
  r.Tanh(Cplx({{800, 0}, {-356, 1}}));
  EXPECT_EQ(r.CValues()[0], (TCplx{1, 0}));
  EXPECT_EQ(r.CValues()[1].Re, -1);
  EXPECT_LE(std::fabs(r.CValues()[1].Im), 1e-300);
  EXPECT_TRUE(r.Coth(Cplx({{400, 0}, {-400, 0}})).IsEqual(Cplx({{1, 0}, {-1, 0}})));
  r.Tan(Cplx({{1, 356}, {1, -800}}));
  EXPECT_EQ(r.CValues()[0].Im, 1);
  EXPECT_LE(CplxErrorEps(r.CValues()[0], std::tan(std::complex<long double>(1, 356))), kComplexTolEps);
  EXPECT_EQ(r.CValues()[1], (TCplx{0, -1}));
  EXPECT_TRUE(r.Cot(Cplx({{1, 800}})).IsEqual(Cplx({{0, -1}}), 0, cmpAbsolute));
}

// A zero part whose partner overflows: the product with sin(+-0) is that signed zero, not
// inf * 0 = NaN, as the scalar functions give.
TEST(ComplexFunctions, OverflowBesideAZeroPartKeepsTheZero) {
  using F = TCplx (*)(const TCplx&);
  using Member = TVec& (TVec::*)(const TDenseQuorel&);
  struct Case { const char* name; Member vec; F scalar; TCplx z; };
  const Case cases[] = {
      {"Exp", &TVec::Exp, Exp, {1000, 0}},     {"Exp", &TVec::Exp, Exp, {1000, -0.0}},
      {"Sinh", &TVec::Sinh, Sinh, {1000, 0}},  {"Sinh", &TVec::Sinh, Sinh, {-1000, -0.0}},
      {"Cosh", &TVec::Cosh, Cosh, {1000, 0}},  {"Cosh", &TVec::Cosh, Cosh, {-1000, 0}},
      {"Sin", &TVec::Sin, Sin, {0, 1000}},     {"Cos", &TVec::Cos, Cos, {-0.0, 1000}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.z.Re) + (std::signbit(c.z.Im) ? " -0" : ""));
    TVec r;
    (r.*c.vec)(Cplx({c.z}));
    const TCplx want = c.scalar(c.z), got = r.CValues()[0];
    EXPECT_EQ(std::bit_cast<std::uint64_t>(got.Re), std::bit_cast<std::uint64_t>(want.Re)) << got.Re << " " << want.Re;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(got.Im), std::bit_cast<std::uint64_t>(want.Im)) << got.Im << " " << want.Im;
  }
}

// e^x overflows from x = 709.78, yet e^x cos y and e^x sin y may each stay finite: every part
// is finite where its true value is, and infinite with its sign where not.
TEST(ComplexFunctions, ExponentialOverflowsPartByPart) {
  const TCplx z[] = {{710, 1}, {710, 3}, {710.5, 1.5707963267948966}, {711, -2}, {1000, 0.5}, {709.5, 1}};
  TVec r;
  r.Exp(Cplx({z[0], z[1], z[2], z[3], z[4], z[5]}));
  for (int i = 0; i < 6; ++i) {
    const auto ref = std::exp(std::complex<long double>(z[i].Re, z[i].Im));
    const double got[] = {r.CValues()[i].Re, r.CValues()[i].Im};
    const long double want[] = {ref.real(), ref.imag()};
    for (int k = 0; k < 2; ++k) {
      SCOPED_TRACE(std::to_string(z[i].Re) + " " + std::to_string(z[i].Im) + (k ? " Im" : " Re"));
      if (std::fabs(want[k]) > DBL_MAX) {
        EXPECT_TRUE(std::isinf(got[k]) && std::signbit(got[k]) == std::signbit(want[k])) << got[k];
      } else {
        EXPECT_LE(std::fabs((got[k] - want[k]) / want[k]), 4 * MACHEP) << got[k] << " " << static_cast<double>(want[k]);
      }
    }
  }
}

TEST(HyperbolicReciprocals, ReachTheSubnormalRange) {
  // Past |x| = 709.78 cosh and sinh overflow, yet sech and csch are subnormal doubles up to 745;
  // 1/x overflows for subnormal x, yet arcsech and arccsch are near 710.
  TVec big = Real({709.5, 720, -740, 744.4, 1.5}), r, sech, csch;
  sech.Sech(big);
  csch.Csch(big);
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(sech[i] == Sech(big[i]) && sech[i] > 0) << i << " " << sech[i];
    EXPECT_TRUE(csch[i] == Csch(big[i]) && csch[i] != 0) << i << " " << csch[i];
  }
  EXPECT_NEAR(sech[4], 1 / std::cosh(1.5), 1e-16);
  // The complex forms likewise, and sec and csc with the parts swapped: the scalar's value, not
  // 1/(inf, inf).
  const TCplx zs[] = {{1000, 1}, {710, 1.5}, {-720, -0.5}, {1, 2}};
  for (bool swapped : {false, true}) {
    TVec z = Cplx({zs[0], zs[1], zs[2], zs[3]}), a, b;
    if (swapped) z.Flip();
    if (swapped) a.Sec(z), b.Csc(z);
    else a.Sech(z), b.Csch(z);
    for (int i = 0; i < 4; ++i) {
      // The last, ordinary lane stays with the vector kernels: equal to a few eps.
      const double tol = i == 3 ? 1e-15 : 0;
      const TCplx x = z.atc(i), wa = swapped ? Sec(x) : Sech(x), wb = swapped ? Csc(x) : Csch(x);
      for (const auto& [got, want] : {std::pair{a.atc(i), wa}, std::pair{b.atc(i), wb}})
        EXPECT_TRUE(std::fabs(got.Re - want.Re) <= tol && std::fabs(got.Im - want.Im) <= tol)
            << swapped << i << ": " << got.Re << ", " << got.Im;
    }
  }
  TVec tiny = Real({1e-310, 4.9e-324, 0.0, 0.5});
  r.ArcSech(tiny);
  EXPECT_NEAR(r[0], (std::log(2.0) - std::log(1e-310)), 1e-12);
  EXPECT_EQ(r[1], ArcSech(4.9e-324));
  EXPECT_EQ(r[2], INF);
  tiny[2] = -1e-310;
  r.ArcCsch(tiny);
  EXPECT_NEAR(r[0], (std::log(2.0) - std::log(1e-310)), 1e-12);
  EXPECT_NEAR(r[2], -(std::log(2.0) - std::log(1e-310)), 1e-12);
}

TEST(Rounding, ThroughInt32AndParts) {
  TVec a = Real({3e9, -3e9, 2.5, -2.5, 1.5, NaN});
  TVec r;
  EXPECT_TRUE(r.Round(a).IsEqual(Real({2147483647.0, -2147483648.0, 2, -2, 2, 0})));
  EXPECT_TRUE(r.Trunc(Real({2.7, -2.7})).IsEqual(Real({2, -2})));
  EXPECT_TRUE(Cplx({{1.6, -1.6}}).Round().IsEqual(Cplx({{2, -2}})));  // both parts
  EXPECT_TRUE(r.Ceil(Real({1.2, -1.2})).IsEqual(Real({2, -1})));
  EXPECT_TRUE(r.Floor(Real({1.2, -1.2})).IsEqual(Real({1, -2})));
  EXPECT_TRUE(r.Frac(Real({1.25, -1.25})).IsEqual(Real({0.25, -0.25})));
  TVec t, f;
  Real({3.5, -3.5}).TruncAndFrac(t, f);
  EXPECT_TRUE(t.IsEqual(Real({3, -3})) && f.IsEqual(Real({0.5, -0.5})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { t.TruncAndFrac(t, f); }),
            "TQuorel.TruncAndFrac, TruncDst: X = Self");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Round(r); }), "TQuorel.Round: Self = Src");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Ceil(r); }), "TQuorel.Ceil: Src = Self");

  TIntegerArray ints;
  a.Round(ints);
  EXPECT_EQ(ints, (TIntegerArray{2147483647, -2147483647 - 1, 2, -2, 2, 0}));
  Real({-2.9, 2.9}).Trunc(ints);
  EXPECT_EQ(ints, (TIntegerArray{-2, 2}));
  TVec iv;
  Real({1.5, -7.2, 4e10}).FloatToInt(iv, rnRound);
  EXPECT_TRUE(iv.IsInteger());
  EXPECT_EQ(test::Ints(iv), (std::vector<int>{2, -7, 2147483647}));
  iv.IntToFloat();
  EXPECT_TRUE(iv.IsEqual(Real({2, -7, 2147483647.0})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { iv.IntToFloat(); }), "Src.IsInteger = false");
}

TEST(Angles, FixAngleRemSgnSign) {
  TVec a = Real({7, -7, 4});
  a.FixAngle();
  EXPECT_DOUBLE_EQ(a[0], 7 - TWOPI);
  EXPECT_DOUBLE_EQ(a[1], -7 + TWOPI);
  EXPECT_EQ(a[2], 4);  // not folded into (-pi, pi]
  TVec r;
  EXPECT_TRUE(r.Rem(Real({-7, 7}), Real({3, -3})).IsEqual(Real({-1, 1})));
  EXPECT_TRUE(r.Rem(Real({7.5}), 2.0).IsEqual(Real({1.5})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Rem(Cplx({{1, 1}}), 2.0); }), "TQuorel.Rem: X is Complex");
  TVec s = Real({5, 5, 5});
  EXPECT_TRUE(s.Sgn(Real({2, -3, 0})).IsEqual(Real({5, -5, 0})));
  s.SetConditionCheck(false);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.Sgn(Real({1})); }),
            "TQuorel.Sgn: Self.Length <> SgnSrc.Length");  // checked always
  EXPECT_TRUE(Real({1, -2}).Sign().IsEqual(Real({-1, 2})));
}

TEST(Thresholds, LevelsAndMessages) {
  EXPECT_TRUE(Real({-2, 0, 2}).ThreshBottom(-1).ThreshTop(1).IsEqual(Real({-1, 0, 1})));
  TVec b;
  EXPECT_TRUE(b.ThresholdLT(Real({-2, 0, 2}), 0.5, 9).IsEqual(Real({9, 9, 2})));
  EXPECT_TRUE(b.ThresholdGT_LT(Real({-2, 0, 2}), 0, -5, 0, 5).IsEqual(Real({-5, 0, 5})));  // equal levels are accepted
  // The level check is one of the checks ConditionCheck switches off.
  b.SetConditionCheck(false);
  b.ThresholdGT_LT(Real({-2, 0, 2}), 1, -5, 0, 5);
  EXPECT_EQ(b.Length(), 3);
  // modulus limited, phase kept
  EXPECT_TRUE(Cplx({{3, 4}, {0.3, 0.4}}).ThreshTop(1).IsEqual(Cplx({{0.6, 0.8}, {0.3, 0.4}}), 1e-15, cmpAbsolute));
}

// Re^2 + Im^2 over- or underflows a double here; ordinary lanes share the vector.
TEST(ComplexFunctions, SqrtOfHugeAndTinyModuli) {
  const TVec src = Cplx({{1e-310, 0}, {3e-170, 4e-170}, {1e200, 0}, {1e300, 1e300}, {-1e300, 0}, {4, 0}, {0, 0}});
  TVec r;
  r.Sqrt(src);
  for (int i = 0; i < src.Length(); ++i) {
    EXPECT_EQ(r.CValues()[i].Re, CSqrt(src.CValues()[i]).Re) << i;
    EXPECT_EQ(r.CValues()[i].Im, CSqrt(src.CValues()[i]).Im) << i;
  }
  TVec in = src;
  EXPECT_TRUE(in.Sqrt().IsEqual(r));  // in place
}

TEST(Thresholds, ComplexModulusBeyondTheSquaredRange) {
  TVec a = Cplx({{INF, 0}, {1e155, 0}, {-1e155, 1e155}, {1e200, 0}});
  a.ThreshTop(1);
  EXPECT_TRUE(a.IsEqual(Cplx({{1, 0}, {1, 0}, {-std::sqrt(0.5), std::sqrt(0.5)}, {1, 0}}), 1e-15, cmpAbsolute));
  // inside the level: unchanged
  const TVec huge = Cplx({{1e200, 0}}), small = Cplx({{1e-170, 1e-170}}), tiny = Cplx({{1e-170, 0}});
  EXPECT_TRUE(TVec(huge).ThreshTop(1e250).IsEqual(huge, 0, cmpAbsolute));
  EXPECT_TRUE(TVec().ThresholdGT(huge, 1e250, TCplx{7, 7}).IsEqual(huge, 0, cmpAbsolute));
  EXPECT_TRUE(TVec(small).ThreshBottom(1e-200).IsEqual(small, 0, cmpAbsolute));
  EXPECT_TRUE(TVec().ThresholdLT(tiny, 1e-200, TCplx{7, 7}).IsEqual(tiny, 0, cmpAbsolute));
  TVec c = tiny;
  c.ThreshBottom(1e-160);  // moved up to the level, phase kept
  EXPECT_DOUBLE_EQ(c.CValues()[0].Re, 1e-160);
}

// The double quotient rounds across an integer, or the product y * q loses digits: the vector
// must give what the scalar Rem gives.
TEST(Angles, RemAgreesWithScalarForLargeAndRoundedQuotients) {
  const TVec x = Real({7.0833855344904298e+19, -3.1992011121398316e+31, 1.2364513982280354e+32, 1, -1, 1e20, 7.5, -0.0});
  for (double y : {2.5, -0.1, 0.1, 3.0, INF}) {
    TVec r;
    r.Rem(x, y);
    for (int i = 0; i < x.Length(); ++i) {
      const double want = Rem(x[i], y);
      if (std::isnan(want)) EXPECT_TRUE(std::isnan(r[i])) << i;
      else EXPECT_EQ(std::bit_cast<std::uint64_t>(r[i]), std::bit_cast<std::uint64_t>(want)) << x[i] << " " << y;
    }
    TVec yv = x, r2;
    yv.SetVal(y);
    r2.Rem(x, yv);
    for (int i = 0; i < x.Length(); ++i)
      EXPECT_EQ(std::bit_cast<std::uint64_t>(r2[i]), std::bit_cast<std::uint64_t>(r[i])) << i;
  }
  EXPECT_EQ(Real({3e16}).FixAngle()[0], Rem(3e16, TWOPI));
}

TEST(Parameters, PowerLogNSinCos) {
  EXPECT_TRUE(Real({4, 9}).Power(0.5).IsEqual(Real({2, 3})));
  TVec r;
  EXPECT_TRUE(r.Power(2.0, Real({3, -1})).IsEqual(Real({8, 0.5})));
  EXPECT_TRUE(r.PowerVec(Real({2, 3}), Real({2, 2})).IsEqual(Real({4, 9})));
  EXPECT_TRUE(r.IntPower(Real({2, -3}), 3).IsEqual(Real({8, -27})));
  EXPECT_TRUE(r.IntPower(-2).IsEqual(Real({1.0 / 64, 1.0 / 729}), 1e-17, cmpAbsolute));
  // ln 8 / ln 2 rounds to 3 exactly; times 1/ln 2 it did not
  EXPECT_TRUE(r.LogN(2.0, Real({8, 0.25, 1024})).IsEqual(Real({3, -2, 10}), 0, cmpAbsolute));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.LogN(0.0); }), "TQuorel.LogN: N = 0");
  // F(X)'s own Self check comes before the parameter check.
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.LogN(0.0, r); }), "TQuorel.LogN: Self = X");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.LogN(2.0, Cplx({{1, 0}}), 0, 0, 1); }),
            "TQuorel.LogN: X.Complex <> Self.Complex");
  // The range forms validate their ranges before the parameter.
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { r.LogN(0.0, 5, 9); }),
            "Self params out of range: Index: 5, Len: 9, Length: 3");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { r.LogN(0.0, Real({1, 2}), 5, 0, 2); }),
            "X params out of range: XIndex: 5, Len: 2, X.Length: 2");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Power(r, 2.0); }), "Self = Base");
  TVec z;  // complex data through the complex logarithm
  EXPECT_TRUE(z.LogN(10.0, Cplx({{-100, 0}})).IsEqual(Cplx({{2, PI / LN10}}), 4 * MACHEP, cmpAbsolute));
  EXPECT_TRUE(z.Power(Cplx({{0, 1}}), 2.0).IsEqual(Cplx({{-1, 0}}), 4 * MACHEP, cmpAbsolute));
  TVec s, c;
  Real({0, PIDIV2}).SinCos(s, c);
  EXPECT_TRUE(s.IsEqual(Real({0, 1})));
  EXPECT_NEAR(c[1], 0, 1e-16);
  Real({0.5}).SinhCosh(s, c);
  EXPECT_NEAR(s[0], std::sinh(0.5), 4 * MACHEP);
  EXPECT_NEAR(c[0], std::cosh(0.5), 4 * MACHEP);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { Cplx({{1, 1}}).SinCos(s, c); }), "TQuorel.SinCos: Complex = True");
  TVec e;
  EXPECT_TRUE(e.Expj(Real({0, PIDIV2})).IsEqual(Cplx({{1, 0}, {0, 1}}), 1e-16, cmpAbsolute));
  EXPECT_TRUE(r.ArcTan2(Real({1, -1}), Real({0, 0})).IsEqual(Real({PIDIV2, -PIDIV2})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.ArcTan2(Real({1}), Real({1, 2})); }),
            "TQuorel.ArcTan2: X.Length <> Y.Length");
}

}  // namespace
}  // namespace quorel
