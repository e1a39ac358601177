// The allocation counter of the signal test program (see support/allocations.h).
#include "support/allocation_counter.h"
