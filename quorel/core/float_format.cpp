#include "quorel/core/float_format.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <vector>

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

namespace {

// A non-negative decimal 0.d1d2...dn * 10^Point with no leading or trailing zero digits;
// no digits at all means zero.
struct TDecimal {
  std::string Digits;
  int Point = 0;
  bool IsZero() const { return Digits.empty(); }
};

void TrimTrailingZeros(std::string& s, std::size_t keep = 0) {
  std::size_t n = s.size();
  while (n > keep && s[n - 1] == '0') --n;
  s.resize(n);
}

// The shortest digits that read back as |x|: users expect 2.675 to round like the text "2.675",
// not like the binary value just below it.
TDecimal ToDecimal(double x) {
  TDecimal d;
  x = std::fabs(x);
  if (x == 0.0) return d;
  char buf[64];
  auto res = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::scientific);
  const char* end = res.ptr;
  const char* e = std::find(static_cast<const char*>(buf), end, 'e');
  for (const char* p = buf; p < e; ++p)
    if (*p != '.') d.Digits.push_back(*p);
  int exp10 = 0;
  const char* q = e + 1;
  if (q < end && *q == '+') ++q;  // from_chars takes '-' but not '+'
  std::from_chars(q, end, exp10);
  d.Point = exp10 + 1;
  TrimTrailingZeros(d.Digits);
  return d;
}

// Keeps the first `keep` digits, rounding half away from zero; keep <= 0 can still round up to
// a single unit digit in front of the first one.
void RoundKeep(TDecimal& d, long keep) {
  if (d.IsZero() || keep >= static_cast<long>(d.Digits.size())) return;
  if (keep < 0) { d.Digits.clear(); return; }
  const bool up = d.Digits[static_cast<std::size_t>(keep)] >= '5';
  d.Digits.resize(static_cast<std::size_t>(keep));
  if (up) {
    std::size_t i = d.Digits.size();
    while (i > 0 && d.Digits[i - 1] == '9') d.Digits[--i] = '0';
    if (i == 0) {
      d.Digits.insert(d.Digits.begin(), '1');
      ++d.Point;
    } else {
      ++d.Digits[i - 1];
    }
  }
  TrimTrailingZeros(d.Digits);
}

char DigitAt(const TDecimal& d, long i) {
  return (i >= 0 && i < static_cast<long>(d.Digits.size())) ? d.Digits[static_cast<std::size_t>(i)] : '0';
}

std::string ExponentText(int e, bool alwaysSign, int width) {
  std::string digits = std::to_string(e < 0 ? -e : e);
  if (static_cast<int>(digits.size()) < width) digits.insert(0, static_cast<std::size_t>(width) - digits.size(), '0');
  if (e < 0) return "-" + digits;
  return alwaysSign ? "+" + digits : digits;
}

// NaN and infinities print the same under every format.
bool SpecialText(double x, std::string& out) {
  if (std::isnan(x)) { out = "NAN"; return true; }
  if (std::isinf(x)) { out = x > 0 ? "INF" : "-INF"; return true; }
  return false;
}

}  // namespace

std::string FormatGeneral(double x, int Precision, int Digits) {
  std::string out;
  if (SpecialText(x, out)) return out;
  if (x == 0.0) return "0";
  Precision = std::clamp(Precision, 1, 17);
  Digits = std::clamp(Digits, 0, 4);
  TDecimal d = ToDecimal(x);
  RoundKeep(d, Precision);
  if (x < 0) out = "-";
  const std::string sep = DecimalSeparator();
  const int e = d.Point - 1;
  if (d.Point <= Precision && e >= -5) {
    if (d.Point > 0) {
      for (int i = 0; i < d.Point; ++i) out += DigitAt(d, i);
      if (static_cast<int>(d.Digits.size()) > d.Point) out += sep + d.Digits.substr(static_cast<std::size_t>(d.Point));
    } else {
      out += "0" + sep + std::string(static_cast<std::size_t>(-d.Point), '0') + d.Digits;
    }
    return out;
  }
  out += d.Digits[0];
  if (d.Digits.size() > 1) out += sep + d.Digits.substr(1);
  return out + "E" + ExponentText(e, true, Digits);
}

// ---------------------------------------------------------------------------------------------
// The pattern language.

namespace {

enum class TTokenKind { Literal, IntDigit, Point, FracDigit, Exponent };

struct TToken {
  TTokenKind Kind;
  std::string Text;  // literal text, or the exponent letter
};

// One parsed section of a pattern.
struct TLayout {
  std::vector<TToken> Tokens;
  int IntCount = 0;    // integer placeholders
  int IntForced = 0;   // integer digits always written (from the first "0" on)
  int FracCount = 0;   // fraction placeholders
  int FracForced = 0;  // fraction digits always written (up to the last "0")
  bool Grouping = false;
  bool HasExponent = false;
  bool ExpAlwaysSign = false;
  int ExpWidth = 0;
};

void AddLiteral(TLayout& l, const std::string& text) {
  if (text.empty()) return;
  if (!l.Tokens.empty() && l.Tokens.back().Kind == TTokenKind::Literal)
    l.Tokens.back().Text += text;
  else
    l.Tokens.push_back({TTokenKind::Literal, text});
}

TLayout ParseSection(const std::string& s) {
  TLayout l;
  bool afterPoint = false;
  int firstIntZero = -1;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '"' || c == '\'') {
      std::size_t close = s.find(c, i + 1);
      if (close == std::string::npos) close = s.size();  // an open quote runs to the end
      AddLiteral(l, s.substr(i + 1, close - i - 1));
      i = close;
    } else if ((c == '0' || c == '#') && !l.HasExponent) {
      if (afterPoint) {
        ++l.FracCount;
        if (c == '0') l.FracForced = l.FracCount;
        l.Tokens.push_back({TTokenKind::FracDigit, {}});
      } else {
        if (c == '0' && firstIntZero < 0) firstIntZero = l.IntCount;
        ++l.IntCount;
        l.Tokens.push_back({TTokenKind::IntDigit, {}});
      }
    } else if (c == '.' && !afterPoint && !l.HasExponent) {
      afterPoint = true;
      l.Tokens.push_back({TTokenKind::Point, {}});
    } else if (c == ',' && !l.HasExponent) {
      // A comma in the integer part asks for grouping; elsewhere it has no meaning.
      if (!afterPoint) l.Grouping = true;
    } else if ((c == 'E' || c == 'e') && !l.HasExponent && i + 2 < s.size() &&
               (s[i + 1] == '+' || s[i + 1] == '-') && s[i + 2] == '0') {
      l.HasExponent = true;
      l.ExpAlwaysSign = s[i + 1] == '+';
      std::size_t j = i + 2;
      while (j < s.size() && s[j] == '0') ++j;
      l.ExpWidth = static_cast<int>(j - (i + 2));
      l.Tokens.push_back({TTokenKind::Exponent, std::string(1, c)});
      i = j - 1;
    } else {
      AddLiteral(l, std::string(1, c));
    }
  }
  l.IntForced = firstIntZero < 0 ? 0 : l.IntCount - firstIntZero;
  return l;
}

std::vector<std::string> SplitSections(const std::string& f) {
  std::vector<std::string> sections(1);
  char quote = 0;
  for (char c : f) {
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == ';') {
      if (sections.size() == 3) break;  // a fourth section is ignored
      sections.emplace_back();
      continue;
    }
    sections.back() += c;
  }
  return sections;
}

// Rounds |value| for the layout; returns the mantissa exponent (0 in fixed notation).
int RoundForLayout(const TLayout& l, TDecimal& d) {
  if (!l.HasExponent) {
    RoundKeep(d, static_cast<long>(d.Point) + l.FracCount);
    return 0;
  }
  // The "0"s before the point fix the mantissa's integer digits; "#"s there add none.
  const int intDigits = std::max(1, l.IntForced);
  RoundKeep(d, static_cast<long>(intDigits) + l.FracCount);
  if (d.IsZero()) return 0;
  const int exp10 = d.Point - intDigits;
  d.Point = intDigits;
  return exp10;
}

std::string Render(const TLayout& l, TDecimal d, bool minus) {
  const int exp10 = RoundForLayout(l, d);
  std::string intDigits;
  for (int i = 0; i < d.Point; ++i) intDigits += DigitAt(d, i);
  const std::size_t lead = intDigits.find_first_not_of('0');
  intDigits.erase(0, lead == std::string::npos ? intDigits.size() : lead);
  if (static_cast<int>(intDigits.size()) < l.IntForced)
    intDigits.insert(0, static_cast<std::size_t>(l.IntForced) - intDigits.size(), '0');
  std::string frac;
  for (int j = 0; j < l.FracCount; ++j) frac += DigitAt(d, static_cast<long>(d.Point) + j);
  TrimTrailingZeros(frac, static_cast<std::size_t>(l.FracForced));

  const std::string groupSep = l.Grouping ? ThousandSeparator() : std::string();
  const long m = static_cast<long>(intDigits.size());
  auto emitInt = [&](std::string& out, long from, long to) {  // digits [from, to]
    for (long t = std::max(0L, from); t <= to; ++t) {
      out += intDigits[static_cast<std::size_t>(t)];
      if (l.Grouping && t < m - 1 && (m - 1 - t) % 3 == 0) out += groupSep;
    }
  };

  std::string out = minus ? "-" : "";
  const long offset = m - l.IntCount;  // digits beyond the placeholders go to the first one
  long intIdx = 0;
  std::size_t fracIdx = 0;
  bool intWritten = l.IntCount > 0;
  for (const TToken& t : l.Tokens) {
    switch (t.Kind) {
      case TTokenKind::Literal:
        out += t.Text;
        break;
      case TTokenKind::IntDigit: {
        const long p = intIdx++;
        emitInt(out, p == 0 ? 0 : p + offset, p + offset);
        break;
      }
      case TTokenKind::Point:
        if (!intWritten) { emitInt(out, 0, m - 1); intWritten = true; }
        if (!frac.empty()) out += DecimalSeparator();
        break;
      case TTokenKind::FracDigit:
        if (fracIdx < frac.size()) out += frac[fracIdx];
        ++fracIdx;
        break;
      case TTokenKind::Exponent:
        if (!intWritten) { emitInt(out, 0, m - 1); intWritten = true; }
        out += t.Text + ExponentText(exp10, l.ExpAlwaysSign, l.ExpWidth);
        break;
    }
  }
  return out;
}

bool RoundsToZero(const TLayout& l, TDecimal d) {
  RoundForLayout(l, d);
  return d.IsZero();
}

}  // namespace

std::string FormatPattern(const std::string& Format, double x) {
  std::string out;
  if (SpecialText(x, out)) return out;
  const std::vector<std::string> sections = SplitSections(Format);
  auto present = [&](std::size_t i) { return i < sections.size() && !sections[i].empty(); };
  std::size_t idx = 0;
  if (x < 0 && present(1)) idx = 1;
  if (x == 0 && present(2)) idx = 2;
  if (!present(idx)) return FormatGeneral(x, 15, 0);

  TLayout layout = ParseSection(sections[idx]);
  // Fixed notation of such values would invent digits the double does not have.
  if (!layout.HasExponent && std::fabs(x) >= 1e18) return FormatGeneral(x, 15, 0);
  TDecimal d = ToDecimal(x);
  bool minus = x < 0 && idx == 0;
  if (!d.IsZero() && RoundsToZero(layout, d)) {
    // What prints as zero is zero: the zero section, and never "-0".
    idx = present(2) ? 2 : 0;
    layout = ParseSection(sections[idx]);
    d = TDecimal{};
    minus = false;
  }
  return Render(layout, d, minus);
}

}  // namespace quorel
