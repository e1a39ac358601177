#include "quorel/core/complex_compare.h"

namespace quorel {

namespace {
// Which quarter of the plane z is in, numbered in the order of its angles from -pi to pi.
int PhaseClass(const TCplx& z) {
  if (z.Im < 0) return z.Re < 0 ? 1 : 2;
  return z.Re < 0 ? 4 : 3;
}

long double SquaredModulus(const TCplx& z) {
  return static_cast<long double>(z.Re) * z.Re + static_cast<long double>(z.Im) * z.Im;
}

// The special-value rule shared by both Equal forms; returns false when both are finite.
bool SpecialEqual(const TCplx& a, const TCplx& b, bool& result) {
  if (!IsNanInf(a) && !IsNanInf(b)) return false;
  result = IsNan(a) ? IsNan(b) : (IsInf(a) && IsInf(b));
  return true;
}
}  // namespace

bool Equal(const TCplx& a, const TCplx& b, double tol) {
  bool r;
  if (SpecialEqual(a, b, r)) return r;
  return Equal(a.Re, b.Re, tol) && Equal(a.Im, b.Im, tol);
}
bool Equal(const TCplx& a, const TCplx& b) {
  bool r;
  if (SpecialEqual(a, b, r)) return r;
  return a.Re == b.Re && a.Im == b.Im;
}
bool Equal(const TCplx& a, double x, double tol) { return Equal(a, TCplx{x, 0}, tol); }
bool Equal(const TCplx& a, double x) { return Equal(a, TCplx{x, 0}); }
bool Equal(double x, const TCplx& b, double tol) { return Equal(TCplx{x, 0}, b, tol); }
bool Equal(double x, const TCplx& b) { return Equal(TCplx{x, 0}, b); }

bool Bigger2(const TCplx& a, const TCplx& b) {
  int ca = PhaseClass(a), cb = PhaseClass(b);
  if (ca != cb) return ca > cb;
  return ca <= 2 ? a.Re > b.Re : a.Re < b.Re;
}
bool Smaller2(const TCplx& a, const TCplx& b) {
  int ca = PhaseClass(a), cb = PhaseClass(b);
  if (ca != cb) return ca < cb;
  return ca <= 2 ? a.Re < b.Re : a.Re > b.Re;
}

bool Bigger(const TCplx& a, const TCplx& b) {
  long double ma = SquaredModulus(a), mb = SquaredModulus(b);
  if (ma != mb) return ma > mb;
  return Bigger2(a, b);
}
bool Smaller(const TCplx& a, const TCplx& b) {
  long double ma = SquaredModulus(a), mb = SquaredModulus(b);
  if (ma != mb) return ma < mb;
  return Smaller2(a, b);
}
bool Bigger(const TCplx& a, double x) { return Bigger(a, TCplx{x, 0}); }
bool Smaller(const TCplx& a, double x) { return Smaller(a, TCplx{x, 0}); }
bool BiggerOrEqual(const TCplx& a, const TCplx& b) { return Bigger(a, b) || Equal(a, b); }
bool SmallerOrEqual(const TCplx& a, const TCplx& b) { return Smaller(a, b) || Equal(a, b); }
TCplx Max(const TCplx& a, const TCplx& b) { return Bigger(a, b) ? a : b; }
TCplx Min(const TCplx& a, const TCplx& b) { return Smaller(a, b) ? a : b; }

}  // namespace quorel
