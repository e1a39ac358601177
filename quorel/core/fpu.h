#pragma once
// Floating-point control: the x87 control word (it governs long double on x86-64) and the
// exception flags. Observable rules: exceptions masked, round to nearest, truncation on demand.

#include <cstdint>

namespace quorel {

/// All exceptions masked, 64-bit precision, round to nearest; installed at start-up.
inline constexpr std::uint16_t Quorel8087CW = 0x133F;
/// All exceptions masked, 53-bit precision, round to nearest; for double-precision back ends.
inline constexpr std::uint16_t Fortran8087CW = 0x123F;
/// The runtime's default word.
inline constexpr std::uint16_t Saved8087 = 0x1332;
/// The word found at start-up, kept so that it can be restored.
extern std::uint16_t MtxSaved8087CW;

/// Reads the x87 control word of the calling thread.
std::uint16_t Get8087CW();
/// Loads an x87 control word into the calling thread.
void Set8087CW(std::uint16_t cw);
/// Sets truncation and 64-bit precision (OR 0x0F00); returns the previous word.
std::uint16_t SetRoundToTrunc();
/// Loads the word returned by SetRoundToTrunc.
void RestoreRound(std::uint16_t cw);
/// Clears pending floating-point exception flags (x87 and SSE).
void ClearFPU();

}  // namespace quorel
