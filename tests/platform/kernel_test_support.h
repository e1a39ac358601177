#pragma once
// Shared helpers of the kernel tests: guarded buffers, random data with special values, the
// ulp and relative-error measures, the shape sweep and the reference-file reader.

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/types.h"

namespace quorel::kern::test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kEps = std::numeric_limits<double>::epsilon();

/// Lengths around the vector widths (2, 4 and 8 lanes) and the reduction block (256).
inline constexpr std::ptrdiff_t kLengths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 100, 257, 1031};
/// Start offsets in elements: 32-byte aligned buffers start at 0; 1 and 3 are unaligned.
inline constexpr int kOffsets[] = {0, 1, 3};

/// |got - exact| in units of the last place of the double format at exact. An infinity counts
/// as 2^1024, one ulp above the largest double.
inline double UlpError(double got, long double exact) {
  if (std::isnan(exact) || std::isnan(got)) return std::isnan(exact) && std::isnan(got) ? 0.0 : kInf;
  const long double top = 0x1p1024L;
  const long double g = std::isinf(got) ? std::copysign(top, static_cast<long double>(got)) : got;
  const long double e = std::isinf(exact) ? std::copysign(top, exact) : exact;
  int k = 0;
  std::frexp(e, &k);
  const long double ulp = e == 0.0L ? 0x1p-1074L : std::ldexp(1.0L, std::max(std::min(k, 1024) - 53, -1074));
  return static_cast<double>(std::fabs(g - e) / ulp);
}

/// |got - exact| / |exact| for complex values (normwise).
inline double RelError(TCplx got, long double re, long double im) {
  const long double dr = got.Re - re, di = got.Im - im;
  return static_cast<double>(std::sqrt((dr * dr + di * di) / (re * re + im * im)));
}

/// Both NaN, or the same bits (so -0 differs from +0).
inline bool Same(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
inline bool Same(TCplx a, TCplx b) { return Same(a.Re, b.Re) && Same(a.Im, b.Im); }

inline std::string Show(double v) {
  std::ostringstream s;
  s.precision(17);
  s << v;
  return s.str();
}
inline std::string Show(TCplx v) { return "(" + Show(v.Re) + ", " + Show(v.Im) + ")"; }

/// n elements at a chosen offset from a 32-byte boundary, with guard elements on both sides
/// that a kernel must not touch.
template <class T>
class Guarded {
 public:
  static constexpr int kGuard = 8;

  Guarded(std::ptrdiff_t n, int offset) : n_(n), offset_(offset), store_(Words(n, offset)) {
    for (std::size_t i = 0; i < store_.size(); ++i) store_[i] = static_cast<double>(0x5a5a5a5 + i);
  }
  T* data() { return reinterpret_cast<T*>(Base()) + kGuard + offset_; }
  T& operator[](std::ptrdiff_t i) { return data()[i]; }
  std::ptrdiff_t size() const { return n_; }
  /// True when nothing outside [0, n) changed.
  bool GuardsIntact() {
    const double* d = Base();
    const std::size_t begin = (kGuard + offset_) * sizeof(T);
    const std::size_t first = begin / sizeof(double);
    const std::size_t last = (begin + n_ * sizeof(T) + sizeof(double) - 1) / sizeof(double);
    for (std::size_t i = 0; i < first; ++i)
      if (d[i] != static_cast<double>(0x5a5a5a5 + i + Skew())) return false;
    for (std::size_t i = last; i < Capacity(); ++i)
      if (d[i] != static_cast<double>(0x5a5a5a5 + i + Skew())) return false;
    return true;
  }

 private:
  static std::size_t Words(std::ptrdiff_t n, int offset) {
    return (2 * kGuard + offset + n) * sizeof(T) / sizeof(double) + sizeof(T) + 4;
  }
  std::size_t Skew() const { return static_cast<std::size_t>(Base() - store_.data()); }
  std::size_t Capacity() const { return store_.size() - Skew(); }
  double* Base() {
    auto p = reinterpret_cast<std::uintptr_t>(store_.data());
    return store_.data() + ((32 - p % 32) % 32) / sizeof(double);
  }
  const double* Base() const { return const_cast<Guarded*>(this)->Base(); }

  std::ptrdiff_t n_;
  int offset_;
  std::vector<double> store_;
};

/// Random values in [-10, 10] with about one in eight a special value.
class Values {
 public:
  explicit Values(std::uint64_t seed) : gen_(seed) {}
  double Real() {
    static constexpr double kSpecial[] = {0.0, -0.0, kInf, -kInf, kNaN, 1.0, -1e300, 3e-310};
    if (std::uniform_int_distribution<int>(0, 7)(gen_) == 0)
      return kSpecial[std::uniform_int_distribution<int>(0, 7)(gen_)];
    return Plain();
  }
  double Plain() { return std::uniform_real_distribution<double>(-10.0, 10.0)(gen_); }
  TCplx Cplx() { return {Real(), Real()}; }
  void Fill(double* p, std::ptrdiff_t n) { for (std::ptrdiff_t i = 0; i < n; ++i) p[i] = Real(); }
  void Fill(TCplx* p, std::ptrdiff_t n) { for (std::ptrdiff_t i = 0; i < n; ++i) p[i] = Cplx(); }
  std::mt19937_64& gen() { return gen_; }

 private:
  std::mt19937_64 gen_;
};

/// Runs kernel(x, r, n) over every length and offset and compares each element with ref(x[i]);
/// then the in-place form when input and output have the same type. Also checks that nothing
/// outside the output range is written.
template <class X, class R, class K, class Ref>
void CheckUnary(const char* name, K kernel, Ref ref) {
  Values values(std::hash<std::string>{}(name));
  for (std::ptrdiff_t n : kLengths) {
    for (int off : kOffsets) {
      Guarded<X> x(n, off);
      Guarded<R> r(n, (off + 1) % 4);
      values.Fill(x.data(), n);
      kernel(x.data(), r.data(), n);
      for (std::ptrdiff_t i = 0; i < n; ++i)
        ASSERT_TRUE(Same(r[i], ref(x[i]))) << name << " n=" << n << " i=" << i << " x=" << Show(x[i])
                                           << " got " << Show(r[i]) << " want " << Show(ref(x[i]));
      ASSERT_TRUE(r.GuardsIntact()) << name << " wrote outside n=" << n;
      if constexpr (std::is_same_v<X, R>) {
        Guarded<X> y(n, off);
        for (std::ptrdiff_t i = 0; i < n; ++i) y[i] = x[i];
        kernel(y.data(), y.data(), n);
        for (std::ptrdiff_t i = 0; i < n; ++i)
          ASSERT_TRUE(Same(y[i], ref(x[i]))) << name << " in place n=" << n << " i=" << i;
        ASSERT_TRUE(y.GuardsIntact()) << name << " in place wrote outside n=" << n;
      }
    }
  }
}

/// The same for kernel(a, b, r, n) against ref(a[i], b[i]), with both in-place forms.
template <class A, class B, class R, class K, class Ref>
void CheckBinary(const char* name, K kernel, Ref ref) {
  Values values(std::hash<std::string>{}(name));
  for (std::ptrdiff_t n : kLengths) {
    for (int off : kOffsets) {
      Guarded<A> a(n, off);
      Guarded<B> b(n, (off + 3) % 4);
      Guarded<R> r(n, (off + 1) % 4);
      values.Fill(a.data(), n);
      values.Fill(b.data(), n);
      kernel(a.data(), b.data(), r.data(), n);
      for (std::ptrdiff_t i = 0; i < n; ++i)
        ASSERT_TRUE(Same(r[i], ref(a[i], b[i])))
            << name << " n=" << n << " i=" << i << " a=" << Show(a[i]) << " b=" << Show(b[i])
            << " got " << Show(r[i]) << " want " << Show(ref(a[i], b[i]));
      ASSERT_TRUE(r.GuardsIntact()) << name << " wrote outside n=" << n;
      if constexpr (std::is_same_v<A, R>) {
        Guarded<A> y(n, off);
        for (std::ptrdiff_t i = 0; i < n; ++i) y[i] = a[i];
        kernel(y.data(), b.data(), y.data(), n);
        for (std::ptrdiff_t i = 0; i < n; ++i)
          ASSERT_TRUE(Same(y[i], ref(a[i], b[i]))) << name << " r == a, n=" << n << " i=" << i;
      }
      if constexpr (std::is_same_v<B, R>) {
        Guarded<B> y(n, off);
        for (std::ptrdiff_t i = 0; i < n; ++i) y[i] = b[i];
        kernel(a.data(), y.data(), y.data(), n);
        for (std::ptrdiff_t i = 0; i < n; ++i)
          ASSERT_TRUE(Same(y[i], ref(a[i], b[i]))) << name << " r == b, n=" << n << " i=" << i;
      }
    }
  }
}

/// Rows of a reference file of tests/data: whitespace-separated numbers, '#' lines skipped.
/// Every number is read as long double (inputs are exact doubles either way).
inline std::vector<std::vector<long double>> ReadReference(const std::string& name) {
  std::ifstream in(std::string(QUOREL_TEST_DATA_DIR) + "/kernels_" + name + ".txt");
  EXPECT_TRUE(in.good()) << "missing reference file for " << name;
  std::vector<std::vector<long double>> rows;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::vector<long double> row;
    std::string f;
    while (fields >> f) row.push_back(std::strtold(f.c_str(), nullptr));
    rows.push_back(row);
  }
  return rows;
}

}  // namespace quorel::kern::test
