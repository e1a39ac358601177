#pragma once
// The whole scalar module: types, constants, errors, FPU control, memory helpers, real and
// complex scalar functions, comparisons, gamma and Bessel functions, and timing.

#include "quorel/core/bessel.h"
#include "quorel/core/clock.h"
#include "quorel/core/compare.h"
#include "quorel/core/complex_arith.h"
#include "quorel/core/complex_compare.h"
#include "quorel/core/complex_trig.h"
#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/fpu.h"
#include "quorel/core/gamma.h"
#include "quorel/core/memory.h"
#include "quorel/core/scalar_complex.h"
#include "quorel/core/scalar_real.h"
#include "quorel/core/scalar_util.h"
#include "quorel/core/startup.h"
#include "quorel/core/types.h"
