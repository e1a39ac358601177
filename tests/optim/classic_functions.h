#pragma once
// Classic unconstrained test problems (Moré, Garbow and Hillstrom 1981) with their standard starts
// and known minima, and helpers shared by the minimiser tests.

#include <cmath>
#include <span>
#include <vector>

#include "quorel/optim/optimization.h"

namespace optim_test {

using quorel::TQuorel;

struct TClassic {
  const char* Name;
  quorel::TRealFunction Fun;
  std::vector<double> Start;
  std::vector<double> Minimiser;  // empty: only the minimum value is asserted
  double Minimum;
};

/// Extended Rosenbrock in n dimensions; start (-1.2, 1, -1.2, 1, ...), minimum 0 at (1, ..., 1).
inline double Rosenbrock(std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) {
  double s = 0;
  for (std::size_t i = 0; i + 1 < x.size(); ++i) s += 100 * std::pow(x[i + 1] - x[i] * x[i], 2) + std::pow(1 - x[i], 2);
  return s;
}

inline std::vector<double> RosenbrockStart(std::size_t n) {
  std::vector<double> x(n);
  for (std::size_t i = 0; i < n; ++i) x[i] = i % 2 == 0 ? -1.2 : 1.0;
  return x;
}

/// An objective of the parameters alone.
template <class F>
quorel::TRealFunction Of(F f) {
  return [f](std::span<const double> x, std::span<const double>, std::span<TQuorel* const>) -> double { return f(x); };
}

inline std::vector<TClassic> ClassicProblems() {
  return {
      {"Rosenbrock", Rosenbrock, {-1.2, 1}, {1, 1}, 0},
      {"Powell singular",
       Of([](auto x) {
         return std::pow(x[0] + 10 * x[1], 2) + 5 * std::pow(x[2] - x[3], 2) + std::pow(x[1] - 2 * x[2], 4) +
                10 * std::pow(x[0] - x[3], 4);
       }),
       {3, -1, 0, 1}, {0, 0, 0, 0}, 0},
      {"Beale",
       Of([](auto x) {
         return std::pow(1.5 - x[0] * (1 - x[1]), 2) + std::pow(2.25 - x[0] * (1 - x[1] * x[1]), 2) +
                std::pow(2.625 - x[0] * (1 - x[1] * x[1] * x[1]), 2);
       }),
       {1, 1}, {3, 0.5}, 0},
      {"Wood",
       Of([](auto x) {
         return 100 * std::pow(x[1] - x[0] * x[0], 2) + std::pow(1 - x[0], 2) + 90 * std::pow(x[3] - x[2] * x[2], 2) +
                std::pow(1 - x[2], 2) + 10.1 * (std::pow(x[1] - 1, 2) + std::pow(x[3] - 1, 2)) +
                19.8 * (x[1] - 1) * (x[3] - 1);
       }),
       {-3, -1, -3, -1}, {1, 1, 1, 1}, 0},
      // From (0.5, -2) the standard start leads to the local minimum 48.9842... at (11.41..., -0.8968...);
      // the global minimum 0 is at (5, 4). Either is a correct answer of a local method.
      {"Freudenstein-Roth",
       Of([](auto x) {
         return std::pow(-13 + x[0] + ((5 - x[1]) * x[1] - 2) * x[1], 2) +
                std::pow(-29 + x[0] + ((x[1] + 1) * x[1] - 14) * x[1], 2);
       }),
       {0.5, -2}, {}, 48.98425367924},
  };
}

/// Number of matching significant digits of got against want (17 when equal).
inline double SignificantDigits(double got, double want) {
  if (got == want) return 17;
  if (want == 0) return -std::log10(std::abs(got));
  return -std::log10(std::abs(got - want) / std::abs(want));
}

/// An objective that counts its calls.
inline quorel::TRealFunction Counted(quorel::TRealFunction f, long& calls) {
  return [f = std::move(f), &calls](std::span<const double> x, std::span<const double> c, std::span<TQuorel* const> o) {
    ++calls;
    return f(x, c, o);
  };
}

}  // namespace optim_test
