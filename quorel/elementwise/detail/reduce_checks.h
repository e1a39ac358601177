#pragma once
// Type checks shared by the reductions; made always, whatever ConditionCheck says.

#include "quorel/core/errors.h"
#include "quorel/objects/dense.h"

namespace quorel::reduce {

/// Refuses complex data with "Complex = True".
inline void RequireReal(const TDenseQuorel& a) {
  if (a.Complex()) EInvalidArgumentRaise("Complex = True");
}

/// Refuses real data with "Complex = False".
inline void RequireComplex(const TDenseQuorel& a) {
  if (!a.Complex()) EInvalidArgumentRaise("Complex = False");
}

}  // namespace quorel::reduce
