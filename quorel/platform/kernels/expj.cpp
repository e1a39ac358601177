#include "quorel/platform/kernels/expj.h"

#include <algorithm>

#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/math.h"

namespace quorel::kern {

void Expj(const double* x, TCplx* r, std::ptrdiff_t n) {
  // Sine and cosine go to two stack blocks and are then interleaved, so nothing is allocated.
  constexpr std::ptrdiff_t kBlock = 512;
  double s[kBlock], c[kBlock];
  for (std::ptrdiff_t i = 0; i < n; i += kBlock) {
    const std::ptrdiff_t m = std::min(kBlock, n - i);
    SinCos(x + i, s, c, m);
    RealToCplx(c, s, r + i, m);
  }
}

}  // namespace quorel::kern
