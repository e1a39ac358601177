#include "sparse_test_util.h"

namespace quorel::test {
namespace {

// 3 x 3 with entries (0,0) 4, (2,0) 9, (1,1) 16, (0,2) 25.
void Pattern(TSparseMtx& a, double scale = 1) {
  a.TripletsToSparse(3, 3, TIntegerArray{0, 2, 1, 0}, TIntegerArray{0, 0, 1, 2},
                     TDoubleArray{4 * scale, 9 * scale, 16 * scale, 25 * scale});
}

std::vector<int> Rows(const TSparseMtx& a) { return {a.Ai().begin(), a.Ai().end()}; }

TEST(SparseElementwise, UnaryAndScalarMethodsWorkOnTheStoredValuesAndChain) {
  TSparseMtx a;
  Pattern(a);
  TSparseMtx& r = a.Sqrt().Scale(2.0).Offset(1.0);
  EXPECT_EQ(&r, &a);
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(5, 7, 9, 11));
  EXPECT_THAT(Rows(a), ::testing::ElementsAre(0, 2, 1, 0));
  EXPECT_EQ(a.GetValue(1, 0), 0.0);  // implicit zeros stay implicit

  // A range form addresses the value array.
  a.Scale(0.0, 1, 2);
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(5, 0, 0, 11));
}

TEST(SparseElementwise, QuickFillsDrawTheStoredValuesFromTheMatrixSeed) {
  // The same sequence as a vector of the stored length with the same seed, continued across calls.
  TSparseMtx a;
  Pattern(a);
  TVec v(4, false);
  a.RandUniform(77u, -1, 1);
  v.RandUniform(77u, -1, 1);
  EXPECT_THAT(a.Values(), ::testing::ElementsAreArray(v.PValues(0), 4));
  a.RandGauss(2, 3);
  v.RandGauss(2, 3);
  EXPECT_THAT(a.Values(), ::testing::ElementsAreArray(v.PValues(0), 4));
  EXPECT_EQ(a.RandSeed(), v.RandSeed());
  EXPECT_THAT(Rows(a), ::testing::ElementsAre(0, 2, 1, 0));
  EXPECT_THROW(a.RandGauss(0u, 0, 1), EQuorelException);
  EXPECT_EQ(a.RandSeed(), v.RandSeed());
}

TEST(SparseElementwise, ComplexToRealKeepsThePattern) {
  TSparseMtx a;
  a.TripletsToSparse(2, 2, TIntegerArray{0, 1}, TIntegerArray{0, 1}, TCplxArray{{3, 4}, {0, -2}});
  a.Abs();
  EXPECT_FALSE(a.Complex());
  EXPECT_EQ(a.NonZeros(), 2);
  EXPECT_EQ(a.GetValue(0, 0), 5.0);
  EXPECT_EQ(a.GetValue(1, 1), 2.0);

  a.Mul(TCplx{0, 1});
  EXPECT_TRUE(a.Complex());
  EXPECT_TRUE(Near(a.GetMtxCValue(1, 1), {0, 2}, 0));
}

TEST(SparseElementwise, ASourceGivesSelfItsPattern) {
  TSparseMtx a, b;
  Pattern(a);
  b.TripletsToSparse(5, 5, TIntegerArray{4}, TIntegerArray{4}, TDoubleArray{7});
  b.Power(a, 0.5);  // parametric, source of another pattern
  EXPECT_EQ(b.Rows(), 3);
  EXPECT_TRUE(b.Equal(TSparseMtx().Copy(a).Sqrt()));
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(4, 9, 16, 25));

  TSparseMtx c;
  c.Copy(a).ThreshTop(10.0);
  EXPECT_THAT(c.Values(), ::testing::ElementsAre(4, 9, 10, 10));
}

TEST(SparseElementwise, MembersWithShapesOfTheirOwnTakeStoredValuesToo) {
  TSparseMtx a, b, t, f;
  Pattern(a);
  Pattern(b, 0.5);
  a.SetVal(1.5, 1, 2);
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(4, 1.5, 1.5, 25));
  a.AddProduct(b, b);  // Self + b * b on the values: 4 + 4, 1.5 + 20.25, ...
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(8, 21.75, 65.5, 181.25));
  a.Normalize(b, 2.0, 0.5);  // (b - 2) / 0.5
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(0, 5, 12, 21));
  a.ArcTan2(b, b);
  EXPECT_NEAR(a.Values()[3], std::atan(1.0), 1e-15);
  b.Offset(0.25).TruncAndFrac(t, f);  // outputs take b's pattern
  EXPECT_THAT(t.Values(), ::testing::ElementsAre(2, 4, 8, 12));
  EXPECT_THAT(f.Values(), ::testing::ElementsAre(0.25, 0.75, 0.25, 0.75));
  EXPECT_THAT(Rows(f), ::testing::ElementsAre(0, 2, 1, 0));
  t.ExtendToComplex(true);
  EXPECT_TRUE(t.Complex());
  EXPECT_EQ(t.NonZeros(), 4);
}

TEST(SparseElementwise, BinaryFormsNeedTheSamePattern) {
  TSparseMtx a, b, other;
  Pattern(a);
  Pattern(b, 2);
  a.Mul(b);  // element-wise with one operand
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(32, 162, 512, 1250));
  TSparseMtx q;
  q.Divide(a, b);
  EXPECT_THAT(q.Values(), ::testing::ElementsAre(4, 9, 16, 25));

  // Same number of entries, different rows: refused with the usual length message, A unchanged.
  other.TripletsToSparse(3, 3, TIntegerArray{0, 1, 1, 2}, TIntegerArray{0, 0, 1, 2}, TDoubleArray{1, 1, 1, 1});
  EXPECT_RAISES(a.Add(other), "TQuorel.Add: Vec.Length <> Length");
  EXPECT_RAISES(q.Divide(a, other), "Num.Length <> Den.Length");
  a.SetConditionCheck(false);
  EXPECT_RAISES(a.Add(other), "Sparse operands differ in pattern!");
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(32, 162, 512, 1250));
  EXPECT_THAT(Rows(a), ::testing::ElementsAre(0, 2, 1, 0));
  EXPECT_THAT(q.Values(), ::testing::ElementsAre(4, 9, 16, 25));

  // With two sparse operands Mul stays the matrix product.
  TSparseMtx p;
  p.Mul(b, b);
  EXPECT_EQ(p.GetValue(0, 0), 8.0 * 8.0 + 50.0 * 18.0);
}

}  // namespace
}  // namespace quorel::test
