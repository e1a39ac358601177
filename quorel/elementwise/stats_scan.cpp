// Reductions that are own scans rather than one platform-kernel call: median, higher moments, complex
// extremes, first/last, searches and tolerance equality.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "quorel/core/detail/checks.h"
#include "quorel/core/complex_compare.h"
#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/elementwise/detail/frame.h"

namespace quorel {

using detail::RequireInRange;

using detail::C;
using detail::R;
using detail::Require;

// --- median and moments ------------------------------------------------------------------------------

double TDenseQuorel::Median() const { return Median(0, fLength); }

namespace {
// Median of x[0, len) from the copy s: the ascending sort puts NaN last, so the copy keeps the
// numbers in front and the NaNs behind them; the selection then sees a strict ordering and the
// result does not depend on the input order.
double MedianByCopy(const double* x, std::int32_t len, double* s) {
  std::int32_t numbers = 0;
  std::int32_t nans = len;
  for (std::int32_t i = 0; i < len; ++i) {
    if (x[i] == x[i]) {
      s[numbers++] = x[i];
    } else {
      s[--nans] = x[i];
    }
  }
  // Selection gives the same elements as a full sort at the two middle positions.
  const std::int32_t mid = len / 2;
  if (mid >= numbers) return s[mid];  // a NaN, and so is the mean of the even case
  std::nth_element(s, s + mid, s + numbers);
  if (len % 2 == 1) return s[mid];
  const double below = *std::max_element(s, s + mid);
  return (below + s[mid]) * 0.5;
}
}  // namespace

double TDenseQuorel::Median(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  detail::RequireReal(*this);
  if (len == 0) return NaN;
  // Short ranges are copied to the stack, longer ones to a cached work vector, given back (a
  // large block freed) on return. The loan costs about 50 ns: a third of the median of 100
  // values, a few percent of that of 512.
  constexpr std::int32_t kOnStack = 512;
  const double* x = PValues1D(index);
  if (len <= kOnStack) {
    double local[kOnStack];
    return MedianByCopy(x, len, local);
  }
  TWorkVec work;
  work->Size(len, false);
  return MedianByCopy(x, len, work->PValues(0));
}

namespace {
// Sum of ((x - mean) * inv)^power, or of ((x - mean) / stdDev)^power with Divide, in one pass.
template <int Power, bool Divide>
double SumOfPowers(const double* x, std::int32_t n, double mean, double by) {
  double sum = 0.0;
  for (std::int32_t i = 0; i < n; ++i) {
    const double z = Divide ? (x[i] - mean) / by : (x[i] - mean) * by;
    const double z2 = z * z;
    sum += Power == 3 ? z2 * z : z2 * z2;
  }
  return sum;
}

// Sum of ((x - mean) / stdDev)^power over the range. The reciprocal serves where it is a normal
// number; for a stdDev near the ends of the range it would overflow or lose digits, and there the
// division runs.
template <int Power>
double SumOfNormalizedPowers(const double* x, std::int32_t n, double mean, double stdDev) {
  const double inv = 1.0 / stdDev;
  if (std::fabs(inv) >= DBL_MIN && std::fabs(inv) < INF) return SumOfPowers<Power, false>(x, n, mean, inv);
  return SumOfPowers<Power, true>(x, n, mean, stdDev);
}
}  // namespace

double TDenseQuorel::Skewness(double mean, double stdDev) const { return Skewness(mean, stdDev, 0, fLength); }

double TDenseQuorel::Skewness(double mean, double stdDev, std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  detail::RequireReal(*this);
  if (len < 3) return NaN;
  if (stdDev == 0.0) return INF;
  const double n = len;
  return SumOfNormalizedPowers<3>(PValues1D(index), len, mean, stdDev) * n / ((n - 1) * (n - 2));
}

double TDenseQuorel::Kurtosis(double mean, double stdDev) const { return Kurtosis(mean, stdDev, 0, fLength); }

double TDenseQuorel::Kurtosis(double mean, double stdDev, std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  detail::RequireReal(*this);
  if (len < 4) return NaN;
  if (stdDev == 0.0) return INF;
  const double n = len;
  const double s4 = SumOfNormalizedPowers<4>(PValues1D(index), len, mean, stdDev);
  return (s4 * n * (n + 1) / (n - 1) - 3 * (n - 1) * (n - 1)) / ((n - 2) * (n - 3));
}

// --- complex extremes ----------------------------------------------------------------------------------

namespace {
// Position of the element of largest (Larger) or smallest squared modulus; equal moduli are ranked
// by phase with the complex ordering, exact duplicates keep the first.
template <bool Larger>
std::int32_t ComplexExtreme(const TCplx* z, std::int32_t n) {
  std::int32_t best = 0;
  double bestNorm = z[0].Re * z[0].Re + z[0].Im * z[0].Im;
  for (std::int32_t i = 1; i < n; ++i) {
    const double norm = z[i].Re * z[i].Re + z[i].Im * z[i].Im;
    const bool wins = Larger ? (norm > bestNorm || (norm == bestNorm && Bigger2(z[i], z[best])))
                             : (norm < bestNorm || (norm == bestNorm && Smaller2(z[i], z[best])));
    if (wins) {
      best = i;
      bestNorm = norm;
    }
  }
  return best;
}

template <bool Larger>
void ComplexExtreme(const TDenseQuorel& self, TCplx& value, std::int32_t& idx, std::int32_t index,
                    std::int32_t len) {
  self.ValidateParams(index, len);
  detail::RequireComplex(self);
  if (len == 0) {
    value = CNAN;
    idx = -1;
    return;
  }
  idx = ComplexExtreme<Larger>(C(self, index), len);
  value = C(self, index)[idx];
}
}  // namespace

TCplx TDenseQuorel::Maxc() const { return Maxc(0, fLength); }
TCplx TDenseQuorel::Maxc(std::int32_t index, std::int32_t len) const {
  TCplx v;
  std::int32_t i;
  Max(v, i, index, len);
  return v;
}
TCplx TDenseQuorel::Minc() const { return Minc(0, fLength); }
TCplx TDenseQuorel::Minc(std::int32_t index, std::int32_t len) const {
  TCplx v;
  std::int32_t i;
  Min(v, i, index, len);
  return v;
}
void TDenseQuorel::Max(TCplx& value, std::int32_t& idx) const { Max(value, idx, 0, fLength); }
void TDenseQuorel::Max(TCplx& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const {
  ComplexExtreme<true>(*this, value, idx, index, len);
}
void TDenseQuorel::Min(TCplx& value, std::int32_t& idx) const { Min(value, idx, 0, fLength); }
void TDenseQuorel::Min(TCplx& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const {
  ComplexExtreme<false>(*this, value, idx, index, len);
}

// --- first and last --------------------------------------------------------------------------------------

double TDenseQuorel::First() const {
  RequireInRange(fLength != 0, "TQuorel.First: fLength = 0");
  Require(!fComplex, "TQuorel.First: Complex!");
  return fValues[0];
}

double TDenseQuorel::Last() const {
  RequireInRange(fLength != 0, "TQuorel.Last: fLength = 0");
  Require(!fComplex, "TQuorel.First: Complex!");
  return fValues[fLength - 1];
}

TCplx TDenseQuorel::Firstc() const {
  RequireInRange(fLength != 0, "TQuorel.Firstc: fLength = 0");
  Require(fComplex, "TQuorel.Firstc: not Complex!");
  return *PCValues1D(0);
}

TCplx TDenseQuorel::Lastc() const {
  RequireInRange(fLength != 0, "TQuorel.Lastc: fLength = 0");
  Require(fComplex, "TQuorel.Firstc: not Complex!");
  return *PCValues1D(fLength - 1);
}

// --- searching -----------------------------------------------------------------------------------------------

namespace {
// The scalar equality rule of Find and of relative comparisons: NaN matches NaN, an infinity
// matches an infinity of either sign, otherwise exact equality of finite values.
bool SpecialAwareEqual(double a, double b) {
  if (std::isnan(b)) return std::isnan(a);
  if (std::isinf(b)) return std::isinf(a);
  return std::isfinite(a) && a == b;
}
}  // namespace

std::int32_t TDenseQuorel::Find(double value) const {
  if (fComplex) return Find(TCplx{value, 0.0});
  const double* x = PValues1D(0);
  for (std::int32_t i = 0; i < fLength; ++i)
    if (SpecialAwareEqual(x[i], value)) return i;
  return -1;
}

std::int32_t TDenseQuorel::Find(const TCplx& value) const {
  if (!fComplex) return value.Im == 0.0 || std::isnan(value.Im) ? Find(value.Re) : -1;
  const TCplx* z = PCValues1D(0);
  for (std::int32_t i = 0; i < fLength; ++i)
    if (quorel::Equal(z[i], value)) return i;
  return -1;
}

// --- equality with tolerance -----------------------------------------------------------------------------

namespace {
// Ten times MACHEP: the default tolerance of IsEqual.
constexpr double kDefaultTolerance = header_detail::FromBits(0x3CE4000000000000);

bool PairsEqual(const double* a, const double* b, std::int64_t n, double tol, TCompare compare, double zeroTol) {
  if (tol < 0) tol = 0;
  if (compare == cmpAbsolute) {
    if (tol == 0) {
      for (std::int64_t i = 0; i < n; ++i)
        if (!(a[i] == b[i])) return false;
      return true;
    }
    for (std::int64_t i = 0; i < n; ++i)
      if (!(std::fabs(a[i] - b[i]) <= tol)) return false;
    return true;
  }
  for (std::int64_t i = 0; i < n; ++i) {
    const double x = a[i], y = b[i];
    if (!std::isfinite(x) || !std::isfinite(y)) {
      if (!quorel::Equal(x, y)) return false;
      continue;
    }
    double ax = std::fabs(x), ay = std::fabs(y);
    if (ax < zeroTol) ax = 0;
    if (ay < zeroTol) ay = 0;
    double scale = std::max(ax, ay);
    if (scale == 0) scale = 1;
    if (!(std::fabs(x - y) <= tol * scale)) return false;
  }
  return true;
}
}  // namespace

bool TDenseQuorel::IsEqual(const TDenseQuorel& vec) const {
  return fLength == vec.fLength && IsEqual(vec, 0, 0, fLength, kDefaultTolerance, cmpAbsolute);
}

bool TDenseQuorel::IsEqual(const TDenseQuorel& vec, double tolerance, TCompare compare) const {
  return fLength == vec.fLength && IsEqual(vec, 0, 0, fLength, tolerance, compare);
}

bool TDenseQuorel::IsEqual(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                           double tolerance, TCompare compare) const {
  ValidateParams2(vec, vecIndex, index, len);
  if (fComplex != vec.fComplex || fIsInteger != vec.fIsInteger) return false;
  if (fLength == 0 || len == 0) return true;
  if (fIsInteger) {
    const std::int32_t* a = PIValues1D(index);
    return std::equal(a, a + len, vec.PIValues1D(vecIndex));
  }
  return PairsEqual(fValues + DoublesFor(index), vec.fValues + DoublesFor(vecIndex), DoublesFor(len), tolerance,
                    compare, fZeroTolerance);
}

bool TDenseQuorel::IsEqual(double value) const { return IsEqual(value, kDefaultTolerance, cmpAbsolute); }

bool TDenseQuorel::IsEqual(double value, double tolerance, TCompare compare) const {
  if (fComplex) return IsEqual(TCplx{value, 0.0}, tolerance, compare);
  TWorkVec filled;
  filled->Size(*this, false);
  filled->SetIsInteger(false);
  filled->SetVal(value);
  return IsEqual(*filled, tolerance, compare);  // an integer Self differs in its flag: false
}

bool TDenseQuorel::IsEqual(const TCplx& value) const { return IsEqual(value, kDefaultTolerance, cmpAbsolute); }

bool TDenseQuorel::IsEqual(const TCplx& value, double tolerance, TCompare compare) const {
  if (!fComplex) return false;
  TWorkVec filled;
  filled->Size(fLength, true);
  filled->SetVal(value);
  return IsEqual(*filled, tolerance, compare);
}

}  // namespace quorel
