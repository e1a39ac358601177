#include "quorel/core/float_format.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace quorel {

std::string DecimalSeparator() {
  const std::lconv* lc = std::localeconv();
  if (lc != nullptr && lc->decimal_point != nullptr && *lc->decimal_point != '\0') return lc->decimal_point;
  return ".";
}

std::string ThousandSeparator() {
  const std::lconv* lc = std::localeconv();
  if (lc != nullptr && lc->thousands_sep != nullptr && *lc->thousands_sep != '\0') return lc->thousands_sep;
  // The "C" locale has no thousands separator; grouping without one would be invisible.
  return DecimalSeparator() == "," ? "." : ",";
}

// Digits, rounding and layouts are worked in fixed buffers, so that nothing but the output grows.

namespace {

// A non-negative decimal 0.d1d2...dn * 10^Point with no leading or trailing zero digits; no
// digits at all means zero. The shortest round-trip text has at most 17 digits.
struct TDigits {
  char D[24];
  int N = 0;
  int Point = 0;
  bool IsZero() const { return N == 0; }
  char At(long i) const { return (i >= 0 && i < N) ? D[i] : '0'; }
};

void TrimTrailingZeros(TDigits& d) {
  while (d.N > 0 && d.D[d.N - 1] == '0') --d.N;
}

// The shortest digits that read back as |x|: users expect 2.675 to round like the text "2.675",
// not like the binary value just below it.
TDigits ToDigits(double x) {
  TDigits d;
  x = std::fabs(x);
  if (x == 0.0) return d;
  char buf[64];
  const char* const end = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::scientific).ptr;
  const char* p = buf;
  for (; p < end && *p != 'e'; ++p)
    if (*p != '.') d.D[d.N++] = *p;
  int exp10 = 0;
  const char* q = p + 1;
  if (q < end && *q == '+') ++q;  // from_chars takes '-' but not '+'
  std::from_chars(q, end, exp10);
  d.Point = exp10 + 1;
  TrimTrailingZeros(d);
  return d;
}

// Keeps the first `keep` digits, rounding half away from zero; keep <= 0 can still round up to
// a single unit digit in front of the first one.
void RoundKeep(TDigits& d, long keep) {
  if (d.IsZero() || keep >= d.N) return;
  if (keep < 0) { d.N = 0; return; }
  const bool up = d.D[keep] >= '5';
  d.N = static_cast<int>(keep);
  if (up) {
    int i = d.N;
    while (i > 0 && d.D[i - 1] == '9') d.D[--i] = '0';
    if (i == 0) {
      std::memmove(d.D + 1, d.D, static_cast<std::size_t>(d.N));
      d.D[0] = '1';
      ++d.N;
      ++d.Point;
    } else {
      ++d.D[i - 1];
    }
  }
  TrimTrailingZeros(d);
}

void AppendExponent(std::string& out, long long e, bool alwaysSign, int width) {
  if (e < 0)
    out += '-';
  else if (alwaysSign)
    out += '+';
  char buf[24];
  const char* const end = std::to_chars(buf, buf + sizeof buf, e < 0 ? -e : e).ptr;
  const auto len = static_cast<int>(end - buf);
  if (len < width) out.append(static_cast<std::size_t>(width - len), '0');
  out.append(buf, static_cast<std::size_t>(len));
}

// NaN and infinities print the same under every format.
bool AppendSpecial(std::string& out, double x) {
  if (std::isnan(x)) { out += "NAN"; return true; }
  if (std::isinf(x)) { out += x > 0 ? "INF" : "-INF"; return true; }
  return false;
}

// The pieces of a pattern section, in the order they are written.
enum class TPiece { Literal, IntDigit, Point, FracDigit, Exponent, Grouping };

// Calls f(piece, text) along section s: a literal's text, a placeholder's "0" or "#", the whole
// exponent ("E+00"). Parsing and writing both walk this way, so they cannot disagree.
template <class F>
void WalkSection(std::string_view s, F&& f) {
  bool afterPoint = false;
  bool exponent = false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '"' || c == '\'') {
      std::size_t close = s.find(c, i + 1);
      if (close == std::string_view::npos) close = s.size();  // an open quote runs to the end
      f(TPiece::Literal, s.substr(i + 1, close - i - 1));
      i = close;
    } else if ((c == '0' || c == '#') && !exponent) {
      f(afterPoint ? TPiece::FracDigit : TPiece::IntDigit, s.substr(i, 1));
    } else if (c == '.' && !afterPoint && !exponent) {
      afterPoint = true;
      f(TPiece::Point, s.substr(i, 1));
    } else if (c == ',' && !exponent) {
      // A comma in the integer part asks for grouping; elsewhere it has no meaning.
      if (!afterPoint) f(TPiece::Grouping, s.substr(i, 1));
    } else if ((c == 'E' || c == 'e') && !exponent && i + 2 < s.size() && (s[i + 1] == '+' || s[i + 1] == '-') &&
               s[i + 2] == '0') {
      exponent = true;
      std::size_t j = i + 2;
      while (j < s.size() && s[j] == '0') ++j;
      f(TPiece::Exponent, s.substr(i, j - i));
      i = j - 1;
    } else {
      f(TPiece::Literal, s.substr(i, 1));
    }
  }
}

}  // namespace

TSampleFormatter::TPattern::TPattern(std::string text) : Text(std::move(text)) {
  // Up to three sections split at ";" outside quotes; a fourth is ignored.
  Count = 1;
  char quote = 0;
  for (std::size_t i = 0; i < Text.size(); ++i) {
    const char c = Text[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == ';') {
      Sections[Count - 1].End = i;
      if (Count == 3) break;
      Sections[Count].Begin = Sections[Count].End = i + 1;
      ++Count;
      continue;
    }
    Sections[Count - 1].End = i + 1;
  }
  for (int k = 0; k < Count; ++k) {
    TSection& sec = Sections[k];
    int firstIntZero = -1;
    WalkSection(std::string_view(Text).substr(sec.Begin, sec.End - sec.Begin), [&](TPiece piece, std::string_view t) {
      switch (piece) {
        case TPiece::IntDigit:
          if (t[0] == '0' && firstIntZero < 0) firstIntZero = sec.IntCount;
          ++sec.IntCount;
          break;
        case TPiece::FracDigit:
          ++sec.FracCount;
          if (t[0] == '0') sec.FracForced = sec.FracCount;
          break;
        case TPiece::Grouping:
          sec.Grouping = true;
          break;
        case TPiece::Exponent:
          sec.HasExponent = true;
          sec.ExpAlwaysSign = t[1] == '+';
          sec.ExpWidth = static_cast<int>(t.size() - 2);
          break;
        default:
          break;
      }
    });
    sec.IntForced = firstIntZero < 0 ? 0 : sec.IntCount - firstIntZero;
  }
}

TSampleFormatter::TSampleFormatter(std::string ReFormat, std::string ImFormat)
    : fRe(std::move(ReFormat)), fIm(std::move(ImFormat)), fDecimalSep(DecimalSeparator()),
      fThousandSep(ThousandSeparator()) {}

TSampleFormatter::TSampleFormatter(int Precision, int Digits)
    : fRe(std::string()), fIm(std::string()), fGeneral(true), fPrecision(Precision), fDigits(Digits),
      fDecimalSep(DecimalSeparator()) {}

void TSampleFormatter::AppendGeneral(std::string& Out, double X, int Precision, int Digits) const {
  if (AppendSpecial(Out, X)) return;
  if (X == 0.0) { Out += '0'; return; }
  Precision = std::clamp(Precision, 1, 17);
  Digits = std::clamp(Digits, 0, 4);
  TDigits d = ToDigits(X);
  RoundKeep(d, Precision);
  if (X < 0) Out += '-';
  const int e = d.Point - 1;
  if (d.Point <= Precision && e >= -5) {
    if (d.Point > 0) {
      for (int i = 0; i < d.Point; ++i) Out += d.At(i);
      if (d.N > d.Point) {
        Out += fDecimalSep;
        Out.append(d.D + d.Point, static_cast<std::size_t>(d.N - d.Point));
      }
    } else {
      Out += '0';
      Out += fDecimalSep;
      Out.append(static_cast<std::size_t>(-d.Point), '0');
      Out.append(d.D, static_cast<std::size_t>(d.N));
    }
    return;
  }
  Out += d.D[0];
  if (d.N > 1) {
    Out += fDecimalSep;
    Out.append(d.D + 1, static_cast<std::size_t>(d.N - 1));
  }
  Out += 'E';
  AppendExponent(Out, e, true, Digits);
}

namespace {

// Rounds |value| for the section; returns the mantissa exponent (0 in fixed notation).
template <class TSection>
int RoundForSection(const TSection& sec, TDigits& d) {
  if (!sec.HasExponent) {
    RoundKeep(d, static_cast<long>(d.Point) + sec.FracCount);
    return 0;
  }
  // The "0"s before the point fix the mantissa's integer digits; "#"s there add none.
  const int intDigits = std::max(1, sec.IntForced);
  RoundKeep(d, static_cast<long>(intDigits) + sec.FracCount);
  if (d.IsZero()) return 0;
  const int exp10 = d.Point - intDigits;
  d.Point = intDigits;
  return exp10;
}

}  // namespace

void TSampleFormatter::AppendPattern(std::string& Out, const TPattern& Pattern, double X) const {
  if (AppendSpecial(Out, X)) return;
  int idx = 0;
  if (X < 0 && Pattern.Present(1)) idx = 1;
  if (X == 0 && Pattern.Present(2)) idx = 2;
  if (!Pattern.Present(idx) || (!Pattern.Sections[idx].HasExponent && std::fabs(X) >= 1e18)) {
    // Fixed notation of such values would invent digits the double does not have.
    AppendGeneral(Out, X, 15, 0);
    return;
  }
  TDigits d = ToDigits(X);
  bool minus = X < 0 && idx == 0;
  if (!d.IsZero()) {
    TDigits rounded = d;
    RoundForSection(Pattern.Sections[idx], rounded);
    if (rounded.IsZero()) {
      // What prints as zero is zero: the zero section, and never "-0".
      idx = Pattern.Present(2) ? 2 : 0;
      d = TDigits{};
      minus = false;
    }
  }
  const TSection& sec = Pattern.Sections[idx];
  const long exp10 = RoundForSection(sec, d);

  // The integer digits: those before the point without leading zeros, padded to IntForced. A
  // mantissa always shows one, so that zero reads "0E0" and not "E0", which does not read back.
  long lead = 0;
  while (lead < d.Point && d.At(lead) == '0') ++lead;
  const long significant = d.Point > lead ? d.Point - lead : 0;
  const long m = std::max<long>(significant, sec.HasExponent ? std::max(1, sec.IntForced) : sec.IntForced);
  const long pad = m - significant;
  auto emitInt = [&](long from, long to) {  // integer digits [from, to]
    for (long t = std::max(0L, from); t <= to; ++t) {
      Out += t < pad ? '0' : d.At(lead + t - pad);
      if (sec.Grouping && t < m - 1 && (m - 1 - t) % 3 == 0) Out += fThousandSep;
    }
  };
  // The fraction digits, trailing zeros dropped down to the forced ones.
  long fracLen = sec.FracCount;
  while (fracLen > sec.FracForced && d.At(d.Point + fracLen - 1) == '0') --fracLen;

  if (minus) Out += '-';
  const long offset = m - sec.IntCount;  // digits beyond the placeholders go to the first one
  long intIdx = 0;
  long fracIdx = 0;
  bool intWritten = sec.IntCount > 0;
  WalkSection(std::string_view(Pattern.Text).substr(sec.Begin, sec.End - sec.Begin),
              [&](TPiece piece, std::string_view t) {
                switch (piece) {
                  case TPiece::Literal:
                    Out += t;
                    break;
                  case TPiece::IntDigit: {
                    const long p = intIdx++;
                    emitInt(p == 0 ? 0 : p + offset, p + offset);
                    break;
                  }
                  case TPiece::Point:
                    if (!intWritten) { emitInt(0, m - 1); intWritten = true; }
                    if (fracLen > 0) Out += fDecimalSep;
                    break;
                  case TPiece::FracDigit:
                    if (fracIdx < fracLen) Out += d.At(d.Point + fracIdx);
                    ++fracIdx;
                    break;
                  case TPiece::Exponent:
                    if (!intWritten) { emitInt(0, m - 1); intWritten = true; }
                    Out += t[0];
                    AppendExponent(Out, exp10, sec.ExpAlwaysSign, sec.ExpWidth);
                    break;
                  case TPiece::Grouping:
                    break;
                }
              });
}

void TSampleFormatter::Append(std::string& Out, double X) const {
  if (fGeneral)
    AppendGeneral(Out, X, fPrecision, fDigits);
  else
    AppendPattern(Out, fRe, X);
}

void TSampleFormatter::Append(std::string& Out, const TCplx& Z) const {
  if (!fGeneral && !fRe.Text.empty() && !fIm.Text.empty()) {
    // Real text directly followed by the imaginary one: the pattern shows sign and unit.
    if (Z.Im == 0) { AppendPattern(Out, fRe, Z.Re); return; }
    if (Z.Re != 0) AppendPattern(Out, fRe, Z.Re);
    AppendPattern(Out, fIm, Z.Im);
    return;
  }
  // "1+2i", "1-i", "i", "3".
  const int precision = fGeneral ? fPrecision : 15;
  const int digits = fGeneral ? fDigits : 0;
  if (Z.Im == 0) { AppendGeneral(Out, Z.Re, precision, digits); return; }
  if (Z.Re != 0) {
    AppendGeneral(Out, Z.Re, precision, digits);
    if (!(Z.Im < 0)) Out += '+';
  }
  if (Z.Im == 1) {
    Out += 'i';
  } else if (Z.Im == -1) {
    Out += "-i";
  } else {
    AppendGeneral(Out, Z.Im, precision, digits);
    Out += 'i';
  }
}

}  // namespace quorel
