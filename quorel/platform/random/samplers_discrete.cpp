// Discrete samplers. Each is exact in distribution: inversion (sequential search of the
// distribution function) where the mean is small, search outward from the mode for the
// hypergeometric law, the triangle-parallelogram-exponential acceptance-rejection method
// (BTPE for the binomial, PTPE for the Poisson law) where the mean is large, with the exact
// probability ratio in the final test, and a gamma mixture of Poisson laws for the negative
// binomial.
#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <numbers>

#include "quorel/platform/kernels/math.h"
#include "quorel/platform/random/samplers.h"

namespace quorel::rng {
namespace {

constexpr double kOpen = 0.5;

// ln Gamma(x) without the global sign variable of std::lgamma, so that streams in different
// threads do not race.
inline double LnGamma(double x) {
  int sign;
  return ::lgamma_r(x, &sign);
}

// Uniforms on (0, 1) one at a time, fetched from the generator in blocks. A call must leave the
// stream right after the last value it used (block-split streams are only BlockStep values
// apart), so a block never holds more than the call is sure still to take: each draw left takes
// at least `perDraw` uniforms. Long calls still fetch full blocks, and the last draws short ones.
class TUniforms {
 public:
  TUniforms(TEngine& e, std::ptrdiff_t perDraw) : fE(e), fPerDraw(perDraw) {}
  /// r[i] = draw(i) for i < n; the draws are the call's, so that the count left is known.
  template <class Draw>
  void Fill(std::int32_t* r, std::ptrdiff_t n, Draw draw) {
    for (std::ptrdiff_t i = 0; i < n; ++i) {
      fLeft = n - i;
      r[i] = draw(i);
    }
  }
  double Next() {
    if (fI == kBlock) Refill();
    return fBuf[fI++];
  }
  // A standard normal by the polar-free Box-Muller sine branch.
  double Normal() {
    const double u1 = Next(), u2 = Next();
    return std::sqrt(-2 * std::log(u1)) * std::sin(2 * std::numbers::pi * u2);
  }

 private:
  // The draw under way needs one more value at least, the later ones fPerDraw each. A short
  // block goes to the end of the buffer, so that Next tests against a constant.
  void Refill() {
    const std::ptrdiff_t m = std::clamp<std::ptrdiff_t>((fLeft - 1) * fPerDraw + 1, 1, kBlock);
    fI = kBlock - m;
    fE.Uniform(fBuf + fI, m, kOpen);
  }
  TEngine& fE;
  std::ptrdiff_t fPerDraw, fLeft = 1;
  double fBuf[kBlock];
  std::ptrdiff_t fI = kBlock;
};

std::int32_t Clamp32(double k) { return k >= static_cast<double>(INT32_MAX) ? INT32_MAX : static_cast<std::int32_t>(k); }

// Inversion walks at most this far; a walk that reaches it (rounding left the total mass a
// little below u) starts again with a fresh uniform. Used only where the mean is below 30.
constexpr int kWalkLimit = 1000;

// --- the triangle-parallelogram-exponential hat -------------------------------------------------
// For the binomial law (n, p) with fm = (n + 1) p, npq = n p q, and for the Poisson law as its
// limit p = 0, q = 1, fm = npq = lambda. The exponential tails decay no faster than the law at
// the ends of the triangle, so the hat covers it. logRatio(y) = ln f(y) - ln f(m).
struct THat {
  double m, p1, xm, xl, xr, c, laml, lamr, p2, p3, p4, ymax;
  THat(double fm, double npq, double p, double q, double ymaxIn) {
    m = std::floor(fm);
    p1 = std::floor(2.195 * std::sqrt(npq) - 4.6 * q) + 0.5;
    xm = m + 0.5;
    xl = xm - p1;
    xr = xm + p1;
    c = 0.134 + 20.5 / (15.3 + m);
    double a = (fm - xl) / (fm - xl * p);
    laml = a * (1 + a / 2);
    a = (xr - fm) / (xr * q);
    lamr = a * (1 + a / 2);
    p2 = p1 * (1 + 2 * c);
    p3 = p2 + c / laml;
    p4 = p3 + c / lamr;
    ymax = ymaxIn;
  }
  template <class LogRatio>
  double Draw(TUniforms& u, LogRatio logRatio) const {
    for (;;) {
      const double uu = u.Next() * p4;
      double v = u.Next(), y;
      if (uu <= p1) return std::floor(xm - p1 * v + uu);  // triangle: under the law everywhere
      if (uu <= p2) {                                     // parallelograms
        const double x = xl + (uu - p1) / c;
        v = v * c + 1 - std::fabs(x - xm) / p1;
        if (v > 1) continue;
        y = std::floor(x);
      } else if (uu <= p3) {  // left exponential tail
        y = std::floor(xl + std::log(v) / laml);
        if (y < 0) continue;
        v *= (uu - p2) * laml;
      } else {  // right exponential tail
        y = std::floor(xr - std::log(v) / lamr);
        if (y > ymax) continue;
        v *= (uu - p3) * lamr;
      }
      if (std::log(v) <= logRatio(y)) return y;
    }
  }
};

// --- Poisson -------------------------------------------------------------------------------------
double PoissonInversion(TUniforms& u, double lambda) {
  const double f0 = std::exp(-lambda);
  for (;;) {
    double x = u.Next(), f = f0;
    for (int k = 0; k < kWalkLimit; ++k) {
      if (x <= f) return k;
      x -= f;
      f *= lambda / (k + 1);
    }
  }
}

double PoissonPtpe(TUniforms& u, double lambda) {
  const THat hat(lambda, lambda, 0, 1, kMaxLambda * 4);
  const double lnl = std::log(lambda), lgm = LnGamma(hat.m + 1);
  return hat.Draw(u, [&](double y) { return (y - hat.m) * lnl - LnGamma(y + 1) + lgm; });
}

// Normal approximation of the inverse distribution function with the first Cornish-Fisher term
// and a continuity correction.
double PoissonNormal(double lambda, double z) {
  const double x = std::floor(lambda + std::sqrt(lambda) * z + (z * z - 1) / 6 + 0.5);
  return x < 0 ? 0 : x;
}

double PoissonOne(TUniforms& u, double lambda, int method) {
  if (lambda <= 0) return 0;
  if (method == 0) return lambda < 27 ? PoissonInversion(u, lambda) : PoissonPtpe(u, lambda);
  return lambda < 1 ? PoissonInversion(u, lambda) : PoissonNormal(lambda, u.Normal());
}

// --- gamma (Marsaglia-Tsang), for the negative binomial mixture -----------------------------------
double GammaOne(TUniforms& u, double a) {
  if (a < 1) return GammaOne(u, a + 1) * std::pow(u.Next(), 1 / a);
  const double d = a - 1.0 / 3, c = 1 / std::sqrt(9 * d);
  for (;;) {
    double x, v;
    do {
      x = u.Normal();
      v = 1 + c * x;
    } while (v <= 0);
    v = v * v * v;
    const double w = u.Next();
    if (w < 1 - 0.0331 * x * x * x * x) return d * v;
    if (std::log(w) < 0.5 * x * x + d * (1 - v + std::log(v))) return d * v;
  }
}

// Search outward from the mode: the probabilities are visited mode, mode+1, mode-1, ... and u is
// spent until it runs out. up(k) = f(k+1)/f(k), down(k) = f(k-1)/f(k).
template <class Up, class Down>
double FromMode(TUniforms& u, double mode, double fmode, double lo, double hi, Up up, Down down) {
  for (;;) {
    double x = u.Next() - fmode;
    if (x <= 0) return mode;
    double a = mode, b = mode, fa = fmode, fb = fmode;
    while (a > lo || b < hi) {
      if (b < hi) {
        fb *= up(b);
        b += 1;
        if ((x -= fb) <= 0) return b;
      }
      if (a > lo) {
        fa *= down(a);
        a -= 1;
        if ((x -= fa) <= 0) return a;
      }
    }
  }
}

}  // namespace

void Bernoulli(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double p) {
  double u[kBlock];
  while (n > 0) {
    const std::ptrdiff_t m = std::min(n, kBlock);
    e.Uniform(u, m, 0.0);
    for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = u[i] < p ? 1 : 0;
    r += m;
    n -= m;
  }
}

void Geometric(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double p) {
  // P(K >= k) = (1 - p)^k, so K = floor(ln u / ln(1 - p)).
  if (p == 1) {
    std::fill(r, r + n, 0);
    return;
  }
  const double inv = 1 / std::log1p(-p);
  double u[kBlock];
  while (n > 0) {
    const std::ptrdiff_t m = std::min(n, kBlock);
    e.Uniform(u, m, kOpen);
    kern::Ln(u, u, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = Clamp32(std::floor(u[i] * inv));
    r += m;
    n -= m;
  }
}

void Binomial(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t ntrial, double p) {
  if (ntrial == 0 || p == 0 || p == 1) {
    std::fill(r, r + n, p == 1 ? ntrial : 0);
    return;
  }
  // Work with the smaller of p and 1 - p and mirror the draws.
  const bool flip = p > 0.5;
  const double pp = flip ? 1 - p : p, q = 1 - pp, nt = ntrial;
  const bool inversion = nt * pp < 30;
  TUniforms u(e, inversion ? 1 : 2);  // one uniform per inversion, two per hat trial
  if (inversion) {
    const double s = pp / q, a = (nt + 1) * s, f0 = std::exp(nt * std::log1p(-pp));
    u.Fill(r, n, [&](std::ptrdiff_t) {
      double k;
      for (;;) {
        double x = u.Next(), f = f0;
        for (k = 0; k < kWalkLimit && k <= nt; ++k) {
          if (x <= f) break;
          x -= f;
          f *= a / (k + 1) - s;
        }
        if (k < kWalkLimit && k <= nt) break;
      }
      return static_cast<std::int32_t>(flip ? nt - k : k);
    });
    return;
  }
  const THat hat(nt * pp + pp, nt * pp * q, pp, q, nt);
  const double lnr = std::log(pp / q), m = hat.m;
  const double base = LnGamma(m + 1) + LnGamma(nt - m + 1);
  u.Fill(r, n, [&](std::ptrdiff_t) {
    const double k = hat.Draw(u, [&](double y) {
      return base - LnGamma(y + 1) - LnGamma(nt - y + 1) + (y - m) * lnr;
    });
    return static_cast<std::int32_t>(flip ? nt - k : k);
  });
}

void Hypergeometric(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t lot, std::int32_t sample,
                    std::int32_t marked) {
  // P(k) = C(m, k) C(l - m, s - k) / C(l, s) on max(0, s + m - l) .. min(s, m).
  const double l = lot, s = sample, m = marked;
  const double lo = std::max(0.0, s + m - l), hi = std::min(s, m);
  const double mode = std::clamp(std::floor((s + 1) * (m + 1) / (l + 2)), lo, hi);
  auto lnC = [](double a, double b) { return LnGamma(a + 1) - LnGamma(b + 1) - LnGamma(a - b + 1); };
  const double fmode = std::exp(lnC(m, mode) + lnC(l - m, s - mode) - lnC(l, s));
  auto up = [&](double k) { return (m - k) * (s - k) / ((k + 1) * (l - m - s + k + 1)); };
  auto down = [&](double k) { return k * (l - m - s + k) / ((m - k + 1) * (s - k + 1)); };
  TUniforms u(e, 1);
  u.Fill(r, n, [&](std::ptrdiff_t) { return static_cast<std::int32_t>(FromMode(u, mode, fmode, lo, hi, up, down)); });
}

void Negbinomial(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double a, double p) {
  // A Poisson law whose mean is gamma distributed with shape a and scale (1 - p)/p.
  if (p == 1) {
    std::fill(r, r + n, 0);
    return;
  }
  const double scale = (1 - p) / p;
  TUniforms u(e, 3);  // a gamma draw takes a normal pair and one more uniform at least
  u.Fill(r, n, [&](std::ptrdiff_t) {
    const double lambda = GammaOne(u, a) * scale;
    return lambda > kMaxLambda ? Clamp32(std::floor(lambda)) : Clamp32(PoissonOne(u, lambda, 0));
  });
}

void Poisson(TEngine& e, std::int32_t* r, std::ptrdiff_t n, double lambda, int method) {
  if (method == 1 && lambda >= 1) {
    // Normals in blocks through the vector kernels.
    double z[kBlock];
    while (n > 0) {
      const std::ptrdiff_t m = std::min(n, kBlock);
      StdNormalFill(e, z, m);
      for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = Clamp32(PoissonNormal(lambda, z[i]));
      r += m;
      n -= m;
    }
    return;
  }
  if (lambda < 27) {
    TUniforms u(e, 1);
    u.Fill(r, n, [&](std::ptrdiff_t) { return static_cast<std::int32_t>(PoissonInversion(u, lambda)); });
    return;
  }
  TUniforms u(e, 2);
  u.Fill(r, n, [&](std::ptrdiff_t) { return Clamp32(PoissonPtpe(u, lambda)); });
}

void PoissonV(TEngine& e, std::int32_t* r, std::ptrdiff_t n, const double* lambda, int method) {
  TUniforms u(e, 1);  // positive means take one uniform at least
  u.Fill(r, n, [&](std::ptrdiff_t i) { return Clamp32(PoissonOne(u, lambda[i], method)); });
}

void UniformI(TEngine& e, std::int32_t* r, std::ptrdiff_t n, std::int32_t a, std::int32_t b) {
  const double w = static_cast<double>(b) - a;
  double u[kBlock];
  while (n > 0) {
    const std::ptrdiff_t m = std::min(n, kBlock);
    e.Uniform(u, m, 0.0);
    for (std::ptrdiff_t i = 0; i < m; ++i)
      r[i] = static_cast<std::int32_t>(std::min(static_cast<double>(a) + std::floor(w * u[i]), b - 1.0));
    r += m;
    n -= m;
  }
}

void UniformBits(TEngine& e, std::int32_t* r, std::ptrdiff_t n) {
  e.Bits(reinterpret_cast<std::uint32_t*>(r), n);
}

}  // namespace quorel::rng
