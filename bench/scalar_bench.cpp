// Scalar functions of the library against their plain std:: counterparts on the same inputs.
// Each pair reports ns per call; the summary at the end prints library / std ratios.
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "quorel/core/math387.h"

namespace {

constexpr std::size_t kN = 4096;

std::vector<double> Uniform(double lo, double hi, unsigned seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> d(lo, hi);
  std::vector<double> v(kN);
  for (double& x : v) x = d(g);
  return v;
}

const std::vector<double>& Positive() { static auto v = Uniform(1e-3, 1e3, 1); return v; }
const std::vector<double>& Angles() { static auto v = Uniform(-100, 100, 2); return v; }
const std::vector<double>& Exponents() { static auto v = Uniform(-300, 300, 3); return v; }
const std::vector<double>& Small() { static auto v = Uniform(-20, 20, 4); return v; }
const std::vector<double>& GammaArgs() { static auto v = Uniform(0.1, 170, 5); return v; }
const std::vector<quorel::TCplx>& Complexes() {
  static std::vector<quorel::TCplx> v = [] {
    auto re = Uniform(-10, 10, 6), im = Uniform(-10, 10, 7);
    std::vector<quorel::TCplx> z(kN);
    for (std::size_t i = 0; i < kN; ++i) z[i] = {re[i], im[i]};
    return z;
  }();
  return v;
}
// Runs f over every input per iteration; reports time per element.
template <class Vec, class F>
void Loop(benchmark::State& state, const Vec& in, F f) {
  for (auto _ : state) {
    for (std::size_t i = 0; i < in.size(); ++i) benchmark::DoNotOptimize(f(in[i], in[(i + 1) % in.size()]));
  }
  state.SetItemsProcessed(state.iterations() * in.size());
}

#define PAIR(name, data, ours, theirs)                                                 \
  void BM_##name##_Quorel(benchmark::State& s) { Loop(s, data(), ours); }              \
  void BM_##name##_Std(benchmark::State& s) { Loop(s, data(), theirs); }               \
  BENCHMARK(BM_##name##_Quorel);                                                       \
  BENCHMARK(BM_##name##_Std);

PAIR(Ln, Positive, [](double x, double) { return quorel::Ln(x); }, [](double x, double) { return std::log(x); })
PAIR(Exp, Exponents, [](double x, double) { return quorel::Exp(x); }, [](double x, double) { return std::exp(x); })
PAIR(Sin, Angles, [](double x, double) { return quorel::Sin(x); }, [](double x, double) { return std::sin(x); })
PAIR(Power, Positive, [](double x, double y) { return quorel::Power(x, y / 100); },
     [](double x, double y) { return std::pow(x, y / 100); })
PAIR(Gamma, GammaArgs, [](double x, double) { return quorel::Gamma(x); }, [](double x, double) { return std::tgamma(x); })
PAIR(CDiv, Complexes, [](const quorel::TCplx& a, const quorel::TCplx& b) { return quorel::CDiv(a, b); },
     [](const quorel::TCplx& a, const quorel::TCplx& b) {
       return std::complex<double>(a.Re, a.Im) / std::complex<double>(b.Re, b.Im);
     })
PAIR(CSqrt, Complexes, [](const quorel::TCplx& a, const quorel::TCplx&) { return quorel::CSqrt(a); },
     [](const quorel::TCplx& a, const quorel::TCplx&) { return std::sqrt(std::complex<double>(a.Re, a.Im)); })

// Prints library / std time ratios from the per-item times of the runs above.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration && r.aggregate_name != "median") continue;
      std::string name = r.run_name.function_name;
      double ns = r.GetAdjustedRealTime();
      auto cut = name.rfind('_');
      (name.substr(cut + 1) == "Quorel" ? ours_ : theirs_)[name.substr(3, cut - 3)] = ns;
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\nlibrary / std time ratio\n");
    for (const auto& [name, ns] : ours_) {
      if (theirs_.count(name)) std::printf("  %-6s %5.2f\n", name.c_str(), ns / theirs_[name]);
    }
  }

 private:
  std::map<std::string, double> ours_, theirs_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
