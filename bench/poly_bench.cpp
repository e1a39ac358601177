// Polynomials: PolyRoots against the raw eigenvalue driver on the same companion matrix, and
// cubic-spline construction and evaluation. Ratios against NumPy/SciPy come from
// bench/peers/poly_peers.py (numpy.roots, scipy.interpolate.CubicSpline) on the same sizes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/platform/lapack/symbols.h"
#include "quorel/poly/interpolation.h"
#include "quorel/poly/polynoms.h"
#include "quorel/quorel.h"

using namespace quorel;

namespace {

// Random coefficients in [-1, 1] of degree n (the same distribution the peer uses).
const TVec& PolyOf(int n) {
  static std::map<int, std::unique_ptr<TVec>> all;
  auto& p = all[n];
  if (!p) {
    p = std::make_unique<TVec>();
    p->Size(n + 1, false);
    std::mt19937 g(n);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i <= n; ++i) *p->PValues(i) = u(g);
    *p->PValues(0) = 1;
  }
  return *p;
}

template <class F>
void Run(benchmark::State& state, F&& body) { bench::RunCounted(state, body); }

void PolyRootsQuorel(benchmark::State& state) {
  const TVec& p = PolyOf(static_cast<int>(state.range(0)));
  TVec r;
  Run(state, [&] { PolyRoots(r, p); });
}
// The raw driver: column-major companion matrix and dgeev without vectors.
void PolyRootsLapack(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const TVec& p = PolyOf(n);
  std::vector<double> a(std::size_t(n) * n), wr(n), wi(n), work(1);
  int lwork = -1, info, one = 1;
  double dummy;
  auto fill = [&] {
    std::fill(a.begin(), a.end(), 0.0);
    for (int j = 0; j < n; ++j) a[std::size_t(j) * n] = -*p.PValues(j + 1) / *p.PValues(0);
    for (int i = 1; i < n; ++i) a[std::size_t(i - 1) * n + i] = 1;
  };
  fill();
  dgeev_("N", "N", &n, a.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork, &info, 1, 1);
  lwork = static_cast<int>(work[0]);
  work.resize(lwork);
  Run(state, [&] {
    fill();
    dgeev_("N", "N", &n, a.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork, &info, 1,
           1);
  });
}

// Knots 0 .. n-1 with smooth data plus noise; query points sorted or shuffled over the range.
struct SplineData {
  TVec x, y, sorted, shuffled;
  explicit SplineData(int n) {
    std::mt19937 g(5);
    std::uniform_real_distribution<double> u(0, 1);
    x.Size(n, false), y.Size(n, false), sorted.Size(n, false), shuffled.Size(n, false);
    for (int i = 0; i < n; ++i) {
      *x.PValues(i) = i + 0.5 * u(g);
      *y.PValues(i) = std::sin(0.01 * i) + 0.1 * u(g);
      *shuffled.PValues(i) = (n - 1) * u(g);
    }
    for (int i = 0; i < n; ++i) *sorted.PValues(i) = (n - 1.0) * i / n;
  }
};
SplineData& SplineFor(int n) {
  static std::map<int, std::unique_ptr<SplineData>> all;
  auto& d = all[n];
  if (!d) d = std::make_unique<SplineData>(n);
  return *d;
}

void SplineBuild(benchmark::State& state) {
  SplineData& d = SplineFor(static_cast<int>(state.range(0)));
  TPiecePoly pp;
  Run(state, [&] { Spline1D(d.x, d.y, pp, seNotAKnot); });
}
// Evaluation at the sorted or the shuffled points of the data.
void SplineEvalAt(benchmark::State& state, TVec SplineData::*points) {
  SplineData& d = SplineFor(static_cast<int>(state.range(0)));
  TPiecePoly pp;
  Spline1D(d.x, d.y, pp, seNotAKnot);
  TVec out;
  Run(state, [&] { pp.Evaluate(d.*points, out); });
}
void SplineEval(benchmark::State& state) { SplineEvalAt(state, &SplineData::sorted); }
void SplineEvalRandom(benchmark::State& state) { SplineEvalAt(state, &SplineData::shuffled); }

}  // namespace

BENCHMARK(PolyRootsQuorel)->Name("PolyRoots/quorel")->Arg(20)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(PolyRootsLapack)->Name("PolyRoots/lapack")->Arg(20)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(SplineBuild)->Name("Spline1DBuild/quorel")->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(SplineEval)->Name("Spline1DEval/quorel")->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(SplineEvalRandom)->Name("Spline1DEvalRandom/quorel")->Arg(1000000)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"lapack"}, "allocs"); }
