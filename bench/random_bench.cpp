// Random fills of 10^7 values: the streams against std::mt19937_64 with the standard
// distributions (variant "std"). Values per second are reported as items per second; after the
// runs a table of time ratios is printed, with allocations per call of the stream fill.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"

using namespace quorel;

namespace {

template <class F>
void Run(benchmark::State& state, F&& body) { bench::RunCounted(state, body, state.range(0)); }

// A stream fill into a vector of n values.
template <class F>
void Quorel(benchmark::State& state, TBasicRandomGenerator brg, F fill) {
  TRngStream s;
  s.NewStream(brg, 12345);
  TVec v;
  v.SetLength(static_cast<std::int32_t>(state.range(0)));
  Run(state, [&] { fill(s, v); });
}

// The standard library's engine and distribution into a std::vector.
template <class Dist, class T = typename Dist::result_type>
void Std(benchmark::State& state, Dist dist) {
  std::mt19937_64 eng(12345);
  std::vector<T> r(static_cast<std::size_t>(state.range(0)));
  Run(state, [&] {
    for (auto& x : r) x = dist(eng);
  });
}

#define RANDOM_BENCH(op, impl, ...)                         \
  void BM_##op##_##impl(benchmark::State& state) { __VA_ARGS__; } \
  BENCHMARK(BM_##op##_##impl)->Name(#op "/" #impl)->Arg(10000000)->UseRealTime()->Unit(benchmark::kMillisecond);

RANDOM_BENCH(UniformMT19937, quorel, Quorel(state, brgMT19937, [](TRngStream& s, TVec& v) { s.RandomUniform(v, 0, 1); }))
RANDOM_BENCH(UniformMT19937, std, Std(state, std::uniform_real_distribution<double>(0, 1)))
RANDOM_BENCH(UniformMRG32K3A, quorel, Quorel(state, brgMRG32K3A, [](TRngStream& s, TVec& v) { s.RandomUniform(v, 0, 1); }))
RANDOM_BENCH(UniformMRG32K3A, std, Std(state, std::uniform_real_distribution<double>(0, 1)))
RANDOM_BENCH(UniformPhilox, quorel, Quorel(state, brgPhilox4x32x10, [](TRngStream& s, TVec& v) { s.RandomUniform(v, 0, 1); }))
RANDOM_BENCH(UniformPhilox, std, Std(state, std::uniform_real_distribution<double>(0, 1)))
RANDOM_BENCH(Gaussian, quorel, Quorel(state, brgMT19937, [](TRngStream& s, TVec& v) { s.RandomGaussian(v, 0, 1, grmBoxMuller2); }))
RANDOM_BENCH(Gaussian, std, Std(state, std::normal_distribution<double>(0, 1)))
RANDOM_BENCH(GaussianSine, quorel, Quorel(state, brgMT19937, [](TRngStream& s, TVec& v) { s.RandomGaussian(v, 0, 1, grmBoxMuller); }))
RANDOM_BENCH(GaussianSine, std, Std(state, std::normal_distribution<double>(0, 1)))
RANDOM_BENCH(GaussianPhilox, quorel, Quorel(state, brgPhilox4x32x10, [](TRngStream& s, TVec& v) { s.RandomGaussian(v, 0, 1, grmBoxMuller2); }))
RANDOM_BENCH(GaussianPhilox, std, Std(state, std::normal_distribution<double>(0, 1)))
RANDOM_BENCH(Exponential, quorel, Quorel(state, brgMT19937, [](TRngStream& s, TVec& v) { s.RandomExponential(v, 0, 1); }))
RANDOM_BENCH(Exponential, std, Std(state, std::exponential_distribution<double>(1)))
RANDOM_BENCH(Poisson5, quorel, Quorel(state, brgMT19937, [](TRngStream& s, TVec& v) { s.RandomPoisson(v, 5.0); }))
RANDOM_BENCH(Poisson5, std, Std(state, std::poisson_distribution<std::int32_t>(5)))

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"std"}, "allocs"); }
