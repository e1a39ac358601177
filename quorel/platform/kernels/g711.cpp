#include "quorel/platform/kernels/g711.h"

#include <algorithm>
#include <array>
#include <utility>

#include "quorel/platform/kernels/detail/g711_avx512.h"
#include "quorel/platform/kernels/detail/int_rounding.h"
#include "quorel/platform/kernels/loops.h"
#include "quorel/platform/kernels/math.h"

namespace quorel::kern {

using detail::Map;
using std::ptrdiff_t;

namespace {

// Segment of a magnitude: how many segment ends lie below it. The ends are 2^(Bits + i) - 1
// for segments i = 0..7. Counting instead of searching keeps the encoders branch-free, so the
// array loops vectorise.
template <int Bits>
QUOREL_KERNEL_INLINE int Segment(int v) {
  // A sum written out: the vectoriser takes an inner loop for control flow.
  return [v]<int... I>(std::integer_sequence<int, I...>) {
    return (int{v > (1 << (Bits + I)) - 1} + ...);
  }(std::make_integer_sequence<int, 8>{});
}

// The encoders are written with masks and minima rather than choices, which the vectoriser
// would take for control flow. A segment past the last (8) gives a code above 0x7F, so the
// minimum with 0x7F is the saturation.
QUOREL_KERNEL_INLINE std::uint8_t MuLawCode(int x) {
  x >>= 2;
  const int neg = x >> 31;  // all ones for negative x
  const int v = std::min((x ^ neg) - neg, 8159) + 33;
  const int seg = Segment<6>(v);
  const int code = std::min((seg << 4) | ((v >> (seg + 1)) & 0xF), 0x7F);
  return static_cast<std::uint8_t>(code ^ (0xFF ^ (neg & 0x80)));
}

QUOREL_KERNEL_INLINE std::uint8_t ALawCode(int x) {
  x >>= 3;
  const int neg = x >> 31;
  const int v = x ^ neg;  // -x - 1 for negative x
  const int seg = Segment<5>(v);
  const int step = (v >> std::max(seg, 1)) & 0xF;
  const int code = std::min((seg << 4) | step, 0x7F);
  return static_cast<std::uint8_t>(code ^ (0xD5 ^ (neg & 0x80)));
}

// Under NearestRounding. The bounds are singles, so clamping before the rounding to single
// changes nothing.
QUOREL_KERNEL_INLINE int ToPcm16(double x) {
  const auto single = static_cast<float>(detail::ClampTo(x, -32768.0, 32767.0));
  return detail::ToIntOrZero<int>(detail::RoundEven(single));
}

constexpr std::int16_t MuLawLevel(std::uint8_t code) {
  const int u = ~code & 0xFF;
  const int t = (((u & 0xF) << 3) + 0x84) << ((u & 0x70) >> 4);
  return static_cast<std::int16_t>((u & 0x80) != 0 ? 0x84 - t : t - 0x84);
}

constexpr std::int16_t ALawLevel(std::uint8_t code) {
  const int a = code ^ 0x55;
  int t = (a & 0xF) << 4;
  const int seg = (a & 0x70) >> 4;
  if (seg == 0) {
    t += 8;
  } else if (seg == 1) {
    t += 0x108;
  } else {
    t = (t + 0x108) << (seg - 1);
  }
  return static_cast<std::int16_t>((a & 0x80) != 0 ? t : -t);
}

template <std::int16_t (*Level)(std::uint8_t)>
constexpr std::array<std::int16_t, 256> LevelTable() {
  std::array<std::int16_t, 256> table{};
  for (int c = 0; c < 256; ++c) table[static_cast<std::size_t>(c)] = Level(static_cast<std::uint8_t>(c));
  return table;
}

constexpr auto kMuLawLevels = LevelTable<MuLawLevel>();
constexpr auto kALawLevels = LevelTable<ALawLevel>();

}  // namespace

std::uint8_t LinearToMuLaw(std::int16_t x) { return MuLawCode(x); }
std::uint8_t LinearToALaw(std::int16_t x) { return ALawCode(x); }
std::int16_t MuLawToLinear(std::uint8_t code) { return kMuLawLevels[code]; }
std::int16_t ALawToLinear(std::uint8_t code) { return kALawLevels[code]; }

QUOREL_KERNEL void LinToMuLaw(const double* x, std::uint8_t* r, ptrdiff_t n) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::DoublesToMuLawAvx512(x, r, n);
  const detail::NearestRounding nearest;
  Map(x, r, n, [](double a) { return MuLawCode(ToPcm16(a)); });
}

QUOREL_KERNEL void LinToALaw(const double* x, std::uint8_t* r, ptrdiff_t n) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::DoublesToALawAvx512(x, r, n);
  const detail::NearestRounding nearest;
  Map(x, r, n, [](double a) { return ALawCode(ToPcm16(a)); });
}

// The baseline decoders look the levels up; the stores choice only matters to the vector path.
void MuLawToLin(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::MuLawToDoublesAvx512(x, r, n, stores);
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = kMuLawLevels[x[i]];
}

void ALawToLin(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::ALawToDoublesAvx512(x, r, n, stores);
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = kALawLevels[x[i]];
}

}  // namespace quorel::kern
