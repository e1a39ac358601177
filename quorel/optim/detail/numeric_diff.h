#pragma once
// Forward-difference gradient for minimisers that already know f(x).

#include <algorithm>
#include <cmath>
#include <span>

#include "quorel/optim/detail/opt_common.h"

namespace quorel::detail {

/// The scale of a difference step at x: |x|, but at least 1e-3, so parameters of very different
/// magnitudes (1e-4 next to 500) each get a step that resolves them, and one crossing zero still
/// gets a step that differences do not drown in rounding.
inline double DiffScale(double x) { return std::max(std::abs(x), 1e-3); }

/// Gradient and Hessian (n x n, row-major) by central differences at step eps^(1/4) DiffScale(x_i),
/// given f0 = f(x): 2n^2 evaluations; `fivePoint` refines the gradient by one Richardson step
/// (2n more evaluations, error O(h^4)).
void GradHess(const TRealFunction& fun, std::span<const double> pars, std::span<const double> consts,
              std::span<TQuorel* const> objConst, double f0, bool fivePoint, std::span<double> g, std::span<double> hess);

/// g_i = (f(x + h_i e_i) - f0) / h_i, h_i = sqrt(eps) DiffScale(x_i): n evaluations. x is restored.
void ForwardGradient(TObjective& objective, std::span<double> x, double f0, std::span<double> g);

}  // namespace quorel::detail
