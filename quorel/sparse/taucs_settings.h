#pragma once
// Settings of the direct sparse Cholesky/LDL' back end, the option strings they produce, and the
// factor it keeps between solves.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorel {

enum TTaucsFactorization : std::uint8_t { tfCholesky, tfLU, tfLDL, tfMultiFrontal, tfLeftLooking };
enum TTaucsReordering : std::uint8_t { tpMMD, tpAMD, tpMD, tpMETIS, tpGENMMD, tpCOLAMD, tpRANDOM, tpTREE, tpIdentity };
enum TTaucsIterative : std::uint8_t { tiNone, tiCG, tiMinRes };

class TSparseMtx;

namespace header_detail {
class TCholmodFactor;
}

/// Settings of the direct sparse Cholesky/LDL' back end, its option strings and the factor it keeps.
class TTaucsSettings {
 public:
  /// Size of the option table.
  static constexpr int OptionSlots = 50;

  TTaucsSettings();
  ~TTaucsSettings();
  TTaucsSettings(const TTaucsSettings&) = delete;
  TTaucsSettings& operator=(const TTaucsSettings&) = delete;

  /// Factorisation kind.
  TTaucsFactorization Factor = tfCholesky;
  /// Fill-reducing ordering.
  TTaucsReordering Reordering = tpMETIS;
  /// Iterative step after the factorisation: none, CG or MinRes.
  TTaucsIterative IterativeStep = tiNone;
  /// Use a support-graph preconditioner.
  bool Amwb = false;
  /// Number of subgraphs of the support-graph preconditioner.
  std::int32_t AmwbSubGraphs = 300;
  /// Random seed of the support-graph preconditioner.
  std::int32_t AmwbRandomSeed = 0;
  /// Factor through a file in the working folder instead of memory.
  bool OutOfCore = false;
  /// File used by the out-of-core factorisation.
  std::string OutOfCoreFileName;
  /// The in-core memory size is chosen automatically.
  bool InCoreMemoryAuto = true;
  /// In-core memory in bytes when not chosen automatically.
  std::int64_t InCoreMemorySize = 1000000000;

  /// Sets ErrorText from a return code (0 clears it); returns the code.
  int CheckError(int code);
  /// Message of the last failing return code ("" after a success).
  const std::string& ErrorText() const { return errorText_; }

  /// Stores a copy of `text` in the next free slot (an empty text is not stored).
  void AppendOption(const std::string& text);
  /// Empties the option table.
  void ClearOption();
  /// The stored options, in order.
  const std::vector<std::string>& Options() const { return options_; }
  /// Clears the table and appends one option per setting, in the fixed order.
  void BuildOptions(std::int32_t maxIters, double tolerance);

  /// True when the factorisation is LU (solved by the sparse LU back end, not by Cholesky).
  bool UsesLU() const { return Factor == tfLU; }
  /// Releases the retained factor (and the LU matrix with its factors).
  void FreeTaucs();
  /// The whole matrix that the LU factorisation of a symmetric or Hermitian type works on (its
  /// lower triangle mirrored); it keeps its factors between solves. Created on first use.
  TSparseMtx& LUMatrix();
  /// True when an LU matrix is retained.
  bool HasLUMatrix() const { return luMatrix_ != nullptr; }
  /// The retained factor (created on first use).
  header_detail::TCholmodFactor& Factorization();
  /// True when a factor is retained.
  bool HasFactor() const;

 private:
  std::string errorText_;
  std::vector<std::string> options_;
  std::unique_ptr<header_detail::TCholmodFactor> factor_;
  std::unique_ptr<TSparseMtx> luMatrix_;
};

}  // namespace quorel
