// Tour: a nonlinear curve fit. A decaying exponential with an offset is fitted to noisy samples by
// Marquardt (the sum of squares as a general objective, data handed over as object constants),
// and the same model by NewMarquardt (the residuals themselves).
#include <cmath>
#include <cstdio>
#include <span>
#include <vector>

#include "quorel/objects/vec.h"
#include "quorel/optim/optimization.h"
#include "tour_sections.h"

using namespace quorel;

namespace {

double Model(std::span<const double> b, double t) { return b[0] * std::exp(-b[1] * t) + b[2]; }

const char* ReasonName(TOptStopReason r) {
  static const char* const names[] = {"OptResNotFound", "OptResSmallGrad", "OptResSingular",  "OptResSmallStep",
                                      "OptResZeroStep", "OptResBigLambda", "OptResMaxIter", "OptResConverged"};
  return names[r];
}

}  // namespace

void TourOptim() {
  SectionTitle("Curve fitting: y = a exp(-b t) + c through 40 noisy samples (expected a = 5, b = 0.8, c = 1)");
  TVec t, y;
  t.Size(40, false);
  y.Size(40, false);
  for (std::int32_t i = 0; i < 40; ++i) {
    t[i] = 0.25 * i;
    y[i] = 5 * std::exp(-0.8 * t[i]) + 1 + 0.02 * std::sin(12.9898 * i);  // deterministic "noise"
  }
  TQuorel* const data[] = {&t, &y};
  const auto sumOfSquares = [](std::span<const double> b, std::span<const double>, std::span<TQuorel* const> obj) {
    const auto& ts = static_cast<const TVec&>(*obj[0]);
    const auto& ys = static_cast<const TVec&>(*obj[1]);
    double s = 0;
    for (std::int32_t i = 0; i < ts.Length(); ++i) s += std::pow(ys[i] - Model(b, ts[i]), 2);
    return s;
  };

  std::vector<double> b{1, 1, 0};
  double ssr = 0;
  TOptStopReason reason;
  std::int32_t iters = Marquardt(sumOfSquares, nullptr, b, {}, data, ssr, reason, 100, 1e-10, 1e-12, nullptr);
  std::printf("  Marquardt:    a = %.6f  b = %.6f  c = %.6f  SSR = %.3e  %d iterations, %s\n", b[0], b[1], b[2], ssr, iters,
              ReasonName(reason));

  b = {1, 1, 0};
  std::int32_t evals = 0;
  iters = NewMarquardt(
      [&](std::span<const double> p, std::span<const double>, std::span<TQuorel* const>, std::span<double> r) {
        for (std::int32_t i = 0; i < t.Length(); ++i) r[static_cast<std::size_t>(i)] = y[i] - Model(p, t[i]);
      },
      t.Length(), b, {}, {}, ssr, reason, 100, 1e-10, nullptr, &evals);
  std::printf("  NewMarquardt: a = %.6f  b = %.6f  c = %.6f  SSR = %.3e  %d iterations, %d evaluations, %s\n", b[0], b[1],
              b[2], ssr, iters, evals, ReasonName(reason));
}
