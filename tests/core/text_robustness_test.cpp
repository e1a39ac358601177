// Untrusted text through every reader, and the parser and formatters checked against each other
// and against the C library on many generated values.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/text.h"

namespace quorel {
namespace {

// Runs f; a result or one of the library's conversion/usage errors is fine, anything else fails.
template <class F>
void ReturnsOrThrowsLibraryError(F f, const std::string& input) {
  try {
    f();
  } catch (const EConvertError&) {
  } catch (const EQuorelException&) {
  } catch (const std::exception& e) {
    ADD_FAILURE() << "unexpected exception '" << e.what() << "' for input of " << input.size() << " bytes";
  }
}

// Random texts: mostly characters that numbers, complex values and patterns are made of, plus
// arbitrary bytes (NUL and non-ASCII included).
std::string RandomText(std::mt19937_64& rng, std::size_t maxLen) {
  static const std::string alphabet = "0123456789+-.,eEiI;#0 '\"nNaAfF\t";
  std::uniform_int_distribution<std::size_t> lenDist(0, maxLen);
  std::string s(lenDist(rng), '\0');
  for (char& c : s) {
    const auto r = rng();
    c = (r & 3) == 0 ? static_cast<char>(r >> 8) : alphabet[(r >> 8) % alphabet.size()];
  }
  return s;
}

// s through every reader; reading fields of s as a line advances until the end or a field that
// does not parse; s as a pattern formats without error.
void ThroughEveryReader(const std::string& s, const char* delim, double value) {
  double x = 0;
  TryStrToFloat(s, x);
  ReturnsOrThrowsLibraryError([&] { StrToVal(s); }, s);
  ReturnsOrThrowsLibraryError([&] { StrToCplx(s); }, s);
  for (bool cplx : {false, true}) {
    int pos = 1;
    for (int k = 0; k < 50 && pos <= static_cast<int>(s.size()); ++k) {
      const int before = pos;
      ReturnsOrThrowsLibraryError([&] { cplx ? (void)ExtractCplx(s, pos, delim) : (void)ExtractSample(s, pos, delim); },
                                  s);
      if (pos == before) break;
      EXPECT_GT(pos, before);
    }
  }
  EXPECT_NO_THROW(FormatSample(s, value));
  EXPECT_NO_THROW(FormatCplx({value, -value}, s, s));
}

TEST(TextRobustness, HostileAndRandomInputs) {
  const std::string inputs[] = {
      "", "+", "-", "e5", "1e", "1e999999999999", "-1e-999999999999", "--1", std::string("1\0" "2", 3),
      std::string(1, '\0'), "\xFF\xFE", "1\xC2\xA0" "5", std::string(10000, '9'), "-" + std::string(10000, '0'),
      "0." + std::string(10000, '7') + "e-400", "1e" + std::string(10000, '9'), std::string(10000, 'i'),
      std::string(10000, ';'), std::string(10000, '-') + "i", "1+" + std::string(5000, 'E') + "i",
  };
  for (const std::string& s : inputs)
    for (const char* delim : {";", "", "ii"}) ThroughEveryReader(s, delim, -1234.5678);
  EXPECT_EQ(StrToVal(std::string(10000, '9')), INF);
  EXPECT_TRUE(std::signbit(StrToVal("-" + std::string(10000, '0'))));
  EXPECT_EQ(StrToVal("1e" + std::string(10000, '9')), INF);
  std::mt19937_64 rng(20240611);
  const char* delimiters[] = {";", ",", " ", "", "e"};
  for (int n = 0; n < 4000; ++n) {
    const std::string s = RandomText(rng, 40);
    ThroughEveryReader(s, delimiters[n % 5], std::bit_cast<double>(rng()));
  }
}

// Patterns made of the language's own characters in any order: open quotes, several points,
// exponents without digits, four sections.
std::string RandomPattern(std::mt19937_64& rng) {
  static const std::string alphabet = "00##.,;;Ee+-'\" x%";
  std::string s(rng() % 18, '\0');
  for (char& c : s) c = alphabet[rng() % alphabet.size()];
  return s;
}

// Values that reach every branch: random bits, every magnitude from 1e-25 to 1e25, halves that
// round away, what rounds to zero, integers, powers of ten, 1e18 and up, zeros and specials.
double RandomValue(std::mt19937_64& rng) {
  switch (rng() % 6) {
    case 0: return std::bit_cast<double>(rng());
    case 1: return (rng() % 2 ? -1.0 : 1.0) * std::ldexp(static_cast<double>(rng() >> 11), -53) *
                   std::pow(10.0, static_cast<int>(rng() % 51) - 25);
    case 2: return (static_cast<double>(rng() % 200001) - 100000.0) / std::pow(10.0, static_cast<int>(rng() % 7));
    case 3: return (rng() % 2 ? -0.5 : 0.5) * std::pow(10.0, -static_cast<int>(rng() % 8));
    case 4: return std::pow(10.0, static_cast<int>(rng() % 41) - 20) * (rng() % 2 ? 9.9999999999 : 1.0);
    default: {
      const double special[] = {0.0, -0.0, NaN, INF, -INF, 1e18, -1e18, 9.999999999999999e17, 5e-324, 2.675};
      return special[rng() % 10];
    }
  }
}

// Reference rounding by other means than the formatter's: the shortest digits of |x| from
// std::to_chars as an integer, `keep` of them kept (significant digits, or decimals when
// !significant) and rounded half away from zero in integer arithmetic; the signed value they denote.
double RoundedShortest(double x, int keep, bool significant) {
  char buf[64];
  const std::string s(buf, std::to_chars(buf, buf + sizeof buf, std::fabs(x), std::chars_format::scientific).ptr);
  const std::size_t e = s.find('e');
  const std::string digits = s.substr(0, 1) + (e > 1 ? s.substr(2, e - 2) : "");
  const int exp10 = std::stoi(s.substr(e + 1));
  std::uint64_t n = std::stoull(digits);
  int scale = exp10 - static_cast<int>(digits.size()) + 1;  // |x| = n * 10^scale
  const int drop = static_cast<int>(digits.size()) - (significant ? keep : exp10 + 1 + keep);
  if (drop >= 19) {
    n = 0;
  } else if (drop > 0) {
    std::uint64_t unit = 1;
    for (int i = 0; i < drop; ++i) unit *= 10;
    n = n / unit + (2 * (n % unit) >= unit ? 1 : 0);
    scale += drop;
  }
  return std::copysign(std::strtod((std::to_string(n) + "e" + std::to_string(scale)).c_str(), nullptr), x);
}

// Whether `text` is an optional "-" then digits with at most one "." and, when `exponent`, "E",
// a sign and at least `width` exponent digits.
bool WellFormed(const std::string& text, bool exponent, int width) {
  std::size_t i = text.rfind('-', 0) == 0 ? 1 : 0;
  const std::size_t mantissaEnd = exponent ? text.find('E') : text.size();
  if (mantissaEnd == std::string::npos || mantissaEnd == i) return false;
  if (text.find_first_not_of("0123456789.", i) < mantissaEnd) return false;
  if (std::count(text.begin(), text.end(), '.') > 1) return false;
  if (!exponent) return true;
  if (mantissaEnd + 2 >= text.size() || (text[mantissaEnd + 1] != '+' && text[mantissaEnd + 1] != '-')) return false;
  const std::string exp = text.substr(mantissaEnd + 2);
  return exp.find_first_not_of("0123456789") == std::string::npos && static_cast<int>(exp.size()) >= width;
}

// On many generated values each format rounds as the reference does (read back with the C
// library), in the notation it promises; one formatter kept across values and patterns writes
// what a fresh one writes, appending to what is there.
TEST(TextRobustness, FormatterRoundsAsTheReferenceOnManyValues) {
  std::mt19937_64 rng(31337);
  std::string out;
  // The general format: digits, notation, exponent width; 17 digits read back exactly.
  for (int n = 0; n < 20000; ++n) {
    const double x = RandomValue(rng);
    const int precision = 1 + static_cast<int>(rng() % 17), digits = static_cast<int>(rng() % 5);
    out = ">";
    TSampleFormatter(precision, digits).Append(out, x);
    const std::string text = out.substr(1);
    ASSERT_EQ(out[0], '>');
    if (!std::isfinite(x) || x == 0) continue;
    const double want = RoundedShortest(x, precision, true);
    ASSERT_EQ(std::strtod(text.c_str(), nullptr), want) << x << " " << precision << " -> " << text;
    char buf[64];
    const std::string wantText(buf, std::to_chars(buf, buf + sizeof buf, want, std::chars_format::scientific).ptr);
    const int e = std::stoi(wantText.substr(wantText.find('e') + 1));
    const bool fixed = e >= -5 && e < precision;
    ASSERT_TRUE(WellFormed(text, !fixed, digits)) << x << " " << precision << " " << digits << " -> " << text;
    if (precision == 17) ASSERT_EQ(std::strtod(text.c_str(), nullptr), x) << text;
  }
  // Fixed and exponent patterns round like the reference; grouping only inserts separators; a
  // negative section and literals only wrap the digits.
  const TSampleFormatter kept("0.00;(0.00);'zero'", "#,##0.000");
  for (int n = 0; n < 20000; ++n) {
    const double x = RandomValue(rng);
    const int decimals = static_cast<int>(rng() % 18);
    const std::string fraction = decimals > 0 ? "." + std::string(static_cast<std::size_t>(decimals), '0') : "";
    const std::string fixed = FormatSample("0" + fraction, x);
    const std::string sci = FormatSample("0" + fraction + "E+00", x);
    if (std::isfinite(x) && std::fabs(x) < 1e18) {
      const double want = RoundedShortest(x, decimals, false);
      ASSERT_EQ(std::strtod(fixed.c_str(), nullptr), want) << x << " " << decimals << " -> " << fixed;
      const std::size_t point = fixed.find('.');
      ASSERT_TRUE(WellFormed(fixed, false, 0)) << fixed;
      ASSERT_EQ(point == std::string::npos ? 0 : fixed.size() - point - 1, static_cast<std::size_t>(decimals)) << fixed;
      ASSERT_EQ(fixed[0] == '-', want < 0) << x << " -> " << fixed;  // never "-0.00"
      std::string grouped = FormatSample("#,##0" + fraction, x);
      const std::size_t intEnd = std::min(grouped.find('.'), grouped.size());
      for (std::size_t comma = grouped.find(','); comma < intEnd; comma = grouped.find(',', comma + 1))
        ASSERT_EQ((intEnd - comma - 1) % 4, 3u) << grouped;  // thousands: 3 digits after each separator
      grouped.erase(std::remove(grouped.begin(), grouped.end(), ','), grouped.end());
      ASSERT_EQ(grouped, fixed);
      const std::string wrapped = "'<'0" + fraction + "'>'";
      ASSERT_EQ(FormatSample(wrapped + ";" + wrapped, x), "<" + FormatSample("0" + fraction, std::fabs(x)) + ">");
    }
    if (std::isfinite(x) && x != 0) {
      ASSERT_EQ(std::strtod(sci.c_str(), nullptr), RoundedShortest(x, 1 + decimals, true)) << x << " -> " << sci;
      ASSERT_TRUE(WellFormed(sci, true, 2)) << sci;
    }
    out = "|";
    kept.Append(out, x);
    ASSERT_EQ(out, "|" + FormatSample("0.00;(0.00);'zero'", x)) << x;
    const TCplx z{n % 5 == 0 ? 0.0 : x, n % 7 == 0 ? 0.0 : RandomValue(rng)};
    out.clear();
    kept.Append(out, z);
    const std::string re = FormatSample("0.00;(0.00);'zero'", z.Re), im = FormatSample("#,##0.000", z.Im);
    ASSERT_EQ(out, z.Im == 0 ? re : z.Re == 0 ? im : re + im) << z.Re << " " << z.Im;
  }
  // Random patterns never fail, and a kept formatter agrees with fresh ones.
  for (int n = 0; n < 300; ++n) {
    const std::string re = RandomPattern(rng), im = RandomPattern(rng);
    const TSampleFormatter formatter(re, im);
    for (int k = 0; k < 50; ++k) {
      const TCplx z{RandomValue(rng), k % 3 == 0 ? 0.0 : RandomValue(rng)};
      out.clear();
      formatter.Append(out, z.Re);
      ASSERT_EQ(out, FormatSample(re, z.Re)) << re;
      out.clear();
      formatter.Append(out, z);
      ASSERT_EQ(out, FormatCplx(z, re, im)) << re << " " << im;
    }
  }
}

// Texts in every form the reader takes: blanks around, sign, either separator, mantissas longer
// than the kept digits (the dropped ones decide ties), exponents; the C library reads the same
// number (with a point) correctly rounded (glibc's strtod rounds correctly).
TEST(TextRobustness, ReaderAgreesWithTheCLibraryOnEveryForm) {
  std::mt19937_64 rng(2718);
  const char* blanks[] = {"", " ", "\t", " \r\n", "\v\f"};
  for (int n = 0; n < 20000; ++n) {
    std::string number;
    if (rng() % 3 == 0) number += (rng() % 2) ? '-' : '+';
    const int digits = n % 10 == 0 ? 700 + static_cast<int>(rng() % 200) : 1 + static_cast<int>(rng() % 25);
    const int point = static_cast<int>(rng() % (std::min(digits, 25) + 2)) - 1;  // -1: none
    for (int i = 0; i < digits; ++i) {
      if (i == point) number += '.';
      number += static_cast<char>('0' + (n % 20 == 0 && i > 20 ? (i == digits - 1) : rng() % 10));
    }
    if (rng() % 2) number += (rng() % 2 ? "e" : "E") + std::to_string(static_cast<int>(rng() % 661) - 330);
    const double ref = std::strtod(number.c_str(), nullptr);
    std::string text = blanks[rng() % 5] + number + blanks[rng() % 5];
    double got = 0;
    ASSERT_TRUE(TryStrToFloat(text, got)) << text;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(got), std::bit_cast<std::uint64_t>(ref)) << text;
    for (char& c : text)
      if (c == '.') c = ',';
    ASSERT_EQ(std::bit_cast<std::uint64_t>(StrToVal(text)), std::bit_cast<std::uint64_t>(ref)) << text;
    const TCplx z = StrToCplx(text + "-2,5i");
    ASSERT_EQ(std::bit_cast<std::uint64_t>(z.Re), std::bit_cast<std::uint64_t>(ref)) << text;
    ASSERT_EQ(z.Im, -2.5) << text;
  }
}

// Optional digits give all a value needs: the library's reader takes back what they write (the
// formats' digits themselves are held to the C library above).
TEST(TextRobustness, OptionalDigitsReadBack) {
  std::mt19937_64 rng(99);
  const std::string fixed20 = "0." + std::string(20, '#');
  for (int n = 0; n < 5000; ++n) {
    const double y = std::ldexp(1 + std::ldexp(static_cast<double>(rng() >> 12), -52), static_cast<int>(rng() % 60) - 10);
    EXPECT_EQ(StrToVal(FormatSample(fixed20, y)), y) << FormatSample(fixed20, y);
  }
}

}  // namespace
}  // namespace quorel
