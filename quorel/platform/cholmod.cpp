#include "quorel/platform/cholmod.h"

#include <suitesparse/cholmod.h>

#include <algorithm>
#include <cstring>

#include "quorel/platform/column_order.h"
#include "quorel/platform/foreign_handle.h"

namespace quorel::detail {
namespace {

void FinishCommon(cholmod_common* cm) {
  cholmod_finish(cm);
  delete cm;
}
using CommonHolder = ForeignHandle<cholmod_common*, &FinishCommon>;

// A factor or dense block is freed through the common it was made with; the pair is the handle.
struct FactorRef {
  cholmod_factor* L = nullptr;
  cholmod_common* cm = nullptr;
  bool operator==(const FactorRef&) const = default;
};
void FreeFactor(FactorRef f) { cholmod_free_factor(&f.L, f.cm); }
using FactorHolder = ForeignHandle<FactorRef, &FreeFactor>;

struct DenseRef {
  cholmod_dense* d = nullptr;
  cholmod_common* cm = nullptr;
  bool operator==(const DenseRef&) const = default;
};
void FreeDense(DenseRef d) { cholmod_free_dense(&d.d, d.cm); }
using DenseHolder = ForeignHandle<DenseRef, &FreeDense>;

CommonHolder StartCommon() {
  CommonHolder h(new cholmod_common);
  cholmod_start(h.Get());
  h.Get()->print = 0;  // failures come back as status codes, not printed text
  h.Get()->error_handler = nullptr;
  return h;
}

int CodeOf(int status) {
  switch (status) {
    case CHOLMOD_OK: return chOk;
    case CHOLMOD_NOT_POSDEF: return chNotPosDef;
    case CHOLMOD_OUT_OF_MEMORY:
    case CHOLMOD_TOO_LARGE: return chNoMemory;
    case CHOLMOD_INVALID: return chInvalid;
    default: return status > 0 ? chOk : chUnknown;  // other positive values are warnings
  }
}

// A view of the caller's arrays as a lower-stored symmetric matrix: nothing is copied.
cholmod_sparse View(bool complex, std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax) {
  cholmod_sparse a{};
  a.nrow = a.ncol = static_cast<size_t>(n);
  a.nzmax = static_cast<size_t>(ap[n]);
  a.p = const_cast<std::int32_t*>(ap);
  a.i = const_cast<std::int32_t*>(ai);
  a.x = const_cast<double*>(ax);
  a.stype = -1;
  a.itype = CHOLMOD_INT;
  a.xtype = complex ? CHOLMOD_COMPLEX : CHOLMOD_REAL;
  a.dtype = CHOLMOD_DOUBLE;
  a.sorted = ColumnsAscending(n, ap, ai);  // the library sorts a copy itself otherwise
  a.packed = 1;
  return a;
}

}  // namespace
}  // namespace quorel::detail

namespace quorel::header_detail {
using namespace detail;  // the helpers above

struct TCholmodFactor::Impl {
  CommonHolder common = StartCommon();
  FactorHolder factor;
  DenseHolder x, y, e;
  bool complex = false;
  std::int32_t n = 0;
};

TCholmodFactor::TCholmodFactor() : impl_(std::make_unique<Impl>()) {}
TCholmodFactor::~TCholmodFactor() {
  Free();
}

void TCholmodFactor::Free() {
  // Everything made with the common goes before it.
  impl_->x.Reset();
  impl_->y.Reset();
  impl_->e.Reset();
  impl_->factor.Reset();
  failedColumn_ = -1;
}

bool TCholmodFactor::HasFactor() const { return bool(impl_->factor); }

int TCholmodFactor::Factorise(bool complex, std::int32_t n, const std::int32_t* ap, const std::int32_t* ai,
                              const double* ax, TCholmodKind kind, TCholmodOrdering ordering) {
  Free();
  if (n < 0 || !ap || (ap[n] > 0 && (!ai || !ax))) return chInvalid;
  cholmod_common* cm = impl_->common.Get();
  cm->supernodal = kind == TCholmodKind::Supernodal   ? CHOLMOD_SUPERNODAL
                   : kind == TCholmodKind::Auto       ? CHOLMOD_AUTO
                                                      : CHOLMOD_SIMPLICIAL;
  cm->final_ll = kind != TCholmodKind::LDL;
  cm->nmethods = 1;
  cm->method[0].ordering = ordering == TCholmodOrdering::Metis    ? CHOLMOD_METIS
                           : ordering == TCholmodOrdering::Colamd ? CHOLMOD_COLAMD
                           : ordering == TCholmodOrdering::Natural ? CHOLMOD_NATURAL
                                                                   : CHOLMOD_AMD;
  cm->postorder = ordering != TCholmodOrdering::Natural;
  impl_->complex = complex;
  impl_->n = n;
  cholmod_sparse a = View(complex, n, ap, ai, ax);
  cholmod_factor* L = cholmod_analyze(&a, cm);
  if (!L && ordering == TCholmodOrdering::Metis) {
    // A build without the graph partitioner: minimum degree instead.
    cm->method[0].ordering = CHOLMOD_AMD;
    L = cholmod_analyze(&a, cm);
  }
  if (!L) return CodeOf(cm->status) == chOk ? chUnknown : CodeOf(cm->status);
  impl_->factor.Reset(FactorRef{L, cm});
  return Refactorise(ap, ai, ax);
}

int TCholmodFactor::Refactorise(const std::int32_t* ap, const std::int32_t* ai, const double* ax) {
  if (!impl_->factor) return chInvalid;
  cholmod_common* cm = impl_->common.Get();
  cholmod_sparse a = View(impl_->complex, impl_->n, ap, ai, ax);
  cholmod_factor* L = impl_->factor.Get().L;
  failedColumn_ = -1;
  cholmod_factorize(&a, L, cm);
  const int code = CodeOf(cm->status);
  if (cm->status == CHOLMOD_NOT_POSDEF) failedColumn_ = static_cast<std::int32_t>(L->minor);
  return code;
}

int TCholmodFactor::Solve(std::int32_t nrhs, const double* b, double* x) {
  if (!impl_->factor || failedColumn_ >= 0) return chInvalid;
  cholmod_common* cm = impl_->common.Get();
  const std::int32_t n = impl_->n;
  const std::size_t width = impl_->complex ? 2 : 1;
  cholmod_dense bd{};
  bd.nrow = static_cast<size_t>(n);
  bd.ncol = static_cast<size_t>(nrhs);
  bd.nzmax = bd.nrow * bd.ncol;
  bd.d = bd.nrow;
  bd.x = const_cast<double*>(b);
  bd.xtype = impl_->complex ? CHOLMOD_COMPLEX : CHOLMOD_REAL;
  bd.dtype = CHOLMOD_DOUBLE;
  // The solve reuses X, Y and E between calls; they stay owned by the holders.
  cholmod_dense* X = impl_->x.Take().d;
  cholmod_dense* Y = impl_->y.Take().d;
  cholmod_dense* E = impl_->e.Take().d;
  // The simplicial solve reshapes Y (rows by n) to its last block of right-hand sides, and the
  // library reallocates a workspace whose shape is not the one it asks for: Y gets back the
  // shape it was allocated with.
  if (Y && n > 0 && Y->ncol == static_cast<size_t>(n) && Y->nzmax % Y->ncol == 0)
    Y->nrow = Y->d = Y->nzmax / Y->ncol;
  const int ok = cholmod_solve2(CHOLMOD_A, impl_->factor.Get().L, &bd, nullptr, &X, nullptr, &Y, &E, cm);
  auto keep = [cm](DenseHolder& h, cholmod_dense* d) {
    if (d) h.Reset(DenseRef{d, cm});
  };
  keep(impl_->x, X);
  keep(impl_->y, Y);
  keep(impl_->e, E);
  if (!ok || !X) return CodeOf(cm->status) == chOk ? chUnknown : CodeOf(cm->status);
  std::memcpy(x, X->x, sizeof(double) * width * bd.nzmax);
  return chOk;
}

double TCholmodFactor::FactorEntries() const { return impl_->common.Get()->lnz; }
double TCholmodFactor::Flops() const { return impl_->common.Get()->fl; }
}  // namespace quorel::header_detail

namespace quorel::detail {

int CholmodRawSolveReal(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax,
                        const double* b, double* x) {
  cholmod_common c;
  cholmod_start(&c);
  c.print = 0;
  c.nmethods = 1;  // the wrapper's defaults for tpAMD + tfCholesky
  c.method[0].ordering = CHOLMOD_AMD;
  c.final_ll = 1;
  cholmod_sparse a = View(false, n, ap, ai, ax);
  cholmod_factor* L = cholmod_analyze(&a, &c);
  int status = c.status;
  if (L) {
    cholmod_factorize(&a, L, &c);
    status = c.status;
    cholmod_dense* B = cholmod_allocate_dense(n, 1, n, CHOLMOD_REAL, &c);
    std::memcpy(B->x, b, sizeof(double) * n);
    cholmod_dense* X = status == CHOLMOD_OK ? cholmod_solve(CHOLMOD_A, L, B, &c) : nullptr;
    if (X) std::memcpy(x, X->x, sizeof(double) * n);
    cholmod_free_dense(&X, &c);
    cholmod_free_dense(&B, &c);
    cholmod_free_factor(&L, &c);
  }
  cholmod_finish(&c);
  return CodeOf(status);
}

}  // namespace quorel::detail
