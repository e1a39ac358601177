// Matrix FFTs: per-row batches and 2-D transforms through the descriptor cache.
#include <algorithm>
#include <cstring>
#include <optional>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/mtx.h"
#include "quorel/signal/detail/alias.h"
#include "quorel/signal/detail/dfti.h"
#include "quorel/signal/detail/fft_flags.h"

namespace quorel {

using detail::Inverse;
using detail::RealFlags;
using detail::WithOrder;

namespace {

double* D(const TQuorel& x) { return x.PValues1D(0); }
TCplx* C(const TQuorel& x) { return x.PCValues1D(0); }
bool Empty(const TMtx& m) { return m.Rows() == 0 || m.Cols() == 0; }

// Real length of rows padded for an in-place CCS transform of `cols` doubles.
std::int32_t PaddedLength(std::int32_t cols, bool odd) { return odd ? cols - 1 : cols - 2; }

// The two padding rows of a 2-D real layout hold zeros.
void ZeroLastRows(TMtx& m) {
  if (m.Rows() < 2) return;
  const std::int64_t per = std::int64_t{m.Cols()} * (m.Complex() ? 2 : 1);
  std::fill(D(m) + (m.Rows() - 2) * per, D(m) + m.Rows() * per, 0.0);
}

void Check2DShape(const TMtx& self, std::int32_t realCols, std::int32_t cols, std::int32_t rows, const char* colsMsg,
                  const char* rowsMsg) {
  if (!self.ConditionCheck()) return;
  // The messages are formatted only on failure: these checks guard every call.
  if (!(realCols > 2 && realCols % 2 == 0)) EInvalidArgumentRaise(FormatMsg(colsMsg, cols));
  if (rows < 3) EInvalidArgumentRaise(FormatMsg(rowsMsg, rows));
}

}  // namespace

// --- row batches -----------------------------------------------------------------------------------

TMtx& TMtx::FFT1D() {
  if (Empty(*this)) {
    set_Complex(true);
    return *this;
  }
  if (!fComplex) {
    TWorkMtx src;
    src->Assign(*this);
    return FFT1D(*src);
  }
  detail::DftiForward(DftiCache().GetDesc(fRows, fCols, WithOrder(*this, {cefInplace, cefUse1D, cefUseScale})),
                      C(*this), C(*this), "TMtx.FFT1D: ");
  return *this;
}

TMtx& TMtx::FFT1D(const TMtx& mtx) {
  if (Is(mtx)) return FFT1D();
  const std::int32_t rows = mtx.Rows(), cols = mtx.Cols();
  Size(rows, cols, true);
  if (Empty(mtx)) return *this;
  if (mtx.Complex()) {
    detail::DftiForward(DftiCache().GetDesc(rows, cols, WithOrder(*this, {cefUse1D, cefUseScale})), C(mtx), C(*this),
                        "TMtx.FFT1D: ");
    return *this;
  }
  // Each row's half spectrum lands at the start of its complex row, then the rest is filled.
  detail::DftiForward(
      DftiCache().GetDesc(rows, cols, WithOrder(*this, {cefReal, cefUse1D, cefUseScale, cefDoubleDistance})), D(mtx),
      C(*this), "TMtx.FFT1D: ");
  for (std::int32_t r = 0; r < rows; ++r) detail::ConjugateExtend(C(*this) + std::int64_t{r} * cols, cols);
  return *this;
}

TMtx& TMtx::FFT1DFromReal() {
  detail::RequireChecked(*this, !fComplex, "TMtx.FFT1DFromReal: Self is Complex");
  if (fComplex) set_Complex(false);
  if (Empty(*this)) return *this;
  const TCacheEntryFlags flags = RealFlags(*this, {cefReal, cefInplace, cefUse1D, cefUseScale});
  if (fFFTStorageFormat != fsfCCS) {
    detail::DftiForward(DftiCache().GetDesc(fRows, fCols, flags), D(*this), D(*this), "TMtx.FFT1D: ");
    return *this;
  }
  const std::int32_t n = PaddedLength(fCols, fFFTOddLength);
  if (fCols % 2 != 0 || n < 1) EInvalidArgumentRaise(FormatMsg("TMtx.FFT1DFromReal: Invalid Cols: %d", fCols));
  detail::DftiForward(DftiCache().GetDesc(fRows, n, flags), D(*this), D(*this), "TMtx.FFT1D: ");
  set_Complex(true);
  return *this;
}

TMtx& TMtx::FFT1DFromReal(const TMtx& in) {
  detail::RequireChecked(*this, !Is(in), "TMtx.FFT1DFromReal: Mtx = Self");
  // Unchecked, Self is read from a copy: the in-place form would take its rows as padded.
  std::optional<TWorkMtx> keep;
  const TMtx& mtx = detail::Unaliased(*this, in, keep);
  detail::RequireChecked(*this, !mtx.Complex(), "TMtx.FFT1DFromReal: Mtx is Complex");
  const std::int32_t rows = mtx.Rows(), cols = mtx.Complex() ? 2 * mtx.Cols() : mtx.Cols();
  const bool ccs = fFFTStorageFormat == fsfCCS;
  Size(rows, ccs ? cols / 2 + 1 : cols, ccs);
  if (ccs) fFFTOddLength = cols & 1;
  if (rows == 0 || cols == 0) return *this;
  detail::DftiForward(DftiCache().GetDesc(rows, cols, RealFlags(*this, {cefReal, cefUse1D, cefUseScale})), D(mtx),
                      D(*this), "TMtx.FFT1D: ");
  return *this;
}

TMtx& TMtx::IFFT1D(bool noScale) {
  detail::RequireChecked(*this, fComplex, "TMtx.IFFT1D: Self is not Complex");
  if (!fComplex) set_Complex(true);
  if (Empty(*this)) return *this;
  detail::DftiBackward(DftiCache().GetDesc(fRows, fCols, WithOrder(*this, Inverse({cefInplace, cefUse1D}, noScale))),
                       C(*this), C(*this), "TMtx.IFFT1D: ");
  return *this;
}

TMtx& TMtx::IFFT1D(const TMtx& mtx, bool noScale) {
  detail::RequireChecked(*this, !Is(mtx), "TMtx.IFFT1D: Mtx = Self");
  if (Is(mtx)) return IFFT1D(noScale);  // unchecked: in place gives what a copy would
  detail::RequireChecked(*this, mtx.Complex(), "TMtx.IFFT1D: Mtx is not Complex");
  const std::int32_t rows = mtx.Rows(), cols = mtx.Complex() ? mtx.Cols() : mtx.Cols() / 2;
  Size(rows, cols, true);
  if (Empty(*this)) return *this;
  detail::DftiBackward(DftiCache().GetDesc(rows, cols, WithOrder(*this, Inverse({cefUse1D}, noScale))), C(mtx),
                       C(*this), "TMtx.IFFT1D: ");
  return *this;
}

TMtx& TMtx::IFFT1DToReal(bool noScale) {
  const TCacheEntryFlags flags = RealFlags(*this, Inverse({cefReal, cefInplace, cefUse1D}, noScale));
  if (fFFTStorageFormat != fsfCCS) {
    detail::RequireChecked(*this, !fComplex, "TMtx.IFFT1DToReal: Self is Complex");
    if (fComplex) set_Complex(false);
    if (!Empty(*this))
      detail::DftiBackward(DftiCache().GetDesc(fRows, fCols, flags), D(*this), D(*this), "TMtx.IFFT1D: ");
    return *this;
  }
  detail::RequireChecked(*this, fComplex, "TMtx.IFFT1DToReal: Self is not Compelx");
  if (!fComplex) set_Complex(true);
  const std::int32_t n = detail::CcsRealLength(fCols, fFFTOddLength);
  set_Complex(false);
  if (fRows > 0 && n > 0)
    detail::DftiBackward(DftiCache().GetDesc(fRows, n, flags), D(*this), D(*this), "TMtx.IFFT1D: ");
  return *this;
}

TMtx& TMtx::IFFT1DToReal(const TMtx& mtx, bool noScale) {
  detail::RequireChecked(*this, !Is(mtx), "TMtx.IFFT1DToReal: Mtx = Self");
  if (Is(mtx)) return IFFT1DToReal(noScale);
  const TCacheEntryFlags flags = RealFlags(*this, Inverse({cefReal, cefUse1D}, noScale));
  const std::int32_t rows = mtx.Rows();
  if (fFFTStorageFormat != fsfCCS) {
    detail::RequireChecked(*this, !mtx.Complex(), "TMtx.IFFT1DToReal: Mtx is Complex");
    const std::int32_t n = mtx.Complex() ? 2 * mtx.Cols() : mtx.Cols();
    Size(rows, n, false);
    if (rows > 0 && n > 0) detail::DftiBackward(DftiCache().GetDesc(rows, n, flags), D(mtx), D(*this), "TMtx.IFFT1D: ");
    return *this;
  }
  detail::RequireChecked(*this, mtx.Complex(), "TMtx.IFFT1DToReal: Mtx is not Compelx");
  const std::int32_t m = mtx.Complex() ? mtx.Cols() : mtx.Cols() / 2;
  const std::int32_t n = detail::CcsRealLength(m, mtx.FFTOddLength());
  Size(rows, 2 * m, false);
  if (rows > 0 && n > 0) detail::DftiBackward(DftiCache().GetDesc(rows, n, flags), D(mtx), D(*this), "TMtx.IFFT1D: ");
  else SetZero();  // nothing to transform: no stale values
  return *this;
}

// --- 2-D -------------------------------------------------------------------------------------------

TMtx& TMtx::FFT2D() {
  if (!fComplex) ExtendToComplex(true);
  if (Empty(*this)) return *this;
  detail::DftiForward(DftiCache().GetDesc(fRows, fCols, WithOrder(*this, {cefInplace, cefUseScale})), C(*this),
                      C(*this), "TMtx.FFT2D: ");
  return *this;
}

TMtx& TMtx::FFT2D(const TMtx& mtx) {
  if (Is(mtx)) return FFT2D();
  const TDftiHandle d =
      Empty(mtx) ? nullptr : DftiCache().GetDesc(mtx.Rows(), mtx.Cols(), WithOrder(*this, {cefUseScale}));
  if (mtx.Complex()) {
    Size(mtx.Rows(), mtx.Cols(), true);
    if (d) detail::DftiForward(d, C(mtx), C(*this), "TMtx.FFT2D: ");
  } else {
    // A real source is widened into Self and transformed there.
    ExtendToComplex(mtx, true);
    if (d) detail::DftiForward(d, C(*this), C(*this), "TMtx.FFT2D: ");
  }
  return *this;
}

TMtx& TMtx::FFT2DFromReal() {
  detail::RequireChecked(*this, !fComplex, "TMtx.FFT2DFromReal: Self is Complex");
  Check2DShape(*this, fComplex ? 2 * fCols : fCols, fCols, fRows, "TMtx.FFT2DFromReal: Invalid Cols: %d",
               "TMtx.FFT2DFromReal: Invalid Rows: %d");
  if (fComplex) set_Complex(false);
  const std::int32_t n = PaddedLength(fCols, fFFTOddLength);
  if (fRows < 3 || n < 1 || fCols % 2) return *this;
  detail::DftiForward(DftiCache().GetDesc(fRows - 2, n, RealFlags(*this, {cefReal, cefInplace, cefUseScale})), D(*this),
                      D(*this), "TMtx.FFT2D: ");
  set_Complex(true);
  ZeroLastRows(*this);
  return *this;
}

TMtx& TMtx::FFT2DFromReal(const TMtx& in) {
  detail::RequireChecked(*this, !Is(in), "TMtx.FFT2DFromReal: Mtx = Self");
  std::optional<TWorkMtx> keep;  // as in FFT1DFromReal(Mtx)
  const TMtx& mtx = detail::Unaliased(*this, in, keep);
  detail::RequireChecked(*this, !mtx.Complex(), "TMtx.FFT2DFromReal: Mtx is Complex");
  const std::int32_t rows = mtx.Rows(), cols = mtx.Complex() ? 2 * mtx.Cols() : mtx.Cols();
  Size(rows + 2, cols / 2 + 1, true);
  fFFTOddLength = cols & 1;
  ZeroLastRows(*this);
  if (rows == 0 || cols == 0) return *this;
  detail::DftiForward(DftiCache().GetDesc(rows, cols, RealFlags(*this, {cefReal, cefUseScale})), D(mtx), C(*this),
                      "TMtx.FFT2D: ");
  return *this;
}

TMtx& TMtx::IFFT2D(bool noScale) {
  detail::RequireChecked(*this, fComplex, "TMtx.IFFT2D: Self is not Complex");
  if (!fComplex) set_Complex(true);
  if (Empty(*this)) return *this;
  detail::DftiBackward(DftiCache().GetDesc(fRows, fCols, WithOrder(*this, Inverse({cefInplace}, noScale))), C(*this),
                       C(*this), "TMtx.IFFT2D: ");
  return *this;
}

TMtx& TMtx::IFFT2D(const TMtx& mtx, bool noScale) {
  detail::RequireChecked(*this, !Is(mtx), "TMtx.IFFT2D: Mtx = Self");
  if (Is(mtx)) return IFFT2D(noScale);
  detail::RequireChecked(*this, mtx.Complex(), "TMtx.IFFT2D: Mtx is not Complex");
  const std::int32_t rows = mtx.Rows(), cols = mtx.Complex() ? mtx.Cols() : mtx.Cols() / 2;
  Size(rows, cols, true);
  if (Empty(*this)) return *this;
  detail::DftiBackward(DftiCache().GetDesc(rows, cols, WithOrder(*this, Inverse({}, noScale))), C(mtx), C(*this),
                       "TMtx.IFFT2D: ");
  return *this;
}

TMtx& TMtx::IFFT2DToReal(bool noScale) {
  detail::RequireChecked(*this, fComplex, "TMtx.FFT2DFromReal: Self is not Complex");
  if (!fComplex) set_Complex(true);
  Check2DShape(*this, 2 * fCols, fCols, fRows, "TMtx.IFFT2DFromReal: Invalid Cols: %d",
               "TMtx.IFFT2DFromReal: Invalid Rows: %d");
  const std::int32_t n = detail::CcsRealLength(fCols, fFFTOddLength);
  set_Complex(false);
  if (fRows < 3 || n < 1) return *this;
  detail::DftiBackward(DftiCache().GetDesc(fRows - 2, n, RealFlags(*this, Inverse({cefReal, cefInplace}, noScale))),
                       D(*this), D(*this), "TMtx.IFFT2D: ");
  ZeroLastRows(*this);
  return *this;
}

TMtx& TMtx::IFFT2DToReal(const TMtx& mtx, bool noScale) {
  detail::RequireChecked(*this, !Is(mtx), "TMtx.IFFT2DToReal: Mtx = Self");
  if (Is(mtx)) return IFFT2DToReal(noScale);
  detail::RequireChecked(*this, mtx.Complex(), "TMtx.IFFT2DFromReal: Mtx is not Complex");
  const std::int32_t m = mtx.Complex() ? mtx.Cols() : mtx.Cols() / 2;
  Check2DShape(*this, 2 * m, mtx.Cols(), mtx.Rows(), "TMtx.IFFT2DFromReal: Invalid Cols: %d",
               "TMtx.IFFT2DFromReal: Invalid Rows: %d");
  const std::int32_t n = detail::CcsRealLength(m, mtx.FFTOddLength());
  Size(mtx.Rows(), 2 * m, false);
  if (fRows >= 3 && n >= 1)
    detail::DftiBackward(DftiCache().GetDesc(fRows - 2, n, RealFlags(*this, Inverse({cefReal}, noScale))), D(mtx),
                         D(*this), "TMtx.IFFT2D: ");
  ZeroLastRows(*this);
  return *this;
}

}  // namespace quorel
