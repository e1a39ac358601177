#pragma once
// Numeric constants with the exact bit patterns the library promises.

#include <bit>
#include <cstdint>

#include "quorel/core/types.h"

namespace quorel {

namespace header_detail {
constexpr double FromBits(std::uint64_t bits) { return std::bit_cast<double>(bits); }
}  // namespace header_detail

inline constexpr double PI = header_detail::FromBits(0x400921FB54442D18);
inline constexpr double LN2 = header_detail::FromBits(0x3FE62E42FEFA39EF);
inline constexpr double LN10 = header_detail::FromBits(0x40026BB1BBB55516);
inline constexpr double LNPI = header_detail::FromBits(0x3FF250D048E7A1BD);
inline constexpr double INVLN2 = header_detail::FromBits(0x3FF71547652B82FE);
inline constexpr double INVLN10 = header_detail::FromBits(0x3FDBCB7B1526E50E);
inline constexpr double TWOPI = header_detail::FromBits(0x401921FB54442D18);
inline constexpr double INVTWOPI = header_detail::FromBits(0x3FC45F306DC9C883);
inline constexpr double PIDIV2 = header_detail::FromBits(0x3FF921FB54442D18);
inline constexpr double SQRTPI = header_detail::FromBits(0x3FFC5BF891B4EF6B);
inline constexpr double SQRT2PI = header_detail::FromBits(0x40040D931FF62706);
inline constexpr double INVSQRT2PI = header_detail::FromBits(0x3FD9884533D43651);
inline constexpr double LNSQRT2PI = header_detail::FromBits(0x3FED67F1C864BEB5);
inline constexpr double LN2PIDIV2 = header_detail::FromBits(0x3FED67F1C864BEB5);
inline constexpr double SQRT2 = header_detail::FromBits(0x3FF6A09E667F3BCD);
inline constexpr double SQRT2DIV2 = header_detail::FromBits(0x3FE6A09E667F3BCD);
inline constexpr double GOLD = header_detail::FromBits(0x3FF9E3779B97F4A8);
inline constexpr double CGOLD = header_detail::FromBits(0x3FD8722191A02D61);
inline constexpr double PI180 = header_detail::FromBits(0x3F91DF46A2529D39);
inline constexpr double INVPI180 = header_detail::FromBits(0x404CA5DC1A63C1F8);
inline constexpr double S_ONE = header_detail::FromBits(0x3FF0000000000000);
inline constexpr double S_ZERO = header_detail::FromBits(0x0000000000000000);
inline constexpr double MACHEP = header_detail::FromBits(0x3CB0000000000000);
inline constexpr double MINNUM = header_detail::FromBits(0x0010000000000001);
inline constexpr double MAXLOG = header_detail::FromBits(0x40862E42FEFA39EF);
inline constexpr double MINLOG = header_detail::FromBits(0xC086232BDD7ABCD2);
inline constexpr double MAXFAC = header_detail::FromBits(0x4065400000000000);
inline constexpr double MAXGAM = header_detail::FromBits(0x406573FAE561F62E);
inline constexpr double MAXLGM = header_detail::FromBits(0x7F574C5DD06D2516);
/// Quiet NaN with a positive sign. `NAN` is a standard C macro, so the constant is spelled NaN.
inline constexpr double NaN = header_detail::FromBits(0x7FF8000000000000);
inline constexpr double INF = header_detail::FromBits(0x7FF0000000000000);

inline constexpr TCplx C_ZERO{0.0, 0.0};
inline constexpr TCplx C_ONE{1.0, 0.0};
inline constexpr TCplx C_I{0.0, 1.0};
inline constexpr TCplx C_PI{PI, 0.0};
inline constexpr TCplx C_pi_div_2{PIDIV2, 0.0};
inline constexpr TCplx CNAN{NaN, NaN};
inline constexpr TCplx CINF{INF, INF};

/// Largest n with a finite n! as an integer, for table sizes.
inline constexpr int MaxFactTable = 30;

}  // namespace quorel
