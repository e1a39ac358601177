// Element-wise methods and reductions against the plain loop (libm for transcendental functions)
// and against Eigen's array expressions, at 10^3, 10^5 and 10^7 elements. After the runs a table
// of time ratios is printed (median of the repetitions), and allocations per call are counted.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/quorel.h"

#ifdef QUOREL_HAVE_EIGEN
#include <Eigen/Core>
#endif

using quorel::TCplx;
using quorel::TVec;

namespace {

// Inputs shared by all runs of one size, filled once.
struct Data {
  TVec a, b, ca, cb, r, cr;
  std::vector<double> va, vb, vr;
  std::vector<std::complex<double>> vca, vcb, vcr;
  explicit Data(int n) {
    std::mt19937_64 rng(42);
    std::uniform_real_distribution<double> u(0.5, 2.0);
    a.SetLength(n);
    b.SetLength(n);
    ca.Size(n, true);
    cb.Size(n, true);
    r.SetLength(n);
    cr.Size(n, true);
    for (int i = 0; i < n; ++i) {
      a[i] = u(rng);
      b[i] = u(rng);
      ca.CValues()[i] = {u(rng), u(rng)};
      cb.CValues()[i] = {u(rng), u(rng)};
    }
    va.assign(a.Values().begin(), a.Values().end());
    vb.assign(b.Values().begin(), b.Values().end());
    vr.resize(n);
    for (int i = 0; i < n; ++i) {
      vca.emplace_back(ca.CValues()[i].Re, ca.CValues()[i].Im);
      vcb.emplace_back(cb.CValues()[i].Re, cb.CValues()[i].Im);
    }
    vcr.resize(n);
  }
};

Data& DataFor(int n) {
  static std::map<int, std::unique_ptr<Data>> all;
  auto& d = all[n];
  if (!d) d = std::make_unique<Data>(n);
  return *d;
}

template <class F>
void Run(benchmark::State& state, F&& body) { bench::RunCounted(state, body, state.range(0)); }

#define QUOREL_BENCH(op, impl, ...)                                  \
  void BM_##op##_##impl(benchmark::State& state) {                   \
    Data& d = DataFor(static_cast<int>(state.range(0)));             \
    const int n = static_cast<int>(state.range(0));                  \
    (void)n;                                                         \
    Run(state, [&] { __VA_ARGS__; });                                \
  }                                                                  \
  BENCHMARK(BM_##op##_##impl)->Name(#op "/" #impl)->Arg(1000)->Arg(100000)->Arg(10000000)->UseRealTime();

volatile double sink;

// --- arithmetic ---
QUOREL_BENCH(AddReal, quorel, d.r.Add(d.a, d.b))
QUOREL_BENCH(AddReal, loop, for (int i = 0; i < n; ++i) d.vr[i] = d.va[i] + d.vb[i])
QUOREL_BENCH(AddComplex, quorel, d.cr.Add(d.ca, d.cb))
QUOREL_BENCH(AddComplex, loop, for (int i = 0; i < n; ++i) d.vcr[i] = d.vca[i] + d.vcb[i])
QUOREL_BENCH(MulReal, quorel, d.r.Mul(d.a, d.b))
QUOREL_BENCH(MulReal, loop, for (int i = 0; i < n; ++i) d.vr[i] = d.va[i] * d.vb[i])
QUOREL_BENCH(MulComplex, quorel, d.cr.Mul(d.ca, d.cb))
QUOREL_BENCH(MulComplex, loop, for (int i = 0; i < n; ++i) {
  const auto x = d.vca[i], y = d.vcb[i];
  d.vcr[i] = {x.real() * y.real() - x.imag() * y.imag(), x.real() * y.imag() + x.imag() * y.real()};
})
QUOREL_BENCH(MulMixed, quorel, d.cr.Mul(d.ca, d.b))
QUOREL_BENCH(MulMixed, loop, for (int i = 0; i < n; ++i) d.vcr[i] = d.vca[i] * d.vb[i])
QUOREL_BENCH(Scale, quorel, d.r.Scale(1.0000001))
QUOREL_BENCH(Scale, loop, for (int i = 0; i < n; ++i) d.vr[i] *= 1.0000001)

// --- transcendental ---
QUOREL_BENCH(Sqrt, quorel, d.r.Sqrt(d.a))
QUOREL_BENCH(Sqrt, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::sqrt(d.va[i]))
QUOREL_BENCH(Exp, quorel, d.r.Exp(d.a))
QUOREL_BENCH(Exp, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::exp(d.va[i]))
QUOREL_BENCH(Ln, quorel, d.r.Ln(d.a))
QUOREL_BENCH(Ln, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::log(d.va[i]))
QUOREL_BENCH(Sin, quorel, d.r.Sin(d.a))
QUOREL_BENCH(Sin, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::sin(d.va[i]))
QUOREL_BENCH(Power, quorel, d.r.Power(d.a, 2.5))
QUOREL_BENCH(Power, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::pow(d.va[i], 2.5))
QUOREL_BENCH(PowerVec, quorel, d.r.PowerVec(d.a, d.b))
QUOREL_BENCH(PowerVec, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::pow(d.va[i], d.vb[i]))
QUOREL_BENCH(Exp2, quorel, d.r.Exp2(d.a))
QUOREL_BENCH(Exp2, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::exp2(d.va[i]))
QUOREL_BENCH(Exp10, quorel, d.r.Exp10(d.a))
QUOREL_BENCH(Exp10, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::pow(10.0, d.va[i]))
QUOREL_BENCH(Log2, quorel, d.r.Log2(d.a))
QUOREL_BENCH(Log2, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::log2(d.va[i]))
QUOREL_BENCH(Log10, quorel, d.r.Log10(d.a))
QUOREL_BENCH(Log10, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::log10(d.va[i]))
QUOREL_BENCH(Cos, quorel, d.r.Cos(d.a))
QUOREL_BENCH(Cos, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::cos(d.va[i]))
QUOREL_BENCH(Tan, quorel, d.r.Tan(d.a))
QUOREL_BENCH(Tan, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::tan(d.va[i]))
QUOREL_BENCH(ArcTan, quorel, d.r.ArcTan(d.a))
QUOREL_BENCH(ArcTan, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::atan(d.va[i]))
QUOREL_BENCH(Sinh, quorel, d.r.Sinh(d.a))
QUOREL_BENCH(Sinh, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::sinh(d.va[i]))
QUOREL_BENCH(Cosh, quorel, d.r.Cosh(d.a))
QUOREL_BENCH(Cosh, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::cosh(d.va[i]))
QUOREL_BENCH(Tanh, quorel, d.r.Tanh(d.a))
QUOREL_BENCH(Tanh, loop, for (int i = 0; i < n; ++i) d.vr[i] = std::tanh(d.va[i]))

// --- reductions ---
QUOREL_BENCH(Sum, quorel, sink = d.a.Sum())
QUOREL_BENCH(Sum, loop, {
  double s = 0;
  for (int i = 0; i < n; ++i) s += d.va[i];
  sink = s;
})
QUOREL_BENCH(Mean, quorel, sink = d.a.Mean())
QUOREL_BENCH(Mean, loop, {
  double s = 0;
  for (int i = 0; i < n; ++i) s += d.va[i];
  sink = s / n;
})
QUOREL_BENCH(StdDev, quorel, sink = d.a.StdDev())
QUOREL_BENCH(StdDev, loop, {
  double s = 0, q = 0;
  for (int i = 0; i < n; ++i) s += d.va[i];
  const double m = s / n;
  for (int i = 0; i < n; ++i) q += (d.va[i] - m) * (d.va[i] - m);
  sink = std::sqrt(q / (n - 1));
})
QUOREL_BENCH(MaxIndex, quorel, {
  double v;
  std::int32_t idx;
  d.a.Max(v, idx);
  sink = v + idx;
})
QUOREL_BENCH(MaxIndex, loop, {
  double v = d.va[0];
  int idx = 0;
  for (int i = 1; i < n; ++i)
    if (d.va[i] > v) {
      v = d.va[i];
      idx = i;
    }
  sink = v + idx;
})
QUOREL_BENCH(Median, quorel, sink = d.a.Median())
QUOREL_BENCH(Median, loop, {
  d.vr.assign(d.va.begin(), d.va.end());
  std::nth_element(d.vr.begin(), d.vr.begin() + n / 2, d.vr.end());
  const double hi = d.vr[n / 2];
  const double lo = *std::max_element(d.vr.begin(), d.vr.begin() + n / 2);
  sink = (lo + hi) * 0.5;
})
QUOREL_BENCH(NormL2, quorel, sink = d.a.NormL2())
QUOREL_BENCH(NormL2, loop, {
  double q = 0;
  for (int i = 0; i < n; ++i) q += d.va[i] * d.va[i];
  sink = std::sqrt(q);
})

#ifdef QUOREL_HAVE_EIGEN
using EA = Eigen::Map<Eigen::ArrayXd>;
using ECA = Eigen::Map<Eigen::ArrayXcd>;
#define A(v) EA((v).data(), n)
#define CA(v) ECA((v).data(), n)
QUOREL_BENCH(AddReal, eigen, A(d.vr) = A(d.va) + A(d.vb))
QUOREL_BENCH(AddComplex, eigen, CA(d.vcr) = CA(d.vca) + CA(d.vcb))
QUOREL_BENCH(MulReal, eigen, A(d.vr) = A(d.va) * A(d.vb))
QUOREL_BENCH(MulComplex, eigen, CA(d.vcr) = CA(d.vca) * CA(d.vcb))
QUOREL_BENCH(MulMixed, eigen, CA(d.vcr) = CA(d.vca) * A(d.vb).cast<std::complex<double>>())
QUOREL_BENCH(Scale, eigen, A(d.vr) *= 1.0000001)
QUOREL_BENCH(Sqrt, eigen, A(d.vr) = A(d.va).sqrt())
QUOREL_BENCH(Exp, eigen, A(d.vr) = A(d.va).exp())
QUOREL_BENCH(Ln, eigen, A(d.vr) = A(d.va).log())
QUOREL_BENCH(Sin, eigen, A(d.vr) = A(d.va).sin())
QUOREL_BENCH(Power, eigen, A(d.vr) = A(d.va).pow(2.5))
QUOREL_BENCH(Sum, eigen, sink = A(d.va).sum())
QUOREL_BENCH(Mean, eigen, sink = A(d.va).mean())
QUOREL_BENCH(StdDev, eigen, sink = std::sqrt((A(d.va) - A(d.va).mean()).square().sum() / (n - 1)))
QUOREL_BENCH(MaxIndex, eigen, {
  Eigen::Index idx;
  sink = A(d.va).maxCoeff(&idx) + static_cast<double>(idx);
})
QUOREL_BENCH(NormL2, eigen, sink = A(d.va).matrix().norm())
#endif

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"loop", "eigen"}, "allocs"); }
