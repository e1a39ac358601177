// Bessel functions of moderate argument from their power series, evaluated in double-double
// arithmetic (about 106 bits) with, for every value, a bound on its absolute error built from
// the rounding bounds of each operation. A result is returned only when its whole error interval
// rounds to one double, so it is the correctly rounded value; otherwise the caller evaluates in
// ball arithmetic. The bounds are generous (2^-100 per operation against a true 2^-102 or less):
// the margin costs little, since 2^-53 is all the rounding test needs. Where no cancellation
// follows, the series stop at 2^-72 of their sums; K sizes its series to the cancellation of its
// two terms, estimated from their partial sums. Y and K of integer order come from the limit
// formula, whose second series carries digamma weights.

#include "quorel/special/detail/fast_bessel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>

#include "quorel/special/detail/fast_bessel_tables.h"

namespace quorel::detail {
namespace fast_plain {
namespace {
#define QUOREL_DD_FMA 0
#include "quorel/special/detail/fast_bessel_impl.inc"
#undef QUOREL_DD_FMA
}  // namespace
}  // namespace fast_plain

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define QUOREL_FAST_BESSEL_FMA 1
#pragma GCC push_options
#pragma GCC target("fma")
namespace fast_fma {
namespace {
#define QUOREL_DD_FMA 1
#include "quorel/special/detail/fast_bessel_impl.inc"
#undef QUOREL_DD_FMA
}  // namespace
}  // namespace fast_fma
#pragma GCC pop_options
#endif

bool FastBessel(TBesselKind kind, double nu, TCplx z, TBesselScale scale, TCplx& out) {
#ifdef QUOREL_FAST_BESSEL_FMA
  static const bool fma = __builtin_cpu_supports("fma");
  if (fma) return fast_fma::Evaluate(kind, nu, z, scale, out);
#endif
  return fast_plain::Evaluate(kind, nu, z, scale, out);
}

bool FastBesselPortable(TBesselKind kind, double nu, TCplx z, TBesselScale scale, TCplx& out) {
  return fast_plain::Evaluate(kind, nu, z, scale, out);
}

}  // namespace quorel::detail
