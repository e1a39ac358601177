#pragma once
// Helpers shared by the text-value, report and Matrix Market tests.

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

/// Lines joined with "\r\n" after each, as the report writes them.
inline std::string CrLf(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

}  // namespace quorel::test
