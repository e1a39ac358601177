// Banded storage: B(ku + i - j, j) = A(i, j), one band row per diagonal (see mtx.h).
#include <algorithm>
#include <cstdint>
#include <optional>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"

namespace quorel {

using detail::At;
using detail::Require;
using detail::OnKind;

namespace {
bool NonZero(double x) { return x != 0.0; }
bool NonZero(const TCplx& z) { return z.Re != 0.0 || z.Im != 0.0; }

// Calls f(r, j0, j1) for every band row r of a band with ku super-diagonals over an m x n matrix:
// band row r holds A(j + r - ku, j) for j in [j0, j1).
template <class F>
void ForBandRows(std::int32_t ku, std::int32_t kl, std::int32_t m, std::int32_t n, F&& f) {
  for (std::int32_t r = 0; r <= ku + kl; ++r) {
    const std::int32_t j0 = std::max(0, ku - r);
    const std::int32_t j1 = static_cast<std::int32_t>(std::min<std::int64_t>(n, std::int64_t{m} + ku - r));
    if (j0 < j1) f(r, j0, j1);
  }
}
}  // namespace

void TMtx::DiagonalsCount(std::int32_t& superDiag, std::int32_t& subDiag) const {
  superDiag = 0;
  subDiag = 0;
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) {
      const T* row = At<T>(*this, i, 0);
      // Only the elements outside the band found so far can widen it.
      for (std::int32_t j = 0; j < std::min(fCols, i - subDiag); ++j)
        if (NonZero(row[j])) {
          subDiag = i - j;
          break;
        }
      for (std::int32_t j = fCols - 1; j > i + superDiag; --j)
        if (NonZero(row[j])) {
          superDiag = j - i;
          break;
        }
    }
  });
}

void TMtx::DenseToBanded(TMtx& dst, std::int32_t maxElemCount) const {
  std::int32_t ku = 0, kl = 0;
  DiagonalsCount(ku, kl);
  Require((std::int64_t{ku} + kl) * fCols <= maxElemCount, "(SuperDiag+SubDiag)*Cols > MaxElemCount");
  std::optional<TWorkMtx> keep;  // dst is sized before Self is read
  const TMtx& src = detail::SelfCopied(dst, *this, keep);
  // Sized before the band widths are stored: sizing is the step that can refuse.
  dst.Size(ku + kl + 1, src.fCols, src.fComplex);
  dst.SetSuperDiag(ku);
  dst.SetSubDiag(kl);
  dst.SetZero();
  OnKind(src.fComplex, [&](auto t) {
    using T = decltype(t);
    ForBandRows(ku, kl, src.fRows, src.fCols, [&](std::int32_t r, std::int32_t j0, std::int32_t j1) {
      T* out = At<T>(dst, r, 0);
      for (std::int32_t j = j0; j < j1; ++j) out[j] = *At<T>(src, j + r - ku, j);
    });
  });
}

TMtx& TMtx::BandedToDense(const TMtx& a) {
  Require(!a.fComplex, "A.Complex = True");
  const std::int32_t ku = a.SuperDiag(), kl = a.SubDiag();
  Require(!(ku < 0 || kl < 0 || std::int64_t{ku} + kl + 1 != a.fRows), "SubDiag+SuperDiag+1 <> Rows");
  std::optional<TWorkMtx> keep;  // Self is resized before it is read
  const TMtx& src = detail::SelfCopied(*this, a, keep);
  const std::int32_t n = src.fCols;
  Size(n, n, false);
  SetZero();
  ForBandRows(ku, kl, n, n, [&](std::int32_t r, std::int32_t j0, std::int32_t j1) {
    const double* band = At<double>(src, r, 0);
    for (std::int32_t j = j0; j < j1; ++j) Values(j + r - ku, j) = band[j];
  });
  return *this;
}

}  // namespace quorel
