#pragma once
// The cell layout behind the operator<< of vectors, matrices and sparse matrices. Internal.

#include <cstdint>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "quorel/core/types.h"

namespace quorel::detail {

/// Objects with more elements than this print their edges around "...".
inline constexpr std::int64_t kPrintSummaryThreshold = 1000;
/// Elements shown at each end of a summarised dimension.
inline constexpr std::int32_t kPrintEdgeItems = 3;

/// Positions shown along a dimension of n; -1 stands for the "..." between the edges.
std::vector<std::int32_t> ShownPositions(std::int32_t n, bool summarise);

/// Formats numbers in the format of a target stream (flags, precision, locale), without its width.
class TCellFormatter {
 public:
  explicit TCellFormatter(const std::ostream& target);
  std::string operator()(double x);
  std::string operator()(std::int32_t x);
  std::string operator()(const TCplx& z);

 private:
  std::ostringstream text_;
};

/// Writes cell(i, j) for the shown rows and columns, right-aligned to one width: [a b c] for a
/// vector (rows = 1, !matrix), [[a b]\n [c d]] for a matrix.
void WriteGrid(std::ostream& os, std::int32_t rows, std::int32_t cols, bool matrix,
               const std::function<std::string(std::int32_t, std::int32_t)>& cell);

}  // namespace quorel::detail
