// Vector values as text lines and back, column counting, and the storage precision table.
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "objects/text_test_util.h"
#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/objects/text_values.h"
#include "quorel/objects/vec.h"

namespace quorel {
namespace {

using test::MessageOf;

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(TextValues, ShortestTextRoundTripsRealVectorsBitForBit) {
  const double values[] = {0.1, 1.0 / 3.0, -2.675, 1e300, -1e-300, 5e-324, 123456789012345678.0,
                           std::nextafter(1.0, 2.0), INF, -INF, 0.0};
  TVec v;
  v.SetDouble(values);
  TStringList lines;
  ValuesToStrings(v, lines);
  ASSERT_EQ(lines.size(), std::size(values));
  EXPECT_EQ(lines[0], "0.1");  // shortest, not 17 digits
  EXPECT_EQ(lines[2], "-2.675");
  TVec back;
  StringsToValues(back, lines);
  ASSERT_EQ(back.Length(), v.Length());
  EXPECT_FALSE(back.Complex());
  for (std::int32_t i = 0; i < v.Length(); ++i) EXPECT_TRUE(SameBits(back[i], v[i])) << lines[i];

  v.SetDouble(std::initializer_list<double>{NaN});
  lines.clear();
  ValuesToStrings(v, lines);
  StringsToValues(back, lines);
  EXPECT_TRUE(std::isnan(back[0]));
}

TEST(TextValues, ShortestTextRoundTripsComplexVectors) {
  const TCplx values[] = {{1, 2}, {1, -1}, {0, 1}, {0, -1}, {3, 0}, {0, -2.5e-10}, {1e-300, -2.5e-10},
                          {-0.1, 1e300}, {-0.5, INF}, {2, -INF}, {0, 0}};
  TVec v;
  v.SetCplx(values);
  TStringList lines;
  ValuesToStrings(v, lines);
  EXPECT_EQ((TStringList{lines[0], lines[1], lines[2], lines[3], lines[4]}),
            (TStringList{"1+2i", "1-i", "i", "-i", "3"}));
  TVec back;
  back.Size(0, true);
  StringsToValues(back, lines);
  ASSERT_EQ(back.Length(), v.Length());
  for (std::int32_t i = 0; i < v.Length(); ++i) EXPECT_EQ(*back.PCValues(i), values[i]) << lines[i];
}

TEST(TextValues, PatternsFormatRealAndComplexLines) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1.5, -0.25});
  TStringList lines{"header"};
  ValuesToStrings(v, lines, " 0.00;-0.00", "+0.00i;-0.00i");
  EXPECT_EQ(lines, (TStringList{"header", " 1.50", "-0.25"}));  // appended after what was there

  v.SetCplx({{1, 2}, {0, -3}, {-4, 0}});
  lines.clear();
  ValuesToStrings(v, lines, " 0.0;-0.0", "+0.0i;-0.0i");
  EXPECT_EQ(lines, (TStringList{" 1.0+2.0i", "-3.0i", "-4.0"}));
  // The report's patterns read back through the complex parser.
  TVec back;
  back.Size(3, true);
  StringsToValues(back, lines, 0, 0, 3);
  EXPECT_EQ(*back.PCValues(0), (TCplx{1, 2}));
  EXPECT_EQ(*back.PCValues(1), (TCplx{0, -3}));

  // An empty pattern falls back to the general format with 15 digits.
  v.SetDouble(std::initializer_list<double>{0.1 + 0.2});
  lines.clear();
  ValuesToStrings(v, lines, "", "");
  EXPECT_EQ(lines, TStringList{"0.3"});
}

TEST(TextValues, RangesSelectElementsAndLines) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1, 2, 3, 4});
  TStringList lines;
  ValuesToStrings(v, lines, 1, 2);
  EXPECT_EQ(lines, (TStringList{"2", "3"}));
  lines.clear();
  ValuesToStrings(v, lines, 3, -1);
  EXPECT_EQ(lines, TStringList{"4"});
  lines.clear();
  ValuesToStrings(v, lines, 4, -1);  // an empty tail is no error
  EXPECT_TRUE(lines.empty());

  const TStringList src{"skip", "7", "8", "9"};
  StringsToValues(v, src, 1, 2, 2);
  EXPECT_EQ(v[0], 1);
  EXPECT_EQ(v[1], 2);
  EXPECT_EQ(v[2], 7);
  EXPECT_EQ(v[3], 8);
  StringsToValues(v, src, 2, 0, -1);  // Len -1: the rest of the list
  EXPECT_EQ(v[0], 8);
  EXPECT_EQ(v[1], 9);
  EXPECT_EQ(v[2], 7);
}

TEST(TextValues, RangeErrors) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1, 2, 3});
  TStringList lines;
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(v, lines, 2, 2); }), "Index + Len > fLength");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(v, lines, "", "", 1, 3); }),
            "Index + Len > fLength");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(v, lines, -1, 2); }),
            "Self params out of range: Index: -1, Len: 2, Length: 3");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(v, lines, 5, -1); }),
            "Self params out of range: Index: 5, Len: -2, Length: 3");
  EXPECT_TRUE(lines.empty());

  const TStringList src{"1", "2"};
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, src, 0, 2, 2); }), "(Index + Len) > fLength");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, src, 1, 0, 2); }),
            "ListIndex + Len > AList.Count");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, src, -1, 0, 1); }), "ListIndex < 0 (-1)");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, src, 3, 0, -1); }),
            "Self params out of range: Index: 0, Len: -1, Length: 3");
}

TEST(TextValues, BadLineRaisesAndLeavesVectorAlone) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1, 2, 3});
  EXPECT_EQ(MessageOf<EConvertError>([&] { StringsToValues(v, TStringList{"4", "abc", "6"}); }),
            "'abc' is not a valid floating point value");
  EXPECT_EQ(MessageOf<EConvertError>([&] { StringsToValues(v, TStringList{"4", ""}, 0, 0, 2); }),
            "'' is not a valid floating point value");
  ASSERT_EQ(v.Length(), 3);
  EXPECT_EQ(v[0], 1);
  EXPECT_EQ(v[1], 2);

  v.Size(2, true);
  EXPECT_EQ(MessageOf<EConvertError>([&] { StringsToValues(v, TStringList{"1+2i", "1+xi"}); }),
            "'+x' is not a valid floating point value");
  EXPECT_EQ(v.Length(), 2);
  EXPECT_TRUE(v.Complex());
}

TEST(TextValues, IntegerVectorsPrintAndParseIntegers) {
  TVec real, idx;
  real.SetDouble(std::initializer_list<double>{-3.0, 0.0, 2147483647.0});
  real.FloatToInt(idx, rnRound);
  TStringList lines;
  ValuesToStrings(idx, lines, " 0.00;-0.00", "");
  EXPECT_EQ(lines, (TStringList{"-3", "0", "2147483647"}));

  StringsToValues(idx, TStringList{"2.5", "-7", "1e12", "4"});  // rounded to nearest, saturated
  ASSERT_EQ(idx.Length(), 4);
  EXPECT_TRUE(idx.IsInteger());
  EXPECT_EQ(*idx.PIValues(0), 2);
  EXPECT_EQ(*idx.PIValues(1), -7);
  EXPECT_EQ(*idx.PIValues(2), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(*idx.PIValues(3), 4);
}

TEST(TextValues, HostileLinesRaiseConversionErrorsOnly) {
  const TStringList hostile{std::string(100000, '9'), "1e99999999999999999999", "--1", "i", "ii", "+i-",
                            std::string("1\0 2", 4), "1,5.5", "0x10", "-", "E5", "1e", "nan(123)", "\xff\xfe"};
  std::mt19937 gen(12345);
  TStringList random;
  for (int k = 0; k < 300; ++k) {
    std::string s(gen() % 12, ' ');
    for (char& c : s) c = "0123456789+-.,eEiInNfF \t"[gen() % 24];
    random.push_back(s);
  }
  for (bool complex : {false, true}) {
    for (const TStringList* set : {&hostile, static_cast<const TStringList*>(&random)}) {
      for (const std::string& line : *set) {
        TVec v;
        v.Size(1, complex);
        try {
          StringsToValues(v, TStringList{line});
        } catch (const EConvertError&) {
        }
        EXPECT_EQ(v.Length(), 1);
      }
    }
  }
}

TEST(TextValues, ColumnsSplitLikeTheLineReader) {
  EXPECT_EQ(SplitColumns("1\t\t2\t", "\t"), (TStringList{"1", "2"}));
  EXPECT_EQ(SplitColumns("  1  2 3", " "), (TStringList{"1", "2", "3"}));
  EXPECT_EQ(SplitColumns("a;;b", ";;"), (TStringList{"a", "b"}));
  EXPECT_EQ(SplitColumns("1 2", ""), TStringList{"1 2"});
  EXPECT_TRUE(SplitColumns("", "\t").empty());
  EXPECT_TRUE(SplitColumns("\t\t", "\t").empty());

  const TStringList list{"1\t2\t3", ""};
  EXPECT_EQ(ColumnCount(list, 0, "\t"), 3);
  EXPECT_EQ(ColumnCount(list, 1, "\t"), 0);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ColumnCount(list, 2, "\t"); }), "Row > AList.Count-1");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ColumnCount(list, -1, "\t"); }), "Row < 0 (-1)");
}

TEST(TextValues, PrecisionSizesAndNames) {
  EXPECT_EQ(SizeOfPrecision(prDouble, false), 8);
  EXPECT_EQ(SizeOfPrecision(prDouble, true), 16);
  EXPECT_EQ(SizeOfPrecision(prInt24, true), 6);
  EXPECT_EQ(SizeOfPrecision(prALaw, false), 1);
  EXPECT_EQ(SizeOfPrecision(static_cast<TPrecision>(11), false), 0);
  EXPECT_EQ(PrecisionToStr(prCardinal), "unsigned integer, 4 bytes");
  EXPECT_EQ(PrecisionToStr(prShortInt), "integer, 1 byte");
  EXPECT_EQ(PrecisionToStr(prMuLaw), "MuLaw integer, 1 byte");
  EXPECT_EQ(PrecisionToStr(static_cast<TPrecision>(200)), "");
}

}  // namespace
}  // namespace quorel
