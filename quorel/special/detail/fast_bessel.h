#pragma once
// Power-series evaluation of J, Y, I and K for moderate arguments, with an error bound that
// decides whether the correctly rounded double is known; otherwise the ball evaluation runs.

#include "quorel/core/types.h"
#include "quorel/platform/arb.h"

namespace quorel::detail {

/// Largest |z| the series evaluation accepts.
inline constexpr double kFastBesselMaxAbsZ = 12;
/// Largest order it accepts.
inline constexpr double kFastBesselMaxOrder = 12;

/// `scale` times the function of order nu >= 0 at z, each part correctly rounded, when the error
/// bound proves the rounding (then true). False, `out` untouched, when it cannot: an H kind,
/// |z| or nu out of range, too much cancellation, or a result outside [2^-960, 2^1020).
bool FastBessel(TBesselKind kind, double nu, TCplx z, TBesselScale scale, TCplx& out);

/// FastBessel without fused multiply-add whatever the processor offers, for the tests.
bool FastBesselPortable(TBesselKind kind, double nu, TCplx z, TBesselScale scale, TCplx& out);

}  // namespace quorel::detail
