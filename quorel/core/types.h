#pragma once
// Scalar records, array aliases and enumerations shared by every module.

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace quorel {

/// Complex double, `Re` then `Im`; layout-compatible with std::complex<double>, and converts to
/// and from it implicitly at no cost (arithmetic operators: quorel/core/complex_ops.h).
struct TCplx {
  /// Real part.
  double Re;
  /// Imaginary part.
  double Im;
  /// Uninitialised, like a double.
  TCplx() = default;
  /// (re, im).
  constexpr TCplx(double re, double im) : Re(re), Im(im) {}
  /// (re, 0); explicit, so a double never turns into a TCplx behind an overload's back.
  constexpr explicit TCplx(double re) : Re(re), Im(0.0) {}
  /// From std::complex<double>.
  constexpr TCplx(const std::complex<double>& z) : Re(z.real()), Im(z.imag()) {}
  /// To std::complex<double>.
  constexpr operator std::complex<double>() const { return {Re, Im}; }
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

// TCplx arrays and std::complex<double> arrays are the same bytes: spans of one are cast to the other.
static_assert(sizeof(TCplx) == sizeof(std::complex<double>) && alignof(TCplx) == alignof(std::complex<double>));
static_assert(std::is_trivially_copyable_v<TCplx> && std::is_standard_layout_v<TCplx>);
static_assert(offsetof(TCplx, Re) == 0 && offsetof(TCplx, Im) == sizeof(double));
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
