// Matrix products and type detection.
#include <array>

#include "dense/dense_util.h"

namespace quorel::test {
namespace {

TEST(Mul, GeneralProductsForEveryOperationPair) {
  for (bool cplx : {false, true})
    for (TMtxOperation o1 : {opNone, opTran, opHerm})
      for (TMtxOperation o2 : {opNone, opTran, opHerm}) {
        // op1(a) is 7 x 5 and op2(b) is 5 x 3.
        TMtx a = Random(o1 == opNone ? 7 : 5, o1 == opNone ? 5 : 7, cplx, 1);
        TMtx b = Random(o2 == opNone ? 5 : 3, o2 == opNone ? 3 : 5, cplx, 2);
        TMtx c;
        c.Mul(a, b, o1, o2);
        EXPECT_LT(Diff(NaiveMul(Op(a, o1), Op(b, o2)), c), 4) << cplx << o1 << o2;
      }
}

TEST(Mul, StructuredOperandsUseOnlyTheirTriangle) {
  // Every operation on either operand: an operation on the general one must not push the product
  // onto a path that reads the structured operand's whole storage.
  const TMtxOperation ops[] = {opNone, opTran, opHerm};
  const int n = 6;
  for (bool cplx : {false, true})
    for (TTriangleForm tf : {tfLower, tfUpper})
      for (int side = 0; side < 2; ++side)
        for (TMtxOperation otherOp : ops) {
          // op(other) is 4 x n when it multiplies from the left (side 1), n x 4 otherwise.
          const bool swapped = (otherOp != opNone) != (side == 1);
          TMtx other = Random(swapped ? 4 : n, swapped ? n : 4, cplx, 3);
          const TMtx opOther = Op(other, otherOp);
          auto product = [&](const TMtx& stored, TMtxType type, TMtxOperation op) {
            TMtx c;
            if (side) c.Mul(other, stored, mtGeneral, type, otherOp, op);
            else c.Mul(stored, other, type, mtGeneral, op, otherOp);
            return c;
          };
          auto expected = [&](const TMtx& full) { return side ? NaiveMul(opOther, full) : NaiveMul(full, opOther); };
          // Symmetric/Hermitian: the unused triangle holds garbage that must be ignored.
          // A complex matrix declared symmetric positive definite is Hermitian, as Inv and LU read it.
          for (TMtxType t : {mtSymmetric, mtSymmPosDef, mtHermitian, mtHermPosDef}) {
            if (!cplx && (t == mtHermitian || t == mtHermPosDef)) continue;
            TMtx s = Indefinite(n, cplx, 4, t == mtSymmetric);
            TMtx dirty = Dirty(s, tf, 99);
            for (TMtxOperation op : ops)
              EXPECT_LT(Diff(expected(Op(s, op)), product(dirty, t, op)), 4) << cplx << tf << side << t << op << otherOp;
          }
          // Triangular, with and without a unit diagonal.
          for (bool unit : {false, true})
            for (TMtxOperation op : ops) {
              TMtx tri = Triangular(n, cplx, 5, tf == tfLower);
              tri.SetTriangleForm(tf);
              tri.SetTriangleUnit(unit);
              TMtx ref = tri;
              if (unit)
                for (int i = 0; i < n; ++i) Put(ref, i, i, 1);
              EXPECT_LT(Diff(expected(Op(ref, op)), product(tri, mtTriangle, op)), 4)
                  << cplx << tf << side << unit << op << otherOp;
            }
        }
}

TEST(Mul, EmptyInnerDimensionGivesZeros) {
  TMtx a(3, 0, false), b(0, 2, false), c;
  c.Mul(a, b, opNone, opNone);
  ASSERT_EQ((std::array{c.Rows(), c.Cols()}), (std::array{3, 2}));
  EXPECT_EQ(MaxAbs(c), 0);
}

TEST(Mul, RefusesBadOperandsAndKeepsSelf) {
  TMtx a = Random(3, 4, false, 1), b = Random(3, 4, false, 2), z = Random(4, 4, true, 3), sq = Random(4, 4, false, 4);
  TMtx c = RealMtx(1, 1, {7});
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.Mul(c, a, opNone, opNone); }, "(Self = Mtx1) or (Self = Mtx2)"},
      {[&] { c.Mul(a, c, opNone, opNone); }, "(Self = Mtx1) or (Self = Mtx2)"},
      {[&] { c.Mul(sq, z, opNone, opNone); }, "Mtx1.Complex <> Mtx2.Complex"},
      {[&] { c.Mul(a, b, opNone, opNone); }, "Mtx1.Cols <> Mtx2.Rows"},
      {[&] { c.Mul(a, sq, opTran, opNone); }, "Mtx1.Rows <> Mtx2.Rows"},
      {[&] { c.Mul(a, Random(4, 3, false, 6), opNone, opTran); }, "Mtx1.Cols <> Mtx2.Cols"},
      {[&] { c.Mul(a, b, opTran, opTran); }, "Mtx1.Rows <> Mtx2.Cols"},
      {[&] { c.Mul(a, sq, mtSymmetric, mtGeneral, opNone, opNone); }, "Mtx1.Symmetric and not Mtx1.Quadratic"},
      {[&] { c.Mul(sq, Random(4, 3, false, 5), mtGeneral, mtSymmPosDef, opNone, opNone); },
       "Mtx2.Symmetric and not Mtx2.Quadratic"},
      {[&] { c.Mul(a, sq, mtHermitian, mtGeneral, opNone, opNone); }, "Mtx1.Hermitian and not Mtx1.Quadratic"},
      {[&] { c.Mul(sq, Random(4, 3, false, 5), mtGeneral, mtHermPosDef, opNone, opNone); },
       "Mtx2.Hermitian and not Mtx2.Quadratic"},
  });
  EXPECT_EQ(Doubles(c), std::vector<double>{7});
}

TEST(DetectMtxType, TrianglesSymmetryAndDefiniteness) {
  TMtx diag = RealMtx(3, 3, {1, 0, 0, 0, 2, 0, 0, 0, 3});
  diag.SetTriangleForm(tfUpper);
  EXPECT_EQ(diag.DetectMtxType(true), mtTriangle);
  EXPECT_EQ(diag.TriangleForm(), tfLower);  // a diagonal matrix is reported as lower
  TMtx upper = RealMtx(2, 2, {1, 5, 0, 2});
  EXPECT_EQ(upper.DetectMtxType(false), mtTriangle);
  EXPECT_EQ(upper.TriangleForm(), tfUpper);
  EXPECT_EQ(Random(2, 3, false, 1).DetectMtxType(true), mtGeneral);
  EXPECT_EQ(Random(4, 4, false, 1).DetectMtxType(true), mtGeneral);

  for (bool cplx : {false, true}) {
    TMtx spd = PosDef(5, cplx, 2);
    EXPECT_EQ(spd.DetectMtxType(false), cplx ? mtHermitian : mtSymmetric);  // no check: not definite
    EXPECT_EQ(spd.DetectMtxType(true), cplx ? mtHermPosDef : mtSymmPosDef);
    EXPECT_EQ(spd.LapackInfo(), 0);
    TMtx ind = Indefinite(5, cplx, 3);
    ind.Values(0, 0) = -100;  // a negative diagonal element cannot be definite
    EXPECT_EQ(ind.DetectMtxType(true), cplx ? mtHermitian : mtSymmetric);
  }
  EXPECT_EQ(Indefinite(5, true, 4, true).DetectMtxType(true), mtSymmetric);  // complex symmetric

  // The complex zero tests read the first half of the storage as reals: here they see only
  // zeros above the diagonal (doubles 1, 2 and 5) although the matrix is full.
  TMtx full = CplxMtx(3, 3, {{1, 0}, {0, 3}, {4, 0}, {5, 0}, {6, 6}, {7, 7}, {8, 8}, {9, 9}, {1, 1}});
  EXPECT_EQ(full.DetectMtxType(false), mtTriangle);
  EXPECT_EQ(full.TriangleForm(), tfLower);
}

}  // namespace
}  // namespace quorel::test
