#include "quorel/objects/detail/release_hooks.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace quorel::detail {
namespace {
// Function-local statics: hooks may be registered during static initialisation of other units.
std::mutex& HooksLock() {
  static std::mutex m;
  return m;
}
std::vector<TReleaseHook>& Hooks() {
  static std::vector<TReleaseHook> hooks;
  return hooks;
}
}  // namespace

void RegisterReleaseHook(TReleaseHook hook) {
  std::lock_guard lock(HooksLock());
  auto& hooks = Hooks();
  if (std::find(hooks.begin(), hooks.end(), hook) == hooks.end()) hooks.push_back(hook);
}

void RunReleaseHooks() {
  std::vector<TReleaseHook> copy;
  {
    std::lock_guard lock(HooksLock());
    copy = Hooks();
  }
  // Outside the lock: a hook may take locks of its own subsystem.
  for (TReleaseHook hook : copy) hook();
}

}  // namespace quorel::detail
