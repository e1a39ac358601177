#pragma once
// The gamma function, its logarithm and sign, and the factorial.

#include <cstdint>

namespace quorel {

/// Gamma function over the whole real line: +-INF at +-0, NaN at the negative integers,
/// INF above MAXGAM, signed zero where it underflows far left.
double Gamma(double x);
/// ln |Gamma(x)|: INF at the poles (zero and the negative integers) and at +-INF. Relatively
/// accurate next to its zeros too (1, 2 and the pairs between the negative integers).
double LnGamma(double x);
/// The sign of Gamma(x), +1 or -1 (-1 at -0; at a pole -n the sign just right of it, (-1)^n);
/// NaN for NaN and -INF.
double SgnGamma(double x);
/// n!: NaN for n < 0, INF for n > MAXFAC, the table for n <= 30, else Gamma(n + 1).
double Fact(std::int32_t n);

}  // namespace quorel
