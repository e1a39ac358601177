#include "quorel/platform/kernels/sliding.h"

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

// The sum written out: terms in increasing j, each product rounded before it is added; complex
// products formed part by part as the scalar complex product forms them.
template <class T>
std::vector<T> Reference(TSlide slide, const std::vector<T>& c, const std::vector<T>& s, ptrdiff_t base,
                         std::vector<T> y) {
  const auto nc = static_cast<ptrdiff_t>(c.size()), ns = static_cast<ptrdiff_t>(s.size());
  const auto count = static_cast<ptrdiff_t>(y.size());
  for (ptrdiff_t o = 0; o < count; ++o)
    for (ptrdiff_t j = 0; j < nc; ++j) {
      const ptrdiff_t p = slide == TSlide::Convolution ? base + o - j : base + o + j;
      if (p < 0 || p >= ns) continue;
      if constexpr (std::is_same_v<T, C>) {
        const C k = slide == TSlide::Convolution ? c[j] : C{c[j].Re, -c[j].Im};
        y[o].Re += s[p].Re * k.Re - s[p].Im * k.Im;
        y[o].Im += s[p].Re * k.Im + s[p].Im * k.Re;
      } else {
        y[o] += c[j] * s[p];
      }
    }
  return y;
}

// Every code path gives the bits of the written-out sum, started from zero or from y: for outputs
// that lie wholly inside, partly outside (the first and last blocks, with only some lanes reading
// s) or wholly outside s, for blocks cut short by count, and with infinities among the values,
// which a term taken in where it should be left out (a zero-padded read) turns into NaN. c and s
// are exactly as long as stated, so a read past either end shows under the address sanitizer.
template <class T>
void CheckSlidingSums() {
  Values values(7);
  ForEachIsa([&](const std::string& isa) {
    for (TSlide slide : {TSlide::Convolution, TSlide::Correlation}) {
      for (ptrdiff_t nc : {1, 2, 5, 31, 33, 100}) {
        for (ptrdiff_t ns : {1, 3, 32, 33, 70, 257}) {
          std::vector<T> c(nc), s(ns);
          values.Fill(c.data(), nc);
          values.Fill(s.data(), ns);
          for (ptrdiff_t base : {-nc - 40, -nc, ptrdiff_t{-5}, ptrdiff_t{0}, ptrdiff_t{3}, ns - 1, ns + 5}) {
            for (ptrdiff_t count : {0, 1, 7, 32, 33, 100, 300}) {
              for (bool add : {false, true}) {
                Guarded<T> y(count, 1);
                std::vector<T> start(count, T{});
                if (add) values.Fill(start.data(), count);
                std::copy(start.begin(), start.end(), y.data());
                SlidingSums(slide, c.data(), nc, s.data(), ns, base, y.data(), count, add);
                const std::vector<T> want = Reference(slide, c, s, base, start);
                for (ptrdiff_t o = 0; o < count; ++o)
                  ASSERT_TRUE(Same(y[o], want[o]))
                      << isa << (slide == TSlide::Convolution ? " convolution" : " correlation") << " nc=" << nc
                      << " ns=" << ns << " base=" << base << " count=" << count << " add=" << add << " o=" << o << ": "
                      << Show(y[o]) << " against " << Show(want[o]);
                ASSERT_TRUE(y.GuardsIntact()) << isa << " wrote outside count=" << count;
              }
            }
          }
        }
      }
    }
  });
}

TEST(SlidingSums, RealEqualsTheWrittenOutSumOnEveryPath) { CheckSlidingSums<D>(); }
TEST(SlidingSums, ComplexEqualsTheWrittenOutSumOnEveryPath) { CheckSlidingSums<C>(); }

}  // namespace
}  // namespace quorel::kern::test
