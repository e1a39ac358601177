#pragma once
// Module Polynoms: polynomials held as coefficient vectors in descending powers (element 0 is the
// coefficient of the highest power, the last element the constant term): roots and coefficients,
// evaluation, least-squares fitting, division, partial fractions and IIR filtering.
// Interpolation and piecewise polynomials are in quorel/poly/interpolation.h.

#include <cstdint>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel {

// --- roots and coefficients --------------------------------------------------------------------------
/// Roots := the roots of Poly, complex, as the eigenvalues of the companion matrix of Poly with
/// its leading and trailing zeros stripped. Each trailing zero coefficient gives a root 0, placed
/// first; Roots has Length(Poly) - 1 elements (leading zero coefficients leave (0, 0) entries at
/// the end). A polynomial of degree one after stripping gives its single root alone, real unless
/// Poly is complex (the trailing-zero roots are then dropped); a constant gives an empty Roots.
void PolyRoots(TVec& roots, const TVec& poly);
/// Coeff := the monic polynomial whose roots are Roots (complex when Roots is):
/// the product of (x - r_k) in descending powers; an empty Roots gives (1).
void PolyCoeff(const TVec& roots, TVec& coeff);
/// Coeff := the characteristic polynomial det(x I - A) of the square matrix A, from its
/// eigenvalues; real when A is real (the conjugate pairs cancel the imaginary parts).
void PolyCoeff(const TMtx& a, TVec& coeff);

/// Dst := Src from its first to its last non-zero element (both parts zero counts as zero for
/// complex data); First and Last receive those indexes. All zero: Dst empty, First = Last = -1.
void StripZeros(const TVec& src, TVec& dst, std::int32_t& first, std::int32_t& last);
/// Dst := Src without its leading zero elements.
void StripLeadZeros(const TVec& src, TVec& dst);

// --- evaluation (Horner) -----------------------------------------------------------------------------
/// The real polynomial Coeff at x. A complex Coeff raises Exception "Coeff.Complex = True".
/// An empty Coeff is the zero polynomial.
double PolyEval(double x, const TVec& coeff);
/// Coeff (real or complex) at the complex point x.
TCplx PolyEval(const TCplx& x, const TVec& coeff);
/// Result[i] := Coeff at x[i]; complex when x or Coeff is.
void PolyEval(const TVec& x, const TVec& coeff, TVec& result);
/// Each row of Coeffs is a polynomial: Result(k, i) := row k of Coeffs at x[i]; Result is
/// Coeffs.Rows x Length(x), complex when x or Coeffs is.
void PolyEval(const TVec& x, const TMtx& coeffs, TMtx& result);

// --- least-squares fitting ---------------------------------------------------------------------------
/// Coeff := the polynomial of degree Order (Order + 1 coefficients) minimising
/// sum (Y[i] - p(X[i]))^2. Solved by Householder QR on the Vandermonde matrix of the centred and
/// scaled abscissa (never the normal equations), then mapped back to powers of x. Checks, each raising Exception: "PolyFit : XValues.Complex or
/// YValues.Complex", "PolyFit : XValues.Length <> YValues.Length", "PolyFit : Order < 0",
/// "PolyFit : XValues.Length <= Order" (fewer points than coefficients). Fewer distinct
/// abscissae than coefficients make the system rank deficient: the least-squares solve raises.
void PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff);
/// The same minimising sum Weights[i] (Y[i] - p(X[i]))^2; further checks "PolyFit :
/// Weights.Length <> YValues.Length" and "PolyFit : Weights.Complex or Weights < 0".
void PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff, const TVec& weights);
/// The same with optional weights (null: unweighted); returns the 2-norm of the (weighted)
/// residual, sqrt(sum w_i r_i^2).
double PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff, const TVec* weights);

// --- division and partial fractions ------------------------------------------------------------------
/// Polynomial long division: B = conv(A, Q) + R with Length(Q) = Length(B) - Length(A) + 1 and R
/// of Length(B) whose first Length(Q) elements are zero. Length(B) < Length(A) gives Q = (0) and
/// R = B. A[0] = 0 raises EQuorelInvalidArgument "DeConv: A[0] = 0"; an empty A or B raises
/// "DeConv: empty polynomial".
void DeConv(const TVec& b, const TVec& a, TVec& q, TVec& r);
/// Partial fractions of B(s)/A(s) = sum_i sum_{j=1..m_i} r_ij / (s - p_i)^j + K(s): P := the roots
/// of A (complex), R := the residues (complex), K := the quotient of B by A (empty when Length(B) <
/// Length(A)). Roots closer than 1e-3 relative to their size (at least 1) are one pole of
/// multiplicity m, placed at their mean: it appears m times in a row in P, and the matching entries
/// of R hold r_i1, r_i2, ..., r_im (increasing powers). A simple pole's residue is B(p)/A'(p).
void ResExtract(const TVec& b, const TVec& a, TVec& r, TVec& p, TVec& k);
/// The inverse of ResExtract: B, A := the rational function sum r[i]/(s - p[i])^j + K(s), with A
/// monic, where a run of equal entries of P is one pole and j counts along the run (1, 2, ...).
/// Both come out real when their imaginary parts are below 1e-10 times their size (poles and
/// residues in conjugate pairs), complex otherwise.
void ResCompose(const TVec& r, const TVec& p, const TVec& k, TVec& b, TVec& a);

// --- IIR filtering -----------------------------------------------------------------------------------
/// Y := X filtered by B(z)/A(z) in direct form II transposed:
///   a0 y[n] = sum_k b[k] x[n-k] - sum_{k>=1} a[k] y[n-k],
/// with the state of max(Length(A), Length(B)) - 1 delays. Complex when any input is.
/// A[0] = 0 raises EQuorelInvalidArgument "IIRFilter: A[0] = 0".
void IIRFilter(const TVec& b, const TVec& a, const TVec& x, TVec& y);
/// The same starting from the state zi (null: zeros; else of the state length, "IIRFilter:
/// Zi.Length <> state length") and leaving the final state in zf (null: not returned); feeding
/// zf back as zi filters a long signal in blocks.
void IIRFilter(const TVec& b, const TVec& a, const TVec& x, TVec& y, const TVec* zi, TVec* zf);

}  // namespace quorel
