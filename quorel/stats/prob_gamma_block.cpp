// The vector normal and gamma distribution functions on blocks: per point the scalar function's
// branches, special values and library calls, with only the series and fraction of the
// incomplete gamma function run on registers (prob_gamma_lanes.cpp). Points outside the regular
// range of those (NaN, zero, infinite, the ends of the quantiles) take the scalar function itself,
// so every result is the scalar one bit for bit.

#include <algorithm>
#include <cmath>

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/gamma.h"
#include "quorel/stats/detail/gamma_block.h"
#include "quorel/stats/detail/prob_core.h"
#include "quorel/stats/probabilities.h"

namespace quorel::detail {
namespace {

constexpr std::int32_t kChunk = 256;
// What a point the lanes do not take is given in their place: the series ends after one term.
constexpr double kIdle = 1e-300;

inline bool Regular(double t) { return t > 0.0 && t < INF; }

// r[i] = Erf(x[i]) for m <= kChunk points. r may be x.
void ErfChunk(const double* x, double* r, std::int32_t m) {
  alignas(64) double t[kChunk], v[kChunk];
  const double lgh = LnGammaHalf();
  for (std::int32_t i = 0; i < m; ++i) {
    const double x2 = x[i] * x[i];
    t[i] = Regular(x2) ? x2 : kIdle;
    v[i] = Regular(x2) ? GammaPrefactor(0.5, x2, lgh) : 0.0;
  }
  GammaFormsBlock(t, v, v, m, 0.5);
  for (std::int32_t i = 0; i < m; ++i) {
    const double x2 = x[i] * x[i];
    if (!Regular(x2)) {
      r[i] = Erf(x[i]);
      continue;
    }
    const double p = x2 < 1.5 ? v[i] : 1.0 - v[i];
    r[i] = x[i] < 0.0 ? -p : p;
  }
}

}  // namespace

void GammaCdfBlock(const double* x, double* r, std::int32_t n, double a, double b, double lga) {
  alignas(64) double t[kChunk], v[kChunk];
  for (std::int32_t s = 0; s < n; s += kChunk) {
    const std::int32_t m = std::min(kChunk, n - s);
    for (std::int32_t i = 0; i < m; ++i) {
      const double u = x[s + i] / b;
      t[i] = Regular(u) ? u : kIdle;
      v[i] = Regular(u) ? GammaPrefactor(a, u, lga) : 0.0;
    }
    GammaFormsBlock(t, v, v, m, a);
    for (std::int32_t i = 0; i < m; ++i) {
      const double u = x[s + i] / b;
      if (!Regular(u)) r[s + i] = GammaCDFLg(x[s + i], a, b, lga);
      else r[s + i] = std::fmin(1.0, u < a + 1.0 ? v[i] : 1.0 - v[i]);
    }
  }
}

void NormalCdfInvBlock(const double* p, double* r, std::int32_t n, double mu, double sigma) {
  alignas(64) double q[kChunk], y[kChunk], x[kChunk], e[kChunk];
  bool inside[kChunk];
  for (std::int32_t s = 0; s < n; s += kChunk) {
    const std::int32_t m = std::min(kChunk, n - s);
    // ErfInv's start value, then its two damped steps with Erf on the block; the ends of p and
    // of y = 2p - 1 (and NaN) take the scalar function
    for (std::int32_t i = 0; i < m; ++i) {
      q[i] = p[s + i];
      const double yi = 2.0 * q[i] - 1.0;
      inside[i] = q[i] > 0.0 && q[i] < 1.0 && yi > -1.0 && yi < 1.0;
      y[i] = inside[i] ? yi : 0.0;
      const double ay = std::fabs(y[i]);
      x[i] = ErfInvStart(y[i], ay > 0.7 ? std::log((1.0 - ay) / 2.0) : 0.0);
    }
    for (int step = 0; step < 2; ++step) {
      ErfChunk(x, e, m);
      for (std::int32_t i = 0; i < m; ++i) x[i] = ErfInvStep(x[i], y[i], e[i], std::exp(x[i] * x[i]));
    }
    for (std::int32_t i = 0; i < m; ++i)
      r[s + i] = inside[i] ? SQRT2 * sigma * x[i] + mu : NormalCDFInv(q[i], mu, sigma);
  }
}

namespace {

constexpr int kMaxSteps = 100;
constexpr std::int32_t kNewtonBlock = 1024;

// The scalar iteration's loop test.
inline bool Going(double dx, double x, int count) {
  return std::fabs(dx) > std::fabs(x) * kGammaInvRtol && std::fabs(dx) > kGammaInvAtol && count < kMaxSteps;
}

// The points of one block still iterating, packed at the front.
struct Active {
  double p[kNewtonBlock], x[kNewtonBlock], dx[kNewtonBlock], cdf[kNewtonBlock];
  std::int32_t at[kNewtonBlock], count[kNewtonBlock];
  std::int32_t n = 0;
};

// Keeps the points whose test still holds; the others are done and go to r.
void Pack(Active& s, double* r) {
  std::int32_t k = 0;
  for (std::int32_t j = 0; j < s.n; ++j) {
    if (!Going(s.dx[j], s.x[j], s.count[j])) {
      RequireState(s.count[j] != kMaxSteps, "Failed to converge!");
      r[s.at[j]] = s.x[j];
      continue;
    }
    s.p[k] = s.p[j];
    s.x[k] = s.x[j];
    s.dx[k] = s.dx[j];
    s.at[k] = s.at[j];
    s.count[k] = s.count[j];
    ++k;
  }
  s.n = k;
}

}  // namespace

// Each point runs GammaCDFInv's Newton iteration; the points still iterating are packed at the
// front of the block after every step, so the CDF runs on whole blocks of them.
bool GammaCdfInvBlock(const double* p, double* r, std::int32_t n, double a, double b) {
  const TGammaInvStart start = GammaInvStart(a, b);
  if (!(a > 0.0 && b > 0.0) || a + 1.0 == a || !std::isfinite(1.0 / a) || !(start.s > 0.0)) return false;
  const double lga = LnGamma(a);
  Active s;
  for (std::int32_t i0 = 0; i0 < n; i0 += kNewtonBlock) {
    const std::int32_t len = std::min(kNewtonBlock, n - i0);
    double* out = r + i0;
    s.n = 0;
    for (std::int32_t i = 0; i < len; ++i) {
      const double q = p[i0 + i];
      if (q > 0.0 && q < 1.0) {
        s.p[s.n] = q;
        s.at[s.n++] = i;
      } else {
        out[i] = q == 0.0 ? 0.0 : (q == 1.0 ? 1.0 : NaNResult());
      }
    }
    NormalCdfInvBlock(s.p, s.x, s.n, start.mu, start.s);
    for (std::int32_t j = 0; j < s.n; ++j) {
      s.x[j] = std::exp(s.x[j]);
      s.dx[j] = 1.0;
      s.count[j] = 0;
    }
    Pack(s, out);
    while (s.n > 0) {
      GammaCdfBlock(s.x, s.cdf, s.n, a, b, lga);
      for (std::int32_t j = 0; j < s.n; ++j) {
        ++s.count[j];
        const double x = s.x[j], dx = (s.cdf[j] - s.p[j]) / GammaPDFLg(x, a, b, lga);
        const double xNew = x - dx;
        // below the support: a tenth of the old point, the step being the move actually made
        s.x[j] = xNew < 0.0 ? 0.1 * x : xNew;
        s.dx[j] = xNew < 0.0 ? x - 0.1 * x : dx;
      }
      Pack(s, out);
    }
  }
  return true;
}

}  // namespace quorel::detail
