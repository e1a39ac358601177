// Matrix operations against hand-computed results and element-by-element references.
#include <algorithm>
#include <functional>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"

namespace quorel {
namespace {
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsNan;
using test::CplxMtx;
using test::Doubles;
using test::Numbered;
using test::Real;
using test::RealMtx;
using V = std::vector<double>;

TEST(MtxOps, TranspAndAdjungOfRaggedTiles) {
  for (bool complex : {false, true}) {
    const TMtx a = Numbered(37, 71, complex);  // odd both ways: every tile edge case
    TMtx t, h;
    t.Transp(a);
    h.Adjung(a);
    ASSERT_EQ(std::pair(t.Rows(), t.Cols()), std::pair(71, 37));
    int wrong = 0;
    for (int i = 0; i < 37; ++i)
      for (int j = 0; j < 71; ++j) {
        if (complex) {
          const TCplx z = a.CValues(i, j);
          wrong += !(t.CValues(j, i) == z) + !(h.CValues(j, i) == TCplx{z.Re, -z.Im});
        } else {
          wrong += (t.Values(j, i) != a.Values(i, j)) + (h.Values(j, i) != a.Values(i, j));
        }
      }
    EXPECT_EQ(wrong, 0) << "complex " << complex;
  }
  TMtx m = RealMtx(2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(Doubles(m.Transp()), (V{1, 4, 2, 5, 3, 6}));  // in place
}

TEST(MtxOps, FlipsRotationAndExchanges) {
  const TMtx a = RealMtx(2, 3, {1, 2, 3, 4, 5, 6});
  TMtx r;
  EXPECT_EQ(Doubles(r.FlipHor(a)), (V{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(Doubles(r.FlipVer(a)), (V{4, 5, 6, 1, 2, 3}));
  r.Rotate90(a);  // counter-clockwise
  EXPECT_EQ(r.Rows(), 3);
  EXPECT_EQ(Doubles(r), (V{3, 6, 2, 5, 1, 4}));
  // In place and complex: flipped then rotated back to a column in the original order.
  TMtx c = CplxMtx(1, 3, {{1, 1}, {2, 2}, {3, 3}});
  c.FlipHor().Rotate90();
  EXPECT_EQ(c.Rows(), 3);
  EXPECT_EQ(Doubles(c), (V{1, 1, 2, 2, 3, 3}));
  TMtx e = Numbered(3, 3, false);
  EXPECT_EQ(Doubles(e.RowExchange(0, 2).ColExchange(0, 1).FlipVer()), (V{1, 0, 2, 101, 100, 102, 201, 200, 202}));
}

TEST(MtxOps, ConcatSplitRoundTrip) {
  const TMtx a = Numbered(2, 3, true), b = Numbered(2, 1, true), c = Numbered(1, 3, true), d = Numbered(1, 1, true);
  TMtx m;
  m.Concat(2, 2, {&a, &b, &c, &d});
  ASSERT_EQ(std::pair(m.Rows(), m.Cols()), std::pair(3, 4));
  EXPECT_EQ(m.CValues(1, 3), b.CValues(1, 0));
  EXPECT_EQ(m.CValues(2, 2), c.CValues(0, 2));
  TMtx a2(2, 3), b2(2, 1), c2(1, 3), d2(1, 1);
  m.Split(2, 2, {&a2, &b2, &c2, &d2});  // real tiles become complex: twice the doubles
  const std::pair<const TMtx*, const TMtx*> tiles[] = {{&a2, &a}, {&b2, &b}, {&c2, &c}, {&d2, &d}};
  for (auto [got, want] : tiles) EXPECT_EQ(Doubles(*got), Doubles(*want));
  // A refused split leaves its tiles as they were: every check comes before a tile takes Self's kind.
  const TMtx r24 = Numbered(2, 4, false);
  TMtx t1 = Numbered(1, 2, true), t2 = Numbered(1, 2, true), view = Numbered(2, 2, true);
  view.SetSubRange(0, 2);  // a complex 1 x 2 row
  const V kept = Doubles(t1);
  EXPECT_EQ(test::MessageOf<EQuorelRangeError>([&] { r24.Split(3, 2, {&t1, &t2}); }),
            "TMtx.Concat: (ARows*ACols)<>Length(Src): (3*2) <> 2");
  EXPECT_EQ(test::MessageOf<EQuorelInvalidArgument>([&] { r24.Split(1, 2, {&t1, &t2}); }),
            "TMtx.Split: tiles do not cover Self");
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { Numbered(2, 2, false).Split(2, 1, {&t1, &view}); }),
            "IsSubRange = True!");
  for (const TMtx* t : {&t1, &t2}) {
    EXPECT_TRUE(t->Complex());
    EXPECT_EQ(Doubles(*t), kept);
  }
  TMtx h, v;
  const TMtx x = RealMtx(2, 1, {1, 2}), y = RealMtx(2, 2, {3, 4, 5, 6});
  EXPECT_EQ(Doubles(h.ConcatHorz({&x, &y})), (V{1, 3, 4, 2, 5, 6}));
  const TMtx z = RealMtx(1, 2, {7, 8}), w = RealMtx(2, 1, {0, -1});
  EXPECT_EQ(Doubles(v.ConcatVert({&y, &z})), (V{3, 4, 5, 6, 7, 8}));
  v.ConcatHorz(1, 1, {&w});
  EXPECT_EQ(Doubles(v), (V{3, 4, 5, 0, 7, -1}));
}

TEST(MtxOps, BlocksRowsColumnsAndDiagonals) {
  TMtx m(3, 4);  // sized matrices start zero
  m.Copy(Numbered(3, 3, false), 1, 1, 0, 2, 2, 2);
  EXPECT_EQ(Doubles(m), (V{0, 0, 101, 102, 0, 0, 201, 202, 0, 0, 0, 0}));
  const TVec r78 = Real({7, 8}), c56 = Real({5, 6}), six = Real({1, 2, 3, 4, 5, 6});
  m.SetRow(&r78, 0, 2, 0, 2).SetCol(&c56, 0, 1, 3, 2);
  EXPECT_EQ(Doubles(m), (V{0, 0, 101, 102, 0, 0, 201, 5, 7, 8, 0, 6}));
  m.Diag(Real({-1, -2}), 1).Diag(Real({-3}), -2);
  m.CopyVec(Real({9, 9, 9}), 1, 2, 3);  // storage order: wraps into the next row
  EXPECT_EQ(Doubles(m), (V{0, -1, 101, 9, 9, 0, -2, 5, -3, 8, 0, 6}));
  TMtx r;
  r.CopyVec(&six, 2);
  EXPECT_EQ(r.Cols(), 3);
  TMtx eye(2, 3, true);
  eye.Eye();
  EXPECT_EQ(Doubles(eye), (V{1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}));
}

TEST(MtxOps, Triangles) {
  const TMtx a = RealMtx(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  TMtx t;
  EXPECT_EQ(Doubles(t.LowerTriangle(a, true, true)), (V{1, 0, 0, 4, 5, 0, 7, 8, 9}));
  EXPECT_EQ(Doubles(t.UpperTriangle(a, true, false)), (V{0, 2, 3, 0, 0, 6, 0, 0, 0}));
  // Without zeroing the rest stays: the strict upper part of a over the lower part with diagonal.
  t.LowerTriangle(a, false, true);
  EXPECT_EQ(Doubles(t), (V{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(MtxOps, BandedRoundTrip) {
  // ku = 1, kl = 2 on a 5 x 5 matrix.
  TMtx a(5, 5);
  for (int i = 0; i < 5; ++i)
    for (int j = std::max(0, i - 2); j <= std::min(4, i + 1); ++j) a.Values(i, j) = 10 * (i + 1) + j + 1;
  int ku = -1, kl = -1;
  a.DiagonalsCount(ku, kl);
  EXPECT_EQ(std::pair(ku, kl), std::pair(1, 2));
  TMtx b;
  a.DenseToBanded(b);
  ASSERT_EQ(std::tuple(b.Rows(), b.Cols(), b.SuperDiag(), b.SubDiag()), std::tuple(4, 5, 1, 2));
  // Row k holds diagonal 1 - k, column j of the band is column j of A; unused corners are zero.
  EXPECT_EQ(Doubles(b), (V{0, 12, 23, 34, 45, 11, 22, 33, 44, 55, 21, 32, 43, 54, 0, 31, 42, 53, 0, 0}));
  TMtx back;
  back.BandedToDense(b);
  EXPECT_EQ(Doubles(back), Doubles(a));
  // A destination that cannot take the band's shape keeps its band widths too.
  TMtx rows(6, 5);
  rows.SetSubRange(0, 15);
  EXPECT_EQ(test::MessageOf<EQuorelException>([&] { a.DenseToBanded(rows); }), "IsSubRange = True!");
  EXPECT_EQ(std::pair(rows.SuperDiag(), rows.SubDiag()), std::pair(TMtx().SuperDiag(), TMtx().SubDiag()));
}

TEST(MtxOps, ProductsAndGeneratedMatrices) {
  TMtx k;
  k.Kron(RealMtx(1, 2, {1, 2}), RealMtx(2, 2, {0, 1, 1, 0}));
  EXPECT_EQ(Doubles(k), (V{0, 1, 0, 2, 1, 0, 2, 0}));
  k.Kron(CplxMtx(1, 1, {{0, 1}}), RealMtx(1, 2, {2, 3}));  // mixed kinds promote
  EXPECT_EQ(Doubles(k), (V{0, 2, 0, 3}));
  TMtx t;
  t.TensorProd(Real({1, 2}), Real({3, 4, 5})).AddTensorProd(Real({1, 0}), Real({1, 1, 1}));
  EXPECT_EQ(Doubles(t), (V{4, 5, 6, 6, 8, 10}));
  TMtx g;
  EXPECT_EQ(Doubles(g.VanderMonde(3, Real({2, 3}))), (V{4, 2, 1, 9, 3, 1}));
  EXPECT_EQ(Doubles(g.Pascl(4)), (V{1, 1, 1, 1, 1, 2, 3, 4, 1, 3, 6, 10, 1, 4, 10, 20}));
  EXPECT_EQ(Doubles(g.Toeplitz(Real({1, 2, 3}))), (V{1, 2, 3, 2, 1, 2, 3, 2, 1}));
  EXPECT_EQ(Doubles(g.Toeplitz(Real({1, 5, 6}), Real({1, 2}))), (V{1, 2, 5, 1, 6, 5}));
}

// A source that is Self reads Self as it was before the call, as a copy would. Calls that have an
// identity message raise it while ConditionCheck is on and leave Self as it was.
TEST(MtxOps, SelfAmongTheSources) {
  const TMtx a = RealMtx(2, 3, {1, 2, 3, 4, 5, 6}), q = RealMtx(3, 3, {-3, -2, 1, 6, 13, 22, 33, 46, 61});
  const TMtx b = RealMtx(2, 2, {7, -1, 0, 8}), col = RealMtx(3, 1, {2, 3, -1}), c = Numbered(2, 3, true);
  const TVec row = Real({1, 9, 8, 7}), two = Real({2});
  TMtx band;
  RealMtx(3, 3, {1, 0, 0, 11, 2, 0, 0, 12, 3}).DenseToBanded(band);
  using Call = std::function<void(TMtx&, const TMtx&)>;
  struct Case {
    const TMtx& init;
    Call call;
    const char* message;  // nullptr: Self must work whatever ConditionCheck says
  };
  const Case cases[] = {
      {a, [](TMtx& s, const TMtx& x) { s.Transp(x); }, "Mtx = Self"},
      {c, [](TMtx& s, const TMtx& x) { s.Adjung(x); }, "X = Self"},
      {a, [](TMtx& s, const TMtx& x) { s.FlipHor(x); }, "Self = SrcMtx"},
      {a, [](TMtx& s, const TMtx& x) { s.FlipVer(x); }, "Self = SrcMtx"},
      {a, [](TMtx& s, const TMtx& x) { s.Rotate90(x); }, "Mtx = Self"},
      {q, [](TMtx& s, const TMtx& x) { s.LowerTriangle(x, true, false); }, "TMtx.LowerTriangle: Mtx = Self"},
      {q, [](TMtx& s, const TMtx& x) { s.Copy(x, 0, 0, 1, 1, 2, 2); }, "Mtx = Self"},  // overlapping blocks
      {q, [](TMtx& s, const TMtx& x) { s.Copy(x, 1, 1, 0, 0, 2, 2); }, "Mtx = Self"},
      {q, [](TMtx& s, const TMtx& x) { s.UpperTriangle(x, true, false); }, nullptr},
      {a, [](TMtx& s, const TMtx& x) { s.ResizeAndTranspose(x, 4, 2); }, nullptr},
      {a, [&](TMtx& s, const TMtx& x) { s.Kron(x, b); }, nullptr},
      {a, [&](TMtx& s, const TMtx& x) { s.Kron(c, x); }, nullptr},  // Self promoted to complex
      {b, [](TMtx& s, const TMtx& x) { s.Kron(x, x); }, nullptr},
      {col, [&](TMtx& s, const TMtx& x) { s.TensorProd(row, x); }, nullptr},
      {col, [&](TMtx& s, const TMtx& x) { s.AddTensorProd(x, two); }, nullptr},
      {col, [](TMtx& s, const TMtx& x) { s.VanderMonde(4, x); }, nullptr},
      {col, [&](TMtx& s, const TMtx& x) { s.Toeplitz(x, row); }, nullptr},
      {band, [](TMtx& s, const TMtx& x) { s.BandedToDense(x); }, nullptr},
      {b, [&](TMtx& s, const TMtx& x) { s.ConcatHorz({&x, &b, &x}); }, nullptr},
      {b, [&](TMtx& s, const TMtx& x) { s.ConcatVert({&b, &x}); }, nullptr},
      {b, [&](TMtx& s, const TMtx& x) { s.Concat(2, 2, {&x, &b, &b, &x}); }, nullptr},
      {q, [](TMtx& s, const TMtx& x) { x.DenseToBanded(s); }, nullptr},
      {a, [](TMtx& s, const TMtx& x) {
         TMtx none(2, 0);
         x.Split(1, 2, {&none, &s});
       },
       nullptr},
  };
  for (std::size_t k = 0; k < std::size(cases); ++k)
    for (bool check : {true, false}) {
      const Case& t = cases[k];
      TMtx want(t.init), self(t.init);
      t.call(want, TMtx(t.init));
      self.SetConditionCheck(check);
      const std::string raised = test::MessageOf<EQuorelInvalidArgument>([&] { t.call(self, self); });
      SCOPED_TRACE(testing::Message() << "case " << k << ", ConditionCheck " << check);
      if (check && t.message) {
        EXPECT_EQ(raised, t.message);
        EXPECT_EQ(Doubles(self), Doubles(t.init));
        continue;
      }
      EXPECT_EQ(raised, "<no exception>");
      EXPECT_EQ(self.Rows(), want.Rows());
      EXPECT_EQ(Doubles(self), Doubles(want));
    }
}

TEST(MtxOps, ViewsOfRowsAmongTheSources) {
  // A vector over rows of Self (the pivot row of an elimination step) gives what a copy of those
  // rows gives, including when Self grows and its old storage is released.
  const TMtx square = RealMtx(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}), wide = RealMtx(2, 3, {1, 2, 3, 4, -5, 6});
  const TVec c = Real({1, -4, -7});
  using Call = std::function<void(TMtx&, const TVec& row0, const TVec& row1)>;
  struct Case {
    const char* name;
    const TMtx& init;
    Call call;
  };
  const Case cases[] = {
      {"AddTensorProd(c, row 0)", square, [&](TMtx& s, const TVec& r0, const TVec&) { s.AddTensorProd(c, r0); }},
      {"AddTensorProd(row 1, row 0)", square, [](TMtx& s, const TVec& r0, const TVec& r1) { s.AddTensorProd(r1, r0); }},
      {"TensorProd(row 0, row 1), growing", wide,
       [](TMtx& s, const TVec& r0, const TVec& r1) { s.TensorProd(r0, r1); }},
      {"SetCol(row 0, 2)", square, [](TMtx& s, const TVec& r0, const TVec&) { s.SetCol(&r0, 2); }},
      {"TensorProd(row 0, row 1)", square, [](TMtx& s, const TVec& r0, const TVec& r1) { s.TensorProd(r0, r1); }},
  };
  for (const Case& t : cases) {
    const std::int32_t n = t.init.Cols();
    TMtx want(t.init), self(t.init);
    TVec copy0, copy1, row0, row1;
    copy0.GetRow(t.init, 0);
    copy1.GetRow(t.init, 1);
    t.call(want, copy0, copy1);
    row0.SetSubRange(self, 0, n);
    row1.SetSubRange(self, n, n);
    t.call(self, row0, row1);
    EXPECT_EQ(self.Rows(), want.Rows()) << t.name;
    EXPECT_EQ(Doubles(self), Doubles(want)) << t.name;
  }
  // Reductions into a row of the matrix they read.
  const auto intoRow = [&](void (TMtx::*reduce)(TVec&) const, std::int32_t r) {
    TMtx m(square);
    TVec row;
    (m.*reduce)(row.SetSubRange(m, 3 * r, 3));
    return Doubles(m);
  };
  EXPECT_EQ(intoRow(&TMtx::MeanCols, 0), V({4, 5, 6, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(intoRow(&TMtx::SumRows, 1), V({1, 2, 3, 6, 15, 24, 7, 8, 9}));
}

TEST(MtxOps, ReductionsNormsAndSorting) {
  const TMtx a = RealMtx(2, 2, {1, -2, 3, 4});
  // Whole results, so a row walk swapped for a column walk shows.
  const std::pair<void (TMtx::*)(TVec&) const, V> reductions[] = {
      {&TMtx::SumRows, {-1, 7}}, {&TMtx::SumCols, {4, 2}}, {&TMtx::MeanRows, {-0.5, 3.5}}, {&TMtx::MeanCols, {2, 1}}};
  for (const auto& [reduce, want] : reductions) {
    TVec v;
    (a.*reduce)(v);
    EXPECT_EQ(Doubles(v), want);
  }
  EXPECT_EQ(Trace(a), 5);
  EXPECT_EQ(Norm1(a), 6);
  const TMtx c = CplxMtx(2, 2, {{3, 4}, {0, 0}, {1, 0}, {0, 1}});
  EXPECT_EQ(Norm1(c), 6);
  EXPECT_EQ(NormInf(c), 5);
  EXPECT_EQ(c.Tracec(), (TCplx{3, 5}));
  // A running sum that overflows although the result is a double.
  const TMtx big = RealMtx(3, 3, {1e308, 1e308, 1, 1e308, 1e308, 2, -1e308, 1e308, -1e308});
  TVec means;
  big.MeanCols(means);
  EXPECT_THAT(Doubles(means), ElementsAre(DoubleNear(1e308 / 3, 1e293), DoubleNear(1e308, 1e293), DoubleNear(-1e308 / 3, 1e293)));
  big.SumCols(means);
  EXPECT_THAT(Doubles(means), ElementsAre(DoubleNear(1e308, 1e293), INF, DoubleNear(-1e308, 1e293)));
  EXPECT_NEAR(Trace(big), 1e308, 1e293);
  TMtx s = RealMtx(3, 2, {3, 1, 1, NaN, 2, 0});
  // Each column on its own, NaN last either way.
  EXPECT_THAT(Doubles(s.SortAscend()), ElementsAre(1, 0, 2, 1, 3, IsNan()));
  EXPECT_THAT(Doubles(s.SortDescend()), ElementsAre(3, 1, 2, 0, 1, IsNan()));
}

TEST(MtxOps, TwoDimensionalArrays) {
  T2DCplxArray arr{{{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}};
  TMtx m;
  m.CopyFromArray(arr);
  EXPECT_EQ(m.CValues(1, 0), (TCplx{5, 6}));
  T2DCplxArray out;
  m.CopyToArray(out);
  EXPECT_EQ(out, arr);
  T2DSampleArray real;
  RealMtx(1, 2, {1, 2}).CopyToArray(real);
  EXPECT_EQ(real, (T2DSampleArray{{1, 2}}));
  RealMtx(1, 2, {1, 2}).CopyToArray(out);  // real values gain zero imaginary parts
  EXPECT_EQ(out, (T2DCplxArray{{{1, 0}, {2, 0}}}));
}

}  // namespace
}  // namespace quorel
