// Vector members that read matrices: rows, columns, diagonals, storage runs and typed products.
#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "mtx_test_util.h"

namespace quorel {
namespace {
using test::CplxMtx;
using test::MessageOf;
using test::Numbered;
using test::Real;
using test::RealMtx;
using V = std::vector<double>;

V Doubles(const TVec& v) { return {v.Values().begin(), v.Values().end()}; }

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
  v.GetCol(c, 1);
  EXPECT_EQ(v.CValues()[1], (TCplx{101, 1.5}));
  TVec run(Real({0, 0, 0, 0}));
  run.CopyMtx(m, 0, 3, 1, 3);  // crosses into the next row
  EXPECT_EQ(Doubles(run), (V{0, 3, 100, 101}));
  TVec k;
  EXPECT_EQ(Doubles(k.Kron(Real({1, 2}), Real({3, 4}))), (V{3, 4, 6, 8}));
}

TEST(VecMatrix, Messages) {
  const TMtx m = Numbered(3, 4, false);
  TVec v = Real({1, 2});
  const std::vector<std::pair<std::function<void()>, std::string>> ranges{
      {[&] { v.GetCol(m, 4); }, "TVec.GetCol: Col out of range. (Col: 4, Cols: 4)"},
      {[&] { v.GetCol(m, 3, 0, 1); }, "TVec.GetCol: Row out of range (Row: 3, Len: 1, Rows: 3)"},
      {[&] { v.GetCol(m, 1, 0, 3); }, "TVec.GetCol: Row/Len out of range (Row: 1, Len: 3, Rows: 3)"},
      {[&] { v.GetRow(m, -1); }, "TVec.GetRow: Row out of range. (Row: -1, Rows: 3)"},
      {[&] { v.GetRow(m, 0, 4, 1); }, "TVec.GetRow: Col out of range (Col: 4, Len: 1, Cols: 4)"},
      {[&] { v.GetRow(m, 0, 2, 3); }, "TVec.GetRow: Col/Len out of range (Col: 2, Len: 3, Cols: 4)"},
  };
  for (const auto& [call, text] : ranges) EXPECT_EQ(MessageOf<EQuorelRangeError>(call), text);
  const TMtx c = Numbered(2, 2, true);
  const TVec w = Real({1, 2});
  const std::vector<std::pair<std::function<void()>, std::string>> args{
      {[&] { v.Diag(nullptr, 0); }, "TVec.Diag: Mtx = nil"},
      {[&] { v.CopyMtx(m, -1, 0, 0, 1); }, "(Col < 0) or (Row < 0)"},
      {[&] { v.CopyMtx(m, 0, 4, 0, 1); }, "(Row >= Mtx.Rows) or (Col >= Mtx.Cols)"},
      {[&] { v.CopyMtx(m, 0, 0, 1, 2); }, "Index+Len > Length"},
      {[&] { v.TensorProd(m, w, mtGeneral); }, "Length <> Mtx.Cols"},
      {[&] { v.TensorProdInt(c, w); }, "Complex <> Mtx.Complex"},
  };
  for (const auto& [call, text] : args) EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(call), text);
}

// y = A x by plain loops, the reference for every typed product.
template <class T>
std::vector<T> Reference(const TMtx& a, const std::vector<T>& x) {
  std::vector<T> y(static_cast<std::size_t>(a.Rows()));
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < a.Cols(); ++j) {
      if constexpr (std::is_same_v<T, TCplx>) {
        const TCplx e = a.CValues(i, j);
        y[i].Re += e.Re * x[j].Re - e.Im * x[j].Im;
        y[i].Im += e.Re * x[j].Im + e.Im * x[j].Re;
      } else {
        y[i] += a.Values(i, j) * x[j];
      }
    }
  return y;
}

TEST(VecMatrix, TypedProductsReadTheRightElements) {
  // A real symmetric band matrix (ku = kl = 1) and the same stored in one triangle, the other
  // triangle filled with junk the product must not read.
  TMtx full = RealMtx(4, 4, {4, 1, 0, 0, 1, 5, 2, 0, 0, 2, 6, 3, 0, 0, 3, 7});
  const TVec x = Real({1, -2, 3, -4});
  const V ref = Reference(full, V{1, -2, 3, -4});
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
  // Hermitian from the lower triangle: the upper half is the conjugate.
  TMtx h = CplxMtx(2, 2, {{2, 0}, {7, 7}, {1, 1}, {3, 0}});
  const TMtx hFull = CplxMtx(2, 2, {{2, 0}, {1, -1}, {1, 1}, {3, 0}});
  const TVec cx = test::Cplx({{1, 2}, {0, 1}});
  y.TensorProd(h, cx, mtHermitian);
  const auto cref = Reference(hFull, std::vector<TCplx>{{1, 2}, {0, 1}});
  EXPECT_EQ(y.CValues()[0], cref[0]);
  EXPECT_EQ(y.CValues()[1], cref[1]);
  // A real matrix times a complex vector promotes.
  y.TensorProd(RealMtx(1, 2, {2, 3}), cx, mtGeneral);
  EXPECT_EQ(y.CValues()[0], (TCplx{2, 7}));
}

}  // namespace
}  // namespace quorel
