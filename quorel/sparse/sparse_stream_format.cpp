#include "quorel/sparse/sparse_stream_format.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "quorel/io/detail/text_grid.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

std::ostream& operator<<(std::ostream& os, const TSparseMtx& a) {
  const std::int32_t stored = a.NonZeros();
  os.width(0);
  os << a.Rows() << 'x' << a.Cols() << " sparse, " << stored << " stored";
  const auto ap = a.Ap();
  const auto ai = a.Ai();
  // Column of each shown entry: the column pointers are walked once, alongside the entries.
  detail::TCellFormatter format(os);
  std::vector<std::string> where, value;
  std::size_t whereWidth = 0, valueWidth = 0;
  std::int32_t col = 0;
  for (std::int32_t k : detail::ShownPositions(stored, stored > detail::kPrintSummaryThreshold)) {
    if (k < 0) {
      where.emplace_back("...");
      value.emplace_back();
      continue;
    }
    while (col + 1 < static_cast<std::int32_t>(ap.size()) && ap[static_cast<std::size_t>(col) + 1] <= k) ++col;
    where.push_back('(' + std::to_string(ai[static_cast<std::size_t>(k)]) + ", " + std::to_string(col) + ')');
    value.push_back(a.Complex() ? format(*a.PCValues1D(k)) : format(*a.PValues1D(k)));
    whereWidth = std::max(whereWidth, where.back().size());
    valueWidth = std::max(valueWidth, value.back().size());
  }
  for (std::size_t r = 0; r < where.size(); ++r) {
    os << "\n  " << where[r];
    if (value[r].empty()) continue;
    os << std::string(whereWidth - where[r].size() + 1 + valueWidth - value[r].size(), ' ') << value[r];
  }
  return os;
}

}  // namespace quorel
