// NewMarquardt and Marquardt on exactly solvable fits, the damped solvers against the normal
// equations, and the stop reasons and bad input of both methods.

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "classic_functions.h"
#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/optim/detail/damped_solve.h"
#include "quorel/optim/optimization.h"

using namespace quorel;
using namespace optim_test;

namespace {

// Residuals of y = b0 exp(b1 x) on exact data from (2, -0.5): a zero-residual fit.
void ExpResiduals(std::span<const double> b, std::span<const double> xs, std::span<TQuorel* const>, std::span<double> r) {
  for (std::size_t i = 0; i < xs.size(); ++i) r[i] = 2 * std::exp(-0.5 * xs[i]) - b[0] * std::exp(b[1] * xs[i]);
}

// [J | b] column-major, from J in row order, after LeastSquaresQR.
std::vector<double> Factored(const std::vector<double>& j, const std::vector<double>& b, std::size_t n) {
  const std::size_t m = b.size();
  std::vector<double> a((n + 1) * m), tau(n + 1);
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t k = 0; k < n; ++k) a[k * m + i] = j[i * n + k];
    a[n * m + i] = b[i];
  }
  detail::LeastSquaresQR(a, m, n, tau);
  return a;
}

// The damped step of J p ~ b through LeastSquaresQR of the column-major [J | b].
std::vector<double> DampedStep(const std::vector<double>& jRowMajor, const std::vector<double>& b, std::size_t n,
                               const std::vector<double>& d, double lambda, bool& ok) {
  const std::vector<double> a = Factored(jRowMajor, b, n);
  std::vector<double> work(2 * n * (n + 1) + n + 1), p(n);
  ok = detail::DampedLeastSquaresStep(a, b.size(), std::span<const double>(a).subspan(n * b.size(), n), d, lambda, n,
                                      work, p);
  return p;
}

}  // namespace

TEST(DampedSolve, QRStepMatchesNormalEquations) {
  // J (4 x 2), b; the damped step solves (J'J + lambda D^2) p = J'b, here with lambda = 0.7.
  const std::vector<double> j{1, 2, 3, 4, 5, 6, 7, 9}, b{1, -1, 2, 0.5}, d{2, 3};
  bool ok = false;
  std::vector<double> p = DampedStep(j, b, 2, d, 0.7, ok);
  ASSERT_TRUE(ok);
  // J'J + lambda D^2 = [86.8 107; 107 143.3], J'b = (11.5, 14.5); Cramer's rule, determinant 989.44.
  EXPECT_NEAR(p[0], (143.3 * 11.5 - 107 * 14.5) / 989.44, 1e-13);
  EXPECT_NEAR(p[1], (86.8 * 14.5 - 107 * 11.5) / 989.44, 1e-13);

  // Cholesky form: (H + lambda diag(d)) p = -g, and a refusal when not positive definite.
  const std::vector<double> h{4, 1, 1, 3}, g{1, 2}, dd{4, 3};
  std::vector<double> l(4), q(2);
  ASSERT_TRUE(detail::DampedCholeskySolve(h, g, dd, 0.5, 2, l, q));
  EXPECT_NEAR(6 * q[0] + q[1], -1, 1e-14);
  EXPECT_NEAR(q[0] + 4.5 * q[1], -2, 1e-14);
  EXPECT_FALSE(detail::DampedCholeskySolve(std::vector<double>{1, 2, 2, 1}, g, std::vector<double>{1, 1}, 0, 2, l, q));

  // A rank-deficient J (equal columns) still gives a finite step once damped.
  p = DampedStep({1, 1, 2, 2, 3, 3}, {1, 2, 3}, 2, {1, 1}, 1e-3, ok);
  ASSERT_TRUE(ok);
  EXPECT_NEAR(p[0], p[1], 1e-12);
  EXPECT_NEAR(p[0] + p[1], 1, 1e-3);
}

// The trust-region step: undamped when the Gauss-Newton step fits, else |D p| within 10% of the
// radius, p the damped step of the lambda returned, lambda growing as the radius shrinks.
TEST(DampedSolve, TrustRegionStepFitsTheRadius) {
  const std::size_t n = 3, m = 5;
  // Columns of very different scales, as in the NIST exponential fits.
  const std::vector<double> j{1, 100, 0.01, 2, -50, 0.02, 3, 10, -0.01, 0.5, 70, 0.03, -1, 20, 0.05};
  const std::vector<double> b{1, -2, 0.5, 3, -1}, d{3.9, 130, 0.06};
  const std::vector<double> a = Factored(j, b, n);
  std::vector<double> work(2 * n * (n + 1) + 2 * n + 1), p(n);
  const std::span<const double> c = std::span<const double>(a).subspan(n * m, n);
  const auto scaled = [&] { return std::hypot(d[0] * p[0], d[1] * p[1], d[2] * p[2]); };
  double lambda = 0.5;
  ASSERT_TRUE(detail::TrustRegionStep(a, m, c, d, 1e6, lambda, n, work, p));
  EXPECT_EQ(lambda, 0);
  const double gnNorm = scaled();
  double lastLambda = 0;
  for (double radius : {0.5 * gnNorm, 0.1 * gnNorm, 1e-4 * gnNorm}) {
    for (double guess : {0.0, 1e-8, 1e8}) {  // the caller's lambda only starts the search
      lambda = guess;
      ASSERT_TRUE(detail::TrustRegionStep(a, m, c, d, radius, lambda, n, work, p)) << radius;
      EXPECT_NEAR(scaled(), radius, 0.1 * radius) << radius << " from " << guess;
      EXPECT_GT(lambda, lastLambda);
      const std::vector<double> step = p;
      bool ok = false;
      EXPECT_EQ(DampedStep(j, b, n, d, lambda, ok), step);
    }
    lastLambda = lambda;
  }
  // Equal columns: no Gauss-Newton step, yet a damped one inside the region.
  const std::vector<double> a1 = Factored({1, 1, 2, 2, 3, 3}, {1, 2, 4}, 2), d1{1, 1};
  lambda = 0;
  ASSERT_TRUE(detail::TrustRegionStep(a1, 3, std::span<const double>(a1).subspan(6, 2), d1, 0.1, lambda, 2, work, p));
  EXPECT_GT(lambda, 0);
  EXPECT_NEAR(p[0], p[1], 1e-12);
  EXPECT_LE(std::hypot(p[0], p[1]), 0.11);
}

// Least-squares forms of classic problems: a curved valley, a Jacobian singular at the solution,
// a local minimum, and fewer residuals than parameters.
TEST(NewMarquardt, ClassicResidualProblems) {
  using TResiduals = void (*)(std::span<const double>, std::span<double>);
  struct TCase {
    const char* name;
    std::int32_t m;
    TResiduals fun;
    std::vector<double> start;
    double fLocal;  // a local minimum it may also end at (negative: none)
  };
  const TCase cases[] = {
      {"Rosenbrock", 2, [](auto x, auto r) { r[0] = 10 * (x[1] - x[0] * x[0]), r[1] = 1 - x[0]; }, {-1.2, 1}, -1},
      {"Powell singular", 4,
       [](auto x, auto r) {
         r[0] = x[0] + 10 * x[1], r[1] = std::sqrt(5) * (x[2] - x[3]);
         r[2] = (x[1] - 2 * x[2]) * (x[1] - 2 * x[2]), r[3] = std::sqrt(10) * (x[0] - x[3]) * (x[0] - x[3]);
       },
       {3, -1, 0, 1}, -1},
      {"Freudenstein-Roth", 2,
       [](auto x, auto r) {
         r[0] = -13 + x[0] + ((5 - x[1]) * x[1] - 2) * x[1], r[1] = -29 + x[0] + ((x[1] + 1) * x[1] - 14) * x[1];
       },
       {0.5, -2}, 48.98425367924},
      {"circle (m < n)", 1, [](auto x, auto r) { r[0] = x[0] * x[0] + x[1] * x[1] + x[2] * x[2] - 1; }, {2, 1, 0.5}, -1},
  };
  for (const TCase& t : cases) {
    std::vector<double> x = t.start;
    double fmin;
    TOptStopReason reason;
    const auto fun = [&](std::span<const double> p, std::span<const double>, std::span<TQuorel* const>, std::span<double> r) {
      t.fun(p, r);
    };
    NewMarquardt(fun, t.m, x, {}, {}, fmin, reason, 500, 1e-12, nullptr);
    EXPECT_TRUE(fmin < 1e-20 || std::abs(fmin - t.fLocal) < 1e-8) << t.name << " " << fmin;
    // Not the iteration limit: Powell's singular Jacobian converges only linearly, but well within it.
    EXPECT_TRUE(reason == OptResConverged || reason == OptResSmallGrad || reason == OptResSmallStep) << t.name << " " << reason;
  }
}

TEST(Marquardt, ExactFitLogAndStops) {
  const std::vector<double> xs{0, 0.5, 1, 1.5, 2, 3, 4, 6};
  std::vector<double> b{1, 0};
  double fmin;
  TOptStopReason reason;
  TStringList log;
  const std::int32_t iters = NewMarquardt(ExpResiduals, 8, b, xs, {}, fmin, reason, 100, 1e-10, &log);
  EXPECT_NEAR(b[0], 2, 1e-9);
  EXPECT_NEAR(b[1], -0.5, 1e-9);
  EXPECT_LT(fmin, 1e-20);
  EXPECT_EQ(log[0], "Marquardt");
  EXPECT_EQ(log[1], "Iteration Fun                Lambda");
  // Start sum of squares 3.08: one significant digit, ten decimals, lambda under its header (0:
  // the region starts wide, so the first step is undamped).
  EXPECT_EQ(log[2], "0000      3.0000000000       0");
  EXPECT_EQ(log.size(), static_cast<std::size_t>(iters) + 3);

  // The general form on the same sum of squares, with the data as Consts.
  const auto ssr = [](std::span<const double> p, std::span<const double> x, std::span<TQuorel* const> o) {
    std::vector<double> r(x.size());
    ExpResiduals(p, x, o, r);
    double s = 0;
    for (double v : r) s += v * v;
    return s;
  };
  b = {1, 0};
  Marquardt(ssr, nullptr, b, xs, {}, fmin, reason, 100, 1e-12, 1e-14, &log);
  EXPECT_NEAR(b[0], 2, 1e-7);
  EXPECT_NEAR(b[1], -0.5, 1e-7);

  // Limits and degenerate input end with a defined reason, in both forms.
  for (bool general : {false, true}) {
    const auto run = [&](std::vector<double> p, std::span<const double> consts, std::int32_t maxIter) {
      return general ? Marquardt(ssr, nullptr, p, consts, {}, fmin, reason, maxIter, 1e-10, 0, nullptr)
                     : NewMarquardt(ExpResiduals, 8, p, consts, {}, fmin, reason, maxIter, 1e-10, nullptr);
    };
    EXPECT_EQ(run({1, 0}, xs, 0), 1) << general;
    EXPECT_EQ(reason, OptResMaxIter) << general;
    run({}, {}, 10);  // no parameters
    EXPECT_EQ(reason, OptResZeroStep) << general;
  }
  b = {1, 0};
  EXPECT_THROW(NewMarquardt(ExpResiduals, -1, b, xs, {}, fmin, reason, 10, 1e-10, nullptr), EQuorelInvalidArgument);
  // A tolerance of 0 leaves the zero-residual test and the limit.
  b = {1, 0};
  NewMarquardt(ExpResiduals, 8, b, xs, {}, fmin, reason, 200, 0, nullptr);
  EXPECT_TRUE(reason == OptResConverged || reason == OptResMaxIter || reason == OptResBigLambda) << reason;
  EXPECT_NEAR(b[0], 2, 1e-9);
}

TEST(Marquardt, BadObjectives) {
  const std::int32_t vecs = Controller->VecCacheUsed(), mtxs = Controller->MtxCacheUsed();
  double fmin;
  TOptStopReason reason;
  const std::vector<double> xs{0, 1, 2, 3};
  std::vector<double> b{1, 0};
  NewMarquardt([](std::span<const double>, std::span<const double>, std::span<TQuorel* const>, std::span<double> r) {
    std::fill(r.begin(), r.end(), NAN);
  }, 4, b, xs, {}, fmin, reason, 10, 1e-10, nullptr);
  EXPECT_EQ(reason, OptResNotFound);
  EXPECT_EQ(b, (std::vector<double>{1, 0}));

  long calls = 0;
  EXPECT_THROW(NewMarquardt([&](std::span<const double> p, std::span<const double> x, std::span<TQuorel* const> o,
                                std::span<double> r) {
    if (++calls == 5) throw std::runtime_error("model failed");
    ExpResiduals(p, x, o, r);
  }, 4, b, xs, {}, fmin, reason, 10, 1e-10, nullptr), std::runtime_error);
  EXPECT_EQ(b, (std::vector<double>{1, 0}));
  calls = 0;
  EXPECT_THROW(Marquardt([&](std::span<const double> p, std::span<const double>, std::span<TQuorel* const>) -> double {
    if (++calls == 7) throw std::runtime_error("objective failed");
    return p[0] * p[0] + p[1] * p[1];
  }, nullptr, b, {}, {}, fmin, reason, 10, 1e-10, 0, nullptr), std::runtime_error);
  EXPECT_EQ(Controller->VecCacheUsed(), vecs);
  EXPECT_EQ(Controller->MtxCacheUsed(), mtxs);

  // NaN away from the start: steps into it are rejected like any increase.
  b = {2};
  Marquardt(Of([](auto p) { return p[0] > 0 ? std::log(p[0]) + 1 / p[0] : NAN; }), nullptr, b, {}, {}, fmin, reason, 200,
            1e-14, 1e-12, nullptr);
  EXPECT_NEAR(b[0], 1, 1e-6);
}
