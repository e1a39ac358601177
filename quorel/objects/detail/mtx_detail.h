#pragma once
// Helpers shared by the matrix sources: element (i, j), promotion to complex and scalar arithmetic
// for code written once over double and TCplx. Internal to the library.

#include <cstdint>
#include <optional>
#include <type_traits>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/detail/overlap.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel::detail {

/// Element (i, j) of a matrix as T.
template <class T>
T* At(const TMtx& m, std::int32_t i, std::int32_t j) {
  return Ptr<T>(m, std::int64_t{i} * m.LeadingCols() + j);
}
/// x itself when its kind is `complex`, else a complex copy of it in `work` (a TWorkVec, or a
/// TWorkMtx for matrices so the copy keeps the shape).
template <class W>
const TDenseQuorel& Promoted(const TDenseQuorel& x, bool complex, W& work) {
  if (x.Complex() == complex) return x;
  work->ExtendToComplex(x, true);
  return *work;
}

/// Self, or a copy of it in `keep` when `aliased`: methods that size or overwrite Self before they
/// have read every source read Self through this when it is among the sources.
template <class Self>
const Self& SelfOrCopy(const Self& self, bool aliased, std::optional<TWorkObject<Self>>& keep) {
  if (!aliased) return self;
  if (!keep) {
    keep.emplace();
    (*keep)->Assign(self);
  }
  return **keep;
}

/// The work object that holds a copy of a source of static type Src: a matrix keeps its shape and
/// settings, any other source is read as a run of elements.
template <class Src>
using WorkFor = TWorkObject<std::conditional_t<std::is_same_v<Src, TMtx>, TMtx, TVec>>;

/// `src`, or a copy of it in `keep` when its elements share memory with Self's (Self itself, or a
/// sub-range view over Self's storage): methods that size or overwrite Self before they have read
/// every source read each source through this, with one `keep` per source. Unaliased calls pay
/// one overlap test.
template <class Src>
const Src& SelfCopied(const TQuorel& self, const Src& src, std::optional<WorkFor<Src>>& keep) {
  if (!SharesStorage(self, src)) [[likely]]
    return src;
  keep.emplace();
  if constexpr (std::is_same_v<Src, TMtx>) {
    (*keep)->Assign(src);
  } else {
    (*keep)->Copy(src);
  }
  return **keep;
}

/// a * b for any mix of double and TCplx.
inline double Mul(double a, double b) { return a * b; }
inline TCplx Mul(const TCplx& a, const TCplx& b) { return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re}; }
inline TCplx Add(const TCplx& a, const TCplx& b) { return {a.Re + b.Re, a.Im + b.Im}; }
inline double Add(double a, double b) { return a + b; }
/// The value one of type T.
template <class T>
constexpr T One() {
  if constexpr (std::is_same_v<T, TCplx>) {
    return TCplx{1.0, 0.0};
  } else {
    return 1.0;
  }
}

}  // namespace quorel::detail
