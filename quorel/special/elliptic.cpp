// Complete elliptic integrals and Jacobi elliptic functions by the arithmetic-geometric mean.

#include <cmath>
#include <limits>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/scalar_util.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/vec.h"
#include "quorel/special/special_funcs.h"

namespace quorel {
namespace {

// The AGM converges quadratically; in double it settles within a dozen steps (m near 1 halves c
// for a while first). Once a and b are an ulp or so apart, c stops shrinking and may cycle without
// reaching a Tol below that (0, or negative): the loops below stop as soon as a step does not
// shrink |c|, which is the fully converged sequence. This bound only guards against the unforeseen.
constexpr int kMaxAgmSteps = 2048;

// True when the step that produced c did not improve on cPrev: the sequence is converged.
bool AgmSettled(double c, double cPrev) { return c == 0 || std::fabs(c) >= std::fabs(cPrev); }

}  // namespace

double EllipComplete(double m, double Tol, double& E) {
  if (m < 0 || 1 < m) throw Exception("EllipComplete: (m < 0) or (1 < m)");
  if (m == 1) {
    E = 1;
    return std::numeric_limits<double>::infinity();
  }
  double a = 1, b = std::sqrt(1 - m), sum = m, power = 1, term = 1;
  double cPrev = std::numeric_limits<double>::infinity();
  for (int step = 0; term > Tol && step < kMaxAgmSteps; ++step) {
    double an = (a + b) / 2, bn = std::sqrt(a * b), c = (a - b) / 2;
    if (AgmSettled(c, cPrev)) break;
    cPrev = c;
    power *= 2;
    term = c * c * power;
    sum += term;
    a = an;
    b = bn;
  }
  double k = PI / (2 * a);
  E = (1 - sum / 2) * k;
  return k;
}

double EllipComplete(double m) {
  double e;
  return EllipComplete(m, 0x1p-52, e);
}

void EllipJacoby(double u, double m, double Tol, double& Sn, double& Cn, double& Dn) {
  if (m < 0 || 1 < m) throw Exception("EllipJacoby: (m < 0) or (1 < m)");
  TWorkVec va, vb, vc, vphi;
  std::int32_t cap = 8;
  for (TVec* v : {va.get(), vb.get(), vc.get()}) v->Size(cap, false).SetZero();
  double* a = va->PValues(0);
  double* b = vb->PValues(0);
  double* c = vc->PValues(0);
  a[0] = 1;
  b[0] = std::sqrt(1 - m);
  c[0] = std::sqrt(m);
  int n = 0, last = 0;
  while (std::fabs(c[n]) > Tol && n < kMaxAgmSteps) {
    double cNext = (a[n] - b[n]) / 2;
    if (n > 0 && AgmSettled(cNext, c[n])) break;
    if (n + 1 == cap) {  // full: double, the new half zeroed
      cap *= 2;
      for (TVec* v : {va.get(), vb.get(), vc.get()}) v->Resize(cap, true);
      a = va->PValues(0);
      b = vb->PValues(0);
      c = vc->PValues(0);
    }
    ++n;
    a[n] = (a[n - 1] + b[n - 1]) / 2;
    b[n] = std::sqrt(a[n - 1] * b[n - 1]);
    c[n] = (a[n - 1] - b[n - 1]) / 2;
    last = n - 1;
  }
  vphi->Size(n + 1, false);
  double* phi = vphi->PValues(0);
  // The exponent is last + 1, not n: with no step at all it is 1 (sn(u|0) = sin(2u)).
  phi[n] = std::ldexp(a[n] * u, last + 1);
  for (int k = n - 1; k >= 0; --k)
    phi[k] = (std::asin(c[k + 1] / a[k + 1] * std::sin(FixAngle(phi[k + 1]))) + phi[k + 1]) / 2;
  Sn = std::sin(FixAngle(phi[0]));
  Cn = std::cos(FixAngle(phi[0]));
  Dn = std::sqrt(1 - m * Sn * Sn);
  if (m == 1) {
    Sn = std::tanh(u);
    Cn = 1 / std::cosh(u);
    Dn = Cn;
  }
}

}  // namespace quorel
