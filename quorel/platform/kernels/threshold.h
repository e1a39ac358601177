#pragma once
// Threshold kernels. Conventions as in kernels_arith.h. Real data is compared by value,
// complex data by modulus (textbook sqrt(Re^2 + Im^2)). NaN never passes a test, so it is
// copied through unchanged.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// x < level -> level. Complex: a modulus below level is raised to level keeping the phase
/// (0 becomes (level, 0)).
void ThresholdLT(const double* x, double level, double* r, std::ptrdiff_t n);
void ThresholdLT(const TCplx* x, double level, TCplx* r, std::ptrdiff_t n);
/// x > level -> level. Complex: a modulus above level is lowered to level keeping the phase.
void ThresholdGT(const double* x, double level, double* r, std::ptrdiff_t n);
void ThresholdGT(const TCplx* x, double level, TCplx* r, std::ptrdiff_t n);
/// x < level -> value (complex: modulus below level).
void ThresholdLTVal(const double* x, double level, double value, double* r, std::ptrdiff_t n);
void ThresholdLTVal(const TCplx* x, double level, TCplx value, TCplx* r, std::ptrdiff_t n);
/// x > level -> value (complex: modulus above level).
void ThresholdGTVal(const double* x, double level, double value, double* r, std::ptrdiff_t n);
void ThresholdGTVal(const TCplx* x, double level, TCplx value, TCplx* r, std::ptrdiff_t n);
/// x < ltLevel -> ltValue, else x > gtLevel -> gtValue.
void ThresholdLTValGTVal(const double* x, double ltLevel, double ltValue, double gtLevel,
                         double gtValue, double* r, std::ptrdiff_t n);

}  // namespace quorel::kern
