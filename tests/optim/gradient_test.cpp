// Numeric derivatives against closed forms; BFGS, DFP and the conjugate-gradient methods on the
// classic problems, with their stop reasons and bad input.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "classic_functions.h"
#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/optimization.h"

using namespace quorel;
using namespace optim_test;

namespace {

// f = exp(x0) sin(x1) + x0 x2^3 / 1000, with its gradient and Hessian.
double Smooth(std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) {
  return std::exp(x[0]) * std::sin(x[1]) + x[0] * x[2] * x[2] * x[2] / 1000;
}
std::vector<double> SmoothGrad(const std::vector<double>& x) {
  return {std::exp(x[0]) * std::sin(x[1]) + x[2] * x[2] * x[2] / 1000, std::exp(x[0]) * std::cos(x[1]),
          3 * x[0] * x[2] * x[2] / 1000};
}

double MaxRelErr(std::span<const double> got, const std::vector<double>& want) {
  double e = 0;
  for (std::size_t i = 0; i < want.size(); ++i) e = std::max(e, std::abs(got[i] - want[i]) / std::max(std::abs(want[i]), 1.0));
  return e;
}

constexpr double kDifferenceTol = 1e-9;   // central differences, truncation and rounding ~ eps^(2/3)
constexpr double kRichardsonTol = 1e-11;  // extrapolated from steps of 1e-3 |x| down
constexpr double kHessianTol = 1e-5;      // second differences at step eps^(1/4): ~ eps^(1/2)

const std::vector<TOptMethod> kGradientMethods{optBFGS, optDFP, optConjGradFR, optConjGradPR};

std::int32_t RunMethod(TOptMethod m, const TRealFunction& f, const TGradProc& g, std::vector<double>& p, double& fmin,
                       TOptStopReason& reason, std::int32_t maxIter, double tol, double gradTol, TStringList* log = nullptr) {
  if (m == optBFGS || m == optDFP) return BFGS(f, g, p, {}, {}, fmin, reason, maxIter, tol, gradTol, log, m);
  return ConjGrad(f, g, p, {}, {}, fmin, reason, maxIter, tol, gradTol, log, m);
}

const char* MethodName(TOptMethod m) {
  return m == optBFGS ? "BFGS" : m == optDFP ? "DFP" : m == optConjGradFR ? "CG-FR" : "CG-PR";
}

}  // namespace

TEST(NumericGrad, MatchClosedForms) {
  const std::vector<double> x{0.7, -1.3, 25.0};
  const std::vector<double> want = SmoothGrad(x);
  TVec g;
  NumericGradDifference(Smooth, x, {}, {}, g);
  ASSERT_EQ(g.Length(), 3);
  EXPECT_LT(MaxRelErr(g.Values(), want), kDifferenceTol);
  NumericGrad(numRichardson, Smooth, x, {}, {}, g);
  EXPECT_LT(MaxRelErr(g.Values(), want), kRichardsonTol);

  long calls = 0;
  TMtx h;
  NumericGradHess(Counted(Smooth, calls), x, {}, {}, g, h);
  EXPECT_EQ(calls, 2 * 3 * 3 + 1);
  const double e = std::exp(x[0]), s = std::sin(x[1]), c = std::cos(x[1]);
  const std::vector<double> hess{e * s, e * c, 3 * x[2] * x[2] / 1000, e * c, -e * s, 0, 3 * x[2] * x[2] / 1000, 0,
                                 6 * x[0] * x[2] / 1000};
  ASSERT_EQ(h.Rows(), 3);
  EXPECT_LT(MaxRelErr(h.Values(), hess), kHessianTol);
  EXPECT_LT(MaxRelErr(g.Values(), want), kHessianTol);
}

// Every minimiser from the standard starts. The gradient methods run on an accurate gradient
// (Richardson) and on their built-in forward differences, whose sqrt(eps) accuracy bounds the result.
TEST(Minimisers, ClassicProblems) {
  struct Run { std::string name; std::function<std::int32_t(const TRealFunction&, std::vector<double>&, double&, TOptStopReason&)> run; double fTol; };
  std::vector<Run> runs{
      {"Simplex", [](auto& f, auto& p, auto& fmin, auto& r) { return Simplex(f, p, {}, {}, fmin, r, 50000, 1e-10, nullptr); }, 1e-10},
      {"Marquardt", [](auto& f, auto& p, auto& fmin, auto& r) { return Marquardt(f, nullptr, p, {}, {}, fmin, r, 2000, 1e-12, 1e-10, nullptr); }, 1e-14}};
  for (TOptMethod m : kGradientMethods)
    for (bool builtIn : {false, true})
      runs.push_back({std::string(MethodName(m)) + (builtIn ? "" : "/Rich"),
                      [m, builtIn](auto& f, auto& p, auto& fmin, auto& r) {
                        return RunMethod(m, f, builtIn ? TGradProc() : TGradProc(NumericGradRichardson), p, fmin, r, 20000, 0,
                                         builtIn ? 1e-5 : 1e-8);
                      },
                      builtIn ? 1e-7 : 1e-14});
  for (const TClassic& c : ClassicProblems()) {
    for (const Run& run : runs) {
      std::vector<double> p = c.Start;
      double fmin;
      TOptStopReason reason;
      run.run(c.Fun, p, fmin, reason);
      // Powell's function is quartic at its singular minimum: a gradient of 1e-8 leaves f near 1e-11.
      const double fTol = std::string(c.Name) == "Powell singular" ? std::max(run.fTol, 1e-10) : run.fTol;
      if (c.Minimiser.empty()) EXPECT_TRUE(std::abs(fmin) < fTol || std::abs(fmin - c.Minimum) < 1e-7) << c.Name << " " << run.name;
      else EXPECT_LT(fmin, fTol) << c.Name << " " << run.name;
      // At the gradient's noise level a descent run may also end with no descent left (ZeroStep).
      if (run.name == "Simplex") EXPECT_EQ(reason, OptResConverged) << c.Name;
      else EXPECT_TRUE(reason == OptResSmallGrad || reason == OptResConverged || reason == OptResZeroStep ||
                       (reason == OptResSmallStep && run.name == "Marquardt"))
          << c.Name << " " << run.name << " " << reason;
    }
  }
}

TEST(GradientMethods, LargeRosenbrockAndLog) {
  for (TOptMethod m : kGradientMethods) {
    std::vector<double> p = RosenbrockStart(100);
    double fmin;
    TOptStopReason reason;
    TStringList log;
    const std::int32_t iters = RunMethod(m, Rosenbrock, nullptr, p, fmin, reason, 100000, 1e-12, 1e-5, &log);
    EXPECT_LT(fmin, 1e-8) << MethodName(m);
    EXPECT_EQ(log[0], m == optBFGS || m == optDFP ? "BFGS" : "ConjGrad");
    EXPECT_EQ(log[1], "Iteration Fun");
    EXPECT_EQ(log.size(), static_cast<std::size_t>(iters) + 3);
    EXPECT_EQ(log[2], "0000      " + OptLogValue(Rosenbrock(RosenbrockStart(100), {}, {}), 12));
  }
}

TEST(GradientMethods, StopReasonsAndBadInput) {
  const std::int32_t vecs = Controller->VecCacheUsed(), mtxs = Controller->MtxCacheUsed();
  for (TOptMethod m : kGradientMethods) {
    double fmin;
    TOptStopReason reason;
    std::vector<double> p{-1.2, 1};
    EXPECT_EQ(RunMethod(m, Rosenbrock, nullptr, p, fmin, reason, 0, 1e-12, 1e-12), 1);
    EXPECT_EQ(reason, OptResMaxIter);

    p = {1, 1};  // at the minimum
    EXPECT_EQ(RunMethod(m, Rosenbrock, NumericGradRichardson, p, fmin, reason, 100, 1e-12, 1e-6), 0);
    EXPECT_EQ(reason, OptResSmallGrad);

    std::vector<double> none;
    RunMethod(m, Of([](auto) { return 2.0; }), nullptr, none, fmin, reason, 100, 1e-8, 1e-8);
    EXPECT_EQ(reason, OptResZeroStep);
    EXPECT_EQ(fmin, 2.0);

    p = {-1, 1};  // no finite value at the start
    RunMethod(m, Of([](auto x) { return std::log(x[0]); }), nullptr, p, fmin, reason, 100, 1e-8, 1e-8);
    EXPECT_EQ(reason, OptResNotFound);
    EXPECT_EQ(p, (std::vector<double>{-1, 1}));

    // NaN outside the domain: the line search backs off; log(x) + 1/x has its minimum at 1.
    p = {10};
    RunMethod(m, Of([](auto x) { return x[0] > 0 ? std::log(x[0]) + 1 / x[0] : NAN; }), NumericGradRichardson, p, fmin, reason,
              200, 0, 1e-10);
    EXPECT_TRUE(reason == OptResSmallGrad || reason == OptResConverged) << MethodName(m);
    EXPECT_NEAR(p[0], 1, 1e-7);

    long calls = 0;
    p = {3, 4};
    const auto throwing = [&](std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) -> double {
      if (++calls == 9) throw std::runtime_error("objective failed");
      return x[0] * x[0] + x[1] * x[1];
    };
    EXPECT_THROW(RunMethod(m, throwing, nullptr, p, fmin, reason, 100, 1e-8, 1e-8), std::runtime_error);
    EXPECT_EQ(p, (std::vector<double>{3, 4}));
    const TGradProc shortGrad = [](const TRealFunction&, std::span<const double>, std::span<const double>,
                                   std::span<TQuorel* const>, TVec& g) { g.Size(1, false); };
    EXPECT_THROW(RunMethod(m, Rosenbrock, shortGrad, p, fmin, reason, 100, 1e-8, 1e-8), EQuorelInvalidArgument);
  }
  EXPECT_EQ(Controller->VecCacheUsed(), vecs);
  EXPECT_EQ(Controller->MtxCacheUsed(), mtxs);
  std::vector<double> p{1};
  double fmin;
  TOptStopReason reason;
  EXPECT_THROW(BFGS(Rosenbrock, nullptr, p, {}, {}, fmin, reason, 10, 1e-8, 1e-8, nullptr, optSimplex), EQuorelInvalidArgument);
}
