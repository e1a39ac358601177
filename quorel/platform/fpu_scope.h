#pragma once
// The control word LAPACK and the other double-precision back ends run under.

#include <cstdint>

#include "quorel/core/fpu.h"

namespace quorel::detail {

/// Installs `cw` (53-bit precision, all exceptions masked, by default) for its lifetime and
/// restores the caller's word on every path, exceptions included.
class FpuScope {
 public:
  explicit FpuScope(std::uint16_t cw = Fortran8087CW) : saved_(Get8087CW()) { Set8087CW(cw); }
  ~FpuScope() { Set8087CW(saved_); }
  FpuScope(const FpuScope&) = delete;
  FpuScope& operator=(const FpuScope&) = delete;

 private:
  std::uint16_t saved_;
};

}  // namespace quorel::detail
