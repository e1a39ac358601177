#pragma once
// Modified Bessel function I0 and Bessel function J0 of a real argument.

namespace quorel {

/// I0(x): INF beyond |x| ~ 713.98.
double BesselI0(double x);
/// J0(x), with relative accuracy also next to its zeros below 80.
double BesselJ0(double x);

}  // namespace quorel
