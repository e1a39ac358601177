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
#define QUOREL_UNARY_PARAM(name, rule, kernel, params, args, order, sourceIsSelf, ...) \
  namespace detail::ops {                                                               \
  inline constexpr ParamUnaryOp<kernel, Rule::rule> name{sourceIsSelf, __VA_ARGS__};    \
  }
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_UNARY
#undef QUOREL_UNARY_PARAM
#undef QUOREL_SELF_METHOD

// Pass 2: the method bodies.
#define QUOREL_FORWARD_ARGS(...) __VA_OPT__(, ) __VA_ARGS__
#define QUOREL_SELF_METHOD(name, params, args) \
  TDenseQuorel& TDenseQuorel::name params { return detail::Apply(*this, detail::ops::name QUOREL_FORWARD_ARGS args); }
// Functions with scalar parameters bind them first, then run the unary shapes.
#define QUOREL_PARAM_OP(name, args) detail::ops::name.Bind args
#define QUOREL_PARAM_SOURCE_CHECK(name, x)                                                  \
  if (fConditionCheck && detail::ops::name.msgs.sourceIsSelf)                               \
    detail::Require(!detail::Same(*this, x), detail::ops::name.msgs.sourceIsSelf);
#define QUOREL_PARAM_BODIES_LEAD(name, params, args)                                                     \
  TDenseQuorel& TDenseQuorel::name params { return detail::Unary(*this, QUOREL_PARAM_OP(name, args)); }   \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, std::int32_t index, std::int32_t len) {          \
    return detail::Unary(*this, QUOREL_PARAM_OP(name, args), index, len);                                \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, const TDenseQuorel& x) {                         \
    QUOREL_PARAM_SOURCE_CHECK(name, x)                                                                   \
    return detail::Unary(*this, QUOREL_PARAM_OP(name, args), x);                                         \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, const TDenseQuorel& x, std::int32_t xIndex,      \
                                   std::int32_t index, std::int32_t len) {                               \
    return detail::Unary(*this, QUOREL_PARAM_OP(name, args), x, xIndex, index, len);                     \
  }
#define QUOREL_PARAM_BODIES_TRAIL(name, params, args)                                                    \
  TDenseQuorel& TDenseQuorel::name params { return detail::Unary(*this, QUOREL_PARAM_OP(name, args)); }   \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& x, QUOREL_UNPAREN params) {                         \
    QUOREL_PARAM_SOURCE_CHECK(name, x)                                                                   \
    return detail::Unary(*this, QUOREL_PARAM_OP(name, args), x);                                         \
  }
#define QUOREL_UNARY_PARAM(name, rule, kernel, params, args, order, ...) QUOREL_PARAM_BODIES_##order(name, params, args)
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_UNARY_PARAM
#undef QUOREL_PARAM_BODIES_LEAD
#undef QUOREL_PARAM_BODIES_TRAIL
#undef QUOREL_PARAM_SOURCE_CHECK
#undef QUOREL_PARAM_OP
#undef QUOREL_SELF_METHOD
#undef QUOREL_FORWARD_ARGS

}  // namespace quorel
