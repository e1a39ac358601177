// Tour: polynomials. A least-squares cubic through sampled data, its roots, and a spline.
#include <cmath>
#include <cstdio>

#include "quorel/poly/interpolation.h"
#include "quorel/poly/polynoms.h"
#include "tour_sections.h"

using namespace quorel;

void TourPoly() {
  SectionTitle("Polynomials: a cubic fitted to samples of (x - 1)(x + 2)(x - 3)");
  // 41 samples of (x - 1)(x + 2)(x - 3) = x^3 - 2x^2 - 5x + 6 with a small ripple added.
  TVec x, y, coeff, roots;
  x.Size(41, false);
  y.Size(41, false);
  for (int i = 0; i < 41; ++i) {
    const double t = -3 + 0.175 * i;
    *x.PValues(i) = t;
    *y.PValues(i) = (t - 1) * (t + 2) * (t - 3) + 0.01 * std::sin(7 * t);
  }
  const double res = PolyFit(x, y, 3, coeff, nullptr);
  std::printf("  PolyFit, order 3               %.6f %.6f %.6f %.6f   (expected 1 -2 -5 6; residual %.3g)\n", *coeff.PValues(0),
              *coeff.PValues(1), *coeff.PValues(2), *coeff.PValues(3), res);
  PolyRoots(roots, coeff);
  std::printf("  PolyRoots of the fit          ");
  for (int i = 0; i < roots.Length(); ++i) std::printf(" (%.6f, %.2g)", roots.PCValues(i)->Re, roots.PCValues(i)->Im);
  std::printf("   (expected -2, 3, 1)\n  PolyEval(fit, 0.5)             %.6f (exact cubic: %.6f)\n", PolyEval(0.5, coeff), (0.5 - 1) * (0.5 + 2) * (0.5 - 3));
  TPiecePoly pp;
  Spline1D(x, y, pp, seNotAKnot);
  std::printf("  Spline1D through the samples   %.6f at 0.5, %d cubic pieces\n", pp.Evaluate(0.5), pp.Pieces());
}
