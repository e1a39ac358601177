#include "quorel/elementwise/statistics.h"

namespace quorel {

double Sum(const TDenseQuorel& x) { return x.Sum(); }
double Mean(const TDenseQuorel& x) { return x.Mean(); }
double Mean(const TDenseQuorel& x, std::int32_t index, std::int32_t len) { return x.Mean(index, len); }
double Max(const TDenseQuorel& x) { return x.Max(); }
double Min(const TDenseQuorel& x) { return x.Min(); }
double StdDev(const TDenseQuorel& x, double mean) { return x.StdDev(mean); }
TCplx StdDev(const TDenseQuorel& x, const TCplx& mean) { return x.StdDev(mean); }
double RMS(const TDenseQuorel& x) { return x.RMS(); }
double RMS(const TDenseQuorel& x, std::int32_t index, std::int32_t len) { return x.RMS(index, len); }
double Median(const TDenseQuorel& x) { return x.Median(); }
double Skewness(const TDenseQuorel& x, double mean, double stdDev) { return x.Skewness(mean, stdDev); }
double Kurtosis(const TDenseQuorel& x, double mean, double stdDev) { return x.Kurtosis(mean, stdDev); }
double NormC(const TDenseQuorel& x) { return x.NormC(); }
double NormL1(const TDenseQuorel& x) { return x.NormL1(); }
double NormL2(const TDenseQuorel& x) { return x.NormL2(); }
double NormC(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError) { return x.NormC(y, relativeError); }
double NormL1(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError) { return x.NormL1(y, relativeError); }
double NormL2(const TDenseQuorel& x, const TDenseQuorel& y, bool relativeError) { return x.NormL2(y, relativeError); }
std::int32_t Find(const TDenseQuorel& x, double value) { return x.Find(value); }
std::int32_t Find(const TDenseQuorel& x, const TCplx& value) { return x.Find(value); }
bool Equal(const TDenseQuorel& a, const TDenseQuorel& b, double tolerance) { return a.Equal(b, tolerance); }

bool Prime(std::int32_t n) {
  if (n / 2 < 2) return true;
  // Divisors up to sqrt(n) decide the same as trial division up to n div 2.
  for (std::int32_t d = 2; static_cast<std::int64_t>(d) * d <= n; ++d)
    if (n % d == 0) return false;
  return true;
}

}  // namespace quorel
