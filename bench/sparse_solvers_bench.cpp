// Direct sparse back ends against the library calls they make (analyse + factorise + solve in
// both), and the iterative methods for the SciPy peers, on generated 2-D/3-D Poisson matrices and
// the real matrices of the shared collection (read in place).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "quorel/platform/cholmod.h"
#include "quorel/platform/mumps.h"
#include "quorel/sparse/detail/solver_direct.h"
#include "quorel/sparse/detail/solver_iterative.h"
#include "alloc_counter.h"
#include "ratio_reporter.h"

namespace {

const char* const BigDir = "/work/shared/matrices-big/";

struct Matrix {
  std::int32_t n = 0;
  std::vector<std::int32_t> ap, ai;
  std::vector<double> ax;
  bool lower = false;  // symmetric, lower triangle stored
};

Matrix FromTriplets(std::int32_t n, std::vector<std::tuple<std::int32_t, std::int32_t, double>> t, bool lower) {
  Matrix m;
  m.n = n;
  m.lower = lower;
  m.ap.assign(n + 1, 0);
  for (auto& [i, j, v] : t) ++m.ap[j + 1];
  for (std::int32_t j = 0; j < n; ++j) m.ap[j + 1] += m.ap[j];
  std::vector<std::int32_t> next(m.ap.begin(), m.ap.end() - 1);
  m.ai.resize(t.size());
  m.ax.resize(t.size());
  for (auto& [i, j, v] : t) {
    m.ai[next[j]] = i;
    m.ax[next[j]++] = v;
  }
  return m;
}

// Poisson on a k^dim grid (7-point in 3-D), lower triangle or full; `convection` makes it
// unsymmetric.
Matrix Poisson(std::int32_t k, int dim, bool lower, double convection = 0) {
  const std::int32_t n = dim == 2 ? k * k : k * k * k;
  std::vector<std::tuple<std::int32_t, std::int32_t, double>> t;
  const std::int32_t stride[3] = {1, k, k * k};
  for (std::int32_t i = 0; i < n; ++i) {
    t.emplace_back(i, i, 2.0 * dim);
    std::int32_t rest = i;
    for (int d = 0; d < dim; ++d) {
      const std::int32_t c = rest % k;
      rest /= k;
      if (c + 1 < k) {
        t.emplace_back(i + stride[d], i, -1.0 - convection);
        if (!lower) t.emplace_back(i, i + stride[d], -1.0 + convection);
      }
    }
  }
  return FromTriplets(n, std::move(t), lower);
}

// Coordinate Matrix Market, real or integer, general or symmetric (kept as the lower triangle).
Matrix ReadMtx(const std::string& name) {
  std::ifstream in(BigDir + name + ".mtx");
  std::string line;
  std::getline(in, line);
  const bool symmetric = line.find("symmetric") != std::string::npos;
  while (std::getline(in, line) && line[0] == '%') {
  }
  std::int32_t rows = 0, cols = 0;
  long nnz = 0;
  std::istringstream(line) >> rows >> cols >> nnz;
  std::vector<std::tuple<std::int32_t, std::int32_t, double>> t;
  t.reserve(nnz);
  for (long e = 0; e < nnz; ++e) {
    std::int32_t i, j;
    double v;
    in >> i >> j >> v;
    t.emplace_back(i - 1, j - 1, v);
  }
  return FromTriplets(rows, std::move(t), symmetric);
}

std::map<std::string, std::unique_ptr<Matrix>>& Cache() {
  static std::map<std::string, std::unique_ptr<Matrix>> c;
  return c;
}

const Matrix& Get(const std::string& key) {
  auto& m = Cache()[key];
  if (m) return *m;
  if (key == "poisson2d_100") m = std::make_unique<Matrix>(Poisson(100, 2, true));
  else if (key == "poisson2d_300") m = std::make_unique<Matrix>(Poisson(300, 2, true));
  else if (key == "poisson3d_30") m = std::make_unique<Matrix>(Poisson(30, 3, true));
  else if (key == "convdiff2d_100") m = std::make_unique<Matrix>(Poisson(100, 2, false, 0.3));
  else m = std::make_unique<Matrix>(ReadMtx(key));
  return *m;
}

quorel::detail::TRawSparse Raw(const Matrix& m) { return {false, m.n, m.ap.data(), m.ai.data(), m.ax.data()}; }

std::vector<double> Ones(std::int32_t n) { return std::vector<double>(n, 1.0); }

void Cholesky(benchmark::State& state, std::string key, bool quorelSide) {
  const Matrix& m = Get(key);
  const std::vector<double> b = Ones(m.n);
  std::vector<double> x(m.n);
  quorel::TTaucsSettings s;
  s.Reordering = quorel::tpAMD;
  for (auto _ : state) {
    const int code = quorelSide ? quorel::detail::TaucsSolveRaw(s, Raw(m), 9, 1, b.data(), x.data(), 0, 0)
                                : quorel::detail::CholmodRawSolveReal(m.n, m.ap.data(), m.ai.data(), m.ax.data(),
                                                                      b.data(), x.data());
    if (code != 0) state.SkipWithError("solve failed");
  }
}

void Multifrontal(benchmark::State& state, std::string key, int mtype, bool quorelSide) {
  const Matrix& m = Get(key);
  const std::vector<double> b = Ones(m.n);
  std::vector<double> x(m.n);
  quorel::TPardisoSettings s;
  s.Reordering = quorel::prMinimumDegree;
  const int sym = mtype == 2 ? 1 : mtype == -2 ? 2 : 0;
  for (auto _ : state) {
    const int code = quorelSide ? quorel::detail::PardisoSolveRaw(s, Raw(m), mtype, 1, b.data(), x.data(), nullptr)
                                : quorel::detail::MumpsRawSolveReal(sym, 0, m.n, m.ap.data(), m.ai.data(),
                                                                    m.ax.data(), b.data(), x.data());
    if (code < 0) state.SkipWithError("solve failed");
  }
}

void Iterative(benchmark::State& state, std::string key, quorel::detail::TSlapMethod method) {
  const Matrix& m = Get(key);
  const std::vector<double> b = Ones(m.n);
  std::vector<double> x(m.n);
  quorel::detail::TSlapOptions o;
  o.method = method;
  o.tolerance = 1e-8;
  o.maxIters = 5000;
  // The workspace is kept between solves, as a matrix keeps its own: "allocs" counts a warm solve.
  quorel::detail::TSlapWorkspace work;
  quorel::detail::TSlapResult r;
  bench::RunCounted(state, [&] {
    std::fill(x.begin(), x.end(), 0.0);
    r = quorel::detail::SlapSolve({m.n, m.ap.data(), m.ai.data(), m.ax.data(), m.lower}, o, b.data(), x.data(),
                                  work);
  });
  if (r.ierr != 0) state.SkipWithError("no convergence");
  state.counters["iters"] = r.iters;
}

void Register() {
  for (const char* k : {"poisson2d_100", "poisson2d_300", "poisson3d_30", "1138_bus", "bcsstk14", "bcsstk16"}) {
    benchmark::RegisterBenchmark((std::string("Cholesky_") + k + "/quorel").c_str(), Cholesky, k, true)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((std::string("Cholesky_") + k + "/cholmod").c_str(), Cholesky, k, false)
        ->Unit(benchmark::kMillisecond);
  }
  const std::pair<const char*, int> mf[] = {{"poisson2d_100", 2}, {"poisson3d_30", 2},  {"lowThrust_5", -2},
                                            {"hangGlider_5", -2}, {"memplus", 11},      {"sherman3", 11},
                                            {"west2021", 11},     {"orsreg_1", 11}};
  for (const auto& [k, t] : mf) {
    benchmark::RegisterBenchmark((std::string("Multifrontal_") + k + "/quorel").c_str(), Multifrontal, k, t, true)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((std::string("Multifrontal_") + k + "/mumps").c_str(), Multifrontal, k, t, false)
        ->Unit(benchmark::kMillisecond);
  }
  using namespace quorel::detail;
  benchmark::RegisterBenchmark("ICCG_poisson2d_100/quorel", Iterative, "poisson2d_100", slapICCG)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("ICCG_poisson2d_300/quorel", Iterative, "poisson2d_300", slapICCG)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("GMRES_convdiff2d_100/quorel", Iterative, "convdiff2d_100", slapLUGMRES)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("GMRES_orsreg_1/quorel", Iterative, "orsreg_1", slapLUGMRES)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  Register();
  return bench::RunWithRatios(argc, argv, {"cholmod", "mumps"});
}
