// Bodies of every element-wise method listed in elementwise_methods.inc. The list is read twice:
// first to make the operation of each unary function from its table line, then to define every
// shape of every method as a call of the frame with the method's operation and its arguments.
#include "quorel/elementwise/detail/frame.h"
#include "quorel/elementwise/detail/ops.h"

namespace quorel {

// Pass 1: the operations of the unary functions.
#define QUOREL_SELF_METHOD(name, params, args)
#define QUOREL_UNARY(name, rule, kernel, ...) \
  namespace detail::ops {                     \
  inline constexpr UnaryOp<kernel, Rule::rule> name{__VA_ARGS__}; \
  }
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_UNARY
#undef QUOREL_SELF_METHOD

// Pass 2: the method bodies.
#define QUOREL_FORWARD_ARGS(...) __VA_OPT__(, ) __VA_ARGS__
#define QUOREL_SELF_METHOD(name, params, args) \
  TDenseQuorel& TDenseQuorel::name params { return detail::Apply(*this, detail::ops::name QUOREL_FORWARD_ARGS args); }
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_SELF_METHOD
#undef QUOREL_FORWARD_ARGS

}  // namespace quorel
