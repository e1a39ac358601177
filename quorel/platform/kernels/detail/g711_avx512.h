#pragma once
// G.711 coders of doubles on the AVX-512 path (g711_avx512.cpp). Call only when the processor
// has AVX-512F, CD, BW, DQ and VL. Same codes as the portable coders.

#include <cstddef>
#include <cstdint>

namespace quorel::kern::detail {

/// r[i] = mu-law code of x[i].
void DoublesToMuLawAvx512(const double* x, std::uint8_t* r, std::ptrdiff_t n);
/// r[i] = A-law code of x[i].
void DoublesToALawAvx512(const double* x, std::uint8_t* r, std::ptrdiff_t n);

}  // namespace quorel::kern::detail
