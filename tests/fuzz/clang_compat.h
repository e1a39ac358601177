#pragma once
// Forced into every file of the fuzz build: g++ builtins that clang 14 lacks, with the same
// results (rounding under the default mode: to nearest, ties to even).
#if defined(__clang__)
#if !__has_builtin(__builtin_roundeven)
#define __builtin_roundeven(x) __builtin_rint(x)
#define __builtin_roundevenf(x) __builtin_rintf(x)
#endif

/// g++'s two-vector shuffle: lane i of the result is lane m[i] of the concatenation (a, b).
template <class V, class M>
inline V QuorelFuzzShuffle(V a, V b, M m) {
  constexpr int n = sizeof(V) / sizeof(a[0]);
  V r{};
  for (int i = 0; i < n; ++i) {
    const int k = static_cast<int>(m[i]) & (2 * n - 1);
    r[i] = k < n ? a[k] : b[k - n];
  }
  return r;
}
#define __builtin_shuffle(a, b, ...) QuorelFuzzShuffle(a, b, __VA_ARGS__)
#endif
