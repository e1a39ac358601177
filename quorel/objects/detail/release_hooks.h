#pragma once
// Subsystems that keep foreign state (the FFT descriptor cache, LAPACK buffers) register a release
// function here; TQuorelController::FreeMKLMemory and DestroyQuorelCache run them, so the controller
// knows none of them.

namespace quorel::detail {

using TReleaseHook = void (*)();

/// Adds `hook` once (a second registration of the same function is ignored). Thread-safe.
void RegisterReleaseHook(TReleaseHook hook);
/// Runs every registered hook in registration order. Thread-safe.
void RunReleaseHooks();

}  // namespace quorel::detail
