#pragma once
// The date line the Matrix Market writers put in their comment header.

#include <cstddef>
#include <ctime>
#include <string>

namespace quorel::detail {

/// Today in the locale's short date form.
inline std::string ShortDate() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  const std::size_t n = std::strftime(text, sizeof text, "%x", &local);
  return std::string(text, n);
}

}  // namespace quorel::detail
