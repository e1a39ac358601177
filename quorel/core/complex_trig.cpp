#include "quorel/core/complex_trig.h"

#include "quorel/core/detail/x87.h"

namespace quorel {

using detail::LCplx;

namespace {
// 1/w by Smith's quotient, written so that a zero part keeps its sign: 1.0L / w promotes 1 to
// (1, +0), and its (0 * re - 1 * im) turns -0 into +0, putting both sides of a branch cut on one
// side. Smith's form also rounds less than (re, -im) / |w|^2, which counts near the branch points,
// where the inverse functions magnify every error of 1/w. Zero, infinite or NaN parts: the
// library's division, which handles those.
LCplx Recip(const LCplx& w) {
  const long double re = w.real(), im = w.imag();
  if (!std::isfinite(re) || !std::isfinite(im) || (re == 0 && im == 0)) return 1.0L / w;
  if (std::fabs(re) >= std::fabs(im)) {
    const long double ratio = im / re, denom = re + im * ratio;
    return {1 / denom, -ratio / denom};
  }
  const long double ratio = re / im, denom = re * ratio + im;
  return {ratio / denom, -1 / denom};
}
// f evaluated on the extended-precision value of z, rounded once.
template <class F>
TCplx Apply(const TCplx& z, F f) {
  return detail::Narrow(f(detail::Widen(z)));
}
// f at 1/z: the reciprocal stays in extended precision.
template <class F>
TCplx ApplyInv(const TCplx& z, F f) {
  return detail::Narrow(f(Recip(detail::Widen(z))));
}
// 1/f(z).
template <class F>
TCplx ApplyRecip(const TCplx& z, F f) {
  return detail::Narrow(Recip(f(detail::Widen(z))));
}
}  // namespace

TCplx Sin(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::sin(w); }); }
TCplx Cos(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::cos(w); }); }
TCplx Tan(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::tan(w); }); }
TCplx Sec(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::cos(w); }); }
TCplx Csc(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::sin(w); }); }
TCplx Cot(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::tan(w); }); }
TCplx Sinh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::sinh(w); }); }
TCplx Cosh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::cosh(w); }); }
TCplx Tanh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::tanh(w); }); }
TCplx Sech(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::cosh(w); }); }
TCplx Csch(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::sinh(w); }); }
TCplx Coth(const TCplx& z) { return ApplyRecip(z, [](const LCplx& w) { return std::tanh(w); }); }

TCplx ArcSin(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::asin(w); }); }
TCplx ArcCos(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::acos(w); }); }
TCplx ArcTan(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::atan(w); }); }
TCplx ArcSec(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::acos(w); }); }
TCplx ArcCsc(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::asin(w); }); }
TCplx ArcCot(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::atan(w); }); }
TCplx ArcSinh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::asinh(w); }); }
TCplx ArcCosh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::acosh(w); }); }
TCplx ArcTanh(const TCplx& z) { return Apply(z, [](const LCplx& w) { return std::atanh(w); }); }
TCplx ArcSech(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::acosh(w); }); }
TCplx ArcCsch(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::asinh(w); }); }
TCplx ArcCoth(const TCplx& z) { return ApplyInv(z, [](const LCplx& w) { return std::atanh(w); }); }

}  // namespace quorel
