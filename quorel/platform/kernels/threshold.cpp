#include "quorel/platform/kernels/threshold.h"

#include <cmath>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::CNorm;
using detail::Map;
using detail::ToModulus;
using std::ptrdiff_t;

namespace {

QUOREL_KERNEL_INLINE TCplx Pick(bool take, TCplx value, TCplx z) {
  return {take ? value.Re : z.Re, take ? value.Im : z.Im};
}

// The modulus compared with a level: Re^2 + Im^2 in the fast loop, hypot for the lanes where that
// sum would over- or underflow.
template <class Fast, class Slow>
QUOREL_KERNEL_INLINE void MapByModulus(const TCplx* x, TCplx* r, ptrdiff_t n, Fast fast, Slow slow) {
  detail::MapUnlessRare(x, r, n, detail::NormInRange, fast,
                        [slow](TCplx z) { return slow(z, std::hypot(z.Re, z.Im)); });
}

}  // namespace

QUOREL_KERNEL void ThresholdLT(const double* x, double level, double* r, ptrdiff_t n) {
  Map(x, r, n, [level](double a) { return a < level ? level : a; });
}
QUOREL_KERNEL void ThresholdLT(const TCplx* x, double level, TCplx* r, ptrdiff_t n) {
  MapByModulus(
      x, r, n,
      [level](TCplx z) {
        const double m = std::sqrt(CNorm(z));
        return ToModulus(z, m, level, m < level);
      },
      [level](TCplx z, double m) { return detail::ToModulusWide(z, m, level, m < level); });
}
QUOREL_KERNEL void ThresholdGT(const double* x, double level, double* r, ptrdiff_t n) {
  Map(x, r, n, [level](double a) { return a > level ? level : a; });
}
QUOREL_KERNEL void ThresholdGT(const TCplx* x, double level, TCplx* r, ptrdiff_t n) {
  MapByModulus(
      x, r, n,
      [level](TCplx z) {
        const double m = std::sqrt(CNorm(z));
        return ToModulus(z, m, level, m > level);
      },
      [level](TCplx z, double m) { return detail::ToModulusWide(z, m, level, m > level); });
}
QUOREL_KERNEL void ThresholdLTVal(const double* x, double level, double value, double* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](double a) { return a < level ? value : a; });
}
QUOREL_KERNEL void ThresholdLTVal(const TCplx* x, double level, TCplx value, TCplx* r, ptrdiff_t n) {
  MapByModulus(
      x, r, n, [level, value](TCplx z) { return Pick(std::sqrt(CNorm(z)) < level, value, z); },
      [level, value](TCplx z, double m) { return Pick(m < level, value, z); });
}
QUOREL_KERNEL void ThresholdGTVal(const double* x, double level, double value, double* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](double a) { return a > level ? value : a; });
}
QUOREL_KERNEL void ThresholdGTVal(const TCplx* x, double level, TCplx value, TCplx* r, ptrdiff_t n) {
  MapByModulus(
      x, r, n, [level, value](TCplx z) { return Pick(std::sqrt(CNorm(z)) > level, value, z); },
      [level, value](TCplx z, double m) { return Pick(m > level, value, z); });
}
QUOREL_KERNEL void ThresholdLTValGTVal(const double* x, double ltLevel, double ltValue,
                                       double gtLevel, double gtValue, double* r, ptrdiff_t n) {
  Map(x, r, n, [=](double a) { return a < ltLevel ? ltValue : (a > gtLevel ? gtValue : a); });
}

}  // namespace quorel::kern
