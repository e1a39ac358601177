#pragma once
// TDenseQuorel: dense storage plus every method that returns Self. Each such method is listed
// once in dense_methods.inc; TDenseOf<S> re-exposes the whole list returning S& so that calls on a
// TVec chain as TVec and on a TMtx as TMtx.

#include <cstdint>
#include <initializer_list>
#include <span>

#include "quorel/objects/quorel_object.h"

namespace quorel {

/// Base of the dense vector and matrix.
class TDenseQuorel : public TQuorel {
 public:
#define QUOREL_SELF_METHOD(name, params, args) TDenseQuorel& name params;
#include "quorel/objects/dense_methods.inc"
#undef QUOREL_SELF_METHOD

 protected:
  TDenseQuorel() = default;
};

/// TDenseQuorel with the Self-returning methods typed as the derived class S.
template <class S>
class TDenseOf : public TDenseQuorel {
 public:
#define QUOREL_SELF_METHOD(name, params, args) \
  S& name params {                               \
    TDenseQuorel::name args;                     \
    return static_cast<S&>(*this);               \
  }
#include "quorel/objects/dense_methods.inc"
#undef QUOREL_SELF_METHOD

 protected:
  TDenseOf() = default;
};

}  // namespace quorel
