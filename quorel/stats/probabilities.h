#pragma once
// Probability distributions: density (or mass), distribution and inverse distribution functions
// of 26 distributions, and the special functions under them (incomplete gamma and beta, error
// function, beta function, binomial coefficient, the zeta family).
//
// Scalar functions never raise: invalid parameters give NaN, so whole grids can be pushed
// through them and inspected afterwards. Only BetaCDFInv and GammaCDFInv ("Failed to
// converge!"), ErfInv ("abs(y) > 0") and the vector overloads raise EQuorelException.
//
// Vector overloads size Res like the argument (real) and fill it; Res may be the argument.

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel {

class TDenseQuorel;

// --- special functions -------------------------------------------------------------------------

/// Regularised lower incomplete gamma P(a, x) by its power series (no term cap).
double GammaSer(double a, double x);
TCplx GammaSer(double a, const TCplx& x);
/// Regularised upper incomplete gamma Q(a, x) by its continued fraction (modified Lentz).
double GammaFrac(double a, double x);
TCplx GammaFrac(double a, const TCplx& x);
/// P(a, x): 0 for a <= 0 or x <= 0; the fraction from x >= a + 1 on, else the series.
double IGamma(double a, double x);
TCplx IGamma(double a, const TCplx& x);
/// Q(a, x) = 1 - P(a, x): 0 for a <= 0 or x < 0, 1 at x = 0.
double JGamma(double a, double x);
TCplx JGamma(double a, const TCplx& x);

/// Regularised incomplete beta I_x(a, b); 0 outside a > 0, b > 0, 0 <= x <= 1.
double BetaIncomplete(double x, double a, double b);
/// Beta function with the sign of the gammas; 0 or +-MaxDouble at the poles.
double Beta(double a, double b);
/// Binomial coefficient C(n, k) in floating point, rounded to a whole number; 0 for k < 0.
double Binomial(std::int32_t n, std::int32_t k);
/// Error function through IGamma(0.5, x^2).
double Erf(double x);
/// Complementary error function through JGamma / IGamma.
double Erfc(double x);
/// Inverse error function: rational start and two damped corrections; +-MaxDouble at +-1. The
/// fixed algorithm keeps the start's error where the steps are damped: about 4e-7 relative as
/// |y| nears 1 (NormalCDFInv at p = 1e-10: 2e-5).
double ErfInv(double y);

/// Riemann zeta with n terms of the accelerated alternating series.
TCplx RiemannZeta(const TCplx& s, std::int32_t n);
/// Dirichlet eta (alternating zeta) with n terms; functional equation for Re s < 0.5.
TCplx DirichletEta(const TCplx& s, std::int32_t n);
/// Dirichlet lambda with n terms.
TCplx DirichletLambda(const TCplx& s, std::int32_t n);
/// Dirichlet beta from a fixed 65-term accelerated series.
TCplx DirichletBeta(const TCplx& s);

// --- distributions: scalar ---------------------------------------------------------------------

double BetaPDF(double x, double a, double b);
double BetaCDF(double x, double a, double b);
double BetaCDFInv(double p, double a, double b);

double BinomPDF(double x, std::int32_t n, double p);
double BinomCDF(double x, std::int32_t n, double p);
/// The cumulative probability at the stop of the walk (not the count).
double BinomCDFInv(double y, std::int32_t n, double p);

double BoseEinsteinPDF(double x, double mu, double s);

double CauchyPDF(double x, double a, double b);
double CauchyCDF(double x, double a, double b);
double CauchyCDFInv(double p, double a, double b);

double ChiSquarePDF(double x, std::int32_t nu);
double ChiSquareCDF(double x, std::int32_t nu);
double ChiSquareCDFInv(double p, std::int32_t nu);

double ExpPDF(double x, double mu);
double ExpCDF(double x, double mu);
double ExpCDFInv(double p, double mu);

double FPDF(double x, std::int32_t nu1, std::int32_t nu2);
double FCDF(double x, std::int32_t nu1, std::int32_t nu2);
double FCDFInv(double p, std::int32_t nu1, std::int32_t nu2);

double FermiDiracPDF(double x, double mu, double s);

double GammaPDF(double x, double a, double b);
double GammaCDF(double x, double a, double b);
double GammaCDFInv(double p, double a, double b);

double GeometricPDF(double x, double p);
double GeometricCDF(double x, double p);
double GeometricCDFInv(double y, double p);

double HypGeometricPDF(double x, std::int32_t m, std::int32_t k, std::int32_t n);
double HypGeometricCDF(double x, std::int32_t m, std::int32_t k, std::int32_t n);
double HypGeometricCDFInv(double p, std::int32_t m, std::int32_t k, std::int32_t n);

double LaplacePDF(double x, double m, double b);
double LaplaceCDF(double x, double m, double b);
double LaplaceCDFInv(double p, double m, double b);

double LogisticPDF(double x, double m, double b);
double LogisticCDF(double x, double m, double b);
double LogisticCDFInv(double p, double m, double b);

double LogNormalPDF(double x, double mu, double sigma);
double LogNormalCDF(double x, double mu, double sigma);
double LogNormalCDFInv(double p, double mu, double sigma);

double LogWeibullPDF(double x, double a, double b);
double LogWeibullCDF(double x, double a, double b);
double LogWeibullCDFInv(double p, double a, double b);

double MaxwellPDF(double x, double a);
double MaxwellCDF(double x, double a);
double MaxwellCDFInv(double p, double a);

double NegBinomPDF(double x, std::int32_t r, double p);
double NegBinomCDF(double x, std::int32_t r, double p);
double NegBinomCDFInv(double y, std::int32_t r, double p);

double NormalPDF(double x, double mu, double sigma);
double NormalCDF(double x, double mu, double sigma);
double NormalCDFInv(double p, double mu, double sigma);

double ParetoPDF(double x, double a, double b);
double ParetoCDF(double x, double a, double b);
double ParetoCDFInv(double p, double a, double b);

double PoissonPDF(std::int32_t x, double lambda);
double PoissonCDF(double x, double lambda);
double PoissonCDFInv(double p, double lambda);

double RayleighPDF(double x, double b);
double RayleighCDF(double x, double b);
double RayleighCDFInv(double p, double b);

double StudentPDF(double x, std::int32_t nu);
double StudentCDF(double x, std::int32_t nu);
double StudentCDFInv(double p, std::int32_t nu);

double TriangularPDF(double x, double a, double b, double c);
double TriangularCDF(double x, double a, double b, double c);
double TriangularCDFInv(double p, double a, double b, double c);

double UniformPDF(double x, double a, double b);
double UniformCDF(double x, double a, double b);
double UniformCDFInv(double p, double a, double b);

double UniformDPDF(double x, std::int32_t n);
double UniformDCDF(double x, std::int32_t n);
double UniformDCDFInv(double p, std::int32_t n);

double WeibullPDF(double x, double a, double b);
double WeibullCDF(double x, double a, double b);
double WeibullCDFInv(double p, double a, double b);

// --- distributions: vector overloads -----------------------------------------------------------

void BetaPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void BetaCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void BetaCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

void BinomPDF(const TDenseQuorel& X, std::int32_t n, double p, TDenseQuorel& Res);
void BinomCDF(const TDenseQuorel& X, std::int32_t n, double p, TDenseQuorel& Res);
void BinomCDFInv(const TDenseQuorel& Y, std::int32_t n, double p, TDenseQuorel& Res);

void BoseEinsteinPDF(const TDenseQuorel& X, double mu, double s, TDenseQuorel& Res);

void CauchyPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void CauchyCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void CauchyCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

void ChiSquarePDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res);
void ChiSquareCDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res);
void ChiSquareCDFInv(const TDenseQuorel& P, std::int32_t nu, TDenseQuorel& Res);

void ExpPDF(const TDenseQuorel& X, double mu, TDenseQuorel& Res);
void ExpCDF(const TDenseQuorel& X, double mu, TDenseQuorel& Res);
void ExpCDFInv(const TDenseQuorel& P, double mu, TDenseQuorel& Res);

void FPDF(const TDenseQuorel& X, std::int32_t nu1, std::int32_t nu2, TDenseQuorel& Res);
void FCDF(const TDenseQuorel& X, std::int32_t nu1, std::int32_t nu2, TDenseQuorel& Res);
/// Scalar probability, vector degrees of freedom: Res[i] = FCDFInv(P, Nu1[i], Nu2[i]).
void FCDFInv(double P, const TDenseQuorel& Nu1, const TDenseQuorel& Nu2, TDenseQuorel& Res);

void FermiDiracPDF(const TDenseQuorel& X, double mu, double s, TDenseQuorel& Res);

void GammaPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void GammaCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void GammaCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

void GeometricPDF(const TDenseQuorel& X, double p, TDenseQuorel& Res);
void GeometricCDF(const TDenseQuorel& X, double p, TDenseQuorel& Res);
void GeometricCDFInv(const TDenseQuorel& Y, double p, TDenseQuorel& Res);

void HypGeometricPDF(const TDenseQuorel& X, std::int32_t m, std::int32_t k, std::int32_t n, TDenseQuorel& Res);
void HypGeometricCDF(const TDenseQuorel& X, std::int32_t m, std::int32_t k, std::int32_t n, TDenseQuorel& Res);
void HypGeometricCDFInv(const TDenseQuorel& P, std::int32_t m, std::int32_t k, std::int32_t n, TDenseQuorel& Res);

void LaplacePDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res);
void LaplaceCDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res);
void LaplaceCDFInv(const TDenseQuorel& P, double m, double b, TDenseQuorel& Res);

void LogisticPDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res);
void LogisticCDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res);
void LogisticCDFInv(const TDenseQuorel& P, double m, double b, TDenseQuorel& Res);

void LogNormalPDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res);
void LogNormalCDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res);
void LogNormalCDFInv(const TDenseQuorel& P, double mu, double sigma, TDenseQuorel& Res);

void LogWeibullPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void LogWeibullCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void LogWeibullCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

void MaxwellPDF(const TDenseQuorel& X, double a, TDenseQuorel& Res);
void MaxwellCDF(const TDenseQuorel& X, double a, TDenseQuorel& Res);
void MaxwellCDFInv(const TDenseQuorel& P, double a, TDenseQuorel& Res);

void NegBinomPDF(const TDenseQuorel& X, std::int32_t r, double p, TDenseQuorel& Res);
void NegBinomCDF(const TDenseQuorel& X, std::int32_t r, double p, TDenseQuorel& Res);
void NegBinomCDFInv(const TDenseQuorel& Y, std::int32_t r, double p, TDenseQuorel& Res);

void NormalPDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res);
void NormalCDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res);
void NormalCDFInv(const TDenseQuorel& P, double mu, double sigma, TDenseQuorel& Res);

void ParetoPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void ParetoCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void ParetoCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

/// The elements of X are truncated to integers.
void PoissonPDF(const TDenseQuorel& X, double lambda, TDenseQuorel& Res);
void PoissonCDF(const TDenseQuorel& X, double lambda, TDenseQuorel& Res);
void PoissonCDFInv(const TDenseQuorel& P, double lambda, TDenseQuorel& Res);

void RayleighPDF(const TDenseQuorel& X, double b, TDenseQuorel& Res);
void RayleighCDF(const TDenseQuorel& X, double b, TDenseQuorel& Res);
void RayleighCDFInv(const TDenseQuorel& P, double b, TDenseQuorel& Res);

void StudentPDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res);
void StudentCDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res);
void StudentCDFInv(const TDenseQuorel& P, std::int32_t nu, TDenseQuorel& Res);

void TriangularPDF(const TDenseQuorel& X, double a, double b, double c, TDenseQuorel& Res);
void TriangularCDF(const TDenseQuorel& X, double a, double b, double c, TDenseQuorel& Res);
void TriangularCDFInv(const TDenseQuorel& P, double a, double b, double c, TDenseQuorel& Res);

void UniformPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void UniformCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void UniformCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

void UniformDPDF(const TDenseQuorel& X, std::int32_t n, TDenseQuorel& Res);
void UniformDCDF(const TDenseQuorel& X, std::int32_t n, TDenseQuorel& Res);
void UniformDCDFInv(const TDenseQuorel& P, std::int32_t n, TDenseQuorel& Res);

void WeibullPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void WeibullCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res);
void WeibullCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res);

}  // namespace quorel
