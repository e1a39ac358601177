// Distribution functions on 10^6 points: the vector overload ("quorel") against the scalar
// function called in a loop ("scalar"). The same points are used by bench/peers/dist_peers.py
// (SciPy). After the runs a table of time ratios is printed.
#include <benchmark/benchmark.h>

#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/probabilities.h"

using quorel::TVec;

namespace {

constexpr int kPoints = 1000000;

// Midpoints of kPoints equal cells of [lo, hi]; the peer script builds the same points.
struct Points {
  TVec x, r;
  std::vector<double> vx, vr;
  Points(double lo, double hi) {
    x.SetLength(kPoints);
    r.SetLength(kPoints);
    vx.resize(kPoints);
    vr.resize(kPoints);
    for (int i = 0; i < kPoints; ++i) x[i] = vx[i] = lo + (hi - lo) * (i + 0.5) / kPoints;
  }
};

template <class F>
void Run(benchmark::State& state, F&& body) { bench::RunCounted(state, body, kPoints); }

// One pair of benchmarks: the vector overload and the scalar loop, on points in [lo, hi].
#define DIST_BENCH(NAME, LO, HI, ...)                                                          \
  void BM_##NAME##_quorel(benchmark::State& state) {                                          \
    static Points p(LO, HI);                                                                  \
    Run(state, [&] { quorel::NAME(p.x, __VA_ARGS__, p.r); });                                 \
  }                                                                                           \
  void BM_##NAME##_scalar(benchmark::State& state) {                                          \
    static Points p(LO, HI);                                                                  \
    Run(state, [&] {                                                                          \
      for (int i = 0; i < kPoints; ++i) p.vr[i] = quorel::NAME(p.vx[i], __VA_ARGS__);         \
    });                                                                                       \
  }                                                                                           \
  BENCHMARK(BM_##NAME##_quorel)->Name(#NAME "/quorel")->Arg(kPoints)->UseRealTime()->Unit(benchmark::kMillisecond); \
  BENCHMARK(BM_##NAME##_scalar)->Name(#NAME "/scalar")->Arg(kPoints)->UseRealTime()->Unit(benchmark::kMillisecond);

DIST_BENCH(NormalPDF, -5.0, 5.0, 0.0, 1.0)
DIST_BENCH(NormalCDF, -5.0, 5.0, 0.0, 1.0)
DIST_BENCH(NormalCDFInv, 0.0, 1.0, 0.0, 1.0)
DIST_BENCH(GammaCDF, 0.0, 20.0, 3.2, 1.5)
DIST_BENCH(BetaCDF, 0.0, 1.0, 2.5, 0.7)
DIST_BENCH(StudentCDF, -9.0, 9.0, 5)
DIST_BENCH(ChiSquareCDFInv, 0.0, 0.999, 5)
DIST_BENCH(GammaCDFInv, 0.0, 0.999, 3.2, 1.5)

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"scalar"}, "allocs"); }
