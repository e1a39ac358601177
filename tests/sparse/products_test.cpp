#include <array>

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

using Dn = std::vector<std::vector<TCplx>>;

Dn DenseMul(const Dn& a, const Dn& b) {
  Dn c(a.size(), std::vector<TCplx>(b[0].size(), TCplx{0, 0}));
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t k = 0; k < b.size(); ++k)
      for (std::size_t j = 0; j < b[0].size(); ++j) {
        c[i][j].Re += a[i][k].Re * b[k][j].Re - a[i][k].Im * b[k][j].Im;
        c[i][j].Im += a[i][k].Re * b[k][j].Im + a[i][k].Im * b[k][j].Re;
      }
  return c;
}

void ExpectNear(const Dn& a, const Dn& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < a[i].size(); ++j) EXPECT_TRUE(Near(a[i][j], b[i][j], 1e-12)) << i << "," << j;
}

TEST(SparseProducts, MulMatchesDenseForEveryMixOfRealAndComplex) {
  for (bool cb : {false, true})
    for (bool cc : {false, true}) {
      TSparseMtx b, c, p;
      RandomPattern(b, 9, 7, 0.3, cb, 1);
      RandomPattern(c, 7, 6, 0.3, cc, 2);
      p.Mul(b, c);
      EXPECT_EQ(p.Complex(), cb || cc);
      EXPECT_EQ((std::array{p.Rows(), p.Cols()}), (std::array{9, 6}));
      ExpectNear(Dense(p), DenseMul(Dense(b), Dense(c)));
    }
}

TEST(SparseProducts, MulKeepsRowsInOrderOfFirstAppearanceAndAliasesSafely) {
  // Column 0 of C picks column 0 of B (row 3) then column 1 of B (row 1).
  TSparseMtx b, c, p;
  b.TripletsToSparse(4, 2, TIntegerArray{3, 1}, TIntegerArray{0, 1}, TDoubleArray{2, 5});
  c.TripletsToSparse(2, 1, TIntegerArray{0, 1}, TIntegerArray{0, 0}, TDoubleArray{1, 1});
  p.Mul(b, c);
  EXPECT_THAT(std::vector<int>(p.Ai().begin(), p.Ai().end()), ::testing::ElementsAre(3, 1));

  TSparseMtx a, expected;
  RandomPattern(a, 6, 6, 0.4, false, 5);
  expected.Mul(a, a);
  a.Mul(a, a);
  EXPECT_TRUE(a.Equal(expected));
  EXPECT_RAISES(p.Mul(c, c), "B.Rows <> C.Cols");
}

TEST(SparseProducts, GrowthIsBoundedByMaxNonZeroCount) {
  TSparseMtx b, c, p;
  RandomPattern(b, 30, 30, 0.2, false, 8);
  RandomPattern(c, 30, 30, 0.2, false, 9);
  p.Mul(b, c);
  const int full = p.NonZeros();
  ASSERT_GT(full, b.NonZeros() + c.NonZeros());
  EXPECT_RAISES(p.Mul(b, c, b.NonZeros() + c.NonZeros()), "Sparse matrix multiply: MaxNonZeroCount reached!");
  EXPECT_EQ(p.NonZeros(), full);  // unchanged by the refusal
  TSparseMtx q;
  q.Mul(b, c, 4 * (b.NonZeros() + c.NonZeros()));
  EXPECT_TRUE(q.Equal(p));
}

TEST(SparseProducts, AddAndSubMergeColumns) {
  TSparseMtx a, b, s, d;
  RandomPattern(a, 8, 5, 0.3, false, 31);
  RandomPattern(b, 8, 5, 0.3, true, 32);
  s.Add(a, b);
  d.Sub(a, b);
  auto da = Dense(a), db = Dense(b), ds = Dense(s), dd = Dense(d);
  for (int i = 0; i < 8; ++i)
    for (int j = 0; j < 5; ++j) {
      EXPECT_TRUE(Near(ds[i][j], {da[i][j].Re + db[i][j].Re, da[i][j].Im + db[i][j].Im}, 1e-15));
      EXPECT_TRUE(Near(dd[i][j], {da[i][j].Re - db[i][j].Re, da[i][j].Im - db[i][j].Im}, 1e-15));
    }
  TSparseMtx wrong;
  RandomPattern(wrong, 5, 8, 0.3, false, 33);
  EXPECT_RAISES(s.Add(a, wrong), "(A.Rows <> B.Rows) or (A.Cols <> B.Cols)");
  EXPECT_RAISES(s.Add(a, a, a.NonZeros() - 1), "Sparse matrix add: MaxNonZeroCount reached!");
}

/// A vector as a column (or a row), a matrix as it is, in the dense reference form.
Dn AsDn(const TVec& v, bool row = false) {
  Dn d(row ? 1 : v.Length(), std::vector<TCplx>(row ? v.Length() : 1));
  for (int k = 0; k < v.Length(); ++k) (row ? d[0][k] : d[k][0]) = v.Complex() ? v.CValues()[k] : TCplx{v[k], 0};
  return d;
}
Dn AsDn(const TMtx& m) {
  Dn d(m.Rows(), std::vector<TCplx>(m.Cols()));
  for (int i = 0; i < m.Rows(); ++i)
    for (int j = 0; j < m.Cols(); ++j) d[i][j] = m.Complex() ? m.CValues(i, j) : TCplx{m.Values(i, j), 0};
  return d;
}

TEST(SparseProducts, DenseOperands) {
  for (bool complex : {false, true}) {
    TSparseMtx a;
    RandomPattern(a, 6, 4, 0.5, complex, 41);
    const Dn da = Dense(a);
    TVec x(4, complex);
    for (std::size_t k = 0; k < x.Values().size(); ++k) x.Values()[k] = 0.5 * k - 1;
    const Dn y = DenseMul(da, AsDn(x));
    a.MulRight(x);
    ExpectNear(AsDn(x), y);
    // Row vector from the left: x' A.
    const Dn z = DenseMul(AsDn(x, true), da);
    a.MulLeft(x);
    ExpectNear(AsDn(x, true), z);

    TMtx m(4, 3, complex), mt;
    for (std::size_t k = 0; k < m.Values().size(); ++k) m.Values()[k] = std::sin(k + 1.0);
    const Dn am = DenseMul(da, AsDn(m));
    a.MulRight(m);
    ExpectNear(AsDn(m), am);
    // Rows of a 3 x 6 matrix times A.
    mt.Transp(m);
    const Dn ma = DenseMul(AsDn(mt), da);
    a.MulLeft(mt);
    ExpectNear(AsDn(mt), ma);

    TMtx d(6, 4, complex);
    std::fill(d.Values().begin(), d.Values().end(), 1.0);
    a.Add(d);
    Dn plus = da;
    for (auto& row : plus)
      for (auto& v : row) v = {v.Re + 1, v.Im + (complex ? 1 : 0)};
    ExpectNear(AsDn(d), plus);

    TVec wrong(5, complex);
    EXPECT_RAISES(a.MulRight(wrong), "x.Length <> FCols");
    EXPECT_RAISES(a.MulLeft(wrong), "X.Length <> FRows");
    wrong.Size(4, !complex);
    EXPECT_RAISES(a.MulRight(wrong), "X.Complex <> Complex");
    TMtx wm(5, 2, complex);
    EXPECT_RAISES(a.MulRight(wm), "Cols <> X.Rows");
    EXPECT_RAISES(a.Add(wm), "fRows <> Y.Rows");
  }
}

}  // namespace
}  // namespace quorel::test
