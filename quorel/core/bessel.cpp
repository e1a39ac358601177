#include "quorel/core/bessel.h"

#include <algorithm>
#include <cmath>

#include "quorel/core/detail/x87.h"

namespace quorel {

namespace {
using L = long double;

// Below this J0 is summed from its power series, above kAsymptoticFrom from the Hankel
// expansion; in between it is a Taylor expansion about the nearest zero or extremum, so a
// value next to a zero keeps its relative accuracy.
constexpr L kJ0SeriesBelow = 1.2L;
constexpr L kAsymptoticFrom = 80;
// I0: power series below, asymptotic expansion from here on.
constexpr L kI0AsymptoticFrom = 40;

struct Centre {
  double x, x_lo, f, f_lo, df, df_lo;
};

constexpr Centre kCentres[] = {
    {0x1.33d152e971b40p+1, -0x1.0f539d7da258ep-53, 0x0.0p+0, 0x0.0p+0, -0x1.09cdb36551280p-1, -0x1.ac8cc3d6bafa5p-55},
    {0x1.ea75575af6f09p+1, -0x1.60155a9d1b256p-53, -0x1.9c6cf582cbf7fp-2, 0x1.2de1143765a96p-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.6148f5b2c2e45p+2, 0x1.75054cd60a517p-54, 0x0.0p+0, 0x0.0p+0, 0x1.5c6e60a097823p-2, -0x1.af17f78e58353p-57},
    {0x1.c0ff5f3b47250p+2, -0x1.b226d9d243827p-54, 0x1.33518b3874e8ap-2, 0x1.af22d033ee0a4p-56, 0x0.0p+0, 0x0.0p+0},
    {0x1.14eb56cccdecap+3, -0x1.51970714c7c25p-52, 0x0.0p+0, 0x0.0p+0, -0x1.15f7977a772d4p-2, 0x1.0b85158068ef8p-56},
    {0x1.458d0d0bdfc29p+3, 0x1.02610a51562b6p-51, -0x1.ff654544ebcd1p-3, -0x1.052a3a2541c57p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.79544008272b6p+3, 0x1.444fd5821d5b1p-52, 0x0.0p+0, 0x0.0p+0, 0x1.dc13e66ac2e77p-3, -0x1.6d72d40e790b3p-58},
    {0x1.aa5baf310e5a2p+3, 0x1.2bce7fd18e693p-52, 0x1.bf3337873a7d8p-3, 0x1.c8c66d2e42062p-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.ddca13ef271d2p+3, -0x1.9796609364e85p-51, 0x0.0p+0, 0x0.0p+0, -0x1.a701d0f967500p-3, 0x1.2010996eec734p-60},
    {0x1.0787b360508c5p+4, -0x1.d2a68e88ab317p-50, -0x1.925c6fca08f55p-3, 0x1.e9557ccd1703fp-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.212313f8a19f6p+4, -0x1.165fd108f46ffp-50, 0x0.0p+0, 0x0.0p+0, 0x1.8077f56c9b782p-3, 0x1.a4f96a2520badp-59},
    {0x1.39da8e7416ca4p+4, -0x1.21830197e9e86p-50, 0x1.70c511227d5aap-3, 0x1.2da0057f84d3cp-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.5362dd173f792p+4, 0x1.1d2dfa1c3b5a8p-51, 0x0.0p+0, 0x0.0p+0, -0x1.62d93aa9d05bbp-3, -0x1.444d3d89ac00fp-57},
    {0x1.6c294e3d4d8acp+4, -0x1.1bf33afef88f1p-51, -0x1.5664e13b70622p-3, 0x1.a47ab4241a9f5p-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.85a3b930156ddp+4, 0x1.0847c620015e0p-50, 0x0.0p+0, 0x0.0p+0, 0x1.4b2a2ebf61ecep-3, -0x1.e5d93454f99e3p-57},
    {0x1.9e7570dcea106p+4, 0x1.1a2686480d882p-51, 0x1.40f90793605bbp-3, 0x1.316f8ffd294bcp-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.b7e54a5fd5f11p+4, 0x1.d2b3714972b28p-50, 0x0.0p+0, 0x0.0p+0, -0x1.37aac8c1aeabbp-3, 0x1.948539688f9cfp-58},
    {0x1.d0bfcf471fcccp+4, -0x1.42ce39ec976fbp-52, -0x1.2f2072e638cf4p-3, 0x1.89d1f48185c7ep-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.ea27591cbbed2p+4, -0x1.36bbabc1c9f31p-51, 0x0.0p+0, 0x0.0p+0, 0x1.27407dfadee6dp-3, -0x1.89c717cff1ebap-60},
    {0x1.018476e6b2bf0p+5, -0x1.be3a1cd066b66p-50, 0x1.1ff5eec6a01cdp-3, 0x1.1f9b16832f362p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.0e34e13a66fe6p+5, 0x1.a326cf4307839p-50, 0x0.0p+0, 0x0.0p+0, -0x1.192f23ce3e051p-3, 0x1.f5f4b08a76fd4p-57},
    {0x1.1aa890dc5e97cp+5, -0x1.d5fbbff045068p-49, -0x1.12dd57bf18adap-3, 0x1.e71c482be67bdp-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.275637a9619ecp+5, -0x1.0b6068f861c6fp-50, 0x0.0p+0, 0x0.0p+0, 0x1.0cf3ed059c573p-3, 0x1.3f099a5f56db3p-58},
    {0x1.33cc523d5cb69p+5, 0x1.9eafeca0ca4fdp-51, 0x1.076826cc2c191p-3, 0x1.1a13e2fee5687p-57, 0x0.0p+0, 0x0.0p+0},
    {0x1.4077a7ed6293ap+5, -0x1.34c86f4e27936p-52, 0x0.0p+0, 0x0.0p+0, -0x1.0230b9797a7b3p-3, 0x1.65439df5bb54cp-57},
    {0x1.4cefcf1734b62p+5, 0x1.489bd556e510ap-51, -0x1.fa8b41711c83ap-4, 0x1.d7cc4171715a0p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.59992c65d0d8dp+5, 0x1.ed48fe99f45efp-51, 0x0.0p+0, 0x0.0p+0, 0x1.f13faf32c8e0ap-4, 0x1.81bdf89b0a8b1p-58},
    {0x1.661315d6b133fp+5, 0x1.4f716f3179d90p-49, 0x1.e8727daa3daedp-4, 0x1.020b4016594acp-63, 0x0.0p+0, 0x0.0p+0},
    {0x1.72bac0f810810p+5, -0x1.05a7a0525058fp-50, 0x0.0p+0, 0x0.0p+0, -0x1.e018d99f5da1bp-4, -0x1.a45a53b37a59ep-58},
    {0x1.7f36312028ad6p+5, -0x1.f3950a842db79p-49, -0x1.d8293aa55d18fp-4, -0x1.cb1f28997ca39p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.8bdc6293f0657p+5, 0x1.575dc7f8a031ap-49, 0x0.0p+0, 0x0.0p+0, 0x1.d09b210b30217p-4, 0x1.f215e77086bf5p-58},
    {0x1.985928f96d51ep+5, 0x1.85d7bdb30baf1p-49, 0x1.c96700bf039e2p-4, -0x1.9df1f0f8d2108p-59, 0x0.0p+0, 0x0.0p+0},
    {0x1.a4fe0ee444c7bp+5, -0x1.fa16a338bbaeep-50, 0x0.0p+0, 0x0.0p+0, -0x1.c28612a3bc18bp-4, -0x1.7a2663626dcabp-60},
    {0x1.b17c038c2018cp+5, 0x1.3d41e041caa68p-49, -0x1.bbf246914235fp-4, 0x1.8fff4515190b5p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.be1fc41a4c607p+5, -0x1.43e4a90356acfp-49, 0x0.0p+0, 0x0.0p+0, 0x1.b5a6219b35e14p-4, 0x1.d0edcbac85112p-58},
    {0x1.ca9ec5a82324bp+5, 0x1.a139ce2cd08acp-50, 0x1.af9cb49c4f935p-4, -0x1.024304247ada3p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.d74180c9e41f6p+5, 0x1.0f4b1c9544480p-49, 0x0.0p+0, 0x0.0p+0, -0x1.a9d1835947d70p-4, 0x1.08b7cc7933a75p-58},
    {0x1.e3c1731d64f1ep+5, -0x1.12e6ef2e594e1p-52, -0x1.a4407e04298d1p-4, -0x1.5d35a88f1e0a3p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.f06343d0971d4p+5, 0x1.ff10a69607aabp-49, 0x0.0p+0, 0x0.0p+0, 0x1.9ee5ee937fc89p-4, 0x1.748c82bad8c51p-61},
    {0x1.fce40efb1156ep+5, 0x1.fd1ee8286358ap-50, 0x1.99be744018c90p-4, 0x1.728ab934a26a0p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.04c28621f11e6p+6, -0x1.8991ca07c84c0p-48, 0x0.0p+0, 0x0.0p+0, -0x1.94c6f54aef04bp-4, -0x1.e31356cad466dp-59},
    {0x1.0b034dde75b42p+6, 0x1.d3cacfc720419p-49, -0x1.8ffc9bd24fe08p-4, 0x1.e213a1a4b3671p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.11536cb22d72bp+6, -0x1.e90a52cffc26fp-49, 0x0.0p+0, 0x0.0p+0, 0x1.8b5ccad12d632p-4, 0x1.5e8738ef1b9cap-60},
    {0x1.17948db63675cp+6, -0x1.e669304bfe748p-49, 0x1.86e51be0a9153p-4, 0x1.b1c9821974148p-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.1de4554a1c2ddp+6, -0x1.5328276c045f2p-48, 0x0.0p+0, 0x0.0p+0, -0x1.829356999a097p-4, 0x1.0ee4d5b1b8050p-59},
    {0x1.2425c7dcacdf6p+6, 0x1.8eb4a94b63936p-48, -0x1.7e656efb009aep-4, 0x1.1907f595a082ap-61, 0x0.0p+0, 0x0.0p+0},
    {0x1.2a753fa820480p+6, 0x1.f05f585843675p-48, 0x0.0p+0, 0x0.0p+0, 0x1.7a597e9550934p-4, -0x1.29270d2a71e91p-58},
    {0x1.30b6fd061f602p+6, -0x1.d43cd6d5301aep-48, 0x1.766dc36547ccdp-4, -0x1.f46d7264078bdp-58, 0x0.0p+0, 0x0.0p+0},
    {0x1.37062b9535d16p+6, 0x1.a02a6441970e8p-49, 0x0.0p+0, 0x0.0p+0, -0x1.72a09a5b3bdb5p-4, 0x1.467fdcbbb420fp-59},
    {0x1.3d482dca45d52p+6, -0x1.6988daefe2859p-49, -0x1.6ef07e88e9a04p-4, -0x1.0e08c375e4b19p-59, 0x0.0p+0, 0x0.0p+0},
    {0x1.439718e2e379cp+6, 0x1.717889a845cfcp-50, 0x0.0p+0, 0x0.0p+0, 0x1.6b5c04b492f93p-4, -0x1.f6e23a9ede0a7p-59},
};

// The series terms ((2k - 1)!!)^2 / (k! 8^k) / x^k of both Hankel expansions; enough of them
// for 2^-70 from x = 40 on.
template <class F>
void HankelTerms(L x, int count, F&& each) {
  L t = 1;
  for (int k = 1; k <= count; ++k) {
    t *= (2 * k - 1) * (2 * k - 1) / (8.0L * k * x);
    each(k, t);
  }
}

// J0 near a centre c by the Taylor series of the Bessel equation x y'' + y' + x y = 0:
// (m+1)(m+2) c a[m+2] = -((m+1)^2 a[m+1] + c a[m] + a[m-1]).
L TaylorJ0(const Centre& c, L t) {
  L cx = L(c.x) + c.x_lo;
  L prev = 0, a0 = L(c.f) + c.f_lo, a1 = L(c.df) + c.df_lo;
  L sum = a0 + a1 * t, tp = t;
  for (int m = 0; m < 40; ++m) {
    L a2 = -((m + 1) * (m + 1) * a1 + cx * a0 + prev) / (cx * (m + 1) * (m + 2));
    tp *= t;
    L term = a2 * tp;
    sum += term;
    if (std::fabs(term) < 0x1p-70L * std::fabs(sum) && m > 2) break;
    prev = a0;
    a0 = a1;
    a1 = a2;
  }
  return sum;
}

// sum (x^2/4)^k / (k!)^2 with alternating signs for J0 (sign = -1) or not for I0 (sign = 1).
L PowerSeries(L x, int sign) {
  L q = sign * x * x / 4, term = 1, sum = 1;
  for (int k = 1; k < 200; ++k) {
    term *= q / (L(k) * k);
    sum += term;
    if (std::fabs(term) < 0x1p-70L * std::fabs(sum)) break;
  }
  return sum;
}

L AsymptoticJ0(L x) {
  // J0 = ((P + Q) cos x + (P - Q) sin x) / sqrt(pi x), P and Q the even and odd terms with
  // alternating signs: P = 1 - b2/x^2 + ..., Q = -b1/x + b3/x^3 - ...
  L p = 1, q = 0;
  HankelTerms(x, 16, [&](int k, L t) {
    if (k % 2 == 0) p += (k % 4 == 0) ? t : -t;
    else q += (k % 4 == 1) ? -t : t;
  });
  L s, c;
  ::sincosl(x, &s, &c);
  return ((p + q) * c + (p - q) * s) / std::sqrt(detail::kPiL * x);
}
}  // namespace

double BesselJ0(double x) {
  if (std::isnan(x)) return x;
  L ax = std::fabs(L(x));
  if (ax < kJ0SeriesBelow) return static_cast<double>(PowerSeries(ax, -1));
  if (ax >= kAsymptoticFrom) return std::isinf(x) ? 0.0 : static_cast<double>(AsymptoticJ0(ax));
  // The nearest centre: the first one above ax or the one before it.
  const Centre* hi = std::upper_bound(std::begin(kCentres), std::end(kCentres), ax,
                                      [](L v, const Centre& c) { return v < c.x; });
  const Centre* c = hi;
  if (hi == std::end(kCentres) || (hi != std::begin(kCentres) && ax - (hi - 1)->x < hi->x - ax)) c = hi - 1;
  L t = (ax - c->x) - c->x_lo;  // ax - c->x is exact
  return static_cast<double>(TaylorJ0(*c, t));
}

double BesselI0(double x) {
  if (std::isnan(x)) return x;
  L ax = std::fabs(L(x));
  if (ax < kI0AsymptoticFrom) return static_cast<double>(PowerSeries(ax, 1));
  if (std::isinf(ax)) return static_cast<double>(ax);
  // I0 = e^x / sqrt(2 pi x) (1 + b1/x + b2/x^2 + ...), all terms positive.
  L s = 1;
  HankelTerms(ax, 24, [&](int, L t) { s += t; });
  return static_cast<double>(std::exp(ax) / std::sqrt(2 * detail::kPiL * ax) * s);
}

}  // namespace quorel
