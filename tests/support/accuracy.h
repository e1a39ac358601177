#pragma once
// Distances between computed and reference values, and the readers of the reference files in
// tests/data; see support/support.h.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "quorel/core/types.h"

namespace quorel::test {

inline constexpr double kEps = std::numeric_limits<double>::epsilon();

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

/// |got - exact| in units of the last place of the double format at exact. An infinity counts
/// as 2^1024, one ulp above the largest double.
inline double UlpError(double got, long double exact) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  if (std::isnan(exact) || std::isnan(got)) return std::isnan(exact) && std::isnan(got) ? 0.0 : kInf;
  const long double top = 0x1p1024L;
  const long double g = std::isinf(got) ? std::copysign(top, static_cast<long double>(got)) : got;
  const long double e = std::isinf(exact) ? std::copysign(top, exact) : exact;
  int k = 0;
  std::frexp(e, &k);
  const long double ulp = e == 0.0L ? 0x1p-1074L : std::ldexp(1.0L, std::max(std::min(k, 1024) - 53, -1074));
  return static_cast<double>(std::fabs(g - e) / ulp);
}

/// |got - want| / |want|, or |got| when want is 0.
inline double RelativeError(double got, double want) {
  if (got == want) return 0;
  return want == 0 ? std::fabs(got) : std::fabs((got - want) / want);
}

/// |got - want| / |want| on the complex plane.
inline double ComplexRelError(TCplx got, double wantRe, double wantIm) {
  const double d = std::hypot(got.Re - wantRe, got.Im - wantIm);
  const double w = std::hypot(wantRe, wantIm);
  return w == 0 ? d : d / w;
}

/// The numeric rows of tests/data/<file>, each number read as T; '#' lines are skipped. An
/// unreadable file gives no rows.
template <class T = double>
std::vector<std::vector<T>> ReadRows(const std::string& file) {
  std::vector<std::vector<T>> rows;
  std::ifstream in(std::string(QUOREL_TEST_DATA_DIR) + "/" + file);
  std::string line, tok;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ls(line);
    auto& row = rows.emplace_back();
    while (ls >> tok) {
      // Each number rounded once, straight to T.
      if constexpr (std::is_same_v<T, double>) row.push_back(std::strtod(tok.c_str(), nullptr));
      else row.push_back(static_cast<T>(std::strtold(tok.c_str(), nullptr)));
    }
  }
  return rows;
}

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
