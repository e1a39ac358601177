#pragma once
// Helpers shared by the matrix sources: element (i, j), promotion to complex and scalar arithmetic
// for code written once over double and TCplx. Internal to the library.

#include <cstdint>
#include <optional>
#include <type_traits>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
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

/// `src`, or a copy of Self in `keep` when `src` is Self; unaliased calls pay one compare.
template <class Self, class Src>
const Src& SelfCopied(const Self& self, const Src& src, std::optional<TWorkObject<Self>>& keep) {
  if (static_cast<const void*>(&self) != static_cast<const void*>(&src)) return src;
  return SelfOrCopy(self, true, keep);
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
