#include <bit>
#include <cstdint>

#include <gtest/gtest.h>

#include "quorel/core/constants.h"
#include "quorel/core/fpu.h"
#include "quorel/core/memory.h"
#include "quorel/core/startup.h"

namespace quorel {
namespace {

std::uint64_t Bits(double x) { return std::bit_cast<std::uint64_t>(x); }

TEST(Constants, BitPatterns) {
  struct Row { const char* name; double value; std::uint64_t bits; };
  const Row rows[] = {
      {"PI", PI, 0x400921FB54442D18},         {"LN2", LN2, 0x3FE62E42FEFA39EF},
      {"LN10", LN10, 0x40026BB1BBB55516},     {"LNPI", LNPI, 0x3FF250D048E7A1BD},
      {"INVLN2", INVLN2, 0x3FF71547652B82FE}, {"INVLN10", INVLN10, 0x3FDBCB7B1526E50E},
      {"TWOPI", TWOPI, 0x401921FB54442D18},   {"INVTWOPI", INVTWOPI, 0x3FC45F306DC9C883},
      {"PIDIV2", PIDIV2, 0x3FF921FB54442D18}, {"SQRTPI", SQRTPI, 0x3FFC5BF891B4EF6B},
      {"SQRT2PI", SQRT2PI, 0x40040D931FF62706}, {"INVSQRT2PI", INVSQRT2PI, 0x3FD9884533D43651},
      {"LNSQRT2PI", LNSQRT2PI, 0x3FED67F1C864BEB5}, {"LN2PIDIV2", LN2PIDIV2, 0x3FED67F1C864BEB5},
      {"SQRT2", SQRT2, 0x3FF6A09E667F3BCD},   {"SQRT2DIV2", SQRT2DIV2, 0x3FE6A09E667F3BCD},
      {"GOLD", GOLD, 0x3FF9E3779B97F4A8},     {"CGOLD", CGOLD, 0x3FD8722191A02D61},
      {"PI180", PI180, 0x3F91DF46A2529D39},   {"INVPI180", INVPI180, 0x404CA5DC1A63C1F8},
      {"S_ONE", S_ONE, 0x3FF0000000000000},   {"S_ZERO", S_ZERO, 0x0000000000000000},
      {"MACHEP", MACHEP, 0x3CB0000000000000}, {"MINNUM", MINNUM, 0x0010000000000001},
      {"MAXLOG", MAXLOG, 0x40862E42FEFA39EF}, {"MINLOG", MINLOG, 0xC086232BDD7ABCD2},
      {"MAXFAC", MAXFAC, 0x4065400000000000}, {"MAXGAM", MAXGAM, 0x406573FAE561F62E},
      {"MAXLGM", MAXLGM, 0x7F574C5DD06D2516}, {"NaN", NaN, 0x7FF8000000000000},
      {"INF", INF, 0x7FF0000000000000},
  };
  for (const Row& r : rows) EXPECT_EQ(Bits(r.value), r.bits) << r.name;
  // The tabled decimal values are the same doubles.
  EXPECT_EQ(PI, 3.141592653589793);
  EXPECT_EQ(MAXGAM, 171.624376956302);
  EXPECT_EQ(Bits(CNAN.Re), Bits(NaN));
  EXPECT_EQ(Bits(CINF.Im), Bits(INF));
}

TEST(Memory, AllignMemKeepsFortyByteHeadroom) {
  EXPECT_EQ(AllignMem(std::intptr_t{0}), 32);
  EXPECT_EQ(AllignMem(std::intptr_t{1}), 32);
  EXPECT_EQ(AllignMem(std::intptr_t{24}), 64);
  for (std::intptr_t p = 0; p < 256; ++p) {
    std::intptr_t a = AllignMem(p);
    EXPECT_EQ(a % 32, 0);
    EXPECT_GE(a - p, 9);
    EXPECT_LE(a - p, 40);
  }
}

TEST(Memory, GlobalAllocRoundTrip) {
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
}

TEST(Memory, ComplexPointerHelpers) {
  TCplx buf[3] = {{1, 2}, {3, 4}, {5, 6}};
  EXPECT_EQ(PointerToDCplx(buf), (TCplx{1, 2}));
  EXPECT_EQ(PointerToIndexDCplx(buf, 2), (TCplx{5, 6}));
  WriteDCplx(&buf[1], TCplx{-7, 8});
  EXPECT_EQ(buf[1], (TCplx{-7, 8}));
  EXPECT_EQ(PointerToIndexDouble(buf, 3), 8);  // complex k sits at doubles 2k and 2k + 1
}

TEST(Startup, ControlWordAndTables) {
  EXPECT_EQ(Get8087CW() & 0x0F3F, Quorel8087CW & 0x0F3F);
  std::uint16_t old = SetRoundToTrunc();
  EXPECT_EQ(Get8087CW() & 0x0F00, 0x0F00);
  RestoreRound(old);
  EXPECT_EQ(Get8087CW(), old);
  ASSERT_EQ(QuorelPrimeArray.size(), 1000u);
  EXPECT_EQ(QuorelPrimeArray.front(), 2);
  EXPECT_EQ(QuorelPrimeArray.back(), 7919);
  EXPECT_EQ(QuorelBlockSize, 800);
  EXPECT_EQ(QuorelWorkingDir, "/tmp/");  // set by start-up, not wiped by later initialisation
}

}  // namespace
}  // namespace quorel
