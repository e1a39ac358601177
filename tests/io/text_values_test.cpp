// Values of vectors and matrices as text lines and back, and column counting.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation_counter.h"
#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/text.h"
#include "quorel/io/text_values.h"

namespace quorel {
namespace {
using test::MessageOf;

// Shortest texts of doubles are unique, so text -> values -> text returning the same lines means
// every value was read and written exactly. A matrix takes the lines in pairs as its rows.
const TStringList kRealLines{"0.1", "-0.3333333333333333", "5E-324", "1E+300", "-INF", "NAN", "7", "0"};
const TStringList kCplxLines{"1+2i", "1-i", "i", "-i", "3", "1E-300-2.5E-10i", "-0.5+INFi", "0"};

TEST(TextValues, VectorsAndMatricesRoundTripThroughShortestText) {
  for (bool complex : {false, true}) {
    const TStringList& text = complex ? kCplxLines : kRealLines;
    TVec v;
    v.Size(0, complex);
    StringsToValues(v, text);
    TStringList back;
    ValuesToStrings(v, back);
    EXPECT_EQ(back, text);
    EXPECT_EQ(v.Values()[0], complex ? 1 : 0.1);
    TStringList rows;
    for (std::size_t i = 0; i < text.size(); i += 2) rows.push_back(text[i] + "\t" + text[i + 1]);
    TMtx m;
    m.Size(0, 0, complex);
    StringsToValues(m, rows, "\t");
    EXPECT_TRUE(m.Rows() == 4 && m.Cols() == 2);
    back.clear();
    ValuesToStrings(m, back, "\t");
    EXPECT_EQ(back, rows);
  }
}

TEST(TextValues, PatternsRangesAndIntegers) {
  TVec v = test::Cplx({{1, 2}, {0, -3}, {-4, 0}});
  TStringList lines{"header"};
  v.ValuesToStrings(lines, " 0.0;-0.0", "+0.0i;-0.0i", 1, -1);  // members and free functions alike
  EXPECT_EQ(lines, (TStringList{"header", "-3.0i", "-4.0"}));  // appended

  v.SetDouble(std::initializer_list<double>{1, 2, 3, 4});
  v.StringsToValues(TStringList{"skip", "7", "8"}, 1, 2, -1);
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{1, 2, 7, 8}));

  TVec ints;  // integer storage prints and parses as integers
  v.FloatToInt(ints, rnRound);
  lines.clear();
  ValuesToStrings(ints, lines, " 0.00;-0.00", "");
  EXPECT_EQ(lines, (TStringList{"1", "2", "7", "8"}));
  StringsToValues(ints, TStringList{"2.5", "-7", "1e12"});  // rounded to nearest, saturated
  EXPECT_EQ(test::Ints(ints), (std::vector<int>{2, -7, 2147483647}));

  TMtx c(2, 3, true);
  c.CValues(1, 1) = {1, -2};
  c.CValues(1, 2) = {0, 0.5};
  lines.clear();
  c.ValuesToStrings(lines, "\t", " 0.00;-0.00", "+0.00i;-0.00i", 1, 1, 1, 2);
  EXPECT_EQ(lines, TStringList{" 1.00-2.00i\t+0.50i"});
  c.StringsToValues(lines, "\t");  // the report's text reads back
  EXPECT_TRUE(c.CValues(0, 0) == (TCplx{1, -2}) && c.CValues(0, 1) == (TCplx{0, 0.5}));
}

TEST(TextValues, ErrorsLeaveTheObjectAlone) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1, 2, 3});
  TMtx m(2, 3);
  m.Values(1, 2) = 9;
  TStringList lines;
  const TStringList two{"4", "x"};
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { ValuesToStrings(v, lines, 2, 2); }, "Index + Len > fLength"},
      {[&] { StringsToValues(v, two, 0, 2, 2); }, "(Index + Len) > fLength"},
      {[&] { StringsToValues(v, two, 1, 0, 2); }, "ListIndex + Len > AList.Count"},
      {[&] { ValuesToStrings(m, lines, "\t", "", "", 1, 0, 2, 3); }, "TMtx.ValuesToStrings: (Row + RowCount) > FRows"},
      {[&] { ValuesToStrings(m, lines, "\t", 0, 2, 1, 2); }, "TMtx.ValuesToStrings: (Col + ColCount) > FCols"},
  });
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { StringsToValues(m, TStringList{"1\t2", "3"}, "\t"); }),
            "TMtx.StringsToValues: line 1 has 1 columns, not 2");
  test::ExpectMessages<EConvertError>({
      {[&] { StringsToValues(v, two); }, "'x' is not a valid floating point value"},
      {[&] { StringsToValues(m, TStringList{"1\t2", "3\tx"}, "\t"); }, "'x' is not a valid floating point value"},
  });
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(std::pair(m.Cols(), m.Values(1, 2)), std::pair(3, 9.0));
}

// Random doubles of every magnitude, with zeros and specials among them.
double RandomDouble(std::mt19937_64& rng) {
  switch (rng() % 4) {
    case 0: return std::bit_cast<double>(rng());
    case 1: return (rng() % 2 ? -1.0 : 1.0) * std::ldexp(static_cast<double>(rng() >> 11), -53) *
                   std::pow(10.0, static_cast<int>(rng() % 41) - 20);
    case 2: return (static_cast<double>(rng() % 2001) - 1000.0) / 8.0;
    default: {
      const double special[] = {0.0, -0.0, NaN, INF, -INF, 5e-324, 0.1, -2.675};
      return special[rng() % 8];
    }
  }
}

// Equal bits; any NaN matches any NaN, and zeros match whatever their sign (texts write "0").
bool SameDouble(double a, double b) {
  if (std::isnan(a) || a == 0) return std::isnan(a) ? std::isnan(b) : b == 0;
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

TEST(TextValues, RandomValuesThroughEveryFormat) {
  std::mt19937_64 rng(4242);
  const int n = 3000;
  TVec re(n), cx(n, true);
  for (int k = 0; k < n; ++k) {
    re[k] = RandomDouble(rng);
    *cx.PCValues(k) = {RandomDouble(rng), k % 5 == 0 ? 0.0 : RandomDouble(rng)};
  }
  TMtx m(n / 10, 10), mc(n / 10, 10, true);
  std::ranges::copy(re.Values(), m.PValues1D(0));
  std::ranges::copy(cx.Values(), mc.PValues1D(0));
  // Exact texts are those of the general format at 17 digits and read back to the same bits.
  const auto expectSame = [](const TQuorel& back, const TQuorel& want, const TStringList& lines) {
    const auto got = test::Doubles(back), values = test::Doubles(want);
    ASSERT_EQ(got.size(), values.size());
    const std::size_t perLine = values.size() / lines.size();
    for (std::size_t i = 0; i < values.size(); ++i) ASSERT_TRUE(SameDouble(got[i], values[i])) << lines[i / perLine];
  };
  for (const TVec* v : {&re, &cx}) {
    TStringList lines;
    ValuesToStrings(*v, lines);
    TVec back;
    back.Size(0, v->Complex());
    StringsToValues(back, lines);
    expectSame(back, *v, lines);
    for (int k = 0; k < n && !v->Complex(); ++k) ASSERT_EQ(lines[k], SampleToStr(re[k], 17, 0));
  }
  for (const TMtx* a : {&m, &mc}) {
    TStringList lines;
    ValuesToStrings(*a, lines, "; ");
    TMtx back;
    back.Size(0, 0, a->Complex());
    StringsToValues(back, lines, "; ");
    ASSERT_TRUE(back.Rows() == a->Rows() && back.Cols() == 10);
    expectSame(back, *a, lines);
  }
  // Patterns: every line is the one-value formatter's text, byte for byte, and reads back as the
  // C library reads it.
  const std::string imFormat = "+0.0000i;-0.0000i";
  for (const std::string& format : {std::string(" 0.0000;-0.0000"), std::string("0.000"),
                                    "0." + std::string(17, '0'), std::string("0.00E+00;(0.00E+00)"),
                                    std::string("#,##0.##;;'zero'"), std::string("0.00##E-0")}) {
    const bool readable = format.find_first_of("(,'") == std::string::npos;
    TStringList lines;
    ValuesToStrings(re, lines, format, imFormat);
    ValuesToStrings(cx, lines, format, imFormat);
    ASSERT_EQ(static_cast<int>(lines.size()), 2 * n);
    TStringList rows;
    ValuesToStrings(mc, rows, "\t", format, imFormat);
    for (int k = 0; k < n; ++k) {
      ASSERT_EQ(lines[k], FormatSample(format, re[k])) << format;
      const TCplx z = *cx.PCValues(k);
      const std::string cplx = z.Im == 0   ? FormatSample(format, z.Re)
                               : z.Re == 0 ? FormatSample(imFormat, z.Im)
                                           : FormatSample(format, z.Re) + FormatSample(imFormat, z.Im);
      ASSERT_EQ(lines[n + k], cplx) << format;
      if (k % 10 == 0) ASSERT_EQ(rows[k / 10].substr(0, cplx.size() + 1), cplx + "\t") << format;
      if (readable) ASSERT_TRUE(SameDouble(StrToVal(lines[k]), std::strtod(lines[k].c_str(), nullptr))) << lines[k];
    }
    if (readable) {
      TVec back;
      back.Size(0, false);
      StringsToValues(back, TStringList(lines.begin(), lines.begin() + n));
      for (int k = 0; k < n; ++k) ASSERT_TRUE(SameDouble(back[k], StrToVal(lines[k])));
    }
  }
}

TEST(TextValues, ConversionsAllocateOnlyTheTextsTheyKeep) {
  if (!test::AllocationCounting()) GTEST_SKIP() << "the sanitizer owns the allocator";
  const auto allocations = [](const std::function<void()>& f) {
    f();  // warms the object cache and the list's capacity
    return test::AllocationsDuring(f);
  };
  const int n = 1000;
  TVec v(n), c(n, true);
  v.Ramp(0.1, 0.0137);  // exact texts of up to 19 characters, pattern texts of 5
  for (int k = 0; k < n; ++k) *c.PCValues(k) = {std::sin(0.37 * k), std::cos(1.1 * k)};
  TMtx m(n / 10, 10);
  std::ranges::copy(v.Values(), m.PValues1D(0));
  TStringList lines;
  lines.reserve(n);
  // Short texts live in the strings themselves: nothing is allocated at all.
  EXPECT_EQ(allocations([&] { lines.clear(); ValuesToStrings(v, lines, "0.000", "0.000"); }), 0);
  EXPECT_EQ(allocations([&] { lines.clear(); ValuesToStrings(c, lines, " 0.00;-0.00", "+0.00i;-0.00i"); }), 0);
  // Exact texts: the long lines themselves, and the call's one buffer.
  TStringList exact, cexact, mlines;
  ValuesToStrings(v, exact);
  ValuesToStrings(c, cexact);
  ValuesToStrings(m, mlines, ";");
  long longLines = 0;
  for (const std::string& line : exact) longLines += line.size() > 15;
  ASSERT_GT(longLines, n / 10);
  EXPECT_LE(allocations([&] { lines.clear(); ValuesToStrings(v, lines); }), longLines + 1);
  // Reading back, long texts included, allocates nothing.
  TVec back(n), cback(n, true);
  TMtx mback;
  EXPECT_EQ(allocations([&] { back.StringsToValues(exact); }), 0);
  EXPECT_EQ(allocations([&] { cback.StringsToValues(cexact); }), 0);
  EXPECT_EQ(allocations([&] { mback.StringsToValues(mlines, ";"); }), 0);
  EXPECT_EQ(test::Doubles(back), test::Doubles(v));
  EXPECT_EQ(test::Doubles(mback), test::Doubles(m));
}

TEST(TextValues, ColumnsSplitLikeTheLineReader) {
  EXPECT_EQ(SplitColumns("1\t\t2\t", "\t"), (TStringList{"1", "2"}));
  EXPECT_EQ(SplitColumns("  1  2", " "), (TStringList{"1", "2"}));
  EXPECT_EQ(SplitColumns("1 2", ""), TStringList{"1 2"});
  const TStringList list{"a;;b;c", ""};
  EXPECT_EQ(ColumnCount(list, 0, ";"), 3);
  EXPECT_EQ(ColumnCount(list, 1, ";"), 0);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ColumnCount(list, 2, ";"); }), "Row > AList.Count-1");
}

}  // namespace
}  // namespace quorel
