// Goertzel, up- and down-sampling, the Hilbert transform and reduction for display.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/signal/detail/alias.h"
#include "quorel/signal/detail/dfti.h"
#include "quorel/signal/signal.h"

namespace quorel {

// --- Goertzel ----------------------------------------------------------------------------------------

TVec& TVec::GoertzInit(double freq) {
  detail::Require(fComplex || !(freq >= 0.5), "(not Complex) and (Freq >= 0.5)");  // NaN is left to "Freq <= 0)"
  detail::Require(freq < 1 || std::isnan(freq), "Freq >= 1)");
  detail::Require(freq > 0, "Freq <= 0)");
  fGoertzFreq = freq;
  return GoertzReset();
}

TVec& TVec::GoertzReset() {
  fGoertzState[0] = fGoertzState[1] = TCplx{0, 0};
  return *this;
}

TCplx TVec::Goertz() {
  GoertzReset();
  const std::int32_t n = fLength;
  if (n == 0) return {0, 0};
  const double w = 2 * PI * fGoertzFreq;
  const double c2 = 2 * std::cos(w);
  // s[k] = x[k] + 2 cos(w) s[k-1] - s[k-2]; then sum x[k] e^{-iwk} = e^{-iw(n-1)} (s[n-1] - e^{-iw} s[n-2]).
  TCplx s1{0, 0}, s2{0, 0};
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    const T* x = detail::Ptr<T>(*this);
    for (std::int32_t k = 0; k < n; ++k) {
      TCplx v;
      if constexpr (std::is_same_v<T, double>) v = {x[k], 0};
      else v = x[k];
      const TCplx s{v.Re + c2 * s1.Re - s2.Re, v.Im + c2 * s1.Im - s2.Im};
      s2 = s1;
      s1 = s;
    }
  });
  fGoertzState[0] = s1;
  fGoertzState[1] = s2;
  const double cw = std::cos(w), sw = std::sin(w);
  const TCplx y{s1.Re - (cw * s2.Re + sw * s2.Im), s1.Im - (cw * s2.Im - sw * s2.Re)};
  const double ph = -w * (n - 1);
  const double cp = std::cos(ph), sp = std::sin(ph);
  return {y.Re * cp - y.Im * sp, y.Re * sp + y.Im * cp};
}

TCplx Goertz(TVec& vec) { return vec.Goertz(); }

// --- sampling ------------------------------------------------------------------------------------------

namespace {

// Copies `count` elements of the kind of `src`, reading with stride `in` and writing with stride `out`.
void Strided(const TQuorel& src, std::int64_t from, std::int64_t inStride, TQuorel& dst, std::int64_t to,
             std::int64_t outStride, std::int64_t count) {
  detail::OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* s = detail::Ptr<T>(src, from);
    T* d = detail::Ptr<T>(dst, to);
    for (std::int64_t k = 0; k < count; ++k) d[k * outStride] = s[k * inStride];
  });
}

void CheckFactorPhase(std::int32_t factor, std::int32_t phase) {
  detail::Require(phase < factor, "Phase >= Factor");
  detail::Require(factor >= 1, "Factor < 1");
  detail::Require(phase >= 0, "Phase < 0");
}

}  // namespace

TVec& TVec::UpSample(const TVec& in, std::int32_t factor, std::int32_t phase) {
  detail::RequireChecked(*this, !Is(in), "Self = Src");
  CheckFactorPhase(factor, phase);
  const std::int32_t n = in.Length();
  const std::int64_t out = std::int64_t{n} * factor;
  // Past the 32-bit length, as joining vectors that long does.
  if (out > std::numeric_limits<std::int32_t>::max()) EOutOfMemoryRaise("Quorel: Out of memory!");
  std::optional<TWorkVec> keep;  // unchecked, Self is read from a copy
  const TVec& src = detail::Unaliased(*this, in, keep);
  Size(static_cast<std::int32_t>(out), src.Complex());
  SetZero();
  Strided(src, 0, 1, *this, phase, factor, n);
  return *this;
}

TVec& TVec::DownSample(const TVec& in, std::int32_t factor, std::int32_t phase) {
  detail::RequireChecked(*this, !Is(in), "Self = Src");
  CheckFactorPhase(factor, phase);
  std::optional<TWorkVec> keep;
  const TVec& src = detail::Unaliased(*this, in, keep);
  const std::int32_t m = src.Length() / factor;
  Size(m, src.Complex());
  Strided(src, phase, factor, *this, 0, 1, m);
  return *this;
}

TDenseQuorel& TDenseQuorel::UpSample(const TDenseQuorel& src, std::int32_t factor, std::int32_t phase,
                                     std::int32_t srcIndex, std::int32_t index, std::int32_t len) {
  if (fConditionCheck) {
    detail::Require(!Is(src), "Invalid params: Src is equal to Self");
    detail::Require(fComplex == src.Complex(), "Complex <> Src.Complex");
  }
  CheckFactorPhase(factor, phase);
  if (srcIndex < 0 || len < 0 || std::int64_t{srcIndex} + len > src.Length())
    ERangeErrorRaise(FormatMsg("Src params out of range: SrcIndex: %d, Len: %d, Src.Length: %d", srcIndex, len,
                               src.Length()));
  const std::int64_t out = std::int64_t{len} * factor;
  if (index < 0 || index + out > fLength)
    ERangeErrorRaise(FormatMsg("Self params out of range: Index: %d, Len*Factor: %d, Length: %d", index,
                               static_cast<int>(out), fLength));
  if (fComplex != src.Complex()) return *this;
  std::optional<TWorkVec> keep;  // unchecked, Self (or a view over it) is read from a copy
  const detail::TRangeSource from = detail::UnaliasedRange(*this, src, srcIndex, len, keep);
  SetZero(index, static_cast<std::int32_t>(out));
  Strided(*from.Src, from.Index, 1, *this, index + phase, factor, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::DownSample(const TDenseQuorel& src, std::int32_t factor, std::int32_t phase,
                                       std::int32_t srcIndex, std::int32_t index, std::int32_t len) {
  detail::Require(factor >= 1, "Factor < 1");  // first: the mod below needs it
  detail::Require(len % factor == 0, "(Len mod Factor) <> 0");
  const std::int32_t m = len / factor;
  detail::RequireInRange(srcIndex >= 0 && len >= 0 && std::int64_t{srcIndex} + len <= src.Length(),
                         "(SrcIndex + Len) > Src.Length");
  detail::RequireInRange(index >= 0 && std::int64_t{index} + m <= fLength, "(Index + ALength) > Length");
  detail::RequireChecked(*this, fComplex == src.Complex(), "Complex <> Src.Complex");
  detail::Require(phase >= 0, "Phase < 0");
  detail::Require(phase < factor, "Phase >= Factor");
  if (fComplex != src.Complex()) return *this;
  std::optional<TWorkVec> keep;  // unchecked, Self (or a view over it) is read from a copy
  const detail::TRangeSource from = detail::UnaliasedRange(*this, src, srcIndex, len, keep);
  Strided(*from.Src, std::int64_t{from.Index} + phase, factor, *this, index, 1, m);
  return *this;
}

// --- Hilbert -------------------------------------------------------------------------------------------

TVec& TVec::Hilbert(const TVec& in) {
  detail::RequireChecked(*this, !in.Complex(), "Vec.Complex = True");
  detail::RequireChecked(*this, !Is(in), "Self = Vec");
  std::optional<TWorkVec> keep;
  const TVec& vec = detail::Unaliased(*this, in, keep);
  const std::int32_t n = vec.Length();
  // The transforms FFTFromReal and IFFTToReal would run for a Pack-format vector, called directly:
  // the caller's ConditionCheck governs, and the pooled vector keeps its own FFT settings. An
  // unchecked complex Vec gives the transform of its first n doubles.
  TWorkVec spec;
  if (n > 0) {
    spec->Size(n, false);
    double* p = spec->PValues1D(0);
    detail::DftiForward(DftiCache().GetDesc(n, {cefReal, cefUseScale, cefPack}), vec.PValues1D(0), p, "TVec.FFT: ");
    // Pack holds R0, (R1, I1), (R2, I2), ...: each positive-frequency bin times j, DC removed.
    p[0] = 0;
    const std::int32_t m = (n & 1) ? n - 1 : n - 2;
    for (std::int32_t i = 1; i < m; i += 2) {
      const double a = p[i], b = p[i + 1];
      p[i] = -b;
      p[i + 1] = a;
    }
    detail::DftiBackward(DftiCache().GetDesc(n, {cefReal, cefInplace, cefBackward, cefUseScale, cefPack}), p, p,
                         "TVec.IFFTToReal: ");
  }
  Size(n, true);
  TCplx* y = PCValues1D(0);
  const double* x = vec.PValues1D(0);
  for (std::int32_t i = 0; i < n; ++i) y[i] = {x[i], (*spec)[i]};
  return *this;
}

// --- reduction for display ---------------------------------------------------------------------------

namespace {

// Reduces y[0 .. len) (with abscissae x, or none) into `width` pixels; returns the values written.
std::int32_t Reduce(const double* y, const double* x, std::int32_t len, std::int32_t width, TPixelDownSample mode,
                    double* ny, double* nx) {
  const std::int32_t perPixel = mode == pdsPeak ? 2 : 1;
  if (len <= std::int64_t{width} * perPixel) {
    std::copy(y, y + len, ny);
    if (x) std::copy(x, x + len, nx);
    return len;
  }
  std::int32_t out = 0;
  for (std::int32_t p = 0; p < width; ++p) {
    const std::int32_t b = static_cast<std::int32_t>(std::int64_t{p} * len / width);
    const std::int32_t e = static_cast<std::int32_t>(std::int64_t{p + 1} * len / width);
    if (mode == pdsPattern) {
      ny[out] = y[b];
      if (x) nx[out] = x[b];
      ++out;
    } else if (mode == pdsAverage) {
      double sy = 0, sx = 0;
      for (std::int32_t i = b; i < e; ++i) {
        sy += y[i];
        if (x) sx += x[i];
      }
      ny[out] = sy / (e - b);
      if (x) nx[out] = sx / (e - b);
      ++out;
    } else {
      std::int32_t lo = b, hi = b;
      for (std::int32_t i = b + 1; i < e; ++i) {
        if (y[i] < y[lo]) lo = i;
        if (y[i] > y[hi]) hi = i;
      }
      for (std::int32_t i : {std::min(lo, hi), std::max(lo, hi)}) {
        ny[out] = y[i];
        if (x) nx[out] = x[i];
        ++out;
      }
    }
  }
  return out;
}

std::int32_t ReducedLength(std::int32_t len, std::int32_t width, TPixelDownSample mode) {
  const std::int64_t cap = std::int64_t{std::max(width, 0)} * (mode == pdsPeak ? 2 : 1);
  return static_cast<std::int32_t>(std::min<std::int64_t>(len, cap));
}

}  // namespace

TVec& TVec::PixelDownSample(std::int32_t width, const TVec& in, std::int32_t index, std::int32_t len,
                            TPixelDownSample mode) {
  detail::RequireInRange(index >= 0 && len >= 0 && std::int64_t{index} + len <= in.Length(), "Index+Len > Src.Length");
  detail::Require(!in.Complex(), "Src.Complex = True");
  std::optional<TWorkVec> keep;  // Self as the source is read from a copy
  const TVec& src = detail::Unaliased(*this, in, keep);
  const std::int32_t out = width < 1 ? 0 : ReducedLength(len, width, mode);
  Size(out, false);
  if (out > 0) Reduce(src.PValues1D(index), nullptr, len, width, mode, fValues, nullptr);
  return *this;
}

TVec& TVec::PixelDownSample1(std::int32_t width, const TVec& inY, const TVec* inX, TVec* nx, TPixelDownSample mode) {
  detail::Require(inX != nullptr && nx != nullptr, "(X = nil) or (NX = nil)");
  detail::Require(inX->Length() == inY.Length(), "SrcX.Length <> SrcY.Length");
  detail::Require(!inY.Complex() && !inX->Complex(), "Src.Complex = True");
  // The two outputs cannot share one object.
  detail::Require(nx != this, "NX = Self");
  // A source sharing memory with either output is read from a copy; one copy per source object.
  std::optional<TWorkVec> keepY, keepX;
  const auto readable = [&](const TVec& v, std::optional<TWorkVec>& keep) -> const TVec& {
    return detail::SharesStorage(*this, v) || detail::SharesStorage(*nx, v) ? detail::KeptCopy(v, keep) : v;
  };
  const TVec& srcY = readable(inY, keepY);
  const TVec& x = inX == &inY ? srcY : readable(*inX, keepX);
  const std::int32_t len = srcY.Length();
  const std::int32_t out = width < 1 ? 0 : ReducedLength(len, width, mode);
  Size(out, false);
  nx->Size(out, false);
  if (out > 0) Reduce(srcY.PValues1D(0), x.PValues1D(0), len, width, mode, fValues, nx->PValues1D(0));
  return *this;
}

void TMtx::PixelDownSample(TMtx& dst, std::int32_t width, TPixelDownSample mode) const {
  detail::Require(!fComplex, "Src.Complex = True");
  std::optional<TWorkMtx> keep;  // dst = Self: the rows are read from a copy
  const TMtx& src = detail::Unaliased(dst, *this, keep);
  const std::int32_t rows = src.Rows(), cols = src.Cols();
  const std::int32_t out = width < 1 ? 0 : ReducedLength(cols, width, mode);
  dst.Size(rows, out, false);
  if (out == 0) return;
  for (std::int32_t r = 0; r < rows; ++r)
    Reduce(src.PValues1D(0) + std::int64_t{r} * cols, nullptr, cols, width, mode,
           dst.PValues1D(0) + std::int64_t{r} * out, nullptr);
}

}  // namespace quorel
