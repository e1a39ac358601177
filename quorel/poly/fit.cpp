// Least-squares polynomial fitting by QR on a scaled Vandermonde system.
#include <cmath>

#include "quorel/core/errors.h"
#include "quorel/poly/detail/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel {

using namespace detail;

namespace {

void RequireBase(bool ok, const char* msg) {
  if (!ok) throw Exception(msg);
}

// c := q((x - mu) / s) expanded in powers of x, by Horner's rule on polynomials.
void ToPowersOfX(const double* q, std::int32_t nc, double mu, double s, double* c) {
  const double a = 1.0 / s, b = -mu / s;  // (x - mu) / s = a x + b
  for (std::int32_t i = 0; i < nc; ++i) c[i] = 0;
  // After step k the polynomial has degree k and sits in c[nc-1-k .. nc-1].
  for (std::int32_t k = 0; k < nc; ++k) {
    const std::int32_t lo = nc - 1 - k;
    for (std::int32_t i = lo; i < nc - 1; ++i) c[i] = c[i] * b + c[i + 1] * a;
    c[nc - 1] = c[nc - 1] * b + q[k];
  }
}

double FitWorker(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff, const TVec* weights) {
  RequireBase(!x.Complex() && !y.Complex(), "PolyFit : XValues.Complex or YValues.Complex");
  RequireBase(x.Length() == y.Length(), "PolyFit : XValues.Length <> YValues.Length");
  if (weights) RequireBase(weights->Length() == y.Length(), "PolyFit : Weights.Length <> YValues.Length");
  RequireBase(order >= 0, "PolyFit : Order < 0");
  RequireBase(x.Length() > order, "PolyFit : XValues.Length <= Order");
  const std::int32_t m = x.Length(), nc = order + 1;
  const double* px = Ptr<double>(x);
  const double* py = Ptr<double>(y);
  if (weights) {
    bool ok = !weights->Complex();
    for (std::int32_t i = 0; ok && i < m; ++i) ok = *weights->PValues(i) >= 0;
    RequireBase(ok, "PolyFit : Weights.Complex or Weights < 0");
  }

  // Centre and scale the abscissa to [-1, 1]: the Vandermonde matrix of z is well conditioned
  // where that of x (Filip: x in [-9, -3], degree 10) is hopeless.
  double mu = 0;
  for (std::int32_t i = 0; i < m; ++i) mu += px[i];
  mu /= m;
  double s = 0;
  for (std::int32_t i = 0; i < m; ++i) s = std::fmax(s, std::fabs(px[i] - mu));
  if (s == 0) s = 1;

  TWorkMtx v;
  TWorkVec sw, rhs, q, c;
  v->Size(m, nc, false);
  sw->Size(m, false);
  rhs->Size(m, false);
  c->Size(nc, false);
  double* w = Ptr<double>(*sw);
  for (std::int32_t i = 0; i < m; ++i) {
    w[i] = weights ? std::sqrt(*weights->PValues(i)) : 1.0;
    const double z = (px[i] - mu) / s;
    double* row = v->PValues(i, 0);
    double p = w[i];
    for (std::int32_t j = nc - 1; j >= 0; --j, p *= z) row[j] = p;
  }
  double* pc = Ptr<double>(*c);
  double* r = Ptr<double>(*rhs);
  for (std::int32_t i = 0; i < m; ++i) r[i] = w[i] * py[i];
  // No refinement in powers of x afterwards: that basis is so ill conditioned (Filip) that the
  // rounding in the residual, amplified, costs more digits than the step gains.
  v->LQRSolve(*rhs, *q, nullptr, opNone);
  ToPowersOfX(Ptr<double>(*q), nc, mu, s, pc);

  double norm = 0;
  for (std::int32_t i = 0; i < m; ++i) {
    const double e = w[i] * (py[i] - Horner(px[i], pc, nc));
    norm += e * e;
  }
  coeff.Copy(*c);
  return std::sqrt(norm);
}
}  // namespace

void PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff) { FitWorker(x, y, order, coeff, nullptr); }

void PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff, const TVec& weights) {
  FitWorker(x, y, order, coeff, &weights);
}

double PolyFit(const TVec& x, const TVec& y, std::int32_t order, TVec& coeff, const TVec* weights) {
  return FitWorker(x, y, order, coeff, weights);
}

}  // namespace quorel
