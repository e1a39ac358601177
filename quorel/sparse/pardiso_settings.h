#pragma once
// Settings of the direct sparse LDL'/LU back end with symmetric and unsymmetric pivoting, its
// parameter array, the instance it keeps between solves and its report.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorel {

enum TPardisoReordering : std::uint8_t { prMinimumDegree, prMETIS };
enum TPardisoIterative : std::uint8_t { piNone, piCG, piCGS };

namespace header_detail {
class TMumpsSolver;
}

/// Settings of the direct LDL'/LU sparse back end, and the solver instance it keeps between solves.
class TPardisoSettings {
 public:
  TPardisoSettings();
  ~TPardisoSettings();
  TPardisoSettings(const TPardisoSettings&) = delete;
  TPardisoSettings& operator=(const TPardisoSettings&) = delete;

  /// Processors the back end may use.
  std::int32_t CpuCount = 1;
  /// Which of the retained factorisations a solve uses (1-based).
  std::int32_t MatrixNumber = 1;
  /// Number of factorisations retained at once.
  std::int32_t MaxFactorizedMatrices = 1;
  /// Fill-reducing ordering.
  TPardisoReordering Reordering = prMETIS;
  /// Iterative step after the factorisation: none, CG or CGS.
  TPardisoIterative IterativeStep = piNone;

  /// Parameter array (64 entries, zeroed at construction; 1-based in messages). After a solve it
  /// holds the outputs: [6] iterative steps, [13] perturbed pivots, [14]-[16] memory in KB,
  /// [17] factor entries, [18] MFlops, [19] CG/CGS outcome (0, or the negative reason code of a
  /// failed refinement).
  std::array<std::int64_t, 64> Iparm{};

  /// Sets ErrorText from a return code (0 clears it); returns the code.
  int CheckError(int code);
  /// Message of the last failing return code ("" after a success).
  const std::string& ErrorText() const { return errorText_; }
  /// The report lines of the last solve; a failed refinement (Iparm[19] < 0) adds its line last.
  std::vector<std::string> ReportLines() const;
  /// Releases the retained instance (and its factors).
  void FreeMemory();

  /// The retained solver instance (created on first use; the library's own type).
  header_detail::TMumpsSolver& Solver();
  /// True when a solver instance is retained.
  bool HasSolver() const { return bool(solver_); }

 private:
  std::string errorText_;
  std::unique_ptr<header_detail::TMumpsSolver> solver_;
};

}  // namespace quorel
