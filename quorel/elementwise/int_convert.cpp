// Conversions between double data and 32-bit integer data.
#include <algorithm>

#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel {

using detail::R;
using detail::Require;

namespace {
void ToIntegerArray(const TDenseQuorel& self, TIntegerArray& dst, TRounding rounding) {
  detail::RequireReal(self);
  dst.resize(static_cast<std::size_t>(self.Length()));
  if (!dst.empty()) kern::Convert(R(self), dst.data(), self.Length(), rounding);
}
}  // namespace

void TDenseQuorel::Round(TIntegerArray& dst) const { ToIntegerArray(*this, dst, rnRound); }
void TDenseQuorel::Trunc(TIntegerArray& dst) const { ToIntegerArray(*this, dst, rnTrunc); }

void TDenseQuorel::FloatToInt(TDenseQuorel& dst, TRounding rounding) const {
  detail::RequireReal(*this);
  if (fConditionCheck) Require(&dst != this, "FloatToInt: Dst = Self");
  dst.Size(*this, false);
  dst.SetIsInteger(true);
  if (fLength > 0) kern::Convert(R(*this), dst.PIValues1D(0), fLength, rounding);
}

void TDenseQuorel::IntToFloat() {
  Require(fIsInteger, "Src.IsInteger = false");
  if (fLength > 0) {
    // The doubles need twice the bytes of the integers: convert from a copy of them.
    TWorkVec ints;
    ints->Size((fLength + 1) / 2, false);
    std::copy_n(PIValues1D(0), fLength, ints->PIValues1D(0));
    kern::Convert(ints->PIValues1D(0), R(*this), fLength);
  }
  fIsInteger = false;
}

}  // namespace quorel
