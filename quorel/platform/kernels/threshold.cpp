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

}  // namespace

QUOREL_KERNEL void ThresholdLT(const double* x, double level, double* r, ptrdiff_t n) {
  Map(x, r, n, [level](double a) { return a < level ? level : a; });
}
QUOREL_KERNEL void ThresholdLT(const TCplx* x, double level, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [level](TCplx z) {
    const double m = std::sqrt(CNorm(z));
    return ToModulus(z, m, level, m < level);
  });
}
QUOREL_KERNEL void ThresholdGT(const double* x, double level, double* r, ptrdiff_t n) {
  Map(x, r, n, [level](double a) { return a > level ? level : a; });
}
QUOREL_KERNEL void ThresholdGT(const TCplx* x, double level, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [level](TCplx z) {
    const double m = std::sqrt(CNorm(z));
    return ToModulus(z, m, level, m > level);
  });
}
QUOREL_KERNEL void ThresholdLTVal(const double* x, double level, double value, double* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](double a) { return a < level ? value : a; });
}
QUOREL_KERNEL void ThresholdLTVal(const TCplx* x, double level, TCplx value, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](TCplx z) { return Pick(std::sqrt(CNorm(z)) < level, value, z); });
}
QUOREL_KERNEL void ThresholdGTVal(const double* x, double level, double value, double* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](double a) { return a > level ? value : a; });
}
QUOREL_KERNEL void ThresholdGTVal(const TCplx* x, double level, TCplx value, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [level, value](TCplx z) { return Pick(std::sqrt(CNorm(z)) > level, value, z); });
}
QUOREL_KERNEL void ThresholdLTValGTVal(const double* x, double ltLevel, double ltValue,
                                       double gtLevel, double gtValue, double* r, ptrdiff_t n) {
  Map(x, r, n, [=](double a) { return a < ltLevel ? ltValue : (a > gtLevel ? gtValue : a); });
}

}  // namespace quorel::kern
