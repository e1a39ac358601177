// Exchange with two-dimensional arrays (one inner array per row).
#include <cstdint>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::At;
using detail::Require;

namespace {
// Rows of the array, and its columns (all rows must have them).
template <class A>
std::pair<std::int32_t, std::int32_t> ArrayShape(const A& src) {
  const std::size_t cols = src.empty() ? 0 : src[0].size();
  for (const auto& row : src) Require(row.size() == cols, "TMtx.CopyFromArray: rows of different length");
  Require(!(src.size() > 0x7FFFFFFF || cols > 0x7FFFFFFF), "Out of memory! Attempted to allocate over 2GB!");
  return {static_cast<std::int32_t>(src.size()), static_cast<std::int32_t>(cols)};
}

template <class A>
void SizeArray(A& dst, std::int32_t rows, std::int32_t cols) {
  dst.resize(static_cast<std::size_t>(rows));
  for (auto& row : dst) row.resize(static_cast<std::size_t>(cols));
}
}  // namespace

TMtx& TMtx::SizeFromArray(const T2DSampleArray& src) {
  const auto [rows, cols] = ArrayShape(src);
  return Size(rows, cols, false);
}

TMtx& TMtx::SizeFromArray(const T2DCplxArray& src) {
  const auto [rows, cols] = ArrayShape(src);
  return Size(rows, cols, true);
}

void TMtx::SizeToArray(T2DSampleArray& dst) const { SizeArray(dst, fRows, fCols); }
void TMtx::SizeToArray(T2DCplxArray& dst) const { SizeArray(dst, fRows, fCols); }

TMtx& TMtx::CopyFromArray(const T2DSampleArray& src) {
  SizeFromArray(src);
  for (std::int32_t i = 0; i < fRows; ++i) kern::Copy(src[i].data(), At<double>(*this, i, 0), fCols);
  return *this;
}

TMtx& TMtx::CopyFromArray(const T2DCplxArray& src) {
  SizeFromArray(src);
  for (std::int32_t i = 0; i < fRows; ++i) kern::Copy(src[i].data(), At<TCplx>(*this, i, 0), fCols);
  return *this;
}

void TMtx::CopyToArray(T2DSampleArray& dst) const {
  Require(!fComplex, "Complex = True");
  SizeToArray(dst);
  for (std::int32_t i = 0; i < fRows; ++i) kern::Copy(At<double>(*this, i, 0), dst[i].data(), fCols);
}

void TMtx::CopyToArray(T2DCplxArray& dst) const {
  SizeToArray(dst);
  for (std::int32_t i = 0; i < fRows; ++i) {
    if (fComplex) {
      kern::Copy(At<TCplx>(*this, i, 0), dst[i].data(), fCols);
    } else {
      kern::SampleUp2(At<double>(*this, i, 0), dst[i].data(), fCols);  // zero imaginary parts
    }
  }
}

}  // namespace quorel
