#pragma once
// Element-kind dispatch, written once: code for every kind is a generic lambda over the element
// type, called with double or TCplx (real/complex objects), or also with std::int32_t when integer
// storage (index lists, masks) is possible. Every module dispatches through OnKind and reaches the
// storage through Ptr.

#include <cstdint>
#include <type_traits>

#include "quorel/core/types.h"
#include "quorel/objects/quorel_object.h"

namespace quorel::detail {

/// A floating element type of the library's storage.
template <class T>
concept Element = std::is_same_v<T, double> || std::is_same_v<T, TCplx>;

/// An element type including the 32-bit integers of integer storage.
template <class T>
concept AnyElement = Element<T> || std::is_same_v<T, std::int32_t>;

/// What one element is: a 32-bit integer, a double, or a complex pair.
enum class TElemKind : std::uint8_t { Int, Real, Cplx };

/// The element kind of an object's storage.
inline TElemKind KindOf(const TQuorel& v) {
  return v.Complex() ? TElemKind::Cplx : v.IsInteger() ? TElemKind::Int : TElemKind::Real;
}

/// Calls f(T{}) with T = TCplx for complex data and T = double for real data.
template <class F>
decltype(auto) OnKind(bool complex, F&& f) {
  if (complex) return f(TCplx{});
  return f(double{});
}

/// Calls f(T{}) with T = std::int32_t, double or TCplx as `kind` says.
template <class F>
decltype(auto) OnKind(TElemKind kind, F&& f) {
  switch (kind) {
    case TElemKind::Int: return f(std::int32_t{});
    case TElemKind::Real: return f(double{});
    default: return f(TCplx{});
  }
}

/// Element `index` (counted in elements of T from the start of the storage) of an object as T.
template <AnyElement T>
T* Ptr(const TQuorel& a, std::int64_t index = 0) {
  if constexpr (std::is_same_v<T, TCplx>) {
    return a.PCValues1D(0) + index;
  } else if constexpr (std::is_same_v<T, std::int32_t>) {
    return a.PIValues1D(0) + index;
  } else {
    return a.PValues1D(0) + index;
  }
}

}  // namespace quorel::detail
