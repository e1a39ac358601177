// The gamma quantile on blocks. Each point runs the scalar Newton iteration of GammaCDFInv; the
// points still iterating are packed at the front of the block after every step, so each step
// evaluates the CDF (on SIMD registers) and the density (vector kernels) only on them.

#include <algorithm>
#include <cmath>

#include "quorel/core/detail/checks.h"
#include "quorel/core/gamma.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/stats/detail/erf_block.h"
#include "quorel/stats/detail/gamma_inv_block.h"
#include "quorel/stats/detail/prob_core.h"

namespace quorel::detail {
namespace {

constexpr int kMaxSteps = 100;

// The scalar iteration's loop test.
inline bool Going(double dx, double x, int count) {
  return std::fabs(dx) > std::fabs(x) * kGammaInvRtol && std::fabs(dx) > kGammaInvAtol && count < kMaxSteps;
}

// The points of one block still iterating, packed at the front.
struct Active {
  double p[kErfBlock], x[kErfBlock], dx[kErfBlock], cdf[kErfBlock], pdf[kErfBlock];
  std::int32_t at[kErfBlock], count[kErfBlock];
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

// GammaPDF on the active points, its terms subtracted in the scalar function's order; alb =
// a ln b. Points off the open half-line take the scalar function's special values.
void Density(Active& s, double a, double b, double lga, double alb) {
  kern::Ln(s.x, s.pdf, s.n);
  for (std::int32_t j = 0; j < s.n; ++j) s.pdf[j] = (a - 1.0) * s.pdf[j] - s.x[j] / b - lga - alb;
  kern::Exp(s.pdf, s.pdf, s.n);
  for (std::int32_t j = 0; j < s.n; ++j)
    if (!(s.x[j] > 0.0) || std::isinf(s.x[j])) s.pdf[j] = GammaPDFLg(s.x[j], a, b, lga);
}

}  // namespace

bool GammaCdfInvBlock(const double* p, double* r, std::int32_t n, double a, double b) {
  const TGammaInvStart start = GammaInvStart(a, b);
  const double mu = start.mu, sd = start.s;
  if (!(a > 0.0 && b > 0.0) || a + 1.0 == a || !std::isfinite(mu) || !(sd > 0.0 && std::isfinite(sd))) return false;
  const double lga = LnGamma(a), alb = a * std::log(b);
  Active s;
  for (std::int32_t i0 = 0; i0 < n; i0 += kErfBlock) {
    const std::int32_t len = std::min(kErfBlock, n - i0);
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
    NormalCdfInvBlock(s.p, s.x, s.n, mu, sd);
    for (std::int32_t j = 0; j < s.n; ++j) {
      s.x[j] = std::exp(s.x[j]);
      s.dx[j] = 1.0;
      s.count[j] = 0;
    }
    Pack(s, out);
    while (s.n > 0) {
      GammaCdfBlock(s.x, s.cdf, s.n, a, b, lga);
      Density(s, a, b, lga, alb);
      for (std::int32_t j = 0; j < s.n; ++j) {
        ++s.count[j];
        const double x = s.x[j], dx = (s.cdf[j] - s.p[j]) / s.pdf[j];
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
