#pragma once
// Module Toeplitz: Toeplitz systems and the Levinson recursion of linear prediction.

#include "quorel/objects/vec.h"

namespace quorel {

/// Solves T x = b for the Toeplitz matrix with first row firstRow (its diagonal included) and
/// first column firstCol below the diagonal. A singular leading minor raises EQuorelException
/// "ToeplitzSolve: singular leading minor of order k" (the solver does not pivot).
void ToeplitzSolve(const TVec& firstRow, const TVec& firstCol, const TVec& b, TVec& x);

/// Prediction coefficients of order p = R.Length - 1 from the autocorrelation R: A = (1, a) with
/// a solving the Yule-Walker equations (Hermitian Toeplitz matrix of R(0 .. p-1), right-hand
/// side -R(1 .. p)).
void Levinson(const TVec& r, TVec& a);

}  // namespace quorel
