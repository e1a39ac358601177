#pragma once
// Module-level statistics: free functions that forward to the reductions of their first argument.

#include <cstdint>

#include "quorel/objects/dense.h"

namespace quorel {

/// x.Sum().
double Sum(const TDenseQuorel& x);
/// x.Mean(), of the whole object or of a range.
double Mean(const TDenseQuorel& x);
double Mean(const TDenseQuorel& x, std::int32_t index, std::int32_t len);
/// x.Max().
double Max(const TDenseQuorel& x);
/// x.Min().
double Min(const TDenseQuorel& x);
/// Standard deviation about a given mean.
double StdDev(const TDenseQuorel& x, double mean);
TCplx StdDev(const TDenseQuorel& x, const TCplx& mean);
/// x.RMS(), of the whole object or of a range.
double RMS(const TDenseQuorel& x);
double RMS(const TDenseQuorel& x, std::int32_t index, std::int32_t len);
/// x.Median().
double Median(const TDenseQuorel& x);
/// x.Skewness(mean, stdDev).
double Skewness(const TDenseQuorel& x, double mean, double stdDev);
/// x.Kurtosis(mean, stdDev).
double Kurtosis(const TDenseQuorel& x, double mean, double stdDev);
/// The norms of x: x.NormC(), x.NormL1(), x.NormL2().
double NormC(const TDenseQuorel& x);
double NormL1(const TDenseQuorel& x);
double NormL2(const TDenseQuorel& x);
/// Norm of x - y over the common length, relative to the norm of x when asked.
double NormC(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
double NormL1(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
double NormL2(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError);
/// x.Find(value): index of the first match, -1 if none.
std::int32_t Find(const TDenseQuorel& x, double value);
std::int32_t Find(const TDenseQuorel& x, const TCplx& value);
/// a.IsEqual(b, tolerance, cmpAbsolute).
bool Equal(const TDenseQuorel& a, const TDenseQuorel& b, double tolerance);
/// Trial division; N div 2 < 2 counts as prime (so 0, 1, 2, 3 and every negative N), deliberately.
bool Prime(std::int32_t n);

}  // namespace quorel
