#pragma once
// Optimization: unconstrained minimisation of a user function of several parameters.
//
// The objective is a std::function, not a template: the minimisers are compiled once into the
// library, and one indirect call per evaluation is nothing next to the evaluation itself. A lambda
// that captures up to two pointers is stored without allocating. `Consts` and `ObjConst` are the
// caller's fixed data; every call hands them to the objective unchanged. `ObjConst` holds object
// pointers (typically the TVec/TMtx of the data being fitted); anything else can be captured by
// the lambda.
//
// Every method reports its outcome through TOptStopReason and never raises for non-convergence;
// an exception thrown by the objective passes through to the caller, and every work object is
// given back on the way. A non-null `Verbose` receives a log: a header line with the method's
// name, then "Iteration Fun", then one line per iteration: the count as "0000", six blanks and
// the best value so far rounded to one significant digit, written in fixed notation with
// |round(log10(Tol))| decimals (see OptLogValue), 18 when Tol <= 0 or is not finite.
//
// Common stop rules of the iterative methods: MaxIter bounds the iteration count (MaxIter <= 0
// still performs one iteration); a tolerance <= 0 disables the tests that use it, so such a run
// ends by another rule or by MaxIter; an empty parameter array evaluates the objective once at the
// empty point and stops with OptResZeroStep. A NaN objective value counts as +INF (the point is
// worse than any other); when the start point itself has no finite value, the gradient methods
// stop at once with OptResNotFound.

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

class TQuorel;
class TVec;
class TMtx;

enum TOptMethod : std::uint8_t { optSimplex, optMarquardt, optBFGS, optDFP, optConjGradFR, optConjGradPR };

enum TOptStopReason : std::uint8_t {
  OptResNotFound,    // no result yet
  OptResSmallGrad,   // gradient below its tolerance
  OptResSingular,    // the model matrix could not be factored
  OptResSmallStep,   // the step became smaller than the tolerance
  OptResZeroStep,    // no step was possible (nothing to vary, or no descent along the direction)
  OptResBigLambda,   // the damping grew without bound
  OptResMaxIter,     // iteration limit reached
  OptResConverged    // the method's convergence test was met
};

enum TNumericGradMethod : std::uint8_t { numRichardson, numDifference };

/// The objective: f(Pars; Consts; ObjConst).
using TRealFunction =
    std::function<double(std::span<const double> Pars, std::span<const double> Consts, std::span<TQuorel* const> ObjConst)>;

/// A gradient procedure: fills Grad (sized to Pars, real) with the gradient of Fun at Pars. A Grad
/// left with another length, or complex, makes the minimiser raise EQuorelInvalidArgument.
using TGradProc = std::function<void(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                                     std::span<TQuorel* const> ObjConst, TVec& Grad)>;

/// The residuals of a least-squares model: writes Residuals (length fixed by the caller) at Pars.
/// NewMarquardt minimises the sum of their squares.
using TResidualFunction = std::function<void(std::span<const double> Pars, std::span<const double> Consts,
                                             std::span<TQuorel* const> ObjConst, std::span<double> Residuals)>;

/// Nelder–Mead simplex. Start vertices: Pars, and Pars with coordinate i scaled by 1.05 (0.0025
/// when it is 0). Stops with OptResConverged when the largest coordinate difference between the
/// best and the worst vertex is below Tol, with OptResMaxIter when the count exceeds MaxIter.
/// After a shrink the stored values are deliberately kept, not re-evaluated. Returns the
/// iteration count; Pars receives the best vertex, FMin its value.
std::int32_t Simplex(const TRealFunction& Fun, std::span<double> Pars, std::span<const double> Consts,
                     std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                     double Tol, TStringList* Verbose);
/// The same with the limits first.
std::int32_t Simplex(const TRealFunction& Fun, std::span<double> Pars, std::int32_t MaxIter, double Tol,
                     std::span<const double> Consts, std::span<TQuorel* const> ObjConst, double& FMin,
                     TOptStopReason& StopReason, TStringList* Verbose);

/// Brent's minimisation along Pars[0] over [Lo, Hi] (swapped when Lo > Hi); the other parameters
/// stay fixed. Converged when the bracket around the minimum is within 2 (Tol |x| + 1e-10).
/// Returns the iteration count; Pars[0] receives the minimiser, FMin its value.
std::int32_t MinBrent(const TRealFunction& Fun, double Lo, double Hi, std::span<double> Pars, std::span<const double> Consts,
                      std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                      double Tol, TStringList* Verbose);

/// Quasi-Newton minimisation with a Wolfe line search (weak conditions for BFGS, strong for DFP);
/// Method is optBFGS or optDFP.
/// Grad may be empty: forward differences then give the gradient (n evaluations each).
/// Stops with OptResSmallGrad when max |g_i| <= GradTol, OptResSmallStep when no coordinate moves
/// by more than Tol (|x_i| + Tol), OptResConverged when f drops by less than Tol (|f| + Tol)
/// (or by no more than rounding, 4 eps |f|, whatever Tol),
/// OptResZeroStep when the line search finds no decrease even along the steepest descent.
std::int32_t BFGS(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                  std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                  double Tol, double GradTol, TStringList* Verbose, TOptMethod Method = optBFGS);

/// Nonlinear conjugate gradients, Method optConjGradFR (Fletcher–Reeves) or optConjGradPR
/// (Polak–Ribière, clipped at zero); restarts along -g every n steps and whenever the direction
/// is not a descent direction. Stop rules as for BFGS.
std::int32_t ConjGrad(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                      std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                      double Tol, double GradTol, TStringList* Verbose, TOptMethod Method = optConjGradPR);

/// Levenberg–Marquardt on a general objective: steps solve (H + lambda diag(H)) p = -g, H the
/// Hessian (central differences of Grad, or NumericGradHess when Grad is empty), lambda updated by
/// Nielsen's rule. Stops with OptResSmallGrad (max |g_i| <= GradTol), OptResSmallStep (no
/// coordinate moves by more than Tol (|x_i| + Tol)), OptResBigLambda (lambda > 1e16),
/// OptResMaxIter.
std::int32_t Marquardt(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                       std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                       double Tol, double GradTol, TStringList* Verbose);

/// Levenberg–Marquardt for least squares: minimises the sum of squares of the M residuals written
/// by Fun. Each step solves min |J p + r|^2 + lambda |D p|^2 by Householder QR (the condition
/// number is never squared), D the largest column norms of J seen so far, with lambda chosen so
/// that |D p| fits a trust radius that follows the ratio of achieved to predicted reduction (the
/// Lambda column of the log). The Jacobian comes from forward differences (n calls); after an
/// undamped step that J predicted to within 10%, the next one is a Broyden secant update instead
/// (no calls). With Tol < 1e-10 a run converged on that model continues on central differences
/// (2n calls) until it converges again, which removes the bias forward differences leave on
/// ill-conditioned fits. Stops with OptResConverged (relative reduction of the sum of squares,
/// both the one achieved and the one the undamped Gauss-Newton step predicts, <= Tol, or a zero
/// sum), OptResSmallStep (trust radius <= Tol |D x|), OptResSmallGrad (every column of J at most
/// Tol from orthogonal to the residuals), OptResSingular, OptResBigLambda, OptResMaxIter. FMin is
/// the sum of squares. Returns the iteration count; Evaluations (optional) receives the number of
/// calls of Fun.
std::int32_t NewMarquardt(const TResidualFunction& Fun, std::int32_t M, std::span<double> Pars, std::span<const double> Consts,
                          std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                          double Tol, TStringList* Verbose, std::int32_t* Evaluations = nullptr);

/// Central-difference gradient, step eps^(1/3) max(|x_i|, 1e-3): 2n evaluations.
void NumericGradDifference(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                           std::span<TQuorel* const> ObjConst, TVec& Grad);
/// Central differences refined by Richardson extrapolation (halving steps until the error
/// estimate stops improving): near full precision for smooth functions, up to 20 evaluations per
/// parameter.
void NumericGradRichardson(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                           std::span<TQuorel* const> ObjConst, TVec& Grad);
/// Either of the two by method.
void NumericGrad(TNumericGradMethod Method, const TRealFunction& Fun, std::span<const double> Pars,
                 std::span<const double> Consts, std::span<TQuorel* const> ObjConst, TVec& Grad);
/// Gradient and symmetric Hessian by central differences, step eps^(1/4) max(|x_i|, 1e-3):
/// 2n^2 + 1 evaluations. Hess becomes n x n, real.
void NumericGradHess(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                     std::span<TQuorel* const> ObjConst, TVec& Grad, TMtx& Hess);

/// The value column of the iteration log: Value rounded to one significant digit, in fixed
/// notation with Digits decimals (values of 1e18 and above in the general format).
std::string OptLogValue(double Value, std::int32_t Digits);

}  // namespace quorel
