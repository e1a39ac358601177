#pragma once
// Flag sets of the transforms, built once from an object's FFT settings.

#include "quorel/objects/quorel_object.h"
#include "quorel/signal/dfti_cache.h"

namespace quorel::detail {

/// `base` plus scrambled order when the object asks for it.
inline TCacheEntryFlags WithOrder(const TQuorel& self, TCacheEntryFlags base) {
  return base.Set(cefScrambled, self.FFTScrambledOrder());
}
/// A real transform: `base` plus the storage format and order of the object.
inline TCacheEntryFlags RealFlags(const TQuorel& self, TCacheEntryFlags base) {
  base.Set(cefPack, self.FFTStorageFormat() == fsfPack).Set(cefPerm, self.FFTStorageFormat() == fsfPerm);
  return WithOrder(self, base);
}
/// An inverse: `base` plus the 1/N scale unless noScale.
inline TCacheEntryFlags Inverse(TCacheEntryFlags base, bool noScale) {
  return base.Include(cefBackward).Set(cefUseScale, !noScale);
}

/// Fills the upper half of a length-n spectrum whose lower half (the CCS part) is in place.
inline void ConjugateExtend(TCplx* x, std::int32_t n) {
  if (n <= 2) return;
  const std::int32_t start = (n & 1) ? (n + 1) / 2 : n / 2 + 1;
  const std::int32_t count = (n & 1) ? (n - 1) / 2 : n / 2 - 1;
  for (std::int32_t k = 0; k < count; ++k) x[start + k] = {x[count - k].Re, -x[count - k].Im};
}

/// The real length behind a CCS spectrum of m values.
inline std::int32_t CcsRealLength(std::int32_t m, bool odd) { return odd ? 2 * m - 1 : 2 * m - 2; }

}  // namespace quorel::detail
