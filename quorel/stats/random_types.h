#pragma once
// Enumerations and status codes of the random streams.

#include <cstdint>

namespace quorel {

/// Method of the Gaussian sampler (the ordinal is the method number).
enum TGaussRandMethod : std::int32_t { grmBoxMuller, grmBoxMuller2 };
/// Method of the Poisson sampler (the ordinal is the method number).
enum TPoissonRandMethod : std::int32_t { prmPTPE, prmNormal };
/// How the streams of a TRandomGenerator are made independent.
enum TRngStreamIndependence : std::int32_t { rsiNone, rsiLeapfrog, rsiBlockSplitting };

/// The basic generators a stream can run on. Identifiers fit in 16 bits.
enum TBasicRandomGenerator : std::int32_t {
  brgMCG31,          // x <- 1132489760 x mod (2^31 - 1)
  brgR250,           // GFSR x_n = x_{n-103} xor x_{n-250}
  brgMRG32K3A,       // combined multiple recursive generator of order 3
  brgMCG59,          // x <- 13^13 x mod 2^59
  brgMT19937,        // Mersenne Twister
  brgPhilox4x32x10,  // counter-based Philox 4x32, 10 rounds
};

/// Status codes returned by the stream methods (0 is success; failures are negative).
inline constexpr std::int32_t rngStatusOk = 0;
/// The stream has no generator (not initialised, or creation failed).
inline constexpr std::int32_t rngErrNullStream = -1;
/// Unknown basic generator identifier.
inline constexpr std::int32_t rngErrBadGenerator = -2;
/// Unknown method number.
inline constexpr std::int32_t rngErrBadMethod = -3;
/// A distribution parameter is out of range (nothing was written).
inline constexpr std::int32_t rngErrBadParameter = -4;
/// The basic generator cannot skip ahead.
inline constexpr std::int32_t rngErrNoSkipAhead = -5;
/// The basic generator cannot leapfrog.
inline constexpr std::int32_t rngErrNoLeapfrog = -6;
/// Leapfrog arguments out of range (stride < 1 or index >= stride).
inline constexpr std::int32_t rngErrBadLeapfrog = -7;
/// The state of one basic generator cannot be copied into another kind.
inline constexpr std::int32_t rngErrIncompatibleStreams = -8;

}  // namespace quorel
