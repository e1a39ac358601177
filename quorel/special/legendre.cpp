// Associated Legendre functions by the upward recurrence in the degree.

#include <cmath>

#include "quorel/core/errors.h"
#include "quorel/core/detail/checks.h"
#include "quorel/objects/dense.h"
#include "quorel/special/special_funcs.h"

namespace quorel {

double LegendreP(std::int32_t n, std::int32_t m, double x) {
  if (m < 0 || n < m || std::fabs(x) > 1) return detail::NaNResult();
  double pmm = 1;
  if (m > 0) {
    double root = std::sqrt((1 - x) * (1 + x)), f = 1;
    for (std::int32_t i = 0; i < m; ++i) {
      pmm = -pmm * f * root;
      f += 2;
    }
  }
  if (n == m) return pmm;
  double p1 = x * (2.0 * m + 1) * pmm;
  for (std::int64_t l = m + 2; l <= n; ++l) {
    double p = (x * (2.0 * l - 1) * p1 - static_cast<double>(l + m - 1) * pmm) / static_cast<double>(l - m);
    pmm = p1;
    p1 = p;
  }
  return p1;
}

double LegendreP(std::int32_t n, double x) { return LegendreP(n, 0, x); }

void LegendreP(std::int32_t n, double x, TDenseQuorel& Res) {
  if (Res.Complex()) throw Exception("Result = Complex");
  if (n < 0) throw Exception("n < 0");
  Res.SetLength(n + 1);
  // One pass of the m = 0 recurrence gives every degree with the same operations as LegendreP(k, x).
  auto p = Res.Values();
  bool inside = !(std::fabs(x) > 1);
  double prev = 0, cur = inside ? 1 : detail::NaNResult();
  p[0] = cur;
  for (std::int32_t l = 1; l <= n; ++l) {
    double next = l == 1 ? x * cur : (x * (2.0 * l - 1) * cur - (l - 1.0) * prev) / l;
    prev = cur;
    cur = next;
    p[l] = cur;
  }
}

}  // namespace quorel
