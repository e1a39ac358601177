#include "quorel/platform/umfpack.h"

#include <suitesparse/umfpack.h>

#include <cstdarg>
#include <cstdio>

#include "quorel/platform/column_order.h"

namespace quorel::detail {

static_assert(UMFPACK_CONTROL == UmfControlSize && UMFPACK_INFO == UmfInfoSize);
static_assert(UMFPACK_PRL == UmfPrintLevelIndex && UMFPACK_BLOCK_SIZE == UmfBlockSizeIndex &&
              UMFPACK_IRSTEP == UmfIrStepIndex);
static_assert(sizeof(int) == sizeof(std::int32_t));

namespace {

// The library prints through one global function pointer; its text goes to the capture buffer of
// the calling thread while a report is being taken, and nowhere otherwise.
thread_local std::string* capture = nullptr;

int CapturePrintf(const char* format, ...) {
  if (capture == nullptr) return 0;
  char buf[1024];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(buf, sizeof buf, format, args);
  va_end(args);
  if (n > 0) capture->append(buf, static_cast<std::size_t>(n) < sizeof buf ? static_cast<std::size_t>(n) : sizeof buf - 1);
  return n;
}

template <class F>
void Capture(std::string& text, F&& f) {
  capture = &text;
  f();
  capture = nullptr;
}

}  // namespace

void UmfInstallPrintCapture() { SuiteSparse_config.printf_func = &CapturePrintf; }

void UmfDefaults(double* control) { umfpack_di_defaults(control); }

void UmfFreeSymbolicReal(void* symbolic) { umfpack_di_free_symbolic(&symbolic); }
void UmfFreeSymbolicCplx(void* symbolic) { umfpack_zi_free_symbolic(&symbolic); }
void UmfFreeNumericReal(void* numeric) { umfpack_di_free_numeric(&numeric); }
void UmfFreeNumericCplx(void* numeric) { umfpack_zi_free_numeric(&numeric); }

}  // namespace quorel::detail

namespace quorel::header_detail {
using namespace detail;  // the helpers above

const double* TUmfFactors::Values(const double* ax) {
  if (!sorted_ || ax == nullptr) return ax;
  GatherSorted(order_, ax, complex_ ? 2 : 1, sortedAx_);
  return sortedAx_.data();
}

int TUmfFactors::Analyse(bool complex, std::int32_t rows, std::int32_t cols, const std::int32_t* ap,
                         const std::int32_t* ai, const double* ax, const double* control, double* info) {
  Reset();
  complex_ = complex;
  n_ = rows > cols ? rows : cols;
  // The library refuses rows out of order in a column.
  if (ap != nullptr && ai != nullptr && cols > 0 && !ColumnsAscending(cols, ap, ai)) {
    SortColumns(cols, ap, ai, order_, sortedAi_);
    sorted_ = true;
  }
  ai = Rows(ai);
  ax = Values(ax);
  if (complex) return umfpack_zi_symbolic(rows, cols, ap, ai, ax, nullptr, symC_.Out(), control, info);
  return umfpack_di_symbolic(rows, cols, ap, ai, ax, symR_.Out(), control, info);
}

int TUmfFactors::Factorise(const std::int32_t* ap, const std::int32_t* ai, const double* ax, const double* control,
                           double* info) {
  ai = Rows(ai);
  ax = Values(ax);
  if (complex_) return umfpack_zi_numeric(ap, ai, ax, nullptr, symC_.Get(), numC_.Out(), control, info);
  return umfpack_di_numeric(ap, ai, ax, symR_.Get(), numR_.Out(), control, info);
}

int TUmfFactors::SolveSystem(int sys, const std::int32_t* ap, const std::int32_t* ai, const double* ax, double* x,
                             const double* b, const double* control, double* info) {
  // Room for iterative refinement whatever the system and Control ask: n indices, and 5n doubles
  // (10n complex). Sized on the first solve with a Numeric object, kept until it is freed.
  const auto n = static_cast<std::size_t>(n_);
  wi_.resize(n);
  w_.resize((complex_ ? 10 : 5) * n);
  // Refinement reads the matrix: the copy the factors were made from, with the current values.
  ai = Rows(ai);
  ax = Values(ax);
  if (complex_)
    return umfpack_zi_wsolve(sys, ap, ai, ax, nullptr, x, nullptr, b, nullptr, numC_.Get(), control, info,
                             wi_.data(), w_.data());
  return umfpack_di_wsolve(sys, ap, ai, ax, x, b, numR_.Get(), control, info, wi_.data(), w_.data());
}
}  // namespace quorel::header_detail

namespace quorel::detail {

void UmfReportSymbolic(bool complex, void* symbolic, const double* control, std::string& text) {
  Capture(text, [&] {
    if (complex) {
      umfpack_zi_report_symbolic(symbolic, control);
    } else {
      umfpack_di_report_symbolic(symbolic, control);
    }
  });
}

void UmfReportNumeric(bool complex, void* numeric, const double* control, std::string& text) {
  Capture(text, [&] {
    if (complex) {
      umfpack_zi_report_numeric(numeric, control);
    } else {
      umfpack_di_report_numeric(numeric, control);
    }
  });
}

void UmfReportInfo(const double* control, const double* info, std::string& text) {
  Capture(text, [&] { umfpack_di_report_info(control, info); });
}

void UmfReportStatus(const double* control, int status, std::string& text) {
  Capture(text, [&] { umfpack_di_report_status(control, status); });
}

int UmfRawSolveReal(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const double* ax, double* x,
                    const double* b) {
  void* symbolic = nullptr;
  void* numeric = nullptr;
  int status = umfpack_di_symbolic(n, n, ap, ai, ax, &symbolic, nullptr, nullptr);
  if (status == UMFPACK_OK) status = umfpack_di_numeric(ap, ai, ax, symbolic, &numeric, nullptr, nullptr);
  umfpack_di_free_symbolic(&symbolic);
  if (status == UMFPACK_OK) status = umfpack_di_solve(UMFPACK_A, ap, ai, ax, x, b, numeric, nullptr, nullptr);
  umfpack_di_free_numeric(&numeric);
  return status;
}

}  // namespace quorel::detail
