// A short tour of the library; `make demo` builds and runs it.
#include <cstdio>

#include "quorel/quorel.h"
#include "tour_sections.h"

using namespace quorel;

namespace {

void Show(const char* label, const TCplx& z) { std::printf("  %-26s (%.17g, %.17g)\n", label, z.Re, z.Im); }

void Scalars() {
  std::printf("Scalars (extended precision inside, one rounding to double):\n");
  std::printf("  Ln(10)                     %.17g\n", Ln(10));
  std::printf("  Ln1(1e-12)                 %.17g\n", Ln1(1e-12));
  std::printf("  Gamma(0.5)^2               %.17g (pi)\n", Gamma(0.5) * Gamma(0.5));
  std::printf("  Fact(20)                   %.17g\n", Fact(20));
  std::printf("  BesselJ0(2.404825557695773) %.3g (next to the first zero)\n\n", BesselJ0(2.404825557695773));

  std::printf("Complex arithmetic:\n");
  TCplx a = Cplx(1, 2), b = Cplx(3, 4);
  Show("a * b", CMul(a, b));
  Show("a / b", CDiv(a, b));
  Show("CSqrt(-4)", CSqrt(Cplx(-4)));
  Show("Power(i, i)", Power(C_I, C_I));
  Show("Root(8, k = 1, n = 3)", Root(Cplx(8), 1, 3));
  Show("ArcSin(2 + 0i)", ArcSin(Cplx(2, 0)));
  Show("ArcSin(2 - 0i)", ArcSin(Cplx(2, -0.0)));
  std::printf("\n");

  std::printf("Comparisons:\n");
  std::printf("  Equal(0.1 + 0.2, 0.3)          %d\n", Equal(0.1 + 0.2, 0.3));
  std::printf("  Equal(0.1 + 0.2, 0.3, 1e-15)   %d\n", Equal(0.1 + 0.2, 0.3, 1e-15));
  std::printf("  Equal(INF, -INF)               %d (infinities compare by class)\n", Equal(INF, -INF));
  std::printf("  Bigger(2, 1, 1)                %d (needs more than the tolerance)\n", Bigger(2.0, 1.0, 1.0));
  std::printf("  Bigger(i, 1)                   %d (equal modulus: larger phase wins)\n", Bigger(C_I, C_ONE));
  std::printf("  Max(1 + 2i, 2 + 1i)            (%g, %g)\n\n", Max(a, Cplx(2, 1)).Re, Max(a, Cplx(2, 1)).Im);

}

void Text() {
  std::printf("Text form:\n");
  std::printf("  CplxToStr(2 - 3i)          %s\n", CplxToStr(Cplx(2, -3), 0).c_str());
  TCplx z = StrToCplx("1e-3+2i");
  std::printf("  StrToCplx(\"1e-3+2i\")      (%g, %g)\n", z.Re, z.Im);
  std::printf("  FormatSample(\"#,##0.00\")   %s\n", FormatSample("#,##0.00", 1234567.891).c_str());
  std::string line = "1+i;;2";
  int pos = 1;
  TCplx first = ExtractCplx(line, pos, ";");
  TCplx second = ExtractCplx(line, pos, ";");
  std::printf("  ExtractCplx over \"1+i;;2\"  (%g, %g) then (%g, %g)\n", first.Re, first.Im, second.Re, second.Im);
}

void Print(const char* label, const TVec& v) {
  std::printf("  %-28s", label);
  if (v.Complex()) {
    for (const TCplx& z : v.CValues()) std::printf(" (%g, %g)", z.Re, z.Im);
  } else {
    for (double x : v.Values()) std::printf(" %g", x);
  }
  std::printf("   [Length %d%s]\n", v.Length(), v.Complex() ? ", complex" : "");
}

void Vectors() {
  std::printf("\nVectors\n-------\n");
  TVec v;
  v.SetIt(false, {1, 2, 3, 4, 5, 6});
  Print("a real vector:", v);

  // Sub-ranges: every method sees only the selected elements.
  v.SetSubRange(2, 3);
  v.SetVal(0);
  v.SetFullRange();
  Print("after zeroing elements 2..4:", v);

  // Real and complex share storage: six doubles are three complex numbers.
  v.set_Complex(true);
  Print("the same doubles as complex:", v);
  v.set_Complex(false);

  // Work vectors come from a pre-allocated cache and go back at the end of the scope.
  {
    TWorkVec w;
    w->SetCplx({{1, 2}, {3, -4}});
    Print("a cached work vector:", *w);
    std::printf("  cache: %d of %d vectors in use, %d doubles each\n", Controller->VecCacheUsed(),
                Controller->VecCacheSize(), Controller->VecCacheElements());
  }
  std::printf("  after the scope: %d in use\n", Controller->VecCacheUsed());

  // Block-wise processing walks a long vector in pieces of QuorelBlockSize elements.
  TVec longVec;
  longVec.SetLength(2000);
  longVec.SetVal(1.0);
  int blocks = 0;
  for (longVec.BlockInit(); !longVec.BlockEnd(); longVec.BlockNext()) ++blocks;
  std::printf("  2000 elements in blocks of %d: %d blocks\n", QuorelBlockSize, blocks);
}

void ElementWise() {
  std::printf("\nElement-wise math and statistics\n--------------------------------\n");
  TVec x;
  x.SetIt(false, {1, 4, 9, 16});
  TVec r;
  r.Sqrt(x);
  Print("Sqrt of 1 4 9 16:", r);
  r.Add(x, 0.5).Scale(2.0);  // calls chain and stay TVec
  Print("(x + 0.5) * 2:", r);
  r.Copy(x);
  r.Add(TCplx{0, 1});  // a complex value makes a real vector complex
  Print("x + i:", r);
  r.Abs();
  Print("|x + i|:", r);
  TVec z;
  z.SetCplx({{0, 1}});
  z.Sin();
  Print("Sin(i) = (0, sinh 1):", z);
  std::printf("  Mean %g, StdDev %.6g, Median %g, NormL2 %.6g\n", x.Mean(), x.StdDev(), x.Median(), x.NormL2());
  double top;
  std::int32_t at;
  x.Max(top, at);
  std::printf("  Max %g at index %d\n", top, at);
}

void Matrices() {
  std::printf("\nMatrices and the report\n-----------------------\n");
  TMtx a;
  a.SetIt(2, 3, false, {1, 2, 3, 4, 5, 6});
  TMtx t;
  t.Transp(a);  // cache-blocked transposition
  TMtx p;
  p.Mul(a, a);  // element-wise methods work on matrices unchanged
  std::printf("  a is %dx%d, its transpose %dx%d; Sum(a .* a) = %g\n", a.Rows(), a.Cols(), t.Rows(), t.Cols(),
              p.Sum());
  Report->Clear();
  Report->PrintMtx({&a, &t}, {"a", "t"});
  std::printf("  the report (CRLF line ends, tab-separated columns):\n");
  std::string text = Report->DataString();
  for (char& c : text)
    if (c == '\r') c = ' ';
  std::printf("%s", text.c_str());
}

void Persistence() {
  std::printf("\nBinary round trip\n-----------------\n");
  TVec v;
  v.SetIt(false, {1.25, -3.5, 40000, 7});
  v.SetCaption("samples");
  v.SetPrecision(prSmallInt);  // stored as 16-bit integers: rounded and saturated
  v.SetRounding(rnRound);
  TQuorelMemoryStream stream;
  v.SaveToStream(stream);
  std::printf("  4 values as prSmallInt take %lld bytes with header and caption\n",
              static_cast<long long>(stream.Size()));
  stream.Seek(0, soBeginning);
  TVec back;
  back.LoadFromStream(stream);
  Print(("read back (\"" + back.Caption() + "\"):").c_str(), back);
}

}  // namespace

int main() {
  double start = Now();
  std::printf("Quorel tour\n===========\n\n");
  std::printf("Constants: PI = %.17g, MACHEP = %.17g\n\n", PI, MACHEP);
  Scalars();
  Text();
  Vectors();
  ElementWise();
  Matrices();
  Persistence();
  TourSignal();
  TourDense();
  TourSparse();
  TourProbabilities();
  TourRandom();
  TourSpecial();
  TourPoly();
  TourOptim();
  std::printf("\nElapsed: %s\n", ClockIt(start).c_str());
  return 0;
}
