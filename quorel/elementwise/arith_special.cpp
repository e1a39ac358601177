// Element-wise members whose shapes do not fit the generic unary and binary frames: reordering,
// running sums and differences, splitting and joining parts, polar forms, guarded division and
// the scaled and product accumulations.
#include <algorithm>
#include <cstdlib>

#include "quorel/core/detail/checks.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/axpy.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::C;
using detail::R;
using detail::Require;
using detail::Same;

namespace {

// Runs a kernel that has real and complex overloads on the matching view of two objects.
template <class K>
void OnKind(K&& k, bool complex, const TDenseQuorel& x, std::int32_t xi, TDenseQuorel& r, std::int32_t ri,
            std::int32_t n) {
  if (n <= 0) return;
  if (complex) k(C(x, xi), C(r, ri), n);
  else k(R(x, xi), R(r, ri), n);
}

// The checks of a source-to-Self member with ranges: X = Self and the complex agreement.
void CheckSourceRange(const TDenseQuorel& self, const TDenseQuorel& x, const char* xIsSelf, const char* mismatch) {
  if (!self.ConditionCheck()) return;
  Require(!Same(self, x), xIsSelf);
  Require(self.Complex() == x.Complex(), mismatch);
}

}  // namespace

// --- real to complex ---------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::ExtendToComplex(bool zeros) {
  detail::ExtendToComplex(*this, zeros);
  return *this;
}

TDenseQuorel& TDenseQuorel::ExtendToComplex(const TDenseQuorel& vec, bool zeros) {
  if (fConditionCheck) Require(!Same(*this, vec), "ExtendToComplex: X = Self");
  Size(vec, true);
  if (vec.fComplex) {
    kern::Copy(C(vec), C(*this), fLength);
  } else if (zeros) {
    kern::SampleUp2(R(vec), C(*this), fLength);
  } else {
    kern::Duplicate(R(vec), C(*this), fLength);
  }
  return *this;
}

TDenseQuorel& TDenseQuorel::ExtendToComplex(const TDenseQuorel& vec, bool zeros, std::int32_t vecIndex,
                                            std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  if (fConditionCheck) Require(fComplex, "ExtendToComplex: Complex <> Src.Complex");
  if (len == 0) return *this;
  if (vec.fComplex) kern::Copy(C(vec, vecIndex), C(*this, index), len);
  else if (zeros) kern::SampleUp2(R(vec, vecIndex), C(*this, index), len);
  else kern::Duplicate(R(vec, vecIndex), C(*this, index), len);
  return *this;
}

// --- reordering --------------------------------------------------------------------------------------

namespace {
// Element count of a cyclic move by offset within len, in [0, len).
std::int32_t CyclicOffset(std::int32_t offset, std::int32_t len) {
  const std::int32_t k = offset % len;
  return k < 0 ? k + len : k;
}

// dst[(i + k) mod n] = src[i] with two block copies; src and dst must not overlap.
template <class T>
void RotateCopy(const T* src, T* dst, std::int32_t k, std::int32_t n) {
  kern::Copy(src, dst + k, n - k);
  kern::Copy(src + (n - k), dst, k);
}
}  // namespace

TDenseQuorel& TDenseQuorel::Rotate(std::int32_t offset) { return Rotate(offset, 0, fLength); }

TDenseQuorel& TDenseQuorel::Rotate(std::int32_t offset, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  if (len <= 1) return *this;
  const std::int32_t k = CyclicOffset(offset, len);
  if (k == 0) return *this;
  TWorkVec copy;
  copy->Size(len, fComplex);
  OnKind([](auto x, auto r, auto n) { kern::Copy(x, r, n); }, fComplex, *this, index, *copy, 0, len);
  if (fComplex) RotateCopy(C(*copy), C(*this, index), k, len);
  else RotateCopy(R(*copy), R(*this, index), k, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Rotate(const TDenseQuorel& vec, std::int32_t offset) {
  if (fConditionCheck) Require(!Same(*this, vec), "Rotate: X = Self");
  Size(vec, vec.fComplex);
  return Rotate(vec, offset, 0, 0, fLength);
}

TDenseQuorel& TDenseQuorel::Rotate(const TDenseQuorel& vec, std::int32_t offset, std::int32_t vecIndex,
                                   std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  CheckSourceRange(*this, vec, "Rotate: X = Self", "Rotate: Self.Complex <> X.Complex");
  if (len == 0) return *this;
  const std::int32_t k = CyclicOffset(offset, len);
  if (fComplex) RotateCopy(C(vec, vecIndex), C(*this, index), k, len);
  else RotateCopy(R(vec, vecIndex), R(*this, index), k, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Shift(std::int32_t offset) { return Shift(offset, 0, fLength); }

TDenseQuorel& TDenseQuorel::Shift(std::int32_t offset, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  if (std::abs(static_cast<long>(offset)) >= len) return *this;
  // The vacated places keep their old values, deliberately.
  const std::int32_t n = len - std::abs(offset);
  const std::int32_t from = offset > 0 ? index : index - offset;
  const std::int32_t to = offset > 0 ? index + offset : index;
  OnKind([](auto x, auto r, auto m) { kern::Move(x, r, m); }, fComplex, *this, from, *this, to, n);
  return *this;
}

// --- running sums and differences -----------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::Difference(const TDenseQuorel& vec) {
  if (fConditionCheck) Require(!Same(*this, vec), "Difference: X = Self");
  CondDisable();  // the sizes below are consistent by construction
  try {
    set_Complex(vec.fComplex);
    SetLength(std::max(vec.fLength - 1, 0));
    Difference(vec, 0, 0, vec.fLength);
  } catch (...) {
    CondEnable();
    throw;
  }
  CondEnable();
  return *this;
}

TDenseQuorel& TDenseQuorel::Difference(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                       std::int32_t len) {
  Require(vec.fComplex == fComplex, "Difference: Complex <> Src.Complex");
  // Len - 1 differences land at Index .. Index + Len - 2.
  std::int32_t out = len == -1 ? -1 : std::max(len - 1, 0);
  ValidateParams2(vec, vecIndex, index, out);
  if (fConditionCheck && (vecIndex < 0 || std::int64_t{vecIndex} + len > vec.fLength))
    ERangeErrorRaise(FormatMsg("X params out of range: XIndex: %d, Len: %d, X.Length: %d", vecIndex, len,
                               vec.fLength));
  if (len - 1 < 1) return *this;
  if (fComplex) kern::Sub(C(vec, vecIndex + 1), C(vec, vecIndex), C(*this, index), len - 1);
  else kern::Sub(R(vec, vecIndex + 1), R(vec, vecIndex), R(*this, index), len - 1);
  return *this;
}

// --- parts and spectra ----------------------------------------------------------------------------------

namespace {
// Complex source into a real Self sized like it: the spectra and the parts.
template <class K>
TDenseQuorel& ComplexToRealWhole(TDenseQuorel& self, const TDenseQuorel& vec, K&& k, const char* selfMsg,
                                 const char* realMsg) {
  if (self.ConditionCheck()) Require(!Same(self, vec), selfMsg);
  Require(vec.Complex(), realMsg);
  self.Size(vec, false);
  if (vec.Length() > 0) k(C(vec), R(self), vec.Length());
  return self;
}

template <class K>
TDenseQuorel& ComplexToRealRange(TDenseQuorel& self, const TDenseQuorel& vec, std::int32_t vecIndex,
                                 std::int32_t index, std::int32_t len, K&& k, const char* selfMsg,
                                 const char* realMsg) {
  self.ValidateParams(vec, vecIndex, index, len);
  if (self.ConditionCheck()) {
    Require(!Same(self, vec), selfMsg);
    Require(!self.Complex(), "Complex = True");
  }
  Require(vec.Complex(), realMsg);
  if (len > 0) k(C(vec, vecIndex), R(self, index), len);
  return self;
}

constexpr auto kPowerSpectrum = [](const TCplx* x, double* r, std::ptrdiff_t n) { kern::PowerSpectrum(x, r, n); };
constexpr auto kPhase = [](const TCplx* x, double* r, std::ptrdiff_t n) { kern::Phase(x, r, n); };
constexpr auto kRealPart = [](const TCplx* x, double* r, std::ptrdiff_t n) { kern::RealPart(x, r, n); };
constexpr auto kImagPart = [](const TCplx* x, double* r, std::ptrdiff_t n) { kern::ImagPart(x, r, n); };
}  // namespace

TDenseQuorel& TDenseQuorel::PowerSpectrum(const TDenseQuorel& vec) {
  return ComplexToRealWhole(*this, vec, kPowerSpectrum, "Self = Vec", "Vec.Complex = False");
}
TDenseQuorel& TDenseQuorel::PowerSpectrum(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                          std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kPowerSpectrum, "Self = Vec", "Vec.Complex = False");
}
TDenseQuorel& TDenseQuorel::PhaseSpectrum(const TDenseQuorel& vec) {
  return ComplexToRealWhole(*this, vec, kPhase, "Self = Vec", "Vec.Complex = False");
}
TDenseQuorel& TDenseQuorel::PhaseSpectrum(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                          std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kPhase, "Self = Vec", "Vec.Complex = False");
}

TDenseQuorel& TDenseQuorel::RealPart(const TDenseQuorel& vec) {
  if (!vec.fComplex) return Copy(vec);  // the real part of a real vector is itself
  return ComplexToRealWhole(*this, vec, kRealPart, "RealPart: X = Self", "Vec.Complex = False");
}
TDenseQuorel& TDenseQuorel::RealPart(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                     std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kRealPart, "RealPart: X = Self", "Vec.Complex = False");
}
// The message names RealPart, exactly as the library has always said it.
TDenseQuorel& TDenseQuorel::ImagPart(const TDenseQuorel& vec) {
  return ComplexToRealWhole(*this, vec, kImagPart, "ImagPart: X = Self", "TQuorel.RealPart: Vec must be complex");
}
TDenseQuorel& TDenseQuorel::ImagPart(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                     std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kImagPart, "ImagPart: X = Self",
                            "TQuorel.RealPart: Vec must be complex");
}

// Self complex; the two outputs receive real and imaginary parts (or modulus and phase).
namespace {
template <class K>
void SplitComplex(const TDenseQuorel& self, TDenseQuorel& a, TDenseQuorel& b, K&& k, const char* selfMsg) {
  Require(self.Complex(), "Complex = False");
  if (self.ConditionCheck()) Require(!Same(self, a) && !Same(self, b), selfMsg);
  a.Size(self, false);
  b.Size(self, false);
  if (self.Length() > 0) k(C(self), R(a), R(b), self.Length());
}

template <class K>
void SplitComplexRange(const TDenseQuorel& self, TDenseQuorel& a, TDenseQuorel& b, std::int32_t ai,
                       std::int32_t bi, std::int32_t index, std::int32_t len, K&& k, const char* aMsg,
                       const char* bMsg) {
  a.ValidateParams2(self, index, ai, len);
  b.ValidateParams2(self, index, bi, len);
  Require(self.Complex(), "Complex = False");
  Require(!a.Complex(), aMsg);
  Require(!b.Complex(), bMsg);
  if (len > 0) k(C(self, index), R(a, ai), R(b, bi), len);
}

constexpr auto kSplitParts = [](const TCplx* x, double* re, double* im, std::ptrdiff_t n) {
  kern::CplxToReal(x, re, im, n);
};
constexpr auto kSplitPolar = [](const TCplx* x, double* m, double* p, std::ptrdiff_t n) {
  kern::CartToPolar(x, m, p, n);
};
}  // namespace

TDenseQuorel& TDenseQuorel::CplxToReal(TDenseQuorel& reVec, TDenseQuorel& imVec) {
  SplitComplex(*this, reVec, imVec, kSplitParts, "(Self = ReVec) or (Self = ImVec)");
  return *this;
}
TDenseQuorel& TDenseQuorel::CplxToReal(TDenseQuorel& reVec, TDenseQuorel& imVec, std::int32_t reIndex,
                                       std::int32_t imIndex, std::int32_t index, std::int32_t len) {
  SplitComplexRange(*this, reVec, imVec, reIndex, imIndex, index, len, kSplitParts, "ReVec.Complex = True",
                    "ImVec.Complex = True");
  return *this;
}
TDenseQuorel& TDenseQuorel::CartToPolar(TDenseQuorel& amplt, TDenseQuorel& phase) {
  SplitComplex(*this, amplt, phase, kSplitPolar, "(Self = AmpltVec) or (Self = PhaseVec)");
  return *this;
}
TDenseQuorel& TDenseQuorel::CartToPolar(TDenseQuorel& amplt, TDenseQuorel& phase, std::int32_t amplIndex,
                                        std::int32_t phaseIndex, std::int32_t index, std::int32_t len) {
  SplitComplexRange(*this, amplt, phase, amplIndex, phaseIndex, index, len, kSplitPolar,
                    "AmplTQuorel.Complex = True", "PhaseVec.Complex = True");
  return *this;
}

// Two real sources into a complex Self: parts, or modulus and phase.
namespace {
template <class K>
void JoinReal(TDenseQuorel& self, const TDenseQuorel& a, const TDenseQuorel& b, K&& k, const char* selfMsg,
              const char* aMsg, const char* bMsg, const char* lenMsg) {
  if (self.ConditionCheck()) {
    Require(!Same(self, a) && !Same(self, b), selfMsg);
    Require(!a.Complex(), aMsg);
    Require(!b.Complex(), bMsg);
    Require(a.Length() == b.Length(), lenMsg);
  }
  self.Size(a, true);
  const std::int32_t n = std::min(a.Length(), b.Length());
  if (n > 0) k(R(a), R(b), C(self), n);
}

template <class K>
void JoinRealRange(TDenseQuorel& self, const TDenseQuorel& a, const TDenseQuorel& b, std::int32_t ai,
                   std::int32_t bi, std::int32_t index, std::int32_t len, K&& k, const char* aMsg,
                   const char* bMsg) {
  self.ValidateParams(a, b, ai, bi, index, len);
  if (self.ConditionCheck()) {
    Require(!a.Complex(), aMsg);
    Require(!b.Complex(), bMsg);
    Require(self.Complex(), "Complex = False");
  }
  if (len > 0) k(R(a, ai), R(b, bi), C(self, index), len);
}

constexpr auto kJoinParts = [](const double* re, const double* im, TCplx* r, std::ptrdiff_t n) {
  kern::RealToCplx(re, im, r, n);
};
constexpr auto kJoinPolar = [](const double* m, const double* p, TCplx* r, std::ptrdiff_t n) {
  kern::PolarToCart(m, p, r, n);
};
}  // namespace

TDenseQuorel& TDenseQuorel::RealToCplx(const TDenseQuorel& reVec, const TDenseQuorel& imVec) {
  JoinReal(*this, reVec, imVec, kJoinParts, "(Self = ReVec) or (Self = ImVec)", "ReVec.Complex = True",
           "ImVec.Complex = True", "ReVec.Length <> ImVec.Length");
  return *this;
}
TDenseQuorel& TDenseQuorel::RealToCplx(const TDenseQuorel& reVec, const TDenseQuorel& imVec, std::int32_t reIndex,
                                       std::int32_t imIndex, std::int32_t index, std::int32_t len) {
  JoinRealRange(*this, reVec, imVec, reIndex, imIndex, index, len, kJoinParts, "ReVec.Complex = True",
                "ImVec.Complex = True");
  return *this;
}
TDenseQuorel& TDenseQuorel::PolarToCart(const TDenseQuorel& amplt, const TDenseQuorel& phase) {
  JoinReal(*this, amplt, phase, kJoinPolar, "(Self = AmpltVec) or (Self = PhaseVec)", "AmpltVec.Complex = True",
           "PhaseVec.Complex = True", "AmpltVec.Length <> PhaseVec.Length");
  return *this;
}
TDenseQuorel& TDenseQuorel::PolarToCart(const TDenseQuorel& amplt, const TDenseQuorel& phase,
                                        std::int32_t amplIndex, std::int32_t phaseIndex, std::int32_t index,
                                        std::int32_t len) {
  JoinRealRange(*this, amplt, phase, amplIndex, phaseIndex, index, len, kJoinPolar, "AmpltVec.Complex = True",
                "PhaseVec.Complex = True");
  return *this;
}

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
  self.Size(vec, vec.Complex());
  NormalizeRun(self, vec, sub, div, 0, 0, vec.Length());
  return self;
}

template <class Sub, class Div>
TDenseQuorel& NormalizeRange(TDenseQuorel& self, const TDenseQuorel& vec, Sub sub, Div div, std::int32_t vi,
                             std::int32_t i, std::int32_t len) {
  self.ValidateParams(vec, vi, i, len);
  if (self.ConditionCheck()) Require(vec.Complex() == self.Complex(), "Vec.Complex <> Complex");
  if constexpr (!std::is_same_v<Sub, double>) Require(vec.Complex(), "not Complex");
  NormalizeRun(self, vec, sub, div, vi, i, len);
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

TDenseQuorel& TDenseQuorel::AddProduct(const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  return AddProduct(vec1, vec2, 0, 0, 0, vec1.fLength);
}

TDenseQuorel& TDenseQuorel::AddProduct(const TDenseQuorel& vec1, const TDenseQuorel& vec2, std::int32_t vec1Index,
                                       std::int32_t vec2Index, std::int32_t index, std::int32_t len) {
  if (fConditionCheck) {
    Require(!Same(*this, vec1), "TVec.AddProduct: Vec1 = Self");
    Require(vec1.fLength == vec2.fLength, "TVec.AddProduct: Vec1.Length <> Vec2.Length");
    Require(vec1.fLength == fLength, "TVec.AddProduct: Vec1.Length <> Length");
    Require(vec1.fComplex == vec2.fComplex, "TVec.AddProduct: Vec1.Complex <> Vec2.Complex");
    Require(vec1.fComplex == fComplex, "TVec.AddProduct: Vec1.Complex <> fComplex");
  }
  ValidateParams(vec1, vec2, vec1Index, vec2Index, index, len);
  if (len <= 0) return *this;
  if (fComplex) kern::AddProduct(C(vec1, vec1Index), C(vec2, vec2Index), C(*this, index), len);
  else kern::AddProduct(R(vec1, vec1Index), R(vec2, vec2Index), R(*this, index), len);
  return *this;
}

TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec) {
  if (fConditionCheck) {
    Require(!Same(*this, vec), "(Self = Vec1) or (Self = Vec2)");
    Require(fLength == vec.fLength, "Vec1.Length <> Vec2.Length");
  }
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
  // Self receives conj(Vec2) and is then multiplied by Vec1 in place.
  Size(vec2, true);
  kern::Conj(C(vec2), C(*this), fLength);
  if (fLength == 0) return *this;
  if (vec1.fComplex) kern::Mul(C(*this), C(vec1), C(*this), fLength);
  else kern::Mul(C(*this), R(vec1), C(*this), fLength);
  return *this;
}

TDenseQuorel& TDenseQuorel::ConjMul(const TDenseQuorel& vec1, const TDenseQuorel& vec2, std::int32_t vec1Index,
                                    std::int32_t vec2Index, std::int32_t index, std::int32_t len) {
  ValidateParams(vec1, vec2, vec1Index, vec2Index, index, len);
  if (!vec2.fComplex) return Mul(vec1, vec2, vec1Index, vec2Index, index, len);
  if (fConditionCheck) Require(fComplex, "Complex = False");
  if (len <= 0) return *this;
  kern::Conj(C(vec2, vec2Index), C(*this, index), len);
  if (vec1.fComplex) kern::Mul(C(*this, index), C(vec1, vec1Index), C(*this, index), len);
  else kern::Mul(C(*this, index), R(vec1, vec1Index), C(*this, index), len);
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
  // A complex factor or complex data needs complex storage; zero imaginary parts keep the values.
  if (!fComplex && (vec.fComplex || factor.Im != 0.0)) detail::ExtendToComplex(*this, true);
  if (len <= 0) return *this;
  if (!fComplex) kern::AddScaled(R(vec, vecIndex), factor.Re, R(*this, index), len);
  else if (vec.fComplex) kern::AddScaled(C(vec, vecIndex), factor, C(*this, index), len);
  else kern::AddScaled(R(vec, vecIndex), factor, C(*this, index), len);
  return *this;
}

// --- guarded division --------------------------------------------------------------------------------

namespace {
// Self[index..] *= r, where r is the clamped reciprocal of den[denIndex..]. Mixed kinds multiply
// double by double over the interleaved data, deliberately: a real side is first spread into both
// parts, so a real a and a complex r give (a Re r, a Im r).
void MultiplyByClampedReciprocal(TDenseQuorel& self, const TDenseQuorel& den, double threshold,
                                 std::int32_t denIndex, std::int32_t index, std::int32_t len) {
  if (!self.Complex() && den.Complex()) detail::ExtendToComplex(self, false);
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
  Copy(num);
  MultiplyByClampedReciprocal(*this, den, threshold, 0, 0, std::min(num.fLength, den.fLength));
  return *this;
}

TDenseQuorel& TDenseQuorel::Divide(const TDenseQuorel& num, const TDenseQuorel& den, double threshold,
                                   std::int32_t numIndex, std::int32_t denIndex, std::int32_t index,
                                   std::int32_t len) {
  ValidateParams(num, den, numIndex, denIndex, index, len);
  if (fConditionCheck) Require(fComplex == (num.fComplex || den.fComplex), "TQuorel.Divide: Self.Complex <> Vec.Complex");
  if (len <= 0) return *this;
  if (fComplex && !num.fComplex) kern::SampleUp2(R(num, numIndex), C(*this, index), len);
  else Copy(num, numIndex, index, len);
  MultiplyByClampedReciprocal(*this, den, threshold, denIndex, index, len);
  return *this;
}

namespace {
auto ClampedInverse(double threshold) {
  return detail::MakeOp<detail::Rule::Both>({"Inv: X = Self", "Inv: Self.Complex <> X.Complex"},
                                          [threshold](auto x, auto r, std::ptrdiff_t n) { kern::LTInv(x, threshold, r, n); });
}
}  // namespace

TDenseQuorel& TDenseQuorel::Inv(double threshold) { return detail::Unary(*this, ClampedInverse(threshold)); }
TDenseQuorel& TDenseQuorel::Inv(double threshold, std::int32_t index, std::int32_t len) {
  return detail::Unary(*this, ClampedInverse(threshold), index, len);
}
TDenseQuorel& TDenseQuorel::Inv(const TDenseQuorel& x, double threshold) {
  return detail::Unary(*this, ClampedInverse(threshold), x);
}
TDenseQuorel& TDenseQuorel::Inv(const TDenseQuorel& x, double threshold, std::int32_t xIndex, std::int32_t index,
                                std::int32_t len) {
  return detail::Unary(*this, ClampedInverse(threshold), x, xIndex, index, len);
}

}  // namespace quorel
