// Nelder–Mead simplex with fixed coefficients (reflect 1, expand 2, contract 1/2, shrink 1/2).

#include <limits>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

namespace {

// Best (lowest) and worst (highest) vertex; ties keep the earlier index.
void FindBestWorst(std::span<const double> f, std::size_t& best, std::size_t& worst) {
  best = 0;
  worst = 0;
  for (std::size_t i = 1; i < f.size(); ++i) {
    if (f[i] < f[best]) best = i;
    else if (f[i] > f[worst]) worst = i;
  }
}

}  // namespace

std::int32_t Simplex(const TRealFunction& Fun, std::span<double> Pars, std::span<const double> Consts,
                     std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                     double Tol, TStringList* Verbose) {
  StopReason = OptResNotFound;
  detail::TObjective objective(Fun, Consts, ObjConst);
  detail::TOptLog log(Verbose, Tol, "Simplex");
  // n = 0 runs the loop too: one vertex, best = worst, so the first step converges.
  const std::size_t n = Pars.size();
  double bestSoFar = std::numeric_limits<double>::max();

  TWorkMtx vertexStore;
  TWorkVec valueStore, centroidStore, reflectStore, trialStore;
  vertexStore->Size(static_cast<std::int32_t>(n + 1), static_cast<std::int32_t>(n), false);
  SetVecSize(static_cast<std::int32_t>(n + 1), false, {valueStore.get()});
  SetVecSize(static_cast<std::int32_t>(n), false, {centroidStore.get(), reflectStore.get(), trialStore.get()});
  const std::span<double> all = vertexStore->Values();
  const auto vertex = [&](std::size_t i) { return all.subspan(i * n, n); };
  const std::span<double> f = valueStore->Values(), c = centroidStore->Values(), xr = reflectStore->Values(),
                          xt = trialStore->Values();

  // Start simplex: Pars and n vertices with one coordinate scaled by 1.05 (0.0025 when exactly 0).
  for (std::size_t i = 0; i <= n; ++i) {
    const std::span<double> v = vertex(i);
    for (std::size_t j = 0; j < n; ++j) v[j] = Pars[j];  // std::copy here trips a false GCC 12 bound warning
    if (i > 0) v[i - 1] = v[i - 1] == 0 ? 0.0025 : v[i - 1] * 1.05;
    f[i] = objective(v);
  }

  std::int64_t count = 0;
  std::size_t best = 0, worst = 0;
  while (StopReason == OptResNotFound) {
    FindBestWorst(f, best, worst);
    if (f[best] < bestSoFar) bestSoFar = f[best];
    log.Line(count, bestSoFar);

    const std::span<double> w = vertex(worst);
    std::fill(c.begin(), c.end(), 0.0);
    for (std::size_t i = 0; i <= n; ++i)
      if (i != worst)
        for (std::size_t j = 0; j < n; ++j) c[j] += vertex(i)[j];
    for (double& v : c) v /= static_cast<double>(n);

    for (std::size_t j = 0; j < n; ++j) xr[j] = 2 * c[j] - w[j];
    const double fr = objective(xr);
    const auto replaceWorst = [&](std::span<const double> x, double fx) {
      std::copy(x.begin(), x.end(), w.begin());
      f[worst] = fx;
    };

    if (fr >= f[best]) {
      bool belowOther = false;
      for (std::size_t i = 0; i <= n; ++i)
        if (i != worst && fr < f[i]) belowOther = true;
      if (belowOther) {
        replaceWorst(xr, fr);
      } else {
        if (fr <= f[worst]) replaceWorst(xr, fr);
        for (std::size_t j = 0; j < n; ++j) xt[j] = (w[j] + c[j]) / 2;
        const double fc = objective(xt);
        if (fc > f[worst]) {
          // Shrink towards the best vertex; the stored values stay as they are.
          const std::span<const double> b = vertex(best);
          for (std::size_t i = 0; i <= n; ++i)
            for (std::size_t j = 0; j < n; ++j) vertex(i)[j] = (vertex(i)[j] + b[j]) / 2;
        } else {
          replaceWorst(xt, fc);
        }
      }
    } else {
      for (std::size_t j = 0; j < n; ++j) xt[j] = 3 * c[j] - 2 * w[j];
      const double fe = objective(xt);
      // The expanded point is compared with the best value, not with fr.
      if (fe >= f[best]) replaceWorst(xr, fr);
      else replaceWorst(xt, fe);
    }

    const double d = detail::MaxAbsDiff(vertex(best), vertex(worst));
    ++count;
    if (d < Tol) StopReason = OptResConverged;
    else if (detail::PastMaxIter(count, MaxIter)) StopReason = OptResMaxIter;
  }

  FindBestWorst(f, best, worst);
  std::copy(vertex(best).begin(), vertex(best).end(), Pars.begin());
  FMin = f[best];
  if (detail::PastMaxIter(count, MaxIter)) StopReason = OptResMaxIter;
  return detail::IterResult(count);
}

std::int32_t Simplex(const TRealFunction& Fun, std::span<double> Pars, std::int32_t MaxIter, double Tol,
                     std::span<const double> Consts, std::span<TQuorel* const> ObjConst, double& FMin,
                     TOptStopReason& StopReason, TStringList* Verbose) {
  return Simplex(Fun, Pars, Consts, ObjConst, FMin, StopReason, MaxIter, Tol, Verbose);
}

}  // namespace quorel
