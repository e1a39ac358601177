#pragma once
// Forced into every file of the fuzz build: g++ builtins that clang 14 lacks, with the same
// results under the default rounding mode (round to nearest, ties to even).
#if defined(__clang__) && !__has_builtin(__builtin_roundeven)
#define __builtin_roundeven(x) __builtin_rint(x)
#define __builtin_roundevenf(x) __builtin_rintf(x)
#endif
