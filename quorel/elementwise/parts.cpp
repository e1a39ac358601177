// Complex parts of element-wise data: splitting and joining real and imaginary parts, polar forms
// and spectra.
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

}  // namespace quorel
