#pragma once
// Number formatters: the general float format and the format-pattern language.

#include <cstddef>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

/// The current C locale's decimal separator (localeconv), "." when the locale gives none.
std::string DecimalSeparator();

/// The current C locale's thousands separator; when the locale has none, "," (or "." when the
/// decimal separator is already ",").
std::string ThousandSeparator();

/// Formats many values alike, appending each text to a string and allocating nothing else. The
/// patterns are parsed, and the locale's separators read, once, when it is made.
///
/// The general float format, arguments (Precision, Digits): x rounded to Precision (1..17)
/// significant digits, fixed notation when it fits, else "d.dddE+xx" with at least Digits (0..4)
/// exponent digits. NaN gives "NAN", infinities "INF" and "-INF".
///
/// A pattern has up to three sections "positive;negative;zero": "0" and "#" digit placeholders,
/// "." decimal point, "," grouping, "E+0"/"E-0" exponents, '...' and "..." literals; a negative
/// section replaces the minus sign, and what rounds to zero uses the zero section. An empty
/// pattern, or |x| >= 1e18 without an exponent, gives the general format at precision 15.
///
/// Both round half away from zero on the digits of the shortest text that reads back as x, so
/// 2.675 rounds like the text "2.675" and 17 digits always read back exactly.
class TSampleFormatter {
 public:
  /// Patterns of real values (and real parts) and of imaginary parts, as FormatCplx takes them.
  TSampleFormatter(std::string ReFormat, std::string ImFormat);
  /// The general float format, arguments (Precision, Digits) as SampleToStr takes them.
  TSampleFormatter(int Precision, int Digits);
  /// The shortest text that reads back as the same double: the general format at 17 digits,
  /// which leaves the (at most 17) shortest round-trip digits unchanged.
  static TSampleFormatter Shortest() { return TSampleFormatter(17, 0); }

  /// Appends X by the real pattern, or in the general format.
  void Append(std::string& Out, double X) const;
  /// Appends Z as FormatCplx lays it out: the real part by ReFormat directly followed by the
  /// imaginary part by ImFormat, a zero part left out; in the general format, or when either
  /// pattern is empty, "1+2i", "1-i", "i" or "3" (parts at Precision, else at 15).
  void Append(std::string& Out, const TCplx& Z) const;

 private:
  // A section of a pattern: where it lies in the pattern, and what its placeholders ask for.
  struct TSection {
    std::size_t Begin = 0, End = 0;
    int IntCount = 0;    // integer placeholders
    int IntForced = 0;   // integer digits always written (from the first "0" on)
    int FracCount = 0;   // fraction placeholders
    int FracForced = 0;  // fraction digits always written (up to the last "0")
    int ExpWidth = 0;
    bool Grouping = false;
    bool HasExponent = false;
    bool ExpAlwaysSign = false;
  };
  // A pattern split into its up to three sections "positive;negative;zero".
  struct TPattern {
    std::string Text;
    TSection Sections[3];
    int Count = 0;
    explicit TPattern(std::string text);
    bool Present(int i) const { return i < Count && Sections[i].End > Sections[i].Begin; }
  };

  void AppendGeneral(std::string& Out, double X, int Precision, int Digits) const;
  void AppendPattern(std::string& Out, const TPattern& Pattern, double X) const;

  TPattern fRe;
  TPattern fIm;
  bool fGeneral = false;
  int fPrecision = 15;
  int fDigits = 0;
  std::string fDecimalSep;
  std::string fThousandSep;
};

}  // namespace quorel
