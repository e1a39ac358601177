#pragma once
// Conversions between double arrays and the storage precisions. Conventions as in
// kernels_arith.h (here input and output have different types, so they never alias).
//
// To integers: rnRound rounds to nearest with ties to even (2.5 -> 2), independent of the
// processor's rounding mode; rnTrunc rounds toward zero. Results saturate to the type's range
// (3e9 -> 2147483647, -3e9 -> -2147483648 for int32) and NaN converts to 0.

#include <cstddef>
#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::kern {

/// Where widened results are stored: Auto keeps them in the caches unless they fill
/// kStreamBytes or more (and then orders them before returning); Around stores them past the
/// caches (non-temporal stores), for a caller that makes a long result piece by piece: it calls
/// FinishStores once after the last piece, before other threads may read the result.
enum class TStores { Auto, Around };
/// Results this long cannot stay in the caches: storing around them saves reading each line
/// before it is overwritten.
inline constexpr std::ptrdiff_t kStreamBytes = std::ptrdiff_t{1} << 23;
/// Around for a whole result of the given size when it is that long.
constexpr TStores StoresFor(std::ptrdiff_t bytes) { return bytes >= kStreamBytes ? TStores::Around : TStores::Auto; }
/// Orders the stores made with Around before all later ones.
void FinishStores();

/// To integers, rounded as asked, saturated, NaN to 0.
void Convert(const double* x, std::int32_t* r, std::ptrdiff_t n, TRounding rounding);
void Convert(const double* x, std::uint32_t* r, std::ptrdiff_t n, TRounding rounding);
void Convert(const double* x, std::int16_t* r, std::ptrdiff_t n, TRounding rounding);
void Convert(const double* x, std::uint16_t* r, std::ptrdiff_t n, TRounding rounding);
void Convert(const double* x, std::int8_t* r, std::ptrdiff_t n, TRounding rounding);
void Convert(const double* x, std::uint8_t* r, std::ptrdiff_t n, TRounding rounding);
/// To single precision, nearest even; finite values beyond its range saturate to +-FLT_MAX,
/// infinities and NaN stay what they are.
void Convert(const double* x, float* r, std::ptrdiff_t n);

/// To narrow integers through single precision in one pass: the integer conversion sees the
/// value the double has as a single (saturated as above), then rounds and saturates as above.
void ConvertViaSingle(const double* x, std::int16_t* r, std::ptrdiff_t n, TRounding rounding);
void ConvertViaSingle(const double* x, std::uint16_t* r, std::ptrdiff_t n, TRounding rounding);
void ConvertViaSingle(const double* x, std::int8_t* r, std::ptrdiff_t n, TRounding rounding);
void ConvertViaSingle(const double* x, std::uint8_t* r, std::ptrdiff_t n, TRounding rounding);

/// Back to double; exact for every source type.
void Convert(const std::int32_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const std::uint32_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const std::int16_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const std::uint16_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const std::int8_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const std::uint8_t* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);
void Convert(const float* x, double* r, std::ptrdiff_t n, TStores stores = TStores::Auto);

}  // namespace quorel::kern
