// A user's program against the installed package: every C++ convenience once, built with
// -Wall -Wextra -Wpedantic -Werror, through find_package(Quorel) and through pkg-config.
#include <algorithm>
#include <complex>
#include <cstdio>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "quorel/quorel.h"

// A user's own namespace named like the library's internal one: with `using namespace quorel;`
// below, detail:: must still mean this one (no public header may declare quorel::detail).
namespace detail {
inline int Scale() { return 2; }
}  // namespace detail

using namespace quorel;

namespace {
bool Check(bool ok, const char* what) {
  if (!ok) std::printf("failed: %s\n", what);
  return ok;
}

template <class T>
std::string Text(const T& x) {
  std::ostringstream out;
  out << x;
  return out.str();
}
}  // namespace

int main() {
  bool ok = true;
  // Scalars and the named functions.
  TCplx q = CDiv(TCplx{1, 2}, TCplx{3, 4});
  ok &= Check(PI > 3.14159 && AllignMem(std::intptr_t{24}) == 64 && Equal(q, TCplx{0.44, 0.08}, 1e-15), "scalars");
  // TCplx operators and std::complex in both directions.
  const std::complex<double> s = TCplx(1, 2) * TCplx(3, 4) + 1.0;
  const TCplx t = s / 2.0 - TCplx(0, 1);
  ok &= Check(s == std::complex<double>(-4, 10) && t == TCplx(-2, 4) && -t == TCplx(2, -4), "complex operators");

  // Constructors and element access.
  TVec v{1.0, -2.0};
  v.Mul(v).Scale(detail::Scale());
  TVec zeros(3), c{TCplx(1, 1), TCplx(2, 0)};
  TMtx m{{1, 2}, {3, 4}}, sized(2, 3);
  m(0, 0) = 5;
  m.at(1, 1) += 1;
  c.atc(1) = std::complex<double>(0, 3);
  ok &= Check(v[0] == 2 && v.at(1) == 8 && zeros.Sum() == 0 && sized.Rows() == 2 && m(1, 1) == 5 &&
                  c.CValues()[1] == TCplx(0, 3),
              "construct and access");
  bool raised = false;
  try {
    (void)v.at(2);
  } catch (const EQuorelRangeError&) {
    raised = true;
  }
  ok &= Check(raised, "checked access");
  // Iteration.
  ok &= Check(std::accumulate(m.begin(), m.end(), 0.0) == 15, "matrix iteration");
  double total = 0;
  for (double x : v) total += x;
  ok &= Check(total == 10, "range-for");

  // Value arithmetic.
  const TVec w = (v + TVec{1, 1}) * 2.0 - v / 2.0;
  const TMtx e = m * m;
  ok &= Check(w[0] == 5 && w[1] == 14 && e(0, 0) == 25, "value arithmetic");

  // Printing.
  TSparseMtx sp;
  const std::int32_t rows[] = {0}, cols[] = {1};
  const double vals[] = {7};
  sp.TripletsToSparse(1, 2, rows, cols, vals, 0.0);
  ok &= Check(Text(TCplx(1, -2)) == "1-2i" && Text(v) == "[2 8]" && Text(TMtx{{1, 2}, {3, 4}}) == "[[1 2]\n [3 4]]" &&
                  Text(sp) == "1x2 sparse, 1 stored\n  (0, 1) 7",
              "printing");

  // A vector on the caller's buffer.
  std::vector<double> buffer{1, 2, 3};
  {
    TBorrowedVec b(buffer);
    b->Add(1.0);
    *b *= TVec{1, 10, 100};
  }
  ok &= Check(buffer == std::vector<double>{2, 30, 400}, "borrowed buffer");

  std::printf("%s\n", ok ? "consumer ok" : "consumer wrong");
  return ok ? 0 : 1;
}
