#pragma once
// The Stirling series' tail, shared by ln Gamma and the power terms of the incomplete beta
// function. Internal to the library.

namespace quorel::detail {

/// ln Gamma(x) - ((x - 1/2) ln x - x + ln sqrt(2 pi)) for x >= 10, to extended precision.
long double StirlingTail(long double x);

}  // namespace quorel::detail
