// A tour of the library in the order a user meets it: create data, compute with it, analyse it,
// transform it, solve with it, save and load it. `make demo` builds and runs it. Each line shows
// a result and, in parentheses, what it should be.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include "quorel/quorel.h"
#include "tour_sections.h"

using namespace quorel;

void SectionTitle(const char* title) { std::printf("\n-- %s\n", title); }

namespace {

void Stage(const char* title) {
  std::printf("\n%s\n%s\n", title, std::string(std::char_traits<char>::length(title), '=').c_str());
}

std::string Text(double x) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.6g", x);
  return buf;
}

std::string Text(const TCplx& z) { return Text(z.Re) + (z.Im < 0 ? "-" : "+") + Text(z.Im < 0 ? -z.Im : z.Im) + "i"; }

// One row of values, [a, b, c], starting at element `first`.
std::string Row(const TDenseQuorel& v, std::int32_t first, std::int32_t count) {
  std::string s = "[";
  for (std::int32_t i = 0; i < count; ++i) {
    if (i) s += ", ";
    s += v.Complex() ? Text(v.CValues()[static_cast<std::size_t>(first + i)])
                     : Text(v.Values()[static_cast<std::size_t>(first + i)]);
  }
  return s + "]";
}

void Show(const char* label, const TVec& v, const char* expected = nullptr) {
  std::printf("  %-34s %s", label, Row(v, 0, v.Length()).c_str());
  if (expected) std::printf("   (%s)", expected);
  std::printf("\n");
}

void Show(const char* label, const TMtx& m, const char* expected = nullptr) {
  std::string s = "[";
  for (std::int32_t r = 0; r < m.Rows(); ++r) s += (r ? ", " : "") + Row(m, r * m.Cols(), m.Cols());
  std::printf("  %-34s %s]", label, s.c_str());
  if (expected) std::printf("   (%s)", expected);
  std::printf("\n");
}

void Create() {
  SectionTitle("Vectors and matrices");
  TVec v{1, 2, 3, 4};
  Show("TVec v{1, 2, 3, 4}:", v);
  TVec r(5);  // five zeros; methods return the object, so calls chain
  r.Ramp(0, 0.25);
  Show("TVec r(5) then r.Ramp(0, 0.25):", r, "0 to 1 in steps of 0.25");
  TVec z{TCplx(1, 2), TCplx(3, -4)};
  Show("complex:", z);
  TMtx m{{1, 2, 3}, {4, 5, 6}};
  Show("TMtx m{{1, 2, 3}, {4, 5, 6}}:", m);
  std::ostringstream printed;
  printed << m;  // operator<< lays a matrix out row by row
  std::string rows = printed.str();
  for (std::size_t at = rows.find('\n'); at != std::string::npos; at = rows.find('\n', at + 1)) rows.replace(at, 1, "\n" + std::string(37, ' '));
  std::printf("  %-34s %s\n", "std::cout << m:", rows.c_str());
  TMtx eye(3, 3);
  eye.Eye();
  Show("Eye (3 x 3):", eye);
  std::printf("  %-34s %g   (expected 6)\n", "m(1, 2):", m(1, 2));

  // A sub-range makes every method see only part of the object.
  v.SetSubRange(1, 2);
  v.SetVal(0);
  v.SetFullRange();
  Show("elements 1..2 set to 0:", v, "expected [1, 0, 0, 4]");

  // Scratch objects come from a pre-allocated cache and go back at the end of the scope.
  TWorkVec w;
  w->Size(3, false).SetVal(7);
  Show("a work vector from the cache:", *w);
}

void Compute() {
  SectionTitle("Element-wise math");
  TVec x, r;
  x.SetIt(false, {1, 4, 9, 16});
  r.Sqrt(x);
  Show("Sqrt of [1, 4, 9, 16]:", r, "expected [1, 2, 3, 4]");
  r.Add(x, 0.5).Scale(2);
  Show("(x + 0.5) * 2:", r, "expected [3, 9, 19, 33]");
  r.Copy(x);
  r.Add(TCplx{0, 1});  // a complex operand makes the result complex
  Show("x + i:", r);
  r.Abs();
  Show("|x + i|:", r, "sqrt(x^2 + 1)");
  TVec z;
  z.SetCplx({{0, 1}});
  z.Sin();
  Show("Sin(i):", z, "expected i sinh(1) = 1.1752i");

  SectionTitle("Matrices and scalars");
  TMtx a, p, t;
  a.SetIt(2, 2, false, {1, 2, 3, 4});
  p.Mul(a, a);  // element-wise methods work on matrices unchanged
  Show("a .* a for a = [[1, 2], [3, 4]]:", p, "expected [[1, 4], [9, 16]]");
  t.Transp(a);
  Show("transpose of a:", t, "expected [[1, 3], [2, 4]]");
  std::printf("  %-34s %s   (expected 0.44+0.08i)\n", "(1 + 2i) / (3 + 4i):", Text(CDiv(Cplx(1, 2), Cplx(3, 4))).c_str());
  std::printf("  %-34s %.15g   (expected pi = %.15g)\n", "Gamma(0.5)^2:", Gamma(0.5) * Gamma(0.5), PI);
}

void Statistics() {
  SectionTitle("Statistics");
  TVec x;
  x.SetIt(false, {2, 4, 4, 4, 5, 5, 7, 9});
  Show("data:", x);
  std::printf("  %-34s %g / %g   (expected 5 / 4.5)\n", "mean / median:", x.Mean(), x.Median());
  std::printf("  %-34s %.6f   (expected sqrt(32/7) = %.6f)\n", "sample standard deviation:", x.StdDev(),
              std::sqrt(32.0 / 7));
  double top;
  std::int32_t at;
  x.Max(top, at);
  std::printf("  %-34s %g at index %d   (expected 9 at 7)\n", "largest:", top, at);
}

void SaveAndLoad() {
  SectionTitle("Files and streams");
  const auto dir = std::filesystem::temp_directory_path();
  const std::string binFile = (dir / "quorel_tour.bin").string();
  const std::string mmFile = (dir / "quorel_tour.mtx").string();
  TMtx m;
  m.SetIt(2, 2, false, {1.5, -2, 1e-10, 4});
  m.SetCaption("calibration");
  m.SaveToFile(binFile);
  TMtx back;
  back.LoadFromFile(binFile);
  std::printf("  %-34s %lld bytes\n", "saved 2 x 2 matrix:", static_cast<long long>(std::filesystem::file_size(binFile)));
  std::printf("  %-34s \"%s\", %d x %d, %s   (expected equal)\n", "loaded back:", back.Caption().c_str(), back.Rows(),
              back.Cols(), back.IsEqual(m) ? "equal" : "DIFFERENT");

  // Saving in a lower precision rounds and saturates: 16-bit integers here.
  TVec v, w;
  v.SetIt(false, {1.25, -3.5, 40000, 7});
  v.SetPrecision(prSmallInt);
  v.SetRounding(rnRound);
  TQuorelMemoryStream stream;
  v.SaveToStream(stream);
  stream.Seek(0, soBeginning);
  w.LoadFromStream(stream);
  Show("[1.25, -3.5, 40000, 7] as int16:", w, "expected [1, -4, 32767, 7]");

  // A text copy other tools read; its first line names the format.
  SaveToMatrixMarketFile(m, mmFile);
  std::printf("  %-34s %zu lines, the first \"%s\"\n", "Matrix Market text file:", MatrixMarketArrayLines(m).size(),
              MatrixMarketArrayLines(m).front().c_str());
  std::filesystem::remove(binFile);
  std::filesystem::remove(mmFile);
}

}  // namespace

int main() {
  const auto start = std::chrono::steady_clock::now();
  std::printf("Quorel tour\n");

  Stage("1. Create");
  Create();
  Stage("2. Compute");
  Compute();
  Stage("3. Analyse");
  Statistics();
  TourProbabilities();
  TourRandom();
  TourSpecial();
  Stage("4. Transform");
  TourSignal();
  TourPoly();
  Stage("5. Solve");
  TourDense();
  TourSparse();
  TourOptim();
  Stage("6. Save and load");
  SaveAndLoad();

  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("\nTour finished in %.2f s\n", took.count());
  return 0;
}
