// Matrix transposition of 2000 x 2000 real and complex matrices: TMtx::Transp against a naive
// strided loop and against Eigen (a row-major Map of the same data, .transpose() into another
// Map). After the runs a table of time ratios (median of the repetitions) is printed.
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "quorel/quorel.h"

#ifdef QUOREL_HAVE_EIGEN
#include <Eigen/Core>
#endif

using quorel::TCplx;
using quorel::TMtx;

namespace {

constexpr int kN = 2000;

// Source and destination of one kind, filled once.
struct Data {
  TMtx src, dst;
  explicit Data(bool complex) : src(kN, kN, complex), dst(kN, kN, complex) {
    auto v = src.Values();
    for (std::size_t k = 0; k < v.size(); ++k) v[k] = static_cast<double>(k % 1000) * 0.5;
    dst.SetZero();
  }
};

Data& DataFor(bool complex) {
  static Data real(false), cplx(true);
  return complex ? cplx : real;
}

template <class F>
void Run(benchmark::State& state, F&& body) {
  body();  // warm-up: first touch of the destination pages
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * 2 * std::int64_t{kN} * kN *
                          static_cast<std::int64_t>(DataFor(state.range(0) != 0).src.Complex() ? 16 : 8));
}

// dst(j, i) = src(i, j) with no blocking.
template <class T>
void NaiveTranspose(const T* src, T* dst) {
  for (int i = 0; i < kN; ++i)
    for (int j = 0; j < kN; ++j) dst[std::int64_t{j} * kN + i] = src[std::int64_t{i} * kN + j];
}

void BM_Transp_quorel(benchmark::State& state) {
  Data& d = DataFor(state.range(0) != 0);
  Run(state, [&] { d.dst.Transp(d.src); });
}

void BM_Transp_naive(benchmark::State& state) {
  Data& d = DataFor(state.range(0) != 0);
  Run(state, [&] {
    if (d.src.Complex()) {
      NaiveTranspose(d.src.PCValues1D(0), d.dst.PCValues1D(0));
    } else {
      NaiveTranspose(d.src.PValues1D(0), d.dst.PValues1D(0));
    }
  });
}

#ifdef QUOREL_HAVE_EIGEN
template <class S>
using RowMajorMap = Eigen::Map<Eigen::Matrix<S, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>;

void BM_Transp_eigen(benchmark::State& state) {
  Data& d = DataFor(state.range(0) != 0);
  Run(state, [&] {
    if (d.src.Complex()) {
      using C = std::complex<double>;
      RowMajorMap<C> a(reinterpret_cast<C*>(d.src.PCValues1D(0)), kN, kN);
      RowMajorMap<C> b(reinterpret_cast<C*>(d.dst.PCValues1D(0)), kN, kN);
      b = a.transpose();
    } else {
      RowMajorMap<double> a(d.src.PValues1D(0), kN, kN);
      RowMajorMap<double> b(d.dst.PValues1D(0), kN, kN);
      b = a.transpose();
    }
  });
}
BENCHMARK(BM_Transp_eigen)->Name("Transp/eigen")->Arg(0)->Arg(1)->UseRealTime();
#endif

BENCHMARK(BM_Transp_quorel)->Name("Transp/quorel")->Arg(0)->Arg(1)->UseRealTime();
BENCHMARK(BM_Transp_naive)->Name("Transp/naive")->Arg(0)->Arg(1)->UseRealTime();

// Collects the median (or single) time of every run, then prints quorel/naive and quorel/eigen.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
      const bool single = r.run_type == Run::RT_Iteration && r.repetitions <= 1;
      if (!median && !single) continue;
      const std::string name = r.run_name.function_name;  // "Op/impl"
      const auto slash = name.find('/');
      const std::string kind = r.run_name.args == "1" ? "complex" : "real";
      times_[name.substr(0, slash) + " " + kind][name.substr(slash + 1)] = r.GetAdjustedRealTime();
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-24s %12s %12s   (quorel time / other time; below 1 is faster)\n", "operation", "vs naive",
                "vs eigen");
    for (const auto& [key, t] : times_) {
      auto ratio = [&](const char* other) {
        auto q = t.find("quorel"), o = t.find(other);
        return q != t.end() && o != t.end() ? q->second / o->second : NAN;
      };
      std::printf("%-24s %11.2fx %11.2fx\n", key.c_str(), ratio("naive"), ratio("eigen"));
    }
  }

 private:
  std::map<std::string, std::map<std::string, double>> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
