#pragma once
// Reductions of raw arrays to values. Conventions as in kernels_arith.h.
//
// Sums, norms and dot products keep several partial results and combine them at the end, so
// the order of additions (and the last bits) differs from a left-to-right loop; a sum is as
// accurate or better. Where the partial results leave the double range although the result need
// not (INF or NaN from finite data, or a product that came out 0 with no zero factor), the
// reduction is done again with scaled values; that path costs the ordinary call nothing.
// Empty input: sums, means and dot products give 0, products 1, the standard deviation (n < 2),
// extremes, norms and RMS NaN with index -1.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// A value and its position; Index is -1 when there is none.
struct TIndexedValue {
  double Value;
  std::ptrdiff_t Index;
};

/// Both extremes of one array.
struct TMinMax {
  TIndexedValue Min;
  TIndexedValue Max;
};

/// Sum of the elements.
double Sum(const double* x, std::ptrdiff_t n);
TCplx Sum(const TCplx* x, std::ptrdiff_t n);
/// Sum / n.
double Mean(const double* x, std::ptrdiff_t n);
TCplx Mean(const TCplx* x, std::ptrdiff_t n);
/// Sample standard deviation (divisor n - 1), two passes: the mean, then squared deviations.
double StdDev(const double* x, std::ptrdiff_t n);
/// Sum of |x|^2.
double SumOfSquares(const double* x, std::ptrdiff_t n);
double SumOfSquares(const TCplx* x, std::ptrdiff_t n);

/// Largest (smallest) value and its first position. NaN is never selected unless every value
/// is NaN; then the result is NaN at index 0. Of equal values (also -0 and +0) the first wins.
TIndexedValue MaxIndex(const double* x, std::ptrdiff_t n);
TIndexedValue MinIndex(const double* x, std::ptrdiff_t n);
TMinMax MinMaxIndex(const double* x, std::ptrdiff_t n);

/// Norms; complex data on moduli (textbook moduli for L1 and Inf). NaN in the data gives NaN.
/// L2 sums squares in one pass; when that sum overflows or drops below 2^-900 it is recomputed
/// with every value scaled by a power of two taken from the largest magnitude, so the result
/// neither overflows nor loses precision to underflow.
double NormL1(const double* x, std::ptrdiff_t n);
double NormL1(const TCplx* x, std::ptrdiff_t n);
double NormL2(const double* x, std::ptrdiff_t n);
double NormL2(const TCplx* x, std::ptrdiff_t n);
/// sqrt(sum of |x|^2 / n), rescaled as NormL2, so it overflows only when the result does.
double RMS(const double* x, std::ptrdiff_t n);
double RMS(const TCplx* x, std::ptrdiff_t n);
double NormInf(const double* x, std::ptrdiff_t n);
double NormInf(const TCplx* x, std::ptrdiff_t n);

/// Norms of a - b, as above.
double NormDiffL1(const double* a, const double* b, std::ptrdiff_t n);
double NormDiffL1(const TCplx* a, const TCplx* b, std::ptrdiff_t n);
double NormDiffL2(const double* a, const double* b, std::ptrdiff_t n);
double NormDiffL2(const TCplx* a, const TCplx* b, std::ptrdiff_t n);
double NormDiffInf(const double* a, const double* b, std::ptrdiff_t n);
double NormDiffInf(const TCplx* a, const TCplx* b, std::ptrdiff_t n);

/// Sum of a[i] * b[i].
double Dot(const double* a, const double* b, std::ptrdiff_t n);
TCplx Dot(const TCplx* a, const TCplx* b, std::ptrdiff_t n);
TCplx Dot(const double* a, const TCplx* b, std::ptrdiff_t n);
/// Sum of conj(a[i]) * b[i].
TCplx DotConj(const TCplx* a, const TCplx* b, std::ptrdiff_t n);

/// Product of all elements; partial products that leave the range do not spoil a result that
/// lies in it.
double Product(const double* x, std::ptrdiff_t n);
TCplx Product(const TCplx* x, std::ptrdiff_t n);

}  // namespace quorel::kern
