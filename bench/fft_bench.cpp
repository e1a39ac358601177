// FFTs, convolution and the descriptor cache: each Quorel call against FFTW's own execute of the
// plan Quorel uses, the cost of a first (planning) call against a repeated one, estimated against
// measured plans, and the convolution paths that set the direct/FFT crossover.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fftw.h"
#include "quorel/signal/detail/convolve.h"
#include "quorel/signal/detail/dfti.h"
#include "quorel/signal/signal.h"

using namespace quorel;

namespace {

void Fill(TQuorel& v, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  for (double& x : v.Values()) x = u(rng);
}

// Allocations per call over the timed loop, reported as the "allocs" counter.
struct AllocScope {
  benchmark::State& state;
  long start = quorel::test::AllocationCount();
  explicit AllocScope(benchmark::State& s) : state(s) {}
  ~AllocScope() {
    state.counters["allocs"] =
        static_cast<double>(quorel::test::AllocationCount() - start) / static_cast<double>(std::max<long>(state.iterations(), 1));
  }
};

struct Vecs {
  TVec x, y;
  Vecs(int n, bool complexIn, bool complexOut, int outLen) {
    x.Size(n, complexIn);
    Fill(x, 1);
    y.Size(outLen, complexOut);
  }
};

// --- complex 1-D ---------------------------------------------------------------------------------
void FFTQuorel(benchmark::State& s) {
  Vecs v(s.range(0), true, true, s.range(0));
  v.y.FFT(v.x);
  AllocScope a(s);
  for (auto _ : s) v.y.FFT(v.x);
}
void FFTRaw(benchmark::State& s) {
  Vecs v(s.range(0), true, true, s.range(0));
  const auto plan = detail::DftiPlanFor(DftiCache().GetDesc(s.range(0), {cefUseScale}), false, v.x.PCValues1D(0),
                                        v.y.PCValues1D(0));
  for (auto _ : s) detail::FftwExecDft(plan, v.x.PCValues1D(0), v.y.PCValues1D(0));
}
void FFTMeasured(benchmark::State& s) {
  FreeDftiCache();
  detail::FftwSetMeasuredPlanning(true);
  Vecs v(s.range(0), true, true, s.range(0));
  v.y.FFT(v.x);
  detail::FftwSetMeasuredPlanning(false);
  for (auto _ : s) v.y.FFT(v.x);
  FreeDftiCache();
}
// The first call plans: the cache is emptied before each one.
void FFTFirstCall(benchmark::State& s, bool measure) {
  Vecs v(s.range(0), true, true, s.range(0));
  detail::FftwSetMeasuredPlanning(measure);
  for (auto _ : s) {
    s.PauseTiming();
    FreeDftiCache();
    s.ResumeTiming();
    v.y.FFT(v.x);
  }
  detail::FftwSetMeasuredPlanning(false);
  FreeDftiCache();
}
void FFTFirstEstimate(benchmark::State& s) { FFTFirstCall(s, false); }
void FFT2FirstCall(benchmark::State& s) {
  TMtx x, y;
  x.Size(s.range(0), s.range(0), true);
  Fill(x, 2);
  for (auto _ : s) {
    s.PauseTiming();
    FreeDftiCache();
    s.ResumeTiming();
    y.FFT2D(x);
  }
  FreeDftiCache();
}
void FFTFirstMeasure(benchmark::State& s) { FFTFirstCall(s, true); }

void IFFTQuorel(benchmark::State& s) {
  Vecs v(s.range(0), true, true, s.range(0));
  v.y.IFFT(v.x);
  AllocScope a(s);
  for (auto _ : s) v.y.IFFT(v.x);
}
void IFFTRaw(benchmark::State& s) {
  // FFTW's execute plus the 1/N scaling loop the inverse makes.
  Vecs v(s.range(0), true, true, s.range(0));
  const auto plan = detail::DftiPlanFor(DftiCache().GetDesc(s.range(0), {cefUseScale}), true, v.x.PCValues1D(0),
                                        v.y.PCValues1D(0));
  const double scale = 1.0 / s.range(0);
  for (auto _ : s) {
    detail::FftwExecDft(plan, v.x.PCValues1D(0), v.y.PCValues1D(0));
    for (double& d : v.y.Values()) d *= scale;
  }
}

// --- real 1-D ------------------------------------------------------------------------------------
void RFFTQuorel(benchmark::State& s) {
  Vecs v(s.range(0), false, true, s.range(0) / 2 + 1);
  v.y.FFTFromReal(v.x);
  AllocScope a(s);
  for (auto _ : s) v.y.FFTFromReal(v.x);
}
void RFFTRaw(benchmark::State& s) {
  Vecs v(s.range(0), false, true, s.range(0) / 2 + 1);
  const auto plan = detail::DftiPlanFor(DftiCache().GetDesc(s.range(0), {cefReal, cefUseScale}), false, v.x.PValues1D(0),
                                        v.y.PCValues1D(0));
  for (auto _ : s) detail::FftwExecR2C(plan, v.x.PValues1D(0), v.y.PCValues1D(0));
}
void RFFTPack(benchmark::State& s) {
  Vecs v(s.range(0), false, false, s.range(0));
  v.y.SetFFTStorageFormat(fsfPack);
  v.y.FFTFromReal(v.x);
  for (auto _ : s) v.y.FFTFromReal(v.x);
}

// In place on a vector outside the pool: the vector is made real again before each call (its own
// reallocation, not counted); "allocs" counts the transform's allocations alone.
void RFFTInPlace(benchmark::State& s) {
  const auto n = static_cast<std::int32_t>(s.range(0));
  TVec v;
  v.Size(n, false);
  v.FFTFromReal();
  long allocs = 0;
  for (auto _ : s) {
    v.Size(n, false);
    const long before = quorel::test::AllocationCount();
    v.FFTFromReal();
    allocs += quorel::test::AllocationCount() - before;
  }
  s.counters["allocs"] = static_cast<double>(allocs) / static_cast<double>(s.iterations());
}

// --- 2-D -----------------------------------------------------------------------------------------
void FFT2Quorel(benchmark::State& s) {
  TMtx x, y;
  x.Size(s.range(0), s.range(0), true);
  Fill(x, 2);
  y.Size(s.range(0), s.range(0), true);
  y.FFT2D(x);
  AllocScope a(s);
  for (auto _ : s) y.FFT2D(x);
}
void FFT2Raw(benchmark::State& s) {
  TMtx x, y;
  x.Size(s.range(0), s.range(0), true);
  Fill(x, 2);
  y.Size(s.range(0), s.range(0), true);
  const auto plan = detail::DftiPlanFor(DftiCache().GetDesc(s.range(0), s.range(0), {cefUseScale}), false,
                                        x.PCValues1D(0), y.PCValues1D(0));
  for (auto _ : s) detail::FftwExecDft(plan, x.PCValues1D(0), y.PCValues1D(0));
}

void FFT2Measured(benchmark::State& s) {
  FreeDftiCache();
  detail::FftwSetMeasuredPlanning(true);
  TMtx x, y;
  x.Size(s.range(0), s.range(0), true);
  Fill(x, 2);
  y.Size(s.range(0), s.range(0), true);
  y.FFT2D(x);
  detail::FftwSetMeasuredPlanning(false);
  for (auto _ : s) y.FFT2D(x);
  FreeDftiCache();
}

// --- convolution: automatic choice, and each path forced ------------------------------------------
void Convolve(benchmark::State& s, detail::ConvPath path, bool complex) {
  TVec x, h, y;
  x.Size(s.range(0), complex);
  h.Size(s.range(1), complex);
  Fill(x, 3);
  Fill(h, 4);
  detail::ConvolvePath() = path;
  y.Convolve(x, h);
  for (auto _ : s) y.Convolve(x, h);
  detail::ConvolvePath() = detail::ConvPath::Auto;
}
void ConvQuorel(benchmark::State& s) { Convolve(s, detail::ConvPath::Auto, false); }
void ConvDirect(benchmark::State& s) { Convolve(s, detail::ConvPath::Direct, false); }
void ConvFft(benchmark::State& s) { Convolve(s, detail::ConvPath::Fft, false); }
// The crossover rows: range 2 is 1 for complex operands.
void CrossQuorel(benchmark::State& s) { Convolve(s, detail::ConvPath::Auto, s.range(2) == 1); }
void CrossDirect(benchmark::State& s) { Convolve(s, detail::ConvPath::Direct, s.range(2) == 1); }
void CrossFft(benchmark::State& s) { Convolve(s, detail::ConvPath::Fft, s.range(2) == 1); }

const int kSizes[] = {64, 1000, 1024, 4096, 65536, 1 << 20};

void Sizes(benchmark::internal::Benchmark* b) {
  for (int n : kSizes) b->Arg(n);
  b->UseRealTime();
}

}  // namespace

BENCHMARK(FFTQuorel)->Name("FFT/quorel")->Apply(Sizes);
BENCHMARK(FFTRaw)->Name("FFT/fftw")->Apply(Sizes);
BENCHMARK(FFTMeasured)->Name("FFT/measured")->Apply(Sizes);
BENCHMARK(FFTFirstEstimate)->Name("FFTFirstCall/quorel")->Arg(1024)->Arg(65536)->Arg(1 << 20)->Iterations(3)->UseRealTime();
BENCHMARK(FFTFirstMeasure)->Name("FFTFirstCall/measured")->Arg(1024)->Arg(65536)->Arg(1 << 20)->Iterations(1)->UseRealTime();
BENCHMARK(IFFTQuorel)->Name("IFFT/quorel")->Apply(Sizes);
BENCHMARK(IFFTRaw)->Name("IFFT/fftw")->Apply(Sizes);
BENCHMARK(RFFTQuorel)->Name("RFFT/quorel")->Apply(Sizes);
BENCHMARK(RFFTRaw)->Name("RFFT/fftw")->Apply(Sizes);
BENCHMARK(RFFTPack)->Name("RFFT/pack")->Apply(Sizes);
BENCHMARK(RFFTInPlace)->Name("RFFTInPlace/quorel")->Arg(1000)->Arg(1001)->Arg(4096)->Arg(4097)->UseRealTime();
BENCHMARK(FFT2Quorel)->Name("FFT2/quorel")->Arg(512)->UseRealTime();
BENCHMARK(FFT2Raw)->Name("FFT2/fftw")->Arg(512)->UseRealTime();
BENCHMARK(FFT2FirstCall)->Name("FFT2FirstCall/quorel")->Arg(512)->Iterations(1)->UseRealTime();
BENCHMARK(ConvQuorel)->Name("Convolve/quorel")->Args({100000, 1000})->Args({1000000, 10000})->UseRealTime();
BENCHMARK(ConvFft)->Name("Convolve/fft")->Args({100000, 1000})->Args({1000000, 10000})->UseRealTime();
BENCHMARK(ConvDirect)->Name("Convolve/direct")->Args({100000, 1000})->UseRealTime();
BENCHMARK(CrossQuorel)->Name("ConvCrossover/quorel")->ArgsProduct({{10000}, {16, 32, 64, 128, 256}, {0, 1}})->UseRealTime();
BENCHMARK(CrossDirect)->Name("ConvCrossover/direct")->ArgsProduct({{10000}, {16, 32, 64, 128, 256}, {0, 1}})->UseRealTime();
BENCHMARK(CrossFft)->Name("ConvCrossover/fft")->ArgsProduct({{10000}, {16, 32, 64, 128, 256}, {0, 1}})->UseRealTime();

int main(int argc, char** argv) {
  return bench::RunWithRatios(argc, argv, {"fftw", "measured", "direct", "fft", "pack"}, "allocs");
}
