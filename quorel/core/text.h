#pragma once
// Text form of reals and complex values, and reading numbers out of delimited lines.
// Texts are byte strings; positions are 1-based.

#include <cstddef>
#include <string>
#include <string_view>

#include "quorel/core/float_format.h"
#include "quorel/core/types.h"

namespace quorel {

// The readers take any character range and build no strings, so reading many values allocates
// nothing.

/// Strict decimal parser: blanks, sign, digits with at most one locale decimal separator,
/// optional exponent. Returns false (leaving x alone) when S is not such a number.
bool TryStrToFloat(std::string_view S, double& x);

/// TryStrToFloat that raises EConvertError "'S' is not a valid floating point value".
double StrToFloat(std::string_view S);

/// Reads a real; also accepts "nan"/"inf" words and either "," or "." as decimal separator.
/// Raises EConvertError when the text is not a number.
double StrToVal(std::string_view S);

/// Same as StrToVal.
double StrToSample(std::string_view S);

/// Reads a complex value written like "3-4i", "-i", "2i" or "5"; text after the "i" is ignored.
TCplx StrToCplx(std::string_view S);

/// Writes Z as "1+2i", "1-i", "i" or "3", each part in the general format with precision 15
/// and at least Digits exponent digits.
std::string CplxToStr(const TCplx& Z, int Digits = 0);

/// General float format of X, arguments (X, Precision, Digits); see TSampleFormatter.
std::string SampleToStr(double X, int Precision, int Digits);

/// Formats X by a pattern (see TSampleFormatter).
std::string FormatSample(const std::string& Format, double X);
/// Formats X by a pattern, value first.
std::string FormatSample(double X, const std::string& Format);

/// Real part by ReFormat followed directly by the imaginary part by ImFormat (no sign or "i"
/// added); a zero part is left out. An empty format gives CplxToStr(Z, 0).
std::string FormatCplx(const TCplx& Z, const std::string& ReFormat, const std::string& ImFormat);

/// 1-based position of Sub in S at or after Offset, 0 when absent or Sub is empty.
/// Raises EQuorelException "Offset < 1".
int OffsetPos(const std::string& Sub, const std::string& S, int Offset);

/// Reads the next complex value of a delimited line from Pos and advances Pos past it;
/// empty fields are skipped, and past the end the result is C_ZERO.
TCplx ExtractCplx(const std::string& S, int& Pos, const std::string& Delimiter);

/// Reads the next real of a delimited line, like ExtractCplx; past the end the result is 0.
double ExtractSample(const std::string& S, int& Pos, const std::string& Delimiter);

}  // namespace quorel
