#include <cfloat>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

#include "quorel/core/constants.h"
#include "quorel/core/fpu.h"
#include "quorel/core/memory.h"
#include "quorel/core/startup.h"

namespace quorel {
namespace {

// Each constant is its value computed in long double, rounded once.
TEST(Constants, CorrectlyRounded) {
  const long double pi = std::acos(-1.0L), ln2 = std::log(2.0L), ln10 = std::log(10.0L), sqrt5 = std::sqrt(5.0L),
                    sqrt2pi = std::sqrt(2 * pi);
  const struct { const char* name; double value; long double exact; } rows[] = {
      {"PI", PI, pi},                     {"LN2", LN2, ln2},                    {"LN10", LN10, ln10},
      {"LNPI", LNPI, std::log(pi)},       {"INVLN2", INVLN2, 1 / ln2},          {"INVLN10", INVLN10, 1 / ln10},
      {"TWOPI", TWOPI, 2 * pi},           {"INVTWOPI", INVTWOPI, 1 / (2 * pi)}, {"PIDIV2", PIDIV2, pi / 2},
      {"SQRTPI", SQRTPI, std::sqrt(pi)},  {"SQRT2PI", SQRT2PI, sqrt2pi},        {"INVSQRT2PI", INVSQRT2PI, 1 / sqrt2pi},
      {"LNSQRT2PI", LNSQRT2PI, std::log(sqrt2pi)}, {"LN2PIDIV2", LN2PIDIV2, std::log(2 * pi) / 2},
      {"SQRT2", SQRT2, std::sqrt(2.0L)},  {"SQRT2DIV2", SQRT2DIV2, std::sqrt(2.0L) / 2},
      {"GOLD", GOLD, (1 + sqrt5) / 2},
      {"CGOLD", CGOLD, (3 - sqrt5) / 2},  {"PI180", PI180, pi / 180},           {"INVPI180", INVPI180, 180 / pi},
      {"MACHEP", MACHEP, 0x1p-52L},       {"MAXLOG", MAXLOG, std::log(static_cast<long double>(DBL_MAX))},
      {"MINLOG", MINLOG, -1022 * ln2},    {"MAXFAC", MAXFAC, 170},              {"MAXGAM", MAXGAM, 171.624376956302L},
      {"MAXLGM", MAXLGM, 2.556348e305L},  {"MINNUM", MINNUM, std::nextafter(DBL_MIN, 1.0)},
  };
  for (const auto& r : rows) EXPECT_EQ(r.value, static_cast<double>(r.exact)) << r.name;
}

TEST(Memory, AllignMemGivesTheBoundary9To40BytesAbove) {
  for (std::intptr_t p = 0; p < 256; ++p) {
    const std::intptr_t a = AllignMem(p);
    EXPECT_TRUE(a % 32 == 0 && a - p >= 9 && a - p <= 40) << p << " -> " << a;
  }
  static_assert(AllignMem(0) == 32 && AllignMem(24) == 64);  // int literals pick the integer form
}

TEST(Memory, GlobalAllocRoundTripAndRawAccess) {
  EXPECT_EQ(GlobalAllocUnmanaged(0), nullptr);
  void* p = GlobalAllocUnmanaged(100000);
  ASSERT_NE(p, nullptr);
  static_cast<char*>(p)[99999] = 1;
  GlobalFreeUnmanaged(p);
  EXPECT_EQ(p, nullptr);
  GlobalFreeUnmanaged(p);  // null is accepted
  std::intptr_t h = -5;
  GlobalFreeUnmanaged(h);
  EXPECT_EQ(h, 0);
  TCplx buf[3] = {{1, 2}, {3, 4}, {5, 6}};
  EXPECT_EQ(PointerToIndexDCplx(buf, 2), (TCplx{5, 6}));
  EXPECT_EQ(PointerToIndexDouble(buf, 3), 4);  // complex k sits at doubles 2k and 2k + 1
}

TEST(Startup, ControlWordAndTables) {
  EXPECT_EQ(Get8087CW() & 0x0F3F, Quorel8087CW & 0x0F3F);
  const std::uint16_t old = SetRoundToTrunc();
  EXPECT_EQ(Get8087CW() & 0x0F00, 0x0F00);
  RestoreRound(old);
  EXPECT_EQ(Get8087CW(), old);
  ASSERT_EQ(QuorelPrimeArray.size(), 1000u);
  EXPECT_EQ(QuorelPrimeArray.front(), 2);
  EXPECT_EQ(QuorelPrimeArray.back(), 7919);
  EXPECT_EQ(QuorelWorkingDir, "/tmp/");  // set by start-up, not wiped by later initialisation
}

}  // namespace
}  // namespace quorel
