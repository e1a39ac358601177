#pragma once
// Distribution samplers over a basic generator. Continuous samplers work on blocks: raw integers
// into a buffer, converted to uniforms in one loop, then the vector kernels (logarithm, sine,
// cosine, tangent, power, exponential). Discrete samplers are exact: inversion for small means,
// acceptance-rejection with an exact final test for large ones.
//
// Parameters are not checked here: the *Ok predicates say which values a sampler accepts, and a
// caller must test them first (invalid values could loop for ever or overflow).

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "quorel/platform/random/engines.h"

namespace quorel::rng {

// --- parameter domains ---------------------------------------------------------------------------
inline bool Finite(double x) { return std::isfinite(x); }
inline bool UniformOk(double a, double b) { return Finite(a) && Finite(b) && a < b; }
/// Location finite, scale positive and finite (Gaussian, exponential, Laplace, Cauchy, ...).
inline bool LocScaleOk(double a, double scale) { return Finite(a) && Finite(scale) && scale > 0; }
inline bool WeibullOk(double alpha, double a, double beta) { return Finite(alpha) && alpha > 0 && LocScaleOk(a, beta); }
inline bool LognormalOk(double a, double sigma, double b, double beta) {
  return LocScaleOk(a, sigma) && LocScaleOk(b, beta);
}
inline bool ProbOk(double p) { return p >= 0 && p <= 1; }
/// Geometric and negative binomial: p in (0, 1].
inline bool PositiveProbOk(double p) { return p > 0 && p <= 1; }
inline bool BinomialOk(std::int32_t ntrial, double p) { return ntrial >= 0 && ProbOk(p); }
inline bool HypergeometricOk(std::int32_t lot, std::int32_t sample, std::int32_t marked) {
  return lot >= 0 && sample >= 0 && sample <= lot && marked >= 0 && marked <= lot;
}
inline bool NegbinomialOk(double a, double p) { return Finite(a) && a > 0 && PositiveProbOk(p); }
/// Largest Poisson mean accepted: the draws must stay far inside the 32-bit range.
inline constexpr double kMaxLambda = 1 << 30;
inline bool PoissonOk(double lambda) { return lambda > 0 && lambda <= kMaxLambda; }
inline bool UniformIOk(std::int32_t a, std::int32_t b) { return a < b; }

// --- continuous ----------------------------------------------------------------------------------
void Uniform(TEngine& e, double* r, std::ptrdiff_t n, double a, double b);
/// method 0: one value per pair (sine branch); 1: both values per pair, sine then cosine, an odd
/// count keeping the cosine partner in the generator for the next call.
void Gaussian(TEngine& e, double* r, std::ptrdiff_t n, double mean, double sigma, int method);
void Exponential(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta);
void Laplace(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta);
void Weibull(TEngine& e, double* r, std::ptrdiff_t n, double alpha, double a, double beta);
void Cauchy(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta);
void Rayleigh(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta);
void Lognormal(TEngine& e, double* r, std::ptrdiff_t n, double a, double sigma, double b, double beta);
void Gumbel(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta);
/// n standard normals from whole Box-Muller pairs (an odd last partner is dropped; no carry).
void StdNormalFill(TEngine& e, double* r, std::ptrdiff_t n);

// --- discrete ------------------------------------------------------------------------------------
void Bernoulli(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double p);
void Geometric(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double p);
void Binomial(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t ntrial, double p);
void Hypergeometric(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t lot, std::int32_t sample,
                    std::int32_t marked);
void Negbinomial(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double a, double p);
/// method 0: inversion below mean 27, PTPE from 27 on; 1: inversion below 1, a normal
/// approximation of the inverse distribution function from 1 on (approximate by design).
void Poisson(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double lambda, int method);
/// One draw per mean lambda[i], each positive.
void PoissonV(TEngine& e, std::int32_t* r, std::ptrdiff_t n, const double* lambda, int method);
void UniformI(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t a, std::int32_t b);
void UniformBits(TEngine& e, std::int32_t* r, std::ptrdiff_t n);

}  // namespace quorel::rng
