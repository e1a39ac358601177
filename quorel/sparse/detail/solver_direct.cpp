#include "quorel/sparse/detail/solver_direct.h"

#include <cmath>
#include <cstdio>
#include <complex>
#include <filesystem>
#include <span>
#include <system_error>

#include "quorel/core/errors.h"
#include "quorel/platform/cholmod.h"
#include "quorel/platform/mumps.h"
#include "quorel/sparse/detail/solver_iterative.h"

namespace quorel::detail {
namespace {

constexpr std::int32_t TaucsLower = 1, TaucsTriangular = 4, TaucsSymmetric = 8, TaucsHermitian = 16;

TCholmodOrdering CholmodOrdering(TTaucsReordering r) {
  switch (r) {
    case tpMETIS: return TCholmodOrdering::Metis;
    case tpCOLAMD: return TCholmodOrdering::Colamd;
    case tpIdentity:
    case tpRANDOM:
    case tpTREE: return TCholmodOrdering::Natural;
    default: return TCholmodOrdering::Amd;  // the minimum-degree family
  }
}

TCholmodKind CholmodKind(TTaucsFactorization f) {
  switch (f) {
    case tfLDL: return TCholmodKind::LDL;
    case tfMultiFrontal: return TCholmodKind::Supernodal;
    case tfLeftLooking: return TCholmodKind::Simplicial;
    default: return TCholmodKind::Auto;
  }
}

// Values of one matrix entry or vector element, written once for real and complex.
template <class T>
const T* As(const double* p) {
  return reinterpret_cast<const T*>(p);
}
template <class T>
T* As(double* p) {
  return reinterpret_cast<T*>(p);
}
template <class T>
T Conj(T v) {
  if constexpr (std::is_same_v<T, double>)
    return v;
  else
    return std::conj(v);
}

// r = b - A x for A Hermitian (symmetric when real) from its lower triangle.
template <class T>
void ResidualLower(const TRawSparse& a, const T* b, const T* x, T* r) {
  const auto* v = As<T>(a.ax);
  for (std::int32_t i = 0; i < a.n; ++i) r[i] = b[i];
  for (std::int32_t j = 0; j < a.n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k) {
      const std::int32_t i = a.ai[k];
      r[i] -= v[k] * x[j];
      if (i != j) r[j] -= Conj(v[k]) * x[i];
    }
}

template <class T>
double Norm2(const T* v, std::int32_t n) {
  double s = 0;
  for (std::int32_t i = 0; i < n; ++i) s += std::norm(v[i]);
  return std::sqrt(s);
}

// Refinement with the factor as the preconditioner: x += A^-1 (b - A x) until the relative
// residual is below the tolerance or the step limit is reached.
template <class T>
int Refine(TCholmodFactor& f, const TRawSparse& a, const T* b, T* x, std::int32_t maxIters, double tol) {
  std::vector<T> r(a.n), d(a.n);
  const double bn = Norm2(b, a.n);
  for (std::int32_t it = 0; it < maxIters; ++it) {
    ResidualLower(a, b, x, r.data());
    if (Norm2(r.data(), a.n) <= tol * bn) break;
    const int code = f.Solve(1, reinterpret_cast<const double*>(r.data()), reinterpret_cast<double*>(d.data()));
    if (code != 0) return code;
    for (std::int32_t i = 0; i < a.n; ++i) x[i] += d[i];
  }
  return 0;
}

// Forward substitution with a lower-triangular matrix in compressed columns.
template <class T>
int LowerSolve(const TRawSparse& a, std::int32_t nrhs, const T* b, T* x) {
  const auto* v = As<T>(a.ax);
  std::vector<T> diag(a.n, T(0));
  for (std::int32_t j = 0; j < a.n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k)
      if (a.ai[k] == j) diag[j] += v[k];
  for (std::int32_t j = 0; j < a.n; ++j)
    if (diag[j] == T(0)) return -3;
  for (std::int32_t c = 0; c < nrhs; ++c) {
    T* xc = x + static_cast<std::size_t>(c) * a.n;
    const T* bc = b + static_cast<std::size_t>(c) * a.n;
    for (std::int32_t i = 0; i < a.n; ++i) xc[i] = bc[i];
    for (std::int32_t j = 0; j < a.n; ++j) {
      xc[j] /= diag[j];
      for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k)
        if (a.ai[k] != j) xc[a.ai[k]] -= v[k] * xc[j];
    }
  }
  return 0;
}

int TaucsOutOfCore(TTaucsSettings& s, const TRawSparse& a, std::int32_t nrhs, const double* b, double* x) {
  TMumpsOptions o;
  o.symmetry = a.complex ? TMumpsSymmetry::HermitianLower : TMumpsSymmetry::PosDefinite;
  o.ordering = s.Reordering == tpMETIS ? TMumpsOrdering::Metis : TMumpsOrdering::Amd;
  o.outOfCore = true;
  // The setting is the factor file's full name: its folder takes the files, its name prefixes them.
  const std::filesystem::path name(s.OutOfCoreFileName);
  if (name.has_parent_path()) {
    o.oocDir = name.parent_path().string();
  } else {
    std::error_code ec;
    o.oocDir = std::filesystem::temp_directory_path(ec).string();
    if (ec || o.oocDir.empty()) o.oocDir = "/tmp";
  }
  o.oocPrefix = name.filename().string();
  if (o.oocPrefix.empty()) o.oocPrefix = "TaucsFactor.file";
  // The library would silently cut longer names and write somewhere else.
  if (o.oocDir.size() > MumpsOocDirCapacity || o.oocPrefix.size() > MumpsOocPrefixCapacity) return -3;
  // A folder that cannot take the factor is an invalid setting; checked here because the
  // library's own failure path for it does not release its file records.
  {
    const std::filesystem::path probe = std::filesystem::path(o.oocDir) / (o.oocPrefix + ".probe");
    std::FILE* f = std::fopen(probe.c_str(), "wb");
    if (!f) return -3;
    std::fclose(f);
    std::remove(probe.c_str());
  }
  // The instance (and with it the factor files) is terminated before returning.
  TMumpsSolver solver;
  int status = solver.Factorise(o, a.complex, a.n, a.ap, a.ai, a.ax);
  if (status >= 0 && solver.Stats().negativePivots > 0) return -4;
  if (status >= 0) status = solver.Solve(nrhs, b, x);
  if (status >= 0) return 0;
  switch (MumpsToPardisoCode(status)) {
    case -2: return -2;
    case -4: return -4;
    case -1: return -3;
    default: return -1;
  }
}

}  // namespace

int TaucsSolveRaw(TTaucsSettings& s, const TRawSparse& a, std::int32_t flags, std::int32_t nrhs, const double* b,
                  double* x, std::int32_t maxIters, double tolerance, TFactorReuse reuse) {
  s.BuildOptions(maxIters, tolerance);
  const bool symmetric = (flags & (TaucsSymmetric | TaucsHermitian)) != 0;
  const bool triangular = (flags & TaucsTriangular) != 0;
  if ((symmetric || triangular) && !IsLowerTriangleOnly(a.n, a.ap, a.ai))
    ERaise("Symmetric matrix must contain only lower triangle!");
  if (a.n < 1 || nrhs < 0 || s.UsesLU() || !(symmetric || (triangular && (flags & TaucsLower))))
    return s.CheckError(-3);
  if (nrhs == 0) return s.CheckError(0);
  if (triangular)
    return s.CheckError(a.complex ? LowerSolve(a, nrhs, As<std::complex<double>>(b), As<std::complex<double>>(x))
                                  : LowerSolve(a, nrhs, b, x));
  if (s.OutOfCore) {
    s.FreeTaucs();
    return s.CheckError(TaucsOutOfCore(s, a, nrhs, b, x));
  }
  TCholmodFactor& f = s.Factorization();
  int code = 0;
  if (reuse == TFactorReuse::Factors && f.HasFactor() && f.FailedColumn() < 0) {
    // The held factor is this matrix's.
  } else if (reuse != TFactorReuse::None && f.HasFactor()) {
    code = f.Refactorise(a.ap, a.ai, a.ax);
  } else {
    code = f.Factorise(a.complex, a.n, a.ap, a.ai, a.ax, CholmodKind(s.Factor), CholmodOrdering(s.Reordering));
  }
  if (code == 0) code = f.Solve(nrhs, b, x);
  if (code == 0 && s.IterativeStep != tiNone) {
    const std::size_t w = a.complex ? 2 : 1;
    for (std::int32_t c = 0; c < nrhs && code == 0; ++c) {
      const std::size_t off = w * static_cast<std::size_t>(c) * a.n;
      code = a.complex ? Refine(f, a, As<std::complex<double>>(b + off), As<std::complex<double>>(x + off),
                                maxIters, tolerance)
                       : Refine(f, a, b + off, x + off, maxIters, tolerance);
    }
  }
  return s.CheckError(code);
}

int PardisoSolveRaw(TPardisoSettings& s, const TRawSparse& a, std::int32_t mtype, std::int32_t nrhs,
                    const double* b, double* x, std::vector<std::string>* report, TFactorReuse reuse) {
  TMumpsOptions o;
  switch (mtype) {
    case 2: o.symmetry = TMumpsSymmetry::PosDefinite; break;
    case -2:
    case 6: o.symmetry = TMumpsSymmetry::Symmetric; break;
    case 4:
    case -4: o.symmetry = TMumpsSymmetry::HermitianLower; break;
    case 11:
    case 13: o.symmetry = TMumpsSymmetry::Unsymmetric; break;
    default: return s.CheckError(-1);
  }
  const bool complexType = mtype == 6 || mtype == 4 || mtype == -4 || mtype == 13;
  if (complexType != a.complex || a.n < 1 || nrhs < 0) return s.CheckError(-1);
  o.ordering = s.Reordering == prMETIS ? TMumpsOrdering::Metis : TMumpsOrdering::Amd;
  // A user-set iparm(8) is the refinement step count, as with the original parameter array.
  o.refinementSteps = s.IterativeStep == piNone ? 0 : (s.Iparm[7] > 0 ? static_cast<std::int32_t>(s.Iparm[7]) : 2);
  TMumpsSolver& solver = s.Solver();
  int status = 0;
  if (reuse == TFactorReuse::Factors && solver.HasFactors()) {
    // The held factors are this matrix's.
  } else if (reuse != TFactorReuse::None && solver.HasAnalysis()) {
    status = solver.Refactorise(o, a.ap, a.ai, a.ax);
  } else {
    status = solver.Factorise(o, a.complex, a.n, a.ap, a.ai, a.ax);
  }
  // The definite type factorises without pivoting; a negative pivot means it was not definite.
  const bool indefinite = status >= 0 && mtype == 2 && solver.Stats().negativePivots > 0;
  if (indefinite) status = -10;
  if (status >= 0 && nrhs > 0) status = solver.Solve(nrhs, b, x);
  const TMumpsStats& st = solver.Stats();
  s.Iparm[6] = st.refinementSteps;
  // The library's refinement has a step limit only: its one failure is "criterion not reached".
  s.Iparm[19] = o.refinementSteps > 0 && status >= 0 && st.refinementIncomplete ? -3 : 0;
  s.Iparm[13] = st.perturbedPivots;
  s.Iparm[14] = st.analysisMemoryKB;
  s.Iparm[15] = st.factorMemoryKB;
  s.Iparm[16] = st.solverMemoryKB;
  s.Iparm[17] = st.factorEntries;
  s.Iparm[18] = static_cast<std::int64_t>(std::llround(st.mflops));
  const int code = s.CheckError(MumpsToPardisoCode(status));
  if (report) *report = s.ReportLines();
  return code;
}

}  // namespace quorel::detail
