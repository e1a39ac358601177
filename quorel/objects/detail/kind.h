#pragma once
// Real/complex dispatch, written once: code for both kinds is a generic lambda over the element
// type, called with double or TCplx. Every module dispatches through these two functions.

#include <cstdint>
#include <type_traits>

#include "quorel/core/types.h"
#include "quorel/objects/quorel_object.h"

namespace quorel::detail {

/// An element type of the library's storage.
template <class T>
concept Element = std::is_same_v<T, double> || std::is_same_v<T, TCplx>;

/// Calls f(T{}) with T = TCplx for complex data and T = double for real data.
template <class F>
decltype(auto) OnKind(bool complex, F&& f) {
  if (complex) return f(TCplx{});
  return f(double{});
}

/// Element `index` (counted in elements of T from the start of the storage) of an object as T.
template <Element T>
T* Ptr(const TQuorel& a, std::int64_t index = 0) {
  if constexpr (std::is_same_v<T, TCplx>) {
    return a.PCValues1D(0) + index;
  } else {
    return a.PValues1D(0) + index;
  }
}

}  // namespace quorel::detail
