#pragma once
// The two direct back ends on raw compressed-column arrays, for TSparseMtx to bind: each checks
// what it needs, runs the library through quorel/platform, and returns the settings' code
// (0 success; the settings' ErrorText says what failed).

#include <cstdint>
#include <string>
#include <vector>

#include "quorel/sparse/pardiso_settings.h"
#include "quorel/sparse/taucs_settings.h"

namespace quorel::detail {

/// A square matrix in compressed columns; complex values interleaved (2 doubles per entry).
struct TRawSparse {
  bool complex = false;
  std::int32_t n = 0;
  const std::int32_t* ap = nullptr;
  const std::int32_t* ai = nullptr;
  const double* ax = nullptr;
};

/// What a factorisation held by the settings may be reused for: nothing, its analysis (the
/// values changed, the pattern did not) or all of it.
enum class TFactorReuse : std::uint8_t { None, Analysis, Factors };

/// Cholesky / LDL' solve of A X = B (`nrhs` columns) for the flags of MtxTypeTaucs (9, 8, 16:
/// symmetric/Hermitian lower triangle; 5: lower triangular; 0: general). The option table is
/// rebuilt first. Raises "Symmetric matrix must contain only lower triangle!" for a symmetric
/// flag on a matrix with entries above the diagonal. tfLU is not handled here: the caller sends
/// it to the sparse LU back end (TTaucsSettings::UsesLU). With OutOfCore the factor goes to files
/// named after OutOfCoreFileName, in its folder (the temporary folder when it names none), that
/// live while the solve runs.
int TaucsSolveRaw(TTaucsSettings& s, const TRawSparse& a, std::int32_t flags, std::int32_t nrhs, const double* b,
                  double* x, std::int32_t maxIters, double tolerance, TFactorReuse reuse = TFactorReuse::None);

/// Solve of A X = B (`nrhs` columns) for a MtxTypePardiso code (2, -2, 6, 4, -4, 11, 13).
/// Symmetric and Hermitian types read the lower triangle; an entry above the diagonal whose
/// mirror is not stored stands for it (conjugated when Hermitian). Iparm receives the outputs and
/// `report`, when given, the report lines; a failed refinement step adds its line.
int PardisoSolveRaw(TPardisoSettings& s, const TRawSparse& a, std::int32_t mtype, std::int32_t nrhs,
                    const double* b, double* x, std::vector<std::string>* report,
                    TFactorReuse reuse = TFactorReuse::None);

}  // namespace quorel::detail
