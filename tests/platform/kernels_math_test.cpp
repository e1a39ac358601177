#include "quorel/platform/kernels/math.h"

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <complex>
#include <functional>
#include <random>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using Rows = std::vector<std::vector<long double>>;
using RealFn = void (*)(const D*, D*, ptrdiff_t);

// The promise of the real kernels: within 1 ulp of the exact value.
constexpr double kMaxUlp = 1.0;
// Complex kernels: normwise relative error of the formulas (reference points avoid the region
// where the sinh of a part near 0 loses relative accuracy by design).
constexpr double kComplexRelTol = 8 * kEps;
// sinh and cosh from one exponential: absolute error against cosh(x) as the scale.
constexpr double kSinhCoshTol = 4 * kEps;

// Rows of tests/data/kernels_<name>.txt, each number read as long double.
Rows ReadReference(const std::string& name) {
  Rows rows = quorel::test::ReadRows<long double>("kernels_" + name + ".txt");
  EXPECT_FALSE(rows.empty()) << "missing reference file for " << name;
  return rows;
}

std::vector<D> Column(const Rows& rows, int c) {
  std::vector<D> v;
  for (const auto& r : rows) v.push_back(static_cast<D>(r[c]));
  return v;
}

using quorel::test::UlpError;

// The worst of error(i) over n elements within tol; printed when asked.
template <class Error>
void ExpectWorst(const std::string& what, std::size_t n, Error error, double tol, const char* unit, bool report) {
  double worst = 0;
  std::size_t at = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double e = error(i);
    if (!(e <= worst)) worst = e, at = i;
  }
  if (report) std::printf("[ accuracy ] %-22s max %.4f %s\n", what.c_str(), worst, unit);
  EXPECT_LE(worst, tol) << what << " at element " << at;
}

// Calls run(from, len) over [0, n) in pieces of 1 to 9 elements, so that every element also
// goes through the tail code.
template <class F>
void InPieces(ptrdiff_t n, F run) {
  for (ptrdiff_t from = 0, len = 1; from < n; from += len, len = len % 9 + 1) run(from, std::min(len, n - from));
}

// A kernel with real results over a reference file: run(in, r, n) computes r[0, n) from the
// file's columns in (each at the same offset); the results compare with column `column`.
using In = std::vector<const D*>;
struct Case {
  const char* name;
  const char* file;
  int column;
  std::function<void(const In& in, D* r, ptrdiff_t n)> run;
};
std::function<void(const In&, D*, ptrdiff_t)> Unary(RealFn k) {
  return [k](const In& in, D* r, ptrdiff_t n) { k(in[0], r, n); };
}
// One part of PolarToCart(2, t) / 2 (the scaling is exact).
void Polar(const D* t, D* r, ptrdiff_t n, D C::*part) {
  std::vector<D> two(n, 2.0);
  std::vector<C> w(n);
  PolarToCart(two.data(), t, w.data(), n);
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = w[i].*part / 2;
}
const Case kCases[] = {
    {"sin", "sincos", 1, Unary(Sin)},     {"cos", "sincos", 2, Unary(Cos)},       {"tan", "tan", 1, Unary(Tan)},
    {"tan quadrants", "tan_quadrants", 1, Unary(Tan)},
    {"asin", "asin", 1, Unary(ArcSin)},   {"acos", "acos", 1, Unary(ArcCos)},     {"atan", "atan", 1, Unary(ArcTan)},
    {"sinh", "sinh", 1, Unary(Sinh)},     {"cosh", "cosh", 1, Unary(Cosh)},       {"tanh", "tanh", 1, Unary(Tanh)},
    {"asinh", "asinh", 1, Unary(ArcSinh)}, {"acosh", "acosh", 1, Unary(ArcCosh)}, {"atanh", "atanh", 1, Unary(ArcTanh)},
    {"exp", "exp", 1, Unary(Exp)},        {"ln", "ln", 1, Unary(Ln)},             {"log10", "log10", 1, Unary(Log10)},
    {"exp2", "exp2", 1, Unary(Exp2)},     {"exp10", "exp10", 1, Unary(Exp10)},    {"log2", "log2", 1, Unary(Log2)},
    {"cbrt", "cbrt", 1, Unary(Cbrt)},     {"invsqrt", "invsqrt", 1, Unary(InvSqrt)},
    {"invcbrt", "invcbrt", 1, Unary(InvCbrt)},
    {"pow", "pow", 2, [](const In& in, D* r, ptrdiff_t n) { Pow(in[0], in[1], r, n); }},
    {"atan2", "atan2", 2, [](const In& in, D* r, ptrdiff_t n) { ArcTan2(in[0], in[1], r, n); }},
    {"powx", "powx", 2, [](const In& in, D* r, ptrdiff_t n) {  // one call per exponent of the grouped file
       for (ptrdiff_t from = 0, to = 0; from < n; from = to) {
         while (++to < n && in[1][to] == in[1][from]) {}
         Powx(in[0] + from, in[1][from], r + from, to - from);
       }
     }},
    {"sincos sin", "sincos", 1, [](const In& in, D* r, ptrdiff_t n) { std::vector<D> c(n); SinCos(in[0], r, c.data(), n); }},
    {"sincos cos", "sincos", 2, [](const In& in, D* r, ptrdiff_t n) { std::vector<D> s(n); SinCos(in[0], s.data(), r, n); }},
    {"phase", "atan2", 2, [](const In& in, D* r, ptrdiff_t n) {  // of x + iy, with the modulus
       std::vector<C> z(n);
       std::vector<D> mag(n);
       for (ptrdiff_t i = 0; i < n; ++i) z[i] = {in[1][i], in[0][i]};
       CartToPolar(z.data(), mag.data(), r, n);
       for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(mag[i], std::sqrt(z[i].Re * z[i].Re + z[i].Im * z[i].Im)));
     }},
    {"polar sin", "sincos", 1, [](const In& in, D* r, ptrdiff_t n) { Polar(in[0], r, n, &C::Im); }},
    {"polar cos", "sincos", 2, [](const In& in, D* r, ptrdiff_t n) { Polar(in[0], r, n, &C::Re); }},
};

TEST(KernelsMath, RealResultsAreWithinOneUlpInEveryElement) {
  ForEachIsa([](const std::string& isa) {
    for (const Case& c : kCases) {
      const Rows rows = ReadReference(c.file);
      ASSERT_GE(rows.size(), 1000u) << c.file;
      std::vector<std::vector<D>> cols;
      for (int k = 0; k < c.column; ++k) cols.push_back(Column(rows, k));
      const auto at = [&](ptrdiff_t from) {
        In in;
        for (const auto& col : cols) in.push_back(col.data() + from);
        return in;
      };
      const ptrdiff_t n = std::ssize(rows);
      std::vector<D> got(n), pieces = cols[0];
      c.run(at(0), got.data(), n);
      // In place over the first input and in pieces.
      InPieces(n, [&](ptrdiff_t from, ptrdiff_t len) {
        In in = at(from);
        in[0] = &pieces[from];
        c.run(in, &pieces[from], len);
      });
      for (const std::vector<D>* r : {&got, &pieces})
        ExpectWorst(c.name + isa + (r == &got ? "" : " in place, in pieces"), n,
                    [&](std::size_t i) { return UlpError((*r)[i], rows[i][c.column]); }, kMaxUlp, "ulp", r == &got);
    }
  });
}

// Dense random sweep against the long double functions (good to 2^-11 ulp): arguments spread
// over every binade of each kernel's fast range and past it, near multiples of pi/2 (where the
// reduced argument cancels) and near 1.
TEST(KernelsMath, RandomSweepStaysWithinOneUlp) {
  std::mt19937_64 rng(7);
  std::vector<D> x;
  std::uniform_real_distribution<double> mant(1.0, 2.0), frac(-0.5, 0.5);
  for (int e = -30; e <= 25; ++e)
    for (int i = 0; i < 400; ++i) x.push_back((i % 2 ? -1 : 1) * std::ldexp(mant(rng), e));
  for (int k = 1; k < 4000; ++k) {
    const double near = k * 263.0 * M_PI_2;
    x.insert(x.end(), {near, std::nextafter(near, 0.0), near + frac(rng) * 1e-6});
  }
  for (int i = 0; i < 20000; ++i) x.push_back(frac(rng) * 20);
  // Every multiple below 2^10 and a little past it, either sign (the range of the cheaper
  // reduction), and vectors mixing small arguments with ones past the fast range.
  for (int k = -700; k <= 700; ++k) {
    const double near = k * M_PI_2;
    x.insert(x.end(), {near, std::nextafter(near, -1e9), std::nextafter(near, 1e9)});
  }
  for (int i = 0; i < 800; ++i) x.push_back(i % 2 ? frac(rng) * 6 : std::ldexp(mant(rng), 19 + i % 6));
  // Around 1, where log c of the table and log(1 + r) nearly cancel next to the subinterval holding 1.
  for (int i = 0; i < 20000; ++i) x.push_back(1 + frac(rng) * 0.2);
  const struct {
    const char* name;
    RealFn kernel;
    long double (*exact)(long double);
    bool positive;
    double limit;  // arguments beyond it (where the result overflows) are left out
  } cases[] = {
      {"sin", Sin, sinl, false, kInf},       {"cos", Cos, cosl, false, kInf},      {"tan", Tan, tanl, false, kInf},
      {"atan", ArcTan, atanl, false, kInf},  {"tanh", Tanh, tanhl, false, kInf},   {"sinh", Sinh, sinhl, false, 710},
      {"cosh", Cosh, coshl, false, 710},     {"ln", Ln, logl, true, kInf},         {"log2", Log2, log2l, true, kInf},
      {"log10", Log10, log10l, true, kInf},
  };
  ForEachIsa([&](const std::string& isa) {
    for (const auto& c : cases) {
      std::vector<D> in;
      for (D v : x)
        if (std::fabs(v) <= c.limit) in.push_back(c.positive ? std::fabs(v) : v);
      std::vector<D> r(in.size());
      c.kernel(in.data(), r.data(), std::ssize(in));
      ExpectWorst(c.name + isa + " sweep", in.size(),
                  [&](std::size_t i) { return UlpError(r[i], c.exact(in[i])); }, kMaxUlp, "ulp", true);
    }
  });
}

// x^y with y log x up to +-700: the log pair must hold about 2^-66 relative, worst near x = 1
// (large y) and next to the table's subinterval holding 1; a third of the rows are ordinary.
TEST(KernelsMath, PowerSweepWithLargeProductsStaysWithinOneUlp) {
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> near1(0.97, 1.04), wide(-30, 30), prod(-700, 700), small(-2, 2);
  std::vector<D> x, y;
  for (int i = 0; i < 60000; ++i) {
    x.push_back(i % 2 ? near1(rng) : std::exp(wide(rng)));
    y.push_back(i % 3 == 0 || x.back() == 1 ? small(rng) : prod(rng) / std::log(x.back()));
  }
  std::vector<D> r(x.size()), rx(x.size());
  ForEachIsa([&](const std::string& isa) {
    Pow(x.data(), y.data(), r.data(), std::ssize(x));
    for (std::size_t i = 0; i < x.size(); ++i) Powx(&x[i], y[i], &rx[i], 1);
    for (const std::vector<D>* got : {&r, &rx})
      ExpectWorst((got == &r ? "pow" : "powx") + isa + " sweep", x.size(),
                  [&](std::size_t i) { return UlpError((*got)[i], powl(x[i], y[i])); }, kMaxUlp, "ulp", true);
  });
}

// Long results go around the caches from the first 64-byte line of the destination on: every
// element, the unaligned head included, equals the one computed in short pieces.
TEST(KernelsMath, LongResultsEqualShortOnes) {
  const ptrdiff_t n = (ptrdiff_t{1} << 20) + 13;
  std::vector<D> a(n), b(n), whole(n + 3), pieces(n);
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> u(0.25, 4.0);
  for (ptrdiff_t i = 0; i < n; ++i) a[i] = u(rng), b[i] = u(rng);
  const std::pair<const char*, std::function<void(const D*, const D*, D*, ptrdiff_t)>> cases[] = {
      {"ln", [](const D* x, const D*, D* r, ptrdiff_t m) { Ln(x, r, m); }},
      {"cosh", [](const D* x, const D*, D* r, ptrdiff_t m) { Cosh(x, r, m); }},
      {"pow", [](const D* x, const D* y, D* r, ptrdiff_t m) { Pow(x, y, r, m); }},
  };
  ForEachIsa([&](const std::string& isa) {
    for (const auto& [name, run] : cases) {
      D* r = whole.data() + 3;  // 24 bytes past a line boundary at most
      run(a.data(), b.data(), r, n);
      for (ptrdiff_t from = 0; from < n; from += 1000)
        run(&a[from], &b[from], &pieces[from], std::min<ptrdiff_t>(1000, n - from));
      ptrdiff_t bad = 0;
      while (bad < n && Same(r[bad], pieces[bad])) ++bad;
      EXPECT_EQ(bad, n) << name << isa;
    }
  });
}

TEST(KernelsMath, SinhCoshFromOneExponentialHasAbsoluteErrorOfAFewEps) {
  std::vector<D> x;
  for (const char* file : {"sinh", "cosh"})
    for (const auto& r : ReadReference(file))
      if (std::fabs(static_cast<D>(r[0])) < 700) x.push_back(static_cast<D>(r[0]));
  ForEachIsa([&](const std::string& isa) {
    std::vector<D> s(x.size()), c(x.size());
    SinhCosh(x.data(), s.data(), c.data(), std::ssize(x));
    for (std::size_t i = 0; i < x.size(); ++i) {
      const long double scale = std::cosh(static_cast<long double>(x[i]));
      ASSERT_LE(std::fabs(s[i] - std::sinh(static_cast<long double>(x[i]))), kSinhCoshTol * scale) << x[i] << isa;
      ASSERT_LE(std::fabs(c[i] - scale), kSinhCoshTol * scale) << x[i] << isa;
    }
  });
}

// Domain errors and overflow give NaN and infinity, never an errno; n = 0 writes nothing.
TEST(KernelsMath, SpecialValues) {
  const struct {
    RealFn kernel;
    double x, want;
  } cases[] = {
      {Sin, kInf, kNaN},      {ArcSin, 2.0, kNaN},     {Exp, 710.0, kInf},     {Ln, 0.0, -kInf},
      {Ln, -1.0, kNaN},       {Log2, 0.0, -kInf},      {Log2, -kInf, kNaN},    {Exp2, 1024.0, kInf},
      {Exp10, -400.0, 0.0},   {ArcCosh, 0.5, kNaN},    {ArcCosh, kInf, kInf},  {ArcSinh, -0.0, -0.0},
      {ArcSinh, -kInf, -kInf}, {ArcSinh, kNaN, kNaN},  {InvSqrt, 4.0, 0.5},    {InvSqrt, 0.0, kInf},
      {InvSqrt, -0.0, -kInf}, {InvSqrt, -1.0, kNaN},   {InvSqrt, kInf, 0.0},   {InvCbrt, -8.0, -0.5},
      {InvCbrt, 0.0, kInf},   {InvCbrt, -kInf, -0.0},  {InvCbrt, kNaN, kNaN},  {Sin, -0.0, -0.0},
      {Tan, -0.0, -0.0},      {Cos, -0.0, 1.0},        {Sinh, -0.0, -0.0},
      {Sinh, -kInf, -kInf},   {Cosh, -kInf, kInf},     {Cosh, kNaN, kNaN},     {Log10, 1.0, 0.0},
      {Sinh, -710.4, static_cast<double>(sinhl(-710.4))}, {Cosh, 710.4, static_cast<double>(coshl(710.4))}, {Sinh, 710.5, kInf},
      {ArcTan, -0.0, -0.0},   {ArcTan, -kInf, -M_PI_2}, {ArcTan, 1e300, M_PI_2}, {ArcTan, kNaN, kNaN},
      {ArcCosh, -1e200, kNaN}, {ArcCosh, -kInf, kNaN},
  };
  errno = 0;
  ForEachIsa([&](const std::string& isa) {
    for (const auto& c : cases) {
      double r[2] = {12345, 12345};
      c.kernel(&c.x, r, 1);
      c.kernel(&c.x, r + 1, 0);
      EXPECT_TRUE(Same(r[0], c.want) && r[1] == 12345) << isa << " row " << &c - cases << " got " << r[0];
    }
    // Signed zeros among small arguments (sixteen reduced together) and beside a large argument
    // (another reduction) in one vector.
    const double zeros[] = {-0.0, 0.0, 1.0, -0.0, -1e-300, 0.0, -0.0, 1.0, 2.0, -0.0, 0.0, -1.0, 0.5, -0.0, 0.0, 3.0,
                            -0.0, 0.0, 5000.0, -0.0, -1e-300, 0.0, -0.0, 1.0};
    const RealFn odds[] = {Sin, Tan};
    for (RealFn odd : odds) {
      double r[std::size(zeros)];
      odd(zeros, r, std::ssize(zeros));
      for (std::size_t i = 0; i < std::size(zeros); ++i)
        if (std::fabs(zeros[i]) < 1e-200) EXPECT_TRUE(Same(r[i], zeros[i])) << isa << " element " << i << " got " << r[i];
    }
    const double bad[] = {-1.0, 0.0, 1000.0, -kInf, kNaN, 1.5e308, 1.5e308};
    double r[7], s[7];
    for (const Case& c : kCases) c.run({bad, bad + 1}, r, 6);
    SinhCosh(bad, r, s, 7);
  });
  EXPECT_EQ(errno, 0);
}

TEST(KernelsMath, ComplexFunctionsHaveSmallRelativeError) {
  const std::pair<const char*, void (*)(const C*, C*, ptrdiff_t)> cases[] = {
      {"csin", Sin}, {"ccos", Cos}, {"ctan", Tan}, {"csinh", Sinh}, {"ccosh", Cosh}, {"ctanh", Tanh}, {"cexp", Exp}};
  ForEachIsa([&](const std::string& isa) {
    for (const auto& [file, kernel] : cases) {
      const Rows rows = ReadReference(file);
      std::vector<C> z, got(rows.size());
      for (const auto& r : rows) z.push_back({static_cast<D>(r[0]), static_cast<D>(r[1])});
      std::vector<C> pieces = z;
      kernel(z.data(), got.data(), std::ssize(z));
      InPieces(std::ssize(z), [&](ptrdiff_t from, ptrdiff_t n) { kernel(&pieces[from], &pieces[from], n); });
      for (const std::vector<C>* w : {&got, &pieces}) {
        // Normwise |w - exact| / |exact|, in eps.
        const auto error = [&](std::size_t i) {
          const long double re = rows[i][2], im = rows[i][3], dr = (*w)[i].Re - re, di = (*w)[i].Im - im;
          return static_cast<double>(std::sqrt((dr * dr + di * di) / (re * re + im * im))) / kEps;
        };
        ExpectWorst(file + isa, z.size(), error, kComplexRelTol / kEps, "eps", w == &got);
      }
    }
  });
  // A part near 0: the sinh from one exponential has an absolute, not relative, error.
  const C small[] = {{0.3, 1e-10}};
  C s;
  Sin(small, &s, 1);
  EXPECT_NEAR(s.Im, std::cos(0.3) * std::sinh(1e-10), kSinhCoshTol);
}

// Beyond |Re z| of about 355 (tanh) or |Im z| (tan) the square of the denominator's modulus
// overflows: those lanes take the limit, +-1 in one part and a tiny value in the other, each part
// with a small relative error, beside ordinary lanes in the same vector.
TEST(KernelsMath, ComplexTangentsOfLargePartsReachTheirLimits) {
  // (a, b): the hyperbolic part a and the other part b.
  const C ab[] = {{20.5, 1},  {-25, 2},  {100, -0.5}, {354, 0.3},  {356, -1}, {-400, 1},
                  {800, 0},   {-800, 3}, {kInf, 1},   {0.5, 0.25}, {19, 1},   {-3, 7}};
  constexpr ptrdiff_t n = std::ssize(ab);
  using LC = std::complex<long double>;
  const auto rel = [](long double got, long double want) {
    return static_cast<double>(std::fabs(got - want) / std::max(std::fabs(want), static_cast<long double>(DBL_MIN)));
  };
  ForEachIsa([&](const std::string& isa) {
    for (bool tan : {false, true}) {
      std::vector<C> z(n), got(n);
      for (ptrdiff_t i = 0; i < n; ++i) z[i] = tan ? C{ab[i].Im, ab[i].Re} : ab[i];
      if (tan) Tan(z.data(), got.data(), n);
      else Tanh(z.data(), got.data(), n);
      for (ptrdiff_t i = 0; i < n; ++i) {
        const LC want = tan ? std::tan(LC(z[i].Re, z[i].Im)) : std::tanh(LC(z[i].Re, z[i].Im));
        const std::string where = isa + (tan ? " tan " : " tanh ") + std::to_string(i);
        if (std::fabs(ab[i].Re) > 20) {
          EXPECT_LE(rel(got[i].Re, want.real()), kComplexRelTol) << where << " got " << got[i].Re;
          EXPECT_LE(rel(got[i].Im, want.imag()), kComplexRelTol) << where << " got " << got[i].Im;
        } else {
          EXPECT_LE(static_cast<double>(std::abs(LC(got[i].Re, got[i].Im) - want) / std::abs(want)), kComplexRelTol)
              << where;
        }
      }
    }
  });
}

}  // namespace
}  // namespace quorel::kern::test
