#pragma once
// Helpers of the persistence tests: expected byte strings built field by field, and messages.

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "quorel/io/stream.h"
#include "quorel/objects/vec.h"

namespace quorel::test {

using TBytes = std::vector<std::uint8_t>;

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

/// Appends a caption block: int32 length and the text.
inline TBytes& PutCaption(TBytes& out, const std::string& text) {
  Put<std::int32_t>(out, {static_cast<std::int32_t>(text.size())});
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

inline TBytes BytesOf(const TQuorelMemoryStream& s) { return {s.Bytes().begin(), s.Bytes().end()}; }

inline TVec Real(std::initializer_list<double> values) {
  TVec v;
  v.SetIt(false, values);
  return v;
}

inline TVec Cplx(std::initializer_list<TCplx> values) {
  TVec v;
  v.SetCplx(values);
  return v;
}

}  // namespace quorel::test
