#pragma once
// The library's argument checks: one vocabulary for every module. Each check is an inline test
// whose failing branch calls one of the cold raisers of errors.h, so the fast path stays a compare
// and a branch. Messages are passed in unchanged; the texts belong to each method.

#include <cmath>
#include <limits>

#include "quorel/core/errors.h"

namespace quorel::detail {

/// Raises EQuorelInvalidArgument with `msg` unless `ok`.
inline void Require(bool ok, const char* msg) {
  if (!ok) [[unlikely]]
    EInvalidArgumentRaise(msg);
}
inline void Require(bool ok, const std::string& msg) {
  if (!ok) [[unlikely]]
    EInvalidArgumentRaise(msg);
}

/// Raises EQuorelRangeError with `msg` unless `ok`.
inline void RequireInRange(bool ok, const char* msg) {
  if (!ok) [[unlikely]]
    ERangeErrorRaise(msg);
}

/// Raises EQuorelException (state and back-end failures) with `msg` unless `ok`.
inline void RequireState(bool ok, const char* msg) {
  if (!ok) [[unlikely]]
    ERaise(msg);
}

/// Require, made only when `self` has ConditionCheck on: the checks the user may switch off.
template <class Obj>
inline void RequireChecked(const Obj& self, bool ok, const char* msg) {
  if (self.ConditionCheck()) Require(ok, msg);
}

/// `x` may not be Self ("X = Self" family); identity is the address.
template <class A, class B>
inline void RequireNotSelf(const A& self, const B& x, const char* msg) {
  Require(static_cast<const void*>(&self) != static_cast<const void*>(&x), msg);
}

/// Both objects have the same Length.
template <class A, class B>
inline void RequireSameLength(const A& a, const B& b, const char* msg) {
  Require(a.Length() == b.Length(), msg);
}

/// Both objects have the same Complex.
template <class A, class B>
inline void RequireSameComplex(const A& a, const B& b, const char* msg) {
  Require(a.Complex() == b.Complex(), msg);
}

/// Real data only; the reductions' default text is "Complex = True".
template <class A>
inline void RequireReal(const A& a, const char* msg = "Complex = True") {
  Require(!a.Complex(), msg);
}

/// Complex data only; the reductions' default text is "Complex = False".
template <class A>
inline void RequireComplex(const A& a, const char* msg = "Complex = False") {
  Require(a.Complex(), msg);
}

// --- scalar parameters of the distributions and special functions ---------------------------------
// Scalar functions of this kind never raise: a parameter outside its domain, or a NaN argument,
// makes the result NaN. Write `if (!ParamsValid(sigma > 0, p >= 0 && p <= 1)) return NaNResult();`
// so every function states its domain in one line.

/// True when every condition holds. NaN parameters fail any ordered comparison, so they are caught
/// by the domain conditions themselves.
template <class... Conditions>
constexpr bool ParamsValid(Conditions... ok) {
  return (static_cast<bool>(ok) && ...);
}

/// True when no argument is NaN.
template <class... Values>
inline bool NoNaN(Values... v) {
  return (!std::isnan(static_cast<double>(v)) && ...);
}

/// The value a scalar function returns for invalid parameters.
constexpr double NaNResult() { return std::numeric_limits<double>::quiet_NaN(); }

}  // namespace quorel::detail
