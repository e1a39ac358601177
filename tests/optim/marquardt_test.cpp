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

}  // namespace

// The damped step of J p ~ b through LeastSquaresQR of the column-major [J | b].
std::vector<double> DampedStep(const std::vector<double>& jRowMajor, const std::vector<double>& b, std::size_t n,
                               const std::vector<double>& d, double lambda, bool& ok) {
  const std::size_t m = b.size();
  std::vector<double> a((n + 1) * m), tau(n + 1), work(2 * n * (n + 1) + n + 1), p(n);
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t j = 0; j < n; ++j) a[j * m + i] = jRowMajor[i * n + j];
    a[n * m + i] = b[i];
  }
  detail::LeastSquaresQR(a, m, n, tau);
  ok = detail::DampedLeastSquaresStep(a, m, std::span<const double>(a).subspan(n * m, n), d, lambda, n, work, p);
  return p;
}

TEST(DampedSolve, QRStepMatchesNormalEquations) {
  // J (4 x 2), b; the damped step solves (J'J + lambda D^2) p = J'b.
  const std::vector<double> j{1, 2, 3, 4, 5, 6, 7, 9}, b{1, -1, 2, 0.5}, d{2, 3};
  const double lambda = 0.7;
  bool ok = false;
  std::vector<double> p = DampedStep(j, b, 2, d, lambda, ok);
  ASSERT_TRUE(ok);
  double a[4] = {0, 0, 0, 0}, rhs[2] = {0, 0};
  for (int i = 0; i < 4; ++i)
    for (int k = 0; k < 2; ++k) {
      rhs[k] += j[i * 2 + k] * b[i];
      for (int l = 0; l < 2; ++l) a[k * 2 + l] += j[i * 2 + k] * j[i * 2 + l];
    }
  a[0] += lambda * d[0] * d[0], a[3] += lambda * d[1] * d[1];
  const double det = a[0] * a[3] - a[1] * a[2];
  EXPECT_NEAR(p[0], (a[3] * rhs[0] - a[1] * rhs[1]) / det, 1e-13);
  EXPECT_NEAR(p[1], (a[0] * rhs[1] - a[2] * rhs[0]) / det, 1e-13);

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

TEST(Marquardt, ExactFitLogAndStops) {
  const std::vector<double> xs{0, 0.5, 1, 1.5, 2, 3, 4, 6};
  std::vector<double> b{1, 0};
  double fmin;
  TOptStopReason reason;
  TStringList log;
  std::int32_t evals = 0;
  const std::int32_t iters = NewMarquardt(ExpResiduals, 8, b, xs, {}, fmin, reason, 100, 1e-10, &log, &evals);
  std::printf("NewMarquardt exact exponential fit: %d iterations, %d evaluations\n", iters, evals);
  EXPECT_NEAR(b[0], 2, 1e-9);
  EXPECT_NEAR(b[1], -0.5, 1e-9);
  EXPECT_LT(fmin, 1e-20);
  EXPECT_EQ(log[0], "Marquardt");
  EXPECT_EQ(log[1], "Iteration Fun                Lambda");
  // Start sum of squares 3.08: one significant digit, ten decimals, lambda under its header.
  EXPECT_EQ(log[2], "0000      3.0000000000       0.001");
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

  // Limits and degenerate input end with a defined reason.
  b = {1, 0};
  EXPECT_EQ(NewMarquardt(ExpResiduals, 8, b, xs, {}, fmin, reason, 0, 1e-10, nullptr), 1);
  EXPECT_EQ(reason, OptResMaxIter);
  b = {1, 0};
  EXPECT_EQ(Marquardt(ssr, nullptr, b, xs, {}, fmin, reason, 0, 1e-10, 0, nullptr), 1);
  EXPECT_EQ(reason, OptResMaxIter);
  std::vector<double> none;
  NewMarquardt(ExpResiduals, 8, none, {}, {}, fmin, reason, 10, 1e-10, nullptr);
  EXPECT_EQ(reason, OptResZeroStep);
  Marquardt(ssr, nullptr, none, {}, {}, fmin, reason, 10, 1e-10, 0, nullptr);
  EXPECT_EQ(reason, OptResZeroStep);
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
