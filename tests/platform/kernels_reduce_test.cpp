#include "quorel/platform/kernels/reduce.h"

#include <cerrno>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using LD = long double;

// Bound for a sum of n terms in 8-way partial sums: about n/8 + 3 roundings per term.
double SumTolerance(ptrdiff_t n, LD sum_of_magnitudes) {
  return static_cast<double>((n / 8.0 + 8.0) * kEps * sum_of_magnitudes);
}

// Sums, means, norms and dot products against long double over the same values; the norms of
// a - b are those of the differences formed in double.
TEST(KernelsReduce, SumsNormsAndDotProductsAgainstLongDouble) {
  Values values(1);
  for (ptrdiff_t n : kLengths) {
    const std::vector<D> x = values.Reals(n), y = values.Reals(n);
    const std::vector<C> z = values.Cplxs(n), w = values.Cplxs(n);
    std::vector<D> dx(n);
    std::vector<C> dz(n);
    // Of x: sum, sum of magnitudes, of squares, largest magnitude; x.y and its sum of magnitudes.
    LD s = 0, a = 0, q = 0, top = 0, d = 0, da = 0;
    // Of z: sums of the parts, of their magnitudes, of squares, of moduli, the largest modulus; the
    // products z.w, conj(z).w and x.w, and a bound of the magnitudes of their terms.
    LD sr = 0, si = 0, za = 0, zq = 0, zm = 0, ztop = 0, cr = 0, ci = 0, hr = 0, hi = 0, mr = 0, mi = 0, ca = 0;
    for (ptrdiff_t i = 0; i < n; ++i) {
      const LD v = x[i], ur = z[i].Re, ui = z[i].Im, vr = w[i].Re, vi = w[i].Im, m = std::hypot(ur, ui);
      s += v, a += std::fabs(v), q += v * v, top = std::max(top, std::fabs(v));
      d += v * y[i], da += std::fabs(v * y[i]);
      sr += ur, si += ui, za += std::fabs(ur) + std::fabs(ui), zq += ur * ur + ui * ui;
      zm += m, ztop = std::max(ztop, m);
      cr += ur * vr - ui * vi, ci += ur * vi + ui * vr, hr += ur * vr + ui * vi, hi += ur * vi - ui * vr;
      mr += v * vr, mi += v * vi, ca += (std::fabs(ur) + std::fabs(ui)) * (std::fabs(vr) + std::fabs(vi));
      dx[i] = x[i] - y[i], dz[i] = {z[i].Re - w[i].Re, z[i].Im - w[i].Im};
    }
    const D *px = x.data(), *py = y.data(), *pdx = dx.data();
    const C *pz = z.data(), *pw = w.data(), *pdz = dz.data();
    const C zs = Sum(pz, n), zw = Dot(pz, pw, n), hw = DotConj(pz, pw, n), xw = Dot(px, pw, n);
    const double dots = 2 * SumTolerance(n, ca);
    const struct {
      const char* what;
      D got;
      LD want;
      double tol;
    } sums[] = {
        {"sum", Sum(px, n), s, SumTolerance(n, a)},     {"squares", SumOfSquares(px, n), q, SumTolerance(n, q)},
        {"sum re", zs.Re, sr, SumTolerance(n, za)},     {"sum im", zs.Im, si, SumTolerance(n, za)},
        {"squares c", SumOfSquares(pz, n), zq, SumTolerance(2 * n, zq)},
        {"dot", Dot(px, py, n), d, SumTolerance(n, da)},
        {"dot re", zw.Re, cr, dots},   {"dot im", zw.Im, ci, dots},   {"conj re", hw.Re, hr, dots},
        {"conj im", hw.Im, hi, dots},  {"mixed re", xw.Re, mr, dots}, {"mixed im", xw.Im, mi, dots},
    };
    for (const auto& c : sums) EXPECT_NEAR(c.got, c.want, c.tol) << c.what << " n=" << n;
    const D pairs[][2] = {{NormDiffL1(px, py, n), NormL1(pdx, n)},   {NormDiffL2(px, py, n), NormL2(pdx, n)},
                          {NormDiffInf(px, py, n), NormInf(pdx, n)}, {NormDiffL1(pz, pw, n), NormL1(pdz, n)},
                          {NormDiffL2(pz, pw, n), NormL2(pdz, n)},   {NormDiffInf(pz, pw, n), NormInf(pdz, n)}};
    for (const auto& p : pairs) EXPECT_TRUE(Same(p[0], p[1])) << "n=" << n << " " << p[0] << " " << p[1];
    const D norms[] = {NormL1(px, n), NormL2(px, n), NormInf(px, n), NormL1(pz, n), NormL2(pz, n), NormInf(pz, n)};
    if (n == 0) {
      for (D g : norms) EXPECT_TRUE(std::isnan(g));
      continue;
    }
    const LD want[] = {a, std::sqrt(q), top, zm, std::sqrt(zq), ztop};
    const double tol[] = {SumTolerance(n, a),      SumTolerance(n, std::sqrt(q)),      0,
                          2 * SumTolerance(n, zm), SumTolerance(2 * n, std::sqrt(zq)), 2 * kEps * static_cast<D>(ztop)};
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(norms[k], want[k], tol[k]) << "norm " << k << " n=" << n;
    const C zmean = Mean(pz, n);
    EXPECT_NEAR(Mean(px, n), s / n, SumTolerance(n, a) / n) << n;
    EXPECT_NEAR(zmean.Re, sr / n, SumTolerance(n, za) / n) << n;
    EXPECT_NEAR(zmean.Im, si / n, SumTolerance(n, za) / n) << n;
  }
  EXPECT_EQ(Mean(static_cast<const D*>(nullptr), 0), 0.0);
  EXPECT_TRUE(Same(Mean(static_cast<const C*>(nullptr), 0), C{0, 0}));
  // Sample deviation in two passes: exact for small integers (body and tail of the lanes) and
  // free of cancellation far from 0.
  const D x[] = {2, 4, 4, 4, 5, 5, 7, 9, 5};
  const D shifted[] = {1e9 + 1, 1e9 + 2, 1e9 + 3};
  EXPECT_EQ(StdDev(x, 9), 2.0);
  EXPECT_EQ(StdDev(shifted, 3), 1.0);
  EXPECT_TRUE(std::isnan(StdDev(x, 1)) && std::isnan(StdDev(x, 0)));
  // Scaled L2: no overflow or underflow where the norm itself is representable.
  const D big[] = {3e200, -4e200}, tiny[] = {3e-200, 4e-200}, sub[] = {3e-310, 4e-310}, top[] = {1.5e308, 1.5e308};
  EXPECT_NEAR(NormL2(big, 2), 5e200, 2 * kEps * 5e200);
  EXPECT_NEAR(NormL2(tiny, 2), 5e-200, 2 * kEps * 5e-200);
  EXPECT_NEAR(NormL2(sub, 2), 5e-310, 1e-323);
  errno = 0;
  EXPECT_EQ(NormL2(top, 2), kInf);  // 2.1e308 is beyond the double range
  EXPECT_EQ(errno, 0);
  // NaN wins over everything, infinity over finite values.
  const D with_nan[] = {1, kNaN, 2}, with_inf[] = {1, -kInf, kNaN};
  EXPECT_TRUE(std::isnan(NormL2(with_nan, 3)) && std::isnan(NormInf(with_nan, 3)) && std::isnan(NormL1(with_nan, 3)));
  EXPECT_TRUE(std::isnan(NormInf(with_inf, 3)));
  EXPECT_TRUE(NormInf(with_inf, 2) == kInf && NormL2(with_inf, 2) == kInf);
  // Products: n! for every length up to 20 is exact; i^n cycles.
  const C powers[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  for (ptrdiff_t n = 0; n <= 20; ++n) {
    std::vector<D> f(n);
    std::vector<C> i(n, C{0, 1});
    D want = 1;
    for (ptrdiff_t k = 0; k < n; ++k) f[k] = k + 1.0, want *= k + 1.0;
    const C p = Product(i.data(), n);
    EXPECT_EQ(Product(f.data(), n), want) << n;
    EXPECT_TRUE(p.Re == powers[n % 4].Re && p.Im == powers[n % 4].Im) << n;
  }
}

// First index of the largest (smallest) non-NaN value; all NaN gives (NaN, 0).
TIndexedValue ExtremeRef(const std::vector<D>& x, bool max) {
  ptrdiff_t best = -1;
  for (std::size_t i = 0; i < x.size(); ++i)
    if (!std::isnan(x[i]) && (best < 0 || (max ? x[i] > x[best] : x[i] < x[best]))) best = static_cast<ptrdiff_t>(i);
  return best < 0 ? TIndexedValue{kNaN, 0} : TIndexedValue{x[best], best};
}

TEST(KernelsReduce, ExtremesWithFirstIndex) {
  // Random data with many duplicates and NaN, across lane, tail and block boundaries.
  Values values(3);
  for (ptrdiff_t n : {1, 2, 9, 33, 255, 256, 257, 600, 1031, 5000}) {
    for (int rep = 0; rep < 4; ++rep) {
      std::vector<D> x(n);
      std::uniform_int_distribution<int> tenth(0, 9);
      for (D& v : x) v = tenth(values.gen()) == 0 ? kNaN : std::round(values.Plain());
      if (rep == 1) x[n - 1] = 100;   // extreme in the last (partial) block
      if (rep == 2) x[n / 2] = -100;  // in a middle block
      const TMinMax both = MinMaxIndex(x.data(), n);
      for (bool max : {true, false}) {
        const TIndexedValue want = ExtremeRef(x, max);
        const TIndexedValue got = max ? MaxIndex(x.data(), n) : MinIndex(x.data(), n);
        ASSERT_TRUE(got.Index == want.Index && Same(got.Value, want.Value)) << n << " max=" << max << " " << got.Index;
        ASSERT_EQ((max ? both.Max : both.Min).Index, want.Index) << n << " max=" << max;
      }
    }
  }
  const D all_nan[] = {kNaN, kNaN, kNaN}, infs[] = {kNaN, -kInf, -kInf}, zeros[] = {-0.0, 0.0};
  EXPECT_TRUE(std::isnan(MaxIndex(all_nan, 3).Value) && MaxIndex(all_nan, 3).Index == 0);
  EXPECT_TRUE(MaxIndex(infs, 3).Index == 1 && MaxIndex(infs, 3).Value == -kInf);
  EXPECT_TRUE(Same(MaxIndex(zeros, 2).Value, -0.0));  // equal values: the first one, as it is
  const TMinMax empty = MinMaxIndex(zeros, 0);
  EXPECT_TRUE(MaxIndex(zeros, 0).Index == -1 && std::isnan(MinIndex(zeros, 0).Value));
  EXPECT_TRUE(empty.Min.Index == -1 && empty.Max.Index == -1);
}

// Lanes hold every 8th term: a repeating pattern of magnitudes puts the large ones in some lanes
// and the small ones in others, which overflow and underflow although the result is in range.
std::vector<D> Periodic(ptrdiff_t n, std::initializer_list<D> pattern) {
  std::vector<D> x(n);
  for (ptrdiff_t i = 0; i < n; ++i) x[i] = pattern.begin()[i % static_cast<ptrdiff_t>(pattern.size())];
  return x;
}
std::vector<D> Alternating(ptrdiff_t n, D even, D odd) { return Periodic(n, {even, odd}); }

TEST(KernelsReduce, PartialResultsOutOfRangeAreRedone) {
  // Sums, means and dot products: cancelling extremes (to +0), a mean of values near the top, and
  // a true overflow. An infinity decides the sum, whatever finite terms overflow beside it. The
  // vector reductions' tests (stats) take top values, NaN beside them and alternating products.
  const std::vector<D> pm = Alternating(16, 1e308, -1e308), ones(16, 1.0);
  EXPECT_TRUE(Same(Sum(pm.data(), 16), 0.0) && Same(Mean(pm.data(), 16), 0.0));
  EXPECT_TRUE(Same(Dot(pm.data(), ones.data(), 16), 0.0));
  const D top[] = {1.5e308, 1.5e308}, mixed[] = {1e308, 1.5e308, -1e308, 1.7e308};
  EXPECT_NEAR(Mean(mixed, 4), 8e307, 2 * kEps * 8e307);
  EXPECT_EQ(Dot(top, top, 2), kInf);
  std::vector<D> inf_first(16, -1e308);
  inf_first[0] = kInf;
  EXPECT_EQ(Sum(inf_first.data(), 16), kInf);
  inf_first[5] = -kInf;
  EXPECT_TRUE(std::isnan(Sum(inf_first.data(), 16)));
  std::vector<C> zpm(8);
  for (ptrdiff_t i = 0; i < 8; ++i) zpm[i] = {pm[i], 1.5e308};
  EXPECT_TRUE(Same(Sum(zpm.data(), 8), C{0.0, kInf}));
  EXPECT_TRUE(Same(Mean(zpm.data(), 8), C{0.0, 1.5e308}));
  // Complex dot products whose products overflow and cancel, in one part or in lanes.
  const C big[] = {{1e200, 1e200}}, bigc[] = {{1e200, -1e200}};
  EXPECT_TRUE(Same(Dot(big, big, 1), C{0.0, kInf}));
  EXPECT_TRUE(Same(Dot(big, bigc, 1), C{kInf, 0.0}));
  EXPECT_TRUE(Same(DotConj(big, big, 1), C{kInf, 0.0}));
  EXPECT_TRUE(Same(DotConj(big, bigc, 1), C{0.0, -kInf}));
  std::vector<C> zten(16, C{1e10, 1.0});
  EXPECT_TRUE(Same(Dot(pm.data(), zten.data(), 16), C{0.0, 0.0}));
  EXPECT_TRUE(Same(Dot(zpm.data(), zten.data(), 8), C{-kInf, kInf}));
  std::vector<C> zdiag(16);
  for (ptrdiff_t i = 0; i < 16; ++i) zdiag[i] = {pm[i], pm[i]};
  EXPECT_TRUE(Same(Dot(zdiag.data(), zten.data(), 16), C{0.0, 0.0}));
  EXPECT_TRUE(Same(DotConj(zdiag.data(), zten.data(), 16), C{0.0, 0.0}));

  // Products against long double, whose range holds every partial product: lanes that overflow
  // against lanes that underflow (INF * 0), lanes that only underflow (0 with no zero factor),
  // and long runs past the renormalisation of the running mantissa.
  const auto product_ld = [](const std::vector<D>& x) {
    LD p = 1;
    for (D v : x) p *= v;
    return p;
  };
  const std::vector<D> cases[] = {{1e300, 1e300, 1e-300, 1e-300}, Alternating(2000, 3e250, -3.3e-251),
                                  Periodic(1032, {1e-310, 1e155, 1e155}),
                                  Periodic(16, {1e-200, 1e150, 1, 1, 1, 1, 1, 1})};  // lane 0 underflows to 0
  for (const std::vector<D>& x : cases) {
    const LD want = product_ld(x);
    const D got = Product(x.data(), static_cast<ptrdiff_t>(x.size()));
    EXPECT_NEAR(got, static_cast<D>(want), x.size() * kEps * std::fabs(static_cast<D>(want))) << x.size();
  }
  // Out of range stays out of range; zeros and specials keep their IEEE meaning.
  const D over[] = {1e300, 1e300, -1e300}, under[] = {1e-300, -1e-300, 1e-300}, zero[] = {1e300, 0.0, 1e300, 1e-300};
  const D zero_inf[] = {1e300, 0.0, kInf, 1e-300};
  EXPECT_EQ(Product(over, 3), -kInf);
  EXPECT_TRUE(Same(Product(under, 3), -0.0));
  EXPECT_TRUE(Same(Product(zero, 4), 0.0));
  EXPECT_TRUE(std::isnan(Product(zero_inf, 4)));
}

TEST(KernelsReduce, RootMeanSquare) {
  // Equal to the norm over sqrt(n) where that is representable, and beyond the norm's range.
  Values values(8);
  for (ptrdiff_t n : {1, 3, 17, 1031}) {
    const std::vector<D> x = values.Reals(n);
    const std::vector<C> z = values.Cplxs(n);
    const D rn = std::sqrt(static_cast<D>(n));
    EXPECT_NEAR(RMS(x.data(), n), NormL2(x.data(), n) / rn, 2 * kEps * NormL2(x.data(), n) / rn) << n;
    EXPECT_NEAR(RMS(z.data(), n), NormL2(z.data(), n) / rn, 2 * kEps * NormL2(z.data(), n) / rn) << n;
  }
  const D top[] = {1.5e308, -1.5e308}, with_inf[] = {1.0, kInf};
  const C ztop[] = {{1.2e308, 0.9e308}};
  EXPECT_NEAR(RMS(ztop, 1), 1.5e308, 2 * kEps * 1.5e308);
  EXPECT_EQ(RMS(with_inf, 2), kInf);
  EXPECT_TRUE(std::isnan(RMS(top, 0)));
}

}  // namespace
}  // namespace quorel::kern::test
