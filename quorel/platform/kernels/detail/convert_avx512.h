#pragma once
// Doubles to 32-bit and 24-bit integers on the AVX-512 path (convert_avx512.cpp). Call only when
// the processor has AVX-512F, BW, DQ and VL. Same results as the portable conversion: rounded as asked
// (ties to even whatever the rounding mode), saturated, NaN to 0; results of kStreamBytes or more
// are stored around the caches.

#include <cstddef>
#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::kern::detail {

/// r[i] = x[i] as int32.
void ToInt32Avx512(const double* x, std::int32_t* r, std::ptrdiff_t n, TRounding rounding);
/// r[i] = x[i] as uint32.
void ToInt32Avx512(const double* x, std::uint32_t* r, std::ptrdiff_t n, TRounding rounding);
/// Bytes 3i .. 3i+2 of r = x[i] as a 24-bit sample (see FloatTo24Bit); nothing past byte 3n.
void ToInt24Avx512(const double* x, std::uint8_t* r, std::ptrdiff_t n, TRounding rounding);

}  // namespace quorel::kern::detail
