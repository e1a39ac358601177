#pragma once
// Trigonometric and hyperbolic functions of a complex argument and their principal inverses,
// evaluated in extended precision and rounded once to double.
//
// Branch cuts of the inverses (the usual principal values; on a cut the sign of a zero part
// selects the side, so (2, +0) and (2, -0) give conjugate results):
//   ArcSin, ArcCos:   real axis outside [-1, 1]
//   ArcTan:           imaginary axis outside [-i, i]
//   ArcSinh:          imaginary axis outside [-i, i]
//   ArcCosh:          real axis below 1; the real part of the result is never negative
//   ArcTanh:          real axis outside [-1, 1]
//   ArcSec, ArcCsc, ArcCot, ArcSech, ArcCsch, ArcCoth: those of ArcCos, ArcSin, ArcTan, ArcCosh,
//   ArcSinh, ArcTanh at 1/z.

#include "quorel/core/types.h"

namespace quorel {

/// sin z.
TCplx Sin(const TCplx& z);
/// cos z.
TCplx Cos(const TCplx& z);
/// tan z.
TCplx Tan(const TCplx& z);
/// 1 / cos z.
TCplx Sec(const TCplx& z);
/// 1 / sin z.
TCplx Csc(const TCplx& z);
/// 1 / tan z.
TCplx Cot(const TCplx& z);
/// sinh z.
TCplx Sinh(const TCplx& z);
/// cosh z.
TCplx Cosh(const TCplx& z);
/// tanh z.
TCplx Tanh(const TCplx& z);
/// 1 / cosh z.
TCplx Sech(const TCplx& z);
/// 1 / sinh z.
TCplx Csch(const TCplx& z);
/// 1 / tanh z.
TCplx Coth(const TCplx& z);

/// Principal arcsine; real part in [-pi/2, pi/2].
TCplx ArcSin(const TCplx& z);
/// Principal arccosine; real part in [0, pi].
TCplx ArcCos(const TCplx& z);
/// Principal arctangent; real part in [-pi/2, pi/2].
TCplx ArcTan(const TCplx& z);
/// arccos(1 / z).
TCplx ArcSec(const TCplx& z);
/// arcsin(1 / z).
TCplx ArcCsc(const TCplx& z);
/// arctan(1 / z).
TCplx ArcCot(const TCplx& z);
/// Principal inverse hyperbolic sine; imaginary part in [-pi/2, pi/2].
TCplx ArcSinh(const TCplx& z);
/// Principal inverse hyperbolic cosine; real part >= 0, imaginary part in [-pi, pi].
TCplx ArcCosh(const TCplx& z);
/// Principal inverse hyperbolic tangent; imaginary part in [-pi/2, pi/2].
TCplx ArcTanh(const TCplx& z);
/// arccosh(1 / z).
TCplx ArcSech(const TCplx& z);
/// arcsinh(1 / z).
TCplx ArcCsch(const TCplx& z);
/// arctanh(1 / z).
TCplx ArcCoth(const TCplx& z);

}  // namespace quorel
