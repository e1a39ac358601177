// Matrix shape: sizing rules, real/complex switching, sub-ranges, resizing, copies and the
// element-wise methods seen through a matrix.
#include <tuple>

#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using test::Doubles;
using test::MessageOf;
using test::Numbered;
using test::RealMtx;
using Shape = std::pair<std::int32_t, std::int32_t>;

Shape ShapeOf(const TMtx& m) { return {m.Rows(), m.Cols()}; }

TEST(MtxShape, SizingAndLengthRules) {
  TMtx m(3, 4);
  EXPECT_EQ(std::tuple(m.Length(), m.LeadingCols(), m.Quadratic()), std::tuple(12, 4, false));
  m.SetLength(12);  // the current length is accepted
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { m.SetLength(13); }), "TMtx: Length can not be set. Use Size!");
  m.Size(4, 4);
  EXPECT_TRUE(m.Quadratic());
  // One element past the limit; the product is formed in 64 bits (65536 x 65536 would wrap to 0).
  // The matrix is left as it was.
  for (auto [rows, cols] : {std::pair{1, 0x10000000}, std::pair{65536, 65536}})
    EXPECT_EQ(MessageOf<EQuorelException>([&] { m.Size(rows, cols, true); }),
              "Out of memory! Attempted to allocate over 2GB!");
  EXPECT_EQ(m.Rows(), 4);
  m.SetCols(7);
  EXPECT_EQ(std::pair(m.Length(), m.LeadingCols()), std::pair(28, 7));
}

TEST(MtxShape, ComplexSwitchReinterpretsRows) {
  TMtx m = RealMtx(2, 4, {1, 2, 3, 4, 5, 6, 7, 8});
  m.set_Complex(true);
  EXPECT_EQ(ShapeOf(m), Shape(2, 2));
  EXPECT_EQ(m.CValues(1, 0), (TCplx{5, 6}));
  m.set_Complex(false);
  EXPECT_EQ(m.Cols(), 4);
  EXPECT_EQ(m.Values(1, 3), 8);
  TMtx odd(3, 3);
  odd.set_Complex(true);  // an odd column count loses doubles from view
  EXPECT_EQ(std::pair(odd.Cols(), odd.Length()), std::pair(1, 3));
}

TEST(MtxShape, SubRangesOfWholeRowsKeepColumns) {
  TMtx m = Numbered(4, 3, false);
  m.SetSubRange(3, 6);  // rows 1 and 2
  EXPECT_EQ(ShapeOf(m), Shape(2, 3));
  EXPECT_EQ(m.Values(1, 2), 202);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { m.Size(5, 5); }), "IsSubRange = True!");
  m.SetSubRange(1, 4);  // not whole rows: a single row
  EXPECT_EQ(ShapeOf(m), Shape(1, 4));
  EXPECT_EQ(m.Values(0, 0), 1);
  m.SetFullRange();
  EXPECT_EQ(ShapeOf(m), Shape(4, 3));
}

TEST(MtxShape, ResizeKeepsTopLeftBlock) {
  TMtx m = Numbered(3, 4, true);
  EXPECT_EQ(Doubles(m.Resize(5, 2, true)),
            (std::vector<double>{0, 0.5, 1, 0.5, 100, 0.5, 101, 1.5, 200, 0.5, 201, 2.5, 0, 0, 0, 0, 0, 0, 0, 0}));
  TMtx t;
  t.ResizeAndTranspose(Numbered(2, 3, false), 4, 3);
  EXPECT_EQ(Doubles(t), (std::vector<double>{0, 100, 0, 1, 101, 0, 2, 102, 0, 0, 0, 0}));
}

TEST(MtxShape, CopiesMovesAndSettings) {
  TMtx a = Numbered(2, 3, true);
  a.SetTriangleForm(tfUpper);
  a.SetSubDiag(2);
  TMtx b(a);  // copy assignment calls the same Assign
  EXPECT_EQ(std::pair(b.TriangleForm(), b.SubDiag()), std::pair(tfUpper, 2));
  EXPECT_EQ(Doubles(b), Doubles(a));
  TMtx c(std::move(b));
  EXPECT_EQ(ShapeOf(c), Shape(2, 3));
  EXPECT_EQ(c.CValues(1, 2), (TCplx{102, 2.5}));
  EXPECT_EQ(b.Rows(), 0);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { c.Assign(c); }), "Mtx = Self");
  TMtx rows = Numbered(3, 2, false);
  rows.SetSubRange(2, 4);  // rows 1 and 2: a move into it is a copy, refused like one
  EXPECT_EQ(MessageOf<EQuorelException>([&] { rows = Numbered(1, 2, false); }), "IsSubRange = True!");
  EXPECT_EQ(rows.Rows(), 2);
  EXPECT_EQ(Doubles(rows), (std::vector<double>{100, 101, 200, 201}));
}

// One- and two-source results, promotion and complex fills keeping the shape are covered with the
// element-wise frame and the value operators.
TEST(MtxShape, ElementwiseMethodsKeepMatrixShape) {
  // A modulus in place turns a complex matrix into a real one of the same shape.
  TMtx c = test::CplxMtx(1, 2, {{3, 4}, {0, -2}});
  c.Abs();
  EXPECT_FALSE(c.Complex());
  EXPECT_EQ(c.Cols(), 2);
  EXPECT_EQ(Doubles(c), (std::vector<double>{5, 2}));
  // A vector source must match the matrix's length.
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { c.Copy(test::Real({1, 2, 3})); }),
            "TQuorel.Size: Initializing matrix with vector having different length!");
}

}  // namespace
}  // namespace quorel
