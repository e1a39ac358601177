#include "quorel/sparse/taucs_settings.h"

#include <charconv>
#include <filesystem>
#include <system_error>

#include "quorel/core/errors.h"
#include "quorel/platform/cholmod.h"
#include "quorel/sparse/sparse.h"

namespace quorel {
namespace {

std::string Shortest(double v) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}

std::string TempFolder() {
  std::error_code ec;
  std::string dir = std::filesystem::temp_directory_path(ec).string();
  if (ec || dir.empty()) dir = "/tmp";
  if (dir.back() != '/') dir += '/';
  return dir;
}

}  // namespace

TTaucsSettings::TTaucsSettings() : OutOfCoreFileName(TempFolder() + "TaucsFactor.file") {
  options_.reserve(OptionSlots);
}
TTaucsSettings::~TTaucsSettings() = default;

int TTaucsSettings::CheckError(int code) {
  switch (code) {
    case 0: errorText_.clear(); break;
    case -2: errorText_ = "Failed to allocate memory."; break;
    case -3: errorText_ = "The parameters passed to the routine are invalid."; break;
    case -4: errorText_ = "Input matrix is not positive definite."; break;
    case -5: errorText_ = "Recursion is too deep and might result in stack overflow."; break;
    default: errorText_ = "Unknown error."; break;
  }
  return code;
}

void TTaucsSettings::AppendOption(const std::string& text) {
  if (text.empty()) return;
  if (static_cast<int>(options_.size()) >= OptionSlots) ERaise("TTaucsSettings.AppendOption: option table is full");
  options_.push_back(text);
}

void TTaucsSettings::ClearOption() { options_.clear(); }

void TTaucsSettings::BuildOptions(std::int32_t maxIters, double tolerance) {
  static constexpr const char* factorText[] = {"taucs.factor.LLT=true", "taucs.factor.LU=true",
                                               "taucs.factor.ldlt=true", "taucs.factor.mf=true",
                                               "taucs.factor.ll=true"};
  static constexpr const char* orderText[] = {"mmd",    "amd",    "md",   "metis",   "genmmd",
                                              "colamd", "random", "tree", "identity"};
  ClearOption();
  AppendOption(factorText[Factor]);
  AppendOption(std::string("taucs.factor.ordering=") + orderText[Reordering]);
  AppendOption(Amwb ? "taucs.approximate.amwb=true" : "taucs.approximate.amwb=false");
  AppendOption("taucs.approximate.amwb.subgraphs=" + std::to_string(AmwbSubGraphs));
  AppendOption("taucs.approximate.amwb.randomseed=" + std::to_string(AmwbRandomSeed));
  AppendOption(OutOfCore ? "taucs.ooc=true" : "taucs.ooc=false");
  AppendOption("taucs.ooc.basename=" + OutOfCoreFileName);
  AppendOption("taucs.ooc.memory=" + (InCoreMemoryAuto ? std::string("0") : std::to_string(InCoreMemorySize)));
  AppendOption("taucs.solve.maxits=" + std::to_string(maxIters));
  AppendOption("taucs.solve.convergetol=" + Shortest(tolerance));
  if (IterativeStep == tiCG) AppendOption("taucs.solve.cg=true");
  if (IterativeStep == tiMinRes) AppendOption("taucs.solve.minres=true");
}

void TTaucsSettings::FreeTaucs() {
  factor_.reset();
  luMatrix_.reset();
}

TSparseMtx& TTaucsSettings::LUMatrix() {
  if (!luMatrix_) luMatrix_ = std::make_unique<TSparseMtx>();
  return *luMatrix_;
}

detail::TCholmodFactor& TTaucsSettings::Factorization() {
  if (!factor_) factor_ = std::make_unique<detail::TCholmodFactor>();
  return *factor_;
}

bool TTaucsSettings::HasFactor() const { return factor_ && factor_->HasFactor(); }

}  // namespace quorel
