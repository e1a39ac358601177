// The vector kernels against the plain loops they replace (and the scalar libm loop for the
// transcendental functions), at 10^3, 10^5 and 10^7 elements. After the usual report a table
// gives each ratio (median of the repetitions when there are several) next to its target:
//   arithmetic        kernel time / loop time <= 1.15 at 10^5 and 10^7
//   transcendental    libm loop time / kernel time >= 3
//   reductions        kernel time / loop time <= 1.2
// Run: kernels_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
// (add --benchmark_enable_random_interleaving=true on a busy machine).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/platform/kernels/reduce.h"

namespace {

using quorel::TCplx;
using std::ptrdiff_t;

constexpr ptrdiff_t kSizes[] = {1000, 100000, 10000000};
constexpr ptrdiff_t kMax = 10000000;

// 64-byte aligned storage, as the library's objects are at least 32-byte aligned.
template <class T>
class Buffer {
 public:
  explicit Buffer(ptrdiff_t n) : p_(static_cast<T*>(std::aligned_alloc(64, n * sizeof(T)))) {}
  ~Buffer() { std::free(p_); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  T* data() { return p_; }
  T& operator[](ptrdiff_t i) { return p_[i]; }

 private:
  T* p_;
};

// Shared operands, filled once: reals in [0.1, 10] (valid for ln, sqrt and powx), complex
// values with parts in [-1, 1].
struct Data {
  Buffer<double> a, b, r;
  Buffer<TCplx> ca, cb, cr;
  Data() : a(kMax), b(kMax), r(kMax), ca(kMax), cb(kMax), cr(kMax) {
    std::mt19937_64 gen(42);
    std::uniform_real_distribution<double> pos(0.1, 10.0), sym(-1.0, 1.0);
    for (ptrdiff_t i = 0; i < kMax; ++i) {
      a[i] = pos(gen), b[i] = pos(gen), r[i] = 0;
      ca[i] = {sym(gen), sym(gen)}, cb[i] = {sym(gen), sym(gen)}, cr[i] = {0, 0};
    }
  }
};
Data& D() {
  static Data data;
  return data;
}

// --- the plain loops, as a user would write them -----------------------------------------

[[gnu::noinline]] void LoopAdd(const double* a, const double* b, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = a[i] + b[i];
}
[[gnu::noinline]] void LoopAdd(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = {a[i].Re + b[i].Re, a[i].Im + b[i].Im};
}
[[gnu::noinline]] void LoopMul(const double* a, const double* b, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = a[i] * b[i];
}
[[gnu::noinline]] void LoopMul(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i)
    r[i] = {a[i].Re * b[i].Re - a[i].Im * b[i].Im, a[i].Re * b[i].Im + a[i].Im * b[i].Re};
}
[[gnu::noinline]] void LoopMul(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = {a[i].Re * b[i], a[i].Im * b[i]};
}
[[gnu::noinline]] void LoopScale(const double* x, double v, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = x[i] * v;
}
template <double (*F)(double)>
[[gnu::noinline]] void LoopLibm(const double* x, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = F(x[i]);
}
[[gnu::noinline]] void LoopPowx(const double* x, double v, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = std::pow(x[i], v);
}
[[gnu::noinline]] double LoopSum(const double* x, ptrdiff_t n) {
  double s = 0;
  for (ptrdiff_t i = 0; i < n; ++i) s += x[i];
  return s;
}
[[gnu::noinline]] double LoopMean(const double* x, ptrdiff_t n) { return LoopSum(x, n) / static_cast<double>(n); }
[[gnu::noinline]] double LoopStdDev(const double* x, ptrdiff_t n) {
  const double m = LoopSum(x, n) / static_cast<double>(n);
  double s = 0;
  for (ptrdiff_t i = 0; i < n; ++i) s += (x[i] - m) * (x[i] - m);
  return std::sqrt(s / static_cast<double>(n - 1));
}
[[gnu::noinline]] ptrdiff_t LoopMaxIndex(const double* x, ptrdiff_t n) {
  double m = x[0];
  ptrdiff_t at = 0;
  for (ptrdiff_t i = 1; i < n; ++i)
    if (x[i] > m) m = x[i], at = i;
  return at;
}
[[gnu::noinline]] double LoopNormL2(const double* x, ptrdiff_t n) {
  double s = 0;
  for (ptrdiff_t i = 0; i < n; ++i) s += x[i] * x[i];
  return std::sqrt(s);
}

double Sqrt(double x) { return std::sqrt(x); }
double Exp(double x) { return std::exp(x); }
double Log(double x) { return std::log(x); }
double Sin(double x) { return std::sin(x); }

// --- the comparisons ----------------------------------------------------------------------

enum class Kind { Arithmetic, Transcendental, Reduction };

struct Pair {
  const char* op;
  Kind kind;
  std::function<void(ptrdiff_t)> kernel, loop;
};

std::vector<Pair> Pairs() {
  auto& d = D();
  using namespace quorel;
  return {
      {"add_d", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Add(d.a.data(), d.b.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopAdd(d.a.data(), d.b.data(), d.r.data(), n); }},
      {"add_c", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Add(d.ca.data(), d.cb.data(), d.cr.data(), n); },
       [&](ptrdiff_t n) { LoopAdd(d.ca.data(), d.cb.data(), d.cr.data(), n); }},
      {"mul_d", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Mul(d.a.data(), d.b.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopMul(d.a.data(), d.b.data(), d.r.data(), n); }},
      {"mul_c", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Mul(d.ca.data(), d.cb.data(), d.cr.data(), n); },
       [&](ptrdiff_t n) { LoopMul(d.ca.data(), d.cb.data(), d.cr.data(), n); }},
      {"mul_cd", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Mul(d.ca.data(), d.b.data(), d.cr.data(), n); },
       [&](ptrdiff_t n) { LoopMul(d.ca.data(), d.b.data(), d.cr.data(), n); }},
      {"scale", Kind::Arithmetic, [&](ptrdiff_t n) { kern::ScaleByValue(d.a.data(), 1.5, d.r.data(), n); },
       [&](ptrdiff_t n) { LoopScale(d.a.data(), 1.5, d.r.data(), n); }},
      {"sqrt", Kind::Arithmetic, [&](ptrdiff_t n) { kern::Sqrt(d.a.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopLibm<Sqrt>(d.a.data(), d.r.data(), n); }},
      {"exp", Kind::Transcendental, [&](ptrdiff_t n) { kern::Exp(d.a.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopLibm<Exp>(d.a.data(), d.r.data(), n); }},
      {"ln", Kind::Transcendental, [&](ptrdiff_t n) { kern::Ln(d.a.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopLibm<Log>(d.a.data(), d.r.data(), n); }},
      {"sin", Kind::Transcendental, [&](ptrdiff_t n) { kern::Sin(d.a.data(), d.r.data(), n); },
       [&](ptrdiff_t n) { LoopLibm<Sin>(d.a.data(), d.r.data(), n); }},
      {"powx", Kind::Transcendental, [&](ptrdiff_t n) { kern::Powx(d.a.data(), 2.5, d.r.data(), n); },
       [&](ptrdiff_t n) { LoopPowx(d.a.data(), 2.5, d.r.data(), n); }},
      {"sum", Kind::Reduction, [&](ptrdiff_t n) { benchmark::DoNotOptimize(kern::Sum(d.a.data(), n)); },
       [&](ptrdiff_t n) { benchmark::DoNotOptimize(LoopSum(d.a.data(), n)); }},
      {"mean", Kind::Reduction, [&](ptrdiff_t n) { benchmark::DoNotOptimize(kern::Mean(d.a.data(), n)); },
       [&](ptrdiff_t n) { benchmark::DoNotOptimize(LoopMean(d.a.data(), n)); }},
      {"stddev", Kind::Reduction, [&](ptrdiff_t n) { benchmark::DoNotOptimize(kern::StdDev(d.a.data(), n)); },
       [&](ptrdiff_t n) { benchmark::DoNotOptimize(LoopStdDev(d.a.data(), n)); }},
      {"maxindex", Kind::Reduction, [&](ptrdiff_t n) { benchmark::DoNotOptimize(kern::MaxIndex(d.a.data(), n)); },
       [&](ptrdiff_t n) { benchmark::DoNotOptimize(LoopMaxIndex(d.a.data(), n)); }},
      {"norm_l2", Kind::Reduction, [&](ptrdiff_t n) { benchmark::DoNotOptimize(kern::NormL2(d.a.data(), n)); },
       [&](ptrdiff_t n) { benchmark::DoNotOptimize(LoopNormL2(d.a.data(), n)); }},
  };
}

// Collects real time per iteration by benchmark: the median and the fastest repetition (on a
// shared machine other work only ever adds time, so the fastest is the steadier estimate).
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  struct Times {
    double median, best;
  };
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const std::string name = run.run_name.function_name + "/" + run.run_name.args;
      if (run.run_type == Run::RT_Aggregate) {
        if (run.aggregate_name == "median") aggregate_[name].median = run.GetAdjustedRealTime();
        if (run.aggregate_name == "min") aggregate_[name].best = run.GetAdjustedRealTime();
      } else if (!run.error_occurred) {
        samples_[name].push_back(run.GetAdjustedRealTime());
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  bool Get(const std::string& name, Times* t) const {
    if (auto a = aggregate_.find(name); a != aggregate_.end()) return *t = a->second, true;
    auto s = samples_.find(name);
    if (s == samples_.end()) return false;
    std::vector<double> v = s->second;
    std::sort(v.begin(), v.end());
    *t = {v[v.size() / 2], v.front()};
    return true;
  }

 private:
  std::map<std::string, Times> aggregate_;
  std::map<std::string, std::vector<double>> samples_;
};

void PrintRatios(const std::vector<Pair>& pairs, const RatioReporter& rep) {
  std::printf("\n%-10s %10s %9s %9s  %-26s %s\n", "op", "n", "median", "fastest", "target (on the median)", "");
  for (const Pair& p : pairs) {
    for (ptrdiff_t n : kSizes) {
      RatioReporter::Times k{}, l{};
      const std::string suffix = "/" + std::to_string(n);
      if (!rep.Get(std::string(p.op) + "/quorel" + suffix, &k) || !rep.Get(std::string(p.op) + "/loop" + suffix, &l))
        continue;
      if (p.kind == Kind::Transcendental) {
        const double speedup = l.median / k.median;
        std::printf("%-10s %10td %8.2fx %8.2fx  %-26s %s\n", p.op, n, speedup, l.best / k.best,
                    "libm loop / kernel >= 3", speedup >= 3 ? "ok" : "MISSED");
        continue;
      }
      const double ratio = k.median / l.median;
      const double limit = p.kind == Kind::Arithmetic ? 1.15 : 1.2;
      const bool judged = p.kind == Kind::Reduction || n >= 100000;
      std::printf("%-10s %10td %9.3f %9.3f  %-26s %s\n", p.op, n, ratio, k.best / l.best,
                  p.kind == Kind::Arithmetic ? "kernel / loop <= 1.15" : "kernel / loop <= 1.2",
                  !judged ? "(not judged)" : ratio <= limit ? "ok" : "MISSED");
    }
  }
  const auto isa = quorel::kern::KernelIsa();
  std::printf("code path of the transcendental kernels: %s\n",
              isa == quorel::kern::TKernelIsa::Avx512    ? "AVX-512"
              : isa == quorel::kern::TKernelIsa::Avx2Fma ? "AVX2+FMA"
                                                         : "SSE2");
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const std::vector<Pair> pairs = Pairs();
  for (const Pair& p : pairs) {
    for (const char* variant : {"quorel", "loop"}) {
      const std::function<void(ptrdiff_t)>& fn = variant[0] == 'q' ? p.kernel : p.loop;
      for (ptrdiff_t n : kSizes) {
        benchmark::RegisterBenchmark((std::string(p.op) + "/" + variant).c_str(), [fn, n](benchmark::State& state) {
          for (auto _ : state) {
            fn(n);
            benchmark::ClobberMemory();
          }
          state.SetItemsProcessed(state.iterations() * n);
        })->Arg(n)->ComputeStatistics("min", [](const std::vector<double>& v) {
          return *std::min_element(v.begin(), v.end());
        });
      }
    }
  }
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  PrintRatios(pairs, reporter);
  benchmark::Shutdown();
  return 0;
}
