#pragma once
// Signed 24-bit samples stored as 3 little-endian bytes.

#include <cstddef>
#include <cstdint>

#include "quorel/core/types.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel::kern {

/// Each x limited to [-8388607, 8388607] (-8388608 is never written; NaN becomes 0), truncated
/// toward zero (rnTrunc) or rounded to nearest even (rnRound), then stored least significant
/// byte first: r receives 3n bytes.
void FloatTo24Bit(const double* x, std::uint8_t* r, std::ptrdiff_t n, TRounding rounding);
/// r[i] = the 24-bit value in bytes 3i .. 3i+2, sign-extended from bit 23; stored as Convert
/// stores doubles.
void Bit24ToFloat(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);

}  // namespace quorel::kern
