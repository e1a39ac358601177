// Solve through the iterative, LDL'/LU and Cholesky back ends, bound to the matrix.

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

using test::KnownRhs;
using test::RelativeResidual;

/// Two right-hand sides as columns, and a zero start guess.
void KnownRhs(const TSparseMtx& a, TMtx& b, TMtx& x) {
  b.Size(a.Cols(), 2, false);
  for (std::int32_t i = 0; i < a.Cols(); ++i) {
    b.Values(i, 0) = std::cos(i);
    b.Values(i, 1) = 1.0 + i % 3;
  }
  x.Size(a.Cols(), 2, false);
  std::fill(x.Values().begin(), x.Values().end(), 0.0);
}

double RelativeResidual(const TSparseMtx& full, const TMtx& b, const TMtx& x) {
  double xn = 0;
  for (double v : x.Values()) xn = std::max(xn, std::abs(v));
  return full.ResidualNorm(b, x) / (Norm2(full) * xn);
}

class SolveBackEnds : public ::testing::Test {
 protected:
  void SetUp() override {
    Poisson2D(poisson, 8);
    lower.LowerTriangle(poisson);
    Stencil2D(convection, 7, 5, -1.5, -0.5, -1, -1);  // convection: unsymmetric
  }
  TSparseMtx poisson, lower, convection;
};

TEST_F(SolveBackEnds, DefaultIterativeSolveOnLowerTriangleStorage) {
  ASSERT_EQ(lower.SparseSolver, ssIterative);
  TVec b, x;
  KnownRhs(poisson, b, x);
  lower.Solve(b, x, mtSymmPosDef);
  EXPECT_GT(lower.ActualIters(), 1);
  EXPECT_LT(RelativeResidual(poisson, b, x), 1e-11);
  // The start guess is used: starting from the solution takes no real work.
  lower.Solve(b, x, mtSymmPosDef);
  EXPECT_LE(lower.ActualIters(), 1);
}

TEST_F(SolveBackEnds, IterativeArgumentsRaise) {
  TVec b, x;
  KnownRhs(poisson, b, x);
  x.Size(63);
  EXPECT_RAISES(poisson.Solve(b, x, mtGeneral), "B.Length <> X.Length");
  b.Size(63);
  EXPECT_RAISES(poisson.Solve(b, x, mtGeneral), "FCols <> B.Length");
  b.Size(64);
  x.Size(64);
  x[0] = 42;  // after the resizes: a re-sized block keeps no values
  EXPECT_RAISES(poisson.Solve(b, x, mtSymmPosDef),
                "Iterative solve: Symmetric matrix must contain only lower triangle!");
  EXPECT_EQ(x[0], 42);
  TVec c(64, true);
  EXPECT_RAISES(poisson.Solve(c, c, mtGeneral), "B.Complex or X.Complex");
  TMtx bm, xm;
  KnownRhs(poisson, bm, xm);
  xm.Size(64, 3);
  EXPECT_RAISES(poisson.Solve(bm, xm, mtGeneral), "B.Length <> X.Length");
}

// Each back end solves vector and matrix right-hand sides (Taucs LU takes a general matrix).
TEST_F(SolveBackEnds, VectorAndMatrixRightHandSides) {
  // The matrix as stored, the full matrix it stands for, back end, type, residual bound.
  const std::tuple<TSparseMtx*, const TSparseMtx*, TSparseSolver, TMtxType, double> cases[] = {
      {&convection, &convection, ssIterative, mtGeneral, 1e-11}, {&poisson, &poisson, ssPardiso, mtSymmPosDef, 1e-14},
      {&convection, &convection, ssPardiso, mtGeneral, 1e-14},   {&lower, &poisson, ssTaucs, mtSymmPosDef, 1e-14},
      {&convection, &convection, ssTaucs, mtGeneral, 1e-14}};
  for (auto [a, full, solver, type, bound] : cases) {
    a->SparseSolver = solver;
    a->IterativeMethod = itmLUGMRES;
    a->Taucs().Factor = type == mtGeneral ? tfLU : tfCholesky;
    EXPECT_EQ(SolveChecked(*a, *full, type, bound), "") << solver;
    TMtx bm, xm;
    KnownRhs(*full, bm, xm);
    a->Solve(bm, xm, type);
    ASSERT_EQ(xm.Cols(), 2);
    EXPECT_LT(RelativeResidual(*full, bm, xm), bound) << solver;
  }
  // The basic report names the solver's outputs; prlNone keeps it empty.
  convection.SparseSolver = ssPardiso;
  TVec b, x;
  KnownRhs(convection, b, x);
  convection.Solve(b, x, mtGeneral);
  ASSERT_FALSE(convection.Report().empty());
  EXPECT_EQ(convection.Report()[0].rfind("Number of perturbed pivots during the elimination process ", 0), 0u);
  convection.ReportLevel = prlNone;
  convection.Solve(b, x, mtGeneral);
  EXPECT_TRUE(convection.Report().empty());
}

TEST_F(SolveBackEnds, PardisoMessagesAndIndefiniteFailure) {
  poisson.SparseSolver = ssPardiso;
  TVec b, x;
  b.Size(63);
  EXPECT_RAISES(poisson.Solve(b, x, mtGeneral), "B.Length <> Rows");
  TMtx bm(63, 2), xm;
  EXPECT_RAISES(poisson.Solve(bm, xm, mtGeneral), "B.Rows <> Rows");
  b.Size(64);
  EXPECT_RAISES(poisson.Solve(b, x, mtHermPosDef), "Not supported");

  // -Poisson declared definite: a library failure, reported; X keeps its contents.
  TSparseMtx neg;
  neg.Copy(poisson);
  for (double& v : neg.Values()) v = -v;
  neg.SparseSolver = ssPardiso;
  KnownRhs(neg, b, x);
  x[0] = 42;
  EXPECT_NO_THROW(neg.SolvePardiso(b, x, mtSymmPosDef));  // the back end called directly, as Solve does
  EXPECT_EQ(neg.ErrorText(), "zero pivot, numerical factorization problem");
  EXPECT_EQ(x[0], 42);
  ASSERT_FALSE(neg.Report().empty());
  EXPECT_EQ(neg.Report().back(), "zero pivot, numerical factorization problem\n");
  EXPECT_EQ(SolveChecked(neg, neg, mtSymmetric, 1e-14), "");
}

TEST_F(SolveBackEnds, TaucsMessagesAndFailures) {
  poisson.SparseSolver = ssTaucs;
  TVec b, x;
  KnownRhs(poisson, b, x);
  EXPECT_RAISES(poisson.Solve(b, x, mtSymmPosDef), "Symmetric matrix must contain only lower triangle!");
  EXPECT_RAISES(poisson.Solve(b, x, mtSymmetric),
                "Taucs does not support symmetric matrices which are not positive definite!");
  TVec c(64, true);
  EXPECT_RAISES(poisson.Solve(c, x, mtGeneral), "B.Complex <> Complex");
  b.Size(63);
  EXPECT_RAISES(poisson.Solve(b, x, mtGeneral), "B.Length <> Rows");

  // Cholesky of a general matrix: reported, X unchanged, no raise (indefinite: direct_test).
  KnownRhs(poisson, b, x);
  x[0] = 42;
  poisson.Solve(b, x, mtGeneral);
  EXPECT_EQ(poisson.ErrorText(), "The parameters passed to the routine are invalid.");
  EXPECT_EQ(poisson.ErrorText(), poisson.Taucs().ErrorText());
  EXPECT_EQ(x[0], 42);

  // A failed LU factorisation is this back end's failure too, on the whole and on the mirrored
  // matrix alike: no raise, X unchanged, both texts replaced and reported.
  TSparseMtx singular;
  singular.TripletsToSparse(2, 2, TIntegerArray{0}, TIntegerArray{0}, TDoubleArray{1});
  singular.SparseSolver = ssTaucs;
  singular.Taucs().Factor = tfLU;
  for (TMtxType type : {mtGeneral, mtSymmPosDef}) {
    singular.Taucs().CheckError(-4);
    KnownRhs(singular, b, x);
    x[0] = 42;
    EXPECT_NO_THROW(singular.Solve(b, x, type));
    EXPECT_EQ(singular.ErrorText(), "Unknown error.");
    EXPECT_EQ(singular.Taucs().ErrorText(), "Unknown error.");
    EXPECT_EQ(x[0], 42);
    ASSERT_FALSE(singular.Report().empty());
    EXPECT_EQ(singular.Report().back(), "Unknown error.\n");
    TMtx bm, xm;
    KnownRhs(singular, bm, xm);
    xm.Values(0, 1) = 42;
    EXPECT_NO_THROW(singular.SolveTaucs(bm, xm, type));  // the back end called directly
    EXPECT_EQ(xm.Values(0, 1), 42);
  }
  singular.TripletsToSparse(2, 2, TIntegerArray{0, 1}, TIntegerArray{0, 1}, TDoubleArray{1, 2});
  KnownRhs(singular, b, x);
  singular.SolveTaucs(b, x, mtGeneral);
  EXPECT_EQ(singular.ErrorText(), "");
  EXPECT_EQ(singular.Taucs().ErrorText(), "");
  EXPECT_DOUBLE_EQ(x[1], b[1] / 2);
}

// Only a tolerance under 500 unit roundoffs (500 * 2^-53) is too tight to be met; the solve
// then goes on to that floor.
TEST_F(SolveBackEnds, IterativeToleranceFloor) {
  constexpr double kFloor = 500 * 0x1p-53;
  const char* tight = "User error tolerance set too tight. Reset to 500.0*D1MACH(3). Iteration proceeded.";
  lower.MaxIters = 1000;
  for (double tol : {1e-13, 6e-14, 5e-14}) {
    TVec b, x;
    KnownRhs(poisson, b, x);
    lower.Tolerance = tol;
    lower.SolveIterative(b, x, true);  // the back end called directly, as Solve does
    EXPECT_EQ(lower.ErrorText(), tol > kFloor ? "" : tight) << tol;
    EXPECT_LE(lower.BackError(), std::max(tol, kFloor)) << tol;
  }
}


// A solve with the kept Cholesky factor reuses the library's workspace: it allocates only the
// option table, which every solve builds anew.
TEST_F(SolveBackEnds, TaucsSolvesWithTheKeptFactorAllocateOnlyTheOptions) {
  SKIP_UNLESS_ALLOCATIONS_COUNTED();
  lower.SparseSolver = ssTaucs;
  lower.ReportLevel = prlNone;
  TVec b, x, first;
  KnownRhs(poisson, b, x);
  TMtx bm, xm;
  KnownRhs(poisson, bm, xm);
  // The workspace has the shape of the right-hand sides: each count is warmed by a solve of its own.
  for (TTaucsFactorization f : {tfCholesky, tfLDL, tfMultiFrontal}) {
    lower.Taucs().Factor = f;
    const long options = AllocationsDuring([&] { lower.Taucs().BuildOptions(lower.MaxIters, lower.Tolerance); });
    lower.Solve(b, first, mtSymmPosDef);
    EXPECT_EQ(AllocationsDuring([&] { lower.Solve(b, x, mtSymmPosDef); }), options) << int(f);
    lower.Solve(bm, xm, mtSymmPosDef);
    EXPECT_EQ(AllocationsDuring([&] { lower.Solve(bm, xm, mtSymmPosDef); }), options) << int(f);
    EXPECT_EQ(Doubles(x), Doubles(first)) << int(f);
  }
}

// The report lines are built only for levels that show them: below prlBasic a solve with the
// kept factor allocates less than at prlBasic by exactly their cost.
TEST_F(SolveBackEnds, PardisoBuildsReportLinesOnlyWhenShown) {
  SKIP_UNLESS_ALLOCATIONS_COUNTED();
  convection.SparseSolver = ssPardiso;
  TVec b, x;
  KnownRhs(convection, b, x);
  convection.Solve(b, x, mtGeneral);
  convection.Solve(b, x, mtGeneral);  // warms the report's storage
  const long lines = AllocationsDuring([&] { (void)convection.Pardiso().ReportLines(); });
  ASSERT_GT(lines, 0);
  const long basic = AllocationsDuring([&] { convection.Solve(b, x, mtGeneral); });
  EXPECT_FALSE(convection.Report().empty());
  for (TReportLevel level : {prlNone, prlErrorsOnly}) {
    convection.ReportLevel = level;
    EXPECT_EQ(AllocationsDuring([&] { convection.Solve(b, x, mtGeneral); }), basic - lines) << int(level);
    EXPECT_TRUE(convection.Report().empty());
  }
}

// A held factor is reused while the pattern flag allows: new values declared with
// SetSparsePattern(sppSymbolic), or changed by an element-wise method, are factorised again on
// the kept analysis; undeclared in-place changes are not seen (the flag is the contract).
TEST_F(SolveBackEnds, DirectFactorsFollowThePatternFlag) {
  const std::tuple<TSparseMtx*, TSparseSolver, TMtxType> cases[] = {
      {&poisson, ssPardiso, mtSymmPosDef}, {&convection, ssPardiso, mtGeneral},
      {&lower, ssTaucs, mtSymmPosDef},     {&convection, ssUmfPack, mtGeneral}};
  for (auto [m, solver, type] : cases) {
    TSparseMtx& a = *m;
    a.SparseSolver = solver;
    TVec b, x1, x2, x3, x4;
    KnownRhs(a, b, x1);
    a.Solve(b, x1, type);
    for (double& v : a.Values()) v *= 2;
    a.SetSparsePattern(sppSymbolic);
    a.Solve(b, x2, type);
    for (double& v : a.Values()) v *= 2;  // not declared
    a.Solve(b, x3, type);
    a.Scale(0.25);  // declared by the method itself: back to the first values
    a.Solve(b, x4, type);
    ASSERT_EQ(a.ErrorText(), "") << solver;
    EXPECT_EQ(Doubles(x3), Doubles(x2)) << solver;
    for (int i = 0; i < a.Rows(); ++i) {
      EXPECT_NEAR(x2[i], x1[i] / 2, 1e-13) << solver;
      EXPECT_NEAR(x4[i], x1[i], 1e-13) << solver;
    }
  }
  // A new pattern is analysed again.
  Poisson2D(poisson, 5);
  EXPECT_EQ(SolveChecked(poisson, poisson, mtSymmPosDef, 1e-14), "");
}

}  // namespace
}  // namespace quorel::test
