#pragma once
// Number formatters: the general float format and the format-pattern language.

#include <string>

namespace quorel {

/// The current C locale's decimal separator (localeconv), "." when the locale gives none.
std::string DecimalSeparator();

/// The current C locale's thousands separator; when the locale has none, "," (or "." when the
/// decimal separator is already ",").
std::string ThousandSeparator();

// Both formatters round half away from zero on the digits of the shortest text that reads back
// as x, so 2.675 rounds like the text "2.675" and 17 digits always read back exactly.

/// General float format, arguments (x, Precision, Digits): x rounded to Precision (1..17)
/// significant digits, fixed notation when it fits, else "d.dddE+xx" with at least Digits (0..4)
/// exponent digits. NaN gives "NAN", infinities "INF" and "-INF".
std::string FormatGeneral(double x, int Precision, int Digits);

/// Formats x by a pattern of up to three sections "positive;negative;zero": "0" and "#" digit
/// placeholders, "." decimal point, "," grouping, "E+0"/"E-0" exponents, '...' and "..." literals;
/// a negative section replaces the minus sign, and what rounds to zero uses the zero section.
/// An empty pattern, or |x| >= 1e18 without an exponent, gives FormatGeneral(x, 15, 0).
std::string FormatPattern(const std::string& Format, double x);

}  // namespace quorel
