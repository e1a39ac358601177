#pragma once
// The iterative solvers' working form of A: compressed rows, columns sorted, every diagonal entry
// present (an explicit zero when A has none), plus the three preconditioners they use.

#include <cstdint>
#include <utility>
#include <vector>

#include "quorel/sparse/detail/solver_iterative.h"

namespace quorel::detail::slap {

struct Csr {
  std::int32_t n = 0;
  std::vector<std::int32_t> rp, ci, diag;  // diag[i]: index of (i,i)
  std::vector<double> v;

  /// y = A x.
  void Mul(const double* x, double* y) const;
  /// y = A' x.
  void MulT(const double* x, double* y) const;
};

/// Work arrays of ToCsr, kept so that a repeated conversion allocates nothing.
struct CsrScratch {
  std::vector<std::int32_t> next;
  std::vector<std::pair<std::int32_t, double>> row;
};

/// Full compressed rows of A into c (a symmetric lower triangle is mirrored); c's arrays keep
/// their capacity.
void ToCsr(const TSlapMatrix& a, Csr& c, CsrScratch& scratch);

enum class PrecKind { Diagonal, Lower, Ilu };

/// M^-1 and M^-T for a diagonal, the lower triangle of A, or ILU(0) (on a symmetric matrix
/// ILU(0) is the incomplete Cholesky factor in L D L' form).
class Preconditioner {
 public:
  /// Returns false when a pivot was zero (or, with `positive`, not positive) and replaced.
  bool Build(const Csr& a, PrecKind kind, bool positive);
  bool HasZeroDiagonal() const { return zeroDiag_; }
  void Solve(const double* r, double* z) const;
  void SolveT(const double* r, double* z) const;

 private:
  PrecKind kind_ = PrecKind::Diagonal;
  const Csr* a_ = nullptr;
  std::vector<double> lu_;  // ILU values in a's pattern
  std::vector<double> inv_diag_;
  std::vector<std::int32_t> pos_;
  bool zeroDiag_ = false;
};

}  // namespace quorel::detail::slap
