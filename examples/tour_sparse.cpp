// Tour: sparse matrices. A Matrix Market file is read into compressed columns and solved by
// sparse LU, for the matrix and for its transpose; the residual shows the solve is at round-off.
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "quorel/objects/vec.h"
#include "quorel/sparse/sparse.h"
#include "tour_sections.h"

using namespace quorel;

void TourSparse() {
  const auto file = std::filesystem::path(QUOREL_TOUR_DATA_DIR) / "matrices" / "west0067.mtx";
  TSparseMtx a;
  a.LoadFromMatrixMarketFile(file.string());
  SectionTitle("Sparse matrices: a 67 x 67 system from a Matrix Market file, residuals at round-off (about 1e-16)");
  std::printf("  %s: %d x %d, %d stored entries\n", file.filename().c_str(), a.Rows(), a.Cols(), a.NonZeros());
  TVec b, x;
  b.Size(a.Rows());
  for (int i = 0; i < a.Rows(); ++i) b[i] = 1.0 + i % 5;
  a.SparseSolver = ssUmfPack;
  a.ReportLevel = prlNone;
  for (TSparseSystem system : {spsA, spsAT}) {
    a.SparseSystem = system;
    a.Solve(b, x, mtGeneral);
    double xNorm = 0;
    for (double v : x.Values()) xNorm += v * v;
    if (system == spsA) {
      std::printf("  %-6s ||b - Ax|| / ||x|| = %.3g\n", SparseSystemText(system), a.ResidualNorm(b, x) / std::sqrt(xNorm));
    } else {
      TSparseMtx at;
      at.Transp(a);
      std::printf("  %-6s ||b - A'x|| / ||x|| = %.3g (the LU factors reused)\n", SparseSystemText(system),
                  at.ResidualNorm(b, x) / std::sqrt(xNorm));
    }
  }
  // The same system through the second direct back end.
  a.SparseSystem = spsA;
  a.SparseSolver = ssPardiso;
  TVec y;
  a.Solve(b, y, mtGeneral);
  double yNorm = 0;
  for (double v : y.Values()) yNorm += v * v;
  std::printf("  Ax=b again, ssPardiso (MUMPS): ||b - Ax|| / ||x|| = %.3g%s\n",
              a.ResidualNorm(b, y) / std::sqrt(yNorm), a.ErrorText().empty() ? "" : (" (" + a.ErrorText() + ")").c_str());
}
