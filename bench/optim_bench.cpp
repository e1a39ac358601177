// Minimisers: time to converge and objective evaluations on extended Rosenbrock (n = 2, 10, 100)
// for Simplex, BFGS and Polak–Ribière conjugate gradients, and NewMarquardt on the NIST StRD
// nonlinear problems. The SciPy peers (bench/peers/optim_peers.py) solve the same problems with
// the same tolerances; the table lists evaluations per run of the quorel variant ("evals") next
// to the time, and "allocs" counts heap allocations per run.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "../tests/optim/classic_functions.h"
#include "../tests/optim/nist_problems.h"
#include "alloc_counter.h"
#include "quorel/optim/optimization.h"
#include "ratio_reporter.h"

using namespace quorel;

namespace {

long evaluations = 0;

double CountedRosenbrock(std::span<const double> x, std::span<const double> c, std::span<TQuorel* const> o) {
  ++evaluations;
  return optim_test::Rosenbrock(x, c, o);
}

// Runs `solve` once per iteration; reports evaluations and allocations of one run.
template <class Solve>
void Measure(benchmark::State& state, Solve solve) {
  solve();  // warm the object cache
  long evals = 0, allocs = 0;
  for (auto _ : state) {
    evaluations = 0;
    const long before = quorel::test::AllocationCount();
    solve();
    allocs = quorel::test::AllocationCount() - before;
    evals = evaluations;
  }
  state.counters["evals"] = static_cast<double>(evals);
  state.counters["allocs"] = static_cast<double>(allocs);
}

// Same tolerances as the peers: Nelder–Mead xatol 1e-4 with 200 n iterations at most; BFGS and
// CG gradient tolerance 1e-5 (max norm) on forward differences.
void BM_NelderMead(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  Measure(state, [&] {
    std::vector<double> p = optim_test::RosenbrockStart(n);
    double fmin;
    TOptStopReason reason;
    Simplex(CountedRosenbrock, p, {}, {}, fmin, reason, static_cast<std::int32_t>(200 * n), 1e-4, nullptr);
    benchmark::DoNotOptimize(fmin);
  });
}

template <TOptMethod M>
void BM_Gradient(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  Measure(state, [&] {
    std::vector<double> p = optim_test::RosenbrockStart(n);
    double fmin;
    TOptStopReason reason;
    if (M == optBFGS) BFGS(CountedRosenbrock, nullptr, p, {}, {}, fmin, reason, 200 * static_cast<std::int32_t>(n), 0, 1e-5, nullptr);
    else ConjGrad(CountedRosenbrock, nullptr, p, {}, {}, fmin, reason, 200 * static_cast<std::int32_t>(n), 0, 1e-5, nullptr, M);
    benchmark::DoNotOptimize(fmin);
  });
}

std::string NistDir() {
  if (const char* env = std::getenv("QUOREL_NIST_DIR")) return env;
  const std::filesystem::path here = std::filesystem::path(__FILE__).parent_path() / ".." / "tests" / "data" / "nist";
  if (std::filesystem::exists(here)) return here.string();
  return "tests/data/nist";
}

// NewMarquardt with tolerance 1e-8, the peer's ftol = xtol = gtol; one evaluation = one residual vector.
void RegisterNist() {
  const std::string dir = NistDir();
  for (const std::string& name : optim_test::NistNames()) {
    optim_test::TNistProblem prob;
    try {
      prob = optim_test::ReadNist(dir, name);
    } catch (const std::exception& e) {
      std::fprintf(stderr, "skipping NIST benchmarks: %s (set QUOREL_NIST_DIR)\n", e.what());
      return;
    }
    for (int start = 1; start <= 2; ++start) {
      benchmark::RegisterBenchmark(("NIST_LM_" + name + "_s" + std::to_string(start) + "/quorel").c_str(),
                                   [prob, start](benchmark::State& state) {
                                     const auto residuals = [&](std::span<const double> b, std::span<const double>,
                                                                std::span<TQuorel* const>, std::span<double> r) {
                                       for (std::size_t i = 0; i < prob.X.size(); ++i) r[i] = prob.Y[i] - prob.Model(b.data(), prob.X[i]);
                                     };
                                     Measure(state, [&] {
                                       std::vector<double> b = start == 1 ? prob.Start1 : prob.Start2;
                                       double fmin;
                                       TOptStopReason reason;
                                       std::int32_t evals = 0;
                                       NewMarquardt(residuals, static_cast<std::int32_t>(prob.X.size()), b, {}, {}, fmin, reason,
                                                    1000, 1e-8, nullptr, &evals);
                                       evaluations = evals;
                                       benchmark::DoNotOptimize(fmin);
                                     });
                                   })
          ->UseRealTime();
    }
  }
}

}  // namespace

BENCHMARK(BM_NelderMead)->Name("Rosenbrock_NelderMead/quorel")->Arg(2)->Arg(10)->Arg(100)->UseRealTime();
BENCHMARK(BM_Gradient<optBFGS>)->Name("Rosenbrock_BFGS/quorel")->Arg(2)->Arg(10)->Arg(100)->UseRealTime();
BENCHMARK(BM_Gradient<optConjGradPR>)->Name("Rosenbrock_CG/quorel")->Arg(2)->Arg(10)->Arg(100)->UseRealTime();

int main(int argc, char** argv) {
  RegisterNist();
  return bench::RunWithRatios(argc, argv, {}, "evals");
}
