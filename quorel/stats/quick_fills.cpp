// RandGauss and RandUniform: the object's 32-bit seed is the whole state of an MCG31m1 generator,
// written back after each fill so that the next call continues the sequence.

#include <cmath>
#include <cstdint>
#include <random>

#include "quorel/core/detail/checks.h"
#include "quorel/objects/dense.h"
#include "quorel/platform/random/engines.h"
#include "quorel/platform/random/samplers.h"

namespace quorel {
namespace {

// The runtime's uniform number in [0, 1), used once per object that was never seeded.
double RuntimeRandom() {
  thread_local std::mt19937_64 gen{std::random_device{}()};
  return std::uniform_real_distribution<double>(0.0, 1.0)(gen);
}

template <class Fill>
void QuickFill(TDenseQuorel& self, std::uint32_t& state, Fill&& fill) {
  if (self.Length() == 0) return;
  if (state == 0) state = static_cast<std::uint32_t>(std::llround(RuntimeRandom() * 4294967295.0));
  rng::TMcg31 engine(state);
  const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(self.Length()) * (self.Complex() ? 2 : 1);
  fill(engine, self.PValues1D(0), n);
  state = engine.State();
}

void RequireSeed(std::uint32_t seed) { detail::RequireState(seed != 0, "Seed = 0"); }

}  // namespace

TDenseQuorel& TDenseQuorel::RandGauss(double mean, double stdDev) {
  QuickFill(*this, fRandSeed, [&](rng::TEngine& e, double* r, std::ptrdiff_t n) {
    rng::Gaussian(e, r, n, mean, stdDev, grmBoxMuller2);
  });
  return *this;
}

TDenseQuorel& TDenseQuorel::RandGauss(std::uint32_t seed, double mean, double stdDev) {
  RequireSeed(seed);
  fRandSeed = seed;
  return RandGauss(mean, stdDev);
}

TDenseQuorel& TDenseQuorel::RandUniform(double low, double high) {
  QuickFill(*this, fRandSeed, [&](rng::TEngine& e, double* r, std::ptrdiff_t n) { rng::Uniform(e, r, n, low, high); });
  return *this;
}

TDenseQuorel& TDenseQuorel::RandUniform(std::uint32_t seed, double low, double high) {
  RequireSeed(seed);
  fRandSeed = seed;
  return RandUniform(low, high);
}

}  // namespace quorel
