#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "quorel/core/constants.h"
#include "quorel/core/float_format.h"
#include "quorel/core/text.h"

namespace quorel {
namespace {

struct GeneralCase { double x; int precision, digits; const char* want; };
struct PatternCase { std::string format; double x; const char* want; };

void ExpectGeneral(std::initializer_list<GeneralCase> cases) {
  for (const auto& c : cases)
    EXPECT_EQ(SampleToStr(c.x, c.precision, c.digits), c.want) << c.x << " " << c.precision << " " << c.digits;
}

void ExpectPattern(std::initializer_list<PatternCase> cases) {
  for (const auto& c : cases) EXPECT_EQ(FormatSample(c.format, c.x), c.want) << c.format << " " << c.x;
}

TEST(GeneralFormat, NotationRoundingCarriesAndSpecials) {
  ExpectGeneral({
      {1.0 / 3.0, 15, 0, "0.333333333333333"}, {0.1 + 0.2, 15, 0, "0.3"},  {1234, 4, 0, "1234"},
      {12345, 4, 0, "1.235E+4"},  // 5 integer digits > 4
      {123456, 4, 2, "1.235E+05"}, {1e14, 15, 0, "100000000000000"}, {1e15, 15, 0, "1E+15"},
      {0.00001, 15, 0, "0.00001"}, {0.0000099999, 15, 0, "9.9999E-6"}, {1e-7, 15, 4, "1E-0007"},
      {-2.5e300, 15, 3, "-2.5E+300"}, {-2.5, 1, 0, "-3"},  // half away from zero
      {9.9999999, 3, 0, "10"}, {99999.5, 5, 0, "1E+5"}, {0.000009999996, 6, 0, "0.00001"},  // carries
      {PI, 0, 0, "3"}, {0.1, 99, 0, "0.1"}, {PI, 17, 0, "3.141592653589793"},  // precision clamped to 1..17
      {5e-324, 15, 0, "5E-324"}, {1.7976931348623157e308, 15, 0, "1.79769313486232E+308"},
      {0.0, 15, 2, "0"}, {-0.0, 15, 2, "0"}, {NaN, 15, 0, "NAN"}, {-NaN, 15, 0, "NAN"}, {INF, 15, 0, "INF"},
      {-INF, 15, 0, "-INF"},
  });
}

TEST(PatternFormat, SectionsAndNegativeZero) {
  const std::string f = "0.00;(0.00);'zero'";
  ExpectPattern({
      {f, 1.5, "1.50"}, {f, -1.5, "(1.50)"},  // no automatic minus with a negative section
      {f, 0.0, "zero"}, {f, -0.004, "zero"}, {f, 0.005, "0.01"},  // what rounds to zero: zero section
      {"0.00;;Z", -2, "-2.00"}, {"0.00;;Z", 0, "Z"},  // an empty section falls back to the first
      {"0.0;-0.0", -2, "-2.0"}, {"0;0;0;ignored", -7, "7"},
      {"'a;b'0", 3, "a;b3"}, {";0", 3, "3"},  // quoted ";" does not split; empty first: general
      {"0.00;(0.00)", -0.001, "0.00"},  // plain patterns never give "-0.00" (swept in text_robustness_test.cpp)
  });
}

// Plain rounding (ties away from zero on the digits users see) and thousands groups are swept
// against a reference in text_robustness_test.cpp; these are the placeholders' own rules.
TEST(PatternFormat, DigitsGroupingAndExponents) {
  ExpectPattern({
      {"00.000", 1.5, "01.500"}, {"0.##", 1, "1"}, {"0.0#", 1.456, "1.46"}, {"0.0#", 1.4, "1.4"},
      {"#.##", 0.5, ".5"}, {"#", 0, ""}, {".00", 5.25, "5.25"}, {"#,##0.00", 999.995, "1,000.00"},
      {"0." + std::string(30, '0'), 0.1, "0.100000000000000000000000000000"},
      {"0,0", 12345678, "12,345,678"}, {"0.0,0", 1234.5, "1234.50"},  // no fraction groups
      {"0.00E+00", 0.00012345, "1.23E-04"}, {"0.00E+00", 9.999e9, "1.00E+10"}, {"0.00E+00", 0, "0.00E+00"},
      {"0.0e-0", 12345, "1.2e4"}, {"0.0e-0", 0.012, "1.2e-2"}, {"00.0E+0", 12345, "12.3E+3"},
      {"##0.0E+0", 5, "5.0E+0"}, {"0.###E+000", 1e300, "1E+300"}, {"0.0E+0", 1e25, "1.0E+25"},
      {"0E", 5, "5E"}, {"0E+", 5, "5E+"},  // no digits: literal
      // A mantissa shows one digit even for zero, so the text reads back.
      {"#.###E-0", 0, "0E0"}, {"#.#E+00", -0.0, "0E+00"}, {".##E-0", 0, "0E0"}, {"#.###E-0", 0.1875, "1.875E-1"},
  });
}

TEST(PatternFormat, LiteralsFallbacksAndSpecials) {
  ExpectPattern({
      {"'Total: '0.00' kg'", 3.14159, "Total: 3.14 kg"}, {"\"0.#E+0\" 0", 5, "0.#E+0 5"},
      {"000-00-0000", 123456789, "123-45-6789"}, {"0%", 5, "5%"}, {"x", 5, "x"},
      {"$#,##0.00", -1234.5, "-$1,234.50"}, {"0 'open", 5, "5 open"}, {"+0.0'i';-0.0'i'", -2, "-2.0i"},
      {"\xC3\xA9 0", 1, "\xC3\xA9 1"}, {"", 1.0 / 3.0, "0.333333333333333"}, {"0.00", 1e18, "1E+18"},
      {"0", 1e17, "100000000000000000"}, {"0.00", NaN, "NAN"}, {"0.00;(0.00)", -INF, "-INF"},
  });
}

// Appends each value and then sep to out with the one formatter.
template <class T>
std::string Appended(const TSampleFormatter& f, std::string out, std::initializer_list<T> values, char sep) {
  for (const T& x : values) {
    f.Append(out, x);
    out += sep;
  }
  return out;
}

// One formatter writes value after value, each appended to what the string holds: nothing of
// one value (rounding carry, exponent) leaks into the next. Patterns kept across values are
// compared with fresh formatters on random values in text_robustness_test.cpp.
TEST(SampleFormatter, OneFormatterAppendsValueAfterValue) {
  const TSampleFormatter general(4, 2);
  EXPECT_EQ(Appended<double>(general, ">", {99999.5, 0.1, -1e-7, 12345.0}, ' '), ">1E+05 0.1 -1E-07 1.235E+04 ");
  EXPECT_EQ(Appended<TCplx>(general, "", {{1, -1}, {0, 1}, {2.5, 1e-9}, {0, 0}}, ' '), "1-i i 2.5+1E-09i 0 ");
  EXPECT_EQ(Appended<double>(TSampleFormatter::Shortest(), "", {0.1, 1.0 / 3.0, 5e-324, -1.7976931348623157e308}, ' '),
            "0.1 0.3333333333333333 5E-324 -1.7976931348623157E+308 ");
}

}  // namespace
}  // namespace quorel
