// The one run-time choice among the instruction-set copies of the distribution block code.
#include "quorel/stats/detail/block_path.h"

#include <atomic>

namespace quorel::detail {
namespace {

// The copies exist only where GCC builds them (see the block sources); AVX2 needs FMA for the
// error function, AVX-512 the DQ and VL extensions for the gamma lanes.
TBlockPath BestPath() {
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return TBlockPath::Plain;
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
    return TBlockPath::Avx512;
  return TBlockPath::Avx2;
#else
  return TBlockPath::Plain;
#endif
}

std::atomic<TBlockPath>& Path() {
  static std::atomic<TBlockPath> path{BestPath()};
  return path;
}

}  // namespace

TBlockPath CurrentBlockPath() { return Path().load(std::memory_order_relaxed); }

TBlockPath SetBlockPath(TBlockPath p) {
  static const TBlockPath best = BestPath();
  return Path().exchange(p > best ? best : p);
}

}  // namespace quorel::detail
