#pragma once
// Expected byte strings of the persistence tests, built field by field (the shared helpers are
// in support/support.h).

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "quorel/io/stream.h"
#include "support/support.h"

namespace quorel::test {

using TBytes = std::vector<std::uint8_t>;

/// Appends values of type T as they lie in memory (little-endian).
template <class T>
TBytes& Put(TBytes& out, std::initializer_list<T> values) {
  for (T v : values) {
    std::uint8_t b[sizeof(T)];
    std::memcpy(b, &v, sizeof(T));
    out.insert(out.end(), b, b + sizeof(T));
  }
  return out;
}
template <class T>
TBytes Put(std::initializer_list<T> values) {
  TBytes out;
  return Put<T>(out, values);
}

/// Appends a caption block: int32 length and the text.
inline TBytes& PutCaption(TBytes& out, const std::string& text) {
  Put<std::int32_t>(out, {static_cast<std::int32_t>(text.size())});
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

inline TBytes BytesOf(const TQuorelMemoryStream& s) { return {s.Bytes().begin(), s.Bytes().end()}; }

/// The bytes an object or a list saves.
template <class T>
TBytes Saved(const T& q) {
  TQuorelMemoryStream s;
  q.SaveToStream(s);
  return BytesOf(s);
}

/// Loads into `to` what `from` saves.
template <class T, class U>
void SaveAndLoad(const T& from, U& to) {
  TQuorelMemoryStream s;
  from.SaveToStream(s);
  s.Seek(0, soBeginning);
  to.LoadFromStream(s);
}

}  // namespace quorel::test
