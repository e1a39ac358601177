// Dense linear algebra: each Quorel method against the raw LAPACK/BLAS call it stands for and
// against Eigen's solvers. The raw side does the copies the method must make: the transposed
// copy into LAPACK's layout, the copy back for results that are matrices, and, where the method
// works in place, the input copy. Argument: the order n of the square matrices. The ratio table
// compares medians; "allocs" counts heap allocations per warm call on either side (those LAPACK
// itself makes show up on both).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "alloc_counter.h"
#include "ratio_reporter.h"
#include "quorel/quorel.h"
#include "quorel/dense/toeplitz.h"
#include "quorel/platform/lapack/symbols.h"

#ifdef QUOREL_HAVE_EIGEN
#include <Eigen/Dense>
#endif

extern "C" int openblas_get_num_threads();

using namespace quorel;

namespace {

// Random n x n data (diagonally shifted so every solve is well conditioned) and a right-hand side,
// and their symmetric positive definite counterpart, kept per size.
struct Data {
  TMtx a, spd, b;
  TVec bv;
  explicit Data(int n) : a(n, n, false), spd(n, n, false), b(n, 1, false) {
    std::mt19937 g(n);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) a.Values(i, j) = u(g) + (i == j ? n * 0.1 : 0);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j <= i; ++j) spd.Values(i, j) = spd.Values(j, i) = u(g) + (i == j ? n : 0);
    bv.Size(n, false);
    for (int i = 0; i < n; ++i) *bv.PValues(i) = b.Values(i, 0) = u(g);
  }
};

Data& DataFor(int n) {
  static std::map<int, Data> cache;
  auto it = cache.find(n);
  if (it == cache.end()) it = cache.emplace(n, Data(n)).first;
  return it->second;
}

#define QUOREL_DENSE_BENCH(op, variant, ...)                     \
  void op##_##variant(benchmark::State& state) {                    \
    const int n = static_cast<int>(state.range(0));                 \
    Data& d = DataFor(n);                                           \
    (void)d;                                                        \
    __VA_ARGS__;                                                           \
  }                                                                 \
  BENCHMARK(op##_##variant)->Name(#op "/" #variant)->Arg(100)->Arg(500)->Arg(1000)->Unit(benchmark::kMicrosecond)

// --- LUSolve ----------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(LUSolve, quorel, {
  TVec x;
  bench::RunCounted(state, [&] { d.a.LUSolve(d.bv, x, mtGeneral, opNone); });
});
QUOREL_DENSE_BENCH(LUSolve, lapack, {
  TMtx at;
  std::vector<double> x(n);
  std::vector<int> ipiv(n);
  int nrhs = 1, info;
  bench::RunCounted(state, [&] {
    at.Transp(d.a);
    std::memcpy(x.data(), d.bv.PValues(0), sizeof(double) * n);
    dgesv_(&n, &nrhs, at.PValues1D(0), &n, ipiv.data(), x.data(), &n, &info);
  });
});
#ifdef QUOREL_HAVE_EIGEN
using RowMtx = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
Eigen::Map<const RowMtx> EigenOf(const TMtx& m) { return {m.PValues1D(0), m.Rows(), m.Cols()}; }
Eigen::Map<const Eigen::VectorXd> EigenOf(const TVec& v) { return {v.PValues(0), v.Length()}; }
QUOREL_DENSE_BENCH(LUSolve, eigen, {
  Eigen::VectorXd x;
  for (auto _ : state) benchmark::DoNotOptimize(x = EigenOf(d.a).partialPivLu().solve(EigenOf(d.bv)));
});
#endif

// --- Mul ----------------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(Mul, quorel, {
  TMtx c;
  bench::RunCounted(state, [&] { c.Mul(d.a, d.spd, opNone, opNone); });
});
QUOREL_DENSE_BENCH(Mul, lapack, {
  TMtx c(n, n, false);
  const double one = 1, zero = 0;
  bench::RunCounted(state, [&] {
    dgemm_("N", "N", &n, &n, &n, &one, d.spd.PValues1D(0), &n, d.a.PValues1D(0), &n, &zero, c.PValues1D(0), &n, 1, 1);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(Mul, eigen, {
  RowMtx c(n, n);
  for (auto _ : state) c.noalias() = EigenOf(d.a) * EigenOf(d.spd);
});
#endif

// --- Inv ----------------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(Inv, quorel, {
  TMtx c;
  bench::RunCounted(state, [&] {
    c.Copy(d.a);
    c.Inv(mtGeneral);
  });
});
QUOREL_DENSE_BENCH(Inv, lapack, {
  TMtx c, back;
  std::vector<int> ipiv(n);
  int info, lwork = -1;
  double q;
  dgetri_(&n, nullptr, &n, ipiv.data(), &q, &lwork, &info);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    back.Copy(d.a);  // the in-place method's input copy, as on the quorel side
    c.Transp(back);
    dgetrf_(&n, &n, c.PValues1D(0), &n, ipiv.data(), &info);
    dgetri_(&n, c.PValues1D(0), &n, ipiv.data(), work.data(), &lwork, &info);
    back.Transp(c);  // back to rows, as the method does
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(Inv, eigen, {
  RowMtx c(n, n);
  for (auto _ : state) c = EigenOf(d.a).inverse();
});
#endif

// --- Determinant ---------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(Determinant, quorel, {
  bench::RunCounted(state, [&] { benchmark::DoNotOptimize(d.a.Determinant(mtGeneral)); });
});
QUOREL_DENSE_BENCH(Determinant, lapack, {
  TMtx c;
  std::vector<int> ipiv(n);
  int info;
  bench::RunCounted(state, [&] {
    c.Transp(d.a);
    dgetrf_(&n, &n, c.PValues1D(0), &n, ipiv.data(), &info);
    double det = 1;
    for (int i = 0; i < n; ++i) det *= (ipiv[i] != i + 1 ? -1 : 1) * c.Values(i, i);
    benchmark::DoNotOptimize(det);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(Determinant, eigen, {
  for (auto _ : state) benchmark::DoNotOptimize(EigenOf(d.a).partialPivLu().determinant());
});
#endif

// --- Eig ----------------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(EigSym, quorel, {
  TVec w;
  bench::RunCounted(state, [&] { d.spd.Eig(w, mtSymmetric); });
});
QUOREL_DENSE_BENCH(EigSym, lapack, {
  TMtx c;
  std::vector<double> w(n);
  int info, lwork = -1;
  double q;
  dsyev_("N", "L", &n, c.PValues1D(0), &n, w.data(), &q, &lwork, &info, 1, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Transp(d.spd);
    dsyev_("N", "L", &n, c.PValues1D(0), &n, w.data(), work.data(), &lwork, &info, 1, 1);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(EigSym, eigen, {
  Eigen::SelfAdjointEigenSolver<RowMtx> es;
  for (auto _ : state) es.compute(EigenOf(d.spd), Eigen::EigenvaluesOnly);
});
#endif
QUOREL_DENSE_BENCH(EigGeneral, quorel, {
  TVec w;
  bench::RunCounted(state, [&] { d.a.Eig(w, mtGeneral); });
});
QUOREL_DENSE_BENCH(EigGeneral, lapack, {
  TMtx c;
  std::vector<double> wr(n), wi(n);
  int info, lwork = -1, one = 1;
  double q, dummy;
  dgeev_("N", "N", &n, c.PValues1D(0), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, &q, &lwork, &info, 1, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Transp(d.a);
    dgeev_("N", "N", &n, c.PValues1D(0), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork,
           &info, 1, 1);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(EigGeneral, eigen, {
  Eigen::EigenSolver<RowMtx> es;
  for (auto _ : state) es.compute(EigenOf(d.a), false);
});
#endif

// Symmetric eigenvectors: the method's path is tridiagonal reduction and QR iteration, as dsyev 'V'.
QUOREL_DENSE_BENCH(EigSymVectors, quorel, {
  TVec w;
  TMtx v;
  bench::RunCounted(state, [&] { d.spd.Eig(nullptr, w, &v, mtSymmetric, vfEig); });
});
QUOREL_DENSE_BENCH(EigSymVectors, lapack, {
  TMtx c, v;
  std::vector<double> w(n);
  int info, lwork = -1;
  double q;
  dsyev_("V", "L", &n, c.PValues1D(0), &n, w.data(), &q, &lwork, &info, 1, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Transp(d.spd);
    dsyev_("V", "L", &n, c.PValues1D(0), &n, w.data(), work.data(), &lwork, &info, 1, 1);
    v.Transp(c);
  });
});

// --- Cholesky ---------------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(Cholesky, quorel, {
  TMtx c;
  bench::RunCounted(state, [&] {
    c.Copy(d.spd);
    c.Cholesky();
  });
});
QUOREL_DENSE_BENCH(Cholesky, lapack, {
  TMtx c, back;
  int info;
  bench::RunCounted(state, [&] {
    back.Copy(d.spd);
    c.Transp(back);
    dpotrf_("L", &n, c.PValues1D(0), &n, &info, 1);
    back.Transp(c);
  });
});

// --- SVD (values) ---------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(SVD, quorel, {
  TVec s;
  bench::RunCounted(state, [&] { d.a.SVD(s); });
});
QUOREL_DENSE_BENCH(SVD, lapack, {
  TMtx c;
  std::vector<double> s(n);
  int info, lwork = -1, one = 1;
  double q, dummy;
  dgesvd_("N", "N", &n, &n, c.PValues1D(0), &n, s.data(), &dummy, &one, &dummy, &one, &q, &lwork, &info, 1, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Copy(d.a);
    dgesvd_("N", "N", &n, &n, c.PValues1D(0), &n, s.data(), &dummy, &one, &dummy, &one, work.data(), &lwork, &info, 1,
            1);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(SVD, eigen, {
  Eigen::BDCSVD<RowMtx> svd;
  for (auto _ : state) svd.compute(EigenOf(d.a));
});
#endif

QUOREL_DENSE_BENCH(SVDFull, quorel, {
  TVec s;
  TMtx u, v;
  bench::RunCounted(state, [&] { d.a.SVD(&u, s, &v, true); });
});
QUOREL_DENSE_BENCH(SVDFull, lapack, {
  TMtx c, u(n, n, false), vt(n, n, false), ur, vr;
  std::vector<double> s(n);
  std::vector<int> iwork(8 * n);
  int info, lwork = -1;
  double q;
  dgesdd_("S", &n, &n, c.PValues1D(0), &n, s.data(), u.PValues1D(0), &n, vt.PValues1D(0), &n, &q, &lwork,
          iwork.data(), &info, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Transp(d.a);
    dgesdd_("S", &n, &n, c.PValues1D(0), &n, s.data(), u.PValues1D(0), &n, vt.PValues1D(0), &n, work.data(), &lwork,
            iwork.data(), &info, 1);
    ur.Transp(u);
    vr.Transp(vt);
  });
});

// --- LQRSolve ---------------------------------------------------------------------------------------------
QUOREL_DENSE_BENCH(LQRSolve, quorel, {
  TVec x;
  bench::RunCounted(state, [&] { d.a.LQRSolve(d.bv, x, nullptr, opNone); });
});
QUOREL_DENSE_BENCH(LQRSolve, lapack, {
  TMtx c;
  std::vector<double> x(n);
  int info, lwork = -1, one = 1;
  double q;
  dgels_("N", &n, &n, &one, c.PValues1D(0), &n, x.data(), &n, &q, &lwork, &info, 1);
  std::vector<double> work(static_cast<std::size_t>(q));
  lwork = static_cast<int>(q);
  bench::RunCounted(state, [&] {
    c.Transp(d.a);
    std::memcpy(x.data(), d.bv.PValues(0), sizeof(double) * n);
    dgels_("N", &n, &n, &one, c.PValues1D(0), &n, x.data(), &n, work.data(), &lwork, &info, 1);
  });
});
#ifdef QUOREL_HAVE_EIGEN
QUOREL_DENSE_BENCH(LQRSolve, eigen, {
  Eigen::VectorXd x;
  for (auto _ : state) benchmark::DoNotOptimize(x = EigenOf(d.a).householderQr().solve(EigenOf(d.bv)));
});
#endif

// --- ToeplitzSolve: O(n^2) recursion against a dense LU of the same matrix --------------------------------
void ToeplitzSolve_quorel(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  TVec row, col, b, x;
  row.Size(n, false);
  col.Size(n - 1, false);
  b.Size(n, false);
  for (int i = 0; i < n; ++i) *row.PValues(i) = *b.PValues(i) = 1.0 / (i + 1);
  for (int i = 0; i + 1 < n; ++i) *col.PValues(i) = 0.5 / (i + 2);
  *row.PValues(0) = 4;
  bench::RunCounted(state, [&] { ToeplitzSolve(row, col, b, x); });
}
BENCHMARK(ToeplitzSolve_quorel)->Name("ToeplitzSolve/quorel")->Arg(100)->Arg(500)->Arg(1000)->Arg(2000)->Unit(benchmark::kMicrosecond);
void ToeplitzSolve_lapack(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  TMtx t(n, n, false);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) t.Values(j, i) = j >= i ? (j == i ? 4 : 1.0 / (j - i + 1)) : 0.5 / (i - j + 1);
  TMtx c(n, n, false);
  std::vector<double> x(n);
  std::vector<int> ipiv(n);
  int one = 1, info;
  for (auto _ : state) {
    c.Copy(t);
    for (int i = 0; i < n; ++i) x[i] = 1.0 / (i + 1);
    dgesv_(&n, &one, c.PValues1D(0), &n, ipiv.data(), x.data(), &n, &info);
  }
}
BENCHMARK(ToeplitzSolve_lapack)->Name("ToeplitzSolve/lapack")->Arg(100)->Arg(500)->Arg(1000)->Arg(2000)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  std::printf("OpenBLAS threads: %d (set OPENBLAS_NUM_THREADS to change)\n", openblas_get_num_threads());
  return bench::RunWithRatios(argc, argv, {"lapack", "eigen"}, "allocs");
}
