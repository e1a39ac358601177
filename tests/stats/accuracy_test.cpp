// Accuracy against mpmath reference values (scripts/gen_dist_reference.py). The worst relative
// error per function, in units of eps, is printed and held to a per-function bound. Bounds above a
// few eps are where the library's formula itself limits accuracy (noted per entry).

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/probabilities.h"
#include "support/support.h"
#include "stats/block_path_support.h"

namespace quorel {
namespace {

using Args = std::vector<double>;
using Rows = std::map<std::string, std::vector<std::vector<double>>>;

Rows Load(const std::string& family) {
  Rows rows = test::ReadReference("dist_" + family + ".txt");
  EXPECT_FALSE(rows.empty()) << family;
  return rows;
}

// |got - want| / max(|want|, floor) in eps: relative, or absolute below `floor`.
double RelEps(double got, double want, double floor) {
  if (got == want) return 0.0;
  const double scale = std::fmax(std::fabs(want), floor);
  return std::fabs(got - want) / scale / MACHEP;
}

struct Real {
  std::function<double(const Args&)> f;
  double bound;         // worst relative error allowed, in eps
  double floor = 1e-300;  // below this magnitude the error is measured absolutely
};

// Runs every row of a family through its function and checks the worst error per name.
void CheckFamily(const std::string& family, const std::map<std::string, Real>& funcs) {
  std::map<std::string, std::pair<double, std::string>> worst;
  for (const auto& [name, list] : Load(family)) {
    auto it = funcs.find(name);
    ASSERT_NE(it, funcs.end()) << name;
    for (const auto& row : list) {
      Args args(row.begin(), row.end() - 1);
      const double e = RelEps(it->second.f(args), row.back(), it->second.floor);
      auto& w = worst[name];
      if (e < w.first) continue;
      std::ostringstream where;
      for (double a : args) where << a << ' ';
      w = {e, where.str()};
    }
  }
  for (const auto& [name, w] : worst) {
    std::printf("  %-16s worst %10.3g eps at %s\n", name.c_str(), w.first, w.second.c_str());
    EXPECT_LE(w.first, funcs.at(name).bound) << name << " at " << w.second;
  }
}

// A vector overload of a two-parameter distribution on a one-element vector: the block forms of
// the normal CDF and quantile are held to the references too.
std::function<double(const Args&)> Vec(void (*f)(const TDenseQuorel&, double, double, TDenseQuorel&)) {
  return [f](const Args& a) {
    TVec r;
    f(test::Real({a[0]}), a[1], a[2], r);
    return r[0];
  };
}

TEST(Accuracy, IncompleteGammaAndErrorFunction) {
  CheckFamily("gamma", {
      // the prefactor exp(a ln x - x - LnGamma(a)) carries the rounding of its exponent,
      // about |LnGamma(a)| eps: a few hundred eps at a = 250
      {"IGamma", {[](const Args& a) { return IGamma(a[0], a[1]); }, 64}},
      {"JGamma", {[](const Args& a) { return JGamma(a[0], a[1]); }, 64}},
      {"Erf", {[](const Args& a) { return Erf(a[0]); }, 8}},
      // Erfc(x > 0) comes from the fraction; Erfc(x < 0) = 1 + IGamma is exact to rounding
      {"Erfc", {[](const Args& a) { return Erfc(a[0]); }, 8}},
      // two damped corrections on a rational start: the start's error survives for |y| > 0.5
      {"ErfInv", {[](const Args& a) { return ErfInv(a[0]); }, 2e9}},
  });
}

TEST(Accuracy, IncompleteBeta) {
  CheckFamily("beta", {
      {"BetaIncomplete", {[](const Args& a) { return BetaIncomplete(a[0], a[1], a[2]); }, 64}},
      // Newton stops once a step is below sqrt(eps) absolutely: small quantiles are only
      // good to about 1e-9 absolutely, so this one is measured absolutely
      {"BetaCDFInv", {[](const Args& a) { return BetaCDFInv(a[0], a[1], a[2]); }, 1e7, 1.0}},
  });
}

TEST(Accuracy, Normal) {
  CheckFamily("normal", {
      {"NormalPDF", {[](const Args& a) { return NormalPDF(a[0], a[1], a[2]); }, 8}},
      {"NormalCDF", {[](const Args& a) { return NormalCDF(a[0], a[1], a[2]); }, 400}},
      {"NormalCDFInv", {[](const Args& a) { return NormalCDFInv(a[0], a[1], a[2]); }, 1e11}},
  });
  // The vector forms: the error function on whole blocks, on each instruction-set copy. The CDF's
  // tail error is the rounding of z = (x - mu) / sigma / sqrt(2), amplified by 2 z^2.
  test::OnEachBlockPath([] {
    CheckFamily("normal", {
        {"NormalPDF", {[](const Args& a) { return NormalPDF(a[0], a[1], a[2]); }, 8}},
        {"NormalCDF", {Vec(NormalCDF), 400}},
        {"NormalCDFInv", {Vec(NormalCDFInv), 1e11}},
    });
  });
}

// Lower tails, where 1 - exp(-t) cancels: the scalar and the block forms keep their relative
// accuracy. References: mpmath at 300 bits, -expm1(-x/mu), -expm1(-(x/b)^2/2), -expm1(-a x^b) and
// 0.5 exp((x - m)/b) below m, 1 - 0.5 exp(-(x - m)/b) above.
TEST(Accuracy, ExponentialTails) {
  constexpr int kPoints = 12;
  const double xs[kPoints] = {1e-300, 1e-12, 8.25e-10, 9.2e-8, 1e-6, 1e-3, 0.25, 0.6, 1.3, 1.5, 3.0, 40.0};
  struct Tail {
    const char* name;
    double want[kPoints];
    double (*scalar)(double);
    void (*vector)(const TVec&, TVec&);
    double (*edge)(double);  // what the block form gives at the edge values, if not the scalar function's
  };
  const Tail tails[] = {
      {"ExpCDF",
       {5e-301, 4.99999999999875e-13, 4.124999999149219e-10, 4.599999894200002e-08, 4.999998750000208e-07,
        0.0004998750208307294, 0.1175030974154046, 0.2591817793182821, 0.47795422323898396, 0.5276334472589853,
        0.7768698398515702, 0.9999999979388464},
       [](double v) { return ExpCDF(v, 2); }, [](const TVec& a, TVec& b) { ExpCDF(a, 2, b); }, nullptr},
      {"RayleighCDF",
       {0.0, 1.25e-25, 8.507812500000001e-20, 1.0579999999999994e-15, 1.2499999999999217e-13, 1.2499999218750034e-07,
        0.007782061739756488, 0.04400251816690009, 0.1904283513321131, 0.24516039801099265, 0.6753475326416503, 1.0},
       [](double v) { return RayleighCDF(v, 2); }, [](const TVec& a, TVec& b) { RayleighCDF(a, 2, b); },
       // x < 0 is NaN for the scalar function only; the block formula runs
       [](double v) { return v < 0 ? -std::expm1(-v * v / 8) : RayleighCDF(v, 2); }},
      {"WeibullCDF",
       {0.0, 1.9999999999999998e-18, 4.7392641833937615e-14, 5.580996326666204e-11, 1.999999998e-09,
        6.324355324553062e-05, 0.22119921692859512, 0.6052552806315097, 0.9484114796590256, 0.9746311849746784,
        0.9999693324309789, 1.0},
       [](double v) { return WeibullCDF(v, 2, 1.5); }, [](const TVec& a, TVec& b) { WeibullCDF(a, 2, 1.5, b); },
       nullptr},
  };
  const auto check = [](const char* name, double got, double want, double bound) {
    EXPECT_LE(RelEps(got, want, 1e-300), bound) << name << " " << got << " want " << want;
  };
  for (const Tail& t : tails)
    for (int i = 0; i < kPoints; ++i) check(t.name, t.scalar(xs[i]), t.want[i], 1);
  // The block forms on a vector longer than a block, the points shuffled among large ones so
  // blocks mix both sides of the switch at t = -ln 2; edge values as the scalar functions give.
  const double edges[] = {0.0, -0.0, -1.0, INF, NaN};
  TVec x, r;
  x.SetLength(3000);
  for (int i = 0; i < x.Length(); ++i) x[i] = i % 3 == 2 ? edges[(i / 3) % 5] : xs[(i * 7) % kPoints];
  test::OnEachBlockPath([&] {
    for (const Tail& t : tails) {
      t.vector(x, r);
      for (int i = 0; i < x.Length(); ++i) {
        const double want = i % 3 == 2 ? (t.edge ? t.edge : t.scalar)(x[i]) : t.want[(i * 7) % kPoints];
        if (std::isnan(want)) {
          EXPECT_TRUE(std::isnan(r[i])) << t.name << " " << x[i];
        } else {
          check(t.name, r[i], want, 2);
          EXPECT_FALSE(std::signbit(r[i])) << t.name << " " << x[i];
        }
      }
    }
  });

  // an even shape gives x < 0 a negative exponent too; it stays 0 there
  TVec wx = test::Real({-0.1, 0.1}), wr;
  WeibullCDF(wx, 2, 2, wr);
  EXPECT_EQ(wr[0], 0);
  check("WeibullCDF", wr[1], 0.0198013266932447, 2);

  const TVec lx = test::Real({-1500, -500, -80, -30, 0, 0.999, 1, 1.001, 3, 30});
  const double laplaceCdf[] = {0.0, 8.094728511653782e-110, 1.2883785545774905e-18, 9.276956813079892e-08,
                               0.3032653298563167, 0.49975006248958465, 0.5, 0.5002499375104154,
                               0.8160602794142788, 0.9999997478261687};
  TVec lr;
  LaplaceCDF(lx, 1, 2, lr);
  for (int i = 0; i < 10; ++i) {
    check("LaplaceCDF", LaplaceCDF(lx[i], 1, 2), laplaceCdf[i], 1);
    check("LaplaceCDF block", lr[i], laplaceCdf[i], 1);
  }
  EXPECT_TRUE(std::isnan(LaplaceCDF(INF, INF, 2)));
  EXPECT_EQ(LaplaceCDF(-INF, 1, 2), 0);
  EXPECT_EQ(LaplaceCDF(INF, 1, 2), 1);
}

TEST(Accuracy, GammaFamily) {
  CheckFamily("gammadist", {
      {"GammaPDF", {[](const Args& a) { return GammaPDF(a[0], a[1], a[2]); }, 400}},
      {"GammaCDF", {[](const Args& a) { return GammaCDF(a[0], a[1], a[2]); }, 400}},
      {"GammaCDFInv", {[](const Args& a) { return GammaCDFInv(a[0], a[1], a[2]); }, 400}},
      {"ChiSquareCDFInv", {[](const Args& a) { return ChiSquareCDFInv(a[0], int(a[1])); }, 400}},
  });
}

TEST(Accuracy, StudentAndF) {
  CheckFamily("student", {
      {"StudentPDF", {[](const Args& a) { return StudentPDF(a[0], int(a[1])); }, 64}},
      {"StudentCDF", {[](const Args& a) { return StudentCDF(a[0], int(a[1])); }, 400}},
      {"StudentCDFInv", {[](const Args& a) { return StudentCDFInv(a[0], int(a[1])); }, 1e7, 1.0}},
      {"FCDF", {[](const Args& a) { return FCDF(a[0], int(a[1]), int(a[2])); }, 400}},
  });
}

TEST(Accuracy, Discrete) {
  CheckFamily("discrete", {
      {"PoissonCDF", {[](const Args& a) { return PoissonCDF(a[0], a[1]); }, 400}},
      {"BinomCDF", {[](const Args& a) { return BinomCDF(a[0], int(a[1]), a[2]); }, 400}},
      {"BinomPDF", {[](const Args& a) { return BinomPDF(a[0], int(a[1]), a[2]); }, 64}},
  });
}

// Complex families: rows of (real parameter..., Re s, Im s, Re value, Im value); the error is the
// modulus of the difference relative to the modulus of the value.
using CFunc = std::function<TCplx(const Args& params, const TCplx& s)>;

void CheckComplexFamily(const std::string& family, const std::map<std::string, std::pair<CFunc, double>>& funcs) {
  std::map<std::string, double> worst;
  for (const auto& [name, list] : Load(family))
    for (const auto& v : list) {
      const std::size_t k = v.size();
      const TCplx s{v[k - 4], v[k - 3]}, want{v[k - 2], v[k - 1]};
      const TCplx got = funcs.at(name).first(Args(v.begin(), v.end() - 4), s);
      const double e = std::hypot(got.Re - want.Re, got.Im - want.Im) / std::hypot(want.Re, want.Im) / MACHEP;
      worst[name] = std::fmax(worst[name], e);
      EXPECT_LE(e, funcs.at(name).second) << name << " at " << s.Re << " " << s.Im;
    }
  for (const auto& [name, e] : worst) std::printf("  %-16s worst %10.3g eps\n", name.c_str(), e);
}

TEST(Accuracy, ComplexIncompleteGamma) {
  CheckComplexFamily("cgamma", {
      {"IGamma", {[](const Args& a, const TCplx& z) { return IGamma(a[0], z); }, 400}},
      {"JGamma", {[](const Args& a, const TCplx& z) { return JGamma(a[0], z); }, 400}},
  });
}

TEST(Accuracy, ZetaFamily) {
  // 40 terms: the accelerated series' own error is about 5.8^-40, far below eps
  CheckComplexFamily("zeta", {
      {"DirichletEta", {[](const Args&, const TCplx& s) { return DirichletEta(s, 40); }, 400}},
      {"RiemannZeta", {[](const Args&, const TCplx& s) { return RiemannZeta(s, 40); }, 400}},
      {"DirichletLambda", {[](const Args&, const TCplx& s) { return DirichletLambda(s, 40); }, 400}},
      {"DirichletBeta", {[](const Args&, const TCplx& s) { return DirichletBeta(s); }, 400}},
  });
}

}  // namespace
}  // namespace quorel
