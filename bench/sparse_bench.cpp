// Sparse matrices: building compressed columns from 10^7 triplets, sparse x sparse products, and
// the direct LU solve against the raw library calls it makes (symbolic + numeric + solve) on
// generated 2-D Poisson matrices and on the real matrices of the shared collection (read in place
// from QUOREL_BIG_MATRICES, default /work/shared/matrices-big). SciPy's times for the same keys
// come from bench/peers/sparse_peers.py.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ratio_reporter.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/umfpack.h"
#include "quorel/sparse/sparse.h"

using namespace quorel;

namespace {

void Poisson2D(TSparseMtx& a, int m) {
  TIntegerArray r, c;
  TDoubleArray v;
  auto add = [&](int i, int j, double x) {
    r.push_back(i);
    c.push_back(j);
    v.push_back(x);
  };
  for (int y = 0; y < m; ++y)
    for (int x = 0; x < m; ++x) {
      const int k = y * m + x;
      add(k, k, 4);
      if (x > 0) add(k, k - 1, -1);
      if (x < m - 1) add(k, k + 1, -1);
      if (y > 0) add(k, k - m, -1);
      if (y < m - 1) add(k, k + m, -1);
    }
  a.TripletsToSparse(m * m, m * m, r, c, std::span<const double>(v));
}

// The same pseudo-random triplets as the SciPy peer: row = (k * 7919 + 13) mod n etc.
struct Triplets {
  TIntegerArray r, c;
  TDoubleArray v;
  Triplets(int count, int n) : r(count), c(count), v(count) {
    for (int k = 0; k < count; ++k) {
      r[k] = static_cast<int>((std::int64_t{k} * 7919 + 13) % n);
      c[k] = static_cast<int>((std::int64_t{k} * 104729 + 7) % n);
      v[k] = 1.0 + (k % 1000) * 1e-3;
    }
  }
};

void BM_Triplets(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  static Triplets t(count, 1000000);
  TSparseMtx a;
  for (auto _ : state) a.TripletsToSparse(1000000, 1000000, t.r, t.c, std::span<const double>(t.v));
  state.counters["nnz"] = a.NonZeros();
}
BENCHMARK(BM_Triplets)->Name("TripletsToSparse/quorel")->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Mul(benchmark::State& state) {
  const int m = static_cast<int>(state.range(0));
  TSparseMtx a, p;
  Poisson2D(a, m);
  for (auto _ : state) p.Mul(a, a);
  state.counters["nnz"] = p.NonZeros();
}
BENCHMARK(BM_Mul)->Name("SparseMul/quorel")->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

struct SolveCase {
  TSparseMtx a;
  TVec b, x;
};

SolveCase& PoissonCase(int m) {
  static std::map<int, std::unique_ptr<SolveCase>> all;
  auto& c = all[m];
  if (!c) {
    c = std::make_unique<SolveCase>();
    Poisson2D(c->a, m);
    c->b.Size(m * m);
    for (int i = 0; i < m * m; ++i) c->b[i] = 1.0 + (i % 17);
  }
  return *c;
}

void SolveQuorel(benchmark::State& state, SolveCase& c) {
  c.a.SparseSolver = ssUmfPack;
  c.a.ReportLevel = prlNone;
  for (auto _ : state) {
    c.a.FreeSymbolic();  // a full symbolic + numeric + solve, as the raw path does
    c.a.Solve(c.b, c.x, mtGeneral);
  }
}

void SolveRaw(benchmark::State& state, SolveCase& c) {
  std::vector<double> x(c.a.Rows());
  for (auto _ : state) {
    if (detail::UmfRawSolveReal(c.a.Rows(), c.a.Ap().data(), c.a.Ai().data(), c.a.Values().data(), x.data(),
                                c.b.Values().data()) < 0)
      state.SkipWithError("solve failed");
  }
}

void BM_SolvePoissonQuorel(benchmark::State& state) { SolveQuorel(state, PoissonCase(static_cast<int>(state.range(0)))); }
void BM_SolvePoissonRaw(benchmark::State& state) { SolveRaw(state, PoissonCase(static_cast<int>(state.range(0)))); }
BENCHMARK(BM_SolvePoissonQuorel)->Name("SolveUmfPack/quorel")->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SolvePoissonRaw)->Name("SolveUmfPack/umfpack")->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond)->UseRealTime();

std::string BigDir() {
  const char* d = std::getenv("QUOREL_BIG_MATRICES");
  return d ? d : "/work/shared/matrices-big";
}

// Real square matrices of the collection that UMFPACK can factorise (mhd1280a is singular,
// plsk1919 exactly singular, ch7-7-b2 rectangular).
const char* const kFiles[] = {"1138_bus", "bcsstk14", "bcsstk16", "bcsstk18", "bcsstk25", "saylr4",
                              "lowThrust_5", "hangGlider_5", "memplus", "sherman3", "orsreg_1", "west2021"};

SolveCase& FileCase(const std::string& name) {
  static std::map<std::string, std::unique_ptr<SolveCase>> all;
  auto& c = all[name];
  if (!c) {
    c = std::make_unique<SolveCase>();
    c->a.LoadFromMatrixMarketFile(BigDir() + "/" + name + ".mtx");
    c->b.Size(c->a.Rows());
    for (int i = 0; i < c->a.Rows(); ++i) c->b[i] = 1.0 + (i % 17);
  }
  return *c;
}

void RegisterFiles() {
  for (const char* name : kFiles) {
    const std::string file = BigDir() + "/" + name + ".mtx";
    if (std::FILE* f = std::fopen(file.c_str(), "r")) {
      std::fclose(f);
    } else {
      continue;
    }
    const std::string n = name;
    benchmark::RegisterBenchmark(("Solve_" + n + "/quorel").c_str(),
                                 [n](benchmark::State& s) { SolveQuorel(s, FileCase(n)); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark(("Solve_" + n + "/umfpack").c_str(),
                                 [n](benchmark::State& s) { SolveRaw(s, FileCase(n)); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

}  // namespace

int main(int argc, char** argv) {
  RegisterFiles();
  return bench::RunWithRatios(argc, argv, {"umfpack"});
}
