#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "quorel/core/errors.h"
#include "quorel/core/startup.h"
#include "quorel/platform/cholmod.h"
#include "test_matrices.h"

namespace quorel::test {
namespace {

using namespace quorel::detail;

template <class T>
std::vector<T> TaucsSolve(TTaucsSettings& s, const Csc<T>& a, std::int32_t flags, int* code,
                          const std::vector<T>& b) {
  std::vector<T> x(b.size(), T(0));
  *code = TaucsSolveRaw(s, a.Raw(), flags, std::int32_t(b.size() / a.n), reinterpret_cast<const double*>(b.data()),
                        reinterpret_cast<double*>(x.data()), 10, 1e-14);
  return x;
}

// Every Cholesky variant on the real Poisson matrix and on a complex Hermitian one, stored as
// lower triangles; the factor is kept until FreeTaucs.
TEST(SparseTaucs, CholeskyVariantsSolve) {
  const Csc<double> a = Grid<double>(20, 0.0, true);
  const Csc<Z> h = Grid<Z>(12, 1.0, true, Z(0, 0.5));
  for (TTaucsFactorization f : {tfCholesky, tfLDL, tfMultiFrontal, tfLeftLooking})
    for (TTaucsReordering r : {tpMETIS, tpAMD, tpIdentity})
      for (TTaucsIterative it : {tiNone, tiCG}) {
        SCOPED_TRACE(std::to_string(f) + " " + std::to_string(r) + " " + std::to_string(it));
        TTaucsSettings s;
        s.Factor = f;
        s.Reordering = r;
        s.IterativeStep = it;
        int code = 1;
        const std::vector<double> b = Rhs<double>(a.n);
        std::vector<double> x = TaucsSolve(s, a, 9, &code, b);
        ASSERT_EQ(code, 0) << s.ErrorText();
        EXPECT_EQ(s.ErrorText(), "");
        EXPECT_LT(RelResidual(a, b, x, true), 1e-15);
        EXPECT_TRUE(s.HasFactor());
        s.FreeTaucs();
        EXPECT_FALSE(s.HasFactor());
        const std::vector<Z> bz = Rhs<Z>(h.n);
        for (std::int32_t flags : {8, 16}) {
          std::vector<Z> xz = TaucsSolve(s, h, flags, &code, bz);
          ASSERT_EQ(code, 0) << s.ErrorText();
          EXPECT_LT(RelResidual(h, bz, xz, true), 1e-15);
        }
      }
}

// Several right-hand sides at once, and the lower-triangular flag (forward substitution).
TEST(SparseTaucs, ManyColumnsAndTriangular) {
  const Csc<double> a = Grid<double>(8, 0.0, true);
  std::vector<double> b = Rhs<double>(a.n), b2 = b;
  for (double& v : b2) v *= -3;
  b.insert(b.end(), b2.begin(), b2.end());
  TTaucsSettings s;
  int code = 1;
  const std::vector<double> x = TaucsSolve(s, a, 9, &code, b);
  ASSERT_EQ(code, 0);
  for (std::int32_t i = 0; i < a.n; ++i) EXPECT_NEAR(x[a.n + i], -3 * x[i], 1e-12 * std::abs(x[i]) + 1e-14);
  // L x = b with L the stored lower triangle: check L x directly.
  const std::vector<double> bt = Rhs<double>(a.n);
  const std::vector<double> xt = TaucsSolve(s, a, 5, &code, bt);
  ASSERT_EQ(code, 0);
  EXPECT_LT(RelResidual(a, bt, xt, false), 1e-15);
}

// The failing column of an indefinite matrix, LU left to the LU back end, and the texts of the
// codes (the messages of the bound solve are tested with the matrix).
TEST(SparseTaucs, RefusalsAndMessages) {
  TTaucsSettings s;
  int code = 0;
  const Csc<double> ind = Grid<double>(8, -2.0, true);
  TaucsSolve(s, ind, 9, &code, Rhs<double>(ind.n));
  EXPECT_EQ(code, -4);
  EXPECT_GE(s.Factorization().FailedColumn(), 0);
  s.Factor = tfLU;
  EXPECT_TRUE(s.UsesLU());
  TaucsSolve(s, Grid<double>(4, 0.0, true), 9, &code, Rhs<double>(16));
  EXPECT_EQ(code, -3);
  const std::pair<int, const char*> texts[] = {{0, ""},
                                               {-1, "Unknown error."},
                                               {-2, "Failed to allocate memory."},
                                               {-4, "Input matrix is not positive definite."},
                                               {-5, "Recursion is too deep and might result in stack overflow."}};
  for (const auto& [c, text] : texts) {
    EXPECT_EQ(s.CheckError(c), c);
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

// Out of core: the factor goes to files in the working folder, which are gone afterwards; a
// folder that cannot be written makes the solve fail instead of silently staying in memory.
TEST(SparseTaucs, OutOfCoreUsesTheWorkingFolder) {
  namespace fs = std::filesystem;
  const std::string saved = QuorelWorkingDir;
  const fs::path dir = fs::temp_directory_path() / ("quorel_ooc_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  QuorelWorkingDir = dir.string() + "/";
  TTaucsSettings s;
  s.OutOfCore = true;
  const Csc<double> a = Grid<double>(30, 0.0, true);
  const std::vector<double> b = Rhs<double>(a.n);
  int code = 1;
  std::vector<double> x = TaucsSolve(s, a, 9, &code, b);
  EXPECT_EQ(code, 0) << s.ErrorText();
  EXPECT_LT(RelResidual(a, b, x, true), 1e-14);
  EXPECT_TRUE(fs::is_empty(dir));
  const Csc<Z> h = Grid<Z>(10, 1.0, true, Z(0, 0.5));
  const std::vector<Z> bz = Rhs<Z>(h.n);
  std::vector<Z> xz = TaucsSolve(s, h, 16, &code, bz);
  EXPECT_EQ(code, 0) << s.ErrorText();
  EXPECT_LT(RelResidual(h, bz, xz, true), 1e-14);
  QuorelWorkingDir = "/nonexistent/quorel/";
  TaucsSolve(s, a, 9, &code, b);
  EXPECT_EQ(code, -3);
  EXPECT_EQ(s.ErrorText(), "The parameters passed to the routine are invalid.");
  QuorelWorkingDir = dir.string() + "/";
  const Csc<double> ind = Grid<double>(8, -2.0, true);
  TaucsSolve(s, ind, 9, &code, Rhs<double>(ind.n));
  EXPECT_EQ(code, -4);
  QuorelWorkingDir = saved;
  fs::remove_all(dir);
}

// Each parameter-array matrix type on a matrix of its kind, two right-hand sides at once.
TEST(SparsePardiso, EveryMatrixTypeSolves) {
  struct Case {
    std::int32_t mtype;
    bool lower;
    bool conj;
  };
  auto check = [](TPardisoSettings& s, const auto& a, Case c) {
    using T = typename std::decay_t<decltype(a.ax)>::value_type;
    std::vector<T> b = Rhs<T>(a.n), b2 = b;
    for (auto& v : b2) v = v * T(2) + T(1);
    b.insert(b.end(), b2.begin(), b2.end());
    std::vector<T> x(b.size());
    std::vector<std::string> report;
    const int code = PardisoSolveRaw(s, a.Raw(), c.mtype, 2, reinterpret_cast<const double*>(b.data()),
                                     reinterpret_cast<double*>(x.data()), &report);
    ASSERT_EQ(code, 0) << s.ErrorText();
    for (int col = 0; col < 2; ++col) {
      const std::vector<T> bc(b.begin() + col * a.n, b.begin() + (col + 1) * a.n);
      const std::vector<T> xc(x.begin() + col * a.n, x.begin() + (col + 1) * a.n);
      EXPECT_LT(RelResidual(a, bc, xc, c.lower, c.conj), 1e-14) << c.mtype;
    }
    EXPECT_GT(s.Iparm[17], 0);
    ASSERT_GE(report.size(), 6u);
    EXPECT_EQ(report[4], "Number of nonzeros on the factors: " + std::to_string(s.Iparm[17]));
  };
  for (TPardisoReordering r : {prMETIS, prMinimumDegree}) {
    TPardisoSettings s;
    s.Reordering = r;
    check(s, Grid<double>(12, 0.0, true), {2, true, true});
    check(s, Grid<double>(12, -2.0, true), {-2, true, true});
    check(s, SwappedRows(12), {11, false, true});
    check(s, Grid<Z>(10, 1.0, true, Z(0, 0.5)), {4, true, true});
    check(s, Grid<Z>(10, -2.0, true, Z(0, 0.5)), {-4, true, true});
    Csc<Z> sym = Grid<Z>(10, -2.0, true);
    for (std::int32_t j = 0; j < sym.n; ++j) sym.ax[sym.ap[j]] += Z(0, 1);  // diagonal first in each column
    check(s, sym, {6, true, false});
    Csc<Z> uns = Grid<Z>(10, 0.0, false, Z(0.3, 0.2));
    check(s, uns, {13, false, true});
  }
}

// A symmetric type reads the lower triangle only, so full storage gives the same answer; the
// refinement step is counted in the report.
TEST(SparsePardiso, SymmetricTypesReadTheLowerTriangle) {
  TPardisoSettings s;
  s.IterativeStep = piCG;
  const Csc<double> full = Grid<double>(8, -2.0, false);
  const std::vector<double> b = Rhs<double>(full.n);
  std::vector<double> x(full.n);
  std::vector<std::string> report;
  ASSERT_EQ(PardisoSolveRaw(s, full.Raw(), -2, 1, b.data(), x.data(), &report), 0);
  EXPECT_LT(RelResidual(full, b, x, false), 1e-14);
  ASSERT_EQ(report.size(), 7u);
  EXPECT_EQ(report[6].rfind("Number of CG/CGS iteration's executed: ", 0), 0u);
}

TEST(SparsePardiso, FailuresAndMessages) {
  TPardisoSettings s;
  EXPECT_EQ(s.MatrixNumber, 1);
  EXPECT_EQ(s.MaxFactorizedMatrices, 1);
  // Structurally singular (an empty column) and numerically singular (rank one) matrices.
  const Csc<double> empty = FromEntries<double>(3, {{0, 0, 1.0}, {1, 1, 1.0}}, false);
  const Csc<double> rank1 =
      FromEntries<double>(2, {{0, 0, 1.0}, {0, 1, 2.0}, {1, 0, 2.0}, {1, 1, 4.0}}, false);
  std::vector<double> b{1, 2, 3}, x(3);
  EXPECT_NE(PardisoSolveRaw(s, empty.Raw(), 11, 1, b.data(), x.data(), nullptr), 0);
  EXPECT_EQ(PardisoSolveRaw(s, rank1.Raw(), 11, 1, b.data(), x.data(), nullptr), -4);
  EXPECT_EQ(s.ErrorText(), "zero pivot, numerical factorization problem");
  // A type that does not match the values' complexity is inconsistent input.
  EXPECT_EQ(PardisoSolveRaw(s, rank1.Raw(), 13, 1, b.data(), x.data(), nullptr), -1);
  EXPECT_EQ(s.ErrorText(), "input inconsistent");
  const Csc<double> ok = Grid<double>(3, 0.0, false);
  std::vector<double> b9 = Rhs<double>(9), x9(9);
  EXPECT_EQ(PardisoSolveRaw(s, ok.Raw(), 11, 1, b9.data(), x9.data(), nullptr), 0);
  EXPECT_EQ(s.ErrorText(), "");
  EXPECT_TRUE(s.HasSolver());
  s.FreeMemory();
  EXPECT_FALSE(s.HasSolver());
  const std::pair<int, const char*> texts[] = {{-2, "not enough memory"},
                                               {-3, "reordering problem"},
                                               {-5, "unclassified (internal) error"},
                                               {-6, "preordering failed (matrix types 11, 13 only)"},
                                               {-7, "diagonal matrix problem"}};
  for (const auto& [code, text] : texts) {
    s.CheckError(code);
    EXPECT_EQ(s.ErrorText(), text);
  }
}

}  // namespace
}  // namespace quorel::test
