#include "quorel/platform/kernels/g711.h"

#include <array>
#include <cmath>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::Map;
using std::ptrdiff_t;

namespace {

// Segment of a magnitude: how many segment ends lie below it. The ends are 2^(Bits + i) - 1
// for segments i = 0..7. Counting instead of searching keeps the encoders branch-free, so the
// array loops vectorise.
template <int Bits>
QUOREL_KERNEL_INLINE int Segment(int v) {
  int seg = 0;
  for (int i = 0; i < 8; ++i) seg += v > (1 << (Bits + i)) - 1 ? 1 : 0;
  return seg;
}

QUOREL_KERNEL_INLINE std::uint8_t MuLawCode(int x) {
  x >>= 2;
  const int mask = x < 0 ? 0x7F : 0xFF;
  int v = x < 0 ? -x : x;
  v = (v < 8159 ? v : 8159) + 33;
  const int seg = Segment<6>(v);
  const int code = seg > 7 ? 0x7F : (seg << 4) | ((v >> (seg + 1)) & 0xF);
  return static_cast<std::uint8_t>(code ^ mask);
}

QUOREL_KERNEL_INLINE std::uint8_t ALawCode(int x) {
  x >>= 3;
  const int mask = x < 0 ? 0x55 : 0xD5;
  const int v = x < 0 ? -x - 1 : x;
  const int seg = Segment<5>(v);
  const int step = seg < 2 ? (v >> 1) & 0xF : (v >> seg) & 0xF;
  const int code = seg > 7 ? 0x7F : (seg << 4) | step;
  return static_cast<std::uint8_t>(code ^ mask);
}

QUOREL_KERNEL_INLINE int ToPcm16(float x) {
  float t = __builtin_roundevenf(x);
  t = t < -32768.0f ? -32768.0f : t;
  t = t > 32767.0f ? 32767.0f : t;
  return static_cast<int>(t == t ? t : 0.0f);
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

QUOREL_KERNEL void LinToMuLaw(const float* x, std::uint8_t* r, ptrdiff_t n) {
  Map(x, r, n, [](float a) { return MuLawCode(ToPcm16(a)); });
}

QUOREL_KERNEL void LinToALaw(const float* x, std::uint8_t* r, ptrdiff_t n) {
  Map(x, r, n, [](float a) { return ALawCode(ToPcm16(a)); });
}

void MuLawToLin(const std::uint8_t* x, float* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = kMuLawLevels[x[i]];
}

void ALawToLin(const std::uint8_t* x, float* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = kALawLevels[x[i]];
}

}  // namespace quorel::kern
