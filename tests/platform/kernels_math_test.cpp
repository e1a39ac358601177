#include "quorel/platform/kernels_math.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using RealFn = void (*)(const double*, double*, ptrdiff_t);
using CplxFn = void (*)(const TCplx*, TCplx*, ptrdiff_t);

// The promise of the real kernels: within 1 ulp of the exact value.
constexpr double kMaxUlp = 1.0;
// Complex kernels: normwise relative error of the formulas (reference points avoid the region
// where the sinh of a part near 0 loses relative accuracy by design).
constexpr double kComplexRelTol = 8 * kEps;
// sinh and cosh from one exponential: absolute error against cosh(x) as the scale.
constexpr double kSinhCoshTol = 4 * kEps;

// Every code path this processor can run; the test body runs once per path.
class IsaScope {
 public:
  explicit IsaScope(TKernelIsa isa) : saved_(KernelIsa()), ok_(SetKernelIsa(isa)) {}
  ~IsaScope() { SetKernelIsa(saved_); }
  bool ok() const { return ok_; }

 private:
  TKernelIsa saved_;
  bool ok_;
};

const char* Name(TKernelIsa isa) { return isa == TKernelIsa::Avx2Fma ? "avx2" : "sse2"; }
constexpr TKernelIsa kIsas[] = {TKernelIsa::Sse2, TKernelIsa::Avx2Fma};

std::vector<double> Column(const std::vector<std::vector<long double>>& rows, int c) {
  std::vector<double> v;
  for (const auto& r : rows) v.push_back(static_cast<double>(r[c]));
  return v;
}

// Largest ulp error of got against column c of rows; reports the worst input.
double WorstUlp(const std::vector<double>& got, const std::vector<std::vector<long double>>& rows, int c,
                std::string* where) {
  double worst = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    const double e = UlpError(got[i], rows[i][c]);
    if (e > worst) {
      worst = e;
      *where = "x=" + Show(static_cast<double>(rows[i][0])) + " got " + Show(got[i]);
    }
  }
  return worst;
}

void Report(const char* what, TKernelIsa isa, double value, const char* unit) {
  std::printf("[ accuracy ] %-8s %s max %.4f %s\n", what, Name(isa), value, unit);
}

struct RealCase {
  const char* file;
  RealFn kernel;
  int column;
  const char* name;
};
const RealCase kRealCases[] = {
    {"sincos", Sin, 1, "sin"},        {"sincos", Cos, 2, "cos"},       {"tan", Tan, 1, "tan"},
    {"asin", ArcSin, 1, "asin"},      {"acos", ArcCos, 1, "acos"},     {"atan", ArcTan, 1, "atan"},
    {"sinh", Sinh, 1, "sinh"},        {"cosh", Cosh, 1, "cosh"},       {"tanh", Tanh, 1, "tanh"},
    {"asinh", ArcSinh, 1, "asinh"},   {"acosh", ArcCosh, 1, "acosh"},  {"atanh", ArcTanh, 1, "atanh"},
    {"exp", Exp, 1, "exp"},           {"ln", Ln, 1, "ln"},             {"log10", Log10, 1, "log10"},
    {"cbrt", Cbrt, 1, "cbrt"},        {"invsqrt", InvSqrt, 1, "invsqrt"}, {"invcbrt", InvCbrt, 1, "invcbrt"},
};

TEST(KernelsMath, RealFunctionsAreWithinOneUlp) {
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    for (const RealCase& c : kRealCases) {
      const auto rows = ReadReference(c.file);
      ASSERT_GE(rows.size(), 1000u) << c.file;
      const std::vector<double> x = Column(rows, 0);
      std::vector<double> got(x.size());
      c.kernel(x.data(), got.data(), static_cast<ptrdiff_t>(x.size()));
      std::string where;
      const double worst = WorstUlp(got, rows, c.column, &where);
      Report(c.name, isa, worst, "ulp");
      EXPECT_LE(worst, kMaxUlp) << c.name << " " << Name(isa) << " at " << where;
    }
  }
}

TEST(KernelsMath, TwoArgumentAndTwoResultFunctionsAreWithinOneUlp) {
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    std::string where;

    const auto pw = ReadReference("pow");
    const std::vector<double> a = Column(pw, 0), b = Column(pw, 1);
    std::vector<double> got(a.size());
    Pow(a.data(), b.data(), got.data(), static_cast<ptrdiff_t>(a.size()));
    double worst = WorstUlp(got, pw, 2, &where);
    Report("pow", isa, worst, "ulp");
    EXPECT_LE(worst, kMaxUlp) << "pow at " << where;

    // One call per exponent of the grouped file.
    const auto px = ReadReference("powx");
    const std::vector<double> x = Column(px, 0);
    got.assign(x.size(), 0.0);
    for (std::size_t from = 0; from < px.size();) {
      std::size_t to = from;
      while (to < px.size() && px[to][1] == px[from][1]) ++to;
      Powx(x.data() + from, static_cast<double>(px[from][1]), got.data() + from, static_cast<ptrdiff_t>(to - from));
      from = to;
    }
    worst = WorstUlp(got, px, 2, &where);
    Report("powx", isa, worst, "ulp");
    EXPECT_LE(worst, kMaxUlp) << "powx at " << where;

    const auto at = ReadReference("atan2");
    const std::vector<double> y = Column(at, 0), xs = Column(at, 1);
    got.assign(y.size(), 0.0);
    ArcTan2(y.data(), xs.data(), got.data(), static_cast<ptrdiff_t>(y.size()));
    worst = WorstUlp(got, at, 2, &where);
    Report("atan2", isa, worst, "ulp");
    EXPECT_LE(worst, kMaxUlp) << "atan2 at " << where;

    const auto sc = ReadReference("sincos");
    const std::vector<double> t = Column(sc, 0);
    std::vector<double> s(t.size()), c(t.size());
    SinCos(t.data(), s.data(), c.data(), static_cast<ptrdiff_t>(t.size()));
    EXPECT_LE(WorstUlp(s, sc, 1, &where), kMaxUlp) << "sincos sin at " << where;
    EXPECT_LE(WorstUlp(c, sc, 2, &where), kMaxUlp) << "sincos cos at " << where;
  }
}

TEST(KernelsMath, SinhCoshFromOneExponentialHasAbsoluteErrorOfAFewEps) {
  const auto sh = ReadReference("sinh");
  const auto ch = ReadReference("cosh");
  for (const auto* rows : {&sh, &ch}) {
    std::vector<double> x;
    for (const auto& r : *rows)
      if (std::fabs(static_cast<double>(r[0])) < 700) x.push_back(static_cast<double>(r[0]));
    std::vector<double> s(x.size()), c(x.size());
    SinhCosh(x.data(), s.data(), c.data(), static_cast<ptrdiff_t>(x.size()));
    for (std::size_t i = 0; i < x.size(); ++i) {
      const long double scale = std::cosh(static_cast<long double>(x[i]));
      ASSERT_LE(std::fabs(s[i] - std::sinh(static_cast<long double>(x[i]))), kSinhCoshTol * scale) << x[i];
      ASSERT_LE(std::fabs(c[i] - scale), kSinhCoshTol * scale) << x[i];
    }
  }
}

// Every element gets the same result whatever the call's length and start: the tail runs
// through the same vector code as the body.
TEST(KernelsMath, ResultsDoNotDependOnLengthOrStart) {
  const auto rows = ReadReference("exp");
  std::vector<double> x = Column(rows, 0);
  x.resize(97);
  std::vector<double> y = Column(ReadReference("pow"), 1);
  y.resize(97);
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    for (const RealCase& c : kRealCases) {
      std::vector<double> whole(x.size()), parts(x.size());
      c.kernel(x.data(), whole.data(), 97);
      for (ptrdiff_t from = 0, len = 1; from < 97; from += len, len = len % 9 + 1)
        c.kernel(x.data() + from, parts.data() + from, std::min<ptrdiff_t>(len, 97 - from));
      for (int i = 0; i < 97; ++i) ASSERT_TRUE(Same(whole[i], parts[i])) << c.name << " " << i;
      // In place gives the same too.
      std::vector<double> inplace = x;
      c.kernel(inplace.data(), inplace.data(), 97);
      for (int i = 0; i < 97; ++i) ASSERT_TRUE(Same(whole[i], inplace[i])) << c.name << " in place " << i;
    }
    std::vector<double> whole(97), parts(97);
    Pow(y.data(), x.data(), whole.data(), 97);
    for (ptrdiff_t from = 0, len = 1; from < 97; from += len, len = len % 9 + 1)
      Pow(y.data() + from, x.data() + from, parts.data() + from, std::min<ptrdiff_t>(len, 97 - from));
    for (int i = 0; i < 97; ++i) ASSERT_TRUE(Same(whole[i], parts[i])) << "pow " << i;
    double one = 0;
    Exp(x.data(), &one, 0);  // n = 0 writes nothing
    EXPECT_EQ(one, 0.0);
  }
}

TEST(KernelsMath, SpecialValues) {
  struct Case {
    RealFn kernel;
    double x, want;
    const char* name;
  };
  const double pi = 3.141592653589793;
  const Case cases[] = {
      {Sin, kNaN, kNaN, "sin nan"},       {Sin, kInf, kNaN, "sin inf"},        {Sin, -0.0, -0.0, "sin -0"},
      {Cos, -kInf, kNaN, "cos -inf"},     {Tan, 0.0, 0.0, "tan 0"},            {ArcSin, 2.0, kNaN, "asin 2"},
      {ArcCos, -1.0, pi, "acos -1"},      {ArcTan, kInf, pi / 2, "atan inf"},  {Sinh, -kInf, -kInf, "sinh -inf"},
      {Cosh, 1000.0, kInf, "cosh 1000"}, {Tanh, kInf, 1.0, "tanh inf"},       {ArcCosh, 0.5, kNaN, "acosh 0.5"},
      {ArcTanh, 1.0, kInf, "atanh 1"},    {ArcSinh, -0.0, -0.0, "asinh -0"},   {Exp, -kInf, 0.0, "exp -inf"},
      {Exp, 710.0, kInf, "exp 710"},      {Exp, kNaN, kNaN, "exp nan"},        {Ln, 0.0, -kInf, "ln 0"},
      {Ln, -1.0, kNaN, "ln -1"},          {Ln, kInf, kInf, "ln inf"},          {Log10, 1000.0, 3.0, "log10 1000"},
      {Cbrt, -27.0, -3.0, "cbrt -27"},    {InvSqrt, 4.0, 0.5, "invsqrt 4"},    {InvSqrt, 0.0, kInf, "invsqrt 0"},
      {InvSqrt, -0.0, -kInf, "invsqrt -0"}, {InvSqrt, -1.0, kNaN, "invsqrt -1"}, {InvSqrt, kInf, 0.0, "invsqrt inf"},
      {InvCbrt, -8.0, -0.5, "invcbrt -8"}, {InvCbrt, 0.0, kInf, "invcbrt 0"}, {InvCbrt, -kInf, -0.0, "invcbrt -inf"},
      {InvCbrt, kNaN, kNaN, "invcbrt nan"},
  };
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    for (const Case& c : cases) {
      double r = 12345;
      c.kernel(&c.x, &r, 1);
      EXPECT_TRUE(Same(r, c.want)) << c.name << " " << Name(isa) << " got " << r;
    }
    const double a[] = {2, 0, -8, 1, -2, kNaN};
    const double b[] = {10, -1, 1.0 / 3, kNaN, 3, 0};
    double r[6];
    Pow(a, b, r, 6);
    const double want[] = {1024, kInf, kNaN, 1, -8, 1};
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(Same(r[i], want[i])) << "pow " << i << " got " << r[i];
    const double y[] = {0.0, -0.0, 1, -1};
    const double x[] = {-1, -1, 0, 0};
    ArcTan2(y, x, r, 4);
    EXPECT_TRUE(Same(r[0], pi) && Same(r[1], -pi) && Same(r[2], pi / 2) && Same(r[3], -pi / 2));
  }
}

struct CplxCase {
  const char* file;
  CplxFn kernel;
};
const CplxCase kCplxCases[] = {{"csin", Sin},   {"ccos", Cos},   {"ctan", Tan},  {"csinh", Sinh},
                               {"ccosh", Cosh}, {"ctanh", Tanh}, {"cexp", Exp}};

TEST(KernelsMath, ComplexFunctionsHaveSmallRelativeError) {
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    for (const CplxCase& c : kCplxCases) {
      const auto rows = ReadReference(c.file);
      std::vector<TCplx> z, got(rows.size());
      for (const auto& r : rows) z.push_back({static_cast<double>(r[0]), static_cast<double>(r[1])});
      c.kernel(z.data(), got.data(), static_cast<ptrdiff_t>(z.size()));
      double worst = 0;
      std::size_t at = 0;
      for (std::size_t i = 0; i < z.size(); ++i) {
        const double e = RelError(got[i], rows[i][2], rows[i][3]);
        if (!(e <= worst)) worst = e, at = i;
      }
      Report(c.file, isa, worst / kEps, "eps");
      EXPECT_LE(worst, kComplexRelTol) << c.file << " " << Name(isa) << " at z=" << Show(z[at]) << " got "
                                       << Show(got[at]);
      // Tails and in place: the same values.
      std::vector<TCplx> parts(z.size());
      for (std::size_t from = 0, len = 1; from < 50; from += len, len = len % 7 + 1)
        c.kernel(z.data() + from, parts.data() + from, static_cast<ptrdiff_t>(len));
      for (std::size_t i = 0; i < 50; ++i) ASSERT_TRUE(Same(parts[i], got[i])) << c.file << " " << i;
      std::vector<TCplx> inplace(z.begin(), z.begin() + 13);
      c.kernel(inplace.data(), inplace.data(), 13);
      for (std::size_t i = 0; i < 13; ++i) ASSERT_TRUE(Same(inplace[i], got[i])) << c.file << " in place";
    }
  }
}

TEST(KernelsMath, ComplexValuesOnTheAxes) {
  const TCplx z[] = {{0, 1}};
  TCplx s, c, e;
  Sin(z, &s, 1);
  Cos(z, &c, 1);
  EXPECT_EQ(s.Re, 0.0);
  EXPECT_NEAR(s.Im, std::sinh(1.0), 2 * kEps);
  EXPECT_NEAR(c.Re, std::cosh(1.0), 2 * kEps);
  EXPECT_EQ(c.Im, 0.0);
  const TCplx ipi[] = {{0, 3.141592653589793}};
  Exp(ipi, &e, 1);
  EXPECT_EQ(e.Re, -1.0);
  EXPECT_NEAR(e.Im, 1.2246467991473532e-16, kEps * 1e-16);
  // A part near 0: the sinh from one exponential has an absolute, not relative, error.
  const TCplx small[] = {{0.3, 1e-10}};
  Sin(small, &s, 1);
  EXPECT_NEAR(s.Im, std::cos(0.3) * std::sinh(1e-10), kSinhCoshTol);
  EXPECT_NEAR(s.Re, std::sin(0.3), 2 * kEps);
}

TEST(KernelsMath, PhaseAndPolarForms) {
  const auto at = ReadReference("atan2");
  std::vector<TCplx> z;
  for (const auto& r : at) z.push_back({static_cast<double>(r[1]), static_cast<double>(r[0])});
  const auto n = static_cast<ptrdiff_t>(z.size());
  std::vector<double> phase(z.size()), mag(z.size()), phase2(z.size());
  std::string where;
  Phase(z.data(), phase.data(), n);
  EXPECT_LE(WorstUlp(phase, at, 2, &where), kMaxUlp) << where;
  CartToPolar(z.data(), mag.data(), phase2.data(), n);
  for (ptrdiff_t i = 0; i < n; ++i) {
    ASSERT_TRUE(Same(phase2[i], phase[i]));
    ASSERT_TRUE(Same(mag[i], std::sqrt(z[i].Re * z[i].Re + z[i].Im * z[i].Im)));
  }
  // (2 cos t, 2 sin t): scaling by 2 is exact, so the parts keep the 1-ulp bound.
  const auto sc = ReadReference("sincos");
  const std::vector<double> t = Column(sc, 0);
  const std::vector<double> two(t.size(), 2.0);
  std::vector<TCplx> w(t.size());
  PolarToCart(two.data(), t.data(), w.data(), static_cast<ptrdiff_t>(t.size()));
  for (std::size_t i = 0; i < t.size(); ++i) {
    ASSERT_LE(UlpError(w[i].Re / 2, sc[i][2]), kMaxUlp) << t[i];
    ASSERT_LE(UlpError(w[i].Im / 2, sc[i][1]), kMaxUlp) << t[i];
  }
}

// Domain errors and overflow give NaN and infinity, never an errno.
TEST(KernelsMath, KernelsLeaveErrnoAlone) {
  const double bad[] = {-1.0, 0.0, 1000.0, -kInf, kNaN, 1.5e308, 1.5e308};
  double r[7], s[7];
  errno = 0;
  for (TKernelIsa isa : kIsas) {
    IsaScope scope(isa);
    if (!scope.ok()) continue;
    for (const RealCase& c : kRealCases) c.kernel(bad, r, 7);
    Pow(bad, bad + 1, r, 6);
    SinCos(bad, r, s, 7);
  }
  EXPECT_EQ(errno, 0);
}

TEST(KernelsMath, CodePathCanBeForcedAndRestored) {
  const TKernelIsa start = KernelIsa();
  EXPECT_TRUE(SetKernelIsa(TKernelIsa::Sse2));
  EXPECT_EQ(KernelIsa(), TKernelIsa::Sse2);
  if (SetKernelIsa(TKernelIsa::Avx2Fma)) EXPECT_EQ(KernelIsa(), TKernelIsa::Avx2Fma);
  SetKernelIsa(start);
  EXPECT_EQ(KernelIsa(), start);
}

}  // namespace
}  // namespace quorel::kern::test
