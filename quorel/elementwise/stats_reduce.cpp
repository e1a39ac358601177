// Reductions that are one platform-kernel call over the range: sums, means, deviations, extremes, norms,
// products and dot products.
#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/reduce.h"
#include "quorel/platform/lapack/lapack.h"

namespace quorel {

using detail::C;
using detail::R;
using detail::Require;
using detail::Same;
using detail::RequireComplex;
using detail::RequireReal;

// --- sums and means ----------------------------------------------------------------------------------

namespace {
// From this many values on, sums of products go to the BLAS dot product, which the threaded BLAS
// splits across the cores: 1.5x the one-core kernel at 10^5 values on two cores, 1.3x where memory
// bound. Below it, waking the threads costs more than they save.
constexpr std::ptrdiff_t kThreadedDotFrom = std::ptrdiff_t{1} << 15;

bool Threaded(std::ptrdiff_t n) {
  return n >= kThreadedDotFrom && n <= std::numeric_limits<detail::lapack::FInt>::max();
}

// A BLAS result that is INF or NaN goes to the kernel, which redoes a sum whose partial results
// overflowed.
double DotOf(const double* a, const double* b, std::ptrdiff_t n) {
  if (Threaded(n)) {
    const double d = detail::lapack::dot(static_cast<detail::lapack::FInt>(n), a, b);
    if (d - d == 0.0) return d;
  }
  return kern::Dot(a, b, n);
}

// The plain BLAS sum of squares stands when no square can have overflowed or lost its value to
// underflow; otherwise the rescaling kernel runs.
double NormL2Of(const double* x, std::ptrdiff_t n) {
  if (Threaded(n)) {
    const double ss = detail::lapack::dot(static_cast<detail::lapack::FInt>(n), x, x);
    if (ss >= 0x1p-900 && ss < std::numeric_limits<double>::infinity()) return std::sqrt(ss);
  }
  return kern::NormL2(x, n);
}
double NormL2Of(const TCplx* x, std::ptrdiff_t n) { return NormL2Of(reinterpret_cast<const double*>(x), 2 * n); }

// f over [index, index + len) of a real (T = double) or complex (T = TCplx) object, after the
// range and kind checks; empty for len = 0.
template <class T, class F>
T Reduce(const TDenseQuorel& self, std::int32_t index, std::int32_t len, T empty, F f) {
  self.ValidateParams(index, len);
  if constexpr (std::is_same_v<T, double>) {
    RequireReal(self);
    return len > 0 ? f(R(self, index), len) : empty;
  } else {
    RequireComplex(self);
    return len > 0 ? f(C(self, index), len) : empty;
  }
}
constexpr auto kSum = [](auto p, std::int32_t n) { return kern::Sum(p, n); };
constexpr auto kMean = [](auto p, std::int32_t n) { return kern::Mean(p, n); };
}  // namespace

double TDenseQuorel::Sum() const { return Sum(0, fLength); }
double TDenseQuorel::Sum(std::int32_t index, std::int32_t len) const { return Reduce(*this, index, len, 0.0, kSum); }

TCplx TDenseQuorel::Sumc() const { return Sumc(0, fLength); }
TCplx TDenseQuorel::Sumc(std::int32_t index, std::int32_t len) const { return Reduce(*this, index, len, C_ZERO, kSum); }

double TDenseQuorel::Mean() const { return Mean(0, fLength); }
double TDenseQuorel::Mean(std::int32_t index, std::int32_t len) const { return Reduce(*this, index, len, 0.0, kMean); }

TCplx TDenseQuorel::Meanc() const { return Meanc(0, fLength); }
TCplx TDenseQuorel::Meanc(std::int32_t index, std::int32_t len) const {
  return Reduce(*this, index, len, C_ZERO, kMean);
}

// --- deviations -----------------------------------------------------------------------------------------

double TDenseQuorel::StdDev() const { return StdDev(0, fLength); }
double TDenseQuorel::StdDev(std::int32_t index, std::int32_t len) const {
  return Reduce(*this, index, len, NaN, [](const double* p, std::int32_t n) { return n < 2 ? NaN : kern::StdDev(p, n); });
}

namespace {
// sqrt((n Q - S^2) / (n (n - 1))) with S = n * mean and Q the sum of squares.
double StdDevAbout(const double* x, std::int32_t n, double mean) {
  if (n < 2) return NaN;
  const double q = kern::SumOfSquares(x, n);
  const double s = n * mean;
  return std::sqrt((n * q - s * s) / (static_cast<double>(n) * (n - 1)));
}
}  // namespace

double TDenseQuorel::StdDev(double mean) const { return StdDev(mean, 0, fLength); }
double TDenseQuorel::StdDev(double mean, std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  RequireReal(*this);
  return StdDevAbout(R(*this, index), len, mean);
}

TCplx TDenseQuorel::StdDev(const TCplx& mean) const { return StdDev(mean, 0, fLength); }
TCplx TDenseQuorel::StdDev(const TCplx& mean, std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  RequireComplex(*this);
  if (len < 2) return CNAN;
  TWorkVec re, im;
  re->Size(len, false);
  im->Size(len, false);
  kern::CplxToReal(C(*this, index), R(*re), R(*im), len);
  return {StdDevAbout(R(*re), len, mean.Re), StdDevAbout(R(*im), len, mean.Im)};
}

double TDenseQuorel::RMS() const { return RMS(0, fLength); }
double TDenseQuorel::RMS(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  if (len == 0) return NaN;
  const double norm = fComplex ? NormL2Of(C(*this, index), len) : NormL2Of(R(*this, index), len);
  if (norm != INF) [[likely]]
    return norm / std::sqrt(static_cast<double>(len));
  // The norm may be beyond the range where the RMS is not.
  return fComplex ? kern::RMS(C(*this, index), len) : kern::RMS(R(*this, index), len);
}

// --- extremes -----------------------------------------------------------------------------------------------

double TDenseQuorel::Max() const { return Max(0, fLength); }
double TDenseQuorel::Max(std::int32_t index, std::int32_t len) const {
  double v;
  std::int32_t i;
  Max(v, i, index, len);
  return v;
}
double TDenseQuorel::Min() const { return Min(0, fLength); }
double TDenseQuorel::Min(std::int32_t index, std::int32_t len) const {
  double v;
  std::int32_t i;
  Min(v, i, index, len);
  return v;
}

namespace {
void FromIndexed(const kern::TIndexedValue& found, double& value, std::int32_t& idx) {
  value = found.Value;
  idx = static_cast<std::int32_t>(found.Index);
}
}  // namespace

namespace {
// The largest or smallest element and its index; NaN and -1 for an empty range.
void Extreme(const TDenseQuorel& self, kern::TIndexedValue (*find)(const double*, std::ptrdiff_t), double& value,
             std::int32_t& idx, std::int32_t index, std::int32_t len) {
  self.ValidateParams(index, len);
  RequireReal(self);
  if (len == 0) {
    value = NaN;
    idx = -1;
    return;
  }
  FromIndexed(find(R(self, index), len), value, idx);
}
}  // namespace

void TDenseQuorel::Max(double& value, std::int32_t& idx) const { Max(value, idx, 0, fLength); }
void TDenseQuorel::Max(double& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const {
  Extreme(*this, kern::MaxIndex, value, idx, index, len);
}

void TDenseQuorel::Min(double& value, std::int32_t& idx) const { Min(value, idx, 0, fLength); }
void TDenseQuorel::Min(double& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const {
  Extreme(*this, kern::MinIndex, value, idx, index, len);
}

void TDenseQuorel::MaxMin(double& max, double& min) const {
  std::int32_t a, b;
  MaxMin(max, a, min, b, 0, fLength);
}
void TDenseQuorel::MaxMin(double& max, double& min, std::int32_t index, std::int32_t len) const {
  std::int32_t a, b;
  MaxMin(max, a, min, b, index, len);
}
void TDenseQuorel::MaxMin(double& max, std::int32_t& maxIdx, double& min, std::int32_t& minIdx) const {
  MaxMin(max, maxIdx, min, minIdx, 0, fLength);
}
void TDenseQuorel::MaxMin(double& max, std::int32_t& maxIdx, double& min, std::int32_t& minIdx,
                          std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  RequireReal(*this);
  if (len == 0) {
    max = min = NaN;
    maxIdx = minIdx = -1;
    return;
  }
  const kern::TMinMax found = kern::MinMaxIndex(R(*this, index), len);
  FromIndexed(found.Max, max, maxIdx);
  FromIndexed(found.Min, min, minIdx);
}

// --- norms -----------------------------------------------------------------------------------------------------

double TDenseQuorel::SumOfSquares() const { return SumOfSquares(0, fLength); }
double TDenseQuorel::SumOfSquares(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  if (len == 0) return 0.0;
  return fComplex ? kern::SumOfSquares(C(*this, index), len) : kern::SumOfSquares(R(*this, index), len);
}

namespace {
// One norm kernel on the object's kind; NaN for no elements.
template <class K>
double NormOf(const TDenseQuorel& a, std::int32_t index, std::int32_t len, K&& k) {
  if (len == 0) return NaN;
  return a.Complex() ? k(C(a, index), len) : k(R(a, index), len);
}

// Norm of Self - Vec over the shorter length, optionally relative to the norm of Self.
template <class Diff, class Plain>
double NormOfDifference(const TDenseQuorel& self, const TDenseQuorel& vec, std::int32_t vecIndex,
                        std::int32_t index, std::int32_t len, bool relative, const char* selfMsg, Diff&& diff,
                        Plain&& plain) {
  if (self.ConditionCheck()) {
    Require(!Same(self, vec), selfMsg);
    Require(self.Complex() == vec.Complex(), "Self.Complex <> Vec.Complex");
  }
  if (len <= 0) return NaN;
  const double d = self.Complex() ? diff(C(self, index), C(vec, vecIndex), len)
                                  : diff(R(self, index), R(vec, vecIndex), len);
  if (!relative) return d;
  return d / NormOf(self, index, len, plain);
}

constexpr auto kNormInf = [](auto x, std::ptrdiff_t n) { return kern::NormInf(x, n); };
constexpr auto kNormL1 = [](auto x, std::ptrdiff_t n) { return kern::NormL1(x, n); };
constexpr auto kNormL2 = [](auto x, std::ptrdiff_t n) { return NormL2Of(x, n); };
constexpr auto kDiffInf = [](auto a, auto b, std::ptrdiff_t n) { return kern::NormDiffInf(a, b, n); };
constexpr auto kDiffL1 = [](auto a, auto b, std::ptrdiff_t n) { return kern::NormDiffL1(a, b, n); };
constexpr auto kDiffL2 = [](auto a, auto b, std::ptrdiff_t n) { return kern::NormDiffL2(a, b, n); };

std::int32_t CommonLength(const TDenseQuorel& a, const TDenseQuorel& b) { return std::min(a.Length(), b.Length()); }

}  // namespace

double TDenseQuorel::NormC() const { return NormC(0, fLength); }
double TDenseQuorel::NormC(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  return NormOf(*this, index, len, kNormInf);
}
double TDenseQuorel::NormL1() const { return NormL1(0, fLength); }
double TDenseQuorel::NormL1(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  return NormOf(*this, index, len, kNormL1);
}
double TDenseQuorel::NormL2() const { return NormL2(0, fLength); }
double TDenseQuorel::NormL2(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  return NormOf(*this, index, len, kNormL2);
}

double TDenseQuorel::NormC(const TDenseQuorel& vec, bool relativeError) const {
  return NormOfDifference(*this, vec, 0, 0, CommonLength(*this, vec), relativeError, "Self = Vec", kDiffInf,
                          kNormInf);
}
double TDenseQuorel::NormC(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                           bool relativeError) const {
  ValidateParams2(vec, vecIndex, index, len);  // identity is the norm's own message
  return NormOfDifference(*this, vec, vecIndex, index, len, relativeError, "Self = Vec", kDiffInf, kNormInf);
}
double TDenseQuorel::NormL1(const TDenseQuorel& vec, bool relativeError) const {
  return NormOfDifference(*this, vec, 0, 0, CommonLength(*this, vec), relativeError, "Self = Quorel", kDiffL1,
                          kNormL1);
}
double TDenseQuorel::NormL1(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                            bool relativeError) const {
  ValidateParams2(vec, vecIndex, index, len);  // identity is the norm's own message
  return NormOfDifference(*this, vec, vecIndex, index, len, relativeError, "Self = Quorel", kDiffL1, kNormL1);
}
double TDenseQuorel::NormL2(const TDenseQuorel& vec, bool relativeError) const {
  return NormOfDifference(*this, vec, 0, 0, CommonLength(*this, vec), relativeError, "Self = Vec", kDiffL2,
                          kNormL2);
}
double TDenseQuorel::NormL2(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                            bool relativeError) const {
  ValidateParams2(vec, vecIndex, index, len);  // identity is the norm's own message
  return NormOfDifference(*this, vec, vecIndex, index, len, relativeError, "Self = Vec", kDiffL2, kNormL2);
}

// --- products ------------------------------------------------------------------------------------------------

double TDenseQuorel::Product() const { return Product(0, fLength); }
double TDenseQuorel::Product(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  RequireReal(*this);
  return len > 0 ? kern::Product(R(*this, index), len) : 1.0;
}

TCplx TDenseQuorel::Productc() const { return Productc(0, fLength); }
TCplx TDenseQuorel::Productc(std::int32_t index, std::int32_t len) const {
  ValidateParams(index, len);
  RequireComplex(*this);
  return len > 0 ? kern::Product(C(*this, index), len) : C_ONE;
}

double TDenseQuorel::DotProd(const TDenseQuorel& vec) const {
  if (fConditionCheck) Require(vec.fLength == fLength, "DotProd: Vec.Length <> Self.Length");
  return DotProd(vec, 0, 0, std::min(fLength, vec.fLength));
}

double TDenseQuorel::DotProd(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                             std::int32_t len) const {
  ValidateParams2(vec, vecIndex, index, len);
  Require(!vec.fComplex && !fComplex, "Vec.Complex or Self.Complex");
  return len > 0 ? DotOf(R(*this, index), R(vec, vecIndex), len) : 0.0;
}

TCplx TDenseQuorel::DotProdc(const TDenseQuorel& vec) const { return DotProdc(vec, false); }
TCplx TDenseQuorel::DotProdc(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                             std::int32_t len) const {
  return DotProdc(vec, false, vecIndex, index, len);
}
TCplx TDenseQuorel::DotProdc(const TDenseQuorel& vec, bool conjVec) const {
  if (fConditionCheck) Require(vec.fLength == fLength, "DotProd: Vec.Length <> Self.Length");
  return DotProdc(vec, conjVec, 0, 0, std::min(fLength, vec.fLength));
}

TCplx TDenseQuorel::DotProdc(const TDenseQuorel& vec, bool conjVec, std::int32_t vecIndex, std::int32_t index,
                             std::int32_t len) const {
  ValidateParams2(vec, vecIndex, index, len);
  Require(fComplex || vec.fComplex, "not (fComplex or Vec.Complex)");
  if (len <= 0) return C_ZERO;
  if (fComplex && vec.fComplex)
    return conjVec ? kern::DotConj(C(*this, index), C(vec, vecIndex), len)
                   : kern::Dot(C(*this, index), C(vec, vecIndex), len);
  if (!fComplex) return kern::Dot(R(*this, index), C(vec, vecIndex), len);
  // Complex Self, real Vec: sum of conj?(s) v is conj?(sum of s v).
  const TCplx sum = kern::Dot(R(vec, vecIndex), C(*this, index), len);
  return conjVec ? TCplx{sum.Re, -sum.Im} : sum;
}

}  // namespace quorel
