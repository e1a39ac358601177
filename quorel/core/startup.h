#pragma once
// Start-up of the scalar module. Every translation unit that includes this header holds one
// guard object; the first to be constructed runs the start-up, the last to go runs shut-down,
// so the module is ready before any user global is built and outlives all of them.

#include <cstdint>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

/// Elements per block in block-wise processing.
extern std::int32_t QuorelBlockSize;
/// Working directory for temporary files (the platform's temporary directory).
extern std::string QuorelWorkingDir;
/// The first 1000 primes, 2 to 7919.
extern TIntegerArray QuorelPrimeArray;

namespace header_detail {
struct CoreModuleGuard {
  CoreModuleGuard();
  ~CoreModuleGuard();
};
static const CoreModuleGuard core_module_guard;
}  // namespace header_detail

}  // namespace quorel
