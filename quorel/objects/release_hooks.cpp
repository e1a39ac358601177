#include "quorel/objects/detail/release_hooks.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace quorel::detail {
namespace {
// Never destroyed: hooks may be registered during static initialisation of other units, and also
// after the controller was built, whose destructor still runs them.
std::mutex& HooksLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::vector<TReleaseHook>& Hooks() {
  static auto* hooks = new std::vector<TReleaseHook>;
  return *hooks;
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
