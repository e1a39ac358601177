// Tour section: dense linear algebra.
#include <cstdio>

#include "quorel/quorel.h"
#include "tour_sections.h"

using namespace quorel;

void TourDense() {
  std::printf("Dense linear algebra:\n");
  // A small system: the matrix is symmetric positive definite, so Cholesky does the work.
  TMtx a;
  a.SetIt(3, 3, false, {4, 1, 2, 1, 5, 3, 2, 3, 6});
  TVec b, x;
  b.SetIt(false, {1, 2, 3});
  a.SetConditionNumber(cnNorm1);
  a.LUSolve(b, x, a.DetectMtxType(true), opNone);
  std::printf("  A x = b, A of type %d (mtSymmPosDef = %d): x = (%.6f, %.6f, %.6f), rcond %.3f\n",
              a.DetectMtxType(true), mtSymmPosDef, *x.PValues(0), *x.PValues(1), *x.PValues(2), a.RCond());

  // Eigen-decomposition of the same matrix: A V = V D with orthonormal V.
  TMtx v;
  TVec d;
  a.Eig(nullptr, d, &v, mtSymmetric, TMtx::vfEig);
  std::printf("  eigenvalues %.6f %.6f %.6f; first eigenvector (%.4f, %.4f, %.4f)\n", *d.PValues(0), *d.PValues(1),
              *d.PValues(2), v.Values(0, 0), v.Values(1, 0), v.Values(2, 0));

  // Least-squares line through five noisy points y ~ c0 + c1 t.
  TMtx design(5, 2, false);
  TVec y, coef;
  y.SetIt(false, {1.1, 2.9, 5.2, 7.1, 8.8});
  for (int t = 0; t < 5; ++t) design.Values(t, 0) = 1, design.Values(t, 1) = t;
  design.LQRSolve(y, coef, nullptr, opNone);
  std::printf("  least-squares line: y = %.4f + %.4f t\n\n", *coef.PValues(0), *coef.PValues(1));
}
