#pragma once
// Helpers shared by the text-value and report tests.

#include <string>

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

}  // namespace quorel::test
