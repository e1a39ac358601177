// Reductions computed by one kernel call: values against independent formulas, the empty-input
// conventions and the type checks.
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;

TEST(Reductions, SumsMeansDeviations) {
  std::mt19937_64 rng(7);
  std::normal_distribution<double> g(3, 2);
  std::vector<double> v(1001);
  long double s = 0, q = 0;
  for (double& e : v) s += e = g(rng);
  const long double mean = s / 1001;
  for (double e : v) q += (e - mean) * (e - mean);
  TVec x;
  x.SetDouble(v);
  const double sd = static_cast<double>(std::sqrt(q / 1000));
  EXPECT_NEAR(x.Sum(), static_cast<double>(s), 1e-12 * std::fabs(static_cast<double>(s)));
  EXPECT_NEAR(x.Mean(), static_cast<double>(mean), 1e-14 * std::fabs(static_cast<double>(mean)));
  EXPECT_NEAR(x.StdDev(), sd, 1e-13 * sd);
  EXPECT_NEAR(x.StdDev(x.Mean()), sd, 1e-10 * sd);  // the one-pass formula loses a little
  EXPECT_NEAR(x.RMS(), std::sqrt(x.SumOfSquares() / 1001), 1e-14);
  EXPECT_EQ(Real({}).Sum(), 0);
  EXPECT_EQ(Real({}).Mean(), 0);
  EXPECT_TRUE(std::isnan(Real({1}).StdDev()));
  EXPECT_TRUE(std::isnan(Real({}).RMS()));
  EXPECT_EQ(Real({1, 2, 3, 4}).Sum(1, 2), 5);
  EXPECT_EQ(Cplx({{1, 2}, {3, 4}}).Sumc(), (TCplx{4, 6}));
  EXPECT_EQ(Cplx({{1, 2}, {3, 4}}).Meanc(), (TCplx{2, 3}));
  const TCplx sdc = Cplx({{1, 10}, {3, 30}}).StdDev(TCplx{2, 20});
  EXPECT_DOUBLE_EQ(sdc.Re, std::sqrt(2.0));
  EXPECT_DOUBLE_EQ(sdc.Im, std::sqrt(200.0));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Cplx({{1, 1}}).Sum(); }), "Complex = True");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Cplx({{1, 1}}).Mean(); }), "Complex = True");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).Sumc(); }), "Complex = False");
}

// Squares of the deviations overflow or underflow although the deviation is representable.
// References: mpmath at 300 bits, sqrt(sum((x - mean)^2) / (n - 1)) of the exact doubles.
TEST(Reductions, StdDevOfHugeAndTinyData) {
  const struct { TVec x; double want; } cases[] = {
      {Real({1e200, -1e200, 3e200, 2e200}), 1.707825127659933e+200},
      {Real({1e-200, -1e-200, 3e-200, 2e-200}), 1.707825127659933e-200},
      {Real({1e-310, -2e-310, 3e-310, 5e-310}), 2.9860788111948e-310},     // subnormal data
      {Real({1.7e308, 1.6e308, 1.75e308, 1.5e308}), 1.1086778913041725e+307},  // the sum overflows
      {Real({1e-160, 2e-160, 4e-160}), 1.5275252316519466e-160},
  };
  for (const auto& c : cases) {
    const double got = c.x.StdDev();
    const double tol = c.want < 1e-300 ? 1e-323 : 4e-16 * c.want;  // subnormal: two units
    EXPECT_NEAR(got, c.want, tol) << c.want;
  }
  // the plain path and the rescaled one agree where both hold: powers of 2 apart
  TVec x = Real({0.25, -3.5, 7.0, 1.125, 2.0});
  const double sd = x.StdDev();
  for (int i = 0; i < x.Length(); ++i) x[i] *= 0x1p-1000;
  EXPECT_EQ(x.StdDev(), sd * 0x1p-1000);
  EXPECT_EQ(Real({0, 0, 0}).StdDev(), 0);
  EXPECT_EQ(Real({1e-300, 1e-300}).StdDev(), 0);
  EXPECT_TRUE(std::isnan(Real({1, NaN, 2}).StdDev()));
  EXPECT_TRUE(std::isnan(Real({1, INF, 2}).StdDev()));
}

TEST(Reductions, Extremes) {
  TVec a = Real({1, 5, 5, -2});
  double v, mn;
  std::int32_t i, imn;
  a.Max(v, i);
  EXPECT_TRUE(v == 5 && i == 1) << v << " " << i;  // the first of equal values
  a.Min(v, i);
  EXPECT_EQ(i, 3);
  a.MaxMin(v, i, mn, imn);
  EXPECT_TRUE(v == 5 && i == 1 && mn == -2 && imn == 3) << v << " " << i << " " << mn << " " << imn;
  EXPECT_EQ(Real({3, 9, 1}).Max(1, 2), 9);
  EXPECT_TRUE(std::isnan(Real({}).Max()));
  Real({}).Max(v, i);
  EXPECT_EQ(i, -1);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Cplx({{1, 1}}).Max(); }), "Complex = True");
}

TEST(Reductions, NormsAndDifferences) {
  const TVec a = Real({3, -4}), c = Cplx({{3, 4}, {0, -1}});
  EXPECT_EQ((std::vector<double>{a.NormL2(), a.NormL1(), a.NormC(), c.NormL2(), c.NormL1(), c.NormC()}),
            (std::vector<double>{5, 7, 4, std::sqrt(26.0), 6, 5}));
  EXPECT_TRUE(std::isnan(Real({}).NormL2()));
  // Only the common length is compared, deliberately without a length check.
  EXPECT_EQ(Real({1, 2, 3}).NormL2(Real({1, 2}), false), 0);
  EXPECT_DOUBLE_EQ(Real({3, 4}).NormL2(Real({0, 0}), true), 1);
  EXPECT_EQ(Real({1, 2}).NormC(Real({1, 5}), false), 3);
  TVec b = Real({1});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { b.NormL1(b, false); }), "Self = Quorel");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { b.NormL2(b, false); }), "Self = Vec");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { b.NormC(Cplx({{1, 1}}), false); }), "Self.Complex <> Vec.Complex");
}

// Long vectors take the threaded dot product, which must hand over to the rescaling kernel where
// the plain sum of squares overflows or underflows.
TEST(Reductions, LongNormsAndDots) {
  constexpr std::int32_t n = 100'000;
  TVec x, y;
  x.SetLength(n);
  y.SetLength(n);
  double dot = 0;
  for (std::int32_t i = 0; i < n; ++i) {
    x[i] = (i % 2 ? 3.0 : -4.0);
    y[i] = 1.0 + (i % 7);
    dot += x[i] * y[i];
  }
  // n/2 each of 9 and 16: the sums are exact.
  EXPECT_EQ(x.NormL2(), std::sqrt(25.0 * n / 2));
  EXPECT_EQ(x.DotProd(y), dot);  // small whole numbers: exact in any order
  EXPECT_EQ(x.NormL2(1, n - 2), std::sqrt(25.0 * (n - 2) / 2));
  EXPECT_DOUBLE_EQ(x.RMS(), std::sqrt(12.5));
  for (const double scale : {1e300, 1e-300}) {
    TVec s = x;
    s.Mul(scale);
    EXPECT_NEAR(s.NormL2() / scale / std::sqrt(25.0 * n / 2), 1, 1e-13) << scale;
  }
  TVec c;
  c.Size(n / 2, true);
  for (std::int32_t i = 0; i < n / 2; ++i) c.atc(i) = {-4e300, 3e300};
  EXPECT_NEAR(c.NormL2() / (5e300 * std::sqrt(n / 2.0)), 1, 1e-13);
  x[n / 2] = NaN;
  EXPECT_TRUE(std::isnan(x.NormL2()));
  x[n / 2] = INF;
  EXPECT_EQ(x.NormL2(), INF);
}

TEST(Reductions, ProductsAndDots) {
  EXPECT_EQ(Real({2, 3, 4}).Product(), 24);
  EXPECT_EQ(Cplx({{0, 1}, {0, 1}}).Productc(), (TCplx{-1, 0}));
  EXPECT_EQ(Real({1, 2}).DotProd(Real({3, 4})), 11);
  EXPECT_EQ(Cplx({{1, 1}}).DotProdc(Cplx({{1, 1}})), (TCplx{0, 2}));
  EXPECT_EQ(Cplx({{1, 1}}).DotProdc(Cplx({{1, 1}}), true), (TCplx{2, 0}));
  EXPECT_EQ(TDenseQuorel::DotProdc(Cplx({{1, 1}}), Cplx({{1, 1}})), (TCplx{0, 2}));  // the class-level form
  EXPECT_EQ(Real({2}).DotProdc(Cplx({{1, 1}})), (TCplx{2, 2}));
  EXPECT_EQ(Cplx({{1, 1}}).DotProdc(Real({2}), true), (TCplx{2, -2}));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).DotProd(Real({1, 2})); }),
            "DotProd: Vec.Length <> Self.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).DotProd(Cplx({{1, 1}})); }),
            "Vec.Complex or Self.Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).DotProdc(Real({1})); }), "not (fComplex or Vec.Complex)");
}

}  // namespace
}  // namespace quorel
