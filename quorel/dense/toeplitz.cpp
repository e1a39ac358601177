// Toeplitz systems on the Levinson-Trench solver.
#include "quorel/dense/toeplitz.h"

#include <string>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/platform/toeplitz/levinson_trench.h"

namespace quorel {

using namespace detail;

namespace {
void RequireBase(bool ok, const char* msg) {
  if (!ok) throw Exception(msg);
}
void RaiseSingular(const char* method, std::int32_t k) {
  ERaise(std::string(method) + ": singular leading minor of order " + std::to_string(k));
}
}  // namespace

void ToeplitzSolve(const TVec& firstRow, const TVec& firstCol, const TVec& b, TVec& x) {
  // The length checks guard the storage, so they run whatever ConditionCheck says.
  RequireBase(firstCol.Length() + 1 == b.Length(), "(FirstCol.Length+1) <> B.Length");
  RequireBase(firstRow.Length() == firstCol.Length() + 1, "FirstRow.Length <> (FirstCol.Length+1)");
  RequireBase(firstRow.Complex() == firstCol.Complex() && firstRow.Complex() == b.Complex(),
              "(FirstRow.Complex <> FirstCol.Complex) or (FirstRow.Complex <> B.Complex)");
  const std::int32_t n = b.Length();
  TWorkVec xt;
  xt->Size(n, b.Complex());
  OnKind(b.Complex(), [&](auto t) {
    using T = decltype(t);
    if (std::int32_t k = LevinsonTrenchSolve(Ptr<T>(firstRow), Ptr<T>(firstCol), Ptr<T>(b), Ptr<T>(*xt), n))
      RaiseSingular("ToeplitzSolve", k);
  });
  x.Copy(*xt);
}

void Levinson(const TVec& r, TVec& a) {
  Require(r.Length() >= 1, "Levinson: R.Length < 1");
  if (r.Complex() && r.PCValues(0)->Im != 0) ERaise("Levinson: R[0] must be real");
  const std::int32_t p = r.Length() - 1;
  TWorkVec row, rhs, sol;
  row->Size(p, r.Complex());
  rhs->Size(p, r.Complex());
  sol->Size(p, r.Complex());
  OnKind(r.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* pr = Ptr<T>(r);
    T *w = Ptr<T>(*row), *y = Ptr<T>(*rhs);
    for (std::int32_t i = 0; i < p; ++i) {
      w[i] = pr[i];
      y[i] = pr[i + 1];
      if constexpr (std::is_same_v<T, TCplx>) {
        w[i].Im = -w[i].Im;  // the row above the diagonal holds the conjugates
        y[i] = {-y[i].Re, -y[i].Im};
      } else {
        y[i] = -y[i];
      }
    }
    // The first column below the diagonal is R(1 .. p-1) itself.
    if (std::int32_t k = LevinsonTrenchSolve(w, pr + 1, y, Ptr<T>(*sol), p)) RaiseSingular("Levinson", k);
    a.Size(p + 1, r.Complex());
    T* pa = Ptr<T>(a);
    if constexpr (std::is_same_v<T, TCplx>) pa[0] = {1, 0}; else pa[0] = 1;
    for (std::int32_t i = 0; i < p; ++i) pa[i + 1] = Ptr<T>(*sol)[i];
  });
}

}  // namespace quorel
