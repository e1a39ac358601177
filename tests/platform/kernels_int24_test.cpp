// 24-bit samples: rounding, saturation and the byte layout across the encoder's chunks, with
// nothing written past the end.
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "kernel_test_support.h"
#include "quorel/platform/kernels/int24.h"

namespace quorel::kern::test {
namespace {

std::int32_t Ref24(double x, TRounding rounding) {
  if (std::isnan(x)) return 0;
  const double t = std::fmin(std::fmax(x, -8388607.0), 8388607.0);
  return static_cast<std::int32_t>(rounding == rnRound ? std::nearbyint(t) : std::trunc(t));
}

TEST(KernelsInt24, EncodesThreeLittleEndianBytesPerValueAndStopsAtTheEnd) {
  std::mt19937_64 rng(24);
  std::uniform_real_distribution<double> u(-9e6, 9e6);
  for (ptrdiff_t n : {ptrdiff_t{1}, ptrdiff_t{2}, ptrdiff_t{255}, ptrdiff_t{256}, ptrdiff_t{257}, ptrdiff_t{512}, ptrdiff_t{1031}}) {
    std::vector<double> x(n);
    for (ptrdiff_t i = 0; i < n; ++i) x[i] = i % 5 == 0 ? std::round(u(rng)) + 0.5 : u(rng);
    x[0] = n > 1 ? kNaN : -2.5;
    ForEachIsa([&](const std::string& isa) {
      for (TRounding rounding : {rnRound, rnTrunc}) {
        std::vector<std::uint8_t> bytes(3 * n + 4, 0xA5);
        FloatTo24Bit(x.data(), bytes.data(), n, rounding);
        for (ptrdiff_t i = 0; i < n; ++i) {
          const auto want = static_cast<std::uint32_t>(Ref24(x[i], rounding)) & 0xFFFFFF;
          const std::uint32_t got = bytes[3 * i] | (bytes[3 * i + 1] << 8) | (std::uint32_t{bytes[3 * i + 2]} << 16);
          ASSERT_EQ(got, want) << "n " << n << " i " << i << " x " << x[i] << isa;
        }
        for (ptrdiff_t k = 3 * n; k < 3 * n + 4; ++k) ASSERT_EQ(bytes[k], 0xA5) << "written past the end, n " << n << isa;
        for (TStores stores : {TStores::Auto, TStores::Around}) {
          std::vector<double> back(n + 1, 7.0);
          Bit24ToFloat(bytes.data(), back.data() + 1, n, stores);
          FinishStores();
          for (ptrdiff_t i = 0; i < n; ++i) ASSERT_EQ(back[i + 1], Ref24(x[i], rounding)) << i << isa;
          ASSERT_EQ(back[0], 7.0);
        }
      }
    });
  }
}

}  // namespace
}  // namespace quorel::kern::test
