// Complex parts of element-wise data: the spectra and the real and imaginary parts of a complex
// source. Splitting into two outputs and joining two real sources are lines of elementwise_methods.inc.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/math.h"

namespace quorel {

using detail::C;
using detail::R;
using detail::Require;
using detail::Same;

// --- parts and spectra ----------------------------------------------------------------------------------

namespace {
// Complex source into a real Self sized like it: the spectra and the parts. selfMsg is null where
// Vec may be Self. The kind check is always made: a real source would be read past its end.
template <class K>
TDenseQuorel& ComplexToRealWhole(TDenseQuorel& self, const TDenseQuorel& vec, K&& k, const char* selfMsg,
                                 const char* realMsg) {
  if (selfMsg && self.ConditionCheck()) Require(!Same(self, vec), selfMsg);
  Require(vec.Complex(), realMsg);
  const std::int32_t n = vec.Length();
  const detail::SafeSource src(self, vec);
  self.Size(vec, false);
  if (n > 0) k(C(*src), R(self), n);
  return self;
}

template <class K>
TDenseQuorel& ComplexToRealRange(TDenseQuorel& self, const TDenseQuorel& vec, std::int32_t vecIndex,
                                 std::int32_t index, std::int32_t len, K&& k, const char* selfMsg,
                                 const char* realMsg) {
  self.ValidateParams(vec, vecIndex, index, len);
  if (self.ConditionCheck()) {
    if (selfMsg) Require(!Same(self, vec), selfMsg);
    Require(!self.Complex(), "Complex = True");
  }
  Require(vec.Complex(), realMsg);
  const detail::SafeSource src(self, vec);
  if (len > 0) k(C(*src, vecIndex), R(self, index), len);
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
  return ComplexToRealWhole(*this, vec, kRealPart, nullptr, "Vec.Complex = False");
}
TDenseQuorel& TDenseQuorel::RealPart(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                     std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kRealPart, nullptr, "Vec.Complex = False");
}
// The message names RealPart, exactly as the library has always said it.
TDenseQuorel& TDenseQuorel::ImagPart(const TDenseQuorel& vec) {
  return ComplexToRealWhole(*this, vec, kImagPart, nullptr, "TQuorel.RealPart: Vec must be complex");
}
TDenseQuorel& TDenseQuorel::ImagPart(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                     std::int32_t len) {
  return ComplexToRealRange(*this, vec, vecIndex, index, len, kImagPart, nullptr,
                            "TQuorel.RealPart: Vec must be complex");
}

}  // namespace quorel
