#pragma once
// The NIST StRD regression problems used by the tests and the benchmark: reader of the published
// .dat files and the models the nonlinear ones state.

#include <cmath>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace optim_test {

struct TNistProblem {
  std::string Name;
  std::vector<double> X, Y;
  std::vector<double> Start1, Start2, Certified;
  double CertifiedSSR = 0;
  double (*Model)(const double* b, double x) = nullptr;
};


#define NIST_MODEL(id, expr) \
  if (name == #id) return [](const double* b, double x) -> double { return expr; };
/// The model of a nonlinear problem; null for the linear (polynomial) ones.
inline auto NistModelFor(const std::string& name) -> double (*)(const double*, double) {
  NIST_MODEL(Misra1a, b[0] * (1 - std::exp(-b[1] * x)))
  NIST_MODEL(Chwirut2, std::exp(-b[0] * x) / (b[1] + b[2] * x))
  NIST_MODEL(Lanczos3, b[0] * std::exp(-b[1] * x) + b[2] * std::exp(-b[3] * x) + b[4] * std::exp(-b[5] * x))
  NIST_MODEL(MGH09, b[0] * (x * x + x * b[1]) / (x * x + x * b[2] + b[3]))
  NIST_MODEL(Thurber, (b[0] + x * (b[1] + x * (b[2] + x * b[3]))) / (1 + x * (b[4] + x * (b[5] + x * b[6]))))
  NIST_MODEL(Eckerle4, b[0] / b[1] * std::exp(-0.5 * std::pow((x - b[2]) / b[1], 2)))
  return nullptr;
}
#undef NIST_MODEL

/// Reads dir/name.dat: the nonlinear parameter lines "bK = start1 start2 certified sd" or the
/// linear ones "BK certified sd" (ascending powers), the certified residual sum of squares and the
/// (y, x) data after the last "Data:" line.
inline TNistProblem ReadNist(const std::string& dir, const std::string& name) {
  std::ifstream in(dir + "/" + name + ".dat");
  if (!in) throw std::runtime_error("cannot open " + name);
  TNistProblem p;
  p.Name = name;
  p.Model = NistModelFor(name);
  const std::regex nonlinear(R"(^\s*b\d+\s*=\s*(\S+)\s+(\S+)\s+(\S+)\s+(\S+))");
  const std::regex linear(R"(^\s*B\d+\s+(\S+)\s+\S+\s*$)");
  std::vector<std::string> lines;
  std::size_t dataAt = 0;
  for (std::string line; std::getline(in, line);) {
    std::smatch m;
    if (std::regex_search(line, m, nonlinear)) {
      p.Start1.push_back(std::stod(m[1]));
      p.Start2.push_back(std::stod(m[2]));
      p.Certified.push_back(std::stod(m[3]));
    } else if (std::regex_search(line, m, linear)) {
      p.Certified.push_back(std::stod(m[1]));
    } else if (line.find("Residual Sum of Squares:") != std::string::npos) {
      p.CertifiedSSR = std::stod(line.substr(line.find(':') + 1));
    }
    lines.push_back(line);
    if (line.find("Data:") != std::string::npos) dataAt = lines.size();
  }
  for (std::size_t i = dataAt; i < lines.size(); ++i) {
    std::istringstream s(lines[i]);
    double y, x;
    if (s >> y >> x) p.Y.push_back(y), p.X.push_back(x);
  }
  if (p.Certified.empty() || p.X.empty()) throw std::runtime_error("malformed " + name);
  return p;
}

inline const std::vector<std::string>& NistNames() {
  static const std::vector<std::string> names{"Misra1a", "Chwirut2", "Lanczos3", "MGH09", "Thurber", "Eckerle4"};
  return names;
}

}  // namespace optim_test
