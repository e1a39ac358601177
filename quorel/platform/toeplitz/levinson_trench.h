#pragma once
// Our stand-in for the platform's Toeplitz solvers: the Levinson-Trench recursion for a general
// (non-symmetric) Toeplitz system in O(n^2), real or complex.

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::detail {

/// Solves T x = y for the n x n Toeplitz matrix whose first row is row[0 .. n-1] (row[0] the
/// diagonal) and whose first column below the diagonal is col[0 .. n-2]. Returns 0, or the order
/// k (1-based) of the first singular leading minor, in which case x is undefined. The recursion
/// needs every leading minor to be regular; it does not pivot.
std::int32_t LevinsonTrenchSolve(const double* row, const double* col, const double* y, double* x, std::int32_t n);
std::int32_t LevinsonTrenchSolve(const TCplx* row, const TCplx* col, const TCplx* y, TCplx* x, std::int32_t n);

}  // namespace quorel::detail
