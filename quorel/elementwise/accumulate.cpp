// Element-wise members of several operands: normalisation, product accumulations, scaled
// addition and division guarded by a threshold.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/axpy.h"
#include "quorel/platform/kernels/cplx.h"

namespace quorel {

using detail::C;
using detail::R;
using detail::Require;
using detail::Same;

// --- normalisation --------------------------------------------------------------------------------------

namespace {
// Self := (Vec - sub) / div over a range; Self already has the right kind and size.
template <class Sub, class Div>
void NormalizeRun(TDenseQuorel& self, const TDenseQuorel& vec, Sub sub, Div div, std::int32_t vi, std::int32_t i,
                  std::int32_t n) {
  if (n <= 0) return;
  if constexpr (std::is_same_v<Sub, double>) {
    if (vec.Complex()) kern::Normalize(C(vec, vi), TCplx{sub, 0.0}, div, C(self, i), n);
    else kern::Normalize(R(vec, vi), sub, div, R(self, i), n);
  } else {
    kern::Normalize(C(vec, vi), sub, div, C(self, i), n);
  }
}

template <class Sub, class Div>
TDenseQuorel& NormalizeWhole(TDenseQuorel& self, const TDenseQuorel& vec, Sub sub, Div div) {
  if (self.ConditionCheck()) Require(!Same(self, vec), "Self = Vec");
  if constexpr (!std::is_same_v<Sub, double>) Require(vec.Complex(), "not Complex");
  const detail::SafeSource src(self, vec);
  self.Size(vec, vec.Complex());
  NormalizeRun(self, *src, sub, div, 0, 0, vec.Length());
  return self;
}

template <class Sub, class Div>
TDenseQuorel& NormalizeRange(TDenseQuorel& self, const TDenseQuorel& vec, Sub sub, Div div, std::int32_t vi,
                             std::int32_t i, std::int32_t len) {
  self.ValidateParams(vec, vi, i, len);
  if (self.ConditionCheck()) Require(vec.Complex() == self.Complex(), "Vec.Complex <> Complex");
  if constexpr (!std::is_same_v<Sub, double>) Require(vec.Complex(), "not Complex");
  const detail::SafeSource src(self, vec);
  NormalizeRun(self, *src, sub, div, vi, i, len);
  return self;
}
}  // namespace

TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, double subValue, double divValue) {
  return NormalizeWhole(*this, vec, subValue, divValue);
}
TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, double subValue, double divValue,
                                      std::int32_t vecIndex, std::int32_t index, std::int32_t len) {
  return NormalizeRange(*this, vec, subValue, divValue, vecIndex, index, len);
}
TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, const TCplx& subValue, const TCplx& divValue) {
  return NormalizeWhole(*this, vec, subValue, divValue);
}
TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, const TCplx& subValue, const TCplx& divValue,
                                      std::int32_t vecIndex, std::int32_t index, std::int32_t len) {
  return NormalizeRange(*this, vec, subValue, divValue, vecIndex, index, len);
}
TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, const TCplx& subValue, double divValue) {
  return NormalizeWhole(*this, vec, subValue, divValue);
}
TDenseQuorel& TDenseQuorel::Normalize(const TDenseQuorel& vec, const TCplx& subValue, double divValue,
                                      std::int32_t vecIndex, std::int32_t index, std::int32_t len) {
  return NormalizeRange(*this, vec, subValue, divValue, vecIndex, index, len);
}

// --- accumulations -------------------------------------------------------------------------------------------

namespace {
// Self[index + i] += Vec1[i1 + i] * Vec2[i2 + i] once the ranges are checked. Element by element,
// so a source that is Self at Self's own positions is read before it is written.
void AddProductChecked(TDenseQuorel& self, const TDenseQuorel& vec1, const TDenseQuorel& vec2, std::int32_t i1,
                       std::int32_t i2, std::int32_t index, std::int32_t len) {
  if (self.ConditionCheck()) {
    Require(vec1.Complex() == vec2.Complex(), "TVec.AddProduct: Vec1.Complex <> Vec2.Complex");
    Require(vec1.Complex() == self.Complex(), "TVec.AddProduct: Vec1.Complex <> fComplex");
  }
  if (len <= 0) return;
  if (self.Complex()) kern::AddProduct(C(vec1, i1), C(vec2, i2), C(self, index), len);
  else kern::AddProduct(R(vec1, i1), R(vec2, i2), R(self, index), len);
}
}  // namespace

// The whole form needs equal lengths (Self is not resized) and may take Self as Vec2; the range
// form takes ranges of any objects, and its ranges are validated (Self as a source included)
// before the kinds.
TDenseQuorel& TDenseQuorel::AddProduct(const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  if (fConditionCheck) {
    Require(!Same(*this, vec1), "TVec.AddProduct: Vec1 = Self");
    Require(vec1.fLength == vec2.fLength, "TVec.AddProduct: Vec1.Length <> Vec2.Length");
    Require(vec1.fLength == fLength, "TVec.AddProduct: Vec1.Length <> Length");
  }
  const detail::SafeSource a(*this, vec1), b(*this, vec2);
  AddProductChecked(*this, *a, *b, 0, 0, 0, std::min({fLength, vec1.fLength, vec2.fLength}));
  return *this;
}

TDenseQuorel& TDenseQuorel::AddProduct(const TDenseQuorel& vec1, const TDenseQuorel& vec2, std::int32_t vec1Index,
                                       std::int32_t vec2Index, std::int32_t index, std::int32_t len) {
  ValidateParams(vec1, vec2, vec1Index, vec2Index, index, len);
  const detail::SafeSource a(*this, vec1), b(*this, vec2);  // other positions of Self
  AddProductChecked(*this, *a, *b, vec1Index, vec2Index, index, len);
  return *this;
}

// Vec may be Self (|Self|^2): the conjugate is taken into a work vector before Self is written.
TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec) {
  if (fConditionCheck) Require(fLength == vec.fLength, "Vec1.Length <> Vec2.Length");
  if (!vec.fComplex) return Mul(vec);
  TWorkVec conj;
  conj->Size(vec, true);
  kern::Conj(C(vec), C(*conj), vec.fLength);
  return Mul(*conj);
}

TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                    std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  if (!vec.fComplex) return Mul(vec, vecIndex, index, len);
  if (!fComplex) detail::ExtendToComplex(*this, true);
  TWorkVec conj;
  conj->Size(len, true);
  kern::Conj(C(vec, vecIndex), C(*conj), len);
  if (len > 0) kern::Mul(C(*this, index), C(*conj), C(*this, index), len);
  return *this;
}

TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  if (fConditionCheck) {
    Require(!Same(*this, vec1) && !Same(*this, vec2), "(Self = Vec1) or (Self = Vec2)");
    Require(vec1.fLength == vec2.fLength, "Vec1.Length <> Vec2.Length");
  }
  if (!vec2.fComplex) return Mul(vec1, vec2);
  // Self receives conj(Vec2) and is then multiplied by Vec1 in place. Sizing Self may change the
  // kind of a Vec1 that is Self: ask the copy.
  const detail::SafeSource a(*this, vec1), b(*this, vec2);
  Size(vec2, true);
  kern::Conj(C(*b), C(*this), fLength);
  if (fLength == 0) return *this;
  if ((*a).Complex()) kern::Mul(C(*this), C(*a), C(*this), fLength);
  else kern::Mul(C(*this), R(*a), C(*this), fLength);
  return *this;
}

TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec1, const TDenseQuorel& vec2, std::int32_t vec1Index,
                                    std::int32_t vec2Index, std::int32_t index, std::int32_t len) {
  ValidateParams(vec1, vec2, vec1Index, vec2Index, index, len);
  if (!vec2.fComplex) return Mul(vec1, vec2, vec1Index, vec2Index, index, len);
  if (fConditionCheck) Require(fComplex, "Complex = False");
  if (len <= 0) return *this;
  const detail::SafeSource a(*this, vec1), b(*this, vec2);
  kern::Conj(C(*b, vec2Index), C(*this, index), len);
  if (vec1.fComplex) kern::Mul(C(*this, index), C(*a, vec1Index), C(*this, index), len);
  else kern::Mul(C(*this, index), R(*a, vec1Index), C(*this, index), len);
  return *this;
}

// --- scaled addition --------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::AddScaled(const TDenseQuorel& vec, double factor) {
  return AddScaled(vec, TCplx{factor, 0.0});
}

TDenseQuorel& TDenseQuorel::AddScaled(const TDenseQuorel& vec, double factorRe, double factorIm) {
  return AddScaled(vec, TCplx{factorRe, factorIm});
}

TDenseQuorel& TDenseQuorel::AddScaled(const TDenseQuorel& vec, const TCplx& factor) {
  if (factor.Re == 1.0 && factor.Im == 0.0) return Add(vec);
  if (fConditionCheck) {
    Require(!Same(*this, vec), "TQuorel.Add: Self = Vec");
    Require(vec.fLength == fLength, "TQuorel.Add: Vec.Length <> Length");
  }
  return AddScaled(vec, factor, 0, 0, std::min(fLength, vec.fLength));
}

TDenseQuorel& TDenseQuorel::AddScaled(const TDenseQuorel& vec, double factor, std::int32_t vecIndex,
                                      std::int32_t index, std::int32_t len) {
  return AddScaled(vec, TCplx{factor, 0.0}, vecIndex, index, len);
}

TDenseQuorel& TDenseQuorel::AddScaled(const TDenseQuorel& vec, const TCplx& factor, std::int32_t vecIndex,
                                      std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  // Taken before the promotion below, which would change a Vec that is Self.
  const detail::SafeSource src(*this, vec);
  const TDenseQuorel& x = *src;
  // A complex factor or complex data needs complex storage; zero imaginary parts keep the values.
  if (!fComplex && (x.Complex() || factor.Im != 0.0)) detail::ExtendToComplex(*this, true);
  if (len <= 0) return *this;
  if (!fComplex) kern::AddScaled(R(x, vecIndex), factor.Re, R(*this, index), len);
  else if (x.Complex()) kern::AddScaled(C(x, vecIndex), factor, C(*this, index), len);
  else kern::AddScaled(R(x, vecIndex), factor, C(*this, index), len);
  return *this;
}

// --- guarded division --------------------------------------------------------------------------------

namespace {
// Self[index..] *= r, where r is the clamped reciprocal of den[denIndex..]. Mixed kinds multiply
// double by double over the interleaved data, deliberately: a real side is first spread into both
// parts, so a real a and a complex r give (a Re r, a Im r). Only the range is spread; the rest of
// a promoted Self is (a, 0).
void MultiplyByClampedReciprocal(TDenseQuorel& self, const TDenseQuorel& den, double threshold,
                                 std::int32_t denIndex, std::int32_t index, std::int32_t len) {
  if (!self.Complex() && den.Complex()) {
    detail::ExtendToComplex(self, true);
    TCplx* z = C(self, index);
    for (std::int32_t k = 0; k < len; ++k) z[k].Im = z[k].Re;
  }
  if (len <= 0) return;
  TWorkVec r;
  r->Size(len, true);
  if (den.Complex()) {
    kern::LTInv(C(den, denIndex), threshold, C(*r), len);
  } else {
    kern::LTInv(R(den, denIndex), threshold, R(*r), len);
    if (self.Complex()) kern::Duplicate(R(*r), C(*r), len);
  }
  if (self.Complex()) kern::Mul(R(self, 2 * index), R(*r), R(self, 2 * index), 2 * std::int64_t{len});
  else kern::Mul(R(self, index), R(*r), R(self, index), len);
}
}  // namespace

TDenseQuorel& TDenseQuorel::Divide(const TDenseQuorel& vec, double threshold) {
  if (fConditionCheck) {
    Require(!Same(*this, vec), "TQuorel.Divide: Self = Vec");
    Require(fLength == vec.fLength, "TQuorel.Divide: Length <> Vec.Length");
  }
  MultiplyByClampedReciprocal(*this, vec, threshold, 0, 0, std::min(fLength, vec.fLength));
  return *this;
}

TDenseQuorel& TDenseQuorel::Divide(const TDenseQuorel& vec, double threshold, std::int32_t vecIndex,
                                   std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  MultiplyByClampedReciprocal(*this, vec, threshold, vecIndex, index, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Divide(const TDenseQuorel& num, const TDenseQuorel& den, double threshold) {
  if (fConditionCheck) {
    Require(!Same(*this, num) && !Same(*this, den), "(Self = Num) or (Self = Den)");
    Require(num.fLength == den.fLength, "Num.Length <> Den.Length");
  }
  const std::int32_t n = std::min(num.fLength, den.fLength);
  // Self receives Num before Den is read; a Num over other positions of Self is copied, too.
  const detail::SafeSource d(*this, den), nm(num, !Same(*this, num) && detail::SharesStorage(*this, num));
  if (&*nm != &num) Size(num, num.fComplex);  // from Num itself, so a matrix takes its shape
  Copy(*nm);
  MultiplyByClampedReciprocal(*this, *d, threshold, 0, 0, n);
  return *this;
}

TDenseQuorel& TDenseQuorel::Divide(const TDenseQuorel& num, const TDenseQuorel& den, double threshold,
                                   std::int32_t numIndex, std::int32_t denIndex, std::int32_t index,
                                   std::int32_t len) {
  ValidateParams(num, den, numIndex, denIndex, index, len);
  if (fConditionCheck) Require(fComplex == (num.fComplex || den.fComplex), "TQuorel.Divide: Self.Complex <> Vec.Complex");
  if (len <= 0) return *this;
  const detail::SafeSource numSrc(*this, num), denSrc(*this, den);
  // A real numerator is spread as the product below needs it: into both parts against a complex
  // reciprocal, as (a, 0) against a real one (which is then duplicated).
  if (fComplex && !num.fComplex && den.fComplex) kern::Duplicate(R(*numSrc, numIndex), C(*this, index), len);
  else if (fComplex && !num.fComplex) kern::SampleUp2(R(*numSrc, numIndex), C(*this, index), len);
  else Copy(*numSrc, numIndex, index, len);
  MultiplyByClampedReciprocal(*this, *denSrc, threshold, denIndex, index, len);
  return *this;
}

}  // namespace quorel
