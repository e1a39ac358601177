#pragma once
// Rounding, remainders, signs, integer helpers and range clamps on real and integer scalars.

#include <cstdint>
#include <type_traits>

#include "quorel/core/types.h"

namespace quorel {

namespace header_detail {
// Arithmetic arguments of the mixed-type forms below. Integers must fit int64 without changing value,
// so 64-bit unsigned types stay out; bool is not a number here.
template <class T>
concept Integer = std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                  (std::is_signed_v<T> ? sizeof(T) <= 8 : sizeof(T) < 8);
template <class T>
concept Number = Integer<T> || std::is_floating_point_v<T>;
// At least one real among numbers: the double form is meant.
template <class... T>
concept MixedReal = (Number<T> && ...) && (std::is_floating_point_v<T> || ...);
template <class... T>
concept AllInteger = (Integer<T> && ...);
// int32 when every argument fits it, else int64.
template <class... T>
using WideInteger = std::conditional_t<((sizeof(T) < 4 || (sizeof(T) == 4 && std::is_signed_v<T>)) && ...),
                                       std::int32_t, std::int64_t>;

template <class T>
constexpr T Clamp(T low, T value, T high) {
  return value < low ? low : (value > high ? high : value);  // the low bound wins, NaN passes
}
}  // namespace header_detail

// The mixed-type templates below only catch calls that no plain overload matches exactly (Max(x, 0),
// CheckRange(1, n, 10)): a real argument selects the double form, otherwise the widest integer form.

/// Smallest integer >= x, as a double (NaN and infinities pass through).
double Ceil(double x);
/// Largest integer <= x, as a double (NaN and infinities pass through).
double Floor(double x);
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
/// 64-bit integer TruncDiv; n = 0 gives 0.
std::int64_t TruncDiv(std::int64_t x, std::int64_t n);
/// trunc(x / n) * n in floating point.
double TruncDiv(double x, double n);
/// TruncDiv with a real argument: the double form.
template <class A, class B>
  requires header_detail::MixedReal<A, B>
double TruncDiv(A x, B n) { return TruncDiv(static_cast<double>(x), static_cast<double>(n)); }
/// TruncDiv of mixed integer types in the wider one.
template <class A, class B>
  requires header_detail::AllInteger<A, B>
header_detail::WideInteger<A, B> TruncDiv(A x, B n) {
  using W = header_detail::WideInteger<A, B>;
  return TruncDiv(static_cast<W>(x), static_cast<W>(n));
}
/// Returns trunc(x) as a saturated 32-bit integer and sets frac = x - trunc(x).
std::int32_t TruncAndFrac(double x, double& frac);
/// The smallest power of two >= n, but at least 2 (LargestExp2(1) = 2).
std::int64_t LargestExp2(std::int64_t n);
/// floor(log2 n) for n >= 1 by repeated halving; 0 for n < 2.
int LargestLog2(std::int64_t n);

/// The smaller of a and b.
constexpr double Min(double a, double b) { return a < b ? a : b; }
/// The larger of a and b.
constexpr double Max(double a, double b) { return a > b ? a : b; }
/// Integer Min.
constexpr std::int32_t Min(std::int32_t a, std::int32_t b) { return a < b ? a : b; }
/// Integer Max.
constexpr std::int32_t Max(std::int32_t a, std::int32_t b) { return a > b ? a : b; }
/// 64-bit integer Min.
constexpr std::int64_t Min(std::int64_t a, std::int64_t b) { return a < b ? a : b; }
/// 64-bit integer Max.
constexpr std::int64_t Max(std::int64_t a, std::int64_t b) { return a > b ? a : b; }
/// Min with a real argument: the double form.
template <class A, class B>
  requires header_detail::MixedReal<A, B>
constexpr double Min(A a, B b) { return Min(static_cast<double>(a), static_cast<double>(b)); }
/// Max with a real argument: the double form.
template <class A, class B>
  requires header_detail::MixedReal<A, B>
constexpr double Max(A a, B b) { return Max(static_cast<double>(a), static_cast<double>(b)); }
/// Min of mixed integer types in the wider one.
template <class A, class B>
  requires header_detail::AllInteger<A, B>
constexpr header_detail::WideInteger<A, B> Min(A a, B b) {
  using W = header_detail::WideInteger<A, B>;
  return Min(static_cast<W>(a), static_cast<W>(b));
}
/// Max of mixed integer types in the wider one.
template <class A, class B>
  requires header_detail::AllInteger<A, B>
constexpr header_detail::WideInteger<A, B> Max(A a, B b) {
  using W = header_detail::WideInteger<A, B>;
  return Max(static_cast<W>(a), static_cast<W>(b));
}

/// Exchanges two values (used with double, integers and TCplx).
template <class T>
inline void Swap(T& a, T& b) noexcept {
  T t = a;
  a = b;
  b = t;
}

/// True when low <= value <= high.
constexpr bool CheckRange(double low, double value, double high) { return low <= value && value <= high; }
/// Integer CheckRange.
constexpr bool CheckRange(std::int32_t low, std::int32_t value, std::int32_t high) { return low <= value && value <= high; }
/// 64-bit integer CheckRange.
constexpr bool CheckRange(std::int64_t low, std::int64_t value, std::int64_t high) { return low <= value && value <= high; }
/// CheckRange with a real argument: the double form.
template <class A, class B, class C>
  requires header_detail::MixedReal<A, B, C>
constexpr bool CheckRange(A low, B value, C high) {
  return CheckRange(static_cast<double>(low), static_cast<double>(value), static_cast<double>(high));
}
/// CheckRange of mixed integer types in the widest one.
template <class A, class B, class C>
  requires header_detail::AllInteger<A, B, C>
constexpr bool CheckRange(A low, B value, C high) {
  using W = header_detail::WideInteger<A, B, C>;
  return CheckRange(static_cast<W>(low), static_cast<W>(value), static_cast<W>(high));
}
/// low when value < low, else high when value > high, else value (NaN unchanged).
constexpr double EnsureRange(double low, double value, double high) { return header_detail::Clamp(low, value, high); }
/// Integer EnsureRange.
constexpr std::int32_t EnsureRange(std::int32_t low, std::int32_t value, std::int32_t high) { return header_detail::Clamp(low, value, high); }
/// 64-bit integer EnsureRange.
constexpr std::int64_t EnsureRange(std::int64_t low, std::int64_t value, std::int64_t high) { return header_detail::Clamp(low, value, high); }
/// EnsureRange with a real argument: the double form.
template <class A, class B, class C>
  requires header_detail::MixedReal<A, B, C>
constexpr double EnsureRange(A low, B value, C high) {
  return EnsureRange(static_cast<double>(low), static_cast<double>(value), static_cast<double>(high));
}
/// EnsureRange of mixed integer types in the widest one.
template <class A, class B, class C>
  requires header_detail::AllInteger<A, B, C>
constexpr header_detail::WideInteger<A, B, C> EnsureRange(A low, B value, C high) {
  using W = header_detail::WideInteger<A, B, C>;
  return EnsureRange(static_cast<W>(low), static_cast<W>(value), static_cast<W>(high));
}
/// EnsureRange in place.
constexpr void LimitRange(double low, double& value, double high) { value = header_detail::Clamp(low, value, high); }
/// Integer LimitRange.
constexpr void LimitRange(std::int32_t low, std::int32_t& value, std::int32_t high) { value = header_detail::Clamp(low, value, high); }
/// 64-bit integer LimitRange.
constexpr void LimitRange(std::int64_t low, std::int64_t& value, std::int64_t high) { value = header_detail::Clamp(low, value, high); }

/// Deletes the object p points to and sets p to nullptr (p is cleared first).
template <class T>
inline void FreeAndNil(T*& p) {
  T* q = p;
  p = nullptr;
  delete q;
}

}  // namespace quorel
