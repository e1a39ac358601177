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
// A function with parameters may be overloaded on them, so its operation is named after its kernel.
#define QUOREL_UNARY_PARAM(name, rule, kernel, params, args, order, sourceIsSelf, ...) \
  namespace detail::ops {                                                               \
  inline constexpr ParamUnaryOp<kernel, Rule::rule> kernel##Op{sourceIsSelf, __VA_ARGS__}; \
  }
#define QUOREL_SPLIT(name, kernel, source, names, ...) \
  namespace detail::ops {                              \
  inline constexpr SplitOp<kernel, source> name{__VA_ARGS__}; \
  }
#define QUOREL_JOIN(name, kernel, names, ...) \
  namespace detail::ops {                     \
  inline constexpr JoinOp<kernel> name{__VA_ARGS__}; \
  }
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_UNARY
#undef QUOREL_UNARY_PARAM
#undef QUOREL_SPLIT
#undef QUOREL_JOIN
#undef QUOREL_SELF_METHOD

// Pass 2: the method bodies.
#define QUOREL_FORWARD_ARGS(...) __VA_OPT__(, ) __VA_ARGS__
#define QUOREL_SELF_METHOD(name, params, args) \
  TDenseQuorel& TDenseQuorel::name params { return detail::Apply(*this, detail::ops::name QUOREL_FORWARD_ARGS args); }
// Functions with scalar parameters bind them first, then run the unary shapes.
#define QUOREL_PARAM_OP(kernel, args) detail::ops::kernel##Op.Bind(*this, QUOREL_UNPAREN args)
// The range shapes bind after validating the ranges, so a range error comes before a parameter error.
#define QUOREL_PARAM_BINDER(kernel, args) [&] { return QUOREL_PARAM_OP(kernel, args); }
#define QUOREL_PARAM_SOURCE_CHECK(kernel, x)                                                \
  if (fConditionCheck && detail::ops::kernel##Op.msgs.sourceIsSelf)                         \
    detail::Require(!detail::Same(*this, x), detail::ops::kernel##Op.msgs.sourceIsSelf);
#define QUOREL_PARAM_BODIES_LEAD(name, kernel, params, args)                                                     \
  TDenseQuorel& TDenseQuorel::name params { return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args)); }   \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, std::int32_t index, std::int32_t len) {          \
    return detail::UnaryBound(*this, QUOREL_PARAM_BINDER(kernel, args), index, len);                       \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, const TDenseQuorel& x) {                         \
    QUOREL_PARAM_SOURCE_CHECK(kernel, x)                                                                   \
    return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args), x);                                         \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, const TDenseQuorel& x, std::int32_t xIndex,      \
                                   std::int32_t index, std::int32_t len) {                               \
    return detail::UnaryBound(*this, QUOREL_PARAM_BINDER(kernel, args), x, xIndex, index, len);          \
  }
#define QUOREL_PARAM_BODIES_TRAIL(name, kernel, params, args)                                                    \
  TDenseQuorel& TDenseQuorel::name params { return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args)); }   \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& x, QUOREL_UNPAREN params) {                         \
    QUOREL_PARAM_SOURCE_CHECK(kernel, x)                                                                   \
    return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args), x);                                         \
  }
#define QUOREL_PARAM_BODIES_AFTER(name, kernel, params, args)                                                   \
  TDenseQuorel& TDenseQuorel::name params { return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args)); }   \
  TDenseQuorel& TDenseQuorel::name(QUOREL_UNPAREN params, std::int32_t index, std::int32_t len) {          \
    return detail::UnaryBound(*this, QUOREL_PARAM_BINDER(kernel, args), index, len);                       \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& x, QUOREL_UNPAREN params) {                         \
    QUOREL_PARAM_SOURCE_CHECK(kernel, x)                                                                 \
    return detail::Unary(*this, QUOREL_PARAM_OP(kernel, args), x);                                       \
  }                                                                                                      \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& x, QUOREL_UNPAREN params, std::int32_t xIndex,      \
                                   std::int32_t index, std::int32_t len) {                               \
    return detail::UnaryBound(*this, QUOREL_PARAM_BINDER(kernel, args), x, xIndex, index, len);          \
  }
#define QUOREL_UNARY_PARAM(name, rule, kernel, params, args, order, ...) \
  QUOREL_PARAM_BODIES_##order(name, kernel, params, args)
// Two outputs and two real sources: the two shapes each.
#define QUOREL_SPLIT_BODIES(name, a, b, ai, bi)                                                           \
  TDenseQuorel& TDenseQuorel::name(TDenseQuorel& a, TDenseQuorel& b) {                                   \
    return detail::Split(*this, detail::ops::name, a, b);                                                 \
  }                                                                                                       \
  TDenseQuorel& TDenseQuorel::name(TDenseQuorel& a, TDenseQuorel& b, std::int32_t ai, std::int32_t bi,   \
                                   std::int32_t index, std::int32_t len) {                                \
    return detail::Split(*this, detail::ops::name, a, b, ai, bi, index, len);                             \
  }
#define QUOREL_JOIN_BODIES(name, a, b, ai, bi)                                                            \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& a, const TDenseQuorel& b) {                       \
    return detail::Join(*this, detail::ops::name, a, b);                                                  \
  }                                                                                                       \
  TDenseQuorel& TDenseQuorel::name(const TDenseQuorel& a, const TDenseQuorel& b, std::int32_t ai,        \
                                   std::int32_t bi, std::int32_t index, std::int32_t len) {               \
    return detail::Join(*this, detail::ops::name, a, b, ai, bi, index, len);                              \
  }
#define QUOREL_SPLIT(name, kernel, source, names, ...) QUOREL_APPLY(QUOREL_SPLIT_BODIES, (name, QUOREL_UNPAREN names))
#define QUOREL_JOIN(name, kernel, names, ...) QUOREL_APPLY(QUOREL_JOIN_BODIES, (name, QUOREL_UNPAREN names))
#include "quorel/objects/elementwise_methods.inc"
#undef QUOREL_UNARY_PARAM
#undef QUOREL_SPLIT
#undef QUOREL_JOIN
#undef QUOREL_SPLIT_BODIES
#undef QUOREL_JOIN_BODIES
#undef QUOREL_PARAM_BODIES_LEAD
#undef QUOREL_PARAM_BODIES_TRAIL
#undef QUOREL_PARAM_BODIES_AFTER
#undef QUOREL_PARAM_SOURCE_CHECK
#undef QUOREL_PARAM_BINDER
#undef QUOREL_PARAM_OP
#undef QUOREL_SELF_METHOD
#undef QUOREL_FORWARD_ARGS

}  // namespace quorel
