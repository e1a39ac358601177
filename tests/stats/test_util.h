#pragma once
// Helpers shared by the distribution tests.

#include <functional>
#include <string>

#include "quorel/core/errors.h"

namespace quorel::test {

/// Message of the EQuorelException that f raises, or "<no exception>".
inline std::string MessageOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const EQuorelException& e) {
    return e.what();
  }
  return "<no exception>";
}

}  // namespace quorel::test
