// Results at the edges users reach with ordinary data: singular matrices under matrix functions,
// infinite pivots, stored parts a type declares absent, empty right-hand sides, and outputs that
// cannot take their new size.
#include "dense/dense_util.h"

namespace quorel::test {
namespace {

TEST(MtxPower, ZeroEigenvaluesGiveTheLimitsNotNaN) {
  // A projection and a rank-one matrix: A^0 = I; A^(1/2) of diag(4, 0) is diag(2, 0).
  TMtx r;
  for (TMtxType type : {mtSymmetric, mtGeneral}) {
    r.MtxPower(RealMtx(2, 2, {1, 0, 0, 0}), 0.0, type);
    for (int i = 0; i < 2; ++i)
      for (int j = 0; j < 2; ++j) EXPECT_LT(std::abs(Get(r, i, j) - C(i == j)), 1e-15) << type << i << j;
    r.MtxPower(RealMtx(2, 2, {1, 1, 1, 1}), 0.0, type);
    for (int i = 0; i < 2; ++i)
      for (int j = 0; j < 2; ++j) EXPECT_LT(std::abs(Get(r, i, j) - C(i == j)), 1e-14) << type << i << j;
    r.MtxSqrt(RealMtx(2, 2, {4, 0, 0, 0}), type);
    EXPECT_LT(std::abs(Get(r, 0, 0) - C(2)), 1e-15);
    EXPECT_EQ(Get(r, 1, 1), C(0));
  }
}

TEST(Determinant, AnInfinitePivotGivesASignedInfinity) {
  EXPECT_EQ(RealMtx(2, 2, {INFINITY, 0, 0, 0.5}).Determinant(mtGeneral), INFINITY);
  EXPECT_EQ(RealMtx(2, 2, {INFINITY, 1, 1, 1}).Determinant(mtGeneral), INFINITY);
  EXPECT_EQ(RealMtx(3, 3, {-INFINITY, 0, 0, 0, 2, 0, 0, 0, 3}).Determinant(mtGeneral), -INFINITY);
}

TEST(Inv, TriangleResultIsTheInverseOfTheDeclaredMatrix) {
  // Unit lower: the stored diagonal 2, 4 and the stale upper 7 are not part of the matrix.
  TMtx a = RealMtx(2, 2, {2, 7, 1, 4});
  a.SetTriangleForm(tfLower);
  a.SetTriangleUnit(true);
  a.Inv(mtTriangle);
  EXPECT_EQ(Doubles(a), (std::vector<double>{1, 0, -1, 1}));
  TMtx b = RealMtx(2, 2, {2, 7, 1, 4});
  b.SetTriangleForm(tfLower);
  b.Inv(mtTriangle);
  EXPECT_EQ(Doubles(b), (std::vector<double>{0.5, 0, -0.125, 0.25}));
  TMtx u = CplxMtx(2, 2, {{2, 0}, {1, 1}, {5, 5}, {4, 0}});
  u.SetTriangleForm(tfUpper);
  u.Inv(mtTriangle);
  EXPECT_EQ(Get(u, 1, 0), C(0));
  EXPECT_LT(std::abs(Get(u, 0, 1) - C(-1, -1) / 8.0), 1e-16);
}

TEST(SVDSolve, NoRightHandSideGivesAnEmptySolutionAndTheRank) {
  TMtx a = RealMtx(3, 2, {1, 2, 2, 4, 3, 6}), b(3, 0), x;
  TVec s;
  EXPECT_EQ(a.SVDSolve(b, x, s, 1e-10), 1);
  EXPECT_EQ(x.Rows(), 2);
  EXPECT_EQ(x.Cols(), 0);
  ASSERT_EQ(s.Length(), 2);
  EXPECT_NEAR(s[0], std::sqrt(70.0), 1e-13);
}

// An output that cannot be resized (a sub-range view of the wrong length) makes the call fail
// before any other output is written.
template <class Obj>
void Lock(Obj& o) {
  o.SetSubRange(0, 1);
}

TEST(SeveralOutputs, ARefusedOutputLeavesTheOthersAsTheyWere) {
  const TMtx sym = RealMtx(3, 3, {4, 1, 0, 1, 3, 1, 0, 1, 2});
  using E = EQuorelException;
  {
    TMtx lu = RealMtx(1, 1, {13});
    TVec p(8);
    Lock(p);
    EXPECT_EQ(MessageOf<E>([&] { lu.LU(sym, p, mtGeneral); }), "IsSubRange = True!");
    EXPECT_EQ(Doubles(lu), std::vector<double>{13});
    p.SetFullRange();
  }
  for (TMtxType type : {mtGeneral, mtSymmetric}) {
    TMtx vl = RealMtx(1, 1, {13}), vr(4, 4);
    TVec d = Real({11, 12});
    Lock(vr);
    const auto message = MessageOf<E>([&] { TMtx(sym).Eig(&vl, d, &vr, type, vfEig); });
    EXPECT_EQ(message, "IsSubRange = True!");
    EXPECT_EQ(Doubles(vl), std::vector<double>{13});
    EXPECT_EQ(Doubles(d), (std::vector<double>{11, 12}));
    vr.SetFullRange();
  }
  {
    TMtx v = RealMtx(1, 1, {13}), bm = RealMtx(3, 3, {2, 0, 0, 0, 2, 0, 0, 0, 2});
    TVec d(8);
    Lock(d);
    EXPECT_EQ(MessageOf<E>([&] { TMtx(sym).EigGen(bm, v, d, etAzBz); }), "IsSubRange = True!");
    EXPECT_EQ(Doubles(v), std::vector<double>{13});
    d.SetFullRange();
  }
  {
    TMtx u = RealMtx(1, 1, {13}), v(4, 4);
    TVec s = Real({11, 12});
    Lock(v);
    EXPECT_EQ(MessageOf<E>([&] { RealMtx(3, 2, {1, 2, 3, 4, 5, 6}).SVD(&u, s, &v, false); }), "IsSubRange = True!");
    EXPECT_EQ(Doubles(u), std::vector<double>{13});
    EXPECT_EQ(Doubles(s), (std::vector<double>{11, 12}));
    v.SetFullRange();
  }
}

}  // namespace
}  // namespace quorel::test
