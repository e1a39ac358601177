// Orthonormal DCT-II and DCT-III through FFTW's real-to-real transforms.
#include <cmath>
#include <cstring>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fftw.h"
#include "quorel/signal/detail/thread_transforms.h"

namespace quorel {

namespace {

detail::FftwPlanPtr DctPlanFor(std::int32_t n, detail::FftwKind kind, const double* data) {
  auto failure = detail::FftwFailure::None;
  const detail::FftwPlanPtr plan = detail::ThreadDctPlan(n, kind, detail::FftwAlignment(data), failure);
  if (!plan) ERaise(detail::FftwFailureText(failure));
  return plan;
}

// In place on n values: forward = orthonormal DCT-II, else its inverse (DCT-III).
void Dct(double* x, std::int32_t n, bool forward) {
  if (n == 0) return;
  const double s0 = std::sqrt(1.0 / n), s = std::sqrt(2.0 / n);
  if (forward) {
    detail::FftwExecR2R(DctPlanFor(n, detail::FftwKind::Dct2, x), x, x);
    x[0] *= 0.5 * s0;
    for (std::int32_t k = 1; k < n; ++k) x[k] *= 0.5 * s;
  } else {
    x[0] *= s0;
    for (std::int32_t k = 1; k < n; ++k) x[k] *= 0.5 * s;
    detail::FftwExecR2R(DctPlanFor(n, detail::FftwKind::Dct3, x), x, x);
  }
}

void DctVec(TVec& self, const TVec& vec, bool forward, const char* msg) {
  detail::RequireChecked(self, !vec.Complex(), msg);
  if (&vec != &self) self.Copy(vec);
  if (self.Complex()) self.set_Complex(false);
  Dct(self.PValues1D(0), self.Length(), forward);
}

void DctRange(TDenseQuorel& self, const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
              bool forward, const char* selfMsg, const char* vecMsg) {
  detail::RequireChecked(self, !self.Complex(), selfMsg);
  detail::RequireChecked(self, !vec.Complex(), vecMsg);
  self.ValidateParams2(vec, vecIndex, index, len);
  if (len <= 0 || self.Complex() || vec.Complex()) return;
  double* dst = self.PValues1D(index);
  if (dst != vec.PValues1D(vecIndex)) std::memmove(dst, vec.PValues1D(vecIndex), sizeof(double) * len);
  Dct(dst, len, forward);
}

}  // namespace

TVec& TVec::DCT() { return DCT(*this); }
TVec& TVec::DCT(const TVec& vec) {
  DctVec(*this, vec, true, "TVec.DCT: Vec.Complex is True");
  return *this;
}
TVec& TVec::IDCT() { return IDCT(*this); }
TVec& TVec::IDCT(const TVec& vec) {
  DctVec(*this, vec, false, "TVec.IDCT: Vec.Complex is True");
  return *this;
}

TDenseQuorel& TDenseQuorel::DCT(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len) {
  DctRange(*this, vec, vecIndex, index, len, true, "TQuorel.DCT: Self.Complex is True", "TQuorel.DCT: Vec.Complex is True");
  return *this;
}

TDenseQuorel& TDenseQuorel::IDCT(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len) {
  DctRange(*this, vec, vecIndex, index, len, false, "TQuorel.IDCT: Self.Complex is True",
           "TQuorel.IDCT: Vec.Complex is True");
  return *this;
}

}  // namespace quorel
