#include <clocale>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/text.h"

namespace quorel {
namespace {

using namespace std::string_literals;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

// Switches LC_NUMERIC to the first installed locale with a comma separator, back to "C" after.
struct CommaLocale {
  bool active = false;
  CommaLocale() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "nl_NL.UTF-8",
                             "it_IT.UTF-8", "es_ES.UTF-8", "ru_RU.UTF-8", "de_DE"})
      if (!active && std::setlocale(LC_NUMERIC, name) != nullptr)
        active = std::strcmp(std::localeconv()->decimal_point, ",") == 0;
    if (!active) std::setlocale(LC_NUMERIC, "C");
  }
  ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
};

using Reads = std::pair<const char*, double>;

void ExpectCplx(const TCplx& z, double re, double im, const std::string& text) {
  EXPECT_EQ(z.Re, re) << text;
  EXPECT_EQ(z.Im, im) << text;
}

TEST(StrToFloat, StrictGrammar) {
  const Reads good[] = {{" \t42 ", 42.0}, {"+.5", 0.5}, {"5.", 5.0}, {"-1.25E-2", -0.0125}, {"0.000123e+3", 0.123}};
  for (const auto& [text, want] : good) EXPECT_EQ(StrToFloat(text), want) << text;
  EXPECT_TRUE(std::signbit(StrToFloat("-0")));
  for (const std::string bad : {"", " ", "+", "-", ".", "e5", "1e", "1e+", "--1", "+-1", "1..2", "0x10",
                                "nan", "inf", "1 2", "1,000", "1e5.5", "\xEF\xBC\x91"}) {
    double x = 99.0;
    EXPECT_FALSE(TryStrToFloat(bad, x)) << bad;
    EXPECT_EQ(x, 99.0) << bad;
  }
  EXPECT_THAT([] { StrToFloat("abc"); },
              ThrowsMessage<EConvertError>(StrEq("'abc' is not a valid floating point value")));
  // A range of a longer text is read up to its own end and no further.
  const std::string_view longer = "1.5e3x";
  EXPECT_EQ(StrToFloat(longer.substr(0, 5)), 1500.0);
  EXPECT_EQ(StrToFloat(longer.substr(0, 3)), 1.5);
  EXPECT_THAT([&] { StrToFloat(longer.substr(0, 4)); },
              ThrowsMessage<EConvertError>(StrEq("'1.5e' is not a valid floating point value")));
}

TEST(StrToFloat, CorrectlyRoundedAtTheEdges) {
  const Reads edges[] = {
      {"1.7976931348623158e308", 1.7976931348623157e308},  // below the halfway point
      {"1.7976931348623159e308", INF}, {"-1e400", -INF}, {"3e-324", 5e-324}, {"2e-324", 0.0},
      {"1e-999999999999", 0.0}, {"0e999999999999", 0.0}, {"1e00000000000000000000000000003", 1000.0}};
  for (const auto& [text, want] : edges) EXPECT_EQ(StrToFloat(text), want) << text;
  // 1 + 2^-53 exactly is a tie and goes to even; one far-away non-zero digit breaks the tie.
  const std::string tie = "1.00000000000000011102230246251565404236316680908203125";
  EXPECT_EQ(StrToFloat(tie), 1.0);
  EXPECT_EQ(StrToFloat(tie + std::string(2000, '0') + "1"), std::nextafter(1.0, 2.0));
  // Long mantissas whose exponent brings them back into range.
  EXPECT_EQ(StrToFloat(std::string(10000, '1') + "e-9990"), 1111111111.1111111);
  EXPECT_EQ(StrToFloat("0." + std::string(9999, '0') + "15e10000"), 1.5);
}

TEST(StrToVal, WordsAndSeparators) {
  EXPECT_TRUE(std::isnan(StrToVal("nan")));
  EXPECT_TRUE(std::signbit(StrToVal("-NaN")));
  // Words in any case, blanks around, a comma separator; the words anywhere, "-" anywhere.
  const Reads good[] = {{"-Inf", -INF}, {"Infinity", INF}, {"1,25", 1.25}, {" 1,25\t", 1.25}, {" iNf ", INF}};
  for (const auto& [text, want] : good) EXPECT_EQ(StrToVal(text), want) << text;
  EXPECT_EQ(StrToSample("-3,5e1"), -35.0);
  EXPECT_EQ(StrToVal(std::string_view("1,25,", 4)), 1.25);  // the range, not the text behind it
  EXPECT_TRUE(std::isnan(StrToVal("value: nAn")) && std::signbit(StrToVal("nan-")));
  EXPECT_THROW(StrToVal(std::string_view("nan", 2)), EConvertError);
  for (const std::string bad : {""s, "abc"s, "1,000.5"s, "1.2.3"s, "--1"s, "e5"s, "1e"s, "1\0"s, "\xC3\xA9"s})
    EXPECT_THROW(StrToVal(bad), EConvertError) << bad;
  EXPECT_THAT([] { StrToVal("1,x"); },  // the text as given, not as repaired
              ThrowsMessage<EConvertError>(StrEq("'1,x' is not a valid floating point value")));
}

TEST(StrToVal, CommaLocale) {
  const CommaLocale locale;
  if (!locale.active) GTEST_SKIP() << "no locale with a comma decimal separator is installed";
  EXPECT_EQ(StrToVal("1,25"), 1.25);
  EXPECT_EQ(StrToVal("1.25"), 1.25);  // repaired
  EXPECT_FALSE([] { double x; return TryStrToFloat("1.25", x); }());
  EXPECT_EQ(SampleToStr(1.5, 15, 0), "1,5");
  EXPECT_EQ(SampleToStr(1.5e20, 15, 2), "1,5E+20");
  EXPECT_EQ(CplxToStr({1.5, -2.5}), "1,5-2,5i");
  EXPECT_EQ(FormatSample("0.00", 1.5), "1,50");
  EXPECT_EQ(FormatSample("#,##0.00", 1234.5), std::string("1") + std::localeconv()->thousands_sep + "234,50");
  EXPECT_EQ(StrToCplx("1,5-2,5i"), (TCplx{1.5, -2.5}));
}

TEST(StrToCplx, Forms) {
  const struct { const char* text; double re, im; } rows[] = {
      {"3-4i", 3, -4}, {"-i", 0, -1}, {"+i", 0, 1}, {"2i", 0, 2}, {"1e-3+2i", 0.001, 2}, {"1+i", 1, 1}, {"5", 5, 0},
      {"1E+5-2E-3i", 1e5, -0.002}, {"i", 0, 1}, {"-2.5e+3i", 0, -2500}, {" +3i", 0, 3}, {"1-ijunk", 1, -1},
      {"1.5+2,5i", 1.5, 2.5},
  };
  for (const auto& r : rows) ExpectCplx(StrToCplx(r.text), r.re, r.im, r.text);
  for (const std::string bad : {"", "x+i", "1+xi", " i", "j", "1+2j"})
    EXPECT_THROW(StrToCplx(bad), EConvertError) << bad;
}

TEST(CplxToStr, Forms) {
  const struct { TCplx z; int digits; const char* text; } rows[] = {
      {{1, 2}, 0, "1+2i"}, {{1, -1}, 0, "1-i"}, {{0, 1}, 0, "i"}, {{3, 0}, 0, "3"}, {{0, -1}, 0, "-i"},
      {{2, -3}, 0, "2-3i"}, {{0, 0}, 0, "0"}, {{0, 2.5}, 0, "2.5i"}, {{1e20, 0.5}, 2, "1E+20+0.5i"},
      {{-1e-20, -2.5e30}, 0, "-1E-20-2.5E+30i"}, {{NaN, 0}, 0, "NAN"}, {{1, -INF}, 0, "1-INFi"},
      {{1, NaN}, 0, "1+NANi"}, {{3, -0.0}, 0, "3"}, {{1.0 / 3, -2.0 / 3}, 0, "0.333333333333333-0.666666666666667i"},
  };
  for (const auto& r : rows) EXPECT_EQ(CplxToStr(r.z, r.digits), r.text);
}

TEST(FormatCplx, PartsWithoutAddedSign) {
  const std::string re = "0.00", im = "+0.00'i';-0.00'i'";
  const struct { TCplx z; std::string re, im; const char* text; } rows[] = {
      {{1, 2}, re, im, "1.00+2.00i"}, {{1, -2}, re, im, "1.00-2.00i"}, {{0, 2}, re, im, "+2.00i"},
      {{3, 0}, re, im, "3.00"},       {{1, 2}, "0", "0", "12"},  // deliberately nothing in between
      {{1, -1}, "", im, "1-i"},       {{1, -1}, re, "", "1-i"}};
  for (const auto& r : rows) EXPECT_EQ(FormatCplx(r.z, r.re, r.im), r.text) << r.re << " " << r.im;
  EXPECT_EQ(FormatSample(2.5, "0.0"), "2.5");
}

TEST(OffsetPos, Search) {
  const struct { std::string sub, text; int offset, pos; } rows[] = {
      {"b", "abcb", 1, 2}, {"b", "abcb", 3, 4}, {"cb", "abcb", 3, 3}, {"b", "abcb", 5, 0}, {"", "abc", 1, 0},
      {"\0"s, "a\0b"s, 1, 2}};
  for (const auto& r : rows) EXPECT_EQ(OffsetPos(r.sub, r.text, r.offset), r.pos) << r.sub << " " << r.offset;
  for (int offset : {0, -5})
    EXPECT_THAT([=] { OffsetPos("b", "abc", offset); }, ThrowsMessage<EQuorelException>(StrEq("Offset < 1")));
}

TEST(Extract, SkipsEmptyFieldsStopsAtTheEndAndLeavesPosAtAFieldThatFails) {
  const std::string line = "1+i;;2";
  int pos = 1;
  for (auto [re, im, after] : {std::tuple{1.0, 1.0, 5}, {2.0, 0.0, 7}, {0.0, 0.0, 7}}) {  // the last past the end
    ExpectCplx(ExtractCplx(line, pos, ";"), re, im, "field ending at " + std::to_string(after));
    EXPECT_EQ(pos, after);
  }
  pos = 1;
  for (TCplx want : {TCplx{0, -1}, TCplx{3, 0}, TCplx{0, 4}})
    ExpectCplx(ExtractCplx("-i<>3<><>4i", pos, "<>"), want.Re, want.Im, "multi-byte delimiter");
  pos = 1;
  ExpectCplx(ExtractCplx("1-2i", pos, ""), 1, -2, "no delimiter reads the rest");
  EXPECT_EQ(pos, 5);
  pos = 0;
  EXPECT_THROW(ExtractCplx(line, pos, ";"), EQuorelException);
  // Reals: past the end 0, and a failed read keeps Pos.
  const std::string reals = ";1.5;2,5;;-3;";
  pos = 1;
  std::vector<double> got(4);
  for (double& v : got) v = ExtractSample(reals, pos, ";");
  EXPECT_EQ(got, (std::vector<double>{1.5, 2.5, -3.0, 0.0}));  // the last past the end
  EXPECT_EQ(pos, static_cast<int>(reals.size()) + 1);

  pos = 1;
  EXPECT_EQ(ExtractSample("1 x 2", pos, " "), 1.0);
  EXPECT_THROW(ExtractSample("1 x 2", pos, " "), EConvertError);
  EXPECT_EQ(pos, 3);  // unchanged by the failed read
  pos = 1;
  EXPECT_THROW(ExtractSample(";x;3", pos, ";"), EConvertError);
  EXPECT_EQ(pos, 2);  // past the skipped delimiter, at the field that failed
  pos = 1;
  EXPECT_EQ(ExtractSample("", pos, ";"), 0.0);
  EXPECT_EQ(pos, 1);
}

}  // namespace
}  // namespace quorel
