#include "quorel/platform/kernels_reduce.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;
using LD = long double;

// Bound for a sum of n terms in kLanes-way partial sums: about n/8 + 3 roundings per term.
double SumTolerance(ptrdiff_t n, LD sum_of_magnitudes) {
  return static_cast<double>((n / 8.0 + 8.0) * kEps * sum_of_magnitudes);
}

std::vector<D> Plain(Values& values, ptrdiff_t n) {
  std::vector<D> v(n);
  for (D& x : v) x = values.Plain();
  return v;
}
std::vector<C> PlainC(Values& values, ptrdiff_t n) {
  std::vector<C> v(n);
  for (C& z : v) z = {values.Plain(), values.Plain()};
  return v;
}

TEST(KernelsReduce, SumsMeansAndSquaresAgainstLongDouble) {
  Values values(1);
  for (ptrdiff_t n : kLengths) {
    const std::vector<D> x = Plain(values, n);
    const std::vector<C> z = PlainC(values, n);
    LD s = 0, a = 0, q = 0, sr = 0, si = 0, za = 0, zq = 0;
    for (D v : x) s += v, a += std::fabs(v), q += static_cast<LD>(v) * v;
    for (C v : z) sr += v.Re, si += v.Im, za += std::fabs(v.Re) + std::fabs(v.Im), zq += static_cast<LD>(v.Re) * v.Re + static_cast<LD>(v.Im) * v.Im;
    EXPECT_NEAR(Sum(x.data(), n), s, SumTolerance(n, a)) << n;
    EXPECT_NEAR(SumOfSquares(x.data(), n), q, SumTolerance(n, q)) << n;
    const C cs = Sum(z.data(), n);
    EXPECT_NEAR(cs.Re, sr, SumTolerance(n, za)) << n;
    EXPECT_NEAR(cs.Im, si, SumTolerance(n, za)) << n;
    EXPECT_NEAR(SumOfSquares(z.data(), n), zq, SumTolerance(2 * n, zq)) << n;
    if (n > 0) {
      EXPECT_NEAR(Mean(x.data(), n), s / n, SumTolerance(n, a) / n) << n;
      const C m = Mean(z.data(), n);
      EXPECT_NEAR(m.Im, si / n, SumTolerance(n, za) / n) << n;
    }
  }
  // Every lane and the tail take part: 1 + 2 + ... + n exactly.
  for (ptrdiff_t n : kLengths) {
    std::vector<D> x(n);
    std::vector<C> z(n);
    for (ptrdiff_t i = 0; i < n; ++i) x[i] = i + 1.0, z[i] = {i + 1.0, -(i + 1.0)};
    const double want = n * (n + 1) / 2.0;
    EXPECT_EQ(Sum(x.data(), n), want) << n;
    const C cs = Sum(z.data(), n);
    EXPECT_EQ(cs.Re, want) << n;
    EXPECT_EQ(cs.Im, -want) << n;
  }
  EXPECT_EQ(Sum(static_cast<const D*>(nullptr), 0), 0.0);
  EXPECT_EQ(Mean(static_cast<const D*>(nullptr), 0), 0.0);
  EXPECT_TRUE(Same(Mean(static_cast<const C*>(nullptr), 0), C{0, 0}));
}

TEST(KernelsReduce, SampleStandardDeviation) {
  const D x[] = {2, 4, 4, 4, 5, 5, 7, 9};
  EXPECT_NEAR(StdDev(x, 8), std::sqrt(32.0 / 7.0), 2 * kEps * 2.2);
  const D shifted[] = {1e9 + 1, 1e9 + 2, 1e9 + 3};  // two passes: no cancellation
  EXPECT_EQ(StdDev(shifted, 3), 1.0);
  EXPECT_TRUE(std::isnan(StdDev(x, 1)));
  EXPECT_TRUE(std::isnan(StdDev(x, 0)));
  Values values(2);
  for (ptrdiff_t n : kLengths) {
    if (n < 2) continue;
    const std::vector<D> v = Plain(values, n);
    LD mean = 0, ss = 0;
    for (D e : v) mean += e;
    mean /= n;
    for (D e : v) ss += (e - mean) * (e - mean);
    const double want = static_cast<double>(std::sqrt(ss / (n - 1)));
    EXPECT_NEAR(StdDev(v.data(), n), want, 4 * SumTolerance(n, 1) * want) << n;
  }
}

// First index of the largest (smallest) non-NaN value; all NaN gives (NaN, 0).
TIndexedValue ExtremeRef(const std::vector<D>& x, bool max) {
  ptrdiff_t best = -1;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (std::isnan(x[i])) continue;
    if (best < 0 || (max ? x[i] > x[best] : x[i] < x[best])) best = static_cast<ptrdiff_t>(i);
  }
  if (best < 0) return {x.empty() ? kNaN : kNaN, x.empty() ? -1 : 0};
  return {x[best], best};
}

TEST(KernelsReduce, ExtremesWithFirstIndex) {
  const D ties[] = {1, 5, 5, -3, -3};
  EXPECT_EQ(MaxIndex(ties, 5).Index, 1);
  EXPECT_EQ(MinIndex(ties, 5).Index, 3);
  const D nan_first[] = {kNaN, 2, kNaN, 7, 7};
  EXPECT_EQ(MaxIndex(nan_first, 5).Index, 3);
  EXPECT_EQ(MinIndex(nan_first, 5).Index, 1);
  const D all_nan[] = {kNaN, kNaN, kNaN};
  EXPECT_TRUE(std::isnan(MaxIndex(all_nan, 3).Value));
  EXPECT_EQ(MaxIndex(all_nan, 3).Index, 0);
  const D infs[] = {kNaN, -kInf, -kInf};
  EXPECT_EQ(MaxIndex(infs, 3).Index, 1);
  EXPECT_EQ(MaxIndex(infs, 3).Value, -kInf);
  const D zeros[] = {-0.0, 0.0};
  EXPECT_TRUE(Same(MaxIndex(zeros, 2).Value, -0.0));  // equal values: the first one, as it is
  EXPECT_EQ(MaxIndex(ties, 0).Index, -1);
  EXPECT_TRUE(std::isnan(MinIndex(ties, 0).Value));
  const TMinMax empty = MinMaxIndex(ties, 0);
  EXPECT_EQ(empty.Min.Index, -1);
  EXPECT_EQ(empty.Max.Index, -1);

  // Random data with many duplicates and NaN, across lane, tail and block boundaries.
  Values values(3);
  for (ptrdiff_t n : {1, 2, 9, 33, 255, 256, 257, 600, 1031, 5000}) {
    for (int rep = 0; rep < 4; ++rep) {
      std::vector<D> x(n);
      for (D& v : x) v = std::uniform_int_distribution<int>(0, 9)(values.gen()) == 0 ? kNaN
                           : std::round(values.Plain());
      if (rep == 1) x[n - 1] = 100;   // extreme in the last (partial) block
      if (rep == 2) x[n / 2] = -100;  // in a middle block
      for (bool max : {true, false}) {
        const TIndexedValue want = ExtremeRef(x, max);
        const TIndexedValue got = max ? MaxIndex(x.data(), n) : MinIndex(x.data(), n);
        ASSERT_EQ(got.Index, want.Index) << n << " max=" << max;
        ASSERT_TRUE(Same(got.Value, want.Value)) << n;
      }
      const TMinMax both = MinMaxIndex(x.data(), n);
      ASSERT_EQ(both.Max.Index, ExtremeRef(x, true).Index);
      ASSERT_EQ(both.Min.Index, ExtremeRef(x, false).Index);
    }
  }
}

TEST(KernelsReduce, NormsOfRealAndComplexData) {
  Values values(4);
  for (ptrdiff_t n : kLengths) {
    if (n == 0) continue;
    const std::vector<D> x = Plain(values, n);
    const std::vector<C> z = PlainC(values, n);
    LD l1 = 0, l2 = 0, inf = 0, cl1 = 0, cl2 = 0, cinf = 0;
    for (D v : x) l1 += std::fabs(v), l2 += static_cast<LD>(v) * v, inf = std::max<LD>(inf, std::fabs(v));
    for (C v : z) {
      const LD m = std::hypot(static_cast<LD>(v.Re), static_cast<LD>(v.Im));
      cl1 += m, cl2 += m * m, cinf = std::max(cinf, m);
    }
    EXPECT_NEAR(NormL1(x.data(), n), l1, SumTolerance(n, l1));
    EXPECT_NEAR(NormL2(x.data(), n), std::sqrt(l2), SumTolerance(n, std::sqrt(l2)));
    EXPECT_EQ(NormInf(x.data(), n), inf);
    EXPECT_NEAR(NormL1(z.data(), n), cl1, 2 * SumTolerance(n, cl1));
    EXPECT_NEAR(NormL2(z.data(), n), std::sqrt(cl2), SumTolerance(2 * n, std::sqrt(cl2)));
    EXPECT_NEAR(NormInf(z.data(), n), cinf, 2 * kEps * cinf);
  }
  // Scaled L2: no overflow or underflow where the norm itself is representable.
  const D big[] = {3e200, -4e200};
  const D tiny[] = {3e-200, 4e-200};
  const D sub[] = {3e-310, 4e-310};
  const D top[] = {1.5e308, 1.5e308};
  EXPECT_NEAR(NormL2(big, 2), 5e200, 2 * kEps * 5e200);
  EXPECT_NEAR(NormL2(tiny, 2), 5e-200, 2 * kEps * 5e-200);
  EXPECT_NEAR(NormL2(sub, 2), 5e-310, 1e-323);
  errno = 0;
  EXPECT_EQ(NormL2(top, 2), kInf);  // 2.1e308 is beyond the double range
  EXPECT_EQ(errno, 0);
  const C cbig[] = {{3e200, 4e200}};
  EXPECT_NEAR(NormL2(cbig, 1), 5e200, 2 * kEps * 5e200);
  const D with_nan[] = {1, kNaN, 2};
  const D with_inf[] = {1, -kInf, kNaN};
  EXPECT_TRUE(std::isnan(NormL2(with_nan, 3)));
  EXPECT_TRUE(std::isnan(NormInf(with_nan, 3)));
  EXPECT_TRUE(std::isnan(NormL1(with_nan, 3)));
  EXPECT_TRUE(std::isnan(NormInf(with_inf, 3)));
  EXPECT_EQ(NormInf(with_inf, 2), kInf);
  EXPECT_EQ(NormL2(with_inf, 2), kInf);
  EXPECT_TRUE(std::isnan(NormL2(big, 0)));
  EXPECT_TRUE(std::isnan(NormInf(cbig, 0)));
}

TEST(KernelsReduce, NormsOfDifferences) {
  Values values(5);
  for (ptrdiff_t n : kLengths) {
    if (n == 0) continue;
    const std::vector<D> a = Plain(values, n), b = Plain(values, n);
    const std::vector<C> za = PlainC(values, n), zb = PlainC(values, n);
    LD l1 = 0, l2 = 0, inf = 0, cl2 = 0, cinf = 0, cl1 = 0;
    for (ptrdiff_t i = 0; i < n; ++i) {
      const LD d = static_cast<LD>(a[i]) - b[i];
      l1 += std::fabs(d), l2 += d * d, inf = std::max(inf, std::fabs(d));
      const LD m = std::hypot(static_cast<LD>(za[i].Re) - zb[i].Re, static_cast<LD>(za[i].Im) - zb[i].Im);
      cl1 += m, cl2 += m * m, cinf = std::max(cinf, m);
    }
    EXPECT_NEAR(NormDiffL1(a.data(), b.data(), n), l1, 2 * SumTolerance(n, l1));
    EXPECT_NEAR(NormDiffL2(a.data(), b.data(), n), std::sqrt(l2), 2 * SumTolerance(n, std::sqrt(l2)));
    EXPECT_NEAR(NormDiffInf(a.data(), b.data(), n), inf, kEps * inf);
    EXPECT_NEAR(NormDiffL1(za.data(), zb.data(), n), cl1, 3 * SumTolerance(n, cl1));
    EXPECT_NEAR(NormDiffL2(za.data(), zb.data(), n), std::sqrt(cl2), 2 * SumTolerance(2 * n, std::sqrt(cl2)));
    EXPECT_NEAR(NormDiffInf(za.data(), zb.data(), n), cinf, 3 * kEps * cinf);
  }
  const D a[] = {1e300, 1, 2};
  const D b[] = {-1e300, 1, 2};
  EXPECT_NEAR(NormDiffL2(a, b, 3), 2e300, 2 * kEps * 2e300);
  EXPECT_EQ(NormDiffL1(a + 1, b + 1, 2), 0.0);
  EXPECT_TRUE(std::isnan(NormDiffInf(a, b, 0)));
}

TEST(KernelsReduce, DotProductsAndProducts) {
  const C a[] = {{1, 2}};
  const C b[] = {{3, 4}};
  EXPECT_TRUE(Same(Dot(a, b, 1), C{-5, 10}));
  EXPECT_TRUE(Same(DotConj(a, b, 1), C{11, -2}));
  const D r[] = {2};
  EXPECT_TRUE(Same(Dot(r, b, 1), C{6, 8}));
  Values values(6);
  for (ptrdiff_t n : kLengths) {
    const std::vector<D> x = Plain(values, n), y = Plain(values, n);
    const std::vector<C> u = PlainC(values, n), v = PlainC(values, n);
    LD d = 0, da = 0, cr = 0, ci = 0, hr = 0, hi = 0, mr = 0, mi = 0, ca = 0;
    for (ptrdiff_t i = 0; i < n; ++i) {
      d += static_cast<LD>(x[i]) * y[i], da += std::fabs(static_cast<LD>(x[i]) * y[i]);
      const LD ur = u[i].Re, ui = u[i].Im, vr = v[i].Re, vi = v[i].Im;
      cr += ur * vr - ui * vi, ci += ur * vi + ui * vr;
      hr += ur * vr + ui * vi, hi += ur * vi - ui * vr;
      mr += x[i] * vr, mi += x[i] * vi;
      ca += (std::fabs(ur) + std::fabs(ui)) * (std::fabs(vr) + std::fabs(vi));
    }
    EXPECT_NEAR(Dot(x.data(), y.data(), n), d, SumTolerance(n, da)) << n;
    const C c = Dot(u.data(), v.data(), n), h = DotConj(u.data(), v.data(), n), m = Dot(x.data(), v.data(), n);
    EXPECT_NEAR(c.Re, cr, 2 * SumTolerance(n, ca)) << n;
    EXPECT_NEAR(c.Im, ci, 2 * SumTolerance(n, ca)) << n;
    EXPECT_NEAR(h.Re, hr, 2 * SumTolerance(n, ca)) << n;
    EXPECT_NEAR(h.Im, hi, 2 * SumTolerance(n, ca)) << n;
    EXPECT_NEAR(m.Re, mr, 2 * SumTolerance(n, ca)) << n;
    EXPECT_NEAR(m.Im, mi, 2 * SumTolerance(n, ca)) << n;
  }
  // Products: n! for every length up to 20 is exact; i^n cycles.
  for (ptrdiff_t n = 0; n <= 20; ++n) {
    std::vector<D> x(n);
    std::vector<C> z(n, C{0, 1});
    D want = 1;
    for (ptrdiff_t i = 0; i < n; ++i) x[i] = i + 1.0, want *= i + 1.0;
    EXPECT_EQ(Product(x.data(), n), want) << n;
    const C powers[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    const C p = Product(z.data(), n);
    EXPECT_EQ(p.Re, powers[n % 4].Re) << n;
    EXPECT_EQ(p.Im, powers[n % 4].Im) << n;
  }
}

}  // namespace
}  // namespace quorel::kern::test
