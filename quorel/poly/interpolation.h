#pragma once
// Module Polynoms: one-dimensional interpolation and piecewise polynomials (real data).

#include <cstdint>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel {

/// End conditions of a cubic spline. seNatural: zero second derivative at both ends.
/// seNotAKnot: the third derivative is continuous at the second and the last-but-one knot
/// (the first two and the last two pieces are one cubic); with three knots this is the parabola
/// through them.
enum TSplineEnd : std::uint8_t { seNatural, seNotAKnot };

/// Methods of Interpolate: piecewise linear, or cubic spline with either end condition.
enum TInterpolationType : std::uint8_t { itLinear, itNaturalSpline, itNotAKnotSpline };

/// A piecewise polynomial: Pieces() intervals [Breaks[i], Breaks[i+1]] with strictly increasing
/// breaks; row i of Coeffs holds the piece in descending powers of (x - Breaks[i]). Points left of
/// the first break use the first piece, points right of the last break the last piece.
class TPiecePoly {
 public:
  TPiecePoly() = default;
  /// Sets breaks (n + 1, strictly increasing, n >= 1) and coefficients (n rows, at least one
  /// column), both real. Raises EQuorelInvalidArgument "TPiecePoly: ..." naming the failed rule.
  TPiecePoly(const TVec& breaks, const TMtx& coeffs) { Assign(breaks, coeffs); }
  /// Sets breaks and coefficients, checked as by the constructor.
  void Assign(const TVec& breaks, const TMtx& coeffs);

  /// The n + 1 breaks.
  const TVec& Breaks() const { return fBreaks; }
  /// The coefficients, one row per piece in descending powers.
  const TMtx& Coeffs() const { return fCoeffs; }
  /// Number of pieces.
  std::int32_t Pieces() const { return fCoeffs.Rows(); }
  /// Degree of the pieces (Coeffs.Cols - 1); -1 when empty.
  std::int32_t Order() const { return fCoeffs.Cols() - 1; }

  /// The piece holding x (clamped to the first and last piece).
  std::int32_t Locate(double x) const;
  /// Value at x.
  double Evaluate(double x) const;
  /// y[i] := the value at x[i]. Consecutive increasing points are located in O(1) each.
  void Evaluate(const TVec& x, TVec& y) const;
  /// dst := the derivative (pieces of one degree less; a constant gives zero pieces of degree 0).
  /// dst may be this object.
  void Derivative(TPiecePoly& dst) const;

 private:
  /// The builders below write straight into the result's storage (no work copies of its size).
  friend void Linear1D(const TVec& x, const TVec& y, TPiecePoly& pp);
  /// (See Linear1D.)
  friend void Spline1D(const TVec& x, const TVec& y, TPiecePoly& pp, TSplineEnd end);
  /// Breaks := x (already checked) and Coeffs sized to Length(x) - 1 rows of `cols`; returns the
  /// coefficient rows, stride `cols`. A data vector y that is these breaks is first copied to
  /// `copy` and y pointed there.
  double* Prepare(const TVec& x, const TVec*& y, TVec& copy, std::int32_t cols);

  TVec fBreaks;
  TMtx fCoeffs;
};

/// pp := the piecewise linear interpolant of (x[i], y[i]); x strictly increasing, at least 2
/// points, all real. Checks raise EQuorelInvalidArgument: "Linear1D: X.Length <> Y.Length",
/// "Linear1D: X.Length < 2", "Linear1D: X not strictly increasing", "Linear1D: complex data".
void Linear1D(const TVec& x, const TVec& y, TPiecePoly& pp);
/// yi := the piecewise linear interpolant at xi (extrapolated along the end segments).
void Linear1D(const TVec& x, const TVec& y, const TVec& xi, TVec& yi);
/// pp := the cubic spline of (x[i], y[i]) with the given end condition: twice continuously
/// differentiable, found from a tridiagonal system for the slopes at the knots. Two points give
/// the line through them. Checks as Linear1D with "Spline1D: ...".
void Spline1D(const TVec& x, const TVec& y, TPiecePoly& pp, TSplineEnd end);
/// yi := that spline at xi (extrapolated with the end pieces).
void Spline1D(const TVec& x, const TVec& y, const TVec& xi, TVec& yi, TSplineEnd end);

/// yi := the interpolant of the given type through (x[i], y[i]) at xi.
void Interpolate(const TVec& x, const TVec& y, const TVec& xi, TVec& yi, TInterpolationType type);
/// The same for equally spaced abscissae x[i] = x0 + i dx (dx > 0, else EQuorelInvalidArgument
/// "InterpolateEqd: dx <= 0").
void InterpolateEqd(double x0, double dx, const TVec& y, const TVec& xi, TVec& yi, TInterpolationType type);

}  // namespace quorel
