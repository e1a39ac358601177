#pragma once
// Module-level statistics: free functions that forward to the reductions of their first argument.

#include <cstdint>

#include "quorel/objects/dense.h"

namespace quorel {

double Sum(const TDenseQuorel& x);
double Mean(const TDenseQuorel& x);
double Mean(const TDenseQuorel& x, std::int32_t index, std::int32_t len);
double Max(const TDenseQuorel& x);
double Min(const TDenseQuorel& x);
/// Standard deviation about a given mean.
double StdDev(const TDenseQuorel& x, double mean);
TCplx StdDev(const TDenseQuorel& x, const TCplx& mean);
double RMS(const TDenseQuorel& x);
double RMS(const TDenseQuorel& x, std::int32_t index, std::int32_t len);
double Median(const TDenseQuorel& x);
double Skewness(const TDenseQuorel& x, double mean, double stdDev);
double Kurtosis(const TDenseQuorel& x, double mean, double stdDev);
double NormC(const TDenseQuorel& x);
double NormL1(const TDenseQuorel& x);
double NormL2(const TDenseQuorel& x);
/// Norm of x - y over the common length, relative to the norm of x when asked.
double NormC(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
double NormL1(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
double NormL2(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
std::int32_t Find(const TDenseQuorel& x, double value);
std::int32_t Find(const TDenseQuorel& x, const TCplx& value);
/// a.IsEqual(b, tolerance, cmpAbsolute).
bool Equal(const TDenseQuorel& a, const TDenseQuorel& b, double tolerance);
/// Trial division; N div 2 < 2 counts as prime (so 0, 1, 2, 3 and every negative N), deliberately.
bool Prime(std::int32_t n);

}  // namespace quorel
