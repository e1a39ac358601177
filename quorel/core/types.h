#pragma once
// Scalar records, array aliases and enumerations shared by every module.

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace quorel {

/// Complex double, `Re` then `Im`; layout-compatible with std::complex<double>.
struct TCplx {
  /// Real part.
  double Re;
  /// Imaginary part.
  double Im;
  /// Both parts equal (a NaN part is never equal).
  friend constexpr bool operator==(const TCplx&, const TCplx&) = default;
};

/// The same record under the name the pointer helpers use.
using TDCplx = TCplx;

/// Single-precision complex, `Re` then `Im`; layout-compatible with std::complex<float>.
struct TSCplx {
  /// Real part.
  float Re;
  /// Imaginary part.
  float Im;
  /// Both parts equal (a NaN part is never equal).
  friend constexpr bool operator==(const TSCplx&, const TSCplx&) = default;
};

static_assert(sizeof(TCplx) == sizeof(std::complex<double>) && alignof(TCplx) == alignof(std::complex<double>));
static_assert(sizeof(TSCplx) == sizeof(std::complex<float>));

using TDoubleArray = std::vector<double>;
using TSingleArray = std::vector<float>;
using TIntegerArray = std::vector<std::int32_t>;
using TCardinalArray = std::vector<std::uint32_t>;
using TWordArray = std::vector<std::uint16_t>;
using TShortIntArray = std::vector<std::int8_t>;
using TSmallintArray = std::vector<std::int16_t>;
using TByteArray = std::vector<std::uint8_t>;
using TCplxArray = std::vector<TCplx>;
using TDCplxArray = std::vector<TDCplx>;
using TSCplxArray = std::vector<TSCplx>;
using T2DSampleArray = std::vector<TDoubleArray>;
using T2DCplxArray = std::vector<TCplxArray>;

/// The host's string list.
using TStringList = std::vector<std::string>;

enum TRounding : std::uint8_t { rnTrunc, rnRound };
enum TCompare : std::uint8_t { cmpAbsolute, cmpRelative };
enum TIndexType : std::uint8_t { indIncrement, indVector, indMask };
enum TFFTStorageFormat : std::uint8_t { fsfCCS, fsfPack, fsfPerm };
/// How PixelDownSample reduces the samples of one pixel.
enum TPixelDownSample : std::uint8_t { pdsPattern, pdsAverage, pdsPeak };
enum TPrecision : std::uint8_t {
  prDouble, prSingle, prInteger, prCardinal, prSmallInt, prWord,
  prShortInt, prByte, prMuLaw, prALaw, prInt24
};

}  // namespace quorel
