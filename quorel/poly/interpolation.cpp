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

// The message is built only on failure: a warm build allocates nothing.
void CheckKnots(const char* method, const TVec& x, const TVec& y) {
  const auto fail = [&](const char* what) { EInvalidArgumentRaise(std::string(method) + what); };
  if (x.Complex() || y.Complex()) fail(": complex data");
  if (x.Length() != y.Length()) fail(": X.Length <> Y.Length");
  if (x.Length() < 2) fail(": X.Length < 2");
  if (!StrictlyIncreasing(Ptr<double>(x), x.Length())) fail(": X not strictly increasing");
}

// The tridiagonal system for the slopes of the cubic spline through n >= 3 knots, row by row:
// lo d[i-1] + di d[i] + up d[i+1] = rhs.
struct TSplineRows {
  const double* x;
  const double* y;
  std::int32_t n;
  TSplineEnd end;
  double h(std::int32_t i) const { return x[i + 1] - x[i]; }
  double del(std::int32_t i) const { return (y[i + 1] - y[i]) / h(i); }
  void Row(std::int32_t i, double& lo, double& di, double& up, double& rhs) const {
    lo = di = up = rhs = 0;
    if (i > 0 && i < n - 1) {
      lo = h(i), di = 2 * (h(i - 1) + h(i)), up = h(i - 1);
      rhs = 3 * (h(i) * del(i - 1) + h(i - 1) * del(i));
    } else if (end == seNatural) {
      if (i == 0) di = 2, up = 1, rhs = 3 * del(0);
      else lo = 1, di = 2, rhs = 3 * del(n - 2);
    } else if (i == 0) {
      const double h0 = h(0), h1 = h(1), s = h0 + h1;
      di = h1, up = s;
      rhs = ((h0 + 2 * s) * h1 * del(0) + h0 * h0 * del(1)) / s;
    } else {
      const double a = h(n - 2), b = h(n - 3), t = a + b;
      lo = t, di = b;
      rhs = (a * a * del(n - 3) + (2 * t + a) * b * del(n - 2)) / t;
    }
  }
};

// Slopes of the spline through n >= 3 knots into column 2 of the n - 1 coefficient rows c (stride
// 4); returns the last knot's slope. Elimination without pivoting (diagonally dominant inside;
// the not-a-knot rows keep it stable in practice, as is usual for these end conditions). The
// eliminated diagonal and right side live in columns 0 and 1 until the coefficients replace them.
double SplineSlopes(const TSplineRows& sys, double* c) {
  const std::int32_t n = sys.n;
  double lo, di, up, rhs, upPrev, diPrev, rhsPrev;
  sys.Row(0, lo, diPrev, upPrev, rhsPrev);
  c[0] = diPrev, c[1] = rhsPrev;
  for (std::int32_t i = 1; i < n; ++i) {
    sys.Row(i, lo, di, up, rhs);
    const double f = lo / diPrev;
    di -= f * upPrev;
    rhs -= f * rhsPrev;
    if (i < n - 1) c[4 * std::int64_t{i}] = di, c[4 * std::int64_t{i} + 1] = rhs;
    diPrev = di, rhsPrev = rhs, upPrev = up;
  }
  const double last = rhsPrev / diPrev;
  double next = last;
  for (std::int32_t i = n - 2; i >= 0; --i) {
    sys.Row(i, lo, di, up, rhs);
    double* row = c + 4 * std::int64_t{i};
    next = (row[1] - up * next) / row[0];
    row[2] = next;
  }
  return last;
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
  // Written straight into y unless y is x.
  TWorkVec temp;
  TVec& out = &y == &x ? *temp : y;
  out.Size(n, false);
  const double* px = Ptr<double>(x);
  const double* b = Ptr<double>(fBreaks);
  const double* c = Ptr<double>(fCoeffs);
  const std::int32_t ld = fCoeffs.LeadingCols();
  double* py = Ptr<double>(out);
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
  if (&out != &y) y.Copy(out);
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
double* TPiecePoly::Prepare(const TVec& x, const TVec*& y, TVec& copy, std::int32_t cols) {
  // y may be these very breaks: keep a copy before they change.
  if (y == &fBreaks) copy.Copy(*y), y = &copy;
  if (&x != &fBreaks) fBreaks.Copy(x);
  fCoeffs.Size(x.Length() - 1, cols, false);
  return Ptr<double>(fCoeffs);
}

void Linear1D(const TVec& x, const TVec& y, TPiecePoly& pp) {
  CheckKnots("Linear1D", x, y);
  const std::int32_t n = x.Length();
  TWorkVec ys;
  const TVec* yv = &y;
  double* c = pp.Prepare(x, yv, *ys, 2);
  const double* px = Ptr<double>(pp.fBreaks);
  const double* py = Ptr<double>(*yv);
  for (std::int32_t i = 0; i + 1 < n; ++i) {
    c[2 * std::int64_t{i}] = (py[i + 1] - py[i]) / (px[i + 1] - px[i]);
    c[2 * std::int64_t{i} + 1] = py[i];
  }
}

void Spline1D(const TVec& x, const TVec& y, TPiecePoly& pp, TSplineEnd end) {
  CheckKnots("Spline1D", x, y);
  const std::int32_t n = x.Length();
  TWorkVec ys;
  const TVec* yv = &y;
  double* c = pp.Prepare(x, yv, *ys, 4);
  const double* px = Ptr<double>(pp.fBreaks);
  const double* py = Ptr<double>(*yv);
  // Slopes at the knots: row i's column 2 holds d[i], dLast the last knot's.
  double dLast;
  if (n == 2) {
    c[2] = dLast = (py[1] - py[0]) / (px[1] - px[0]);
  } else if (n == 3 && end == seNotAKnot) {
    // The parabola through the three points: its slopes at the knots.
    const double h0 = px[1] - px[0], h1 = px[2] - px[1];
    const double d0 = (py[1] - py[0]) / h0, d1 = (py[2] - py[1]) / h1;
    const double c2 = (d1 - d0) / (h0 + h1);
    c[2] = d0 - c2 * h0;
    c[6] = d0 + c2 * h0;
    dLast = d1 + c2 * h1;
  } else {
    dLast = SplineSlopes(TSplineRows{px, py, n, end}, c);
  }
  for (std::int32_t i = 0; i + 1 < n; ++i) {
    const double h = px[i + 1] - px[i];
    const double del = (py[i + 1] - py[i]) / h;
    double* row = c + 4 * std::int64_t{i};
    const double d0 = row[2], d1 = i + 2 < n ? row[6] : dLast;
    row[0] = (d0 + d1 - 2 * del) / (h * h);
    row[1] = (3 * del - 2 * d0 - d1) / h;
    row[3] = py[i];
  }
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
