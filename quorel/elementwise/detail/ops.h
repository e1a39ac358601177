#pragma once
// The operations of the element-wise methods: for each, the kernels it runs on real and complex
// data and the messages of its checks. Internal: included only by methods.cpp.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/math387.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/platform/kernels/move.h"
#include "quorel/platform/kernels/convert.h"
#include "quorel/platform/kernels/round.h"
#include "quorel/platform/kernels/threshold.h"

namespace quorel::detail::ops {

using detail::Rule;
using std::ptrdiff_t;

// --- kernel adapters ---------------------------------------------------------------------------------

/// A kernel overload set as a type: K{}(args...) calls the overload the argument types choose.
#define QUOREL_KERNEL(Name, fn)                   \
  struct Name {                                   \
    template <class... A>                         \
    void operator()(A... a) const { fn(a...); }   \
  };

/// First K1, then K2 in place on the result.
template <class K1, class K2>
struct Then {
  template <class X, class Out>
  void operator()(const X* x, Out* r, ptrdiff_t n) const {
    K1{}(x, r, n);
    K2{}(static_cast<const Out*>(r), r, n);
  }
};

/// The real kernel K for real data, the scalar complex function F element by element for complex.
template <class K, TCplx (*F)(const TCplx&)>
struct RealKernelComplexScalar {
  void operator()(const double* x, double* r, ptrdiff_t n) const { K{}(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    for (ptrdiff_t i = 0; i < n; ++i) r[i] = F(x[i]);
  }
};

/// x * C, real or complex (both parts scaled).
template <const double& C>
struct ScaleBy {
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const { kern::ScaleByValue(x, C, r, n); }
};

inline constexpr double kMinusOne = -1.0;

QUOREL_KERNEL(SqrK, kern::Sqr)
/// Square root. Complex lanes whose Re^2 + Im^2 over- or underflows a double go through the
/// scalar CSqrt, whose extended range holds it; one vectorised scan keeps the rest on the kernel.
struct SqrtK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Sqrt(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    if (kern::NormsInRange(x, n)) return kern::Sqrt(x, r, n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      if (kern::NormsInRange(x + i, 1)) kern::Sqrt(x + i, r + i, 1);
      else r[i] = quorel::CSqrt(x[i]);
    }
  }
};
QUOREL_KERNEL(ExpK, kern::Exp)
QUOREL_KERNEL(CbrtK, kern::Cbrt)
QUOREL_KERNEL(InvCbrtK, kern::InvCbrt)
QUOREL_KERNEL(CopyK, kern::Copy)
QUOREL_KERNEL(ConjK, kern::Conj)
QUOREL_KERNEL(FlipK, kern::Flip)
QUOREL_KERNEL(FlipConjK, kern::FlipConj)
QUOREL_KERNEL(MulIK, kern::MulI)
QUOREL_KERNEL(SinK, kern::Sin)
QUOREL_KERNEL(CosK, kern::Cos)
QUOREL_KERNEL(TanK, kern::Tan)
QUOREL_KERNEL(SinhK, kern::Sinh)
QUOREL_KERNEL(CoshK, kern::Cosh)
QUOREL_KERNEL(TanhK, kern::Tanh)
QUOREL_KERNEL(ArcSinK, kern::ArcSin)
QUOREL_KERNEL(ArcCosK, kern::ArcCos)
QUOREL_KERNEL(ArcTanK, kern::ArcTan)
QUOREL_KERNEL(ArcSinhK, kern::ArcSinh)
QUOREL_KERNEL(ArcCoshK, kern::ArcCosh)
QUOREL_KERNEL(ArcTanhK, kern::ArcTanh)
QUOREL_KERNEL(LnK, kern::Ln)
QUOREL_KERNEL(Log10K, kern::Log10)
QUOREL_KERNEL(CeilK, kern::Ceil)
QUOREL_KERNEL(FloorK, kern::Floor)
QUOREL_KERNEL(FracK, kern::Frac)
QUOREL_KERNEL(ReverseK, kern::Reverse)
QUOREL_KERNEL(CumSumK, kern::CumSum)

/// Conversion to 32-bit integers and back, so results saturate at the integer range.
template <TRounding Rounding>
struct ThroughInt32 {
  void operator()(const double* x, double* r, ptrdiff_t n) const {
    constexpr ptrdiff_t kChunk = 256;
    std::int32_t ints[kChunk];
    for (ptrdiff_t i = 0; i < n; i += kChunk) {
      const ptrdiff_t m = std::min(kChunk, n - i);
      kern::Convert(x + i, ints, m, Rounding);
      kern::Convert(ints, r + i, m);
    }
  }
};
using RoundK = ThroughInt32<rnRound>;
using TruncK = ThroughInt32<rnTrunc>;

/// 1/x; complex data as CInv forms it, (Re, -Im) / |x|^2, which keeps the sign of a zero part
/// (dividing C_ONE turns -0 into +0), so the inverse functions composed on it take the side of a
/// branch cut that the zero's sign selects. Where |x|^2 is 0, infinite or NaN: the quotient.
struct InvK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Inv(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    for (ptrdiff_t i = 0; i < n; ++i) {
      const long double re = x[i].Re, im = x[i].Im, d = re * re + im * im;
      r[i] = d > 0 && d <= std::numeric_limits<long double>::max() ? CInv(x[i]) : CDiv(C_ONE, x[i]);
    }
  }
};
/// Modulus (complex) or absolute value (real).
struct AbsK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Abs(x, r, n); }
  void operator()(const TCplx* x, double* r, ptrdiff_t n) const { kern::Mag(x, r, n); }
};
/// Squared modulus.
struct NormK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Sqr(x, r, n); }
  void operator()(const TCplx* x, double* r, ptrdiff_t n) const { kern::PowerSpectrum(x, r, n); }
};
/// Conjugate; real data is copied.
struct ConjOrCopyK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Copy(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const { kern::Conj(x, r, n); }
};
/// 1/sqrt(x); complex data: principal root, then reciprocal.
struct InvSqrtK {
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::InvSqrt(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const { Then<SqrtK, InvK>{}(x, r, n); }
};
/// x - 2 pi trunc(x / 2 pi). In place it refuses complex data whatever ConditionCheck says.
struct FixAngleK {
  static constexpr bool kInPlaceKindAlways = true;
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Rem(x, TWOPI, r, n); }
};

// Functions whose complex form comes from the scalar complex functions.
using ArcSinF = RealKernelComplexScalar<ArcSinK, &quorel::ArcSin>;
using ArcCosF = RealKernelComplexScalar<ArcCosK, &quorel::ArcCos>;
using ArcTanF = RealKernelComplexScalar<ArcTanK, &quorel::ArcTan>;
using ArcSinhF = RealKernelComplexScalar<ArcSinhK, &quorel::ArcSinh>;
using ArcCoshF = RealKernelComplexScalar<ArcCoshK, &quorel::ArcCosh>;
using ArcTanhF = RealKernelComplexScalar<ArcTanhK, &quorel::ArcTanh>;
using LnF = RealKernelComplexScalar<LnK, &quorel::Ln>;
using Log10F = RealKernelComplexScalar<Log10K, &quorel::Log10>;

// Kernels of functions with scalar parameters: constructed from the parameters, which they check.

/// Logarithm to base n: ln(x) / ln(n).
struct LogNK {
  double lnBase = 0;
  explicit LogNK(double base) {
    Require(base != 0, "TQuorel.LogN: N = 0");
    lnBase = quorel::Ln(base);
  }
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const {
    LnF{}(x, r, n);
    kern::DivByValue(r, lnBase, r, n);
  }
};

/// x to a real power; complex data through the scalar complex power.
struct PowxK {
  double exponent;
  explicit PowxK(double e) : exponent(e) {}
  void operator()(const double* x, double* r, ptrdiff_t n) const { kern::Powx(x, exponent, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    for (ptrdiff_t i = 0; i < n; ++i) r[i] = quorel::Power(x[i], exponent);
  }
};

/// 1/x, limited in modulus to 1/threshold (values below the threshold give 1/threshold).
struct ClampedInvK {
  double threshold;
  explicit ClampedInvK(double t) : threshold(t) {}
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const { kern::LTInv(x, threshold, r, n); }
};

// Thresholds: values beyond a level replaced by the level or by a given value; complex data is
// limited by modulus with the phase kept.
struct ThreshBottomK {
  double value;
  explicit ThreshBottomK(double v) : value(v) {}
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const { kern::ThresholdLT(x, value, r, n); }
};
struct ThreshTopK {
  double value;
  explicit ThreshTopK(double v) : value(v) {}
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const { kern::ThresholdGT(x, value, r, n); }
};
/// Values beyond `level` replaced by `value` (a real value for complex data has no imaginary part).
template <bool Below>
struct ThresholdValK {
  double level;
  double value;
  ThresholdValK(double l, double v) : level(l), value(v) {}
  template <class X>
  void operator()(const X* x, X* r, ptrdiff_t n) const {
    X v;
    if constexpr (std::is_same_v<X, double>) v = value;
    else v = TCplx{value, 0.0};
    if constexpr (Below) kern::ThresholdLTVal(x, level, v, r, n);
    else kern::ThresholdGTVal(x, level, v, r, n);
  }
};
using ThresholdLTK = ThresholdValK<true>;
using ThresholdGTK = ThresholdValK<false>;
/// The complex-valued forms: complex data only.
template <bool Below>
struct ThresholdCplxK {
  double level;
  TCplx value;
  ThresholdCplxK(double l, const TCplx& v) : level(l), value(v) {}
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    if constexpr (Below) kern::ThresholdLTVal(x, level, value, r, n);
    else kern::ThresholdGTVal(x, level, value, r, n);
  }
};
using ThresholdLTCplxK = ThresholdCplxK<true>;
using ThresholdGTCplxK = ThresholdCplxK<false>;
/// Both limits at once; the level order is checked only under ConditionCheck.
struct ThresholdGTLTK {
  double ltLevel, ltValue, gtLevel, gtValue;
  ThresholdGTLTK(const TDenseQuorel& self, double ltLevel_, double ltValue_, double gtLevel_, double gtValue_)
      : ltLevel(ltLevel_), ltValue(ltValue_), gtLevel(gtLevel_), gtValue(gtValue_) {
    // Equal levels are allowed; only a lower level above the upper one is refused.
    RequireChecked(self, !(ltLevel > gtLevel), "TQuorel.ThresholdGT_LT: LTLevel > GTLevel");
  }
  void operator()(const double* x, double* r, ptrdiff_t n) const {
    kern::ThresholdLTValGTVal(x, ltLevel, ltValue, gtLevel, gtValue, r, n);
  }
};

// Kernels of the methods with two outputs, and of those joining two real sources.
QUOREL_KERNEL(CplxToRealK, kern::CplxToReal)
QUOREL_KERNEL(CartToPolarK, kern::CartToPolar)
QUOREL_KERNEL(SinCosK, kern::SinCos)
QUOREL_KERNEL(SinhCoshK, kern::SinhCosh)
QUOREL_KERNEL(RealToCplxK, kern::RealToCplx)
QUOREL_KERNEL(PolarToCartK, kern::PolarToCart)

// Kernels of the functions whose composition needs a name of its own in the operation table.
/// r[i] = f(x[i]) where rare(x[i]), after a kernel has filled r. The scan is one vectorised
/// compare; the ordinary call pays nothing more.
template <class T, class F, class P>
void RedoRareLanes(const T* x, T* r, std::ptrdiff_t n, F f, P rare) {
  bool any = false;
  for (std::ptrdiff_t i = 0; i < n; ++i) any |= rare(x[i]);
  if (!any) return;
  for (std::ptrdiff_t i = 0; i < n; ++i)
    if (rare(x[i])) r[i] = f(x[i]);
}
/// K, then for real data the scalar F in the rare lanes where K's chain of two kernels overflows in
/// its middle value although the result is a double.
template <class K, double (*F)(double), bool (*Rare)(double)>
struct RareLanesScalar {
  void operator()(const double* x, double* r, ptrdiff_t n) const {
    K{}(x, r, n);
    RedoRareLanes(x, r, n, F, Rare);
  }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const { K{}(x, r, n); }
};
/// The same for complex data: K, then the scalar F where Rare holds.
template <class K, TCplx (*F)(const TCplx&), bool (*Rare)(const TCplx&)>
struct RareCplxLanesScalar {
  void operator()(const double* x, double* r, ptrdiff_t n) const { K{}(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const {
    K{}(x, r, n);
    RedoRareLanes(x, r, n, F, Rare);
  }
};
// cosh and sinh overflow from |x| = 709.78, while sech and csch stay (subnormal) doubles to 745.
constexpr bool BeyondCoshRange(double x) { return x > 709.0 || x < -709.0; }
// Complex cosh and sinh (and cos and sin of the swapped parts) overflow likewise, while their
// reciprocals go to zero.
constexpr bool ReBeyondCoshRange(const TCplx& z) { return BeyondCoshRange(z.Re); }
constexpr bool ImBeyondCoshRange(const TCplx& z) { return BeyondCoshRange(z.Im); }
// 1/x overflows for subnormal x, while arcsech and arccsch are still near ln(2/|x|).
constexpr bool NonzeroSubnormal(double x) { return x != 0.0 && x < 2.2250738585072014e-308 && x > -2.2250738585072014e-308; }

using SecK = RareCplxLanesScalar<Then<CosK, InvK>, &quorel::Sec, &ImBeyondCoshRange>;
using CscK = RareCplxLanesScalar<Then<SinK, InvK>, &quorel::Csc, &ImBeyondCoshRange>;
using CotK = Then<TanK, InvK>;
using ArcSecK = Then<InvK, ArcCosF>;
using ArcCscK = Then<InvK, ArcSinF>;
using ArcCotK = Then<InvK, ArcTanF>;
using SechK = RareCplxLanesScalar<RareLanesScalar<Then<CoshK, InvK>, &quorel::Sech, &BeyondCoshRange>, &quorel::Sech,
                                  &ReBeyondCoshRange>;
using CschK = RareCplxLanesScalar<RareLanesScalar<Then<SinhK, InvK>, &quorel::Csch, &BeyondCoshRange>, &quorel::Csch,
                                  &ReBeyondCoshRange>;
using CothK = Then<TanhK, InvK>;
using ArcSechK = RareLanesScalar<Then<InvK, ArcCoshF>, &quorel::ArcSech, &NonzeroSubnormal>;
using ArcCschK = RareLanesScalar<Then<InvK, ArcSinhF>, &quorel::ArcCsch, &NonzeroSubnormal>;
using ArcCothK = Then<InvK, ArcTanhF>;

/// Real data through the direct kernel K (one rounding, not a scaled exp or ln), complex data
/// through the complex composition C.
template <class K, class C>
struct RealDirect {
  void operator()(const double* x, double* r, ptrdiff_t n) const { K{}(x, r, n); }
  void operator()(const TCplx* x, TCplx* r, ptrdiff_t n) const { C{}(x, r, n); }
};
QUOREL_KERNEL(Exp2RealK, kern::Exp2)
QUOREL_KERNEL(Exp10RealK, kern::Exp10)
QUOREL_KERNEL(Log2RealK, kern::Log2)
using Exp2K = RealDirect<Exp2RealK, Then<ScaleBy<LN2>, ExpK>>;
using Exp10K = RealDirect<Exp10RealK, Then<ScaleBy<LN10>, ExpK>>;
using Log2K = RealDirect<Log2RealK, Then<LnF, ScaleBy<INVLN2>>>;

// --- operations -----------------------------------------------------------------------------------------

/// An element-wise function of one source.
template <class K, Rule R>
struct UnaryOp {
  static constexpr bool kBinary = false;
  static constexpr Rule rule = R;
  static constexpr bool kInPlaceKindAlways = detail::kInPlaceKindAlways<K>;
  detail::UnaryMessages msgs;
  template <class... A>
  void operator()(A... a) const { K{}(a...); }
};

/// Messages of a function with scalar parameters: its unary messages and, when not null, the text
/// of F(X)'s own Self check, made before the parameters are checked.
struct ParamMessages {
  const char* sourceIsSelf;
  detail::UnaryMessages unary;
};

/// A function with scalar parameters: Bind(self, p...) gives the operation the frame runs. A
/// kernel whose parameter checks depend on Self (ConditionCheck) is constructed from it too.
template <class K, Rule R>
struct ParamUnaryOp {
  ParamMessages msgs;
  template <class... P>
  ParamOp<R, K> Bind(const TDenseQuorel& self, P... p) const {
    if constexpr (std::is_constructible_v<K, const TDenseQuorel&, P...>) return {msgs.unary, K(self, p...)};
    else return {msgs.unary, K(p...)};
  }
};

/// An arithmetic operation: VecK on two arrays, ScalarK on an array and a value.
template <class VecK, class ScalarK>
struct ArithOp {
  static constexpr bool kBinary = true;
  detail::BinaryMessages msgs;
  template <class A, class B, class Out>
  void operator()(A a, B b, Out r, ptrdiff_t n) const {
    if constexpr (std::is_pointer_v<B>) VecK{}(a, b, r, n);
    else ScalarK{}(a, b, r, n);
  }
};

QUOREL_KERNEL(AddK, kern::Add)
QUOREL_KERNEL(SubK, kern::Sub)
QUOREL_KERNEL(MulK, kern::Mul)
QUOREL_KERNEL(DivK, kern::Div)
QUOREL_KERNEL(AddValueK, kern::AddValue)
QUOREL_KERNEL(SubFromValueK, kern::SubFromValue)
QUOREL_KERNEL(ScaleByValueK, kern::ScaleByValue)
QUOREL_KERNEL(DivideValueK, kern::DivideValue)
/// x - v as x + (-v).
struct SubValueK {
  template <class X, class V, class Out>
  void operator()(const X* x, V v, Out* r, ptrdiff_t n) const {
    if constexpr (std::is_same_v<V, double>) kern::AddValue(x, -v, r, n);
    else kern::AddValue(x, TCplx{-v.Re, -v.Im}, r, n);
  }
};
/// Kind of the source of a method with two outputs.
inline constexpr bool RealSource = false;
inline constexpr bool ComplexSource = true;

/// Placeholder for an operation without array (or without scalar) forms; never called.
struct NoKernel {};

#define QUOREL_UNARY_MSGS(name) {#name ": X = Self", #name ": Self.Complex <> X.Complex"}

inline constexpr ArithOp<AddK, AddValueK> Add{{"TQuorel.Add: Self = Vec", "TQuorel.Add: Vec.Length <> Length",
                                               "TQuorel.Add: (Self = Vec1) or (Self = Vec2)",
                                               "TQuorel.Add: Vec1.Length <> Vec2.Length",
                                               "TQuorel.Add: Self.Complex <> Vec.Complex"}};
inline constexpr auto Offset = Add;
inline constexpr ArithOp<SubK, SubValueK> Sub{{"TVec.Sub: Self = Vec", "TVec.Sub: Vec.Length <> Length",
                                               "TVec.Sub: (Self = Vec1) or (Self = Vec2)",
                                               "TVec.Sub: Vec1.Length <> Vec2.Length",
                                               "TVec.Sub: Self.Complex <> Vec.Complex"}};
// SubFrom and DivideBy, like Mul, refuse no Self = Vec: x.SubFrom(1, x) is 1 - x in place.
inline constexpr ArithOp<NoKernel, SubFromValueK> SubFrom{{nullptr, nullptr, nullptr, nullptr,
                                                         "TQuorel.SubFrom: Self.Complex <> Vec.Complex"}};
// Mul refuses no Self = Vec: x.Mul(x) squares in place.
inline constexpr ArithOp<MulK, ScaleByValueK> Mul{{nullptr, "Length <> Vec.Length",
                                                   "(Self = Vec1) or (Self = Vec2)", "Vec1.Length <> Vec2.Length",
                                                   "TQuorel.Mul: Self.Complex <> Vec.Complex"}};
inline constexpr auto Scale = Mul;
inline constexpr ArithOp<DivK, NoKernel> Divide{{"TQuorel.Divide: Self = Vec", "TQuorel.Divide: Length <> Vec.Length",
                                                    "(Self = Num) or (Self = Den)", "Num.Length <> Den.Length",
                                                    "TQuorel.Divide: Self.Complex <> Vec.Complex"}};
inline constexpr ArithOp<NoKernel, DivideValueK> DivideBy{{nullptr, nullptr, nullptr, nullptr,
                                                         "TQuorel.DivideBy: Self.Complex <> Vec.Complex"}};





#undef QUOREL_KERNEL

}  // namespace quorel::detail::ops
