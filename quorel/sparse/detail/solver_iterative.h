#pragma once
// Our own iterative sparse solvers on compressed-column arrays (real only). The method and the
// stopping test are given by ordinals that follow TIterativeMethod and TConvergenceCheck, so the
// matrix binds with a cast.

#include <cstdint>
#include <memory>

namespace quorel::detail {

/// Same order as TIterativeMethod.
enum TSlapMethod : std::uint8_t {
  slapSGS,      // Gauss-Seidel iterative refinement (M = lower triangle)
  slapICCG,     // incomplete-Cholesky preconditioned CG (SPD)
  slapILUR,     // incomplete-LU iterative refinement
  slapJAC,      // Jacobi (M = diagonal)
  slapLUBC,     // ILU-preconditioned BiCG
  slapSLUCN,    // ILU-preconditioned CG on the normal equations
  slapLUCS,     // ILU-preconditioned CG squared
  slapLUGMRES,  // restarted ILU-preconditioned GMRES
  slapLUOM      // ILU-preconditioned Orthomin
};

/// Same order as TConvergenceCheck: 1 = ||r||/||b||, 2 = ||M^-1 r||/||M^-1 b||.
enum TSlapCheck : std::uint8_t { slapNorm2, slapNorm2InvM };

/// A: n x n, Ap (n+1), Ai, Ax. With `symmetricLower` only the lower triangle is stored and the
/// upper one is implied.
struct TSlapMatrix {
  std::int32_t n = 0;
  const std::int32_t* ap = nullptr;
  const std::int32_t* ai = nullptr;
  const double* ax = nullptr;
  bool symmetricLower = false;
};

struct TSlapOptions {
  TSlapMethod method = slapSGS;
  TSlapCheck check = slapNorm2;
  std::int32_t maxIters = 500;
  double tolerance = 1.1102230246251565e-13;
  /// Krylov vectors kept by GMRES (restart length) and Orthomin.
  std::int32_t gmresRestart = 20;
  std::int32_t orthominSave = 10;
};

/// Outcome: `ierr` is the error code (0 success, 1 storage, 2 no convergence or GMRES stall,
/// 3 bad input, 4 tolerance reset, 5/6 breakdowns, 7 incomplete factorisation fudged, -1/-2 for
/// GMRES work/ITOL problems), `iters` the iterations used, `error` the final stopping-test value.
struct TSlapResult {
  int ierr = 0;
  std::int32_t iters = 0;
  double error = 0;
};

}  // namespace quorel::detail

// Named by the public sparse header, so it lives where public headers keep their internals.
namespace quorel::header_detail {
/// The working form of A, its preconditioner and the vectors of a solve, kept between solves so
/// that a repeated solve of the same size allocates nothing.
class TSlapWorkspace {
 public:
  TSlapWorkspace();
  ~TSlapWorkspace();
  struct Impl;
  std::unique_ptr<Impl> impl;
};
}  // namespace quorel::header_detail

namespace quorel::detail {
using header_detail::TSlapWorkspace;

/// Solves A x = b; x holds the start guess on entry. Never raises on numerical trouble: the
/// outcome is in the result.
TSlapResult SlapSolve(const TSlapMatrix& a, const TSlapOptions& options, const double* b, double* x,
                      TSlapWorkspace& work);
/// The same with a workspace of its own.
TSlapResult SlapSolve(const TSlapMatrix& a, const TSlapOptions& options, const double* b, double* x);

/// The report text of an error code for a method ("" for 0).
const char* SlapErrorText(TSlapMethod method, int ierr);

/// True when column j of the lower-triangle storage holds no entry above the diagonal.
bool IsLowerTriangleOnly(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai);

}  // namespace quorel::detail
