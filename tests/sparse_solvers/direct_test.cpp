// The Cholesky and LDL'/LU back ends through the matrix: every variant and matrix type, the
// option strings, the out-of-core file, and the failure texts.
#include <unistd.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "../sparse/sparse_test_util.h"
#include "quorel/core/startup.h"
#include "quorel/platform/cholmod.h"

namespace quorel::test {
namespace {

class DirectBackEnds : public ::testing::Test {
 protected:
  void SetUp() override {
    Poisson2D(poisson, 12);
    lower.LowerTriangle(poisson);
    Hermitian(herm, poisson, -1.0);  // diagonally dominant: definite
    hermLower.LowerTriangle(herm);
  }
  TSparseMtx poisson, lower, herm, hermLower;
};

// Every Cholesky variant on lower triangles; the factor is held until FreeTaucs.
TEST_F(DirectBackEnds, CholeskyVariantsSolve) {
  for (TTaucsFactorization f : {tfCholesky, tfLDL, tfMultiFrontal, tfLeftLooking})
    for (TTaucsReordering r : {tpMETIS, tpAMD, tpIdentity})
      for (TTaucsIterative it : {tiNone, tiCG})
        for (auto [tri, full, type] : {std::tuple{&lower, &poisson, mtSymmPosDef},
                                       std::tuple{&hermLower, &herm, mtSymmPosDef},
                                       std::tuple{&hermLower, &herm, mtHermPosDef}}) {
          SCOPED_TRACE(std::to_string(f) + " " + std::to_string(r) + " " + std::to_string(it));
          tri->SparseSolver = ssTaucs;
          tri->Taucs().Factor = f;
          tri->Taucs().Reordering = r;
          tri->Taucs().IterativeStep = it;
          EXPECT_EQ(SolveChecked(*tri, *full, type, 1e-15), "");
          EXPECT_TRUE(tri->Taucs().HasFactor());
          tri->Taucs().FreeTaucs();
          EXPECT_FALSE(tri->Taucs().HasFactor());
        }
  // The triangular type is a forward substitution with the stored lower triangle.
  EXPECT_EQ(SolveChecked(lower, lower, mtTriangle, 1e-15), "");
}

// LU works on the whole matrix: a symmetric or Hermitian type's lower triangle is mirrored
// first, with the checks and the option table of the Cholesky factorisations.
TEST_F(DirectBackEnds, LUOnALowerTriangleSolvesTheWholeMatrix) {
  // A product of lower triangles stores its columns out of row order.
  TSparseMtx prod, prodFull;
  prod.Mul(lower, lower);
  TMtx dense;
  prod.SparseToDense(dense);
  for (int i = 0; i < dense.Rows(); ++i)
    for (int j = i + 1; j < dense.Cols(); ++j) dense.Values(i, j) = dense.Values(j, i);
  prodFull.DenseToSparse(dense);
  for (auto [tri, full, type] : {std::tuple{&lower, &poisson, mtSymmPosDef}, std::tuple{&hermLower, &herm, mtSymmPosDef},
                                 std::tuple{&hermLower, &herm, mtHermPosDef}, std::tuple{&prod, &prodFull, mtSymmPosDef}}) {
    tri->SparseSolver = ssTaucs;
    tri->Taucs().Factor = tfLU;
    EXPECT_EQ(SolveChecked(*tri, *full, type, 1e-14), "") << int(type);
    ASSERT_FALSE(tri->Taucs().Options().empty());
    EXPECT_EQ(tri->Taucs().Options()[0], "taucs.factor.LU=true");
    // The kept factors follow value changes.
    tri->Scale(2.0);
    TSparseMtx twice;
    twice.Copy(*full).Scale(2.0);
    EXPECT_EQ(SolveChecked(*tri, twice, type, 1e-14), "") << int(type);
    tri->Scale(0.5);
  }
  poisson.SparseSolver = ssTaucs;
  poisson.Taucs().Factor = tfLU;
  TVec b, x;
  KnownRhs(poisson, b, x);
  EXPECT_RAISES(poisson.Solve(b, x, mtSymmPosDef), "Symmetric matrix must contain only lower triangle!");
  // A general matrix is taken as it is stored.
  EXPECT_EQ(SolveChecked(poisson, poisson, mtGeneral, 1e-14), "");
}

TEST_F(DirectBackEnds, CholeskyFailureTexts) {
  TSparseMtx ind, indLower;
  indLower.LowerTriangle(Shifted(ind, poisson, 2.0));
  indLower.SparseSolver = ssTaucs;
  EXPECT_EQ(SolveChecked(indLower, ind, mtSymmPosDef, 0), "Input matrix is not positive definite.");
  EXPECT_GE(indLower.Taucs().Factorization().FailedColumn(), 0);
  TTaucsSettings& s = indLower.Taucs();
  const std::pair<int, const char*> texts[] = {{0, ""},
                                               {-1, "Unknown error."},
                                               {-2, "Failed to allocate memory."},
                                               {-3, "The parameters passed to the routine are invalid."},
                                               {-5, "Recursion is too deep and might result in stack overflow."}};
  for (const auto& [code, text] : texts) {
    EXPECT_EQ(s.CheckError(code), code);
    EXPECT_EQ(s.ErrorText(), text);
  }
}

// The option table: order and exact texts, the empty text skipped, the table bounded.
TEST(SparseTaucs, OptionStrings) {
  TTaucsSettings s;
  EXPECT_EQ(s.Reordering, tpMETIS);
  EXPECT_EQ(s.Factor, tfCholesky);
  EXPECT_TRUE(s.OutOfCoreFileName.ends_with("/TaucsFactor.file"));
  s.Factor = tfLDL;
  s.Reordering = tpGENMMD;
  s.Amwb = true;
  s.AmwbRandomSeed = 7;
  s.OutOfCore = true;
  s.OutOfCoreFileName = "/w/f";
  s.InCoreMemoryAuto = false;
  s.InCoreMemorySize = 12345;
  s.IterativeStep = tiMinRes;
  s.BuildOptions(77, 0.25);
  const std::vector<std::string> expected = {
      "taucs.factor.ldlt=true",           "taucs.factor.ordering=genmmd",   "taucs.approximate.amwb=true",
      "taucs.approximate.amwb.subgraphs=300", "taucs.approximate.amwb.randomseed=7", "taucs.ooc=true",
      "taucs.ooc.basename=/w/f",          "taucs.ooc.memory=12345",         "taucs.solve.maxits=77",
      "taucs.solve.convergetol=0.25",     "taucs.solve.minres=true"};
  EXPECT_EQ(s.Options(), expected);
  s.InCoreMemoryAuto = true;
  s.IterativeStep = tiNone;
  s.Reordering = tpIdentity;
  s.BuildOptions(1, 1e-13);
  EXPECT_EQ(s.Options()[1], "taucs.factor.ordering=identity");
  EXPECT_EQ(s.Options()[7], "taucs.ooc.memory=0");
  EXPECT_EQ(s.Options().back(), "taucs.solve.convergetol=1e-13");
  s.ClearOption();
  s.AppendOption("");
  EXPECT_TRUE(s.Options().empty());
  for (int i = 0; i < TTaucsSettings::OptionSlots; ++i) s.AppendOption("x");
  EXPECT_THROW(s.AppendOption("y"), EQuorelException);
}

// Out of core: the factor goes to files in the folder OutOfCoreFileName names, which are gone
// afterwards; a folder that cannot be written makes the solve fail instead of silently staying in memory.
TEST_F(DirectBackEnds, OutOfCoreUsesTheFileNamesFolder) {
  namespace fs = std::filesystem;
  const std::string saved = QuorelWorkingDir;
  const fs::path dir = fs::temp_directory_path() / ("quorel_ooc_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  QuorelWorkingDir = "/nonexistent/quorel/";  // not where the factor goes
  for (auto [tri, full, type] : {std::tuple{&lower, &poisson, mtSymmPosDef}, std::tuple{&hermLower, &herm, mtHermPosDef}}) {
    tri->SparseSolver = ssTaucs;
    tri->Taucs().OutOfCore = true;
    tri->Taucs().OutOfCoreFileName = (dir / "factor").string();
    EXPECT_EQ(SolveChecked(*tri, *full, type, 1e-14), "");
    EXPECT_TRUE(fs::is_empty(dir));
  }
  QuorelWorkingDir = saved;
  for (const std::string name : {std::string("/nonexistent/quorel/factor"), (dir / std::string(300, 'd') / "f").string()}) {
    lower.Taucs().OutOfCoreFileName = name;
    EXPECT_EQ(SolveChecked(lower, poisson, mtSymmPosDef, 0), "The parameters passed to the routine are invalid.");
  }
  TSparseMtx ind, indLower;
  indLower.LowerTriangle(Shifted(ind, poisson, 2.0));
  indLower.SparseSolver = ssTaucs;
  indLower.Taucs().OutOfCore = true;
  indLower.Taucs().OutOfCoreFileName = (dir / "factor").string();
  EXPECT_EQ(SolveChecked(indLower, ind, mtSymmPosDef, 0), "Input matrix is not positive definite.");
  EXPECT_TRUE(fs::is_empty(dir));
  fs::remove_all(dir);
}

/// Each off-diagonal pair of `full` stored once, below or above the diagonal by the parity of i + j.
TSparseMtx& OneOfEachPair(TSparseMtx& out, const TSparseMtx& full) {
  TIntegerArray r, c;
  TCplxArray v;
  for (int j = 0; j < full.Cols(); ++j)
    for (int k = full.Ap()[j]; k < full.Ap()[j + 1]; ++k) {
      const int i = full.Ai()[k];
      if (i != j && (i > j) != ((i + j) % 2 == 0)) continue;
      r.push_back(i);
      c.push_back(j);
      v.push_back(full.Complex() ? full.CValues()[k] : TCplx{full.Values()[k], 0.0});
    }
  out.TripletsToSparse(full.Rows(), full.Cols(), r, c, std::span<const TCplx>(v));
  if (!full.Complex()) out.set_Complex(false);
  return out;
}

// Each matrix type on a matrix of its kind, both orderings. A symmetric or Hermitian type is
// also stored as either triangle or as one entry of each pair: an entry whose mirror is not
// stored stands for it (conjugated when Hermitian), so every storage solves the whole matrix.
TEST_F(DirectBackEnds, EveryPardisoTypeAndStorageSolves) {
  TSparseMtx ind, hermInd, csym, swapped, cuns, convection;
  Shifted(ind, poisson, 2.0);
  Hermitian(hermInd, poisson, 2.0);
  Mapped(csym, poisson, [](int i, int j, double v) { return TCplx{i == j ? v - 2 : v, i == j ? 1.0 : 0.2}; });
  Stencil2D(convection, 12, 4, -1.4, -0.6, -1, -1);
  swapped.Copy(convection);
  SwapRowPairs(swapped);
  Mapped(cuns, convection, [](int i, int j, double v) { return TCplx{v, 0.2 * (i - j)}; });
  const std::tuple<TSparseMtx*, TMtxType> cases[] = {{&poisson, mtSymmPosDef}, {&ind, mtSymmetric},
                                                     {&herm, mtHermPosDef},    {&hermInd, mtHermitian},
                                                     {&csym, mtSymmetric},     {&swapped, mtGeneral},
                                                     {&cuns, mtGeneral}};
  for (auto [full, type] : cases) {
    TSparseMtx lower, upper, mixed;
    std::vector<TSparseMtx*> storages{full};
    if (type != mtGeneral) {
      lower.LowerTriangle(*full);
      upper.UpperTriangle(*full);
      OneOfEachPair(mixed, *full);
      storages = {&lower, &upper, &mixed, full};
    }
    for (TSparseMtx* stored : storages)
      for (TPardisoReordering r : {prMETIS, prMinimumDegree}) {
        SCOPED_TRACE(::testing::Message() << "type " << type << " stored " << stored->NonZeros() << " ordering " << r);
        stored->SparseSolver = ssPardiso;
        stored->Pardiso().Reordering = r;
        EXPECT_EQ(SolveChecked(*stored, *full, type, 1e-14), "");
        EXPECT_GT(stored->Pardiso().Iparm[17], 0);
        ASSERT_GE(stored->Report().size(), 6u);
        EXPECT_EQ(stored->Report()[4], "Number of nonzeros on the factors: " + std::to_string(stored->Pardiso().Iparm[17]));
        // New values in the same pattern: the kept analysis sees the same entries.
        TSparseMtx twice;
        twice.Copy(*full).Scale(2.0);
        stored->Scale(2.0);
        EXPECT_EQ(SolveChecked(*stored, twice, type, 1e-14), "");
        stored->Scale(0.5);
      }
  }
  ind.Pardiso().IterativeStep = piCG;
  EXPECT_EQ(SolveChecked(ind, ind, mtSymmetric, 1e-14), "");
  ASSERT_EQ(ind.Report().size(), 7u);
  EXPECT_EQ(ind.Report()[6].rfind("Number of CG/CGS iteration's executed: ", 0), 0u);
}

TEST(SparsePardiso, FailuresAndMessages) {
  // Structurally singular (an empty column); the numerically singular case is in solve_backends_test.
  TSparseMtx empty, ok;
  empty.TripletsToSparse(3, 3, TIntegerArray{0, 1}, TIntegerArray{0, 1}, TDoubleArray{1, 1});
  Poisson2D(ok, 3);
  for (TSparseMtx* a : {&empty, &ok}) a->SparseSolver = ssPardiso;
  EXPECT_NE(SolveChecked(empty, empty, mtGeneral, 0), "");
  EXPECT_EQ(SolveChecked(ok, ok, mtGeneral, 1e-14), "");
  TPardisoSettings& s = ok.Pardiso();
  EXPECT_TRUE(s.HasSolver());
  s.FreeMemory();
  EXPECT_FALSE(s.HasSolver());
  const std::pair<int, const char*> texts[] = {{-1, "input inconsistent"},
                                               {-2, "not enough memory"},
                                               {-3, "reordering problem"},
                                               {-5, "unclassified (internal) error"},
                                               {-6, "preordering failed (matrix types 11, 13 only)"},
                                               {-7, "diagonal matrix problem"}};
  for (const auto& [code, text] : texts) {
    s.CheckError(code);
    EXPECT_EQ(s.ErrorText(), text);
  }
  // A refinement that ends at its step limit (Iparm[19] = -3) adds its line to the report.
  EXPECT_EQ(s.Iparm[19], 0);
  s.IterativeStep = piCGS;
  s.Iparm[6] = 2;
  s.Iparm[19] = -3;
  const auto lines = s.ReportLines();
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[7], "CG/CGS iteration's failed. Stopping criterion not reached at max_it_cgs, after 2 iteration steps!");
}

}  // namespace
}  // namespace quorel::test
