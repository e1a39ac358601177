#pragma once
// G.711 coders of doubles on the AVX-512 path (g711_avx512.cpp). Call only when the processor
// has AVX-512F, CD, BW, DQ and VL. Same codes and levels as the portable coders.

#include <cstddef>
#include <cstdint>

#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::detail {

/// r[i] = mu-law code of x[i].
void DoublesToMuLawAvx512(const double* x, std::uint8_t* r, std::ptrdiff_t n);
/// r[i] = A-law code of x[i].
void DoublesToALawAvx512(const double* x, std::uint8_t* r, std::ptrdiff_t n);
/// r[i] = level of mu-law code x[i], stored as Convert stores doubles.
void MuLawToDoublesAvx512(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores);
/// r[i] = level of A-law code x[i], stored as Convert stores doubles.
void ALawToDoublesAvx512(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores);

}  // namespace quorel::kern::detail
