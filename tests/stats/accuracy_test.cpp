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
    TVec x, r;
    x.SetLength(1);
    x[0] = a[0];
    f(x, a[1], a[2], r);
    return r[0];
  };
}

TEST(Accuracy, IncompleteGammaAndErrorFunction) {
  CheckFamily("gamma", {
      // the prefactor exp(a ln x - x - LnGamma(a)) carries the rounding of its exponent,
      // about |LnGamma(a)| eps: a few hundred eps at a = 250
      {"IGamma", {[](const Args& a) { return IGamma(a[0], a[1]); }, 1000}},
      {"JGamma", {[](const Args& a) { return JGamma(a[0], a[1]); }, 1000}},
      {"Erf", {[](const Args& a) { return Erf(a[0]); }, 8}},
      // Erfc(x > 0) comes from the fraction; Erfc(x < 0) = 1 + IGamma is exact to rounding
      {"Erfc", {[](const Args& a) { return Erfc(a[0]); }, 8}},
      // two damped corrections on a rational start: the start's error survives for |y| > 0.5
      {"ErfInv", {[](const Args& a) { return ErfInv(a[0]); }, 2e9}},
  });
}

TEST(Accuracy, IncompleteBeta) {
  CheckFamily("beta", {
      {"BetaIncomplete", {[](const Args& a) { return BetaIncomplete(a[0], a[1], a[2]); }, 400}},
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
