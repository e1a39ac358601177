// Thresholds: values beyond a level replaced by the level or by a given value; complex data is
// limited by modulus with the phase kept.
#include "quorel/core/detail/checks.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/threshold.h"

namespace quorel {

using detail::MakeOp;
using detail::Rule;

namespace {
// Every threshold comes in the four unary shapes; `op` carries its kernel and messages.
#define QUOREL_THRESHOLD_SHAPES(Method, Params, Args, MakeOpExpr)                                          \
  TDenseQuorel& TDenseQuorel::Method Params { return detail::Unary(*this, MakeOpExpr); }                      \
  TDenseQuorel& TDenseQuorel::Method(QUOREL_UNPAREN Params, std::int32_t index, std::int32_t len) {         \
    return detail::Unary(*this, MakeOpExpr, index, len);                                                    \
  }                                                                                                        \
  TDenseQuorel& TDenseQuorel::Method(const TDenseQuorel& src, QUOREL_UNPAREN Params) {                      \
    return detail::Unary(*this, MakeOpExpr, src);                                                           \
  }                                                                                                        \
  TDenseQuorel& TDenseQuorel::Method(const TDenseQuorel& src, QUOREL_UNPAREN Params, std::int32_t srcIndex, \
                                     std::int32_t index, std::int32_t len) {                               \
    return detail::Unary(*this, MakeOpExpr, src, srcIndex, index, len);                                     \
  }
#define QUOREL_UNPAREN(...) __VA_ARGS__

auto BottomOp(double value) {
  return MakeOp<Rule::Both>({"TQuorel.ThreshBottom: Src = Self", "TQuorel.ThreshBottom: Src.Complex <> Self.Complex"},
                            [value](auto x, auto r, std::ptrdiff_t n) { kern::ThresholdLT(x, value, r, n); });
}
auto TopOp(double value) {
  return MakeOp<Rule::Both>({"TQuorel.ThreshTop: Src = Self", "TQuorel.ThreshTop: Src.Complex <> Self.Complex"},
                            [value](auto x, auto r, std::ptrdiff_t n) { kern::ThresholdGT(x, value, r, n); });
}
auto LTOp(double level, double value) {
  return MakeOp<Rule::Both>({"TQuorel.ThresholdLT: Vec = Self", "TQuorel.ThresholdLT: Vec.Complex <> Complex"},
                            [level, value](auto x, auto r, std::ptrdiff_t n) {
                              if constexpr (std::is_same_v<decltype(x), const double*>)
                                kern::ThresholdLTVal(x, level, value, r, n);
                              else
                                kern::ThresholdLTVal(x, level, TCplx{value, 0.0}, r, n);
                            });
}
auto GTOp(double level, double value) {
  return MakeOp<Rule::Both>({"TQuorel.ThresholdGT: Vec = Self", "TQuorel.ThresholdGT: Vec.Complex <> Complex"},
                            [level, value](auto x, auto r, std::ptrdiff_t n) {
                              if constexpr (std::is_same_v<decltype(x), const double*>)
                                kern::ThresholdGTVal(x, level, value, r, n);
                              else
                                kern::ThresholdGTVal(x, level, TCplx{value, 0.0}, r, n);
                            });
}
// The complex-valued forms need complex data.
auto LTCplxOp(double level, TCplx value) {
  return MakeOp<Rule::ComplexOnly>(
      {"TQuorel.ThresholdLT: Vec = Self", "TQuorel.ThresholdLT: Vec.Complex <> Complex",
       "TQuorel.ThresholdLT: Self is not Complex", "TQuorel.ThresholdLT: Vec is not Complex"},
      [level, value](const TCplx* x, TCplx* r, std::ptrdiff_t n) { kern::ThresholdLTVal(x, level, value, r, n); });
}
auto GTCplxOp(double level, TCplx value) {
  return MakeOp<Rule::ComplexOnly>(
      {"TQuorel.ThresholdGT: Vec = Self", "TQuorel.ThresholdGT: Vec.Complex <> Complex",
       "TQuorel.ThresholdGT: Self is not Complex", "TQuorel.ThresholdGT: Vec is not Complex"},
      [level, value](const TCplx* x, TCplx* r, std::ptrdiff_t n) { kern::ThresholdGTVal(x, level, value, r, n); });
}
auto GTLTOp(const TDenseQuorel& self, double ltLevel, double ltValue, double gtLevel, double gtValue) {
  // Equal levels are allowed; only a lower level above the upper one is refused.
  detail::RequireChecked(self, !(ltLevel > gtLevel), "TQuorel.ThresholdGT_LT: LTLevel > GTLevel");
  return MakeOp<Rule::RealOnly>(
      {"TQuorel.ThresholdGT_LT: Vec = Self", "TQuorel.ThresholdGT_LT: Vec is Complex",
       "TQuorel.ThresholdGT_LT: Self is Complex", "TQuorel.ThresholdGT_LT: Vec is Complex"},
      [=](const double* x, double* r, std::ptrdiff_t n) {
        kern::ThresholdLTValGTVal(x, ltLevel, ltValue, gtLevel, gtValue, r, n);
      });
}
}  // namespace

QUOREL_THRESHOLD_SHAPES(ThreshBottom, (double value), (value), BottomOp(value))
QUOREL_THRESHOLD_SHAPES(ThreshTop, (double value), (value), TopOp(value))
QUOREL_THRESHOLD_SHAPES(ThresholdLT, (double level, double value), (level, value), LTOp(level, value))
QUOREL_THRESHOLD_SHAPES(ThresholdGT, (double level, double value), (level, value), GTOp(level, value))
QUOREL_THRESHOLD_SHAPES(ThresholdLT, (double level, const TCplx& value), (level, value), LTCplxOp(level, value))
QUOREL_THRESHOLD_SHAPES(ThresholdGT, (double level, const TCplx& value), (level, value), GTCplxOp(level, value))
QUOREL_THRESHOLD_SHAPES(ThresholdGT_LT, (double ltLevel, double ltValue, double gtLevel, double gtValue),
                        (ltLevel, ltValue, gtLevel, gtValue), GTLTOp(*this, ltLevel, ltValue, gtLevel, gtValue))

#undef QUOREL_THRESHOLD_SHAPES
#undef QUOREL_UNPAREN

}  // namespace quorel
