#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

TEST(SparseTriplets, ThresholdAppliesPerTripletBeforeDuplicatesAreSummed) {
  const TIntegerArray r{0, 1, 1, 0}, c{0, 0, 0, 1};
  const TDoubleArray v{0, 5, -5, 1e-20};
  TSparseMtx a;
  a.TripletsToSparse(2, 2, r, c, v, 1e-10);
  // (0,0) kept as diagonal, (1,0) summed to an explicit zero, (0,1) dropped.
  EXPECT_EQ(a.NonZeros(), 2);
  EXPECT_THAT(std::vector<int>(a.Ap().begin(), a.Ap().end()), ::testing::ElementsAre(0, 2, 2));
  EXPECT_THAT(std::vector<int>(a.Ai().begin(), a.Ai().end()), ::testing::ElementsAre(0, 1));
  EXPECT_THAT(a.Values(), ::testing::ElementsAre(0.0, 0.0));

  TSparseMtx b;
  b.SetDontStripZeros(true);
  b.TripletsToSparse(2, 2, r, c, v, 1e-10);
  EXPECT_EQ(b.NonZeros(), 3);
  EXPECT_EQ(b.GetValue(0, 1), 1e-20);
  // Keeping small entries does not keep a small diagonal value: it becomes an exact zero.
  b.TripletsToSparse(2, 2, TIntegerArray{0, 1, 1}, TIntegerArray{0, 1, 0}, TDoubleArray{1e-20, 3, 1e-20}, 1e-10);
  EXPECT_EQ(b.GetValue(0, 0), 0.0);
  EXPECT_EQ(b.GetValue(1, 1), 3.0);
  EXPECT_EQ(b.GetValue(1, 0), 1e-20);
}

TEST(SparseTriplets, RowsAscendWithinColumnsAndDuplicatesSum) {
  // Input deliberately out of order, with duplicates in different rows.
  const TIntegerArray r{3, 0, 2, 3, 1, 0}, c{1, 1, 0, 1, 1, 2};
  const TDoubleArray v{1, 2, 3, 4, 5, 6};
  TSparseMtx a;
  a.TripletsToSparse(4, 3, r, c, v);
  EXPECT_THAT(std::vector<int>(a.Ap().begin(), a.Ap().end()), ::testing::ElementsAre(0, 1, 4, 5));
  EXPECT_THAT(std::vector<int>(a.Ai().begin(), a.Ai().end()), ::testing::ElementsAre(2, 0, 1, 3, 0));
  EXPECT_EQ(a.GetValue(3, 0), 0.0);  // below the column's last stored row

  TIntegerArray rr, cc;
  TDoubleArray vv;
  a.SparseToTriplets(rr, cc, vv);
  EXPECT_THAT(cc, ::testing::ElementsAre(0, 1, 1, 1, 2));
  EXPECT_THAT(vv, ::testing::ElementsAre(3, 2, 5, 5, 6));
}

TEST(SparseTriplets, RefusalsLeaveTheMatrixUnchanged) {
  using I = TIntegerArray;
  using D = TDoubleArray;
  TSparseMtx a;
  a.TripletsToSparse(2, 2, I{0, 1}, I{0, 1}, D{1, 2});
  ExpectMessages<EQuorelException>({
      {[&] { a.TripletsToSparse(0, 2, I{0}, I{0}, D{1}); }, "(RowCount <= 0) or (ColCount <= 0)"},
      {[&] { a.TripletsToSparse(2, 2, I{0}, I{0, 1}, D{1}); }, "(Length(Row) <> Length(Column))"},
      {[&] { a.TripletsToSparse(2, 2, I{}, I{}, D{}); }, "Length(Row) <= 0"},
      {[&] { a.TripletsToSparse(2, 2, I{0, 2}, I{0, 0}, D{1, 1}); }, "Invalid triplet!"},
      {[&] { a.TripletsToSparse(2, 2, I{0, -1}, I{0, 0}, D{1, 1}); }, "Invalid triplet!"},
      {[&] { a.TripletsToSparse(2, 2, TMtx(2, 3)); }, "Triplets.Rows <> 3"},
  });
  EXPECT_EQ((std::array{a.Rows(), a.NonZeros()}), (std::array{2, 2}));
  EXPECT_EQ(a.GetValue(1, 1), 2.0);
}

// A few triplets in a matrix far larger than their count take another route through the
// conversion; the result must be the one a small matrix gets, down to the order of the sums.
TEST(SparseTriplets, FewTripletsInAHugeMatrixBuildAsInASmallOne) {
  std::mt19937 gen(11);
  std::uniform_int_distribution<int> index(0, 5);
  std::uniform_real_distribution<double> value(-1, 1);
  TIntegerArray r, c;
  TDoubleArray v;
  TCplxArray cv;
  for (int k = 0; k < 300; ++k) {
    r.push_back(index(gen));
    c.push_back(index(gen));
    // Some tiny values, on and off the diagonal, and duplicates whose sum depends on the order.
    const double x = k % 7 == 0 ? 1e-20 : k % 11 == 0 ? 1e16 * (k % 2 ? 1 : -1) : value(gen);
    v.push_back(x);
    cv.push_back(TCplx{x, value(gen)});
  }
  const int huge = 300'000;
  auto same = [&](const TSparseMtx& small, const TSparseMtx& big) {
    ASSERT_EQ((std::array{big.Rows(), big.Cols(), big.NonZeros()}), (std::array{huge, huge, small.NonZeros()}));
    EXPECT_TRUE(std::equal(small.Ap().begin(), small.Ap().end(), big.Ap().begin()));
    EXPECT_EQ(big.Ap().back(), small.NonZeros());
    EXPECT_TRUE(std::equal(small.Ai().begin(), small.Ai().end(), big.Ai().begin()));
    EXPECT_TRUE(std::equal(small.Values().begin(), small.Values().end(), big.Values().begin()));
  };
  for (const bool keepAll : {false, true}) {
    TSparseMtx small, big;
    small.SetDontStripZeros(keepAll);
    big.SetDontStripZeros(keepAll);
    small.TripletsToSparse(6, 6, r, c, v, 1e-10);
    big.TripletsToSparse(huge, huge, r, c, v, 1e-10);
    same(small, big);
    small.TripletsToSparse(6, 6, r, c, cv, 1e-10);
    big.TripletsToSparse(huge, huge, r, c, cv, 1e-10);
    EXPECT_TRUE(big.Complex());
    same(small, big);
  }
  TSparseMtx big;
  big.TripletsToSparse(huge, huge, TIntegerArray{0}, TIntegerArray{0}, TDoubleArray{1});
  EXPECT_RAISES(big.TripletsToSparse(huge, huge, TIntegerArray{0, huge}, TIntegerArray{0, 0}, TDoubleArray{1, 1}),
                "Invalid triplet!");
  EXPECT_EQ(big.NonZeros(), 1);
  big.TripletsToSparse(huge, 1, TIntegerArray{huge - 1}, TIntegerArray{0}, TDoubleArray{1e-20}, 1e-10);
  EXPECT_EQ((std::array{big.Rows(), big.Cols(), big.NonZeros()}), (std::array{huge, 1, 0}));
}

TEST(SparseTriplets, MatrixFormsRoundTripRealAndComplex) {
  TSparseMtx a, b;
  RandomPattern(a, 7, 5, 0.3, true, 3);
  TMtx t;
  a.SparseToTriplets(t, false);
  EXPECT_TRUE(t.Complex());
  EXPECT_EQ(t.Rows(), 3);
  b.TripletsToSparse(7, 5, t);
  EXPECT_TRUE(b.Equal(a));

  a.SparseToTriplets(t, true);
  EXPECT_FALSE(t.Complex());
  EXPECT_EQ((std::array{t.Rows(), t.Cols()}), (std::array{4, a.NonZeros()}));
  EXPECT_EQ(t.Values(3, 0), a.CValues()[0].Im);

  TDoubleArray re;
  TIntegerArray r, c;
  EXPECT_RAISES(a.SparseToTriplets(r, c, re), "Complex = True");
  TSparseMtx real;
  RandomPattern(real, 4, 4, 0.5, false, 4);
  TCplxArray cv;
  EXPECT_RAISES(real.SparseToTriplets(r, c, cv), "Not complex!");
}

TEST(SparseElementWrites, FlushTakesTheExtentsWrittenAndReadsWaitForIt) {
  TSparseMtx a;
  a.SetValue(2, 3, 1);
  EXPECT_EQ(a.PendingCount(), 1);
  EXPECT_RAISES(a.GetValue(0, 0), "Call TripletsToSparseAndFlush first!");
  TSparseMtx b;
  EXPECT_RAISES(b.Mul(a, a), "Call TripletsToSparseAndFlush first!");
  a.TripletsToSparseAndFlush();
  EXPECT_EQ((std::array{a.Rows(), a.Cols(), a.NonZeros(), a.PendingCount()}), (std::array{3, 4, 1, 0}));
  EXPECT_EQ(a.GetValue(2, 3), 1.0);

  // Beyond the first buffer, with repeated positions summed.
  for (int k = 0; k < 3000; ++k) a.SetValue(k % 50, k % 7, 1.0);
  a.TripletsToSparseAndFlush();
  EXPECT_EQ((std::array{a.Rows(), a.Cols()}), (std::array{50, 7}));
  EXPECT_EQ(std::accumulate(a.Values().begin(), a.Values().end(), 0.0), 3000.0);

  EXPECT_RAISES(a.GetValue(0, 7), "ACol > (FCols-1)");
  EXPECT_RAISES(a.GetValue(50, 0), "ARow > (FRows-1)");
  EXPECT_EQ(a.GetValue(-1, 0), 0.0);
  EXPECT_RAISES(a.GetMtxCValue(0, 0), "not Complex");
  EXPECT_RAISES(a.SetMtxCValue(0, 0, TCplx{1, 0}), "not Complex");
}

TEST(SparseElementWrites, ComplexWritesAndReads) {
  TSparseMtx a;
  a.set_Complex(true);
  EXPECT_RAISES(a.SetValue(0, 0, 1), "Complex = True");
  a.SetMtxCValue(1, 0, {1, 2});
  a.SetMtxCValue(1, 0, {3, -1});
  a.TripletsToSparseAndFlush();
  EXPECT_TRUE(a.Complex());
  EXPECT_EQ(a.GetMtxCValue(1, 0), (TCplx{4, 1}));
  EXPECT_RAISES(a.GetValue(1, 0), "Complex = True");
}

TEST(SparseConversions, DenseAndBandedRoundTrips) {
  const TMtx d = RealMtx(3, 4, {1, 0, 2, 0, 0, 0, 0, 1e-12, 5, 0, -3, 0});
  TSparseMtx a;
  a.DenseToSparse(d, 1e-10);
  // The diagonal is stored even where zero; 1e-12 falls under the threshold.
  EXPECT_EQ(a.NonZeros(), 5);
  TMtx back;
  a.SparseToDense(back);
  EXPECT_EQ(Doubles(back), (std::vector<double>{1, 0, 2, 0, 0, 0, 0, 0, 5, 0, -3, 0}));
  EXPECT_RAISES(a.SparseToDense(back, 11), "MaxElemCount reached!");

  TSparseMtx t;
  Poisson2D(t, 4);
  TMtx band;
  t.SparseToBanded(band);
  EXPECT_EQ((std::array{band.SuperDiag(), band.SubDiag()}), (std::array{4, 4}));
  TSparseMtx u;
  u.SetDontStripZeros(false);
  u.BandedToSparse(band);
  EXPECT_TRUE(u.Equal(t));
  EXPECT_RAISES(t.SparseToBanded(band, 100), "(SuperDiag+SubDiag)*Cols > MaxElemCount");
}

// Split and AddSplit give the matrix back; a lower triangle made structurally symmetric gains
// every mirror, several to a column, as explicit zeros.
TEST(SparseStructure, SplitRoundTripAndSymmetricPattern) {
  TSparseMtx sq, lower, upper, sum, tri, t;
  RandomPattern(sq, 8, 8, 0.4, false, 12);
  TVec diag;
  sq.Split(lower, diag, upper);
  sum.AddSplit(lower, diag, upper);
  EXPECT_EQ(Dense(sq), Dense(sum));

  tri.LowerTriangle(sq);
  const auto lowerValues = Dense(tri);
  const int lowerCount = tri.NonZeros();
  tri.StructurizeSymmetric();
  // Every stored (i, j) has a stored (j, i): the transpose has the same pattern.
  t.Transp(tri);
  EXPECT_TRUE(std::equal(t.Ap().begin(), t.Ap().end(), tri.Ap().begin(), tri.Ap().end()));
  EXPECT_TRUE(std::equal(t.Ai().begin(), t.Ai().end(), tri.Ai().begin(), tri.Ai().end()));
  EXPECT_EQ(Dense(tri), lowerValues);
  EXPECT_GT(tri.NonZeros(), lowerCount);
}

// A transpose writes into Self's arrays (into scratch first when Self is the source): once they
// are large enough it allocates nothing.
TEST(SparseStructure, TransposeInPlaceAndRepeatedWithoutAllocation) {
  for (bool complex : {false, true}) {
    TSparseMtx a, t, self;
    RandomPattern(a, 40, 70, 0.1, complex, 21);
    self.Copy(a);
    self.Transp();
    t.Transp(a);
    const auto da = Dense(a), ds = Dense(self);
    for (int i = 0; i < 40; ++i)
      for (int j = 0; j < 70; ++j) ASSERT_EQ(da[i][j], ds[j][i]);
    EXPECT_TRUE(self.Equal(t));
    self.Transp();
    EXPECT_TRUE(self.Equal(a));
    if (!AllocationCounting()) continue;
    EXPECT_EQ(AllocationsDuring([&] { t.Transp(a); }), 0) << complex;
    EXPECT_EQ(AllocationsDuring([&] { self.Transp(); }), 0) << complex;
    EXPECT_TRUE(t.Equal(self));
  }
}

TEST(SparseStructure, ComplexSwitchConvertsValuesNotStorage) {
  TSparseMtx a;
  a.TripletsToSparse(3, 3, TIntegerArray{0, 2, 1}, TIntegerArray{0, 0, 2}, TDoubleArray{1, 2, 3});
  a.set_Complex(true);
  EXPECT_EQ(a.NonZeros(), 3);
  EXPECT_EQ(a.GetMtxCValue(2, 0), (TCplx{2, 0}));
  a.set_Complex(false);
  EXPECT_EQ(a.GetValue(1, 2), 3.0);
}

TEST(SparseStructure, DivideElemRandomSparseAndDownSample) {
  TSparseMtx a, b;
  RandomPattern(a, 5, 5, 0.5, false, 21);
  b.Copy(a);
  a.DivideElem(b);
  for (double x : a.Values()) EXPECT_DOUBLE_EQ(x, 1.0);

  TSparseMtx r;
  r.RandomSparse(100, 80, 500, 1000, 7);
  EXPECT_EQ(r.Rows(), 100);
  EXPECT_LE(r.NonZeros(), 500);
  EXPECT_GE(r.NonZeros(), 400);
  EXPECT_RAISES(r.RandomSparse(10, 10, 50, 20), "Random sparse: MaxNonZeroCount reached!");

  TSparseMtx p, s;
  Poisson2D(p, 4);
  s.PixelDownSample(p, 4);
  EXPECT_EQ(s.Rows(), 4);
  // Each row of the Laplacian sums to 4 - (neighbours); the block sums add whole rows up.
  EXPECT_DOUBLE_EQ(std::accumulate(s.Values().begin(), s.Values().end(), 0.0),
                   std::accumulate(p.Values().begin(), p.Values().end(), 0.0));
}

// Structure operations carry every stored value: a NaN (the mark of an upstream error) stays a
// NaN, on or off the diagonal.
TEST(SparseStructure, StructureOperationsKeepEveryStoredValue) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  TSparseMtx a;
  // [[NaN, 1, 0], [NaN, 0, 0], [0, 2, NaN]]
  a.TripletsToSparse(3, 3, TIntegerArray{0, 1, 0, 1, 2, 2}, TIntegerArray{0, 0, 1, 1, 1, 2},
                     TDoubleArray{1, 1, 1, 1, 2, 1});
  a.Values()[0] = a.Values()[1] = a.Values()[5] = nan;
  a.Values()[3] = 0.0;
  // Every stored position of A that `kept` accepts, with its value.
  auto expectKept = [&](const TSparseMtx& m, auto kept, const char* what) {
    SCOPED_TRACE(what);
    int count = 0;
    for (int j = 0; j < 3; ++j)
      for (int k = a.Ap()[j]; k < a.Ap()[j + 1]; ++k) {
        const int i = a.Ai()[k];
        if (!kept(i, j)) continue;
        ++count;
        const double got = m.GetValue(i, j), want = a.Values()[k];
        EXPECT_TRUE(std::isnan(want) ? std::isnan(got) : got == want) << i << "," << j << ": " << got;
      }
    EXPECT_GE(m.NonZeros(), count);
  };
  TSparseMtx s, lo, up, split_lo, split_up, down;
  s.Copy(a).StructurizeSymmetric();
  expectKept(s, [](int, int) { return true; }, "StructurizeSymmetric");
  EXPECT_EQ(s.GetValue(1, 2), 0.0);  // the mirror of (2, 1) added as an explicit zero
  EXPECT_EQ(s.NonZeros(), 7);
  lo.LowerTriangle(a);
  expectKept(lo, [](int i, int j) { return i >= j; }, "LowerTriangle");
  EXPECT_EQ(lo.NonZeros(), 5);
  up.UpperTriangle(a);
  expectKept(up, [](int i, int j) { return i <= j; }, "UpperTriangle");
  EXPECT_EQ(up.NonZeros(), 4);
  TVec diag;
  a.Split(split_lo, diag, split_up);
  expectKept(split_lo, [](int i, int j) { return i > j; }, "Split lower");
  expectKept(split_up, [](int i, int j) { return i < j; }, "Split upper");
  EXPECT_EQ(split_lo.NonZeros() + split_up.NonZeros(), 3);
  down.PixelDownSample(a, 1);
  expectKept(down, [](int, int) { return true; }, "PixelDownSample");
  EXPECT_EQ(down.NonZeros(), 6);
  down.PixelDownSample(a, 2);
  EXPECT_TRUE(std::isnan(down.GetValue(0, 0)));
  EXPECT_TRUE(std::isnan(down.GetValue(1, 1)));
}

// While a sub-range of the values is active, the column pointers do not describe them: every
// method that reads or rebuilds the pattern refuses, and leaves its operands as they were;
// element-wise methods on the stored values go on working.
TEST(SparseStructure, SubRangeRefusesStructuralMethods) {
  TSparseMtx a, other;
  a.TripletsToSparse(2, 2, TIntegerArray{0, 1, 0}, TIntegerArray{0, 0, 1}, TDoubleArray{1, 2, 3});  // [[1,3],[2,0]]
  other.Copy(a);
  a.SetSubRange(1, 2);
  TVec x = Real({1, 1}), b;
  TMtx d;
  TSparseMtx out;
  const char* msg = "IsSubRange = True!";
  EXPECT_RAISES(a.MulRight(x), msg);
  EXPECT_EQ(x[0], 1.0);
  EXPECT_RAISES(a.MulLeft(x), msg);
  EXPECT_RAISES(a.GetValue(0, 1), msg);
  EXPECT_RAISES(a.SparseToDense(d), msg);
  EXPECT_RAISES(a.Diag(x), msg);
  EXPECT_RAISES(a.Max(), msg);
  EXPECT_RAISES(out.Transp(a), msg);
  EXPECT_RAISES(out.Mul(other, a), msg);
  EXPECT_RAISES(out.Add(a, other), msg);
  EXPECT_RAISES(out.Copy(a), msg);
  EXPECT_RAISES(out.LowerTriangle(a), msg);
  EXPECT_RAISES((void)a.Equal(other), msg);
  b.Copy(x);
  for (TSparseSolver solver : {ssIterative, ssUmfPack, ssPardiso, ssTaucs}) {
    a.SparseSolver = solver;
    EXPECT_RAISES(a.Solve(b, x, mtGeneral), msg) << int(solver);
  }
  // Rebuilding a matrix under its own sub-range is refused too.
  EXPECT_RAISES(a.TripletsToSparse(2, 2, TIntegerArray{0}, TIntegerArray{0}, TDoubleArray{5}), msg);
  EXPECT_RAISES(a.Copy(other), msg);
  // The stored values 2 and 3 are the view.
  a.Scale(10.0);
  a.SetFullRange();
  EXPECT_EQ(std::vector<double>(a.Values().begin(), a.Values().end()), (std::vector<double>{1, 20, 30}));
  a.MulRight(x);
  EXPECT_EQ(x[0], 31.0);
  EXPECT_EQ(x[1], 20.0);
}

TEST(SparseReductions, ImplicitZerosCount) {
  TSparseMtx a;
  a.TripletsToSparse(2, 2, TIntegerArray{0, 1, 0, 1}, TIntegerArray{0, 0, 1, 1}, TDoubleArray{1, 2, 3, 4});
  // Every position stored: the 0 still takes part in Min.
  EXPECT_EQ(a.Min(), 0.0);
  EXPECT_EQ(a.Max(), 4.0);
  TSparseMtx b;
  b.TripletsToSparse(2, 5, TIntegerArray{0, 1}, TIntegerArray{0, 3}, TDoubleArray{-2, 6});
  EXPECT_EQ(b.Max(), 6.0);
  EXPECT_EQ(b.Min(), -2.0);
  EXPECT_DOUBLE_EQ(b.Mean(), 0.4);
  EXPECT_DOUBLE_EQ(b.RMS(), std::sqrt(40.0 / 10.0));
}

}  // namespace
}  // namespace quorel::test
