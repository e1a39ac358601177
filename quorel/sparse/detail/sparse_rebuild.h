#pragma once
// Helpers shared by the sparse matrix sources: entry lookup and rebuilding from filtered entries.
// Rebuilds that keep every entry keep every value too, NaN included.

#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "quorel/objects/detail/kind.h"
#include "quorel/sparse/sparse.h"

namespace quorel::detail {

/// Position of (row, col) in the storage, -1 when not stored or outside the matrix.
inline std::int32_t Find(std::span<const std::int32_t> ap, std::span<const std::int32_t> ai, std::int32_t row,
                          std::int32_t col) {
  if (row < 0 || col < 0) return -1;
  for (std::int32_t k = ap[col]; k < ap[col + 1]; ++k)
    if (ai[k] == row) return k;
  return -1;
}

}  // namespace quorel::detail

namespace quorel {

template <class Keep>
void TSparseMtx::Rebuild(const TSparseMtx& a, const double* threshold, Keep keep) {
  TIntegerArray r, c;
  r.reserve(static_cast<std::size_t>(a.NonZeros()));
  c.reserve(static_cast<std::size_t>(a.NonZeros()));
  auto ap = a.Ap();
  auto ai = a.Ai();
  detail::OnKind(a.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* v = detail::Ptr<T>(a);
    std::vector<T> val;
    val.reserve(static_cast<std::size_t>(a.NonZeros()));
    for (std::int32_t j = 0; j < a.Cols(); ++j)
      for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) {
        if (!keep(ai[k], j)) continue;
        r.push_back(ai[k]);
        c.push_back(j);
        val.push_back(v[k]);
      }
    if (r.empty()) {
      // Keep the shape: an empty pattern is stored directly.
      Assign(a.Rows(), a.Cols(), std::vector<std::int32_t>(static_cast<std::size_t>(a.Cols()) + 1, 0), {},
             std::span<const T>{});
      return;
    }
    if (threshold)
      BuildFromTriplets<T>(a.Rows(), a.Cols(), r, c, val.data(), *threshold);
    else
      BuildFromTriplets<T>(a.Rows(), a.Cols(), r, c, val.data(), 0.0, true);
  });
}

}  // namespace quorel
