#include "quorel/core/fpu.h"

#include <cfenv>

namespace quorel {

std::uint16_t MtxSaved8087CW = 0;

#if defined(__x86_64__) || defined(__i386__)
std::uint16_t Get8087CW() {
  std::uint16_t cw;
  __asm__ __volatile__("fnstcw %0" : "=m"(cw));
  return cw;
}

void Set8087CW(std::uint16_t cw) { __asm__ __volatile__("fldcw %0" : : "m"(cw)); }

void ClearFPU() {
  __asm__ __volatile__("fnclex");
  std::feclearexcept(FE_ALL_EXCEPT);
}
#else
// Without an x87 unit the word is emulated: only its rounding field maps onto <cfenv>.
namespace {
thread_local std::uint16_t emulated_cw = Quorel8087CW;
}
std::uint16_t Get8087CW() { return emulated_cw; }
void Set8087CW(std::uint16_t cw) {
  emulated_cw = cw;
  std::fesetround((cw & 0x0C00) == 0x0C00 ? FE_TOWARDZERO : FE_TONEAREST);
}
void ClearFPU() { std::feclearexcept(FE_ALL_EXCEPT); }
#endif

std::uint16_t SetRoundToTrunc() {
  std::uint16_t old = Get8087CW();
  Set8087CW(static_cast<std::uint16_t>(old | 0x0F00));
  return old;
}

void RestoreRound(std::uint16_t cw) { Set8087CW(cw); }

}  // namespace quorel
