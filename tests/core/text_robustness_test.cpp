// Untrusted text through every reader, and the parser and formatters checked against each other
// and against the C library on many generated values.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/float_format.h"
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

// A random decimal text within the strict grammar.
std::string RandomDecimal(std::mt19937_64& rng) {
  std::string s;
  if (rng() % 3 == 0) s += (rng() % 2) ? '-' : '+';
  const int digits = 1 + static_cast<int>(rng() % 25);
  const int point = static_cast<int>(rng() % (digits + 2)) - 1;  // -1: no separator
  for (int i = 0; i < digits; ++i) {
    if (i == point) s += '.';
    s += static_cast<char>('0' + rng() % 10);
  }
  if (rng() % 2) s += "e" + std::to_string(static_cast<int>(rng() % 661) - 330);
  return s;
}

TEST(TextRobustness, ParserAgreesWithTheCLibrary) {
  std::mt19937_64 rng(7);
  for (int n = 0; n < 20000; ++n) {
    const std::string s = RandomDecimal(rng);
    double ours = 0;
    ASSERT_TRUE(TryStrToFloat(s, ours)) << s;
    const double ref = std::strtod(s.c_str(), nullptr);  // glibc rounds correctly
    EXPECT_EQ(std::bit_cast<std::uint64_t>(ours), std::bit_cast<std::uint64_t>(ref)) << s;
  }
}

// A finite double with random bits.
double RandomFinite(std::mt19937_64& rng) {
  for (;;) {
    const double x = std::bit_cast<double>(rng());
    if (std::isfinite(x) && x != 0) return x;
  }
}

// Rounding to 15 significant digits, then reading back.
constexpr double kFifteenDigitsRelTol = 5e-15 + 2.3e-16;

TEST(TextRobustness, FormattedValuesReadBack) {
  std::mt19937_64 rng(99);
  const std::string sci17 = "0.0000000000000000E+000";
  const std::string fixed20 = "0." + std::string(20, '#');
  for (int n = 0; n < 5000; ++n) {
    const double x = RandomFinite(rng);
    EXPECT_EQ(StrToVal(SampleToStr(x, 17, 0)), x) << SampleToStr(x, 17, 0);
    EXPECT_EQ(StrToVal(FormatSample(sci17, x)), x) << FormatSample(sci17, x);
    const double y = std::ldexp(std::fabs(x) / std::pow(2.0, std::ilogb(x)), static_cast<int>(rng() % 60) - 10);
    EXPECT_EQ(StrToVal(FormatSample(fixed20, y)), y) << FormatSample(fixed20, y);
    const double im = RandomFinite(rng);
    const TCplx back = StrToCplx(CplxToStr({x, im}, 0));
    EXPECT_LE(test::RelativeError(back.Re, x), kFifteenDigitsRelTol) << CplxToStr({x, im}, 0);
    EXPECT_LE(test::RelativeError(back.Im, im), kFifteenDigitsRelTol) << CplxToStr({x, im}, 0);
  }
}

}  // namespace
}  // namespace quorel
