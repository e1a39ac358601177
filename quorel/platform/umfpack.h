#pragma once
// UMFPACK, the sparse LU library: the only door to it. Complex matrices and vectors are passed
// interleaved (packed complex: the imaginary-part pointers are null), never split.

#include <cstdint>
#include <string>
#include <vector>

#include "quorel/platform/foreign_handle.h"

namespace quorel::detail {

constexpr int UmfControlSize = 20;
constexpr int UmfInfoSize = 90;
constexpr int UmfPrintLevelIndex = 0;
constexpr int UmfBlockSizeIndex = 4;
constexpr int UmfIrStepIndex = 7;
constexpr int UmfStatusOk = 0;
constexpr int UmfWarningSingular = 1;

/// Hands the library the print function behind the report routines below. Called once, at
/// the sparse module's start-up: the library reads the pointer on every report.
void UmfInstallPrintCapture();
/// Fills a Control array with the library defaults.
void UmfDefaults(double* control);

void UmfFreeSymbolicReal(void* symbolic);
void UmfFreeSymbolicCplx(void* symbolic);
void UmfFreeNumericReal(void* numeric);
void UmfFreeNumericCplx(void* numeric);

}  // namespace quorel::detail

// Named by the public sparse header, so it lives where public headers keep their internals.
namespace quorel::header_detail {
using detail::ForeignHandle;
using detail::UmfFreeSymbolicReal;
using detail::UmfFreeSymbolicCplx;
using detail::UmfFreeNumericReal;
using detail::UmfFreeNumericCplx;

/// The retained Symbolic and Numeric objects of one matrix, freed on every path.
class TUmfFactors {
 public:
  bool HasSymbolic() const { return complex_ ? bool(symC_) : bool(symR_); }
  bool HasNumeric() const { return complex_ ? bool(numC_) : bool(numR_); }
  void* Symbolic() const { return complex_ ? symC_.Get() : symR_.Get(); }
  void* Numeric() const { return complex_ ? numC_.Get() : numR_.Get(); }
  void FreeSymbolic() {
    symR_.Reset();
    symC_.Reset();
    sorted_ = false;
  }
  void FreeNumeric() {
    numR_.Reset();
    numC_.Reset();
    wi_ = {};
    w_ = {};
  }
  void Reset() {
    FreeNumeric();
    FreeSymbolic();
  }
  /// Runs the symbolic analysis, replacing whatever was held. Returns the status. A matrix with
  /// a column out of row order is analysed, factorised and solved (refinement included) as a
  /// sorted copy, kept with the factors; Factorise and SolveSystem take the caller's arrays still.
  int Analyse(bool complex, std::int32_t rows, std::int32_t cols, const std::int32_t* ap, const std::int32_t* ai,
              const double* ax, const double* control, double* info);
  /// Runs the numeric factorisation on the held Symbolic object. Returns the status.
  int Factorise(const std::int32_t* ap, const std::int32_t* ai, const double* ax, const double* control,
                double* info);
  /// Solves system `sys` (the library's code) with the held Numeric object; x and b hold n values.
  /// The library's workspace is kept with the Numeric object, so repeated solves allocate nothing.
  int SolveSystem(int sys, const std::int32_t* ap, const std::int32_t* ai, const double* ax, double* x,
                  const double* b, const double* control, double* info);

 private:
  /// The values in the library's order: the caller's, or the sorted copy's refreshed from them.
  const double* Values(const double* ax);
  /// The row indices in the library's order: the caller's, or the sorted copy's.
  const std::int32_t* Rows(const std::int32_t* ai) const { return sorted_ ? sortedAi_.data() : ai; }

  bool complex_ = false;
  std::int32_t n_ = 0;
  // The sorted copy: where each of its entries sits in the caller's arrays, its rows and values.
  bool sorted_ = false;
  std::vector<std::int32_t> order_, sortedAi_;
  std::vector<double> sortedAx_;
  std::vector<std::int32_t> wi_;
  std::vector<double> w_;
  ForeignHandle<void*, &UmfFreeSymbolicReal> symR_;
  ForeignHandle<void*, &UmfFreeSymbolicCplx> symC_;
  ForeignHandle<void*, &UmfFreeNumericReal> numR_;
  ForeignHandle<void*, &UmfFreeNumericCplx> numC_;
};
}  // namespace quorel::header_detail

namespace quorel::detail {
using header_detail::TUmfFactors;

/// Text of the report routines, appended to `text` (nothing below their print level). A string
/// whose storage is kept from an earlier report takes the text without allocating.
void UmfReportSymbolic(bool complex, void* symbolic, const double* control, std::string& text);
void UmfReportNumeric(bool complex, void* numeric, const double* control, std::string& text);
void UmfReportInfo(const double* control, const double* info, std::string& text);
void UmfReportStatus(const double* control, int status, std::string& text);

/// Raw calls for the benchmark's reference path: symbolic, numeric, solve, free, real only.
int UmfRawSolveReal(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax, double* x,
                    const double* b);

}  // namespace quorel::detail
