// Scratch arrays and the integer cast of the LAPACK choosers.
#include "quorel/platform/lapack/lapack.h"

#include <limits>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"

namespace quorel::detail::lapack {

FInt ToFInt(std::int64_t value) {
  if (value < std::numeric_limits<FInt>::min() || value > std::numeric_limits<FInt>::max()) [[unlikely]]
    ERaise("LAPACK: dimension exceeds the integer range");
  return static_cast<FInt>(value);
}

template <Element T>
T* Scratch(TVec& v, std::int64_t n) {
  v.Size(ToFInt(n < 1 ? 1 : n), kComplex<T>);
  return Ptr<T>(v);
}
template double* Scratch<double>(TVec&, std::int64_t);
template TCplx* Scratch<TCplx>(TVec&, std::int64_t);

FInt* IntScratch(TVec& v, std::int64_t n) {
  static_assert(sizeof(FInt) * 2 == sizeof(double));
  return reinterpret_cast<FInt*>(Scratch<double>(v, (n + 1) / 2));
}

}  // namespace quorel::detail::lapack
