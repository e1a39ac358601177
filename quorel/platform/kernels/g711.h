#pragma once
// G.711 companding (mu-law and A-law) of linear samples on the 16-bit PCM scale.
//
// Encoders take doubles: a value is rounded to single and then to the nearest integer (ties to
// even, whatever the rounding mode), saturated to [-32768, 32767] (NaN becomes 0) and coded by
// the G.711 segment rule. Decoders return the reconstruction level of a code on the same scale:
// mu-law within +-32124, A-law within +-32256. The 256-entry decode tables are built at compile
// time from the standard's segment formula.

#include <cstddef>
#include <cstdint>

#include "quorel/platform/kernels/convert.h"

namespace quorel::kern {

/// Mu-law code of a 16-bit sample.
std::uint8_t LinearToMuLaw(std::int16_t x);
/// A-law code of a 16-bit sample.
std::uint8_t LinearToALaw(std::int16_t x);
/// Reconstruction level of a mu-law code.
std::int16_t MuLawToLinear(std::uint8_t code);
/// Reconstruction level of an A-law code.
std::int16_t ALawToLinear(std::uint8_t code);

/// Array forms of the above; the decoders store their doubles as Convert does.
void LinToMuLaw(const double* x, std::uint8_t* r, std::ptrdiff_t n);
void LinToALaw(const double* x, std::uint8_t* r, std::ptrdiff_t n);
void MuLawToLin(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void ALawToLin(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);

}  // namespace quorel::kern
