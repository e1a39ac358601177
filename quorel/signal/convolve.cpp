// Convolution and correlation: direct sums for short operands, FFT products for long ones. The
// transforms come from the calling thread's own cache, so calls on distinct objects run at once.
#include "quorel/signal/detail/convolve.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/sliding.h"
#include "quorel/signal/detail/alias.h"
#include "quorel/signal/detail/dfti.h"
#include "quorel/signal/detail/thread_transforms.h"

namespace quorel {
namespace detail {

namespace {

inline TCplx Mul(TCplx a, TCplx b) { return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re}; }
inline double Conj(double a) { return a; }
inline TCplx Conj(TCplx a) { return {a.Re, -a.Im}; }
inline void AddTo(double& y, double v) { y += v; }
inline void AddTo(TCplx& y, TCplx v) {
  y.Re += v.Re;
  y.Im += v.Im;
}

// y = a * b pointwise over n values (y may be a).
void MulSpectra(TCplx* y, const TCplx* a, const TCplx* b, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i) y[i] = Mul(a[i], b[i]);
}

// Convolution through transforms of length nfft, both operands zero-padded. A long operand is
// cut into blocks whose products with the short one's spectrum are added up (overlap-add): much
// shorter transforms, and the short operand is transformed once.
template <class T>
void FftConvolve(const T* a, std::int32_t na, const T* b, std::int32_t nb, T* y) {
  if (na < nb) {
    std::swap(a, b);
    std::swap(na, nb);
  }
  const std::int32_t len = na + nb - 1;
  const std::int32_t nfft = std::min(FftGoodSize(len), FftGoodSize(8 * nb));
  const std::int32_t block = nfft - nb + 1;  // values of a per transform
  constexpr bool real = std::is_same_v<T, double>;
  // The spectrum product goes back into wa out of place: in place, FFTW takes buffers on every
  // inverse call. Real operands: forward in place (FFTW's estimated out-of-place r2c plans run up
  // to 2x slower) in rows of 2 * (nfft div 2 + 1) doubles, the product in the descriptor's scratch,
  // which the inverse consumes. Complex operands: both out of place, the product in wc.
  const std::int32_t doubles = real ? 2 * (nfft / 2 + 1) : 2 * nfft;
  const std::int32_t per = real ? 1 : 2;
  TWorkVec wa, wb, wc;
  wa->Size(doubles, false);
  wb->Size(doubles, false);
  double* pa = wa->PValues1D(0);
  double* pb = wb->PValues1D(0);
  const TDftiHandle d =
      ThreadDesc(nfft, 0, real ? TCacheEntryFlags{cefReal, cefInplace, cefUseScale} : TCacheEntryFlags{cefUseScale});
  double* pc;
  if constexpr (real) {
    pc = DftiScratch(d);
    if (!pc) RaiseComputeFailure("TVec.Convolve: ", kDftiNoMemory);
  } else {
    wc->Size(doubles, false);
    pc = wc->PValues1D(0);
  }
  double* spectrum = real ? pa : pc;
  double* source = real ? pb : pa;
  std::memcpy(source, b, sizeof(T) * nb);
  std::fill(source + per * nb, source + doubles, 0.0);
  DftiForward(d, source, pb, "TVec.Convolve: ");
  std::fill(y, y + len, T{});
  for (std::int32_t start = 0; start < na; start += block) {
    const std::int32_t count = std::min(block, na - start);
    std::memcpy(pa, a + start, sizeof(T) * count);
    std::fill(pa + per * count, pa + doubles, 0.0);
    DftiForward(d, pa, spectrum, "TVec.Convolve: ");
    MulSpectra(reinterpret_cast<TCplx*>(pc), reinterpret_cast<const TCplx*>(spectrum),
               reinterpret_cast<const TCplx*>(pb), doubles / 2);
    DftiBackward(d, pc, pa, "TVec.Convolve: ");
    const T* piece = reinterpret_cast<const T*>(pa);
    T* out = y + start;
    for (std::int32_t i = 0; i < count + nb - 1; ++i) AddTo(out[i], piece[i]);
  }
}

// Direct sums: each output adds its terms in increasing index of the shorter operand (of a, for
// correlations).
template <class T>
void DirectConvolve(const T* a, std::int32_t na, const T* b, std::int32_t nb, T* y) {
  if (na < nb) {
    std::swap(a, b);
    std::swap(na, nb);
  }
  kern::SlidingSums(kern::TSlide::Convolution, b, nb, a, na, 0, y, std::int64_t{na} + nb - 1);
}

// y[k - lo] = sum over i of conj(a[i]) b[i + k], for k in [lo, hi].
template <class T>
void DirectCorrelate(const T* a, std::int32_t na, const T* b, std::int32_t nb, std::int32_t lo, std::int32_t hi, T* y) {
  kern::SlidingSums(kern::TSlide::Correlation, a, na, b, nb, lo, y, std::int64_t{hi} - lo + 1);
}

}  // namespace

ConvPath& ConvolvePath() {
  static ConvPath path = ConvPath::Auto;
  return path;
}

std::int32_t FftGoodSize(std::int32_t n) {
  std::int64_t best = 1;
  while (best < n) best *= 2;
  for (std::int64_t p5 = 1; p5 < best; p5 *= 5)
    for (std::int64_t p35 = p5; p35 < best; p35 *= 3)
      for (std::int64_t m = p35; m < best; m *= 2)
        if (m >= n) best = m;
  return static_cast<std::int32_t>(best);
}

bool ConvolveByFft(std::int64_t na, std::int64_t nb, std::int64_t outputs, bool complex) {
  switch (ConvolvePath()) {
    case ConvPath::Direct: return false;
    case ConvPath::Fft: return true;
    case ConvPath::Auto: break;
  }
  // Crossover measured with bench/fft_bench.cpp ("ConvCrossover/direct" against "/fft"): the
  // direct sum costs about 0.06 ns per real pair and 0.24 ns per complex one, an FFT product
  // about 0.3 and 0.5 ns per n log2 n. So at 10^4 values the FFT wins from about 70 real filter
  // taps (at 10^6 from about 100), and from about 25 complex ones.
  const double fftWork = complex ? 2.0 : 5.0;
  const std::int64_t shorter = std::min(na, nb);
  if (shorter < (complex ? 16 : 32)) return false;
  const double n = static_cast<double>(na + nb);
  const double direct = static_cast<double>(outputs) * static_cast<double>(shorter);
  return direct > fftWork * n * std::log2(n);
}

template <class T>
void ConvolveArrays(const T* a, std::int32_t na, const T* b, std::int32_t nb, T* y) {
  if (na == 0 || nb == 0) return;
  if (ConvolveByFft(na, nb, std::int64_t{na} + nb - 1, std::is_same_v<T, TCplx>)) FftConvolve(a, na, b, nb, y);
  else DirectConvolve(a, na, b, nb, y);
}

template <class T>
void CorrelateArrays(const T* a, std::int32_t na, const T* b, std::int32_t nb, std::int32_t lo, std::int32_t hi, T* y) {
  const std::int32_t count = hi - lo + 1;
  // The direct sums write every lag; the FFT path writes only those the operands reach.
  if (na > 0 && nb > 0 && !ConvolveByFft(na, nb, count, std::is_same_v<T, TCplx>))
    return DirectCorrelate(a, na, b, nb, lo, hi, y);
  std::fill(y, y + count, T{});
  if (na == 0 || nb == 0) return;
  // The correlation is the convolution of b with a reversed and conjugated, shifted by na - 1.
  TWorkVec ra, full;
  ra->Size(na, std::is_same_v<T, TCplx>);
  full->Size(na + nb - 1, std::is_same_v<T, TCplx>);
  T* r = Ptr<T>(*ra);
  for (std::int32_t i = 0; i < na; ++i) r[i] = Conj(a[na - 1 - i]);
  FftConvolve(r, na, b, nb, Ptr<T>(*full));
  const T* f = Ptr<T>(*full);
  for (std::int32_t k = std::max(lo, 1 - na); k <= std::min(hi, nb - 1); ++k) y[k - lo] = f[k + na - 1];
}

template void ConvolveArrays<double>(const double*, std::int32_t, const double*, std::int32_t, double*);
template void ConvolveArrays<TCplx>(const TCplx*, std::int32_t, const TCplx*, std::int32_t, TCplx*);
template void CorrelateArrays<double>(const double*, std::int32_t, const double*, std::int32_t, std::int32_t,
                                      std::int32_t, double*);
template void CorrelateArrays<TCplx>(const TCplx*, std::int32_t, const TCplx*, std::int32_t, std::int32_t, std::int32_t,
                                     TCplx*);

}  // namespace detail

namespace {

// A complex view of v: v itself, or its values widened into the work vector.
const TCplx* AsComplex(const TVec& v, TVec& work) {
  if (v.Complex()) return v.PCValues1D(0);
  work.ExtendToComplex(v, true);
  return work.PCValues1D(0);
}

}  // namespace

TVec& TVec::Convolve(const TVec& xIn, const TVec& hIn) {
  detail::RequireChecked(*this, !Is(xIn) && !Is(hIn), "TVec.Convolve: (Self = X) or (Self = H)");
  detail::Require(hIn.Length() > 0, "TVec.Convolve: H.Length = 0");
  std::optional<TWorkVec> keepX, keepH;  // unchecked, Self (or a view over it) is read from a copy
  const TVec& x = detail::Unaliased(*this, xIn, keepX);
  const TVec& h = detail::UnaliasedSecond(*this, hIn, xIn, x, keepH);
  const bool complex = x.Complex() || h.Complex();
  const std::int32_t nx = x.Length(), nh = h.Length();
  Size(nx > 0 ? nx + nh - 1 : 0, complex);
  if (nx == 0) return *this;
  if (!complex) {
    detail::ConvolveArrays(x.PValues1D(0), nx, h.PValues1D(0), nh, fValues);
    return *this;
  }
  TWorkVec wx, wh;
  detail::ConvolveArrays(AsComplex(x, *wx), nx, AsComplex(h, *wh), nh, PCValues1D(0));
  return *this;
}

namespace {

enum class AutoNorm { Biased, Normal, UnBiased };

TVec& AutoCorr(TVec& self, const TVec& in, std::int32_t lags, AutoNorm norm, const char* lagsMsg, const char* selfMsg) {
  detail::RequireChecked(self, lags <= in.Length(), lagsMsg);
  detail::RequireChecked(self, &self != &in, selfMsg);
  std::optional<TWorkVec> keep;
  const TVec& vec = detail::Unaliased(self, in, keep);
  const std::int32_t n = vec.Length();
  lags = std::clamp(lags, 0, n);
  self.Size(lags, vec.Complex());
  if (lags == 0) return self;
  detail::OnKind(vec.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* x = detail::Ptr<T>(vec);
    T* y = detail::Ptr<T>(self);
    detail::CorrelateArrays(x, n, x, n, 0, lags - 1, y);
    if (norm == AutoNorm::Normal) return;
    double* d = self.PValues1D(0);
    const std::int32_t per = vec.Complex() ? 2 : 1;
    for (std::int32_t k = 0; k < lags; ++k) {
      const double s = 1.0 / (norm == AutoNorm::Biased ? n : n - k);
      for (std::int32_t c = 0; c < per; ++c) d[per * k + c] *= s;
    }
  });
  return self;
}

}  // namespace

TVec& TVec::AutoCorrBiased(const TVec& vec, std::int32_t lags) {
  return AutoCorr(*this, vec, lags, AutoNorm::Biased, "TVec.AutoCorrBiased: Lags > Vec.Length",
                  "TVec.AutoCorrBiased: Self = Vec");
}
TVec& TVec::AutoCorrNormal(const TVec& vec, std::int32_t lags) {
  return AutoCorr(*this, vec, lags, AutoNorm::Normal, "TVec.AutoCorrNormal: Lags > Vec.Length",
                  "TVec.AutoCorrNormal: Self = Vec");
}
TVec& TVec::AutoCorrUnBiased(const TVec& vec, std::int32_t lags) {
  return AutoCorr(*this, vec, lags, AutoNorm::UnBiased, "TVec.AutoCorrUnBiased: Lags > Vec.Length",
                  "TVec.AutoCorrUnBiased: Self = Vec");
}

TVec& TVec::CrossCorr(const TVec& in1, const TVec& in2, std::int32_t loLag, std::int32_t hiLag) {
  detail::RequireChecked(*this, !Is(in1) && !Is(in2), "TVec.CrossCorr: (Self = Vec1) or (Self = Vec2)");
  detail::Require(loLag >= 0, "TVec.CrossCorr: LoLag < 0");
  detail::Require(hiLag > loLag, "TVec.CrossCorr: HiLag <= LoLag");
  std::optional<TWorkVec> keep1, keep2;
  const TVec& vec1 = detail::Unaliased(*this, in1, keep1);
  const TVec& vec2 = detail::UnaliasedSecond(*this, in2, in1, vec1, keep2);
  const bool complex = vec1.Complex() || vec2.Complex();
  const std::int32_t n1 = vec1.Length(), n2 = vec2.Length();
  const std::int32_t count = (n1 == 0 || n2 == 0) ? 0 : hiLag - loLag + 1;
  Size(count, complex);
  if (count == 0) return *this;
  if (!complex) {
    detail::CorrelateArrays(vec1.PValues1D(0), n1, vec2.PValues1D(0), n2, loLag, hiLag, fValues);
    return *this;
  }
  TWorkVec w1, w2;
  detail::CorrelateArrays(AsComplex(vec1, *w1), n1, AsComplex(vec2, *w2), n2, loLag, hiLag, PCValues1D(0));
  return *this;
}

// --- 2-D ---------------------------------------------------------------------------------------------

TMtx& TMtx::Convolve(const TMtx& xIn, const TMtx& hIn, bool filter) {
  detail::RequireChecked(*this, !xIn.Complex() && !hIn.Complex(), "X.Complex or H.Complex");
  detail::RequireChecked(*this, !Is(xIn) && !Is(hIn), "(X = Self) or (H = Self)");
  std::optional<TWorkMtx> keepX, keepH;
  const TMtx& x = detail::Unaliased(*this, xIn, keepX);
  const TMtx& h = detail::UnaliasedSecond(*this, hIn, xIn, x, keepH);
  const std::int32_t rx = x.Rows(), cx = x.Cols(), rh = h.Rows(), ch = h.Cols();
  const bool empty = rx == 0 || cx == 0 || rh == 0 || ch == 0;
  const std::int32_t rf = empty ? 0 : rx + rh - 1, cf = empty ? 0 : cx + ch - 1;
  // The full result first (in Self, or in a work matrix when only its centre is kept).
  TWorkMtx work;
  TMtx& full = filter ? *work : *this;
  full.Size(rf, cf, false);
  if (!empty) {
    double* y = full.PValues1D(0);
    const double* px = x.PValues1D(0);
    const double* ph = h.PValues1D(0);
    const std::int64_t pairs = std::int64_t{rx} * cx * rh * ch;
    const std::int64_t size = std::int64_t{rf} * cf;
    if (!detail::ConvolveByFft(size, pairs / size + 1, size, false)) {
      // Row a of h slides along each row of x into its output row; terms add up in the order of
      // the rows of h, then along each row.
      std::fill(y, y + size, 0.0);
      for (std::int32_t a = 0; a < rh; ++a)
        for (std::int32_t i = 0; i < rx; ++i)
          kern::SlidingSums(kern::TSlide::Convolution, ph + std::int64_t{a} * ch, ch, px + std::int64_t{i} * cx, cx, 0,
                            y + std::int64_t{i + a} * cf, cf, true);
    } else {
      // Zero-padded in-place real 2-D transforms: rows of 2 * (nc div 2 + 1) doubles.
      const std::int32_t nr = detail::FftGoodSize(rf), nc = detail::FftGoodSize(cf);
      const std::int32_t stride = 2 * (nc / 2 + 1);
      TWorkVec wa, wb;
      for (TVec* w : {wa.get(), wb.get()}) {
        w->Size(nr * stride, false);
        w->SetZero();
      }
      for (std::int32_t i = 0; i < rx; ++i)
        std::memcpy(wa->PValues1D(i * stride), px + std::int64_t{i} * cx, sizeof(double) * cx);
      for (std::int32_t i = 0; i < rh; ++i)
        std::memcpy(wb->PValues1D(i * stride), ph + std::int64_t{i} * ch, sizeof(double) * ch);
      const TDftiHandle d = detail::ThreadDesc(nr, nc, {cefReal, cefInplace, cefUseScale});
      detail::DftiForward(d, wa->PValues1D(0), wa->PValues1D(0), "TMtx.Convolve: ");
      detail::DftiForward(d, wb->PValues1D(0), wb->PValues1D(0), "TMtx.Convolve: ");
      detail::MulSpectra(wa->PCValues1D(0), wa->PCValues1D(0), wb->PCValues1D(0), std::int64_t{nr} * stride / 2);
      detail::DftiBackward(d, wa->PValues1D(0), wa->PValues1D(0), "TMtx.Convolve: ");
      for (std::int32_t i = 0; i < rf; ++i)
        std::memcpy(y + std::int64_t{i} * cf, wa->PValues1D(i * stride), sizeof(double) * cf);
    }
  }
  if (!filter) return *this;
  Size(rx, cx, false);
  if (empty) {
    // An empty kernel adds no terms to any output.
    std::fill(fValues, fValues + std::int64_t{rx} * cx, 0.0);
    return *this;
  }
  const std::int32_t r0 = (rh - 1) / 2, c0 = (ch - 1) / 2;
  for (std::int32_t i = 0; i < rx; ++i)
    std::memcpy(fValues + std::int64_t{i} * cx, full.PValues1D((i + r0) * cf + c0), sizeof(double) * cx);
  return *this;
}

}  // namespace quorel
