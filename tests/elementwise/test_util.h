#pragma once
// Helpers shared by the element-wise tests.

#include <string>

#include "quorel/objects/vec.h"

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
