// Arithmetic and widening on arrays past the caches, where results are stored around them: every
// element, at every start offset of the destination within a cache line, in place too.
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

}  // namespace
}  // namespace quorel::kern::test
