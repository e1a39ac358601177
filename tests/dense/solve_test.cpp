// Linear solves, factorisations, inverse and determinant.
#include "dense/dense_util.h"
#include "quorel/platform/lapack/work_arena.h"

namespace quorel::test {
namespace {

// Name, the matrix as stored (triangle or band layout as the type reads it), the full square
// matrix it stands for, and the type.
using TypedMatrix = std::tuple<const char*, TMtx, TMtx, TMtxType>;

// One matrix of every type the solver handles, real or complex.
std::vector<TypedMatrix> EveryType(bool cplx, int n) {
  std::vector<TypedMatrix> r;
  auto add = [&](const char* name, const TMtx& m, TMtxType t) { r.push_back({name, m, m, t}); };
  // a with zeros outside kl sub- and ku super-diagonals.
  auto banded = [&](TMtx a, int kl, int ku) {
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j)
        if (i - j > kl || j - i > ku) Put(a, i, j, 0);
    return a;
  };
  add("posdef", PosDef(n, cplx, 11), cplx ? mtHermPosDef : mtSymmPosDef);
  add("indefinite", Indefinite(n, cplx, 12), cplx ? mtHermitian : mtSymmetric);
  if (cplx) add("complex symmetric", Indefinite(n, true, 13, true), mtSymmetric);
  for (bool lower : {true, false}) {
    TMtx t = Triangular(n, cplx, 14, lower);
    t.SetTriangleForm(lower ? tfLower : tfUpper);
    add("triangle", t, mtTriangle);
  }
  add("general", Random(n, n, cplx, 15), mtGeneral);
  // Band general with 1 sub- and 2 super-diagonals, and a band of the definite matrix.
  TMtx bg = banded(Random(n, n, cplx, 16), 1, 2), bgBand;
  bg.DenseToBanded(bgBand);
  r.push_back({"band general", bgBand, bg, mtBandGeneral});
  const TMtx bp = banded(PosDef(n, cplx, 17), 1, 1);
  for (TTriangleForm tf : {tfLower, tfUpper}) {
    TMtx band;
    Dirty(bp, tf, 0).DenseToBanded(band);
    band.SetTriangleForm(tf);
    r.push_back({"band posdef", band, bp, cplx ? mtBandHermPosDef : mtBandSymmPosDef});
  }
  return r;
}

// Every type and operation, refined or not, with each condition estimate. The symmetric routines
// take no operation: A^T of a Hermitian matrix and A^H of a complex symmetric one are conj(A).
// The symmetric kinds are also given with garbage in the triangle they must not read, which the
// solve, the estimate, the inverse and the determinant must all ignore.
TEST(LUSolveAndInv, EveryOperationOnEveryType) {
  for (bool cplx : {false, true})
    for (auto& [name, stored, full, type] : EveryType(cplx, 7)) {
      TMtx fullInv = full;
      fullInv.Inv(mtGeneral);
      TCplx det, fullDet;
      full.Determinant(fullDet, mtGeneral);
      std::vector<TMtx> variants{stored};
      if (type < mtTriangle)
        for (TTriangleForm tf : {tfLower, tfUpper}) variants.push_back(Dirty(full, tf, C(99, cplx ? 7 : 0)));
      for (TMtx& a : variants) {
        SCOPED_TRACE(testing::Message() << name << " complex " << cplx << " form " << a.TriangleForm());
        TMtx inv = type >= mtBandSymmPosDef ? full : a;
        if (type >= mtBandSymmPosDef) {
          EXPECT_EQ(MessageOf<EQuorelException>([&] { inv.Inv(type); }), "MtxType not supported");
        } else {
          inv.Inv(type);
          EXPECT_LT(Residual(full, inv, Eye(7, cplx)), kResidualTol);
        }
        auto detError = [&](TMtxType t) {
          a.Determinant(det, t);
          return std::abs(C(det.Re, det.Im) / C(fullDet.Re, fullDet.Im) - 1.0);
        };
        if (type < mtTriangle) EXPECT_LT(detError(type), 1e-12);
        if (type == mtHermPosDef) {  // a complex matrix declared symmetric positive definite is read as Hermitian
          TMtx asSpd = a;
          asSpd.Inv(mtSymmPosDef);
          EXPECT_TRUE(asSpd.IsEqual(inv));
          EXPECT_LT(detError(mtSymmPosDef), 1e-12);
        }
        for (TMtxOperation op : {opNone, opTran, opHerm})
          for (bool refine : {false, true})
            for (TConditionNumber cn : {cnNone, cnNorm1, cnNormInf}) {
              a.SetRefineSolution(refine);
              a.SetConditionNumber(cn);
              TMtx b = Random(7, 2, cplx, 23), x;
              a.LUSolve(b, x, type, op);
              EXPECT_LT(Residual(Op(full, op), x, b), kResidualTol) << op << refine << cn;
              if (cn == cnNone) continue;
              // The estimate is within a small factor of the true reciprocal condition number.
              const double exact = 1 / (cn == cnNorm1 ? full.Norm1() * fullInv.Norm1() : full.NormInf() * fullInv.NormInf());
              EXPECT_GT(a.RCond(), exact / 10) << op << refine << cn;
              EXPECT_LT(a.RCond(), exact * 10) << op << refine << cn;
              if (type >= mtTriangle) continue;
              // It reads the stored triangle only, as the solve does.
              TMtx clean = full, xc;
              clean.SetTriangleForm(a.TriangleForm());
              clean.SetConditionNumber(cn);
              clean.LUSolve(b, xc, type, op);
              EXPECT_NEAR(a.RCond() / clean.RCond(), 1, 1e-12) << op << refine << cn;
            }
        TVec bv = RandomVec(7, cplx, 22), xv;  // the vector form has checks of its own, then the same solver
        a.LUSolve(bv, xv, type, opNone);
        EXPECT_LT(Residual(full, Column(xv), Column(bv)), kResidualTol);
      }
    }
}

TEST(LUSolve, AutomaticTypeFindsALowerTriangle) {
  for (bool cplx : {false, true}) {
    TMtx b = Random(8, 2, cplx, 32), x;
    // Detection picks the triangle (and its form) of a lower matrix given as general (a complex
    // one is not seen as triangular: the zero test reads half of its storage).
    TMtx lower = Triangular(8, cplx, 34, true);
    lower.SetTriangleForm(tfUpper);
    lower.SetAutoMtxType(true);
    lower.LUSolve(b, x, mtGeneral, opNone);
    EXPECT_EQ(lower.TriangleForm(), cplx ? tfUpper : tfLower);
    EXPECT_LT(Residual(lower, x, b), kResidualTol);
  }
}

TEST(LUSolve, NearSingularHilbertIsSolvedToItsConditionAndRefinementHelps) {
  TMtx h = Hilbert(10), b(10, 1, false), x;
  for (int i = 0; i < 10; ++i) b.Values(i, 0) = 1;
  h.SetConditionNumber(cnNorm1);
  h.SetRefineSolution(true);
  h.LUSolve(b, x, mtSymmPosDef, opNone);
  EXPECT_LT(h.RCond(), 1e-12);  // cond(H10) is about 3.5e13
  EXPECT_GT(h.RCond(), 1e-15);
  EXPECT_LT(Residual(h, x, b), kResidualTol);
}

TEST(LUSolve, FailuresAreRaisedOnceWithTheirMessagesAndLeaveXAlone) {
  using E = EQuorelException;
  for (bool cplx : {false, true}) {
    TMtx sing = Mtx(cplx, 3, 3, {1, 1, 1, 2, 2, 5, 3, 3, 7}), x = RealMtx(1, 1, {42});
    EXPECT_EQ(MessageOf<E>([&] { sing.LUSolve(Random(3, 1, cplx, 1), x, mtGeneral, opNone); }),
              "LUSolve: LU factorization: U(2,2) = 0 (singular)");
    EXPECT_EQ(sing.LapackInfo(), 2);
    EXPECT_EQ(sing.LapackMessage(), "LU factorization: U(2,2) = 0 (singular)");
    const std::tuple<TMtx, TMtxType, const char*> cases[] = {
        {Mtx(cplx, 2, 2, {1, 2, 2, 1}), cplx ? mtHermPosDef : mtSymmPosDef,
         "LUSolve: Cholesky: leading minor of order 2 is not positive definite"},
        {Mtx(cplx, 2, 2, {0, 0, 0, 0}), cplx ? mtHermitian : mtSymmetric, "LUSolve: Bunch Kauffman: singular at D(1,1) = 0"},
        {Mtx(cplx, 2, 2, {1, 0, 5, 0}), mtTriangle, "LUSolve: Triangle: Erorr at solve:2"},
    };
    for (auto [a, type, msg] : cases)
      EXPECT_EQ(MessageOf<E>([&] { a.LUSolve(Random(2, 1, cplx, 2), x, type, opNone); }), msg) << cplx;
    EXPECT_EQ(Doubles(x), std::vector<double>{42});
  }
}

TEST(LUSolve, RefusesBadArgumentsAndTypes) {
  TMtx a = Random(3, 3, false, 1), z = Random(3, 3, true, 2), b = Random(3, 1, false, 3), x;
  TVec bz = RandomVec(3, true, 4), xv;
  TMtx band = Random(3, 5, false, 6);  // 3 band rows cannot hold 1 + 2 + 1 diagonals
  band.SetSubDiag(1);
  band.SetSuperDiag(2);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.LUSolve(a, x, mtGeneral, opNone); }, "B = Self"},
      {[&] { a.LUSolve(b, a, mtGeneral, opNone); }, "X = Self"},
      {[&] { z.LUSolve(b, x, mtGeneral, opNone); }, "B.Complex <> Complex"},
      {[&] { Random(3, 2, false, 4).LUSolve(b, x, mtGeneral, opNone); }, "Quadratic = False"},
      {[&] { a.LUSolve(Random(2, 1, false, 5), x, mtGeneral, opNone); }, "B.Rows <> Rows"},
      {[&] { a.LUSolve(bz, xv, mtGeneral, opNone); }, "B.Complex <> Complex"},
      {[&] { band.LUSolve(Random(5, 1, false, 7), x, mtBandGeneral, opNone); }, "SubDiag+SuperDiag+1 <> Rows"},
  });
  ExpectMessages<EQuorelException>({
      {[&] { z.LUSolve(Random(3, 1, true, 8), x, mtSymmPosDef, opNone); },
       "Eig: Complex symmetric positive definite matrix type not supported. Use general!"},
      {[&] { z.LUSolve(Random(3, 1, true, 8), x, mtBandSymmPosDef, opNone); },
       "Eig: Complex band symmetric positive definite matrix type not supported. Use general!"},
      {[&] { a.LUSolve(b, x, mtHermitian, opNone); }, "Hermitian solve: not complex!"},
      {[&] { a.LUSolve(b, x, static_cast<TMtxType>(9), opNone); }, "MtxType not supported"},
  });
}

TEST(Inv, SingularAndBadInput) {
  using E = EQuorelException;
  TMtx sing = RealMtx(2, 2, {1, 2, 2, 4}), keep = sing;
  EXPECT_EQ(MessageOf<E>([&] { sing.Inv(mtGeneral); }), "LU factorization: U(2,2) = 0 (singular)");
  EXPECT_EQ(Doubles(sing), Doubles(keep));
  TMtx zs = Mtx(true, 2, 2, {1, 2, 2, 4});
  EXPECT_EQ(MessageOf<E>([&] { zs.Inv(mtGeneral); }), "Factorization: U(2,2) = 0 (singular)");
  EXPECT_EQ(MessageOf<E>([&] { zs.Inv(mtHermitian); }), "Factorization: U(2,2) = 0 (singular)");
  EXPECT_EQ(MessageOf<E>([&] { sing.Inv(mtSymmPosDef); }), "Cholesky: leading minor of order 2 is not positive definite");
  EXPECT_EQ(MessageOf<E>([] { RealMtx(2, 2, {1, 0, 1, 0}).Inv(mtTriangle); }), "Triangle: Erorr at inverse:2");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { Random(2, 3, false, 1).Inv(mtGeneral); }), "Quadratic = False");
}

// A triangle's inverse is that of the matrix its type declares: the stale other triangle and, for
// a unit triangle, the stored diagonal are not part of it.
TEST(Inv, TriangleResultIsTheInverseOfTheDeclaredMatrix) {
  for (bool unit : {true, false}) {
    TMtx a = RealMtx(2, 2, {2, 7, 1, 4});
    a.SetTriangleForm(tfLower);
    a.SetTriangleUnit(unit);
    a.Inv(mtTriangle);
    EXPECT_EQ(Doubles(a), (unit ? std::vector<double>{1, 0, -1, 1} : std::vector<double>{0.5, 0, -0.125, 0.25}));
  }
  TMtx u = CplxMtx(2, 2, {{2, 0}, {1, 1}, {5, 5}, {4, 0}});
  u.SetTriangleForm(tfUpper);
  u.Inv(mtTriangle);
  EXPECT_EQ(Get(u, 1, 0), C(0));
  EXPECT_LT(std::abs(Get(u, 0, 1) - C(-1, -1) / 8.0), 1e-16);
}

TEST(Determinant, ClosedFormsPivotSignsAndRange) {
  EXPECT_NEAR(Hilbert(5).Determinant(mtGeneral) * 266716800000.0, 1, 1e-9);  // det H5 = 1/266716800000
  TMtx swap = RealMtx(2, 2, {0, 1, 1, 0});
  EXPECT_EQ(swap.Determinant(mtGeneral), -1);  // one row interchange
  EXPECT_EQ(RealMtx(2, 2, {1, 2, 2, 4}).Determinant(mtGeneral), 0);
  // The naive product of the diagonal overflows after two factors; the scaled one does not.
  TMtx wide = RealMtx(3, 3, {1e200, 0, 0, 0, 1e200, 0, 0, 0, 1e-300});
  EXPECT_NEAR(wide.Determinant(mtGeneral) / 1e100, 1, 1e-12);
  EXPECT_NEAR(wide.Determinant(mtTriangle) / 1e100, 1, 1e-12);
  // A pivot that overflows (finite entries) or an infinite one: the value is a signed infinity,
  // and the call returns (the scaling loop must not chase an infinite mantissa).
  EXPECT_TRUE(std::isinf(RealMtx(2, 2, {1e308, 1e308, -1e308, 1e308}).Determinant(mtGeneral)));
  EXPECT_EQ(RealMtx(2, 2, {INFINITY, 0, 0, 0.5}).Determinant(mtGeneral), INFINITY);
  EXPECT_EQ(RealMtx(2, 2, {INFINITY, 1, 1, 1}).Determinant(mtGeneral), INFINITY);
  EXPECT_EQ(RealMtx(3, 3, {-INFINITY, 0, 0, 0, 2, 0, 0, 0, 3}).Determinant(mtGeneral), -INFINITY);
  EXPECT_TRUE(std::isnan(RealMtx(2, 2, {NAN, 1, 1, 2}).Determinant(mtGeneral)));
  TMtx z = CplxMtx(2, 2, {{1, 1}, {2, 0}, {0, 1}, {3, -1}});  // (1+i)(3-i) - 2i = 4
  TCplx d;
  z.Determinant(d, mtGeneral);
  EXPECT_LT(std::abs(C(d.Re, d.Im) - C(4)), 1e-14);
  // The types LU refuses: the determinant of a band layout would be that of the storage array.
  ExpectMessages<EQuorelException>({
      {[&] { swap.Determinant(mtHermitian); }, "LU: Hermitian and not complex!"},
      {[&] { swap.Determinant(mtBandGeneral); }, "MtxType not supported"},
      {[&] { swap.Determinant(mtBandSymmPosDef); }, "MtxType not supported"},
      {[&] { z.Determinant(d, mtBandHermPosDef); }, "MtxType not supported"},
  });
}

TEST(Factorizations, LUAndCholeskyReproduceTheMatrix) {
  for (bool cplx : {false, true}) {
    TMtx g = Random(6, 6, cplx, 41), lu;
    TVec p;
    lu.LU(g, p, mtGeneral);
    TMtx l(6, 6, cplx), u(6, 6, cplx), pa = g;
    for (int i = 0; i < 6; ++i)
      for (int j = 0; j < 6; ++j) {
        Put(l, i, j, i > j ? Get(lu, i, j) : C(i == j ? 1 : 0));
        Put(u, i, j, i <= j ? Get(lu, i, j) : C(0));
      }
    for (int i = 0; i < 6; ++i) pa.RowExchange(i, static_cast<int>(*p.PValues(i)) - 1);
    EXPECT_LT(Diff(pa, NaiveMul(l, u)), 4) << cplx;

    for (TTriangleForm tf : {tfLower, tfUpper}) {
      TMtx a = PosDef(6, cplx, 42), f = a;
      f.SetTriangleForm(tf);
      f.Cholesky();
      TMtx prod = tf == tfLower ? NaiveMul(f, Op(f, opHerm)) : NaiveMul(Op(f, opHerm), f);
      EXPECT_LT(Diff(a, prod), 4) << cplx << tf;
    }
  }
  TMtx notPd = RealMtx(2, 2, {1, 2, 2, 1}), lu;
  TVec p;
  ExpectMessages<EQuorelException>({
      {[&] { notPd.Cholesky(); }, "Cholesky: leading minor of order 2 is not positive definite"},
      {[&] { lu.LU(notPd, p, mtHermitian); }, "LU: Hermitian and not complex!"},
      {[&] { lu.LU(notPd, p, mtTriangle); }, "MtxType not supported"},
      {[&] { lu.LU(RealMtx(2, 2, {1, 2, 2, 4}), p, mtGeneral); }, "LU factorization: U(2,2) = 0 (singular)"},
  });
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { Random(2, 3, false, 1).Cholesky(); }, "not Quadratic"},
      {[&] { lu.LU(Random(2, 3, false, 1), p, mtGeneral); }, "Quadratic = False"},
  });
}

// A 0 x 0 matrix is square, so every routine takes it: the results are empty (the determinant
// is the empty product, 1), and no LAPACK call is invalid, so nothing is raised or printed.
TEST(EmptyMatrix, EveryDenseRoutineAndTypeGivesTheEmptyResult) {
  auto sized = [](const TMtx& m, int rows, int cols) { return m.Rows() == rows && m.Cols() == cols; };
  testing::internal::CaptureStdout();
  for (bool cplx : {false, true}) {
    // Whether `call` empties an output that starts as a full 2 x 2 matrix.
    auto emptied = [&](auto call) {
      TMtx out = Random(2, 2, cplx, 7);
      EXPECT_NO_THROW(call(out));
      return sized(out, 0, 0);
    };
    std::vector<TMtxType> types = {mtSymmPosDef, mtSymmetric, mtTriangle, mtGeneral};
    if (cplx) types.insert(types.end(), {mtHermPosDef, mtHermitian});
    for (bool autoType : {false, true})
      for (TMtxType type : types) {
        SCOPED_TRACE(testing::Message() << "complex " << cplx << " auto " << autoType << " type " << int(type));
        TMtx a(0, 0, cplx);
        a.SetAutoMtxType(autoType);
        a.SetConditionNumber(cnNorm1);
        a.SetRefineSolution(true);
        // Every output starts non-empty, so one left alone shows.
        TMtx x = Random(2, 2, cplx, 1), m = a, vl, vr;
        TVec xv = RandomVec(3, cplx, 2), d = xv, p = xv;
        if (!(cplx && type == mtSymmPosDef) || autoType) {  // else refused by type, whatever the size
          EXPECT_NO_THROW(a.LUSolve(TMtx(0, 3, cplx), x, type, opNone));
          EXPECT_TRUE(sized(x, 0, 3));
          EXPECT_NO_THROW(a.LUSolve(TVec(0, cplx), xv, type, opNone));
          EXPECT_EQ(xv.Length(), 0);
          EXPECT_EQ(a.RCond(), 1);
        }
        EXPECT_NO_THROW(m.Inv(type));
        EXPECT_TRUE(sized(m, 0, 0));
        TCplx det{0, 0};
        EXPECT_NO_THROW(a.Determinant(det, type));
        EXPECT_EQ(C(det.Re, det.Im), C(1));
        if (!cplx) EXPECT_EQ(a.Determinant(type), 1);
        if (type != mtTriangle) {
          EXPECT_TRUE(emptied([&](TMtx& out) { out.LU(a, p, type); }));
          EXPECT_EQ(p.Length(), 0);
        }
        if (cplx && type == mtSymmetric && !autoType) continue;  // no complex symmetric eigen path
        EXPECT_NO_THROW(a.Eig(d, type));
        EXPECT_EQ(d.Length(), 0);
        for (TVectorForm form : {vfEig, vfSchur}) {
          d = RandomVec(3, cplx, 3);
          vl = vr = Random(2, 2, cplx, 4);
          EXPECT_NO_THROW(a.Eig(&vl, d, &vr, type, form));
          EXPECT_EQ(d.Length(), 0);
          EXPECT_TRUE(sized(vr, 0, 0));
          if (autoType || type == mtGeneral || type == mtTriangle) EXPECT_TRUE(sized(vl, 0, 0));
        }
        EXPECT_TRUE(emptied([&](TMtx& out) { out.MtxSqrt(a, type); }));
        EXPECT_TRUE(emptied([&](TMtx& out) { out.MtxPower(a, TCplx{-1, 1}, type); }));
      }
    // The routines without a type.
    TMtx a(0, 0, cplx), b(0, 0, cplx), l = Random(2, 2, cplx, 5), q = l, r = l;
    TVec d = RandomVec(3, cplx, 6);
    EXPECT_NO_THROW(TMtx(a).Cholesky());
    for (TEigGenType kind : {etAzBz, etABz, etBAz}) {
      EXPECT_TRUE(emptied([&](TMtx& out) { a.EigGen(b, out, d, kind); }));
      EXPECT_EQ(d.Length(), 0);
    }
    for (std::int32_t e : {-5, -1, 2, 5})  // |e| >= 5 takes the complex polar path
      EXPECT_TRUE(emptied([&](TMtx& out) { out.MtxIntPower(a, e); })) << e;
    EXPECT_NO_THROW(a.LQR(&l, &q, &r));
    EXPECT_TRUE(sized(q, 0, 0) && sized(r, 0, 0));
    q = r = Random(2, 2, cplx, 8);
    EXPECT_NO_THROW(a.LMinQR(&l, &q, &r));
    EXPECT_TRUE(sized(q, 0, 0) && sized(r, 0, 0));
    // Band layouts of order 0: one stored diagonal, no columns.
    for (TMtxType band : {mtBandGeneral, cplx ? mtBandHermPosDef : mtBandSymmPosDef}) {
      TMtx ab(1, 0, cplx);
      TVec xv = RandomVec(3, cplx, 9);
      EXPECT_NO_THROW(ab.LUSolve(TVec(0, cplx), xv, band, opNone));
      EXPECT_EQ(xv.Length(), 0);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  // The argument checks still come first.
  TMtx a(0, 0, false);
  ExpectMessages<EQuorelException>({
      {[&] { a.Determinant(mtHermitian); }, "LU: Hermitian and not complex!"},
      {[&] { a.Determinant(mtBandGeneral); }, "MtxType not supported"},
      {[&] { TVec x; a.LUSolve(TVec(0), x, mtHermitian, opNone); }, "Hermitian solve: not complex!"},
      {[&] { TVec x; a.LUSolve(TVec(1), x, mtGeneral, opNone); }, "B.Length <> Rows"},
  });
}

// The scratch arenas: grown by a large call, reused by smaller ones, emptied by the release hook.
TEST(LapackWork, ReusedAcrossSizesAndFreedByTheReleaseHook) {
  for (int n : {60, 4, 60, 9}) {
    TMtx a = Random(n, n, n == 9, 130 + n), b = Random(n, 2, n == 9, 131), x;
    a.LUSolve(b, x, mtGeneral, opNone);
    EXPECT_LT(Residual(a, x, b), kResidualTol) << n;
  }
  EXPECT_GT(detail::lapack::IdleLapackWorkBytes(), 60u * 60 * 8);
  Controller->FreeMKLMemory();
  EXPECT_EQ(detail::lapack::IdleLapackWorkBytes(), 0u);
}

}  // namespace
}  // namespace quorel::test
