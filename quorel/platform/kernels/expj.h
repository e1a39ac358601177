#pragma once
// Points on the unit circle: r = (cos x, sin x).

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// r[i] = (cos x[i], sin x[i]), with the accuracy of SinCos.
void Expj(const double* x, TCplx* r, std::ptrdiff_t n);

}  // namespace quorel::kern
