#pragma once
// CHOLMOD, the sparse Cholesky library: the only door to it. Input is compressed columns holding
// the lower triangle of a symmetric (real) or Hermitian (complex, interleaved) matrix.

#include <cstdint>
#include <memory>

namespace quorel::detail {

enum class TCholmodKind : std::uint8_t {
  Auto,        // LL', simplicial or supernodal as the library judges
  Supernodal,  // LL', supernodal
  Simplicial,  // LL', simplicial (left-looking)
  LDL          // LDL', simplicial
};

enum class TCholmodOrdering : std::uint8_t { Amd, Metis, Colamd, Natural };

/// Outcome codes in the settings' own vocabulary: 0 ok, -1 unknown, -2 out of memory,
/// -3 invalid arguments, -4 not positive definite.
enum TCholmodCode : int { chOk = 0, chUnknown = -1, chNoMemory = -2, chInvalid = -3, chNotPosDef = -4 };

}  // namespace quorel::detail

// Named by the public settings header, so it lives where public headers keep their internals.
namespace quorel::header_detail {
using detail::TCholmodKind;
using detail::TCholmodOrdering;

/// A factorisation with its workspace: common and factor freed on every path.
class TCholmodFactor {
 public:
  TCholmodFactor();
  ~TCholmodFactor();
  TCholmodFactor(const TCholmodFactor&) = delete;
  TCholmodFactor& operator=(const TCholmodFactor&) = delete;

  /// Analyses the pattern and factorises. `ax` holds nnz values (2 nnz doubles when complex).
  int Factorise(bool complex, std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax,
                TCholmodKind kind, TCholmodOrdering ordering);
  /// Factorises new values with the pattern already analysed.
  int Refactorise(const std::int32_t* ap, const std::int32_t* ai, const double* ax);
  /// Solves A X = B for `nrhs` columns of n (complex: interleaved) values.
  int Solve(std::int32_t nrhs, const double* b, double* x);
  bool HasFactor() const;
  /// The column where a not-positive-definite matrix failed (0-based), or -1.
  std::int32_t FailedColumn() const { return failedColumn_; }
  /// Entries in the factor and flops of the last factorisation.
  double FactorEntries() const;
  double Flops() const;
  void Free();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  std::int32_t failedColumn_ = -1;
};
}  // namespace quorel::header_detail

namespace quorel::detail {
using header_detail::TCholmodFactor;

/// Analyse + factorise + solve with the library alone (benchmark reference; real, LL', AMD).
int CholmodRawSolveReal(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax,
                        const double* b, double* x);

}  // namespace quorel::detail
