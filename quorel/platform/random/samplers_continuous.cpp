// Continuous samplers, block by block: uniforms straight into the output, then the vector kernels
// in place. Logarithms take uniforms on the open interval (0, 1), so no value is infinite.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "quorel/platform/kernels/math.h"
#include "quorel/platform/random/samplers.h"

namespace quorel::rng {
namespace {

constexpr double kOpen = 0.5;  // offset that maps raw outputs into (0, 1)
constexpr std::ptrdiff_t kPairs = kBlock / 2;

// Uniforms on [0, 1) (offset 0) or (0, 1) into r, block by block, each block then transformed in
// place by f(r, m).
template <class F>
void Blocks(TEngine& e, double* r, std::ptrdiff_t n, double offset, F f) {
  while (n > 0) {
    const std::ptrdiff_t m = std::min(n, kBlock);
    e.Uniform(r, m, offset);
    f(r, m);
    r += m;
    n -= m;
  }
}

// Box-Muller on `pairs` (<= kPairs) pairs of uniforms: s = rad sin(2 pi u2), c = rad cos(2 pi u2)
// with rad = sqrt(-2 ln u1); c may be null when only the sine branch is wanted.
void NormalPairs(TEngine& e, double* s, double* c, std::ptrdiff_t pairs) {
  double u[kBlock], rad[kPairs], ang[kPairs];
  e.Uniform(u, 2 * pairs, kOpen);
  for (std::ptrdiff_t i = 0; i < pairs; ++i) {
    rad[i] = u[2 * i];
    ang[i] = 2 * std::numbers::pi * u[2 * i + 1];
  }
  kern::Ln(rad, rad, pairs);
  for (std::ptrdiff_t i = 0; i < pairs; ++i) rad[i] = std::sqrt(-2 * rad[i]);
  if (c) {
    kern::SinCos(ang, s, c, pairs);
    for (std::ptrdiff_t i = 0; i < pairs; ++i) c[i] *= rad[i];
  } else {
    kern::Sin(ang, s, pairs);
  }
  for (std::ptrdiff_t i = 0; i < pairs; ++i) s[i] *= rad[i];
}

// n standard normals from whole pairs; the partner of an odd last value is dropped.
void StdNormals(TEngine& e, double* r, std::ptrdiff_t n) {
  double s[kPairs], c[kPairs];
  while (n > 0) {
    const std::ptrdiff_t pairs = std::min((n + 1) / 2, kPairs);
    NormalPairs(e, s, c, pairs);
    const std::ptrdiff_t m = std::min(n, 2 * pairs);
    for (std::ptrdiff_t j = 0; j < m; ++j) r[j] = (j & 1) ? c[j / 2] : s[j / 2];
    r += m;
    n -= m;
  }
}

}  // namespace

void Uniform(TEngine& e, double* r, std::ptrdiff_t n, double a, double b) {
  // a + (b - a) u rounds to b when |a| is large against b - a: such values step back to the
  // nearest double on a's side of b (b itself when a = b). A b - a that overflows is avoided by
  // weighting the ends instead.
  const double w = b - a, last = std::nextafter(b, a);
  const bool up = a <= b;
  auto keep = [=](double x) { return up ? std::min(x, last) : std::max(x, last); };
  if (std::isfinite(w) || !std::isfinite(a) || !std::isfinite(b)) {
    Blocks(e, r, n, 0.0, [=](double* x, std::ptrdiff_t m) {
      for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = keep(a + w * x[i]);
    });
  } else {
    Blocks(e, r, n, 0.0, [=](double* x, std::ptrdiff_t m) {
      for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = keep(a * (1 - x[i]) + b * x[i]);
    });
  }
}

void Gaussian(TEngine& e, double* r, std::ptrdiff_t n, double mean, double sigma, int method) {
  double s[kPairs], c[kPairs];
  std::ptrdiff_t i = 0;
  if (method == 0) {
    while (i < n) {
      const std::ptrdiff_t p = std::min(n - i, kPairs);
      NormalPairs(e, s, nullptr, p);
      for (std::ptrdiff_t j = 0; j < p; ++j) r[i + j] = mean + sigma * s[j];
      i += p;
    }
    return;
  }
  if (n > 0 && e.hasGaussCarry) {
    r[i++] = mean + sigma * e.gaussCarry;
    e.hasGaussCarry = false;
  }
  while (n - i >= 2) {
    const std::ptrdiff_t p = std::min((n - i) / 2, kPairs);
    NormalPairs(e, s, c, p);
    for (std::ptrdiff_t j = 0; j < p; ++j) {
      r[i + 2 * j] = mean + sigma * s[j];
      r[i + 2 * j + 1] = mean + sigma * c[j];
    }
    i += 2 * p;
  }
  if (i < n) {
    NormalPairs(e, s, c, 1);
    r[i] = mean + sigma * s[0];
    e.gaussCarry = c[0];
    e.hasGaussCarry = true;
  }
}

void Exponential(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta) {
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    kern::Ln(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = a - beta * x[i];
  });
}

void Laplace(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta) {
  // u < 1/2: a + beta ln(2u); else a - beta ln(2(1 - u)).
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    double t[kBlock] = {};
    for (std::ptrdiff_t i = 0; i < m; ++i) t[i] = x[i] < 0.5 ? 2 * x[i] : 2 * (1 - x[i]);
    kern::Ln(t, t, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = x[i] < 0.5 ? a + beta * t[i] : a - beta * t[i];
  });
}

void Weibull(TEngine& e, double* r, std::ptrdiff_t n, double alpha, double a, double beta) {
  const double inv = 1 / alpha;
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    kern::Ln(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = -x[i];
    kern::Powx(x, inv, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = a + beta * x[i];
  });
}

void Rayleigh(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta) {
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    kern::Ln(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = a + beta * std::sqrt(-x[i]);
  });
}

void Cauchy(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta) {
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = std::numbers::pi * (x[i] - 0.5);
    kern::Tan(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = a + beta * x[i];
  });
}

void Gumbel(TEngine& e, double* r, std::ptrdiff_t n, double a, double beta) {
  // F = 1 - exp(-exp((x - a)/beta)) inverted: x = a + beta ln(-ln u).
  Blocks(e, r, n, kOpen, [=](double* x, std::ptrdiff_t m) {
    kern::Ln(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = -x[i];
    kern::Ln(x, x, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) x[i] = a + beta * x[i];
  });
}

void Lognormal(TEngine& e, double* r, std::ptrdiff_t n, double a, double sigma, double b, double beta) {
  while (n > 0) {
    const std::ptrdiff_t m = std::min(n, kBlock);
    StdNormals(e, r, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = a + sigma * r[i];
    kern::Exp(r, r, m);
    for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = beta * r[i] + b;
    r += m;
    n -= m;
  }
}

// Standard normals for the discrete samplers that approximate by a normal.
void StdNormalFill(TEngine& e, double* r, std::ptrdiff_t n) { StdNormals(e, r, n); }

}  // namespace quorel::rng
