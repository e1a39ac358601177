// Simplex and MinBrent: the simplex's fixed rules, its log and stop reasons, and MinBrent on
// problems with known minima (the classic problems for every minimiser are in gradient_test.cpp).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "classic_functions.h"
#include "quorel/objects/controller.h"
#include "quorel/optim/optimization.h"

using namespace quorel;
using namespace optim_test;

namespace {

// Records every point at which it is called.
struct TRecorder {
  std::vector<std::vector<double>> Points;
  TRealFunction Wrap(TRealFunction f) {
    return [this, f = std::move(f)](std::span<const double> x, std::span<const double> c, std::span<TQuorel* const> o) {
      Points.emplace_back(x.begin(), x.end());
      return f(x, c, o);
    };
  }
};

double SumSquares(std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) {
  double s = 0;
  for (double v : x) s += v * v;
  return s;
}

}  // namespace

TEST(Simplex, StartVerticesLogAndExpansionRule) {
  TRecorder rec;
  std::vector<double> pars{0, 2, -4};
  double fmin = 0;
  TOptStopReason reason;
  TStringList log;
  const auto shifted = Of([](auto x) { return SumSquares(x, {}, {}) + 0.3; });
  const std::int32_t iters = Simplex(rec.Wrap(shifted), pars, {}, {}, fmin, reason, 2, 1e-4, &log);
  ASSERT_GE(rec.Points.size(), 4u);
  // the start, then each coordinate times 1.05; a zero coordinate starts at 0.0025
  EXPECT_EQ(std::vector(rec.Points.begin(), rec.Points.begin() + 4),
            (std::vector<std::vector<double>>{{0, 2, -4}, {0.0025, 2, -4}, {0, 2 * 1.05, -4}, {0, 2, -4 * 1.05}}));
  // MaxIter 2: iterations 0, 1, 2 run, the count 3 exceeds the limit.
  EXPECT_EQ(iters, 3);
  EXPECT_EQ(reason, OptResMaxIter);
  ASSERT_EQ(log.size(), 5u);
  EXPECT_EQ(log[0], "Simplex");
  EXPECT_EQ(log[1], "Iteration Fun");
  // Best start value 20.3, one significant digit, four decimals (Tol 1e-4).
  EXPECT_EQ(log[2], "0000      20.0000");
  EXPECT_EQ(log[3].substr(0, 10), "0001      ");
  // |round(log10(Tol))| decimals however small Tol is; 18 when it gives no count.
  for (auto [tol, decimals] : {std::pair{1e-20, 20}, {3e-31, 31}, {1e25, 25}, {0.0, 18}, {-1.0, 18}}) {
    log.clear();
    pars = {0, 2, -4};
    Simplex(shifted, pars, {}, {}, fmin, reason, 0, tol, &log);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[2], "0000      20." + std::string(decimals, '0')) << tol;
  }

  // One dimension, f = (x - 1.11)^2 from x = 1: vertices 1 and 1.05, reflection 1.1 (f 1e-4),
  // expansion 1.15 (f 16e-4). The expansion is worse than the reflection but better than the best
  // vertex (36e-4), so it replaces the worst; the next reflection is then 2 * 1.15 - 1.05.
  TRecorder rec1;
  std::vector<double> x{1};
  Simplex(rec1.Wrap(Of([](auto p) { return (p[0] - 1.11) * (p[0] - 1.11); })), x, {}, {}, fmin, reason, 1, 1e-12, nullptr);
  ASSERT_GE(rec1.Points.size(), 5u);
  EXPECT_DOUBLE_EQ(rec1.Points[2][0], 1.1);
  EXPECT_DOUBLE_EQ(rec1.Points[3][0], 1.15);
  EXPECT_DOUBLE_EQ(rec1.Points[4][0], 1.25);

  // A shrink keeps the stored values: vertices 1 (f 0) and 1.05 (f 1); reflection 0.95 and
  // contraction 1.025 are both worse than the worst, so the simplex shrinks to {1, 1.025}; the
  // next call is already the new reflection 0.975, with no re-evaluation of the moved vertex.
  TRecorder rec2;
  x = {1};
  Simplex(rec2.Wrap(Of([](auto p) { return p[0] == 1 ? 0.0 : 1 + 40 * std::abs(p[0] - 1.05); })), x, {}, {}, fmin, reason, 1,
          1e-12, nullptr);
  ASSERT_GE(rec2.Points.size(), 5u);
  EXPECT_DOUBLE_EQ(rec2.Points[3][0], 1.025);
  EXPECT_DOUBLE_EQ(rec2.Points[4][0], 0.975);
}

TEST(Simplex, StopRulesEdgeCasesAndExceptions) {
  double fmin = 0;
  TOptStopReason reason;
  // MaxIter 0 still performs one iteration, and the limit wins over convergence on that step.
  std::vector<double> p{1, 1};
  EXPECT_EQ(Simplex(SumSquares, p, {}, {}, fmin, reason, 0, 1e3, nullptr), 1);
  EXPECT_EQ(reason, OptResMaxIter);

  // Equal values everywhere: best and worst are both vertex 0, so the first step converges.
  long calls = 0;
  p = {1, 1};
  const auto flat = Counted(Of([](auto) { return 7.0; }), calls);
  EXPECT_EQ(Simplex(flat, p, {}, {}, fmin, reason, 100, 1e-6, nullptr), 1);
  EXPECT_EQ(reason, OptResConverged);
  EXPECT_EQ(fmin, 7.0);

  // A tolerance <= 0 never converges: the run ends at MaxIter.
  p = {1, 1};
  EXPECT_EQ(Simplex(SumSquares, p, {}, {}, fmin, reason, 50, 0.0, nullptr), 51);
  EXPECT_EQ(reason, OptResMaxIter);
  EXPECT_LT(fmin, 1e-3);

  // Nothing to vary: the one vertex is best and worst, so the first step (a reflection and a
  // contraction onto the same empty point) converges; with Tol <= 0 it runs to MaxIter.
  std::vector<double> none;
  calls = 0;
  EXPECT_EQ(Simplex(flat, none, {}, {}, fmin, reason, 10, 1e-6, nullptr), 1);
  EXPECT_EQ(reason, OptResConverged);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(fmin, 7.0);
  EXPECT_EQ(Simplex(flat, none, {}, {}, fmin, reason, 10, 0.0, nullptr), 11);
  EXPECT_EQ(reason, OptResMaxIter);

  // NaN outside the domain counts as worse than any value.
  p = {2, 2};
  Simplex(Of([](auto x) { return x[0] < 0.5 ? NAN : (x[0] - 1) * (x[0] - 1) + x[1] * x[1]; }), p, {}, {}, fmin, reason, 2000,
          1e-9, nullptr);
  EXPECT_EQ(reason, OptResConverged);
  EXPECT_NEAR(p[0], 1, 1e-6);
  EXPECT_NEAR(p[1], 0, 1e-6);

  // The objective's exception reaches the caller; Pars is untouched and no work object is kept.
  const std::int32_t vecs = Controller->VecCacheUsed(), mtxs = Controller->MtxCacheUsed();
  calls = 0;
  p = {3, 4};
  const auto throwing = [&](std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) -> double {
    if (++calls == 6) throw std::runtime_error("objective failed");
    return x[0] * x[0] + x[1];
  };
  EXPECT_THROW(Simplex(throwing, p, {}, {}, fmin, reason, 100, 1e-6, nullptr), std::runtime_error);
  EXPECT_EQ(p, (std::vector<double>{3, 4}));
  EXPECT_EQ(Controller->VecCacheUsed(), vecs);
  EXPECT_EQ(Controller->MtxCacheUsed(), mtxs);
}

TEST(MinBrent, FindsMinimaAndReportsStops) {
  long calls = 0;
  std::vector<double> p{0, 5};  // only p[0] varies
  double fmin;
  TOptStopReason reason;
  TStringList log;
  const auto f = Counted(Of([](auto x) { return std::cos(x[0]) + x[1]; }), calls);
  const std::int32_t iters = MinBrent(f, 4, 2, p, {}, {}, fmin, reason, 100, 1e-10, &log);
  EXPECT_EQ(reason, OptResConverged);
  EXPECT_NEAR(p[0], std::numbers::pi, 1e-7);
  EXPECT_EQ(p[1], 5);
  EXPECT_NEAR(fmin, 4, 1e-14);
  EXPECT_EQ(log[0], "MinBrent");
  EXPECT_EQ(log[1], "Iteration Fun");
  EXPECT_EQ(log.size(), static_cast<std::size_t>(iters) + 3);

  // A minimum at the end of the interval, a kink, and an iteration limit.
  p = {0};
  MinBrent(Of([](auto x) { return x[0]; }), -1, 3, p, {}, {}, fmin, reason, 200, 1e-9, nullptr);
  EXPECT_EQ(reason, OptResConverged);
  EXPECT_NEAR(p[0], -1, 1e-8);
  p = {0};
  MinBrent(Of([](auto x) { return std::abs(x[0] - 0.3); }), -1, 3, p, {}, {}, fmin, reason, 200, 1e-9, nullptr);
  EXPECT_NEAR(p[0], 0.3, 1e-8);
  // The count is the number of steps taken, each one evaluation after the start point, and
  // MaxIter <= 0 still takes one, as for the other methods.
  for (std::int32_t maxIter : {-2, 0, 1, 3}) {
    p = {0};
    calls = 0;
    const std::int32_t n = MinBrent(f, 2, 4, p, {}, {}, fmin, reason, maxIter, 1e-12, nullptr);
    EXPECT_EQ(n, std::max(maxIter, 0) + 1) << maxIter;
    EXPECT_EQ(calls, n + 1) << maxIter;
    EXPECT_EQ(reason, OptResMaxIter);
  }
}
