#pragma once
// Forward-difference gradient for minimisers that already know f(x).

#include <span>

#include "quorel/optim/detail/opt_common.h"

namespace quorel::detail {

/// g_i = (f(x + h_i e_i) - f0) / h_i, h_i = sqrt(eps) max(|x_i|, 1): n evaluations. x is restored.
void ForwardGradient(TObjective& objective, std::span<double> x, double f0, std::span<double> g);

}  // namespace quorel::detail
