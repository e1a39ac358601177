#pragma once
// Rounding, remainders, signs, integer helpers and range clamps on real and integer scalars.

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel {

// Functions that turn a real into an integer return int64 and saturate at its range; NaN gives 0.

/// Smallest integer >= x.
std::int64_t Ceil(double x);
/// Largest integer <= x.
std::int64_t Floor(double x);
/// x - y * trunc(x / y): the remainder takes the sign of x.
double Rem(double x, double y);
/// x - 2pi * trunc(x / 2pi): maps into (-2pi, 2pi) keeping the sign, no folding into (-pi, pi].
double FixAngle(double x);
/// 1, 0 or -1 by the sign of x; NaN gives 0.
int Sgn(double x);
/// |b| with the sign of a: -|b| when a < 0, else |b|.
double Sign(double a, double b);

/// Greatest common divisor of |a| and |b| (Euclid with a floating-point quotient); Gcd(0, 0) = 0.
std::int64_t Gcd(std::int32_t a, std::int32_t b);
/// round(a * (b / Gcd(a, b))): carries the sign of a*b; Lcm(0, 0) = 0 (the NaN rounds to 0).
std::int64_t Lcm(std::int32_t a, std::int32_t b);
/// trunc(x / n) * n: the multiple of n nearest to x toward zero; n = 0 gives 0.
std::int32_t TruncDiv(std::int32_t x, std::int32_t n);
/// trunc(x / n) * n in floating point.
double TruncDiv(double x, double n);
/// Returns trunc(x) as a saturated 32-bit integer and sets frac = x - trunc(x).
std::int32_t TruncAndFrac(double x, double& frac);
/// The smallest power of two >= n, but at least 2 (LargestExp2(1) = 2).
std::int64_t LargestExp2(std::int64_t n);
/// floor(log2 n) for n >= 1 by repeated halving; 0 for n < 2.
int LargestLog2(std::int64_t n);

/// The smaller of a and b.
inline double Min(double a, double b) { return a < b ? a : b; }
/// The larger of a and b.
inline double Max(double a, double b) { return a > b ? a : b; }
/// Integer Min.
inline std::int32_t Min(std::int32_t a, std::int32_t b) { return a < b ? a : b; }
/// Integer Max.
inline std::int32_t Max(std::int32_t a, std::int32_t b) { return a > b ? a : b; }
/// 64-bit integer Min.
inline std::int64_t Min(std::int64_t a, std::int64_t b) { return a < b ? a : b; }
/// 64-bit integer Max.
inline std::int64_t Max(std::int64_t a, std::int64_t b) { return a > b ? a : b; }

/// Exchanges two values (used with double, integers and TCplx).
template <class T>
inline void Swap(T& a, T& b) noexcept {
  T t = a;
  a = b;
  b = t;
}

namespace header_detail {
template <class T>
constexpr T Clamp(T low, T value, T high) {
  return value < low ? low : (value > high ? high : value);  // the low bound wins, NaN passes
}
}  // namespace header_detail

/// True when low <= value <= high.
constexpr bool CheckRange(double low, double value, double high) { return low <= value && value <= high; }
/// Integer CheckRange.
constexpr bool CheckRange(std::int64_t low, std::int64_t value, std::int64_t high) { return low <= value && value <= high; }
/// low when value < low, else high when value > high, else value (NaN unchanged).
constexpr double EnsureRange(double low, double value, double high) { return header_detail::Clamp(low, value, high); }
/// Integer EnsureRange.
constexpr std::int32_t EnsureRange(std::int32_t low, std::int32_t value, std::int32_t high) { return header_detail::Clamp(low, value, high); }
/// EnsureRange in place.
constexpr void LimitRange(double low, double& value, double high) { value = header_detail::Clamp(low, value, high); }
/// Integer LimitRange.
constexpr void LimitRange(std::int32_t low, std::int32_t& value, std::int32_t high) { value = header_detail::Clamp(low, value, high); }

/// Deletes the object p points to and sets p to nullptr (p is cleared first).
template <class T>
inline void FreeAndNil(T*& p) {
  T* q = p;
  p = nullptr;
  delete q;
}

}  // namespace quorel
