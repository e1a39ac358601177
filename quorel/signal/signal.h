#pragma once
// Signal processing beyond the TVec and TMtx members: the descriptor cache and the free functions.

#include "quorel/core/types.h"
#include "quorel/signal/dfti_cache.h"

namespace quorel {

class TVec;

/// The Goertzel value of vec at the frequency its GoertzInit set (vec.Goertz()).
TCplx Goertz(TVec& vec);

}  // namespace quorel
