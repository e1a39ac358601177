#pragma once
// Doubles to 32-bit and 24-bit integers and back on the AVX-512 path (convert_avx512.cpp). Call
// only when the processor has AVX-512F, BW, DQ and VL. Same results as the portable conversions:
// rounded as asked (ties to even whatever the rounding mode), saturated, NaN to 0; results of
// kStreamBytes or more are stored around the caches.

#include <cstddef>
#include <cstdint>

#include "quorel/core/types.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::detail {

/// r[i] = x[i] as int32.
void ToInt32Avx512(const double* x, std::int32_t* r, std::ptrdiff_t n, TRounding rounding);
/// r[i] = x[i] as uint32.
void ToInt32Avx512(const double* x, std::uint32_t* r, std::ptrdiff_t n, TRounding rounding);
/// Bytes 3i .. 3i+2 of r = x[i] as a 24-bit sample (see FloatTo24Bit); nothing past byte 3n.
void ToInt24Avx512(const double* x, std::uint8_t* r, std::ptrdiff_t n, TRounding rounding);
/// r[i] = the 24-bit sample in bytes 3i .. 3i+2 of x (see Bit24ToFloat), stored as Convert does.
void FromInt24Avx512(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores);
/// r[i] = x[i] for 8- and 16-bit integers, stored as Convert does.
template <class S>
void WidenAvx512(const S* x, double* r, std::ptrdiff_t n, TStores stores);

}  // namespace quorel::kern::detail
