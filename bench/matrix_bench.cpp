// Matrix transposition of 2000 x 2000 real and complex matrices: TMtx::Transp against a naive
// strided loop and against Eigen (a row-major Map of the same data, .transpose() into another
// Map). Argument 0 is the real matrix, 1 the complex one. After the runs a table of time ratios
// (median of the repetitions) is printed.
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "ratio_reporter.h"
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

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"naive", "eigen"}); }
