// Bodies of every element-wise method listed in elementwise_methods.inc: each forwards its
// arguments, unchanged, with its operation to the frame.
#include "quorel/elementwise/frame.h"
#include "quorel/elementwise/ops.h"

namespace quorel {

#define QUOREL_FORWARD_ARGS(...) __VA_OPT__(, ) __VA_ARGS__
#define QUOREL_SELF_METHOD(name, params, args) \
  TDenseQuorel& TDenseQuorel::name params { return frame::Apply(*this, ops::name QUOREL_FORWARD_ARGS args); }
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_SELF_METHOD
#undef QUOREL_FORWARD_ARGS

}  // namespace quorel
