#pragma once
// Exception texts of the calls under test, with the library's exception types; see support/support.h.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"

namespace quorel::test {

/// Message of the exception of type E that f raises, or "<no exception>".
template <class E, class F>
std::string MessageOf(F&& f) {
  try {
    f();
  } catch (const E& e) {
    return e.what();
  }
  return "<no exception>";
}

/// Calls paired with the text each must raise.
using Cases = std::vector<std::pair<std::function<void()>, std::string>>;

/// Expects exception E with the paired text from every call.
template <class E>
void ExpectMessages(const Cases& cases) {
  for (const auto& [call, text] : cases) EXPECT_EQ(MessageOf<E>(call), text);
}

}  // namespace quorel::test
