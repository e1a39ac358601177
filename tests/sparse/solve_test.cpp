#include <algorithm>
#include <array>

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

constexpr int kScaleIndex = 16;  // the library's row-scaling switch in Control

TEST(SparseSolveUmfPack, RealAndComplexFilesSolveToRoundOff) {
  for (const char* name : {"west0067.mtx", "young1c.mtx", "can___24.mtx", "cha.mtx", "arrowc.mtx"}) {
    TSparseMtx a;
    a.LoadFromMatrixMarketFile(MatrixFile(name));
    a.SparseSolver = ssUmfPack;
    TVec b, x;
    KnownRhs(a, b, x);
    a.Solve(b, x, mtGeneral);
    EXPECT_LT(RelativeResidual(a, b, x), 1e-14) << name;
    EXPECT_EQ(a.ErrorText(), "");
  }
}

TEST(SparseSolveUmfPack, MatrixRightHandSidesAndAliasing) {
  TSparseMtx a;
  a.LoadFromMatrixMarketFile(MatrixFile("west0067.mtx"));
  TMtx b(67, 3), x;
  for (int i = 0; i < 67; ++i)
    for (int j = 0; j < 3; ++j) b.Values(i, j) = std::cos(i + 7.0 * j);
  a.SolveUmfPack(b, x);
  EXPECT_EQ((std::array{x.Rows(), x.Cols()}), (std::array{67, 3}));
  EXPECT_LT(a.ResidualNorm(b, x), 1e-10);

  TVec v(67), w;
  for (int i = 0; i < 67; ++i) v[i] = b.Values(i, 1);
  a.SolveUmfPack(v, w);
  a.SolveUmfPack(v, v);  // B and X the same vector
  for (int i = 0; i < 67; ++i) EXPECT_DOUBLE_EQ(v[i], w[i]);
  for (int i = 0; i < 67; ++i) EXPECT_DOUBLE_EQ(w[i], x.Values(i, 1));
}

TEST(SparseSolveUmfPack, FactorSystemsComposeToTheWholeSystem) {
  TSparseMtx a;
  a.LoadFromMatrixMarketFile(MatrixFile("young1c.mtx"));
  a.UmfControl()[kScaleIndex] = 0;  // without row scaling P'L and UQ' multiply back to A
  TVec b, x, y, z;
  const TVec xTrue = KnownRhs(a, b, x);
  auto solve = [&](TSparseSystem s, const TVec& rhs, TVec& out) {
    a.SparseSystem = s;
    a.SolveUmfPack(rhs, out);
  };
  auto relErr = [&](const TVec& got) {
    double e = 0;
    for (std::size_t k = 0; k < got.Values().size(); ++k) e += std::pow(got.Values()[k] - xTrue.Values()[k], 2);
    return std::sqrt(e) / Norm2(xTrue);
  };
  solve(spsPtL, b, y);
  solve(spsUQT, y, z);
  EXPECT_LT(relErr(z), 1e-10);

  // A' x = b (conjugate transpose) as Q U' then L' P, and the plain transpose the same way.
  TSparseMtx ah, at;
  at.Transp(a);
  ah.Transp(a);
  for (auto& c : ah.CValues()) c.Im = -c.Im;
  for (auto [whole, first, second, op] : {std::tuple{spsAT, spsQUT, spsLTP, &ah}, std::tuple{spsAat, spsQUaT, spsLaTP, &at}}) {
    TVec bt;
    bt.Copy(xTrue);
    op->MulRight(bt);
    solve(whole, bt, z);
    EXPECT_LT(relErr(z), 1e-10) << SparseSystemText(whole);
    solve(first, bt, y);
    solve(second, y, z);
    EXPECT_LT(relErr(z), 1e-10) << SparseSystemText(first);
  }
  // The triangular systems on their own: the conjugated and plain forms differ on complex data.
  TVec l1, l2;
  solve(spsLT, b, l1);
  solve(spsLaT, b, l2);
  EXPECT_NE(Doubles(l1), Doubles(l2));
  for (TSparseSystem s : {spsL, spsU, spsUT, spsUaT}) {
    solve(s, b, z);
    for (double v : z.Values()) ASSERT_TRUE(std::isfinite(v)) << SparseSystemText(s);
  }
}

TEST(SparseSolveUmfPack, RetainedFactorsFollowThePatternFlag) {
  TSparseMtx a;
  Poisson2D(a, 10);
  TVec b, x;
  KnownRhs(a, b, x);
  a.SolveUmfPack(b, x);
  EXPECT_EQ(a.SparsePattern(), sppNumeric);
  // The kept analysis serves a new numeric factor.
  a.FreeNumeric();
  EXPECT_EQ(a.SparsePattern(), sppSymbolic);
  TVec x2;
  a.SolveUmfPack(b, x2);
  for (int i = 0; i < 100; ++i) EXPECT_NEAR(x2[i], x[i], 1e-12);
  a.FreeSymbolic();
  EXPECT_EQ(a.SparsePattern(), sppNone);
  // Any builder drops the retained factors.
  a.ZeroThresh(0);
  EXPECT_EQ(a.SparsePattern(), sppNone);
}

// With the factor kept, a solve allocates nothing: the library's workspace stays with the factor,
// and the report line of the default level takes the storage of the line it replaces.
TEST(SparseSolveUmfPack, SolvesWithTheKeptFactorAllocateNothing) {
  SKIP_UNLESS_ALLOCATIONS_COUNTED();
  TSparseMtx poisson;
  Poisson2D(poisson, 12);
  for (bool complex : {false, true}) {
    TSparseMtx a;
    if (complex) Hermitian(a, poisson, 0.5);
    else a.Copy(poisson);
    a.SparseSolver = ssUmfPack;
    a.RefinmentIters = 2;  // the largest workspace
    TVec b, x, first;
    KnownRhs(a, b, x);
    TMtx bm(a.Rows(), 3, complex), xm;
    for (std::size_t k = 0; k < bm.Values().size(); ++k) bm.Values()[k] = std::cos(double(k));
    for (TReportLevel level : {prlNone, prlBasic}) {
      a.ReportLevel = level;
      a.Solve(b, first, mtGeneral);
      a.Solve(bm, xm, mtGeneral);
      EXPECT_EQ(AllocationsDuring([&] { a.Solve(b, x, mtGeneral); }), 0) << complex << level;
      EXPECT_EQ(AllocationsDuring([&] { a.Solve(bm, xm, mtGeneral); }), 0) << complex << level;
      EXPECT_EQ(a.Report().size(), level == prlNone ? 0u : 1u);
      EXPECT_EQ(Doubles(x), Doubles(first));
    }
    // A line written into kept storage reads as a line written afresh.
    TSparseMtx fresh;
    fresh.Copy(a);
    fresh.SparseSolver = ssUmfPack;
    fresh.Solve(b, x, mtGeneral);
    a.Solve(b, x, mtGeneral);
    ASSERT_EQ(a.Report().size(), 1u);
    ASSERT_EQ(fresh.Report().size(), 1u);
    const std::string& line = a.Report()[0];
    EXPECT_EQ(line.substr(0, line.find(':')), fresh.Report()[0].substr(0, fresh.Report()[0].find(':')));
    EXPECT_EQ(line.find("UMFPACK", 1), fresh.Report()[0].find("UMFPACK", 1));
  }
}

/// True when some column stores its rows out of ascending order.
bool OutOfRowOrder(const TSparseMtx& a) {
  for (int j = 0; j < a.Cols(); ++j)
    if (!std::is_sorted(a.Ai().begin() + a.Ap()[j], a.Ai().begin() + a.Ap()[j + 1])) return true;
  return false;
}

/// A with the rows of every column stored in reverse order.
TSparseMtx& Reversed(TSparseMtx& out, const TSparseMtx& a) {
  std::vector<std::int32_t> ai(a.Ai().begin(), a.Ai().end());
  std::vector<double> v(a.Values().begin(), a.Values().end());
  const std::size_t w = a.Complex() ? 2 : 1;
  for (int j = 0; j < a.Cols(); ++j) {
    std::reverse(ai.begin() + a.Ap()[j], ai.begin() + a.Ap()[j + 1]);
    for (int k = a.Ap()[j], q = a.Ap()[j + 1] - 1; k < q; ++k, --q)
      std::swap_ranges(v.begin() + w * k, v.begin() + w * (k + 1), v.begin() + w * q);
  }
  if (!a.Complex()) return out.Assign(a.Rows(), a.Cols(), a.Ap(), ai, v);
  return out.Assign(a.Rows(), a.Cols(), a.Ap(), ai,
                    std::span<const TCplx>(reinterpret_cast<const TCplx*>(v.data()), v.size() / 2));
}

// Products and sums store their columns in the order rows first appear. The LU back end (and
// the Cholesky back end's LU) solve such a matrix exactly as the same one stored in order: same
// factors, same refinement, also after new values in the kept pattern.
TEST(SparseSolveUmfPack, ColumnsOutOfRowOrderSolveAsSortedOnes) {
  for (const char* name : {"west0067.mtx", "young1c.mtx"}) {
    TSparseMtx a, reversed;
    a.LoadFromMatrixMarketFile(MatrixFile(name));
    Reversed(reversed, a);
    ASSERT_TRUE(OutOfRowOrder(reversed)) << name;
    TVec b, xa, xr;
    KnownRhs(a, b, xa);
    TMtx bm(a.Rows(), 2, a.Complex()), xma, xmr;
    for (std::size_t k = 0; k < bm.Values().size(); ++k) bm.Values()[k] = std::sin(double(k));
    for (TSparseSystem sys : {spsA, spsAT}) {
      SCOPED_TRACE(std::string(name) + " " + SparseSystemText(sys));
      for (TSparseMtx* m : {&a, &reversed}) {
        m->SparseSolver = ssUmfPack;
        m->SparseSystem = sys;
      }
      a.Solve(b, xa, mtGeneral);
      reversed.Solve(b, xr, mtGeneral);
      EXPECT_EQ(reversed.ErrorText(), "");
      EXPECT_EQ(Doubles(xa), Doubles(xr));
      a.Solve(bm, xma, mtGeneral);
      reversed.Solve(bm, xmr, mtGeneral);
      EXPECT_EQ(Doubles(xma), Doubles(xmr));
      a.Scale(2.0);
      reversed.Scale(2.0);
      a.Solve(b, xa, mtGeneral);
      reversed.Solve(b, xr, mtGeneral);
      EXPECT_EQ(Doubles(xa), Doubles(xr));
    }
    // A sum of the library's own, through the Cholesky back end's LU on a general matrix.
    TSparseMtx lower, upper, merged;
    TVec diag;
    a.Split(lower, diag, upper);
    merged.AddSplit(lower, diag, upper);
    ASSERT_TRUE(OutOfRowOrder(merged)) << name;
    merged.SparseSolver = ssTaucs;
    merged.Taucs().Factor = tfLU;
    merged.Solve(b, xr, mtGeneral);
    EXPECT_EQ(merged.ErrorText(), "");
    EXPECT_LT(RelativeResidual(merged, b, xr), 1e-14) << name;
  }
}

TEST(SparseSolveUmfPack, FailuresReportTheRoutineAndStatus) {
  TSparseMtx a;
  a.SparseSolver = ssUmfPack;
  a.TripletsToSparse(2, 2, TIntegerArray{0, 1, 0, 1}, TIntegerArray{0, 0, 1, 1}, TDoubleArray{1, 1, 1, 1});
  TVec b = Real({1, 2}), x = Real({7, 7, 7});
  EXPECT_RAISES(a.Solve(b, x, mtGeneral), "umfpack_numeric: matrix is singular failed!");
  EXPECT_EQ(x.Length(), 3);  // left as it was
  EXPECT_EQ(a.ErrorText(), "umfpack_numeric: matrix is singular failed!");
  ASSERT_FALSE(a.Report().empty());
  EXPECT_EQ(a.Report()[0], "umfpack_numeric: matrix is singular failed!\n");

  TSparseMtx p;
  Poisson2D(p, 3);
  Zeros(b, 9);
  p.SparseSystem = TSparseSystem(15);
  EXPECT_RAISES(p.SolveUmfPack(b, x), "umfpack_solve: invalid system failed!");
  p.SparseSystem = spsA;
  p.SolveUmfPack(b, x);
  EXPECT_EQ(p.ErrorText(), "");

  TSparseMtx rect;
  rect.TripletsToSparse(3, 2, TIntegerArray{0, 1}, TIntegerArray{0, 1}, TDoubleArray{1, 1});
  Zeros(b, 2);
  EXPECT_RAISES(rect.SolveUmfPack(b, x), "umfpack_solve: invalid system failed!");
}

TEST(SparseSolveUmfPack, ReportFollowsReportLevel) {
  TSparseMtx a;
  Poisson2D(a, 4);
  TVec b(16), x;
  b[3] = 1;
  a.ReportLevel = prlNone;
  a.SolveUmfPack(b, x);
  EXPECT_TRUE(a.Report().empty());
  a.ReportLevel = prlExtensive;
  a.FreeSymbolic();
  a.SolveUmfPack(b, x);
  ASSERT_GE(a.Report().size(), 3u);  // symbolic, numeric, info
  EXPECT_THAT(a.Report(), testing::Contains(testing::HasSubstr("UMFPACK")));
}

TEST(SparseSolve, DispatchRefusals) {
  TSparseMtx a;
  Poisson2D(a, 3);
  TVec b(9), x;
  EXPECT_RAISES(a.Solve(b, x, mtBandGeneral), "Use TMtx.LUSolve for banded matrices!");
  EXPECT_RAISES(a.Solve(b, x, mtBandSymmPosDef), "Use TMtx.LUSolve for banded matrices!");
  Zeros(b, 8);
  EXPECT_RAISES(a.SolveUmfPack(b, x), "FCols <> B.Length");
  Zeros(b, 9, true);
  EXPECT_RAISES(a.SolveUmfPack(b, x), "B.Complex <> Complex");
  TMtx bm, xm;
  EXPECT_RAISES(a.SolveUmfPack(bm, xm), "B.Rows = 0!");
  bm.Size(4, 1);
  EXPECT_RAISES(a.SolveUmfPack(bm, xm), "FCols <> B.Rows");
  a.SetValue(0, 0, 1);
  Zeros(b, 9, false);
  EXPECT_RAISES(a.SolveUmfPack(b, x), "Call TripletsToSparseAndFlush first!");
}

TEST(SparseSolve, TypeCodesOfTheOtherBackEnds) {
  TSparseMtx r, c;
  c.set_Complex(true);
  const int pr[] = {2, -2, 0, 0, 11, 11}, pc[] = {0, 6, 4, -4, 13, 13};
  const int tr[] = {9, 0, 0, 0, 5, 0}, tc[] = {8, 0, 16, 0, 5, 0};
  for (int t = mtSymmPosDef; t <= mtGeneral; ++t) {
    const auto type = TMtxType(t);
    if (pr[t]) EXPECT_EQ(r.MtxTypePardiso(type), pr[t]); else EXPECT_RAISES(r.MtxTypePardiso(type), "Not supported");
    if (pc[t]) EXPECT_EQ(c.MtxTypePardiso(type), pc[t]); else EXPECT_RAISES(c.MtxTypePardiso(type), "Not supported");
  }
  for (int t : {mtSymmPosDef, mtTriangle, mtGeneral}) {
    EXPECT_EQ(r.MtxTypeTaucs(TMtxType(t)), tr[t]);
    EXPECT_EQ(c.MtxTypeTaucs(TMtxType(t)), tc[t]);
  }
  EXPECT_EQ(c.MtxTypeTaucs(mtHermPosDef), 16);
  EXPECT_RAISES(r.MtxTypeTaucs(mtHermPosDef), "Taucs: A hermitian matrix must be complex!");
  EXPECT_RAISES(c.MtxTypeTaucs(mtSymmetric), "Taucs does not support symmetric matrices which are not positive definite!");
  EXPECT_RAISES(r.MtxTypeTaucs(mtHermitian), "Taucs does not support hermitian matrices which are not positive definite!");
}

}  // namespace
}  // namespace quorel::test
