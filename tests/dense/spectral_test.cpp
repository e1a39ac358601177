// Eigenvalues, singular values and least squares.
#include <array>
#include <numbers>

#include "dense/dense_util.h"

namespace quorel::test {
namespace {

TMtx Diagonal(const TVec& d) {
  TMtx r(d.Length(), d.Length(), d.Complex());
  r.SetZero();
  for (int i = 0; i < d.Length(); ++i) Put(r, i, i, GetV(d, i));
  return r;
}

// The second-difference matrix tridiag(-1, 2, -1) of order n: eigenvalues 2 - 2 cos(k pi / (n + 1)).
TMtx SecondDifference(int n, bool cplx) {
  TMtx a(n, n, cplx);
  a.SetZero();
  for (int i = 0; i < n; ++i) {
    Put(a, i, i, 2);
    if (i + 1 < n) Put(a, i, i + 1, -1), Put(a, i + 1, i, -1);
  }
  return a;
}

TEST(Eig, SymmetricAndHermitianValuesAndVectors) {
  const int n = 8;
  for (bool cplx : {false, true})
    for (bool pd : {false, true}) {
      const TMtxType t = pd ? (cplx ? mtHermPosDef : mtSymmPosDef) : (cplx ? mtHermitian : mtSymmetric);
      TVec d;
      SecondDifference(n, cplx).Eig(d, t);
      std::vector<double> got = Sorted(d);
      for (int k = 1; k <= n; ++k)
        EXPECT_NEAR(got[k - 1], 2 - 2 * std::cos(k * std::numbers::pi / (n + 1)), 8 * kEps) << cplx << t;
      // Vectors from the stored triangle only.
      for (TTriangleForm tf : {tfLower, tfUpper}) {
        TMtx full = pd ? PosDef(n, cplx, 52) : Indefinite(n, cplx, 51), v;
        Dirty(full, tf, 99).Eig(nullptr, d, &v, t, TMtx::vfEig);
        EXPECT_LT(Diff(NaiveMul(full, v), NaiveMul(v, Diagonal(d))), 8) << cplx << pd << tf;
        EXPECT_LT(Diff(Eye(n, cplx), NaiveMul(Op(v, opHerm), v)), 8) << cplx << pd << tf;
      }
    }
}

TEST(Eig, GeneralMatricesGiveComplexValuesAndVectors) {
  // Companion matrix of (x - 1)(x - 2)(x - 3) = x^3 - 6x^2 + 11x - 6.
  TMtx comp = RealMtx(3, 3, {6, -11, 6, 1, 0, 0, 0, 1, 0});
  TVec d;
  comp.Eig(d, mtGeneral);
  ASSERT_TRUE(d.Complex());
  EXPECT_THAT(Sorted(d), testing::Pointwise(testing::DoubleNear(1e-12), {1.0, 2.0, 3.0}));
  // A rotation has the conjugate pair +-i.
  TMtx rot = RealMtx(2, 2, {0, -1, 1, 0});
  rot.Eig(d, mtGeneral);
  EXPECT_NEAR(std::abs(GetV(d, 0) - std::conj(GetV(d, 1))), 0, 1e-15);
  EXPECT_NEAR(std::abs(GetV(d, 0).imag()), 1, 1e-15);

  for (bool cplx : {false, true}) {
    TMtx a = Random(7, 7, cplx, 61), vl, vr;
    a.Eig(&vl, d, &vr, mtGeneral, TMtx::vfEig);
    TMtx ac = a;
    if (!cplx) ac.ExtendToComplex(true);
    TMtx dd = Diagonal(d);
    EXPECT_LT(Diff(NaiveMul(ac, vr), NaiveMul(vr, dd)), 30) << cplx;
    EXPECT_LT(Diff(NaiveMul(Op(vl, opHerm), ac), NaiveMul(dd, Op(vl, opHerm))), 30) << cplx;
    // Schur form: A Z = Z T with T (quasi-)triangular, with and without balancing.
    for (TBalanceType bal : {btNone, btFull}) {
      TMtx t, z;
      a.SetBalance(bal);
      a.Eig(&t, d, &z, mtGeneral, TMtx::vfSchur);
      EXPECT_LT(Diff(NaiveMul(a, z), NaiveMul(z, t)), 30) << cplx << bal;
      for (int i = 2; i < 7; ++i)
        for (int j = 0; j + 1 < i; ++j) EXPECT_EQ(Get(t, i, j), C(0));
      if (bal == btNone) EXPECT_LT(Diff(Eye(7, cplx), NaiveMul(Op(z, opHerm), z)), 8);
    }
  }
}

TEST(Eig, RefusesUnsupportedTypesAndMissingOutputs) {
  TMtx cs = Indefinite(4, true, 71, true), v, a = Random(3, 3, false, 72);
  TVec d;
  EXPECT_EQ(MessageOf<EQuorelException>([&] { cs.Eig(d, mtSymmetric); }),
            "Eig: Complex symmetric matrix type not supported. Use general!");
  // Declared symmetric positive definite, a complex matrix is read as Hermitian.
  TMtx hpd = PosDef(4, true, 73);
  TVec dh, ds;
  hpd.Eig(dh, mtHermPosDef);
  hpd.Eig(ds, mtSymmPosDef);
  EXPECT_TRUE(ds.IsEqual(dh));
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { Random(3, 4, false, 1).Eig(d, mtGeneral); }, "Quadratic = False"},
      {[&] { a.Eig(&a, d, &v, mtGeneral, TMtx::vfEig); }, "VL = Self"},
      {[&] { a.Eig(&v, d, &a, mtGeneral, TMtx::vfEig); }, "VR = Self"},
      {[&] { a.Eig(nullptr, d, nullptr, mtGeneral, TMtx::vfEig); }, "VL or VR must be <> nil!"},
      {[&] { a.Eig(nullptr, d, &v, mtGeneral, TMtx::vfSchur); }, "VL = nil"},
      {[&] { a.Eig(&v, d, nullptr, mtSymmetric, TMtx::vfEig); }, "V = nil"},
  });
  EXPECT_EQ(MessageOf<EQuorelException>([&] { a.Eig(d, mtBandGeneral); }), "MtxType not supported");
}

TEST(EigGen, ThreeProblemKinds) {
  for (bool cplx : {false, true})
    for (TEigGenType kind : {etAzBz, etABz, etBAz}) {
      TMtx a = Indefinite(6, cplx, 81), b = PosDef(6, cplx, 82), v;
      TVec d;
      a.EigGen(b, v, d, kind);
      TMtx vd = NaiveMul(v, Diagonal(d));
      if (kind == etAzBz) EXPECT_LT(Diff(NaiveMul(a, v), NaiveMul(b, vd)), 60) << cplx;
      if (kind == etABz) EXPECT_LT(Diff(NaiveMul(a, NaiveMul(b, v)), vd), 60) << cplx;
      if (kind == etBAz) EXPECT_LT(Diff(NaiveMul(b, NaiveMul(a, v)), vd), 60) << cplx;
    }
  TMtx a = Random(3, 3, false, 1), b = Random(3, 3, false, 2), v;
  TVec d;
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { Random(2, 3, false, 1).EigGen(b, v, d, etAzBz); }, "not Quadratic"},
      {[&] { a.EigGen(a, v, d, etAzBz); }, "B = Self"},
      {[&] { a.EigGen(b, a, d, etAzBz); }, "V = Self"},
      {[&] { a.EigGen(Random(2, 3, false, 3), v, d, etAzBz); }, "B.Rows <> Rows"},
      {[&] { a.EigGen(Random(3, 2, false, 3), v, d, etAzBz); }, "B.Cols <> Cols"},
  });
}

TEST(SVD, ValuesFactorsAndEconomySizes) {
  // A diagonal matrix with permuted rows has its diagonal's magnitudes as singular values.
  TMtx p = RealMtx(3, 3, {0, -5, 0, 2, 0, 0, 0, 0, 3});
  TVec s;
  p.SVD(s);
  EXPECT_EQ(Sorted(s), (std::vector<double>{2, 3, 5}));
  for (bool cplx : {false, true})
    for (auto [m, n] : {std::pair{3, 5}, std::pair{5, 3}, std::pair{4, 4}})
      for (bool minSize : {false, true}) {
        TMtx a = Random(m, n, cplx, 91), u, v;
        a.SVD(&u, s, &v, minSize);
        const int k = std::min(m, n);
        ASSERT_EQ(s.Length(), k);
        ASSERT_EQ((std::array{u.Rows(), u.Cols(), v.Rows(), v.Cols()}), (std::array{m, minSize ? k : m, minSize ? k : n, n}));
        TMtx sm(u.Cols(), v.Rows(), cplx);
        sm.SetZero();
        for (int i = 0; i < k; ++i) Put(sm, i, i, GetV(s, i));
        EXPECT_LT(Diff(a, NaiveMul(NaiveMul(u, sm), v)), 30) << cplx << m << n << minSize;
        EXPECT_LT(Diff(Eye(u.Cols(), cplx), NaiveMul(Op(u, opHerm), u)), 8);
        TVec s2;
        a.SVD(s2);  // the values alone agree
        for (int i = 0; i < k; ++i) EXPECT_NEAR(*s2.PValues(i), *s.PValues(i), 30 * kEps);
      }
  TMtx a = Random(2, 2, false, 1), u;
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.SVD(&a, s, nullptr, true); }, "U = Self"},
      {[&] { a.SVD(&u, s, &a, true); }, "V = Self"},
  });
}

TEST(SVDSolve, LeastSquaresLineFitAndEffectiveRank) {
  // y = 2 + 3 t exactly on five points: the fit recovers the coefficients.
  TMtx a = RealMtx(5, 2, {1, 0, 1, 1, 1, 2, 1, 3, 1, 4});
  TVec y = Real({2, 5, 8, 11, 14}), x, s;
  EXPECT_EQ(a.SVDSolve(y, x, s, 1e-12), 2);
  EXPECT_THAT(Doubles(x), testing::Pointwise(testing::DoubleNear(1e-13), {2.0, 3.0}));
  EXPECT_EQ(s.Length(), 2);
  // Two equal columns: rank 1 and the minimum-norm solution splits the weight evenly.
  TMtx dup = RealMtx(3, 2, {1, 1, 2, 2, 3, 3}), xm;
  TVec b = Real({2, 4, 6});
  EXPECT_EQ(dup.SVDSolve(b, x, s, 1e-10), 1);
  EXPECT_THAT(Doubles(x), testing::Pointwise(testing::DoubleNear(1e-13), {1.0, 1.0}));
  // No right-hand side: an empty solution, and still the rank and the singular values.
  EXPECT_EQ(dup.SVDSolve(TMtx(3, 0), xm, s, 1e-10), 1);
  EXPECT_EQ((std::array{xm.Rows(), xm.Cols()}), (std::array{2, 0}));
  ASSERT_EQ(s.Length(), 2);
  EXPECT_NEAR(s[0], std::sqrt(28.0), 1e-13);
  for (bool cplx : {false, true}) {
    TMtx g = Random(6, 4, cplx, 95), bm = Random(6, 2, cplx, 96);
    EXPECT_EQ(g.SVDSolve(bm, xm, s, 1e-12), 4);
    // The residual is orthogonal to the columns: A^H (A x - b) = 0.
    EXPECT_LT(MaxAbs(NaiveMul(Op(g, opHerm), Minus(NaiveMul(g, xm), bm))), 1e-13);
  }
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.SVDSolve(b, x, s, 0); }, "B.Lenght <> Rows"},
      {[&] { a.SVDSolve(a, a, s, 0); }, "(B = Self) or (X = Self)"},
      {[&] { a.SVDSolve(Random(3, 1, false, 1), xm, s, 0); }, "B.Rows <> Rows"},
  });
}

TEST(LQR, TallTakesQRAndWideTakesLQ) {
  // Tall: A = Q R; wide: A = L Q; the Min forms are economy sized. Q is orthonormal along the
  // shared dimension, and R (L) is zero below (above) its diagonal.
  for (bool cplx : {false, true})
    for (auto [m, n] : {std::pair{6, 4}, std::pair{3, 5}})
      for (bool economy : {false, true}) {
        SCOPED_TRACE(::testing::Message() << cplx << " " << m << "x" << n << " " << economy);
        const bool tall = m > n;
        const int inner = economy ? std::min(m, n) : std::max(m, n);
        TMtx a = Random(m, n, cplx, tall ? 101 : 102), q, f;  // f: R or L
        TMtx *l = tall ? nullptr : &f, *r = tall ? &f : nullptr;
        if (economy) a.LMinQR(l, &q, r);
        else a.LQR(l, &q, r);
        ASSERT_EQ((std::array{tall ? q.Cols() : q.Rows(), tall ? f.Rows() : f.Cols()}), (std::array{inner, inner}));
        EXPECT_LT(Diff(a, tall ? NaiveMul(q, f) : NaiveMul(f, q)), 8);
        EXPECT_LT(Diff(Eye(inner, cplx), tall ? NaiveMul(Op(q, opHerm), q) : NaiveMul(q, Op(q, opHerm))), 8);
        EXPECT_EQ(tall ? Get(f, inner - 1, 0) : Get(f, 0, inner - 1), C(0));
      }
  TMtx a = Random(2, 2, false, 1), q;
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.LQR(nullptr, &a, nullptr); }, "Q=Self"},
      {[&] { a.LQR(nullptr, &q, &a); }, "R=Self"},
      {[&] { a.LMinQR(&a, &q, nullptr); }, "L = Self"},
  });
}

TEST(LQRSolve, OverAndUnderdeterminedWithEveryOperation) {
  for (bool cplx : {false, true})
    for (TMtxOperation op : {opNone, opTran, opHerm})
      for (auto [m, n] : {std::pair{7, 4}, std::pair{4, 7}}) {
        TMtx a = Random(m, n, cplx, 111), oa = Op(a, op), x, r;
        TMtx b = Random(oa.Rows(), 2, cplx, 112);
        a.LQRSolve(b, x, &r, op);
        ASSERT_EQ(x.Rows(), oa.Cols());
        const TMtx res = Minus(NaiveMul(oa, x), b);
        if (oa.Rows() > oa.Cols()) {
          EXPECT_LT(MaxAbs(NaiveMul(Op(oa, opHerm), res)), 1e-13) << cplx << op;  // normal equations
        } else {
          EXPECT_LT(MaxAbs(res), 1e-13) << cplx << op;  // exact, and of minimum norm: x = A^H y
          TVec s;
          TMtx y;
          Op(oa, opHerm).SVDSolve(x, y, s, 1e-12);
          EXPECT_LT(Diff(x, NaiveMul(Op(oa, opHerm), y)), 30);
        }
        EXPECT_EQ(r.Rows(), std::min(m, n));
      }
  TMtx a = Random(4, 3, false, 1), x;
  TVec bv, xv;
  bv.Size(3, false);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.LQRSolve(Random(4, 1, true, 2), x, nullptr, opNone); }, "fComplex <> B.Complex"},
      {[&] { a.LQRSolve(bv, xv, nullptr, opNone); }, "fRows <> B.Length"},
      {[&] { a.LQRSolve(Random(3, 1, false, 2), x, nullptr, opNone); }, "fRows <> B.Rows"},
      {[&] { a.LQRSolve(Random(4, 1, false, 2), x, nullptr, opTran); }, "fCols <> B.Rows"},
      {[&] { a.LQRSolve(Random(4, 1, false, 2), a, nullptr, opNone); }, "B = Self or X = Self"},
  });
}

// NaN in the data: the drivers return (no hang, no crash) with NaN results or a raised failure.
TEST(NonFinite, DriversReturnWithNaNResultsOrTheirFailureMessage) {
  TMtx a = Random(6, 6, false, 121), x;
  a.Values(2, 3) = std::nan("");
  a.LUSolve(Random(6, 1, false, 122), x, mtGeneral, opNone);
  EXPECT_TRUE(std::isnan(x.Values(0, 0)));
  TVec d;
  // Balancing refuses NaN as an invalid argument; the SVD's values come out NaN.
  EXPECT_NE(MessageOf<EQuorelException>([&] { a.Eig(d, mtGeneral); }), "<no exception>");
  a.SVD(d);
  EXPECT_TRUE(std::isnan(*d.PValues(0)));
}

// An output that cannot be resized (a sub-range view of the wrong length) makes the call fail
// before any other output is written.
TEST(SeveralOutputs, ARefusedOutputLeavesTheOthersAsTheyWere) {
  const TMtx sym = RealMtx(3, 3, {4, 1, 0, 1, 3, 1, 0, 1, 2});
  // `call` gets outputs holding values, and a matrix and a vector that are sub-range views.
  auto expectRefused = [](const char* what, auto call) {
    TMtx m = RealMtx(1, 1, {13}), mView(4, 4);
    TVec v = Real({11, 12}), vView(8);
    mView.SetSubRange(0, 1);
    vView.SetSubRange(0, 1);
    EXPECT_EQ(MessageOf<EQuorelException>([&] { call(m, v, mView, vView); }), "IsSubRange = True!") << what;
    EXPECT_EQ(Doubles(m), std::vector<double>{13}) << what;
    EXPECT_EQ(Doubles(v), (std::vector<double>{11, 12})) << what;
  };
  expectRefused("LU", [&](TMtx& lu, TVec&, TMtx&, TVec& p) { lu.LU(sym, p, mtGeneral); });
  for (TMtxType type : {mtGeneral, mtSymmetric})
    expectRefused("Eig", [&](TMtx& vl, TVec& d, TMtx& vr, TVec&) { TMtx(sym).Eig(&vl, d, &vr, type, vfEig); });
  const TMtx twice = RealMtx(3, 3, {2, 0, 0, 0, 2, 0, 0, 0, 2});
  expectRefused("EigGen", [&](TMtx& v, TVec&, TMtx&, TVec& d) { TMtx(sym).EigGen(twice, v, d, etAzBz); });
  const TMtx tall = RealMtx(3, 2, {1, 2, 3, 4, 5, 6});
  expectRefused("SVD", [&](TMtx& u, TVec& s, TMtx& v, TVec&) { TMtx(tall).SVD(&u, s, &v, false); });
}

}  // namespace
}  // namespace quorel::test
