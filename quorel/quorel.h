#pragma once
// Umbrella header: everything a Quorel user needs.

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/fpu.h"
#include "quorel/core/math387.h"
#include "quorel/core/memory.h"
#include "quorel/core/startup.h"
#include "quorel/core/text.h"
#include "quorel/core/types.h"
#include "quorel/objects/controller.h"
#include "quorel/io/report.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/mtx.h"
#include "quorel/io/lists.h"
#include "quorel/io/matrix_market.h"
#include "quorel/elementwise/statistics.h"
// Subsystems.
#include "quorel/signal/signal.h"
#include "quorel/optim/optimization.h"
#include "quorel/stats/probabilities.h"
#include "quorel/stats/random_streams.h"
#include "quorel/special/special_funcs.h"
