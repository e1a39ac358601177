#pragma once
// Row order within compressed columns. Products and sums store their columns in the order the
// rows first appear; the libraries that want ascending rows get a sorted copy of such a matrix,
// and a matrix already in order is handed over as it is.

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quorel::detail {

/// True when the rows of every column strictly ascend.
inline bool ColumnsAscending(std::int32_t cols, const std::int32_t* ap, const std::int32_t* ai) {
  for (std::int32_t j = 0; j < cols; ++j)
    for (std::int32_t k = ap[j] + 1; k < ap[j + 1]; ++k)
      if (ai[k] <= ai[k - 1]) return false;
  return true;
}

/// The columns with ascending rows: order[q] is the position in ai of the q-th sorted entry,
/// sortedAi[q] its row. Values follow with GatherSorted.
inline void SortColumns(std::int32_t cols, const std::int32_t* ap, const std::int32_t* ai,
                        std::vector<std::int32_t>& order, std::vector<std::int32_t>& sortedAi) {
  const auto nnz = static_cast<std::size_t>(ap[cols]);
  order.resize(nnz);
  sortedAi.resize(nnz);
  for (std::int32_t j = 0; j < cols; ++j) {
    std::int32_t* first = order.data() + ap[j];
    std::int32_t* last = order.data() + ap[j + 1];
    for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) order[k] = k;
    if (!std::is_sorted(ai + ap[j], ai + ap[j + 1])) std::sort(first, last, [ai](auto p, auto q) { return ai[p] < ai[q]; });
  }
  for (std::size_t q = 0; q < nnz; ++q) sortedAi[q] = ai[order[q]];
}

/// The values of the sorted columns: `width` doubles per entry (2 when complex).
inline void GatherSorted(const std::vector<std::int32_t>& order, const double* ax, std::size_t width,
                         std::vector<double>& sortedAx) {
  sortedAx.resize(order.size() * width);
  double* out = sortedAx.data();
  for (const std::int32_t k : order)
    for (std::size_t w = 0; w < width; ++w) *out++ = ax[width * static_cast<std::size_t>(k) + w];
}

}  // namespace quorel::detail
