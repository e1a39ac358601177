// Values of vectors and matrices as text lines and back, and column counting.
#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/io/text_values.h"

namespace quorel {
namespace {
using test::MessageOf;

// Shortest texts of doubles are unique, so text -> values -> text returning the same lines means
// every value was read and written exactly.
const TStringList kRealLines{"0.1", "-0.3333333333333333", "5E-324", "1E+300", "-INF", "NAN"};
const TStringList kCplxLines{"1+2i", "1-i", "i", "-i", "3", "1E-300-2.5E-10i", "-0.5+INFi"};

TEST(TextValues, VectorsRoundTripThroughShortestText) {
  for (bool complex : {false, true}) {
    const TStringList& text = complex ? kCplxLines : kRealLines;
    TVec v;
    v.Size(0, complex);
    StringsToValues(v, text);
    TStringList back;
    ValuesToStrings(v, back);
    EXPECT_EQ(back, text);
    EXPECT_EQ(v.Values()[0], complex ? 1 : 0.1);
  }
}

TEST(TextValues, VectorPatternsRangesAndIntegers) {
  TVec v = test::Cplx({{1, 2}, {0, -3}, {-4, 0}});
  TStringList lines{"header"};
  v.ValuesToStrings(lines, " 0.0;-0.0", "+0.0i;-0.0i", 1, -1);  // members and free functions alike
  EXPECT_EQ(lines, (TStringList{"header", "-3.0i", "-4.0"}));  // appended

  v.SetDouble(std::initializer_list<double>{1, 2, 3, 4});
  v.StringsToValues(TStringList{"skip", "7", "8"}, 1, 2, -1);
  EXPECT_EQ(std::vector<double>(v.Values().begin(), v.Values().end()), (std::vector<double>{1, 2, 7, 8}));

  TVec ints;  // integer storage prints and parses as integers
  v.FloatToInt(ints, rnRound);
  lines.clear();
  ValuesToStrings(ints, lines, " 0.00;-0.00", "");
  EXPECT_EQ(lines, (TStringList{"1", "2", "7", "8"}));
  StringsToValues(ints, TStringList{"2.5", "-7", "1e12"});  // rounded to nearest, saturated
  EXPECT_EQ(std::vector<std::int32_t>(ints.IValues().begin(), ints.IValues().end()),
            (std::vector<std::int32_t>{2, -7, 2147483647}));
}

TEST(TextValues, VectorErrorsLeaveVectorAlone) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{1, 2, 3});
  TStringList lines;
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(v, lines, 2, 2); }), "Index + Len > fLength");
  const TStringList two{"4", "x"};
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, two, 0, 2, 2); }), "(Index + Len) > fLength");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { StringsToValues(v, two, 1, 0, 2); }),
            "ListIndex + Len > AList.Count");
  EXPECT_EQ(MessageOf<EConvertError>([&] { StringsToValues(v, two); }), "'x' is not a valid floating point value");
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{1, 2, 3}));
}

TEST(TextValues, MatricesRoundTripAndFormatBlocks) {
  for (bool complex : {false, true}) {
    const TStringList text = complex ? TStringList{"1+2i\t-i", "3\t1E-10+3i", "0\t-1E+300"}
                                     : TStringList{"0.1\t-2.5", "5E-324\t1E+300", "7\t0"};
    TMtx m;
    m.Size(0, 0, complex);
    StringsToValues(m, text, "\t");
    EXPECT_TRUE(m.Rows() == 3 && m.Cols() == 2);
    TStringList back;
    ValuesToStrings(m, back, "\t");
    EXPECT_EQ(back, text);
  }
  TMtx c(2, 3, true);
  c.CValues(1, 1) = {1, -2};
  c.CValues(1, 2) = {0, 0.5};
  TStringList lines;
  c.ValuesToStrings(lines, "\t", " 0.00;-0.00", "+0.00i;-0.00i", 1, 1, 1, 2);
  EXPECT_EQ(lines, TStringList{" 1.00-2.00i\t+0.50i"});
  c.StringsToValues(lines, "\t");  // the report's text reads back
  EXPECT_TRUE(c.CValues(0, 0) == (TCplx{1, -2}) && c.CValues(0, 1) == (TCplx{0, 0.5}));
}

TEST(TextValues, MatrixErrorsLeaveMatrixAlone) {
  TMtx m(2, 3);
  m.Values(1, 2) = 9;
  TStringList lines;
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(m, lines, "\t", "", "", 1, 0, 2, 3); }),
            "TMtx.ValuesToStrings: (Row + RowCount) > FRows");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { ValuesToStrings(m, lines, "\t", 0, 2, 1, 2); }),
            "TMtx.ValuesToStrings: (Col + ColCount) > FCols");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { StringsToValues(m, TStringList{"1\t2", "3"}, "\t"); }),
            "TMtx.StringsToValues: line 1 has 1 columns, not 2");
  EXPECT_EQ(MessageOf<EConvertError>([&] { StringsToValues(m, TStringList{"1\t2", "3\tx"}, "\t"); }),
            "'x' is not a valid floating point value");
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(m.Cols(), 3);
  EXPECT_EQ(m.Values(1, 2), 9);
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
