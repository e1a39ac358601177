#include "quorel/elementwise/detail/frame.h"

#include "quorel/platform/kernels/cplx.h"

namespace quorel::detail {

void ExtendToComplex(TDenseQuorel& self, bool zeros) {
  if (self.Complex()) return;
  Refill(self, true, [&](const TDenseQuorel& copy, TDenseQuorel& out) {
    if (out.Length() == 0) return;
    if (zeros) kern::SampleUp2(R(copy), C(out), out.Length());
    else kern::Duplicate(R(copy), C(out), out.Length());
  });
}

}  // namespace quorel::detail
