#include "quorel/sparse/pardiso_settings.h"

#include "quorel/platform/mumps.h"

namespace quorel {

TPardisoSettings::TPardisoSettings() = default;
TPardisoSettings::~TPardisoSettings() = default;

int TPardisoSettings::CheckError(int code) {
  switch (code) {
    case 0: errorText_.clear(); break;
    case -1: errorText_ = "input inconsistent"; break;
    case -2: errorText_ = "not enough memory"; break;
    case -3: errorText_ = "reordering problem"; break;
    case -4: errorText_ = "zero pivot, numerical factorization problem"; break;
    case -6: errorText_ = "preordering failed (matrix types 11, 13 only)"; break;
    case -7: errorText_ = "diagonal matrix problem"; break;
    default: errorText_ = "unclassified (internal) error"; break;
  }
  return code;
}

std::vector<std::string> TPardisoSettings::ReportLines() const {
  std::vector<std::string> lines = {
      "Number of perturbed pivots during the elimination process " + std::to_string(Iparm[13]),
      "Memory [KB] needed during the analysis and symbolic factorization phase: " + std::to_string(Iparm[14]),
      "Memory [KB] needed from the analysis and symbolic factorization phase in the factorization and solve "
      "phases: " +
          std::to_string(Iparm[15]),
      "Memory [KB] needed of the solver for the factorization and solve phases: " + std::to_string(Iparm[16]),
      "Number of nonzeros on the factors: " + std::to_string(Iparm[17]),
      "MFlops (10^6 operations) necessary to factor the matrix: " + std::to_string(Iparm[18])};
  if (IterativeStep != piNone) lines.push_back("Number of CG/CGS iteration's executed: " + std::to_string(Iparm[6]));
  static constexpr const char* reasons[] = {
      "Too large fluctuations of the residuum", "||dxmax_it_cgs/2|| too large (slow convergence)",
      "Stopping criterion not reached at max_it_cgs", "Perturbed pivots caused iterative refinement",
      "Factorization is too fast for this matrix. It is better to use the factorization method with iparm(4) = 0"};
  if (Iparm[19] < 0 && Iparm[19] >= -5)
    lines.push_back(std::string("CG/CGS iteration's failed. ") + reasons[-Iparm[19] - 1] + ", after " +
                    std::to_string(Iparm[6]) + " iteration steps!");
  return lines;
}

void TPardisoSettings::FreeMemory() {
  if (!solver_) return;
  const int status = solver_->Free();
  solver_.reset();
  if (status != 0) {
    CheckError(detail::MumpsToPardisoCode(status));
    errorText_ = "Pardiso reported error on memory free: " + errorText_;
  }
}

detail::TMumpsSolver& TPardisoSettings::Solver() {
  if (!solver_) solver_ = std::make_unique<detail::TMumpsSolver>();
  return *solver_;
}

}  // namespace quorel
