#include "quorel/core/scalar_util.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "quorel/core/detail/x87.h"

namespace quorel {

namespace {
using L = long double;

template <class Int>
Int Saturate(L x) {
  constexpr L lo = std::numeric_limits<Int>::min();
  constexpr L hi = -lo;  // one beyond the largest value: 2^31 or 2^63, exact in long double
  if (std::isnan(x)) return 0;
  if (x <= lo) return std::numeric_limits<Int>::min();
  if (x >= hi) return std::numeric_limits<Int>::max();
  return static_cast<Int>(x);
}
}  // namespace

double Ceil(double x) { return std::ceil(x); }
double Floor(double x) { return std::floor(x); }

double Rem(double x, double y) {
  L q = std::trunc(L(x) / y);
  return static_cast<double>(x - y * q);
}

double FixAngle(double x) {
  L q = std::trunc(L(x) / detail::kTwoPiL);
  return static_cast<double>(x - detail::kTwoPiL * q);
}

int Sgn(double x) { return x > 0 ? 1 : (x < 0 ? -1 : 0); }
double Sign(double a, double b) { return a < 0 ? -std::fabs(b) : std::fabs(b); }

std::int64_t Gcd(std::int32_t a, std::int32_t b) {
  // The quotient of two 32-bit integers is exact enough in extended precision for trunc.
  L x = std::llabs(a), y = std::llabs(b);
  while (y > 0) {
    L q = std::trunc(x / y);
    L r = x - y * q;
    x = y;
    y = r;
  }
  return static_cast<std::int64_t>(x);
}

std::int64_t Lcm(std::int32_t a, std::int32_t b) {
  L g = static_cast<L>(Gcd(a, b));
  return Saturate<std::int64_t>(std::nearbyint(L(a) * (L(b) / g)));
}

std::int32_t TruncDiv(std::int32_t x, std::int32_t n) {
  if (n == 0) return 0;
  return static_cast<std::int32_t>(std::int64_t{x} / n * n);
}
std::int64_t TruncDiv(std::int64_t x, std::int64_t n) {
  if (n == 0) return 0;
  if (n == -1) return x;  // x / -1 overflows for the minimum
  return x / n * n;
}
double TruncDiv(double x, double n) { return static_cast<double>(std::trunc(L(x) / n) * n); }

std::int32_t TruncAndFrac(double x, double& frac) {
  double t = std::trunc(x);
  frac = x - t;
  return Saturate<std::int32_t>(t);
}

std::int64_t LargestExp2(std::int64_t n) {
  std::int64_t p = 2;
  while (n > p && p < (std::int64_t{1} << 62)) p *= 2;
  return p;
}

int LargestLog2(std::int64_t n) {
  int k = 0;
  while (n >= 2) {
    n /= 2;
    ++k;
  }
  return k;
}

}  // namespace quorel
