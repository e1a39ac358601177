// Vector overloads: every element agrees with the scalar function (exactly for the element
// loops and the block forms of the gamma functions, to a few eps for the block formulas, which
// use the vector kernels, and for the normal CDF and quantile, whose error function is evaluated
// on blocks), across block boundaries and in place, NaN arguments included; and the messages of
// the argument checks.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/probabilities.h"
#include "support/support.h"

namespace quorel {
namespace {


using VecFn = std::function<void(const TDenseQuorel&, TDenseQuorel&)>;
using ScalarFn = std::function<double(double)>;

struct Member {
  const char* name;
  VecFn vec;
  ScalarFn scalar;
  double lo, hi;      // argument range
  double tol;         // relative (block formulas); 0: bit-identical
  const char* msg;    // complex-argument message, or nullptr when not checked
};

// 2,503 points: three blocks and a ragged tail, endpoints included.
TVec Grid(double lo, double hi) {
  TVec x;
  const int n = 2503;
  x.SetLength(n);
  for (int i = 0; i < n; ++i) x[i] = lo + (hi - lo) * i / (n - 1);
  return x;
}

bool Close(double got, double want, double tol) {
  if (std::isnan(want)) return std::isnan(got);
  if (std::isinf(want)) return got == want;
  if (tol == 0) return got == want;
  // relative, or absolute where the value is small (ln(-ln p) near p = 1/e cancels in both forms)
  return std::fabs(got - want) <= tol * std::fmax(std::fabs(want), 1e-2);
}

const char* kX = " X.Complex = true ";
const char* kP = " P.Complex = true ";
const char* kY = " Y.Complex = true ";

#define M(NAME, ARGS, LO, HI, TOL, MSG)                                                        \
  Member {                                                                                    \
    #NAME "(" #ARGS ")", [](const TDenseQuorel& x, TDenseQuorel& r) { NAME(x, ARGS, r); },   \
        [](double v) { return NAME(v, ARGS); }, LO, HI, TOL, MSG                              \
  }
#define A2(a, b) a, b
#define A3(a, b, c) a, b, c

const std::vector<Member>& Members() {
  // block formulas: a few eps from the kernels; 1 - e^-t style CDFs lose relative accuracy near
  // 0 against the scalar's expm1, so their arguments keep away from the origin
  static const std::vector<Member> members = {
      M(BetaPDF, A2(2.5, 0.7), 0, 1, 0, kX), M(BetaCDF, A2(2.5, 0.7), -0.1, 1.1, 0, kX),
      M(BetaCDFInv, A2(2.5, 0.7), 0, 1, 0, kX),
      M(BinomPDF, A2(12, 0.3), -1, 12, 0, kX), M(BinomCDF, A2(12, 0.3), -1, 12, 0, kX),
      M(BinomCDFInv, A2(12, 0.3), 0, 1, 0, kY),
      M(BoseEinsteinPDF, A2(0.5, 2), 1, 8, 1e-14, kX),
      M(CauchyPDF, A2(1, 2), -9, 9, 1e-14, kX), M(CauchyCDF, A2(1, 2), -9, 9, 1e-14, kX),
      M(CauchyCDFInv, A2(1, 2), 0.01, 0.99, 1e-13, kP),
      M(ChiSquarePDF, 5, 0, 20, 0, kX), M(ChiSquareCDF, 5, 0, 20, 0, kX), M(ChiSquareCDFInv, 5, 0, 0.999, 0, kP),
      M(ExpPDF, 2, -1, 20, 1e-14, kX), M(ExpCDF, 2, 0.5, 20, 1e-14, kX), M(ExpCDFInv, 2, 0, 0.99, 1e-14, kP),
      M(FPDF, A2(4, 9), -1, 10, 1e-13, nullptr), M(FCDF, A2(4, 9), -1, 10, 0, kX),
      M(FermiDiracPDF, A2(0.5, 2), 0, 8, 1e-14, nullptr),
      M(GammaPDF, A2(3.2, 1.5), -1, 20, 0, kX), M(GammaCDF, A2(3.2, 1.5), -1, 20, 0, kX),
      M(GammaCDFInv, A2(3.2, 1.5), 0, 1, 0, kP),
      M(GeometricPDF, 0.3, -1, 20, 0, kX), M(GeometricCDF, 0.3, -1, 20, 0, kX), M(GeometricCDFInv, 0.3, 0, 1, 0, kY),
      M(HypGeometricPDF, A3(20, 7, 9), -1, 7, 0, kX), M(HypGeometricCDF, A3(20, 7, 9), -1, 7, 0, kX),
      M(HypGeometricCDFInv, A3(20, 7, 9), 0, 1, 0, kP),
      M(LaplacePDF, A2(1, 2), -9, 9, 1e-14, kX), M(LaplaceCDF, A2(1, 2), -9, 9, 1e-14, kX),
      M(LaplaceCDFInv, A2(1, 2), 0, 1, 0, kP),
      M(LogisticPDF, A2(1, 2), -9, 9, 1e-14, kX), M(LogisticCDF, A2(1, 2), -9, 9, 1e-14, kX),
      M(LogisticCDFInv, A2(1, 2), 0.01, 0.99, 1e-13, kP),
      M(LogNormalPDF, A2(0.5, 0.8), 0.01, 9, 1e-14, kX), M(LogNormalCDF, A2(0.5, 0.8), 0.01, 9, 0, kX),
      M(LogNormalCDFInv, A2(0.5, 0.8), 0, 1, 0, kP),
      M(LogWeibullPDF, A2(1, 2), -5, 9, 1e-14, kX), M(LogWeibullCDF, A2(1, 2), -5, 9, 1e-14, kX),
      M(LogWeibullCDFInv, A2(1, 2), 0.01, 0.99, 1e-13, kP),
      M(MaxwellPDF, 1.5, 0, 5, 1e-14, kX), M(MaxwellCDF, 1.5, 0, 5, 0, nullptr),
      M(MaxwellCDFInv, 1.5, 0, 1, 0, nullptr),
      M(NegBinomPDF, A2(4, 0.4), -1, 20, 0, kX), M(NegBinomCDF, A2(4, 0.4), 0, 20, 0, kX),
      M(NegBinomCDFInv, A2(4, 0.4), 0, 0.999, 0, kY),
      M(NormalPDF, A2(1, 2), -9, 9, 1e-14, nullptr), M(NormalCDF, A2(1, 2), -9, 9, 1e-14, kX),
      M(NormalCDFInv, A2(1, 2), 0, 1, 1e-13, kP),  // rounding of x, against mu = 1
      M(ParetoPDF, A2(2, 1), 1, 9, 1e-14, nullptr), M(ParetoCDF, A2(2, 1), 1.5, 9, 1e-14, nullptr),
      M(ParetoCDFInv, A2(2, 1), 0, 0.99, 1e-14, nullptr),
      M(PoissonCDF, 3.5, -1, 15, 0, kX), M(PoissonCDFInv, 3.5, 0, 0.999, 0, kP),
      M(RayleighPDF, 2, 0, 9, 1e-14, nullptr), M(RayleighCDF, 2, 1, 9, 1e-14, nullptr),
      M(RayleighCDFInv, 2, 0.01, 0.99, 1e-14, nullptr), M(RayleighCDFInv, -2, 0.01, 1, 1e-14, nullptr),
      M(StudentPDF, 5, -9, 9, 0, kX), M(StudentCDF, 5, -9, 9, 0, kX), M(StudentCDFInv, 5, 0, 1, 0, kP),
      M(TriangularPDF, A3(0, 3, 1), -1, 4, 0, kX), M(TriangularCDF, A3(0, 3, 1), -1, 4, 0, kX),
      M(TriangularCDFInv, A3(0, 3, 1), 0, 1, 0, kX),
      M(UniformPDF, A2(-1, 3), -2, 4, 0, nullptr), M(UniformCDF, A2(-1, 3), -2, 4, 1e-15, nullptr),
      M(UniformCDFInv, A2(-1, 3), 0, 1, 1e-15, nullptr),
      M(UniformDPDF, 6, -1, 8, 0, kX), M(UniformDCDF, 6, -1, 8, 0, kX), M(UniformDCDFInv, 6, 0, 1, 0, kP),
      M(WeibullPDF, A2(2, 1.5), -1, 3, 1e-14, nullptr), M(WeibullPDF, A2(2, 0.3), -1, 3, 1e-14, nullptr),
      M(WeibullCDF, A2(2, 1.5), 0.2, 3, 1e-14, nullptr),
      M(WeibullCDFInv, A2(2, 1.5), 0, 1, 1e-14, nullptr),
  };
  return members;
}

#undef M
#undef A2
#undef A3

TEST(VectorOverloads, AgreeWithScalarAcrossBlocksAndInPlace) {
  for (const Member& m : Members()) {
    const TVec x = Grid(m.lo, m.hi);
    TVec res;
    m.vec(x, res);
    ASSERT_EQ(res.Length(), x.Length()) << m.name;
    ASSERT_FALSE(res.Complex()) << m.name;
    int bad = 0;
    for (int i = 0; i < x.Length() && bad < 3; ++i)
      if (!Close(res[i], m.scalar(x[i]), m.tol)) {
        ++bad;
        ADD_FAILURE() << m.name << " at " << x[i] << ": " << res[i] << " vs " << m.scalar(x[i]);
      }
    TVec same = Grid(m.lo, m.hi);
    m.vec(same, same);
    for (int i = 0; i < x.Length(); ++i)
      if (!(Close(same[i], res[i], 0))) {
        ADD_FAILURE() << m.name << " in place differs at " << i;
        break;
      }
    // a NaN argument is not turned into a plausible value the scalar function would not give
    TVec withNaN = Grid(m.lo, m.hi);
    withNaN[1] = NAN;
    m.vec(withNaN, res);
    EXPECT_TRUE(Close(res[1], m.scalar(NAN), 0)) << m.name << " at NaN: " << res[1] << " vs " << m.scalar(NAN);
  }
}

// The Weibull density at the ends of the range, where one of x^b and x^(b-1) overflows or
// underflows and the other does not: the values the scalar function gives (0 at INF for b <= 1,
// INF at the smallest x for small b), for shapes on both sides of b = 1/2 and 1.
TEST(VectorOverloads, WeibullPDFAtExtremeArguments) {
  const TVec x = test::Real({INF, 5e-324, 1e-320, 1e-310, 1e-300, 0.7, 2, 1e300, 1.7e308, 0, -INF, NAN});
  TVec res;
  for (double a : {0.5, 2.0})
    for (double b : {0.01, 0.3, 0.5, 0.8, 1.0, 1.5, 3.0}) {
      WeibullPDF(x, a, b, res);
      for (int i = 0; i < x.Length(); ++i) {
        const double want = WeibullPDF(x[i], a, b);
        // relative even for tiny values; b - 1 rounds in the scalar function, by |ln x| ulps
        const bool ok = std::isnan(want) ? std::isnan(res[i]) : std::fabs(res[i] - want) <= 1e-13 * std::fabs(want);
        EXPECT_TRUE(ok || res[i] == want) << "a=" << a << " b=" << b << " x=" << x[i] << ": " << res[i] << " vs " << want;
      }
    }
}

TEST(VectorOverloads, PoissonPDFTakesWholeArguments) {
  const TVec x = Grid(-2, 12);
  TVec res;
  PoissonPDF(x, 3.5, res);
  for (int i = 0; i < x.Length(); ++i) ASSERT_EQ(res[i], PoissonPDF(static_cast<int>(x[i]), 3.5)) << x[i];
  // arguments beyond the integers: the far tail, 0 at once (1000 against mpmath)
  PoissonPDF(test::Real({1000, 1e10, INF}), 1000, res);
  EXPECT_LT(test::RelativeError(res[0], 0.012614611348721500), 1e-11);  // logarithms near 7e3
  EXPECT_EQ(test::Doubles(res), (std::vector<double>{res[0], 0, 0}));
}

TEST(VectorOverloads, FCDFInvWithVectorDegreesOfFreedom) {
  TVec nu1 = test::Real({1, 2, 3, 4, 5}), nu2 = test::Real({3, 5, 7, 9, 11}), res;
  FCDFInv(0.9, nu1, nu2, res);
  ASSERT_EQ(res.Length(), 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(res[i], FCDFInv(0.9, i + 1, 2 * i + 3)) << i;
  FCDFInv(0.9, nu1, nu2, nu2);  // in place over the second vector
  EXPECT_EQ(test::Doubles(nu2), test::Doubles(res));
}

TEST(VectorOverloads, Messages) {
  TVec cx, res;
  cx.Size(4, true);
  for (const Member& m : Members()) {
    if (!m.msg) continue;
    EXPECT_EQ(test::MessageOf<EQuorelException>([&] { m.vec(cx, res); }), m.msg) << m.name;
  }
  TVec x = Grid(0, 1), shortVec;
  shortVec.SetLength(3);
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { ExpPDF(x, 0, res); }), "mu <= 0");
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { ExpCDF(x, -1, res); }), "mu <= 0");
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { FCDFInv(0.5, cx, x, res); }), " Nu.Complex = true ");
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { FCDFInv(0.5, x, shortVec, res); }), " Nu1.Length <> Nu2.Length ");
  // the block formulas do no parameter check of their own: the formula runs
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { NormalPDF(x, 0, -1, res); }), "<no exception>");
}

}  // namespace
}  // namespace quorel
