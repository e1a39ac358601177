// Vector FFTs and the range forms of TDenseQuorel, all through the descriptor cache.
#include <algorithm>
#include <cstring>
#include <optional>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/vec.h"
#include "quorel/signal/detail/alias.h"
#include "quorel/signal/detail/dfti.h"
#include "quorel/signal/detail/fft_flags.h"

namespace quorel {

using detail::Inverse;
using detail::RealFlags;
using detail::WithOrder;

namespace {

double* D(const TQuorel& x, std::int32_t i = 0) { return x.PValues1D(i); }
TCplx* C(const TQuorel& x, std::int32_t i = 0) { return x.PCValues1D(i); }

// Self already has this shape: sizing it again would only repeat its checks.
void Fit(TVec& v, std::int32_t len, bool complex) {
  if (v.Length() != len || v.Complex() != complex) v.Size(len, complex);
}

// The CCS half spectrum of v's n reals, in v as `doubles` reals. Only a pooled vector grows within
// its block; any other gets a new one, and keeping its values across that would cost a work vector
// and a second copy: the transform writes to the descriptor's scratch, copied into the new block.
void RealToHalfSpectrum(TVec& v, TDftiHandle d, std::int32_t n, std::int32_t doubles, const char* method) {
  if (v.CacheSlot() >= 0 && v.ActualSize() >= doubles) {
    v.Resize(doubles, false);
    detail::DftiForward(d, D(v), D(v), method);
    return;
  }
  double* scratch = detail::DftiScratch(d);
  if (!scratch) detail::RaiseComputeFailure(method, detail::kDftiNoMemory);
  detail::DftiForward(d, D(v), scratch, method);
  v.Size(doubles, false);
  std::memcpy(D(v), scratch, static_cast<std::size_t>(2 * (n / 2 + 1)) * sizeof(double));
}

}  // namespace

TVec& TVec::FFT(bool conjugateExtend) {
  const std::int32_t n = fLength;
  if (fComplex) {
    if (n > 0)
      detail::DftiForward(DftiCache().GetDesc(n, WithOrder(*this, {cefInplace, cefUseScale})), C(*this), C(*this),
                          "TVec.FFT: ");
    return *this;
  }
  if (!conjugateExtend) return FFTFromReal();
  if (n > 0) RealToHalfSpectrum(*this, DftiCache().GetDesc(n, {cefReal, cefInplace}), n, 2 * n, "TVec.FFT: ");
  set_Complex(true);
  detail::ConjugateExtend(C(*this), n);
  return *this;
}

TVec& TVec::FFT(const TVec& in, bool conjugateExtend) {
  detail::RequireNotSelf(*this, in, "TVec.FFT: Self = Vec");
  if (!in.Complex() && !conjugateExtend) return FFTFromReal(in);
  // A view over Self's doubles is read from a copy, taken before Self is sized: the transform
  // would read values it has overwritten.
  std::optional<TWorkVec> keep;
  const TVec& vec = detail::Unaliased(*this, in, keep);
  const std::int32_t n = vec.Length();
  if (vec.Complex()) {
    Fit(*this, n, true);
    if (n > 0)
      detail::DftiForward(DftiCache().GetDesc(n, WithOrder(*this, {cefUseScale})), C(vec), C(*this), "TVec.FFT: ");
    return *this;
  }
  Fit(*this, n, true);
  if (n > 0) {
    detail::DftiForward(DftiCache().GetDesc(n, {cefReal}), D(vec), C(*this), "TVec.FFT: ");
    detail::ConjugateExtend(C(*this), n);
  }
  return *this;
}

TVec& TVec::FFTFromReal() {
  detail::RequireChecked(*this, !fComplex, "FFTFromReal: Self is Complex");
  if (fComplex) set_Complex(false);
  const std::int32_t n = fLength;
  if (fFFTStorageFormat != fsfCCS) {
    if (n == 0) return *this;
    const TCacheEntryFlags flags = RealFlags(*this, {cefReal, cefInplace, cefUseScale});
    detail::DftiForward(DftiCache().GetDesc(n, flags), D(*this), D(*this), "TVec.FFT: ");
    return *this;
  }
  // Empty, the half spectrum is empty too, but complex as the out-of-place form makes it.
  if (n > 0)
    RealToHalfSpectrum(*this, DftiCache().GetDesc(n, RealFlags(*this, {cefReal, cefInplace, cefUseScale})), n,
                       2 * (n / 2 + 1), "TVec.FFT: ");
  fFFTOddLength = n & 1;
  set_Complex(true);
  return *this;
}

TVec& TVec::FFTFromReal(const TVec& in) {
  if (Is(in)) return FFTFromReal();
  std::optional<TWorkVec> keep;  // as in FFT(Vec)
  const TVec& vec = detail::Unaliased(*this, in, keep);
  detail::RequireChecked(*this, !vec.Complex(), "FFTFromReal: Vec is Complex");
  const std::int32_t n = vec.Complex() ? 2 * vec.Length() : vec.Length();
  const bool ccs = fFFTStorageFormat == fsfCCS;
  Fit(*this, ccs ? (n > 0 ? n / 2 + 1 : 0) : n, ccs);
  if (ccs) fFFTOddLength = n & 1;
  if (n > 0)
    detail::DftiForward(DftiCache().GetDesc(n, RealFlags(*this, {cefReal, cefUseScale})), D(vec), D(*this),
                        "TVec.FFT: ");
  return *this;
}

TVec& TVec::IFFT(bool noScale) {
  detail::RequireChecked(*this, fComplex, "TVec.IFFT: Self is not Complex");
  if (!fComplex) set_Complex(true);
  if (fLength > 0)
    detail::DftiBackward(DftiCache().GetDesc(fLength, WithOrder(*this, Inverse({cefInplace}, noScale))), C(*this),
                         C(*this), "TVec.IFFT: ");
  return *this;
}

TVec& TVec::IFFT(const TVec& in, bool noScale) {
  if (Is(in)) return IFFT(noScale);
  std::optional<TWorkVec> keep;  // as in FFT(Vec)
  const TVec& vec = detail::Unaliased(*this, in, keep);
  detail::RequireChecked(*this, vec.Complex(), "TVec.IFFT: Vec is not Complex");
  const std::int32_t n = vec.Complex() ? vec.Length() : vec.Length() / 2;
  Fit(*this, n, true);
  if (n > 0)
    detail::DftiBackward(DftiCache().GetDesc(n, WithOrder(*this, Inverse({}, noScale))), C(vec), C(*this),
                         "TVec.IFFT: ");
  return *this;
}

TVec& TVec::IFFTToReal(bool noScale) {
  const TCacheEntryFlags flags = RealFlags(*this, Inverse({cefReal, cefInplace}, noScale));
  if (fFFTStorageFormat != fsfCCS) {
    detail::RequireChecked(*this, !fComplex, "TVec.IFFTToReal: Self is Complex");
    if (fComplex) set_Complex(false);
    if (fLength > 0) detail::DftiBackward(DftiCache().GetDesc(fLength, flags), D(*this), D(*this), "TVec.IFFTToReal: ");
    return *this;
  }
  detail::RequireChecked(*this, fComplex, "TVec.IFFTToReal: Self is not Complex");
  if (!fComplex) set_Complex(true);
  const std::int32_t n = detail::CcsRealLength(fLength, fFFTOddLength);
  if (n > 0) detail::DftiBackward(DftiCache().GetDesc(n, flags), C(*this), D(*this), "TVec.IFFTToReal: ");
  set_Complex(false);
  return *this;
}

TVec& TVec::IFFTToReal(const TVec& in, bool noScale) {
  if (Is(in)) return IFFTToReal(noScale);
  std::optional<TWorkVec> keep;  // as in FFT(Vec)
  const TVec& vec = detail::Unaliased(*this, in, keep);
  const TCacheEntryFlags flags = RealFlags(*this, Inverse({cefReal}, noScale));
  if (fFFTStorageFormat != fsfCCS) {
    detail::RequireChecked(*this, !vec.Complex(), "TVec.IFFTToReal: Vec is Complex");
    const std::int32_t n = vec.Complex() ? 2 * vec.Length() : vec.Length();
    Fit(*this, n, false);
    if (n > 0) detail::DftiBackward(DftiCache().GetDesc(n, flags), D(vec), D(*this), "TVec.IFFTToReal: ");
    return *this;
  }
  detail::RequireChecked(*this, vec.Complex(), "TVec.IFFTToReal: Vec is not Complex");
  const std::int32_t m = vec.Complex() ? vec.Length() : vec.Length() / 2;
  const std::int32_t n = detail::CcsRealLength(m, vec.FFTOddLength());
  Fit(*this, 2 * m, false);
  if (n > 0) detail::DftiBackward(DftiCache().GetDesc(n, flags), D(vec), D(*this), "TVec.IFFTToReal: ");
  std::fill(D(*this) + std::max(n, 0), D(*this) + 2 * m, 0.0);  // out of place, the padding is not written
  return *this;
}

// --- range forms ---------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::FFT(const TDenseQuorel& vec, bool conjugateExtend, std::int32_t vecIndex,
                                std::int32_t index, std::int32_t len) {
  if (!vec.Complex() && !conjugateExtend) return FFTFromReal(vec, vecIndex, index, len);
  ValidateParams(vec, vecIndex, index, len);
  detail::RequireChecked(*this, fComplex, "TDenseQuorel.FFT: Self is not Complex");
  if (len <= 0 || !fComplex) return *this;
  // A source viewing Self's doubles is read from a copy of its range (FFTW's out-of-place
  // transforms must not overlap).
  std::optional<TWorkVec> keep;
  const auto [src, from] = detail::UnaliasedRange(*this, vec, vecIndex, len, keep);
  if (vec.Complex()) {
    detail::DftiForward(DftiCache().GetDesc(len, WithOrder(*this, {cefUseScale})), C(*src, from), C(*this, index),
                        "TDenseQuorel.FFT: ");
  } else {
    detail::DftiForward(DftiCache().GetDesc(len, {cefReal}), D(*src, from), C(*this, index), "TDenseQuorel.FFT: ");
    detail::ConjugateExtend(C(*this, index), len);
  }
  return *this;
}

TDenseQuorel& TDenseQuorel::IFFT(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                                 bool noScale) {
  detail::RequireChecked(*this, fComplex, "TDenseQuorel.IFFT: Self is not Complex");
  detail::RequireChecked(*this, vec.Complex(), "TDenseQuorel.IFFT: Vec is not Complex");
  ValidateParams(vec, vecIndex, index, len);
  if (len <= 0 || !fComplex || !vec.Complex()) return *this;
  std::optional<TWorkVec> keep;  // as in FFT
  const auto [src, from] = detail::UnaliasedRange(*this, vec, vecIndex, len, keep);
  detail::DftiBackward(DftiCache().GetDesc(len, WithOrder(*this, Inverse({}, noScale))), C(*src, from),
                       C(*this, index), "TDenseQuorel.IFFT: ");
  return *this;
}

namespace {

// Range checks shared by the real range forms: the source and destination counts differ.
void CheckRealRanges(const TQuorel& self, const TQuorel& vec, std::int32_t vecIndex, std::int32_t srcLen,
                     std::int32_t index, std::int32_t dstLen) {
  if (vecIndex < 0 || srcLen < 0 || std::int64_t{vecIndex} + srcLen > vec.Length())
    ERangeErrorRaise(
        FormatMsg("Vec params out of range: VecIndex: %d, SrcLen: %d, Vec.Length: %d", vecIndex, srcLen, vec.Length()));
  if (index < 0 || dstLen < 0 || std::int64_t{index} + dstLen > self.Length())
    ERangeErrorRaise(
        FormatMsg("Self params out of range: Index: %d, DstLen: %d, Length: %d", index, dstLen, self.Length()));
}

std::int32_t HalfLen(std::int32_t n, bool ccs) { return ccs ? (n > 0 ? n / 2 + 1 : 0) : n; }

}  // namespace

TDenseQuorel& TDenseQuorel::FFTFromReal(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                        std::int32_t len) {
  const bool ccs = fFFTStorageFormat == fsfCCS;
  if (fConditionCheck) {
    detail::Require(!Is(vec), "TDenseQuorel.FFTFromReal: Vec is equal to Self");
    detail::Require(!vec.Complex(), "TDenseQuorel.FFTFromReal: Vec is Complex");
    if (ccs)
      detail::Require(fComplex, "TDenseQuorel.FFTToReal: Self is not Complex");
    else
      detail::Require(!fComplex, "TDenseQuorel.FFTToReal: Self is Complex");
  }
  if (len == -1) len = vec.Length() - vecIndex;
  CheckRealRanges(*this, vec, vecIndex, len, index, HalfLen(len, ccs));
  if (len <= 0 || vec.Complex() || fComplex != ccs) return *this;
  std::optional<TWorkVec> keep;  // as in FFT
  const auto [src, from] = detail::UnaliasedRange(*this, vec, vecIndex, len, keep);
  if (ccs) fFFTOddLength = len & 1;
  detail::DftiForward(DftiCache().GetDesc(len, RealFlags(*this, {cefReal, cefUseScale})), D(*src, from),
                      ccs ? static_cast<void*>(C(*this, index)) : D(*this, index), "TDenseQuorel.FFT: ");
  return *this;
}

TDenseQuorel& TDenseQuorel::IFFTToReal(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                       std::int32_t len, bool noScale) {
  const bool ccs = fFFTStorageFormat == fsfCCS;
  if (fConditionCheck) {
    detail::Require(!Is(vec), "TDenseQuorel.IFFTToReal: Vec is equal to Self");
    if (ccs)
      detail::Require(vec.Complex(), "TDenseQuorel.IFFTToReal: Vec is not Complex");
    else
      detail::Require(!vec.Complex(), "TDenseQuorel.IFFTToReal: Vec is Complex");
    detail::Require(!fComplex, "TDenseQuorel.IFFTToReal: Self is Complex");
  }
  if (len == -1) len = fLength - index;
  CheckRealRanges(*this, vec, vecIndex, HalfLen(len, ccs), index, len);
  if (len <= 0 || vec.Complex() != ccs || fComplex) return *this;
  // Out of place, a CCS inverse writes the len reals alone; a source at Self's own address would
  // make it an in-place one, writing padding past the range (hence the copy, as in FFT).
  std::optional<TWorkVec> keep;
  const auto [src, from] = detail::UnaliasedRange(*this, vec, vecIndex, HalfLen(len, ccs), keep);
  detail::DftiBackward(DftiCache().GetDesc(len, RealFlags(*this, Inverse({cefReal}, noScale))),
                       ccs ? static_cast<const void*>(C(*src, from)) : D(*src, from), D(*this, index),
                       "TDenseQuorel.IFFTToReal: ");
  return *this;
}

}  // namespace quorel
