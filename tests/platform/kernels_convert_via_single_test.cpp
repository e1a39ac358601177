// The one-pass conversion to narrow integers through single precision against its three steps
// (to single, back to double, to the integer), on every length and on special values.
#include <xmmintrin.h>

#include <cfenv>
#include <vector>

#include "kernel_test_support.h"
#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::test {
namespace {

template <class I>
void ExpectSameAsThreeSteps(const std::vector<D>& x) {
  for (TRounding rounding : {rnRound, rnTrunc}) {
    for (ptrdiff_t n : kLengths) {
      if (n > std::ssize(x)) continue;
      std::vector<float> single(n);
      std::vector<D> back(n);
      std::vector<I> want(n + 1, I{7}), got(n + 1, I{7});
      Convert(x.data(), single.data(), n);
      Convert(single.data(), back.data(), n);
      Convert(back.data(), want.data(), n, rounding);
      ConvertViaSingle(x.data(), got.data(), n, rounding);
      ASSERT_EQ(got, want) << "n " << n << " rounding " << rounding;
    }
  }
}

TEST(KernelsConvertViaSingle, MatchesTheThreeSteps) {
  std::vector<D> x = {2.5000001, -2.5, 3.5, 0.5, -0.5, 127.5, 128.0, -129.0, 255.5, 32767.5, -32768.6,
                      65535.4, 1e300, -1e300, kInf, -kInf, kNaN, 4e38, -0.0, 1e-300};
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<D> u(-70000, 70000);
  while (x.size() < 1100) x.push_back(x.size() % 3 == 0 ? std::round(u(rng)) + 0.5 : u(rng));
  ExpectSameAsThreeSteps<std::int16_t>(x);
  ExpectSameAsThreeSteps<std::uint16_t>(x);
  ExpectSameAsThreeSteps<std::int8_t>(x);
  ExpectSameAsThreeSteps<std::uint8_t>(x);
}

TEST(KernelsConvertViaSingle, RoundsToNearestEvenInAnyModeAndLeavesTheModeAlone) {
  // 2.5000001 lies between two singles: upward it would be stored as the one above 2.5.
  const D x[] = {2.5, 3.5, -2.5, 2.5000001, 0.5, 65534.5};
  const std::int16_t want[] = {2, 4, -2, 2, 0, 32767};
  std::int16_t got[6];
  const int mode = std::fegetround();
  std::fesetround(FE_UPWARD);
  const unsigned csr = _mm_getcsr();
  ConvertViaSingle(x, got, 6, rnRound);
  const unsigned after = _mm_getcsr();
  std::fesetround(mode);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(got[i], want[i]) << x[i];
  EXPECT_EQ(after, csr);
}

}  // namespace
}  // namespace quorel::kern::test
