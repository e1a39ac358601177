#include "quorel/core/startup.h"

#include <atomic>

#include "quorel/core/fpu.h"

namespace quorel {

std::int32_t QuorelBlockSize = 800;
constinit std::string QuorelWorkingDir;
constinit TIntegerArray QuorelPrimeArray;

namespace {
std::atomic<int> core_users{0};

void FillPrimes(TIntegerArray& primes) {
  primes.clear();
  primes.reserve(1000);
  for (std::int32_t n = 2; primes.size() < 1000; ++n) {
    bool prime = true;
    for (std::int32_t p : primes) {
      if (p * p > n) break;
      if (n % p == 0) { prime = false; break; }
    }
    if (prime) primes.push_back(n);
  }
}
}  // namespace

header_detail::CoreModuleGuard::CoreModuleGuard() {
  if (core_users.fetch_add(1) != 0) return;
  ClearFPU();
  MtxSaved8087CW = Get8087CW();
  Set8087CW(Quorel8087CW);
  FillPrimes(QuorelPrimeArray);
  QuorelBlockSize = 800;
  QuorelWorkingDir = "/tmp/";
  ClearFPU();
}

// The tables and texts are released by their own destructors at exit; touching them here could
// run after those destructors.
header_detail::CoreModuleGuard::~CoreModuleGuard() { core_users.fetch_sub(1); }

}  // namespace quorel
