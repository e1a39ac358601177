// Matrix functions, integer powers, the Sylvester equation and Toeplitz systems.
#include <cmath>

#include "dense/dense_util.h"
#include "quorel/dense/toeplitz.h"

namespace quorel::test {
namespace {

TMtx Power(const TMtx& a, int n) {
  TMtx r = a;
  for (int k = 1; k < n; ++k) r = NaiveMul(r, a);
  return r;
}

TEST(MtxIntPower, SquaringPathsAndTheComplexPolarPath) {
  TMtx a = Random(4, 4, false, 1), p;
  p.MtxIntPower(a, 0);
  EXPECT_EQ(Doubles(p), Doubles(Eye(4, false)));
  p.MtxIntPower(a, -1);
  TMtx inv = a;
  inv.Inv(mtGeneral);
  EXPECT_LT(Diff(inv, p), 4);
  for (int n : {1, 2, 3, 6, 7}) {
    p.MtxIntPower(a, n);
    EXPECT_LT(Diff(Power(a, n), p), 8) << n;
  }
  TMtx z = Random(3, 3, true, 2);
  p.MtxIntPower(z, 4);  // below 5: true matrix products
  EXPECT_LT(Diff(Power(z, 4), p), 8);
  p.MtxIntPower(z, -4);
  EXPECT_LT(Residual(Power(z, 4), p, Eye(3, true)), kResidualTol);
  // From 5 on the magnitudes are raised as a matrix and the phases scaled element by element.
  TMtx mag(3, 3, false);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) mag.Values(i, j) = std::abs(Get(z, i, j));
  const TMtx mag5 = Power(mag, 5);
  p.MtxIntPower(z, 5);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const C expect = std::polar(mag5.Values(i, j), 5 * std::arg(Get(z, i, j)));
      EXPECT_LT(std::abs(Get(p, i, j) - expect), 1e-13 * std::abs(expect));
    }
}

TEST(MtxFunction, PowersAndSquareRootsThroughTheEigenDecomposition) {
  for (bool cplx : {false, true}) {
    TMtx spd = PosDef(5, cplx, 3), s;
    s.MtxSqrt(spd, cplx ? mtHermPosDef : mtSymmPosDef);
    EXPECT_EQ(s.Complex(), cplx);  // a real symmetric matrix keeps a real root
    EXPECT_LT(Diff(spd, NaiveMul(s, s)), 30) << cplx;
    TMtx g = Random(4, 4, cplx, 4), sq;
    sq.MtxPower(g, 2.0, mtGeneral);
    TMtx g2 = NaiveMul(g, g);
    if (!cplx) g2.ExtendToComplex(true);
    EXPECT_LT(Diff(g2, sq), 1e3) << cplx;  // through V and inv(V): conditioned by V
    sq.MtxPower(g, TCplx{-1, 0}, mtGeneral);
    TMtx inv = g;
    inv.Inv(mtGeneral);
    if (!cplx) inv.ExtendToComplex(true);
    EXPECT_LT(Diff(inv, sq), 1e3) << cplx;
  }
  // exp([[0, 1], [1, 0]]) = [[cosh 1, sinh 1], [sinh 1, cosh 1]].
  TMtx a = RealMtx(2, 2, {0, 1, 1, 0}), e;
  e.MtxFunction(a, {}, [](TVec& v, std::span<const TCplx>) {
    for (int i = 0; i < v.Length(); ++i) *v.PCValues(i) = {std::exp(v.PCValues(i)->Re), 0};
  }, mtSymmetric);
  const double c = std::cosh(1.0), s = std::sinh(1.0);
  EXPECT_THAT(Doubles(e), testing::Pointwise(testing::DoubleNear(4 * kEps), {c, s, s, c}));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { e.MtxSqrt(Random(2, 3, false, 1), mtGeneral); }),
            "not Src.Quadratic");
}

// A projection and a rank-one matrix: A^0 = I; A^(1/2) of diag(4, 0) is diag(2, 0). Zero
// eigenvalues give the limits, not NaN.
TEST(MtxPower, ZeroEigenvaluesGiveTheLimitsNotNaN) {
  TMtx r;
  for (TMtxType type : {mtSymmetric, mtGeneral}) {
    for (auto [a, tol] : {std::pair{RealMtx(2, 2, {1, 0, 0, 0}), 1e-15}, std::pair{RealMtx(2, 2, {1, 1, 1, 1}), 1e-14}}) {
      r.MtxPower(a, 0.0, type);
      for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j) EXPECT_LT(std::abs(Get(r, i, j) - C(i == j)), tol) << type << i << j;
    }
    r.MtxSqrt(RealMtx(2, 2, {4, 0, 0, 0}), type);
    EXPECT_LT(std::abs(Get(r, 0, 0) - C(2)), 1e-15);
    EXPECT_EQ(Get(r, 1, 1), C(0));
  }
}

TEST(Sylvester, TriangularOperandsEveryOperationAndSign) {
  for (bool cplx : {false, true})
    for (TMtx::TSign sign : {TMtx::siPlus, TMtx::siMinus})
      for (TMtxOperation op : {opNone, cplx ? opHerm : opTran}) {
        TMtx a = Triangular(4, cplx, 5, false), b = Triangular(3, cplx, 6, false), c = Random(4, 3, cplx, 7), x;
        for (int i = 0; i < 3; ++i) Put(b, i, i, Get(b, i, i) + C(3));  // keep A and -B apart
        x.Sylvester(a, b, c, sign, op, op);
        TMtx lhs = NaiveMul(Op(a, op), x), xb = NaiveMul(x, Op(b, op));
        for (int i = 0; i < 4; ++i)
          for (int j = 0; j < 3; ++j) Put(lhs, i, j, Get(lhs, i, j) + (sign == TMtx::siPlus ? 1.0 : -1.0) * Get(xb, i, j));
        EXPECT_LT(Diff(c, lhs), 30) << cplx << sign << op;
      }
  TMtx a = Random(3, 3, false, 1), x;
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { x.Sylvester(a, Random(3, 3, true, 2), a, TMtx::siPlus, opNone, opNone); }, "A.Complex <> B.Complex"},
      {[&] { x.Sylvester(Random(3, 2, false, 2), a, a, TMtx::siPlus, opNone, opNone); }, "not A.Quadratic"},
      {[&] { x.Sylvester(a, a, Random(2, 3, false, 3), TMtx::siPlus, opNone, opNone); }, "C.Rows <> A.Rows"},
  });
}

// The dense n x n Toeplitz matrix of a first row and the first column below the diagonal.
TMtx DenseToeplitz(const TVec& row, const TVec& col) {
  const int n = row.Length();
  TMtx t(n, n, row.Complex());
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) Put(t, i, j, j >= i ? GetV(row, j - i) : GetV(col, i - j - 1));
  return t;
}

TEST(Toeplitz, SolvesGeneralSystemsRealAndComplex) {
  for (bool cplx : {false, true})
    for (int n : {1, 2, 7, 40}) {
      TVec row = RandomVec(n, cplx, 8), col = RandomVec(n - 1, cplx, 9), b = RandomVec(n, cplx, 10), x;
      if (cplx) row.PCValues(0)->Re += 3;
      else *row.PValues(0) += 3;  // regular leading minors
      ToeplitzSolve(row, col, b, x);
      EXPECT_LT(Residual(DenseToeplitz(row, col), Column(x), Column(b)), kResidualTol) << cplx << n;
    }
  // A zero leading element is a singular first minor although the matrix is regular.
  TVec row = Real({0, 1}), col = Real({1}), b = Real({1, 1}), x;
  EXPECT_EQ(MessageOf<EQuorelException>([&] { ToeplitzSolve(row, col, b, x); }),
            "ToeplitzSolve: singular leading minor of order 1");
  TVec b3 = Real({1, 2, 3}), z = Cplx({{1, 0}, {0, 1}});
  ExpectMessages<Exception>({
      {[&] { ToeplitzSolve(row, col, b3, x); }, "(FirstCol.Length+1) <> B.Length"},
      {[&] { ToeplitzSolve(b3, col, b, x); }, "FirstRow.Length <> (FirstCol.Length+1)"},
      {[&] { ToeplitzSolve(row, col, z, x); }, "(FirstRow.Complex <> FirstCol.Complex) or (FirstRow.Complex <> B.Complex)"},
  });
}

TEST(Levinson, PredictionCoefficients) {
  TVec r = Real({1, 0.5}), a;
  Levinson(r, a);
  EXPECT_EQ(Doubles(a), (std::vector<double>{1, -0.5}));
  for (bool cplx : {false, true}) {
    // Autocorrelation of a stable AR(2)-like sequence; compare with a dense Hermitian solve.
    const TVec rr = cplx ? Cplx({{2, 0}, {0.8, 0.3}, {0.3, -0.2}, {0.1, 0.05}}) : Real({2, 0.8, 0.3, 0.1});
    Levinson(rr, a);
    ASSERT_EQ(a.Length(), 4);
    TMtx t(3, 3, cplx), rhs(3, 1, cplx), coef(3, 1, cplx);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) Put(t, i, j, i >= j ? GetV(rr, i - j) : std::conj(GetV(rr, j - i)));
      Put(rhs, i, 0, -GetV(rr, i + 1));
      Put(coef, i, 0, GetV(a, i + 1));
    }
    EXPECT_EQ(GetV(a, 0), C(1));
    EXPECT_LT(Residual(t, coef, rhs), kResidualTol) << cplx;
  }
  r.SetCplx({{1, 0.1}, {0.5, 0}});
  EXPECT_EQ(MessageOf<EQuorelException>([&] { Levinson(r, a); }), "Levinson: R[0] must be real");
}

}  // namespace
}  // namespace quorel::test
