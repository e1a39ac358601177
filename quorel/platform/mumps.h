#pragma once
// MUMPS, the sequential multifrontal solver: the only door to it. Input is compressed columns;
// complex values are interleaved and passed as they are.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorel::detail {

/// Which entries a factorisation reads. The three symmetric kinds read the lower triangle, and an
/// entry above the diagonal whose mirror is not stored as the mirror (conjugated when Hermitian).
enum class TMumpsSymmetry : std::uint8_t {
  Unsymmetric,    // all entries
  PosDefinite,    // symmetric positive definite: the lower triangle is used
  Symmetric,      // symmetric (complex: A = A.'), indefinite: the lower triangle is used
  HermitianLower  // Hermitian from its lower triangle, solved as an unsymmetric matrix
};

enum class TMumpsOrdering : std::uint8_t { Auto, Amd, Metis };

/// Longest out-of-core folder and file prefix the library takes (longer ones it would cut).
inline constexpr std::size_t MumpsOocDirCapacity = 255, MumpsOocPrefixCapacity = 63;

struct TMumpsOptions {
  TMumpsSymmetry symmetry = TMumpsSymmetry::Unsymmetric;
  TMumpsOrdering ordering = TMumpsOrdering::Auto;
  /// Iterative refinement steps after each solve (0: none).
  std::int32_t refinementSteps = 0;
  /// Factors written to files `oocDir`/`oocPrefix`... instead of kept in memory.
  bool outOfCore = false;
  /// Folder of the factor files: at most MumpsOocDirCapacity characters.
  std::string oocDir;
  /// Prefix of the factor files: at most MumpsOocPrefixCapacity characters.
  std::string oocPrefix;
};

/// What the library reported about the last analysis and factorisation.
struct TMumpsStats {
  std::int64_t perturbedPivots = 0;
  /// Negative pivots of a symmetric factorisation (a "definite" matrix that is not).
  std::int64_t negativePivots = 0;
  std::int64_t analysisMemoryKB = 0;
  std::int64_t factorMemoryKB = 0;
  std::int64_t solverMemoryKB = 0;
  std::int64_t factorEntries = 0;
  double mflops = 0;
  std::int32_t refinementSteps = 0;
  /// The refinement used up its steps without meeting its stopping criterion.
  bool refinementIncomplete = false;
};

}  // namespace quorel::detail

// Named by the public settings header, so it lives where public headers keep their internals.
namespace quorel::header_detail {
using detail::TMumpsOptions;
using detail::TMumpsStats;

/// One instance (real or complex), terminated on every path.
class TMumpsSolver {
 public:
  TMumpsSolver();
  ~TMumpsSolver();
  TMumpsSolver(const TMumpsSolver&) = delete;
  TMumpsSolver& operator=(const TMumpsSolver&) = delete;

  /// Analysis and factorisation. Returns the library's status (0 ok, negative failure).
  int Factorise(const TMumpsOptions& options, bool complex, std::int32_t n, const std::int32_t* ap,
                const std::int32_t* ai, const double* ax);
  /// Factorisation of new values in the pattern of the last successful Factorise, reusing its
  /// analysis (same symmetry). Returns the library's status.
  int Refactorise(const TMumpsOptions& options, const std::int32_t* ap, const std::int32_t* ai, const double* ax);
  /// Solves for `nrhs` columns of n (complex: interleaved) values with the held factors.
  int Solve(std::int32_t nrhs, const double* b, double* x);
  bool HasFactors() const { return factored_; }
  /// An analysis that Refactorise can reuse is held.
  bool HasAnalysis() const { return analysed_; }
  const TMumpsStats& Stats() const { return stats_; }
  /// The library's second status word of the last call (detail of a failure).
  std::int32_t StatusDetail() const { return detail_; }
  /// Terminates the instance; returns its status.
  int Free();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  bool factored_ = false;
  bool analysed_ = false;
  TMumpsStats stats_;
  std::int32_t detail_ = 0;
};
}  // namespace quorel::header_detail

namespace quorel::detail {
using header_detail::TMumpsSolver;

/// Library status -> the parameter-array error vocabulary (-1 input, -2 memory, -4 zero pivot,
/// -5 internal).
int MumpsToPardisoCode(int status);

/// Analysis + factorisation + solve with the library alone (benchmark reference; real). `sym` and
/// `ordering` are the library's own codes (0/1/2; 0 AMD, 5 METIS, 7 automatic).
int MumpsRawSolveReal(int sym, int ordering, std::int32_t n, const std::int32_t* ap, const std::int32_t* ai,
                      const double* ax, const double* b, double* x);

}  // namespace quorel::detail
