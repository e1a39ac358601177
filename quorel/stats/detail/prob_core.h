#pragma once
// Internal forms of the incomplete functions and the distributions built on them, with their
// log-gamma terms passed in. The public functions compute those terms per call; the vector
// overloads and the Newton inverses compute them once, with bit-identical results.

#include <cmath>
#include <cstdint>

namespace quorel::detail {

/// x^a e^-x / Gamma(a), lga = LnGamma(a): the prefactor of both forms of the incomplete gamma
/// function, shared so that the block forms compute it with the very same operations.
double GammaPrefactor(double a, double x, double lga);
/// LnGamma(0.5), the lga of the error function.
double LnGammaHalf();
/// min(1, v) with NaN kept: the cap of the distribution functions.
inline double CapAtOne(double v) { return v > 1.0 ? 1.0 : v; }

/// P(a, x) and Q(a, x) with lga = LnGamma(a).
double IGammaLg(double a, double x, double lga);
double JGammaLg(double a, double x, double lga);
/// I_x(a, b) with lnB = LnGamma(a + b) - LnGamma(a) - LnGamma(b).
double BetaIncompleteLb(double x, double a, double b, double lnB);
/// LnGamma(a + b) - LnGamma(a) - LnGamma(b).
double LnInvBeta(double a, double b);

double GammaPDFLg(double x, double a, double b, double lga);

/// GammaCDFInv's Newton tolerances, relative and absolute.
inline constexpr double kGammaInvRtol = 5.6843418860808e-14, kGammaInvAtol = 1.4901161194e-8;
/// The log-normal GammaCDFInv starts from: mu and s from the gamma's mean and variance. The
/// log-variance stands in for the spread on purpose; it only shapes the start.
struct TGammaInvStart {
  double mu, s;
};
inline TGammaInvStart GammaInvStart(double a, double b) {
  const double m = a * b, v = a * b * b;
  return {2.0 * std::log(m) - 0.5 * std::log(m * m + v), std::log(m * m + v) - 2.0 * std::log(m)};
}
double GammaCDFLg(double x, double a, double b, double lga);
double BetaPDFLb(double x, double a, double b, double lnB);
double BetaCDFLb(double x, double a, double b, double lnB);
/// lnB = LnInvBeta(nu / 2, 0.5).
double StudentCDFLb(double x, std::int32_t nu, double lnB);

/// The start value of ErfInv(y), -1 < y < 1, given lnTail = ln((1 - |y|) / 2) (only used for
/// |y| > 0.7). Branch-free, so a loop over a block vectorises.
inline double ErfInvStart(double y, double lnTail) {
  const double z = y * y;
  const double mid = y * (((-0.140543331 * z + 0.914624893) * z - 1.645349621) * z + 0.886226899) /
                     ((((0.012229801 * z - 0.329097515) * z + 1.442710462) * z - 2.118377725) * z + 1.0);
  const double t = std::sqrt(std::fabs(lnTail));
  const double tail = (((1.641345311 * t + 3.429567803) * t - 1.624906493) * t - 1.970840454) /
                      ((1.6370678 * t + 3.5438892) * t + 1.0);
  return std::fabs(y) <= 0.7 ? mid : (y < 0.0 ? -tail : tail);
}

/// One damped correction of ErfInv: the derivative factor is exp(+x^2), as the library always had it.
inline double ErfInvStep(double x, double y, double erfX, double expX2) {
  return x - (erfX - y) / (1.1283791670955126 * expX2);
}

}  // namespace quorel::detail
