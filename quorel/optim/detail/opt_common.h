#pragma once
// Shared pieces of the minimisers: the iteration log, safe evaluation and the limits of a run.

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>

#include "quorel/core/detail/checks.h"
#include "quorel/optim/optimization.h"

namespace quorel::detail {

/// The iteration log of one run; does nothing without a list.
class TOptLog {
 public:
  /// Writes the header lines: `name`, then `columns`.
  TOptLog(TStringList* list, double tol, const char* name, const char* columns = "Iteration Fun");
  /// One line: the count as "0000", six blanks, the value column.
  void Line(std::int64_t iteration, double value);
  /// One line with the damping factor in a third column.
  void Line(std::int64_t iteration, double value, double lambda);
  std::int32_t Digits() const { return digits_; }

 private:
  TStringList* list_;
  std::int32_t digits_;
};

/// Counts the calls of the objective and maps a NaN value to +INF, so comparisons stay ordered.
class TObjective {
 public:
  TObjective(const TRealFunction& fun, std::span<const double> consts, std::span<TQuorel* const> objConst)
      : fun_(fun), consts_(consts), objConst_(objConst) {}
  double operator()(std::span<const double> pars) {
    ++count_;
    const double f = fun_(pars, consts_, objConst_);
    return std::isnan(f) ? std::numeric_limits<double>::infinity() : f;
  }
  std::int64_t Count() const { return count_; }
  const TRealFunction& Fun() const { return fun_; }
  std::span<const double> Consts() const { return consts_; }
  std::span<TQuorel* const> ObjConst() const { return objConst_; }

 private:
  const TRealFunction& fun_;
  std::span<const double> consts_;
  std::span<TQuorel* const> objConst_;
  std::int64_t count_ = 0;
};

/// The iteration count of a run may exceed MaxIter by one; kept 64-bit so MaxIter = INT32_MAX ends.
inline bool PastMaxIter(std::int64_t count, std::int32_t maxIter) { return count > maxIter; }
inline std::int32_t IterResult(std::int64_t count) {
  return static_cast<std::int32_t>(std::min<std::int64_t>(count, std::numeric_limits<std::int32_t>::max()));
}

/// A user gradient procedure must leave Grad real with one element per parameter.
template <class Vec>
inline void CheckGradient(const Vec& grad, std::size_t n, const char* msg) {
  Require(!grad.Complex() && static_cast<std::size_t>(grad.Length()) == n, msg);
}

/// max_i |a_i - b_i|.
inline double MaxAbsDiff(std::span<const double> a, std::span<const double> b) {
  double d = 0;
  for (std::size_t i = 0; i < a.size(); ++i) d = std::max(d, std::abs(a[i] - b[i]));
  return d;
}

/// max_i |a_i|.
inline double MaxAbs(std::span<const double> a) {
  double d = 0;
  for (double v : a) d = std::max(d, std::abs(v));
  return d;
}

inline double Dot(std::span<const double> a, std::span<const double> b) {
  double s = 0;
  for (std::size_t i = 0; i < a.size(); ++i) s += a[i] * b[i];
  return s;
}

/// True when no coordinate moves from x to xNew by more than tol (|x_i| + tol); false for tol <= 0.
inline bool SmallMove(std::span<const double> x, std::span<const double> xNew, double tol) {
  if (!(tol > 0)) return false;
  for (std::size_t i = 0; i < x.size(); ++i)
    if (std::abs(xNew[i] - x[i]) > tol * (std::abs(x[i]) + tol)) return false;
  return true;
}

}  // namespace quorel::detail
