#include "quorel/core/gamma.h"

#include <array>
#include <cmath>
#include <limits>

#include "quorel/core/constants.h"
#include "quorel/core/detail/stirling.h"
#include "quorel/core/detail/x87.h"
#include "quorel/core/detail/x87_math.h"

namespace quorel {

namespace {
using L = long double;

// 0! .. 30!, each the double nearest to the product formed in extended precision.
constexpr std::array<double, MaxFactTable + 1> kFactTable = [] {
  std::array<double, MaxFactTable + 1> t{};
  L f = 1;
  t[0] = 1;
  for (int k = 1; k <= MaxFactTable; ++k) {
    f *= k;
    t[k] = static_cast<double>(f);
  }
  return t;
}();

constexpr L kLnSqrt2Pi = 0.918938533204672741780329736405617640L;
constexpr L kLnPi = 1.14472988584940017414342735135305871L;
// Where the Stirling series alone is accurate to extended precision.
constexpr L kStirlingFrom = 12;
// Below this, Gamma is reflected instead of shifted up.
constexpr L kReflectBelow = -20;

// B(2k) / (2k (2k - 1)) for k = 1 .. 12 (Bernoulli numbers).
constexpr L kStirling[] = {
    1.0L / 12,           -1.0L / 360,          1.0L / 1260,             -1.0L / 1680,
    1.0L / 1188,         -691.0L / 360360,     1.0L / 156,              -3617.0L / 122400,
    43867.0L / 244188,   -174611.0L / 125400,  854513.0L / 63756,       -236364091.0L / 1506960,
};

// ln Gamma(x) for x >= kStirlingFrom.
L StirlingLnGamma(L x) { return (x - 0.5L) * detail::LnL(x) - x + kLnSqrt2Pi + detail::StirlingTail(x); }

// ln Gamma(2 + e) = (1 - gamma) e + sum_{k>=2} (-1)^k (zeta(k) - 1) e^k / k. The coefficients of
// e^1 .. e^5 in extended precision; from e^6 on the terms stay below 2^-11 of the result for
// |e| <= 1/2, so double carries them (e^6 .. e^31; the rest is below 2^-65 of the result).
constexpr L kLnGamma2Head[] = {
    4.22784335098467139393488e-1L, 3.22467033424113218236208e-1L, -6.73523010531980951332461e-2L,
    2.05808084277845478790009e-2L, -7.3855510286739852662731e-3L,
};
constexpr double kLnGamma2Tail[] = {
    0.0028905103307415234, -0.001192753911703261, 0.0005096695247430425, -0.00022315475845357939,
    9.945751278180853e-05, -4.492623673813314e-05, 2.050721277567069e-05, -9.439488275268397e-06,
    4.374866789907488e-06, -2.039215753801366e-06, 9.55141213040742e-07, -4.492469198764566e-07,
    2.1207184805554665e-07, -1.0043224823968099e-07, 4.7698101693639804e-08, -2.2711094608943164e-08,
    1.0838659214896955e-08, -5.183475041970047e-09, 2.4836745438024785e-09, -1.1921401405860912e-09,
    5.731367241678862e-10, -2.7595228851242334e-10, 1.330476437424449e-10, -6.4229645638381e-11,
    3.1044247747322276e-11, -1.5021384080754142e-11,
};

// ln Gamma(2 + e) for |e| <= 1/2, to extended precision relative to the result even as e -> 0.
L LnGammaNear2(double e) {
  constexpr int n = std::size(kLnGamma2Tail);
  static_assert(n % 2 == 0);
  // Two chains in e^2 halve the latency of the long tail.
  double e2 = e * e, even = 0, odd = 0;
  for (int j = n - 2; j >= 0; j -= 2) {
    even = even * e2 + kLnGamma2Tail[j];
    odd = odd * e2 + kLnGamma2Tail[j + 1];
  }
  L s = even + e * odd;
  for (int k = std::size(kLnGamma2Head) - 1; k >= 0; --k) s = s * e + kLnGamma2Head[k];
  return s * e;
}

// ln Gamma(x) on [1/2, 5/2]. The shifted Stirling form subtracts two values near 17 there and
// loses the relative accuracy of the small values around the zeros at 1 and 2.
L LnGammaNearZeros(double x) {
  if (x >= 1.5) return LnGammaNear2(x - 2);  // x - 2 and x - 1 are exact
  double e = x - 1;  // ln Gamma(x) = ln Gamma(2 + e) - ln(1 + e)
  L ln = std::fabs(e) < 0.25 ? detail::Fyl2xp1(e, detail::kLn2L) : detail::LnL(x);
  return LnGammaNear2(e) - ln;
}

// x (x + 1) ... up to the first factor >= kStirlingFrom; shifted receives that factor.
// Factors near zero are exact, so relative accuracy survives near the poles.
L RisingProduct(L x, L& shifted) {
  L p = 1;
  while (x < kStirlingFrom) {
    p *= x;
    x += 1;
  }
  shifted = x;
  return p;
}

// sin(pi x) computed from the exact distance of x to the nearest integer.
L SinPi(L x) {
  L n = std::nearbyint(x);
  L s = std::sin(detail::kPiL * (x - n));
  return std::fmod(n, 2.0L) == 0 ? s : -s;
}

bool IsNonPositiveInteger(double x) { return x <= 0 && x == std::floor(x); }

// The zeros of ln |Gamma| on (-17, -2), two on each (-m - 1, -m), each as an unevaluated sum
// hi + lo (mpmath); lo carries 64 bits, as next to a zero x - hi is exact and the result's
// relative accuracy is that of x - hi - lo. Left of -17 the zeros lie closer to the integers
// than the doubles do.
struct TZero {
  double hi;
  L lo;
};
constexpr TZero kNegativeZeros[][2] = {
    {{-2.7476826467274127, 9.055340329338315565816e-17L}, {-2.4570247382208006, -3.707561081551326703141e-17L}},
    {{-3.955294284858598, -1.999428391746347976441e-17L}, {-3.14358088834998, -2.181817985233171559358e-16L}},
    {{-4.991544640560048, 1.517441176057172208065e-16L}, {-4.039361839740537, 2.114399550398060148042e-16L}},
    {{-5.998607480080875, -3.311862478893795194504e-16L}, {-5.0082181683225935, -4.392635349101581788976e-17L}},
    {{-6.999801507890638, 1.055013003740002279533e-17L}, {-6.001385294453155, 6.41584728793304164168e-17L}},
    {{-7.999975197095821, -5.261737128572354109992e-17L}, {-7.000198333407325, 2.504354173632409476082e-16L}},
    {{-8.999997244250977, -2.218562050972713128065e-16L}, {-8.000024800270682, -4.354586297860106879064e-16L}},
    {{-9.99999972442663, 4.88303761864244291493e-16L}, {-9.000002755714823, -9.491348611623208451475e-17L}},
    {{-10.99999997494789, 1.984399830698540614211e-16L}, {-10.000000275573013, -3.490970833264205828413e-16L}},
    {{-11.999999997912324, -1.00206939201030360837e-16L}, {-11.000000025052106, -6.850849812286175056835e-16L}},
    {{-12.99999999983941, 6.747262033096337299102e-16L}, {-12.000000002087676, 1.222254811204818521293e-16L}},
    {{-13.99999999998853, 8.094860741926607096777e-16L}, {-13.00000000016059, -6.745919484964341489599e-16L}},
    {{-14.999999999999236, 8.8293224147686806415e-16L}, {-14.00000000001147, -8.094853704222661817167e-16L}},
    {{-15.999999999999952, -1.668613399265053932813e-16L}, {-15.000000000000764, -8.829322382710274931707e-16L}},
    {{-16.999999999999996, -7.412564244549575414107e-16L}, {-16.000000000000046, -1.609495499460936714121e-15L}},
};

// psi(t) with t = u - pole: the pole's term 1 / u from u itself, which is exact relative to the
// small distance to the pole, the rest from the recurrence up to 12 and the asymptotic series.
L DigammaBesidePole(L u, int pole) {
  // B(2k) / 2k for k = 1 .. 10.
  constexpr L kB[] = {1.0L / 12,       -1.0L / 120,         1.0L / 252,       -1.0L / 240, 1.0L / 132,
                      -691.0L / 32760, 1.0L / 12,           -3617.0L / 8160,  43867.0L / 14364,
                      -174611.0L / 6600};
  const L t = u - pole;
  L y = t, sum = 0;
  for (int k = 0; y < kStirlingFrom; ++k, y += 1)
    if (k != pole) sum += 1 / y;
  const L inv2 = 1 / (y * y);
  L series = 0;
  for (int k = std::size(kB) - 1; k >= 0; --k) series = series * inv2 + kB[k];
  return detail::LnL(y) - 0.5L / y - series * inv2 - sum - 1 / u;
}

// ln |Gamma(x)| within a tenth of the distance from a zero x0 to its pole: the integral of psi
// from x0, by seven-point Gauss-Legendre (psi's pole lies at least nine such distances away, so
// the rule's error is below 1e-21 of the result). The shifted Stirling form loses the result's
// relative accuracy there: it subtracts values near 30 to leave one near 0.
bool LnGammaNearNegativeZero(double x, L& result) {
  const int m = -static_cast<int>(std::floor(x)) - 1;  // x in (-m - 1, -m)
  if (m < 2 || m >= 2 + static_cast<int>(std::size(kNegativeZeros))) return false;
  for (const TZero& z : kNegativeZeros[m - 2]) {
    const int pole = -static_cast<int>(std::nearbyint(z.hi));
    const double off = z.hi + pole;  // exact, as is x + pole below
    const L h = L((x + pole) - off) - z.lo;
    if (!(std::fabs(h) < 0.1L * std::fabs(off))) continue;
    constexpr L kNode[] = {0, 0.405845151377397166906606412076961463L, 0.741531185599394439863864773280788407L,
                           0.949107912342758524526189684047851262L};
    constexpr L kWeight[] = {0.417959183673469387755102040816326531L, 0.381830050505118944950369775488975134L,
                             0.279705391489276667901467771423779582L, 0.129484966168869693270611432679082018L};
    const L mid = z.lo + h / 2;  // the nodes' offsets from off
    L sum = kWeight[0] * DigammaBesidePole(off + mid, pole);
    for (int i = 1; i < 4; ++i)
      sum += kWeight[i] * (DigammaBesidePole(off + (mid + kNode[i] * h / 2), pole) +
                           DigammaBesidePole(off + (mid - kNode[i] * h / 2), pole));
    result = sum * h / 2;
    return true;
  }
  return false;
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
}  // namespace

double Gamma(double x) {
  if (std::isnan(x)) return x;
  if (x == 0) return std::copysign(INF, x);
  if (IsNonPositiveInteger(x)) return kNaN;  // includes -INF
  if (x > MAXGAM) return INF;
  if (x == std::floor(x)) {  // 1 .. 171: the product is exact to extended precision
    L f = 1;
    for (int k = 2; k < x; ++k) f *= k;
    return static_cast<double>(f);
  }
  if (x >= kStirlingFrom) return static_cast<double>(detail::x87::ExpL(StirlingLnGamma(x)));
  if (x >= kReflectBelow) {
    L shifted;
    L p = RisingProduct(x, shifted);
    return static_cast<double>(detail::x87::ExpL(StirlingLnGamma(shifted)) / p);
  }
  // Gamma(x) = pi / (sin(pi x) Gamma(1 - x)); far left it is below every double.
  if (x < -200) return std::copysign(0.0, SgnGamma(x));
  L g = detail::x87::ExpL(StirlingLnGamma(1 - L(x)));
  return static_cast<double>(detail::kPiL / (SinPi(x) * g));
}

double LnGamma(double x) {
  if (std::isnan(x)) return x;
  if (std::isinf(x) || IsNonPositiveInteger(x)) return INF;
  if (x >= kStirlingFrom) return static_cast<double>(StirlingLnGamma(x));
  if (x > 0 && x == std::floor(x)) {  // exact (x - 1)!, so LnGamma(1) = LnGamma(2) = 0
    L f = 1;
    for (int k = 2; k < x; ++k) f *= k;
    return static_cast<double>(detail::LnL(f));
  }
  if (x >= 0.5 && x <= 2.5) return static_cast<double>(LnGammaNearZeros(x));
  if (x >= kReflectBelow) {
    if (L near; LnGammaNearNegativeZero(x, near)) return static_cast<double>(near);
    L shifted;
    L p = RisingProduct(x, shifted);
    return static_cast<double>(StirlingLnGamma(shifted) - detail::LnL(std::fabs(p)));
  }
  return static_cast<double>(kLnPi - detail::LnL(std::fabs(SinPi(x))) - StirlingLnGamma(1 - L(x)));
}

double SgnGamma(double x) {
  if (std::isnan(x)) return x;
  if (x == 0) return std::copysign(1.0, x);
  if (x > 0) return 1;
  if (std::isinf(x)) return kNaN;
  // at a pole -n: the sign just right of it, (-1)^n, as at 0 (Beta's pole branch needs a sign)
  return std::fmod(std::floor(x), 2.0) == 0 ? 1 : -1;
}

double Fact(std::int32_t n) {
  if (n < 0) return kNaN;
  if (n > MAXFAC) return INF;
  if (n <= MaxFactTable) return kFactTable[n];
  return Gamma(n + 1.0);
}

long double detail::StirlingTail(long double x) {
  L inv = 1 / x, inv2 = inv * inv, s = 0;
  for (int k = std::size(kStirling) - 1; k >= 0; --k) s = s * inv2 + kStirling[k];
  return s * inv;
}

}  // namespace quorel
