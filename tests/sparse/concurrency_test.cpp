// Solves of distinct matrices on distinct threads: the direct back ends share a foreign solver
// that keeps process-wide state.

#include <thread>
#include <vector>

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

TEST(SparseConcurrency, DirectBackEndsOnSeveralThreads) {
  for (const auto& [solver, type] : {std::pair{ssPardiso, mtGeneral}, std::pair{ssTaucs, mtSymmPosDef}}) {
    // Each thread solves its own matrix repeatedly; the residual is checked after the join.
    constexpr int kThreads = 3, kSolves = 8;
    std::vector<double> worst(kThreads, 0.0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        TSparseMtx full, a;
        Stencil2D(full, 10 + t, 4.5, -1, -1.2, -0.8, -1);
        if (type == mtSymmPosDef) {
          Poisson2D(full, 10 + t);
          a.LowerTriangle(full);
          a.Taucs().OutOfCore = true;
        } else {
          a.Copy(full);
        }
        a.SparseSolver = solver;
        for (int k = 0; k < kSolves; ++k) {
          TVec b, x;
          KnownRhs(full, b, x);
          a.Solve(b, x, type);
          worst[t] = std::max(worst[t], a.ErrorText().empty() ? RelativeResidual(full, b, x) : 1.0);
        }
      });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_LT(worst[t], 1e-13) << solver << " thread " << t;
  }
}

}  // namespace
}  // namespace quorel::test
