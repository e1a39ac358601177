#pragma once
// Linear convolution and correlation of arrays, summed directly or through FFTs.

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::detail {

/// Which evaluation Convolve and the correlations use; Auto picks by operand lengths.
enum class ConvPath : std::uint8_t { Auto, Direct, Fft };
/// The process-wide choice (tests and benchmarks force one path; the library leaves Auto).
ConvPath& ConvolvePath();

/// True when the FFT evaluation is cheaper for operands of these lengths and kind.
bool ConvolveByFft(std::int64_t na, std::int64_t nb, std::int64_t outputs, bool complex);

/// y[0 .. na + nb - 1) = a * b. y must not overlap a or b.
template <class T>
void ConvolveArrays(const T* a, std::int32_t na, const T* b, std::int32_t nb, T* y);

/// y[k - lo] = sum_i conj(a[i]) * b[i + k] for lo <= k <= hi (terms outside a or b are zero).
template <class T>
void CorrelateArrays(const T* a, std::int32_t na, const T* b, std::int32_t nb, std::int32_t lo, std::int32_t hi, T* y);

/// The smallest 2^i 3^j 5^k not below n.
std::int32_t FftGoodSize(std::int32_t n);

}  // namespace quorel::detail
