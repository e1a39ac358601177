// Arithmetic and widening on arrays past the caches, where results are stored around them: every
// element, at every start offset of the destination within a cache line, in place too.
#include <algorithm>
#include <vector>

#include "kernel_test_support.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::test {
namespace {

// run(r) fills r[0, n) for each destination offset; every element must equal want(i) and the
// element one past the end must stay.
template <class R, class Run, class Want>
void AtEveryOffset(ptrdiff_t n, std::initializer_list<ptrdiff_t> offsets, Run run, Want want) {
  std::vector<R> out(n + 8);
  for (ptrdiff_t offset : offsets) {
    R* r = out.data() + offset;
    out[offset + n] = R{12345};
    run(r);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(r[i], want(i))) << "offset " << offset << " at " << i;
    ASSERT_TRUE(Same(out[offset + n], R{12345})) << "offset " << offset;
  }
}

TEST(KernelsLongArith, EveryElementAtEveryDestinationOffset) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 20) + 13;
  std::vector<D> a(n), b(n);
  std::mt19937_64 rng(5);
  std::uniform_real_distribution<D> u(-4, 4);
  for (ptrdiff_t i = 0; i < n; ++i) a[i] = u(rng), b[i] = u(rng);
  b[7] = 0.0;  // a quotient by zero
  const struct {
    void (*kernel)(const D*, const D*, D*, ptrdiff_t);
    D (*want)(D, D);
  } ops[] = {{Add, [](D x, D y) { return x + y; }},
             {Sub, [](D x, D y) { return x - y; }},
             {Mul, [](D x, D y) { return x * y; }},
             {Div, [](D x, D y) { return x / y; }}};
  for (const auto& op : ops) {
    const auto want = [&](ptrdiff_t i) { return op.want(a[i], b[i]); };
    AtEveryOffset<D>(n, {0, 1, 3, 7}, [&](D* r) { op.kernel(a.data(), b.data(), r, n); }, want);
    std::vector<D> inPlace = a;
    op.kernel(inPlace.data(), b.data(), inPlace.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(inPlace[i], want(i))) << "in place at " << i;
  }
}

// Complex products and widening past the caches stream their stores too.
TEST(KernelsLongArith, ComplexProductsAndWideningAtEveryDestinationOffset) {
  constexpr ptrdiff_t n = (ptrdiff_t{1} << 19) + 5;
  std::vector<C> a(n), b(n);
  std::mt19937_64 rng(6);
  std::uniform_real_distribution<D> u(-4, 4);
  for (ptrdiff_t i = 0; i < n; ++i) a[i] = {u(rng), u(rng)}, b[i] = {u(rng), u(rng)};
  AtEveryOffset<C>(n, {0, 1, 3}, [&](C* r) { Mul(a.data(), b.data(), r, n); }, [&](ptrdiff_t i) {
    return C{a[i].Re * b[i].Re - a[i].Im * b[i].Im, a[i].Re * b[i].Im + a[i].Im * b[i].Re};
  });
  constexpr ptrdiff_t m = (ptrdiff_t{1} << 20) + 5;
  std::vector<std::int16_t> x(m);
  for (ptrdiff_t i = 0; i < m; ++i) x[i] = static_cast<std::int16_t>(i * 7919);
  AtEveryOffset<D>(m, {0, 1, 5}, [&](D* r) { Convert(x.data(), r, m); }, [&](ptrdiff_t i) { return D(x[i]); });
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
