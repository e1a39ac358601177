#pragma once
// Helpers shared by the sparse matrix sources: entry lookup and rebuilding from filtered entries.

#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "quorel/objects/detail/kind.h"
#include "quorel/sparse/sparse.h"

namespace quorel::detail {

/// A threshold below every magnitude: builders that must keep every triplet use it.
inline constexpr double kKeepAll = -1.0;

/// Position of (row, col) in the storage, -1 when not stored or outside the matrix.
inline std::int32_t Find(std::span<const std::int32_t> ap, std::span<const std::int32_t> ai, std::int32_t row,
                          std::int32_t col) {
  if (row < 0 || col < 0) return -1;
  for (std::int32_t k = ap[col]; k < ap[col + 1]; ++k)
    if (ai[k] == row) return k;
  return -1;
}

/// Rebuilds Self from its own entries filtered by keep(i, j), mapped to (row, col) by place.
template <class Keep>
void Rebuild(TSparseMtx& self, const TSparseMtx& a, std::int32_t rows, std::int32_t cols, double threshold,
            Keep keep) {
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
        std::int32_t i = ai[k], jj = j;
        if (!keep(i, jj)) continue;
        r.push_back(i);
        c.push_back(jj);
        val.push_back(v[k]);
      }
    if (r.empty()) {
      // Keep the shape: an empty pattern is stored directly.
      self.Assign(rows, cols, std::vector<std::int32_t>(static_cast<std::size_t>(cols) + 1, 0), {},
                  std::span<const T>{});
      return;
    }
    if constexpr (std::is_same_v<T, double>) {
      self.TripletsToSparse(rows, cols, r, c, std::span<const double>(val), threshold);
    } else {
      self.TripletsToSparse(rows, cols, r, c, std::span<const TCplx>(val), threshold);
    }
  });
}

}  // namespace quorel::detail
