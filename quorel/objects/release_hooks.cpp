#include "quorel/objects/detail/release_hooks.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace quorel::detail {
namespace {
// Function-local statics: hooks may be registered during static initialisation of other units.
// Never destroyed: a hook registered after the controller exists would otherwise be destroyed
// before the controller's destructor runs the hooks.
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
