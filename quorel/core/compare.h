#pragma once
// Classification of doubles and the tolerance comparisons of reals.

#include <bit>
#include <cstdint>

namespace quorel {

namespace header_detail {
inline constexpr std::uint64_t kExpMask = 0x7FF0000000000000;
inline constexpr std::uint64_t kMantMask = 0x000FFFFFFFFFFFFF;
constexpr std::uint64_t Bits(double x) { return std::bit_cast<std::uint64_t>(x); }
}  // namespace header_detail

/// Exponent all ones and mantissa non-zero.
constexpr bool IsNan(double x) {
  return (header_detail::Bits(x) & header_detail::kExpMask) == header_detail::kExpMask && (header_detail::Bits(x) & header_detail::kMantMask) != 0;
}
/// Exponent all ones and mantissa zero, either sign.
constexpr bool IsInf(double x) {
  return (header_detail::Bits(x) & header_detail::kExpMask) == header_detail::kExpMask && (header_detail::Bits(x) & header_detail::kMantMask) == 0;
}
/// NaN or infinite (exponent all ones).
constexpr bool IsNanInf(double x) { return (header_detail::Bits(x) & header_detail::kExpMask) == header_detail::kExpMask; }
/// The same test as IsNanInf.
constexpr bool IsInfNan(double x) { return IsNanInf(x); }

/// |a - b| <= tol for finite values. A NaN equals only a NaN and an infinity any infinity
/// (of either sign): the special values compare by class, not by value.
constexpr bool Equal(double a, double b, double tol) {
  if (IsNanInf(a) || IsNanInf(b)) return IsNan(a) ? IsNan(b) : (IsInf(a) && IsInf(b));
  long double d = static_cast<long double>(a) - b;  // no overflow, no rounding of the difference
  return (d < 0 ? -d : d) <= tol;
}
/// Exact equality with the special-value rule of Equal(a, b, tol).
constexpr bool Equal(double a, double b) {
  if (IsNanInf(a) || IsNanInf(b)) return IsNan(a) ? IsNan(b) : (IsInf(a) && IsInf(b));
  return a == b;
}
/// (a - tol) > b; false when either is NaN.
constexpr bool Bigger(double a, double b, double tol) {
  return !IsNan(a) && !IsNan(b) && (static_cast<long double>(a) - tol) > b;
}
/// (a + tol) < b; false when either is NaN.
constexpr bool Smaller(double a, double b, double tol) {
  return !IsNan(a) && !IsNan(b) && (static_cast<long double>(a) + tol) < b;
}

}  // namespace quorel
