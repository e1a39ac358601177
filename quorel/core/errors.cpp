#include "quorel/core/errors.h"

#include <cstdarg>
#include <cstdio>

namespace quorel {

// Raising is kept out of line and cold so that checks inline to a compare and a branch.
[[gnu::cold, gnu::noinline]] void ERaise(const std::string& msg) { throw EQuorelException(msg); }
[[gnu::cold, gnu::noinline]] void ERangeErrorRaise(const std::string& msg) { throw EQuorelRangeError(msg); }
[[gnu::cold, gnu::noinline]] void EInvalidArgumentRaise(const std::string& msg) { throw EQuorelInvalidArgument(msg); }
[[gnu::cold, gnu::noinline]] void EOutOfMemoryRaise(const std::string& msg) { throw EOutOfMemory(msg); }
[[gnu::cold, gnu::noinline]] void EConvertErrorRaise(const std::string& msg) { throw EConvertError(msg); }

[[gnu::cold]] std::string FormatMsg(const char* fmt, ...) {
  char buf[512];
  va_list args;
  va_start(args, fmt);
  int n = std::vsnprintf(buf, sizeof buf, fmt, args);
  va_end(args);
  if (n < 0) return fmt;
  if (static_cast<size_t>(n) < sizeof buf) return std::string(buf, static_cast<size_t>(n));
  std::string out(static_cast<size_t>(n), '\0');
  va_start(args, fmt);
  std::vsnprintf(out.data(), out.size() + 1, fmt, args);
  va_end(args);
  return out;
}

}  // namespace quorel
