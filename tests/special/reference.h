#pragma once
// Reference rows of the special-function tests and the correctly-rounded comparison.

#include <cmath>
#include <cstdio>
#include <string>

#include "core/accuracy.h"
#include "quorel/core/types.h"

namespace quorel::test {

/// A part smaller than this fraction of the other part only has to be faithful to the pair.
inline constexpr double kNegligiblePart = 0x1p-52;

/// Ulps by which `got` misses the correctly rounded `want`, per part; a part negligible against
/// the other counts as 0 when its error is within kNegligiblePart of the other part.
inline std::uint64_t CplxUlps(TCplx got, TCplx want) {
  auto part = [](double g, double w, double other) -> std::uint64_t {
    if (std::fabs(w) < kNegligiblePart * std::fabs(other))
      return std::fabs(g - w) <= kNegligiblePart * std::fabs(other) ? 0 : UlpDistance(g, w);
    return UlpDistance(g, w);
  };
  return std::max(part(got.Re, want.Re, want.Im), part(got.Im, want.Im, want.Re));
}

inline std::string Show(TCplx z) {
  char buf[80];
  std::snprintf(buf, sizeof buf, "(%.17g, %.17g)", z.Re, z.Im);
  return buf;
}

}  // namespace quorel::test
