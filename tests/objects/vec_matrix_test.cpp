// Vector members that read matrices: rows, columns, diagonals, storage runs and typed products.
#include <functional>

#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using test::CplxMtx;
using test::Doubles;
using test::Numbered;
using test::Real;
using test::RealMtx;
using V = std::vector<double>;

TEST(VecMatrix, RowsColumnsDiagonalsAndRuns) {
  const TMtx m = Numbered(3, 4, false);
  TVec v;
  EXPECT_EQ(Doubles(v.GetCol(m, 2)), (V{2, 102, 202}));
  EXPECT_EQ(Doubles(v.GetCol(m, 1, 3, 2)), (V{103, 203}));
  EXPECT_EQ(Doubles(v.GetRow(m, 1)), (V{100, 101, 102, 103}));
  EXPECT_EQ(Doubles(v.GetRow(m, 2, 1, 2)), (V{201, 202}));
  EXPECT_EQ(Doubles(v.Diag(&m, 1)), (V{1, 102, 203}));
  EXPECT_EQ(Doubles(v.Diag(&m, -2)), (V{200}));
  const TMtx c = Numbered(2, 2, true);
  EXPECT_EQ(Doubles(v.GetCol(c, 1)), (V{1, 0.5, 101, 1.5}));
  TVec run(Real({0, 0, 0, 0}));
  run.CopyMtx(m, 0, 3, 1, 3);  // crosses into the next row
  EXPECT_EQ(Doubles(run), (V{0, 3, 100, 101}));
  TVec k;
  EXPECT_EQ(Doubles(k.Kron(Real({1, 2}), Real({3, 4}))), (V{3, 4, 6, 8}));
}

TEST(VecMatrix, Messages) {
  const TMtx m = Numbered(3, 4, false), c = Numbered(2, 2, true);
  TVec v = Real({1, 2});
  const TVec w = Real({1, 2});
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { v.GetCol(m, 4); }, "TVec.GetCol: Col out of range. (Col: 4, Cols: 4)"},
      {[&] { v.GetCol(m, 3, 0, 1); }, "TVec.GetCol: Row out of range (Row: 3, Len: 1, Rows: 3)"},
      {[&] { v.GetCol(m, 1, 0, 3); }, "TVec.GetCol: Row/Len out of range (Row: 1, Len: 3, Rows: 3)"},
      {[&] { v.GetRow(m, -1); }, "TVec.GetRow: Row out of range. (Row: -1, Rows: 3)"},
      {[&] { v.GetRow(m, 0, 4, 1); }, "TVec.GetRow: Col out of range (Col: 4, Len: 1, Cols: 4)"},
      {[&] { v.GetRow(m, 0, 2, 3); }, "TVec.GetRow: Col/Len out of range (Col: 2, Len: 3, Cols: 4)"},
  });
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { v.Diag(nullptr, 0); }, "TVec.Diag: Mtx = nil"},
      {[&] { v.CopyMtx(m, -1, 0, 0, 1); }, "(Col < 0) or (Row < 0)"},
      {[&] { v.CopyMtx(m, 0, 4, 0, 1); }, "(Row >= Mtx.Rows) or (Col >= Mtx.Cols)"},
      {[&] { v.CopyMtx(m, 0, 0, 1, 2); }, "Index+Len > Length"},
      {[&] { v.TensorProd(m, w, mtGeneral); }, "Length <> Mtx.Cols"},
      {[&] { v.TensorProdInt(c, w); }, "Complex <> Mtx.Complex"},
  });
}

TEST(VecMatrix, TypedProductsReadTheRightElements) {
  // A real symmetric band matrix (ku = kl = 1) and the same stored in one triangle or as a band,
  // with junk where the product must not read.
  TMtx full = RealMtx(4, 4, {4, 1, 0, 0, 1, 5, 2, 0, 0, 2, 6, 3, 0, 0, 3, 7});
  const TVec x = Real({1, -2, 3, -4});
  const V ref{2, -3, 2, -19};
  TVec y;
  EXPECT_EQ(Doubles(y.TensorProd(full, x, mtGeneral)), ref);
  TMtx upper = full;
  upper.Values(2, 0) = 99;
  upper.SetTriangleForm(tfUpper);
  EXPECT_EQ(Doubles(y.TensorProd(upper, x, mtSymmetric)), ref);
  TMtx band;
  full.DenseToBanded(band);
  EXPECT_EQ(Doubles(y.TensorProd(band, x, mtBandGeneral)), ref);
  band.Values(2, 0) = 99;  // sub-diagonal row: ignored when the upper half is named
  band.SetTriangleForm(tfUpper);
  EXPECT_EQ(Doubles(y.TensorProd(band, x, mtBandSymmPosDef)), ref);
  // Unit lower triangle: the stored diagonal and upper part are not read.
  TMtx tri = full;
  tri.SetTriangleUnit(true);
  EXPECT_EQ(Doubles(y.TensorProd(tri, x, mtTriangle)), (V{1, -1, -1, 5}));
  // Hermitian from the lower triangle: the upper half is the conjugate, [2, 1-i; 1+i, 3].
  const TMtx h = CplxMtx(2, 2, {{2, 0}, {7, 7}, {1, 1}, {3, 0}});
  const TVec cx = test::Cplx({{1, 2}, {0, 1}});
  EXPECT_EQ(Doubles(y.TensorProd(h, cx, mtHermitian)), (V{3, 5, -1, 6}));
  // A real matrix times a complex vector promotes.
  EXPECT_EQ(Doubles(y.TensorProd(RealMtx(1, 2, {2, 3}), cx, mtGeneral)), (V{2, 7}));
}

// Self as the vector operand is read as it was, as a copy would be, whatever ConditionCheck says.
TEST(VecMatrix, SelfAsTheVectorOperand) {
  const TMtx m = RealMtx(3, 3, {1, 2, 0, -1, 0, 3, 4, 1, 1}), cm = CplxMtx(1, 3, {{0, 1}, {1, 0}, {2, 2}});
  const TVec init = Real({0.5, -2, 3}), o = Real({1, 2}), cv = test::Cplx({{1, 1}, {2, -1}});
  const std::function<void(TVec&, const TVec&)> calls[] = {
      [&](TVec& s, const TVec& x) { s.TensorProd(m, x, mtGeneral); },
      [&](TVec& s, const TVec& x) { s.TensorProd(cm, x, mtGeneral); },  // Self promoted to complex
      [&](TVec& s, const TVec& x) { s.TensorProdInt(m, x); },
      [&](TVec& s, const TVec& x) { s.Kron(x, o); },
      [&](TVec& s, const TVec& x) { s.Kron(cv, x); },
      [](TVec& s, const TVec& x) { s.Kron(x, x); },
  };
  for (std::size_t k = 0; k < std::size(calls); ++k)
    for (bool check : {true, false}) {
      TVec want, self(init);
      calls[k](want, init);
      self.SetConditionCheck(check);
      EXPECT_EQ(test::MessageOf<EQuorelException>([&] { calls[k](self, self); }), "<no exception>") << k;
      EXPECT_EQ(Doubles(self), Doubles(want)) << "case " << k << ", ConditionCheck " << check;
    }
}

}  // namespace
}  // namespace quorel
