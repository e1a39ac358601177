#pragma once
// Shared helpers of the kernel tests: guarded buffers, random data with special values and the
// sweep over lengths, offsets and in-place use.

#include <bit>
#include <concepts>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/types.h"
#include "quorel/platform/kernels/math.h"
#include "support/accuracy.h"

namespace quorel::kern::test {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();
using quorel::test::kEps;

/// Lengths around the vector widths (2, 4 and 8 lanes) and the reduction block (256).
inline constexpr ptrdiff_t kLengths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 100, 257, 1031};

/// Both NaN, or the same bits (so -0 differs from +0).
inline bool Same(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
inline bool Same(C a, C b) { return Same(a.Re, b.Re) && Same(a.Im, b.Im); }
inline bool Same(float a, float b) { return Same(double{a}, double{b}); }
template <std::integral T>
bool Same(T a, T b) { return a == b; }

inline std::string Show(double v) {
  char s[32];
  std::snprintf(s, sizeof s, "%.17g", v);
  return s;
}
inline std::string Show(C v) { return "(" + Show(v.Re) + ", " + Show(v.Im) + ")"; }

/// n elements `offset` elements past the start of their storage, between guard bytes that a
/// kernel must not touch.
template <class T>
class Guarded {
 public:
  Guarded(ptrdiff_t n, int offset) : begin_(kGuard + offset), end_(begin_ + n), store_(end_ + kGuard) {
    std::memset(static_cast<void*>(store_.data()), kFill, store_.size() * sizeof(T));
  }
  T* data() { return store_.data() + begin_; }
  T& operator[](ptrdiff_t i) { return data()[i]; }
  /// True when nothing outside [0, n) changed.
  bool GuardsIntact() const {
    const auto* bytes = reinterpret_cast<const unsigned char*>(store_.data());
    for (std::size_t i = 0; i < store_.size() * sizeof(T); ++i)
      if ((i < begin_ * sizeof(T) || i >= end_ * sizeof(T)) && bytes[i] != kFill) return false;
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 8;
  static constexpr unsigned char kFill = 0xA5;
  std::size_t begin_, end_;
  std::vector<T> store_;
};

/// Runs body(name) once per code path this processor has, with that path forced.
template <class F>
void ForEachIsa(F body) {
  const TKernelIsa saved = KernelIsa();
  const std::pair<TKernelIsa, const char*> paths[] = {
      {TKernelIsa::Sse2, " sse2"}, {TKernelIsa::Avx2Fma, " avx2"}, {TKernelIsa::Avx512, " avx512"}};
  for (const auto& [isa, name] : paths) {
    if (!SetKernelIsa(isa)) continue;
    ASSERT_EQ(KernelIsa(), isa);
    body(std::string(name));
  }
  SetKernelIsa(saved);
}

/// Random values in [-10, 10] with about one in eight a special value.
class Values {
 public:
  explicit Values(std::uint64_t seed) : gen_(seed) {}
  double Real() {
    static constexpr double kSpecial[] = {0.0, -0.0, kInf, -kInf, kNaN, 1.0, -1e300, 3e-310};
    std::uniform_int_distribution<int> pick(0, 7);
    if (pick(gen_) == 0) return kSpecial[pick(gen_)];
    return Plain();
  }
  double Plain() { return std::uniform_real_distribution<double>(-10.0, 10.0)(gen_); }
  /// Complex values from two reals, integers from random bits, floating values from Real().
  template <class T>
  void Fill(T* p, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
      if constexpr (std::is_same_v<T, C>) p[i] = {Real(), Real()};
      else if constexpr (std::is_integral_v<T>) p[i] = static_cast<T>(gen_());
      else p[i] = static_cast<T>(Real());
    }
  }
  /// n values without special ones.
  std::vector<D> Reals(ptrdiff_t n) { std::vector<D> v(n); for (D& e : v) e = Plain(); return v; }
  std::vector<C> Cplxs(ptrdiff_t n) { std::vector<C> v(n); for (C& e : v) e = {Plain(), Plain()}; return v; }
  std::mt19937_64& gen() { return gen_; }

 private:
  std::mt19937_64 gen_;
};

/// Runs kernel(a, b, r, n) over every length and start offset and compares each element with
/// ref(a[i], b[i]), checking that nothing outside r is written; then in place (r == a, r == b)
/// where the types allow, unless InPlace is false.
template <class A, class B, class R, bool InPlace = true, class K, class Ref>
void CheckBinary(const char* name, K kernel, Ref ref) {
  Values values(std::hash<std::string>{}(name));
  for (ptrdiff_t n : kLengths) {
    for (int off : {0, 1, 3}) {
      Guarded<A> a(n, off);
      Guarded<B> b(n, (off + 3) % 4);
      Guarded<R> r(n, (off + 1) % 4);
      values.Fill(a.data(), n);
      values.Fill(b.data(), n);
      const auto expect = [&](R* got, const char* form) {
        for (ptrdiff_t i = 0; i < n; ++i)
          ASSERT_TRUE(Same(got[i], ref(a[i], b[i]))) << name << form << " n=" << n << " i=" << i << " a=" << Show(a[i])
                                                     << " b=" << Show(b[i]) << " got " << Show(got[i]);
      };
      kernel(a.data(), b.data(), r.data(), n);
      expect(r.data(), "");
      ASSERT_TRUE(r.GuardsIntact()) << name << " wrote outside n=" << n;
      if constexpr (InPlace && std::is_same_v<A, R>) {
        std::vector<R> y(a.data(), a.data() + n);
        kernel(y.data(), b.data(), y.data(), n);
        expect(y.data(), " r == a");
      }
      if constexpr (InPlace && std::is_same_v<B, R>) {
        std::vector<R> y(b.data(), b.data() + n);
        kernel(a.data(), y.data(), y.data(), n);
        expect(y.data(), " r == b");
      }
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

/// The same for kernel(x, r, n) against ref(x[i]) (the second operand goes unused).
template <class X, class R, class K, class Ref>
void CheckUnary(const char* name, K kernel, Ref ref) {
  CheckBinary<X, X, R>(name, [kernel](const X* x, const X*, R* r, ptrdiff_t n) { kernel(x, r, n); },
                       [ref](X x, X) { return ref(x); });
}

/// A kernel overload chosen by its operand types.
template <class X, class R>
auto Pick(void (*k)(const X*, R*, ptrdiff_t)) { return k; }
template <class A, class B, class R>
auto Pick(void (*k)(const A*, const B*, R*, ptrdiff_t)) { return k; }

/// kernel(x, v, r, n) with v bound, as a kernel of one array.
template <class X, class V, class R>
auto WithValue(void (*k)(const X*, V, R*, ptrdiff_t), V v) {
  return [k, v](const X* x, R* r, ptrdiff_t n) { k(x, v, r, n); };
}

}  // namespace quorel::kern::test
