// G.711 companding against the standard's segment tables: codes at and around every segment
// boundary, reconstruction levels, and the coder's consistency over all codes.
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/platform/kernels/g711.h"
#include "platform/kernel_test_support.h"

namespace quorel::kern {
namespace {

using test::ForEachIsa;
using test::kInf;
using test::kNaN;

// (16-bit sample, code). Mu-law segments end at 31, 95, 223, 479, 991, 2015, 4063, 8159 in
// 14-bit units (x 4 here); A-law segments at 32, 64, ..., 4096 in 13-bit units (x 8 here).
constexpr std::pair<int, int> kMuLawCodes[] = {
    {0, 0xFF}, {3, 0xFF}, {4, 0xFE}, {123, 0xF0}, {124, 0xEF}, {379, 0xE0}, {380, 0xDF}, {891, 0xD0},
    {892, 0xCF}, {1915, 0xC0}, {1916, 0xBF}, {3963, 0xB0}, {3964, 0xAF}, {8059, 0xA0}, {8060, 0x9F},
    {16251, 0x90}, {16252, 0x8F}, {32635, 0x80}, {32767, 0x80}, {-1, 0x7E}, {-4, 0x7E}, {-124, 0x6F},
    {-129, 0x6F}, {-380, 0x5F}, {-16252, 0x0F}, {-32636, 0x00}, {-32768, 0x00}, {1000, 0xCE}, {12345, 0x97}};
constexpr std::pair<int, int> kALawCodes[] = {
    {0, 0xD5}, {15, 0xD5}, {16, 0xD4}, {255, 0xDA}, {256, 0xC5}, {511, 0xCA}, {512, 0xF5}, {1023, 0xFA},
    {1024, 0xE5}, {2047, 0xEA}, {2048, 0x95}, {4095, 0x9A}, {4096, 0x85}, {8191, 0x8A}, {8192, 0xB5},
    {16383, 0xBA}, {16384, 0xA5}, {32767, 0xAA}, {-1, 0x55}, {-9, 0x55}, {-256, 0x5A}, {-257, 0x45},
    {-512, 0x4A}, {-513, 0x75}, {-16384, 0x3A}, {-16385, 0x25}, {-32768, 0x2A}, {-1000, 0x7A}, {12345, 0xBD}};
// (code, reconstruction level).
constexpr std::pair<int, int> kMuLawLevels[] = {
    {0x00, -32124}, {0x01, -31100}, {0x0F, -16764}, {0x10, -15996}, {0x1F, -8316}, {0x20, -7932},
    {0x3F, -1980},  {0x40, -1884},  {0x5F, -396},   {0x60, -372},   {0x6F, -132},  {0x70, -120},
    {0x7E, -8},     {0x7F, 0},      {0x80, 32124},  {0x8F, 16764},  {0xCF, 924},   {0xDF, 396},
    {0xEF, 132},    {0xF0, 120},    {0xFE, 8},      {0xFF, 0}};
constexpr std::pair<int, int> kALawLevels[] = {
    {0x00, -5504}, {0x2A, -32256}, {0x55, -8},   {0x54, -24},   {0x45, -264},  {0x65, -1056},
    {0x75, -528},  {0x05, -4224},  {0x35, -8448}, {0xD5, 8},    {0xD4, 24},    {0xC5, 264},
    {0xE5, 1056},  {0xF5, 528},    {0x85, 4224}, {0xB5, 8448},  {0xAA, 32256}, {0x80, 5504},
    {0xFF, 848},   {0x7F, -848}};

// Besides the tables: every code's level encodes back to the code (mu-law's negative zero 0x7F
// becomes 0xFF), and levels fall strictly as positive mu-law codes rise.
TEST(G711, TableValuesBothWaysAndEveryCodeIsAFixedPoint) {
  for (auto [x, code] : kMuLawCodes) EXPECT_EQ(LinearToMuLaw(static_cast<std::int16_t>(x)), code) << x;
  for (auto [x, code] : kALawCodes) EXPECT_EQ(LinearToALaw(static_cast<std::int16_t>(x)), code) << x;
  for (auto [code, y] : kMuLawLevels) EXPECT_EQ(MuLawToLinear(static_cast<std::uint8_t>(code)), y) << code;
  for (auto [code, y] : kALawLevels) EXPECT_EQ(ALawToLinear(static_cast<std::uint8_t>(code)), y) << code;
  for (int c = 0; c < 256; ++c) {
    const auto code = static_cast<std::uint8_t>(c);
    EXPECT_EQ(LinearToMuLaw(MuLawToLinear(code)), c == 0x7F ? 0xFF : c) << c;
    EXPECT_EQ(LinearToALaw(ALawToLinear(code)), c) << c;
    if (c >= 0x80 && c < 0xFF) EXPECT_GT(MuLawToLinear(code), MuLawToLinear(static_cast<std::uint8_t>(c + 1)));
  }
}

// The array coders round a value to single and then to the nearest sample, and saturate, on
// every code path. 123.4999999 is the single 123.5, a tie that goes to 124 (a new mu-law segment).
TEST(G711, ArrayFormsRoundViaSingleAndSaturate) {
  const double in[] = {123.4, 123.6, 123.4999999, 40000.0, -1e300, kInf, -kInf, kNaN, 15.5};
  constexpr std::ptrdiff_t n = std::size(in);
  ForEachIsa([&](const std::string& isa) {
    std::uint8_t mu[n], a[n];
    LinToMuLaw(in, mu, n);
    LinToALaw(in, a, n);
    EXPECT_EQ(std::vector<int>(mu, mu + n), (std::vector<int>{0xF0, 0xEF, 0xEF, 0x80, 0x00, 0x80, 0x00, 0xFF, 0xFD})) << isa;
    EXPECT_EQ(std::vector<int>(a, a + n), (std::vector<int>{0xD2, 0xD2, 0xD2, 0xAA, 0x2A, 0xAA, 0x2A, 0xD5, 0xD4})) << isa;
  });
}

// The array coders agree with the one-sample coders on every 16-bit sample, with ties between
// samples going to the even one, on every code path (a length that leaves a partial vector).
TEST(G711, ArrayFormsMatchTheSampleCodersEverywhere) {
  std::vector<double> in;
  for (int x = -32768; x <= 32767; ++x) in.push_back(x);
  for (int x = -32768; x < 32767; x += 7) in.push_back(x + 0.5);
  const auto n = static_cast<std::ptrdiff_t>(in.size());
  ForEachIsa([&](const std::string& isa) {
    std::vector<std::uint8_t> mu(in.size()), a(in.size());
    LinToMuLaw(in.data(), mu.data(), n);
    LinToALaw(in.data(), a.data(), n);
    for (std::size_t i = 0; i < in.size(); ++i) {
      const auto x = static_cast<int>(in[i]);  // toward zero
      const int even = in[i] == x || x % 2 == 0 ? x : x + (in[i] > 0 ? 1 : -1);
      const auto s = static_cast<std::int16_t>(even);
      ASSERT_EQ(mu[i], LinearToMuLaw(s)) << in[i] << isa;
      ASSERT_EQ(a[i], LinearToALaw(s)) << in[i] << isa;
    }
  });
}

// The array decoders give each code's level on every code path, at every length and offset,
// stored in place or around the caches.
TEST(G711, ArrayDecodersGiveTheLevels) {
  ForEachIsa([](const std::string& isa) {
    for (TStores stores : {TStores::Auto, TStores::Around}) {
      const std::string form = isa + (stores == TStores::Around ? " around" : "");
      const auto decoder = [stores](void (*decode)(const std::uint8_t*, double*, std::ptrdiff_t, TStores)) {
        return [decode, stores](const std::uint8_t* x, double* r, std::ptrdiff_t n) {
          decode(x, r, n, stores);
          FinishStores();
        };
      };
      test::CheckUnary<std::uint8_t, double>(("mu-law" + form).c_str(), decoder(MuLawToLin),
                                             [](std::uint8_t c) { return static_cast<double>(MuLawToLinear(c)); });
      test::CheckUnary<std::uint8_t, double>(("A-law" + form).c_str(), decoder(ALawToLin),
                                             [](std::uint8_t c) { return static_cast<double>(ALawToLinear(c)); });
    }
  });
}

}  // namespace
}  // namespace quorel::kern
