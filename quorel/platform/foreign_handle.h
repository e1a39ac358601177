#pragma once
// Ownership of a foreign library's object (an FFTW plan, a UMFPACK factor, a CHOLMOD factor, a
// MUMPS instance, an Arb ball): one move-only holder whose destructor releases it on every path.

#include <utility>

namespace quorel::detail {

/// Owns a handle `H` (a pointer or a small struct) and calls `Release(h)` once when done with it.
/// `Release` is a function or a captureless lambda; an empty (value-initialised) handle is never
/// released. `Out()` lets a C interface write a new handle into the holder.
template <class H, auto Release>
class ForeignHandle {
 public:
  ForeignHandle() = default;
  explicit ForeignHandle(H h) : h_(h) {}
  ~ForeignHandle() { Reset(); }
  ForeignHandle(const ForeignHandle&) = delete;
  ForeignHandle& operator=(const ForeignHandle&) = delete;
  ForeignHandle(ForeignHandle&& o) noexcept : h_(std::exchange(o.h_, H{})) {}
  ForeignHandle& operator=(ForeignHandle&& o) noexcept {
    if (this != &o) Reset(std::exchange(o.h_, H{}));
    return *this;
  }

  H Get() const { return h_; }
  explicit operator bool() const { return h_ != H{}; }
  /// Releases the current handle, then takes `h`.
  void Reset(H h = H{}) {
    if (h_ != H{}) Release(h_);
    h_ = h;
  }
  /// Gives the handle up without releasing it.
  H Take() { return std::exchange(h_, H{}); }
  /// Address for a C call that writes a handle; whatever was held is released first.
  H* Out() {
    Reset();
    return &h_;
  }

 private:
  H h_{};
};

}  // namespace quorel::detail
