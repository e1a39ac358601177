#pragma once
// Internal forms of the incomplete functions and the distributions built on them, with their
// log-gamma terms passed in. The public functions compute those terms per call; the vector
// overloads and the Newton inverses compute them once, with bit-identical results.

#include <cstdint>

namespace quorel::detail {

/// P(a, x) and Q(a, x) with lga = LnGamma(a).
double IGammaLg(double a, double x, double lga);
double JGammaLg(double a, double x, double lga);
/// I_x(a, b) with lnB = LnGamma(a + b) - LnGamma(a) - LnGamma(b).
double BetaIncompleteLb(double x, double a, double b, double lnB);
/// LnGamma(a + b) - LnGamma(a) - LnGamma(b).
double LnInvBeta(double a, double b);

double GammaPDFLg(double x, double a, double b, double lga);
double GammaCDFLg(double x, double a, double b, double lga);
double BetaPDFLb(double x, double a, double b, double lnB);
double BetaCDFLb(double x, double a, double b, double lnB);
/// lnB = LnInvBeta(nu / 2, 0.5).
double StudentCDFLb(double x, std::int32_t nu, double lnB);

}  // namespace quorel::detail
