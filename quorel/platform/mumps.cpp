#include "quorel/platform/mumps.h"

#include <dmumps_c.h>
#include <zmumps_c.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include "quorel/platform/foreign_handle.h"

namespace quorel::detail {
namespace {

constexpr MUMPS_INT UseCommWorld = -987654;

// The sequential solver keeps process-wide module state (load balancing, out-of-core files), so two
// instances must never run a job at the same time, even on different matrices.
std::mutex& SolverLock() {
  static std::mutex lock;
  return lock;
}

// One entry point per arithmetic, chosen by the instance type.
void Call(DMUMPS_STRUC_C* id) {
  const std::scoped_lock hold(SolverLock());
  dmumps_c(id);
}
void Call(ZMUMPS_STRUC_C* id) {
  const std::scoped_lock hold(SolverLock());
  zmumps_c(id);
}

template <class Id>
void Terminate(Id* id) {
  id->job = -2;
  Call(id);
  delete id;
}
using RealHolder = ForeignHandle<DMUMPS_STRUC_C*, &Terminate<DMUMPS_STRUC_C>>;
using CplxHolder = ForeignHandle<ZMUMPS_STRUC_C*, &Terminate<ZMUMPS_STRUC_C>>;

template <class Id>
Id* Start(MUMPS_INT sym) {
  Id* id = new Id{};
  id->job = -1;
  id->par = 1;
  id->sym = sym;
  id->comm_fortran = UseCommWorld;
  Call(id);
  // No printed output: status words are read instead.
  id->icntl[0] = -1;
  id->icntl[1] = -1;
  id->icntl[2] = -1;
  id->icntl[3] = 0;
  return id;
}

MUMPS_INT SymOf(TMumpsSymmetry s) {
  switch (s) {
    case TMumpsSymmetry::PosDefinite: return 1;
    case TMumpsSymmetry::Symmetric: return 2;
    default: return 0;
  }
}

void CopyText(char* dst, std::size_t cap, const std::string& src) {
  const std::size_t len = std::min(cap - 1, src.size());
  std::memcpy(dst, src.data(), len);
  dst[len] = '\0';
}

}  // namespace
}  // namespace quorel::detail

namespace quorel::header_detail {
using namespace detail;  // the helpers above

struct TMumpsSolver::Impl {
  RealHolder real;
  CplxHolder cplx;
  bool complex = false;
  MUMPS_INT sym = -1;
  std::int32_t n = 0;
  std::vector<MUMPS_INT> irn, jcn;
  std::vector<double> values;  // coordinate values (interleaved when complex)
  // Entries above the diagonal that stand for their mirror, and the scratch that finds them.
  std::vector<char> lone;
  std::vector<std::int32_t> bucketPtr, mark;
  std::vector<std::pair<std::int32_t, std::int32_t>> bucket;  // (position, column)

  // Coordinates from compressed columns: a symmetric type keeps the lower triangle, a Hermitian
  // one adds the conjugate of each strictly lower entry above the diagonal. An entry above the
  // diagonal whose mirror is not stored is taken as that mirror.
  void Gather(TMumpsSymmetry s, const std::int32_t* ap, const std::int32_t* ai, const double* ax) {
    const std::size_t w = complex ? 2 : 1;
    const bool lower = s != TMumpsSymmetry::Unsymmetric;
    const bool mirror = s == TMumpsSymmetry::HermitianLower;
    const bool upper = lower && MarkLoneUpper(ap, ai);
    irn.clear();
    jcn.clear();
    values.clear();
    auto emit = [&](std::int32_t i, std::int32_t j, double re, double im) {
      irn.push_back(i + 1);
      jcn.push_back(j + 1);
      values.push_back(re);
      if (complex) values.push_back(im);
      if (mirror && i != j) {
        irn.push_back(j + 1);
        jcn.push_back(i + 1);
        values.push_back(re);
        values.push_back(-im);
      }
    };
    for (std::int32_t j = 0; j < n; ++j)
      for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) {
        const std::int32_t i = ai[k];
        const double re = ax[w * k], im = complex ? ax[w * k + 1] : 0.0;
        if (!lower || i >= j)
          emit(i, j, re, im);
        else if (upper && lone[k])
          emit(j, i, re, mirror ? -im : im);  // read as its mirror, the lower entry it stands for
      }
  }

  // Marks the entries above the diagonal whose mirror is not stored; false when there are none,
  // so that a matrix stored as its lower triangle pays only for one look at its rows.
  bool MarkLoneUpper(const std::int32_t* ap, const std::int32_t* ai) {
    bool any = false;
    for (std::int32_t j = 0; j < n && !any; ++j)
      for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) any |= ai[k] < j;
    if (!any) return false;
    // The upper entries (i, j) bucketed by i, the column their mirror (j, i) would be stored in.
    bucketPtr.assign(static_cast<std::size_t>(n) + 1, 0);
    for (std::int32_t j = 0; j < n; ++j)
      for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k)
        if (ai[k] < j) ++bucketPtr[ai[k] + 1];
    for (std::int32_t i = 0; i < n; ++i) bucketPtr[i + 1] += bucketPtr[i];
    bucket.resize(static_cast<std::size_t>(bucketPtr[n]));
    mark.assign(static_cast<std::size_t>(n), -1);
    std::copy(bucketPtr.begin(), bucketPtr.end() - 1, mark.begin());
    for (std::int32_t j = 0; j < n; ++j)
      for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k)
        if (ai[k] < j) bucket[mark[ai[k]]++] = {k, j};
    lone.assign(static_cast<std::size_t>(ap[n]), 0);
    // Column c's rows marked, each upper entry (c, j) finds whether (j, c) is among them.
    std::fill(mark.begin(), mark.end(), -1);
    for (std::int32_t c = 0; c < n; ++c) {
      for (std::int32_t k = ap[c]; k < ap[c + 1]; ++k) mark[ai[k]] = c;
      for (std::int32_t b = bucketPtr[c]; b < bucketPtr[c + 1]; ++b) {
        const auto [k, j] = bucket[b];
        lone[k] = mark[j] != c;
      }
    }
    return true;
  }
};

TMumpsSolver::TMumpsSolver() : impl_(std::make_unique<Impl>()) {}
TMumpsSolver::~TMumpsSolver() = default;

int TMumpsSolver::Free() {
  impl_->real.Reset();
  impl_->cplx.Reset();
  impl_->sym = -1;
  factored_ = false;
  analysed_ = false;
  return 0;
}

namespace {

template <class Id>
int RunFactorise(Id* id, const TMumpsOptions& o, std::int32_t n, std::vector<MUMPS_INT>& irn,
                 std::vector<MUMPS_INT>& jcn, double* values, TMumpsStats& stats, std::int32_t& detail,
                 bool keepAnalysis) {
  id->n = n;
  id->nnz = static_cast<MUMPS_INT8>(irn.size());
  id->nz = static_cast<MUMPS_INT>(irn.size());
  id->irn = irn.data();
  id->jcn = jcn.data();
  id->a = reinterpret_cast<decltype(id->a)>(values);
  id->icntl[6] = o.ordering == TMumpsOrdering::Amd ? 0 : o.ordering == TMumpsOrdering::Metis ? 5 : 7;
  id->icntl[9] = o.refinementSteps;
  id->icntl[13] = 40;  // working-space relaxation (percent)
  id->icntl[21] = o.outOfCore ? 1 : 0;
  if (o.outOfCore) {
    static_assert(sizeof id->ooc_tmpdir == MumpsOocDirCapacity + 1);
    static_assert(sizeof id->ooc_prefix == MumpsOocPrefixCapacity + 1);
    CopyText(id->ooc_tmpdir, sizeof id->ooc_tmpdir, o.oocDir);
    CopyText(id->ooc_prefix, sizeof id->ooc_prefix, o.oocPrefix);
  }
  id->job = keepAnalysis ? 2 : 4;  // factorisation alone, or analysis + factorisation
  Call(id);
  // A metis-less build refuses ordering 5: fall back to the automatic choice.
  if (!keepAnalysis && id->infog[0] < 0 && o.ordering == TMumpsOrdering::Metis && id->icntl[6] == 5 &&
      id->infog[0] != -10) {
    id->icntl[6] = 7;
    Call(id);
  }
  // Delayed pivots can outgrow the estimated workspace: factorise again with more room.
  for (int retry = 0; retry < 4 && (id->infog[0] == -8 || id->infog[0] == -9); ++retry) {
    id->icntl[13] *= 2;
    id->job = 2;
    Call(id);
  }
  detail = id->infog[1];
  stats = {};
  stats.perturbedPivots = id->infog[24];
  stats.negativePivots = id->sym != 0 ? id->infog[11] : 0;
  stats.analysisMemoryKB = static_cast<std::int64_t>(id->infog[15]) * 1024;
  stats.factorMemoryKB = static_cast<std::int64_t>(id->infog[16]) * 1024;
  stats.solverMemoryKB = static_cast<std::int64_t>(id->infog[21]) * 1024;
  stats.factorEntries = id->infog[28] >= 0 ? id->infog[28] : -static_cast<std::int64_t>(id->infog[28]) * 1000000;
  stats.mflops = id->rinfog[2] / 1e6;
  return id->infog[0];
}

template <class Id>
int RunSolve(Id* id, std::int32_t n, std::int32_t nrhs, double* x, TMumpsStats& stats, std::int32_t& detail) {
  id->rhs = reinterpret_cast<decltype(id->rhs)>(x);
  id->nrhs = nrhs;
  id->lrhs = n;
  id->job = 3;
  Call(id);
  detail = id->infog[1];
  stats.refinementSteps = id->infog[14];
  // Warnings add up; +8 is the refinement stopped by its step limit.
  stats.refinementIncomplete = id->infog[0] > 0 && (id->infog[0] & 8) != 0;
  return id->infog[0];
}

}  // namespace

int TMumpsSolver::Factorise(const TMumpsOptions& options, bool complex, std::int32_t n, const std::int32_t* ap,
                            const std::int32_t* ai, const double* ax) {
  factored_ = false;
  if (n < 1 || !ap || !ai || !ax) return -16;
  const MUMPS_INT sym = SymOf(options.symmetry);
  if (complex && sym == 1) return -3;  // the complex arithmetic has no definite mode
  // The symmetry is fixed when an instance starts: a new kind needs a new instance.
  if (sym != impl_->sym || complex != impl_->complex) {
    Free();
    impl_->complex = complex;
    impl_->sym = sym;
    if (complex)
      impl_->cplx.Reset(Start<ZMUMPS_STRUC_C>(sym));
    else
      impl_->real.Reset(Start<DMUMPS_STRUC_C>(sym));
  }
  impl_->n = n;
  impl_->Gather(options.symmetry, ap, ai, ax);
  const int status = complex ? RunFactorise(impl_->cplx.Get(), options, n, impl_->irn, impl_->jcn,
                                            impl_->values.data(), stats_, detail_, false)
                             : RunFactorise(impl_->real.Get(), options, n, impl_->irn, impl_->jcn,
                                            impl_->values.data(), stats_, detail_, false);
  factored_ = status >= 0;
  analysed_ = factored_;
  return status;
}

int TMumpsSolver::Refactorise(const TMumpsOptions& options, const std::int32_t* ap, const std::int32_t* ai,
                              const double* ax) {
  if (!analysed_ || SymOf(options.symmetry) != impl_->sym) return -3;
  factored_ = false;
  const std::size_t entries = impl_->irn.size();
  impl_->Gather(options.symmetry, ap, ai, ax);
  if (impl_->irn.size() != entries) {
    analysed_ = false;
    return -3;
  }
  const int status = impl_->complex ? RunFactorise(impl_->cplx.Get(), options, impl_->n, impl_->irn, impl_->jcn,
                                                   impl_->values.data(), stats_, detail_, true)
                                    : RunFactorise(impl_->real.Get(), options, impl_->n, impl_->irn, impl_->jcn,
                                                   impl_->values.data(), stats_, detail_, true);
  factored_ = status >= 0;
  return status;
}

int TMumpsSolver::Solve(std::int32_t nrhs, const double* b, double* x) {
  if (!factored_) return -3;
  const std::size_t count = static_cast<std::size_t>(impl_->n) * nrhs * (impl_->complex ? 2 : 1);
  if (x != b) std::memmove(x, b, count * sizeof(double));
  return impl_->complex ? RunSolve(impl_->cplx.Get(), impl_->n, nrhs, x, stats_, detail_)
                        : RunSolve(impl_->real.Get(), impl_->n, nrhs, x, stats_, detail_);
}
}  // namespace quorel::header_detail

namespace quorel::detail {

int MumpsToPardisoCode(int status) {
  if (status >= 0) return 0;
  switch (status) {
    case -5:
    case -7:
    case -8:
    case -9:
    case -13:
    case -19: return -2;  // memory
    case -6:
    case -10: return -4;  // (numerically) singular
    case -1:
    case -2:
    case -3:
    case -4:
    case -16: return -1;  // input
    default: return -5;
  }
}

int MumpsRawSolveReal(int sym, int ordering, std::int32_t n, const std::int32_t* ap, const std::int32_t* ai,
                      const double* ax, const double* b, double* x) {
  std::vector<MUMPS_INT> irn, jcn;
  std::vector<double> a;
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) {
      if (sym != 0 && ai[k] < j) continue;
      irn.push_back(ai[k] + 1);
      jcn.push_back(j + 1);
      a.push_back(ax[k]);
    }
  std::memcpy(x, b, sizeof(double) * n);
  DMUMPS_STRUC_C id{};
  id.job = -1;
  id.par = 1;
  id.sym = sym;
  id.comm_fortran = UseCommWorld;
  Call(&id);
  id.icntl[0] = id.icntl[1] = id.icntl[2] = -1;
  id.icntl[3] = 0;
  id.icntl[6] = ordering;
  id.icntl[13] = 40;
  id.n = n;
  id.nnz = static_cast<MUMPS_INT8>(irn.size());
  id.irn = irn.data();
  id.jcn = jcn.data();
  id.a = a.data();
  id.rhs = x;
  id.nrhs = 1;
  id.lrhs = n;
  id.job = 6;  // analysis + factorisation + solve
  Call(&id);
  for (int retry = 0; retry < 4 && (id.infog[0] == -8 || id.infog[0] == -9); ++retry) {
    id.icntl[13] *= 2;
    std::memcpy(x, b, sizeof(double) * n);
    Call(&id);
  }
  const int status = id.infog[0];
  id.job = -2;
  Call(&id);
  return status;
}

}  // namespace quorel::detail
