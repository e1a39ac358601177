// Element-wise functions whose shapes are their own: powers with an array exponent or a complex
// parameter, integer powers, ArcTan2, Expj, Rem, Sgn and TruncAndFrac. Functions with plain scalar
// parameters and the two-output SinCos and SinhCosh are lines of elementwise_methods.inc.
#include <cmath>

#include "quorel/core/detail/checks.h"
#include "quorel/core/math387.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/expj.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/platform/kernels/move.h"
#include "quorel/platform/kernels/round.h"

namespace quorel {

using detail::C;
using detail::MakeOp;
using detail::R;
using detail::Require;
using detail::Rule;
using detail::SafeSource;
using detail::Same;

namespace {
// r[i] = f(x[i]) with a scalar function, for complex forms that have no vector kernel.
template <class X, class F>
void ForEach(const X* x, TCplx* r, std::ptrdiff_t n, F&& f) {
  for (std::ptrdiff_t i = 0; i < n; ++i) r[i] = f(x[i]);
}
}  // namespace

// --- powers --------------------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::Power(double base, const TDenseQuorel& exponent) {
  if (fConditionCheck) Require(!Same(*this, exponent), "Self = Base");
  const bool complex = exponent.fComplex;
  const SafeSource e(*this, exponent);
  Size(exponent, complex);
  const std::int32_t n = fLength;
  if (n == 0) return *this;
  if (complex) {
    ForEach(C(*e), C(*this), n, [base](const TCplx& x) { return quorel::Power(base, x); });
  } else {
    // base^x as exp(x ln base) would lose accuracy; the power kernel takes the base as an array.
    kern::Fill(base, R(*this), n);
    kern::Pow(R(*this), R(*e), R(*this), n);
  }
  return *this;
}

TDenseQuorel& TDenseQuorel::Power(const TDenseQuorel& base, const TCplx& exponent) {
  if (fConditionCheck) Require(!Same(*this, base), "Self = Base");
  const bool complex = base.fComplex;
  const SafeSource b(*this, base);
  Size(base, true);
  if (complex) ForEach(C(*b), C(*this), fLength, [&](const TCplx& x) { return quorel::Power(x, exponent); });
  else ForEach(R(*b), C(*this), fLength, [&](double x) { return quorel::Power(TCplx{x, 0.0}, exponent); });
  return *this;
}

TDenseQuorel& TDenseQuorel::Power(const TCplx& base, const TDenseQuorel& exponent) {
  if (fConditionCheck) Require(!Same(*this, exponent), "Self = Base");
  const bool complex = exponent.fComplex;
  const SafeSource e(*this, exponent);
  Size(exponent, true);
  if (complex) ForEach(C(*e), C(*this), fLength, [&](const TCplx& x) { return quorel::Power(base, x); });
  else ForEach(R(*e), C(*this), fLength, [&](double x) { return quorel::Power(base, x); });
  return *this;
}

TDenseQuorel& TDenseQuorel::PowerVec(const TDenseQuorel& base, const TDenseQuorel& exponent) {
  if (fConditionCheck) {
    Require(!Same(*this, base), "Self = Base");
    Require(!Same(*this, exponent), "Self = Exponent");
    Require(base.fLength == exponent.fLength, "Base.Length <> Exponent.Length");
  }
  const bool bc = base.fComplex, ec = exponent.fComplex;
  const std::int32_t n = std::min(base.fLength, exponent.fLength);
  const SafeSource bs(*this, base), es(*this, exponent);
  Size(base, bc || ec);
  if (n == 0) return *this;
  if (!fComplex) {
    kern::Pow(R(*bs), R(*es), R(*this), n);
    return *this;
  }
  TCplx* r = C(*this);
  for (std::int32_t i = 0; i < n; ++i) {
    const TCplx b = bc ? C(*bs)[i] : TCplx{R(*bs)[i], 0.0};
    const TCplx e = ec ? C(*es)[i] : TCplx{R(*es)[i], 0.0};
    r[i] = quorel::Power(b, e);
  }
  return *this;
}

namespace {
// x^n by repeated multiplication of the array with itself, inverted for negative n.
auto IntPowerOp(std::int32_t n) {
  return MakeOp<Rule::Both>({"IntPower: X = Self", "IntPower: Self.Complex <> X.Complex"},
                            [n](auto x, auto r, std::ptrdiff_t len) {
                              using T = std::remove_const_t<std::remove_pointer_t<decltype(x)>>;
                              if (n == 0) {
                                if constexpr (std::is_same_v<T, double>) kern::Fill(1.0, r, len);
                                else kern::Fill(C_ONE, r, len);
                                return;
                              }
                              kern::Copy(x, r, len);
                              const std::int32_t m = n < 0 ? -n : n;
                              for (std::int32_t k = 1; k < m; ++k) kern::Mul(r, x == r ? r : x, r, len);
                              if (n < 0) {
                                if constexpr (std::is_same_v<T, double>) kern::Inv(r, r, len);
                                else kern::DivideValue(r, C_ONE, r, len);
                              }
                            });
}
}  // namespace

TDenseQuorel& TDenseQuorel::IntPower(std::int32_t n) {
  if (n == 0 || n == 1 || n == -1 || fLength == 0) return detail::Unary(*this, IntPowerOp(n));
  // In place the source is overwritten by the running product: keep a copy of it.
  TWorkVec base;
  base->Copy(*this);
  return IntPower(*base, n);
}

TDenseQuorel& TDenseQuorel::IntPower(const TDenseQuorel& x, std::int32_t n) {
  return detail::Unary(*this, IntPowerOp(n), x);
}

// --- two sources: ArcTan2, Rem -----------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::ArcTan2(const TDenseQuorel& y, const TDenseQuorel& x) {
  if (fConditionCheck) {
    Require(!Same(*this, y), "TVec.ArcTan2: Y = Self");
    Require(!x.fComplex && !y.fComplex, "TQuorel.ArcTan2: X.Complex or Y.Complex");
    Require(x.fLength == y.fLength, "TQuorel.ArcTan2: X.Length <> Y.Length");
  }
  const std::int32_t n = std::min(x.fLength, y.fLength);
  const SafeSource ys(*this, y), xs(*this, x);
  Size(y, false);
  if (n > 0) kern::ArcTan2(R(*ys), R(*xs), R(*this), n);
  return *this;
}

TDenseQuorel& TDenseQuorel::ArcTan2(const TDenseQuorel& y, const TDenseQuorel& x, std::int32_t yIndex,
                                    std::int32_t xIndex, std::int32_t index, std::int32_t len) {
  ValidateParams(y, x, yIndex, xIndex, index, len);
  if (fConditionCheck) {
    Require(!Same(*this, y), "TQuorel.ArcTan2: Y = Self");
    Require(!x.fComplex && !y.fComplex && !fComplex, "TVec.ArcTan2: X.Complex or Y.Complex or Self.Complex");
  }
  const SafeSource ys(*this, y), xs(*this, x);
  if (len > 0) kern::ArcTan2(R(*ys, yIndex), R(*xs, xIndex), R(*this, index), len);
  return *this;
}

namespace {
void CheckRem(const TDenseQuorel& self, const TDenseQuorel& x, const TDenseQuorel* y) {
  if (!self.ConditionCheck()) return;
  Require(!Same(self, x), "TQuorel.Rem: X = Self");
  if (y) Require(!Same(self, *y), "TQuorel.Rem: Y = Self");
  Require(!x.Complex(), "TQuorel.Rem: X is Complex");
  if (y) Require(!y->Complex(), "TQuorel.Rem: Y is Complex");
}
}  // namespace

TDenseQuorel& TDenseQuorel::Rem(const TDenseQuorel& x, const TDenseQuorel& y) {
  CheckRem(*this, x, &y);
  if (fConditionCheck) Require(x.fLength == y.fLength, "TQuorel.Rem: X.Length <> Y.Length");
  const std::int32_t n = std::min(x.fLength, y.fLength);
  const SafeSource xs(*this, x), ys(*this, y);
  Size(x, false);
  if (n > 0) kern::Rem(R(*xs), R(*ys), R(*this), n);
  return *this;
}

TDenseQuorel& TDenseQuorel::Rem(const TDenseQuorel& x, const TDenseQuorel& y, std::int32_t xIndex,
                                std::int32_t yIndex, std::int32_t index, std::int32_t len) {
  ValidateParams(x, y, xIndex, yIndex, index, len);
  CheckRem(*this, x, &y);
  if (fConditionCheck) Require(!fComplex, "TQuorel.Rem: Self is Complex");
  const SafeSource xs(*this, x), ys(*this, y);
  if (len > 0) kern::Rem(R(*xs, xIndex), R(*ys, yIndex), R(*this, index), len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Rem(const TDenseQuorel& x, double value) {
  CheckRem(*this, x, nullptr);
  const SafeSource xs(*this, x);
  Size(x, false);
  if (fLength > 0) kern::Rem(R(*xs), value, R(*this), fLength);
  return *this;
}

TDenseQuorel& TDenseQuorel::Rem(const TDenseQuorel& x, double value, std::int32_t xIndex, std::int32_t index,
                                std::int32_t len) {
  ValidateParams(x, xIndex, index, len);
  CheckRem(*this, x, nullptr);
  if (fConditionCheck) Require(!fComplex, "TQuorel.Rem: Self is Complex");
  const SafeSource xs(*this, x);
  if (len > 0) kern::Rem(R(*xs, xIndex), value, R(*this, index), len);
  return *this;
}

// --- TruncAndFrac: two outputs of the source's kind --------------------------------------------------------------

TDenseQuorel& TDenseQuorel::TruncAndFrac(TDenseQuorel& truncDst, TDenseQuorel& fracDst) {
  if (fConditionCheck) {
    Require(!Same(*this, truncDst), "TQuorel.TruncAndFrac, TruncDst: X = Self");
    Require(!Same(*this, fracDst), "TQuorel.TruncAndFrac, FracDst: X = Self");
  }
  // Both outputs are checked before either is written.
  fracDst.RequireSizable(*this, fComplex);
  const std::int64_t n = DoublesFor(fLength);
  const SafeSource src(*this, detail::OutputsShare(*this, truncDst, fracDst));
  truncDst.Size(*this, fComplex);
  fracDst.Size(*this, fComplex);
  // Complex data is split part by part, as 2n doubles.
  if (n > 0) kern::TruncAndFrac(R(*src), R(truncDst), R(fracDst), n);
  return *this;
}

TDenseQuorel& TDenseQuorel::TruncAndFrac(TDenseQuorel& truncDst, TDenseQuorel& fracDst, std::int32_t truncIndex,
                                         std::int32_t fracIndex, std::int32_t index, std::int32_t len) {
  if (len == -1) len = fLength - index;  // Index and Len address Self, not the outputs
  truncDst.ValidateParams2(*this, index, truncIndex, len);
  fracDst.ValidateParams2(*this, index, fracIndex, len);
  if (fConditionCheck) {
    Require(!Same(*this, truncDst), "TQuorel.TruncAndFrac, TruncDst: X = Self");
    Require(!Same(*this, fracDst), "TQuorel.TruncAndFrac, FracDst: X = Self");
    Require(truncDst.Complex() == fComplex, "TQuorel.TruncAndFrac, Self.Complex <> TruncDst.Complex");
    Require(fracDst.Complex() == fComplex, "TQuorel.TruncAndFrac, Self.Complex <> FracDst.Complex");
  }
  const SafeSource src(*this, detail::OutputsShare(*this, truncDst, fracDst));
  if (len > 0)
    kern::TruncAndFrac(R(*src, static_cast<std::int32_t>(DoublesFor(index))),
                       R(truncDst, static_cast<std::int32_t>(DoublesFor(truncIndex))),
                       R(fracDst, static_cast<std::int32_t>(DoublesFor(fracIndex))), DoublesFor(len));
  return *this;
}

// --- Expj and Sgn --------------------------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::Expj(const TDenseQuorel& omega) {
  if (fConditionCheck) {
    Require(!Same(*this, omega), "TQuorel.Expj: Omega = Self");
    Require(!omega.fComplex, "TQuorel.Expj: Omega.Complex = True");
  }
  const SafeSource src(*this, omega);
  Size(omega, true);
  if (fLength > 0) kern::Expj(R(*src), C(*this), fLength);
  return *this;
}

TDenseQuorel& TDenseQuorel::Expj(const TDenseQuorel& omega, std::int32_t omegaIndex, std::int32_t index,
                                 std::int32_t len) {
  ValidateParams(omega, omegaIndex, index, len);
  if (fConditionCheck) {
    Require(!omega.fComplex, "TQuorel.Expj: Omega.Complex = True");
    Require(fComplex, "TQuorel.Expj: Complex = False");
  }
  const SafeSource src(*this, omega);
  if (len > 0) kern::Expj(R(*src, omegaIndex), C(*this, index), len);
  return *this;
}

// Self := Self * sgn(SgnSrc); both checks are made whatever ConditionCheck says.
TDenseQuorel& TDenseQuorel::Sgn(const TDenseQuorel& sgnSrc) {
  Require(!Same(*this, sgnSrc), "TQuorel.Sgn: Self = SgnSrc");
  Require(fLength == sgnSrc.fLength, "TQuorel.Sgn: Self.Length <> SgnSrc.Length");
  if (fLength == 0) return *this;
  const SafeSource src(*this, sgnSrc);  // a view over other positions of Self
  const TDenseQuorel& x = *src;
  if (fComplex && x.Complex()) kern::SgnMul(C(*this), C(x), C(*this), fLength);
  else if (fComplex) kern::SgnMul(C(*this), R(x), C(*this), fLength);
  else if (x.Complex()) kern::SgnMul(R(*this), C(x), R(*this), fLength);
  else kern::SgnMul(R(*this), R(x), R(*this), fLength);
  return *this;
}

}  // namespace quorel
