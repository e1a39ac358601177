// The allocation counter of the sparse test program (see support/allocations.h).
#include "support/allocation_counter.h"
