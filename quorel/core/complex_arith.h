#pragma once
// Complex construction, parts and arithmetic. Products and quotients are formed in extended
// precision, so the unscaled textbook formulas neither overflow nor underflow for double operands.

#include "quorel/core/constants.h"
#include "quorel/core/types.h"

namespace quorel {

namespace header_detail {
using LD = long double;
constexpr TCplx Round(LD re, LD im) { return {static_cast<double>(re), static_cast<double>(im)}; }
}  // namespace header_detail

/// The complex value (re, 0).
constexpr TCplx Cplx(double re) { return {re, 0.0}; }
/// The complex value (re, im).
constexpr TCplx Cplx(double re, double im) { return {re, im}; }
/// Real part.
constexpr double Real(const TCplx& z) { return z.Re; }
/// Imaginary part.
constexpr double Imag(const TCplx& z) { return z.Im; }
/// Complex conjugate (Re, -Im).
constexpr TCplx Conj(const TCplx& z) { return {z.Re, -z.Im}; }
/// Negation (-Re, -Im).
constexpr TCplx Neg(const TCplx& z) { return {-z.Re, -z.Im}; }
/// Parts swapped: (Im, Re).
constexpr TCplx Flip(const TCplx& z) { return {z.Im, z.Re}; }
/// Parts swapped and conjugated: (Im, -Re).
constexpr TCplx FlipConj(const TCplx& z) { return {z.Im, -z.Re}; }
/// i * z = (-Im, Re).
constexpr TCplx MulI(const TCplx& z) { return {-z.Im, z.Re}; }

/// Re^2 + Im^2.
constexpr double Norm(const TCplx& z) { return static_cast<double>(header_detail::LD(z.Re) * z.Re + header_detail::LD(z.Im) * z.Im); }
/// |Re| + |Im|.
constexpr double CAbs1(const TCplx& z) { return (z.Re < 0 ? -z.Re : z.Re) + (z.Im < 0 ? -z.Im : z.Im); }
/// z * z.
constexpr TCplx CSqr(const TCplx& z) {
  header_detail::LD re = z.Re, im = z.Im;
  return header_detail::Round(re * re - im * im, 2 * re * im);
}
/// 1 / z = (Re / d, -Im / d), d = Re^2 + Im^2.
constexpr TCplx CInv(const TCplx& z) {
  header_detail::LD re = z.Re, im = z.Im, r = 1 / (re * re + im * im);
  return header_detail::Round(re * r, -im * r);
}

/// a + b.
constexpr TCplx CAdd(const TCplx& a, const TCplx& b) { return {a.Re + b.Re, a.Im + b.Im}; }
/// a + x.
constexpr TCplx CAdd(const TCplx& a, double x) { return {a.Re + x, a.Im}; }
/// x + b.
constexpr TCplx CAdd(double x, const TCplx& b) { return {x + b.Re, b.Im}; }
/// a - b.
constexpr TCplx CSub(const TCplx& a, const TCplx& b) { return {a.Re - b.Re, a.Im - b.Im}; }
/// a - x.
constexpr TCplx CSub(const TCplx& a, double x) { return {a.Re - x, a.Im}; }
/// x - b.
constexpr TCplx CSub(double x, const TCplx& b) { return {x - b.Re, -b.Im}; }
/// a * b.
constexpr TCplx CMul(const TCplx& a, const TCplx& b) {
  header_detail::LD ar = a.Re, ai = a.Im;
  return header_detail::Round(ar * b.Re - ai * b.Im, ar * b.Im + ai * b.Re);
}
/// a * x.
constexpr TCplx CMul(const TCplx& a, double x) { return {a.Re * x, a.Im * x}; }
/// x * b.
constexpr TCplx CMul(double x, const TCplx& b) { return {x * b.Re, x * b.Im}; }
/// a / b by the textbook formula with one reciprocal of |b|^2 and no scaling.
constexpr TCplx CDiv(const TCplx& a, const TCplx& b) {
  header_detail::LD br = b.Re, bi = b.Im, r = 1 / (br * br + bi * bi);
  return header_detail::Round((a.Re * br + a.Im * bi) * r, (a.Im * br - a.Re * bi) * r);
}
/// a / x.
constexpr TCplx CDiv(const TCplx& a, double x) {
  header_detail::LD r = 1 / header_detail::LD(x);
  return header_detail::Round(a.Re * r, a.Im * r);
}
/// x / b.
constexpr TCplx CDiv(double x, const TCplx& b) {
  header_detail::LD br = b.Re, bi = b.Im, r = x / (br * br + bi * bi);
  return header_detail::Round(br * r, -bi * r);
}

/// z + i*x: the real operand acts on the imaginary part.
constexpr TCplx CAddI(const TCplx& z, double x) { return {z.Re, z.Im + x}; }
/// z - i*x.
constexpr TCplx CSubI(const TCplx& z, double x) { return {z.Re, z.Im - x}; }
/// z * (i*x) = (-Im*x, Re*x).
constexpr TCplx CMulI(const TCplx& z, double x) { return {-z.Im * x, z.Re * x}; }
/// (Im, pi/2 - Re).
constexpr TCplx CSubMulI(const TCplx& z) { return {z.Im, PIDIV2 - z.Re}; }
/// i / z in one step: (Im, Re) / |z|^2.
constexpr TCplx CInvMulI(const TCplx& z) {
  header_detail::LD re = z.Re, im = z.Im, r = 1 / (re * re + im * im);
  return header_detail::Round(im * r, re * r);
}

// Result-argument forms exist for the four arithmetic operations, the ones used in tight loops;
// every other complex function returns its value, which compiles to the same code.
inline void CAdd(const TCplx& a, const TCplx& b, TCplx& result) { result = CAdd(a, b); }
inline void CAdd(const TCplx& a, double x, TCplx& result) { result = CAdd(a, x); }
inline void CAdd(double x, const TCplx& b, TCplx& result) { result = CAdd(x, b); }
inline void CSub(const TCplx& a, const TCplx& b, TCplx& result) { result = CSub(a, b); }
inline void CSub(const TCplx& a, double x, TCplx& result) { result = CSub(a, x); }
inline void CSub(double x, const TCplx& b, TCplx& result) { result = CSub(x, b); }
inline void CMul(const TCplx& a, const TCplx& b, TCplx& result) { result = CMul(a, b); }
inline void CMul(const TCplx& a, double x, TCplx& result) { result = CMul(a, x); }
inline void CMul(double x, const TCplx& b, TCplx& result) { result = CMul(x, b); }
inline void CDiv(const TCplx& a, const TCplx& b, TCplx& result) { result = CDiv(a, b); }
inline void CDiv(const TCplx& a, double x, TCplx& result) { result = CDiv(a, x); }
inline void CDiv(double x, const TCplx& b, TCplx& result) { result = CDiv(x, b); }

}  // namespace quorel
