// Bessel J, Y, K and Airy Ai of complex argument, certified correctly rounded, on a fixed set of
// points; bench/peers/special_peers.py times SciPy on the same points. One iteration evaluates
// every point once.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "quorel/special/special_funcs.h"
#include "ratio_reporter.h"

namespace {

struct Point {
  double nu;
  quorel::TCplx z;
};

// The same grid as the peer script: orders in [0, 5), arguments in [-10, 10] x [-5, 5].
std::vector<Point> Points(std::int64_t n) {
  std::vector<Point> p;
  for (std::int64_t k = 0; k < n; ++k) {
    double t = (k + 0.5) / static_cast<double>(n);
    p.push_back({5 * t, {-10 + 20 * t, 5 * (((k * 7) % n) / static_cast<double>(n)) * 2 - 5}});
  }
  return p;
}

template <class F>
void Run(benchmark::State& state, F f) {
  auto pts = Points(state.range(0));
  for (auto _ : state)
    for (const auto& p : pts) benchmark::DoNotOptimize(f(p));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_J(benchmark::State& s) { Run(s, [](const Point& p) { return quorel::Besj(p.nu, p.z); }); }
void BM_Y(benchmark::State& s) { Run(s, [](const Point& p) { return quorel::Besy(p.nu, p.z); }); }
void BM_K(benchmark::State& s) { Run(s, [](const Point& p) { return quorel::Besk(p.nu, p.z); }); }
void BM_Ai(benchmark::State& s) { Run(s, [](const Point& p) { return quorel::Airy(p.z); }); }

BENCHMARK(BM_J)->Name("BesselJ/quorel")->Arg(256)->UseRealTime();
BENCHMARK(BM_Y)->Name("BesselY/quorel")->Arg(256)->UseRealTime();
BENCHMARK(BM_K)->Name("BesselK/quorel")->Arg(256)->UseRealTime();
BENCHMARK(BM_Ai)->Name("AiryAi/quorel")->Arg(256)->UseRealTime();

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {}); }
