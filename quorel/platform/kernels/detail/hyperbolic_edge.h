#pragma once
// sinh and cosh next to the overflow threshold. For |x| between about 709.78 and 710.48,
// e^|x| overflows while sinh x and cosh x (about e^|x| / 2) do not: the SIMD formulas built on
// e^|x| give infinity there. These take the value in extended precision instead.

namespace quorel::kern::detail {

/// Arguments with kHyperbolicEdge < |x| <= kHyperbolicTop go through the functions below; beyond
/// the top both overflow (from 710.4758600739439 on), as the SIMD formulas already say.
inline constexpr double kHyperbolicEdge = 707.0;
/// Upper end of the range handled here.
inline constexpr double kHyperbolicTop = 710.5;

/// sinh x for kHyperbolicEdge < |x| <= kHyperbolicTop, within 0.51 ulp.
double SinhNearOverflow(double x);
/// cosh x for kHyperbolicEdge < |x| <= kHyperbolicTop, within 0.51 ulp.
double CoshNearOverflow(double x);

}  // namespace quorel::kern::detail
