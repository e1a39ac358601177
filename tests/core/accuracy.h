#pragma once
// Accuracy helpers for the scalar tests: ulp distance, relative error and the reference files.

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace quorel::test {

/// Number of doubles between a and b (0 when equal, also for +0 and -0); huge for NaN.
inline std::uint64_t UlpDistance(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b) ? 0 : UINT64_MAX;
  auto ordered = [](double x) {
    auto i = std::bit_cast<std::int64_t>(x);
    return i < 0 ? INT64_MIN - i : i;  // monotonic in x, +0 and -0 coincide
  };
  std::int64_t d = ordered(a) - ordered(b);
  return d < 0 ? static_cast<std::uint64_t>(-d) : static_cast<std::uint64_t>(d);
}

/// |got - want| / |want|, or |got| when want is 0.
inline double RelativeError(double got, double want) {
  if (got == want) return 0;
  return want == 0 ? std::fabs(got) : std::fabs((got - want) / want);
}

/// Tolerance for the gamma family and Bessel functions: relative 1e-15.
inline constexpr double kSpecialRelTol = 1e-15;

/// Reads tests/data/<file>: "name number..." lines, the numbers grouped by name; '#' starts a comment.
inline std::map<std::string, std::vector<std::vector<double>>> ReadReference(const std::string& file) {
  std::map<std::string, std::vector<std::vector<double>>> rows;
  std::ifstream in(std::string(QUOREL_TEST_DATA_DIR) + "/" + file);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ls(line);
    std::string name, tok;
    ls >> name;
    auto& row = rows[name].emplace_back();
    while (ls >> tok) row.push_back(std::strtod(tok.c_str(), nullptr));
  }
  return rows;
}

}  // namespace quorel::test
