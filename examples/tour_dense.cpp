// Tour section: dense linear algebra.
#include <cmath>
#include <cstdio>

#include "quorel/quorel.h"
#include "tour_sections.h"

using namespace quorel;

void TourDense() {
  SectionTitle("Dense linear algebra");
  // A small system: the matrix is symmetric positive definite, so Cholesky does the work.
  TMtx a;
  a.SetIt(3, 3, false, {4, 1, 2, 1, 5, 3, 2, 3, 6});
  TVec b, x;
  b.SetIt(false, {1, 2, 3});
  a.SetConditionNumber(cnNorm1);
  a.LUSolve(b, x, a.DetectMtxType(true), opNone);
  std::printf("  A x = b: x = (%.6f, %.6f, %.6f)   (expected (0, 1/7, 3/7)); A detected as %s, rcond %.3f\n",
              std::fabs(*x.PValues(0)) < 1e-12 ? 0.0 : *x.PValues(0), *x.PValues(1), *x.PValues(2),
              a.DetectMtxType(true) == mtSymmPosDef ? "symmetric positive definite" : "general", a.RCond());

  // Eigen-decomposition of the same matrix: A V = V D with orthonormal V.
  TMtx v;
  TVec d;
  a.Eig(nullptr, d, &v, mtSymmetric, TMtx::vfEig);
  std::printf("  eigenvalues %.6f %.6f %.6f   (expected sum 15, the trace); first eigenvector (%.4f, %.4f, %.4f)\n",
              *d.PValues(0), *d.PValues(1), *d.PValues(2), v.Values(0, 0), v.Values(1, 0), v.Values(2, 0));

  // Least-squares line through five noisy points y ~ c0 + c1 t.
  TMtx design(5, 2, false);
  TVec y, coef;
  y.SetIt(false, {1.1, 2.9, 5.2, 7.1, 8.8});
  for (int t = 0; t < 5; ++t) design.Values(t, 0) = 1, design.Values(t, 1) = t;
  design.LQRSolve(y, coef, nullptr, opNone);
  std::printf("  least-squares line: y = %.4f + %.4f t   (the points lie near 1 + 2 t)\n", *coef.PValues(0), *coef.PValues(1));
}
