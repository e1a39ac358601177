// Arithmetic and widening on arrays past the caches, where results are stored around them: every
// element, at every start offset of the destination within a cache line, in place too.
#include <algorithm>
#include <vector>

#include "kernel_test_support.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::test {
namespace {

TEST(KernelsLongArith, EveryElementAtEveryDestinationOffset) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 20) + 13;
  std::vector<D> a(n), b(n);
  std::mt19937_64 rng(5);
  std::uniform_real_distribution<D> u(-4, 4);
  for (ptrdiff_t i = 0; i < n; ++i) a[i] = u(rng), b[i] = u(rng);
  b[7] = 0.0;  // a quotient by zero
  std::vector<D> out(n + 8);
  const struct {
    void (*kernel)(const D*, const D*, D*, ptrdiff_t);
    D (*want)(D, D);
  } ops[] = {{Add, [](D x, D y) { return x + y; }},
             {Sub, [](D x, D y) { return x - y; }},
             {Mul, [](D x, D y) { return x * y; }},
             {Div, [](D x, D y) { return x / y; }}};
  for (const auto& op : ops) {
    for (ptrdiff_t offset : {0, 1, 3, 7}) {
      D* r = out.data() + offset;
      out[offset + n] = 12345;  // one past the end stays
      op.kernel(a.data(), b.data(), r, n);
      for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(r[i], op.want(a[i], b[i]))) << "offset " << offset << " at " << i;
      ASSERT_EQ(out[offset + n], 12345);
    }
    std::vector<D> inPlace = a;
    op.kernel(inPlace.data(), b.data(), inPlace.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(inPlace[i], op.want(a[i], b[i]))) << "in place at " << i;
  }
}

// Complex products past the caches take the streaming path too.
TEST(KernelsLongArith, ComplexProductsAtEveryDestinationOffset) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 19) + 5;
  std::vector<C> a(n), b(n), out(n + 4);
  std::mt19937_64 rng(6);
  std::uniform_real_distribution<D> u(-4, 4);
  for (ptrdiff_t i = 0; i < n; ++i) a[i] = {u(rng), u(rng)}, b[i] = {u(rng), u(rng)};
  for (ptrdiff_t offset : {0, 1, 3}) {
    C* r = out.data() + offset;
    out[offset + n] = {12345, 0};
    Mul(a.data(), b.data(), r, n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      const C want{a[i].Re * b[i].Re - a[i].Im * b[i].Im, a[i].Re * b[i].Im + a[i].Im * b[i].Re};
      ASSERT_TRUE(Same(r[i], want)) << "offset " << offset << " at " << i;
    }
    ASSERT_EQ(out[offset + n].Re, 12345);
  }
}

// Widening past the caches streams its stores as well.
TEST(KernelsLongArith, WideningAtEveryDestinationOffset) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 20) + 5;
  std::vector<std::int16_t> x(n);
  for (ptrdiff_t i = 0; i < n; ++i) x[i] = static_cast<std::int16_t>(i * 7919);
  std::vector<D> out(n + 8);
  for (ptrdiff_t offset : {0, 1, 5}) {
    out[offset + n] = 12345;
    Convert(x.data(), out.data() + offset, n);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_EQ(out[offset + i], x[i]) << "offset " << offset << " at " << i;
    ASSERT_EQ(out[offset + n], 12345);
  }
}

// Narrowing past the caches (streamed) gives what the same conversion gives in short pieces.
TEST(KernelsLongArith, NarrowingMatchesShortPieces) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 22) + 37;
  std::vector<D> x(n);
  std::mt19937_64 rng(8);
  std::uniform_real_distribution<D> u(-40000, 40000);
  for (D& v : x) v = u(rng);
  x[3] = kNaN;
  std::vector<std::int16_t> got(n + 1), want(n);
  std::vector<float> gotF(n), wantF(n);
  for (ptrdiff_t offset : {0, 1}) {
    const ptrdiff_t outside = offset ? 0 : n;
    got[outside] = 123;
    Convert(x.data(), got.data() + offset, n, rnRound);
    ASSERT_EQ(got[outside], 123);
    for (ptrdiff_t i = 0; i < n; i += 1000) Convert(x.data() + i, want.data() + i, std::min<ptrdiff_t>(1000, n - i), rnRound);
    ASSERT_TRUE(std::equal(want.begin(), want.end(), got.begin() + offset)) << "offset " << offset;
  }
  ConvertViaSingle(x.data(), got.data(), n, rnTrunc);
  for (ptrdiff_t i = 0; i < n; i += 1000) ConvertViaSingle(x.data() + i, want.data() + i, std::min<ptrdiff_t>(1000, n - i), rnTrunc);
  ASSERT_TRUE(std::equal(want.begin(), want.end(), got.begin()));
  Convert(x.data(), gotF.data(), n);
  for (ptrdiff_t i = 0; i < n; i += 1000) Convert(x.data() + i, wantF.data() + i, std::min<ptrdiff_t>(1000, n - i));
  for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(gotF[i], wantF[i])) << i;
}

}  // namespace
}  // namespace quorel::kern::test
