// Piecewise polynomials, linear and cubic-spline interpolation.
#include "quorel/poly/interpolation.h"

#include <algorithm>
#include <string>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/poly/detail/poly_util.h"

namespace quorel {

using namespace detail;

namespace {
bool StrictlyIncreasing(const double* x, std::int32_t n) {
  for (std::int32_t i = 0; i + 1 < n; ++i)
    if (!(x[i + 1] > x[i])) return false;  // NaN fails too
  return true;
}

void CheckKnots(const char* method, const TVec& x, const TVec& y) {
  const std::string m(method);
  Require(!x.Complex() && !y.Complex(), m + ": complex data");
  Require(x.Length() == y.Length(), m + ": X.Length <> Y.Length");
  Require(x.Length() >= 2, m + ": X.Length < 2");
  Require(StrictlyIncreasing(Ptr<double>(x), x.Length()), m + ": X not strictly increasing");
}

// Slopes d[0 .. n-1] of the cubic spline through n >= 3 knots (n - 1 intervals). Tridiagonal
// system solved by elimination without pivoting (diagonally dominant inside; the not-a-knot rows
// keep the elimination stable in practice, as is usual for these end conditions).
void SplineSlopes(const double* x, const double* y, std::int32_t n, TSplineEnd end, double* d, TVec& work) {
  work.Size(4 * n, false);
  double* lo = Ptr<double>(work);
  double* di = lo + n;
  double* up = di + n;
  double* rhs = up + n;
  auto h = [&](std::int32_t i) { return x[i + 1] - x[i]; };
  auto del = [&](std::int32_t i) { return (y[i + 1] - y[i]) / h(i); };
  for (std::int32_t i = 1; i < n - 1; ++i) {
    lo[i] = h(i);
    di[i] = 2 * (h(i - 1) + h(i));
    up[i] = h(i - 1);
    rhs[i] = 3 * (h(i) * del(i - 1) + h(i - 1) * del(i));
  }
  if (end == seNatural) {
    di[0] = 2, up[0] = 1, rhs[0] = 3 * del(0);
    lo[n - 1] = 1, di[n - 1] = 2, rhs[n - 1] = 3 * del(n - 2);
  } else {
    const double h0 = h(0), h1 = h(1), s = h0 + h1;
    di[0] = h1, up[0] = s;
    rhs[0] = ((h0 + 2 * s) * h1 * del(0) + h0 * h0 * del(1)) / s;
    const double a = h(n - 2), b = h(n - 3), t = a + b;
    lo[n - 1] = t, di[n - 1] = b;
    rhs[n - 1] = (a * a * del(n - 3) + (2 * t + a) * b * del(n - 2)) / t;
  }
  for (std::int32_t i = 1; i < n; ++i) {
    const double f = lo[i] / di[i - 1];
    di[i] -= f * up[i - 1];
    rhs[i] -= f * rhs[i - 1];
  }
  d[n - 1] = rhs[n - 1] / di[n - 1];
  for (std::int32_t i = n - 2; i >= 0; --i) d[i] = (rhs[i] - up[i] * d[i + 1]) / di[i];
}
}  // namespace

// --- TPiecePoly ------------------------------------------------------------------------------------------
void TPiecePoly::Assign(const TVec& breaks, const TMtx& coeffs) {
  Require(!breaks.Complex() && !coeffs.Complex(), "TPiecePoly: complex data");
  Require(breaks.Length() >= 2 && coeffs.Rows() == breaks.Length() - 1, "TPiecePoly: Coeffs.Rows <> Breaks.Length - 1");
  Require(coeffs.Cols() >= 1, "TPiecePoly: Coeffs.Cols < 1");
  Require(StrictlyIncreasing(Ptr<double>(breaks), breaks.Length()), "TPiecePoly: Breaks not strictly increasing");
  if (&breaks != &fBreaks) fBreaks.Copy(breaks);
  if (&coeffs != &fCoeffs) fCoeffs.Copy(coeffs);
}

std::int32_t TPiecePoly::Locate(double x) const {
  const double* b = Ptr<double>(fBreaks);
  const std::int32_t n = Pieces();
  // Interior breaks b[1 .. n-1] decide; the first and last piece take everything outside.
  return static_cast<std::int32_t>(std::upper_bound(b + 1, b + n, x) - (b + 1));
}

double TPiecePoly::Evaluate(double x) const {
  const std::int32_t k = Locate(x);
  return Horner(x - *fBreaks.PValues(k), fCoeffs.PValues(k, 0), fCoeffs.Cols());
}

void TPiecePoly::Evaluate(const TVec& x, TVec& y) const {
  Require(!x.Complex(), "TPiecePoly.Evaluate: X.Complex");
  RequireState(Pieces() > 0, "TPiecePoly.Evaluate: empty");
  const std::int32_t n = x.Length(), pieces = Pieces(), nc = fCoeffs.Cols();
  TWorkVec out;
  out->Size(n, false);
  const double* px = Ptr<double>(x);
  const double* b = Ptr<double>(fBreaks);
  const double* c = Ptr<double>(fCoeffs);
  const std::int32_t ld = fCoeffs.LeadingCols();
  double* py = Ptr<double>(*out);
  std::int32_t k = 0;
  for (std::int32_t i = 0; i < n; ++i) {
    const double xi = px[i];
    // Sorted input moves by at most a piece or two: try the neighbourhood before searching.
    if (!((k == 0 || xi >= b[k]) && (k == pieces - 1 || xi < b[k + 1]))) {
      if (k + 1 < pieces && xi >= b[k + 1] && (k + 2 == pieces || xi < b[k + 2])) ++k;
      else k = Locate(xi);
    }
    py[i] = Horner(xi - b[k], c + std::int64_t{k} * ld, nc);
  }
  y.Copy(*out);
}

void TPiecePoly::Derivative(TPiecePoly& dst) const {
  RequireState(Pieces() > 0, "TPiecePoly.Derivative: empty");
  const std::int32_t pieces = Pieces(), nc = fCoeffs.Cols();
  const std::int32_t nd = std::max(nc - 1, 1);
  TWorkMtx d;
  d->Size(pieces, nd, false);
  for (std::int32_t k = 0; k < pieces; ++k) {
    const double* c = fCoeffs.PValues(k, 0);
    double* o = d->PValues(k, 0);
    if (nc == 1) o[0] = 0;
    for (std::int32_t j = 0; j + 1 < nc; ++j) o[j] = c[j] * (nc - 1 - j);
  }
  if (&dst != this) dst.fBreaks.Copy(fBreaks);
  dst.fCoeffs.Copy(*d);
}

// --- interpolants ------------------------------------------------------------------------------------
void Linear1D(const TVec& x, const TVec& y, TPiecePoly& pp) {
  CheckKnots("Linear1D", x, y);
  const std::int32_t n = x.Length();
  const double* px = Ptr<double>(x);
  const double* py = Ptr<double>(y);
  TWorkMtx c;
  c->Size(n - 1, 2, false);
  for (std::int32_t i = 0; i + 1 < n; ++i) {
    c->Values(i, 0) = (py[i + 1] - py[i]) / (px[i + 1] - px[i]);
    c->Values(i, 1) = py[i];
  }
  pp.Assign(x, *c);
}

void Spline1D(const TVec& x, const TVec& y, TPiecePoly& pp, TSplineEnd end) {
  CheckKnots("Spline1D", x, y);
  const std::int32_t n = x.Length();
  const double* px = Ptr<double>(x);
  const double* py = Ptr<double>(y);
  TWorkVec slopes, work;
  TWorkMtx c;
  slopes->Size(n, false);
  double* d = Ptr<double>(*slopes);
  if (n == 2) {
    d[0] = d[1] = (py[1] - py[0]) / (px[1] - px[0]);
  } else if (n == 3 && end == seNotAKnot) {
    // The parabola through the three points: its slopes at the knots.
    const double h0 = px[1] - px[0], h1 = px[2] - px[1];
    const double d0 = (py[1] - py[0]) / h0, d1 = (py[2] - py[1]) / h1;
    const double c2 = (d1 - d0) / (h0 + h1);
    d[0] = d0 - c2 * h0;
    d[1] = d0 + c2 * h0;
    d[2] = d1 + c2 * h1;
  } else {
    SplineSlopes(px, py, n, end, d, *work);
  }
  c->Size(n - 1, 4, false);
  for (std::int32_t i = 0; i + 1 < n; ++i) {
    const double h = px[i + 1] - px[i];
    const double del = (py[i + 1] - py[i]) / h;
    double* row = c->PValues(i, 0);
    row[0] = (d[i] + d[i + 1] - 2 * del) / (h * h);
    row[1] = (3 * del - 2 * d[i] - d[i + 1]) / h;
    row[2] = d[i];
    row[3] = py[i];
  }
  pp.Assign(x, *c);
}

void Linear1D(const TVec& x, const TVec& y, const TVec& xi, TVec& yi) {
  TPiecePoly pp;
  Linear1D(x, y, pp);
  pp.Evaluate(xi, yi);
}

void Spline1D(const TVec& x, const TVec& y, const TVec& xi, TVec& yi, TSplineEnd end) {
  TPiecePoly pp;
  Spline1D(x, y, pp, end);
  pp.Evaluate(xi, yi);
}

void Interpolate(const TVec& x, const TVec& y, const TVec& xi, TVec& yi, TInterpolationType type) {
  if (type == itLinear) Linear1D(x, y, xi, yi);
  else Spline1D(x, y, xi, yi, type == itNaturalSpline ? seNatural : seNotAKnot);
}

void InterpolateEqd(double x0, double dx, const TVec& y, const TVec& xi, TVec& yi, TInterpolationType type) {
  Require(dx > 0, "InterpolateEqd: dx <= 0");
  TWorkVec x;
  x->Size(y.Length(), false);
  for (std::int32_t i = 0; i < y.Length(); ++i) *x->PValues(i) = x0 + i * dx;
  Interpolate(*x, y, xi, yi, type);
}

}  // namespace quorel
