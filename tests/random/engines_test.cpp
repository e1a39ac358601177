// Basic generators: published known answers, values from the recurrences computed outside the
// library, and jumps (skip-ahead, leapfrog) against drawing and discarding.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "quorel/platform/random/engines.h"

using namespace quorel;
using namespace quorel::rng;

namespace {

std::vector<std::uint32_t> Draw(TEngine& e, std::size_t n) {
  std::vector<std::uint32_t> v(n);
  e.Bits(v.data(), static_cast<std::ptrdiff_t>(n));
  return v;
}

constexpr TBasicRandomGenerator kAll[] = {brgMCG31, brgR250, brgMRG32K3A, brgMCG59, brgMT19937, brgPhilox4x32x10};
constexpr TBasicRandomGenerator kSkippers[] = {brgMCG31, brgMRG32K3A, brgMCG59, brgMT19937, brgPhilox4x32x10};

TEST(RandomEngines, PublishedKnownAnswers) {
  TMt19937 mt(5489);
  const auto v = Draw(mt, 10000);
  EXPECT_EQ(v[0], 3499211612u);
  EXPECT_EQ(v[9999], 4123659995u);

  const std::uint32_t s[3] = {12345, 12345, 12345};
  TMrg32k3a mrg(s, s);
  EXPECT_EQ(Draw(mrg, 3), (std::vector<std::uint32_t>{545508589u, 1368065410u, 1327943761u}));

  struct Kat {
    std::uint32_t ctr[4], key[2], out[4];
  } kats[] = {
      {{0, 0, 0, 0}, {0, 0}, {0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}},
      {{~0u, ~0u, ~0u, ~0u}, {~0u, ~0u}, {0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}},
      {{0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}, {0xa4093822, 0x299f31d0}, {0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}},
  };
  for (const Kat& k : kats) {
    std::uint32_t out[4];
    TPhilox4x32::Block(k.ctr, k.key, out);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], k.out[i]) << i;
  }
  // Seeded stream: key (seed, 0), counters 0, 1, ... in order (block 0 is the first answer above).
  // Long fills take the batched path: every block must still be the block function's.
  TPhilox4x32 ph(0);
  const auto p = Draw(ph, 1030);
  for (std::uint32_t j = 0; j < 257; ++j) {
    const std::uint32_t ctr[4] = {j, 0, 0, 0}, key[2] = {0, 0};
    std::uint32_t b[4];
    TPhilox4x32::Block(ctr, key, b);
    for (int w = 0; w < 4; ++w) ASSERT_EQ(p[4 * j + w], b[w]) << j;
  }
}

// Reference values from an independent big-integer evaluation of the recurrences and seedings.
TEST(RandomEngines, RecurrencesFromOneSeedAndTheUnitInterval) {
  TMcg31 mcg31(12345);
  EXPECT_EQ(Draw(mcg31, 5), (std::vector<std::uint32_t>{467545230u, 910408393u, 2002913910u, 614477597u, 1622587240u}));
  TMcg59 mcg59(12345);
  EXPECT_EQ(Draw(mcg59, 3), (std::vector<std::uint32_t>{2087866344u, 3462119947u, 2058473410u}));
  TR250 r250(12345);
  const auto r = Draw(r250, 1000);
  EXPECT_EQ((std::vector<std::uint32_t>{r[0], r[1], r[2], r[999]}),
            (std::vector<std::uint32_t>{1415868308u, 1044112428u, 1920790420u, 2531898525u}));
  // Seed 0 is mapped to 1 where 0 would be a fixed point.
  TMcg31 z(0), one(1);
  EXPECT_EQ(Draw(z, 2), Draw(one, 2));

  // Doubles: MCG31 divides by the modulus; every generator stays in [0, 1), (0, 1) with offset.
  EXPECT_DOUBLE_EQ([] { TMcg31 e(12345); double u; e.Uniform(&u, 1, 0); return u; }(), 467545230.0 / 2147483647.0);
  for (auto id : kAll) {
    auto e = NewEngine(id, 99);
    std::vector<double> u(5000);
    e->Uniform(u.data(), 5000, 0.5);
    for (double x : u) ASSERT_TRUE(x > 0 && x < 1) << id;
  }
  EXPECT_EQ(NewEngine(77, 1), nullptr);
  // At the largest state the open interval stays below 1. Seed 3 skipped by k reaches the state
  // 2^59 - 1: 3 * (13^13)^(k + 1) = -1 modulo 2^59, a discrete logarithm solved and checked
  // outside the library.
  constexpr std::uint64_t k = 121703763459319166u;
  TMcg59 e(3);
  e.SkipAhead(k);
  std::unique_ptr<TEngine> again = e.Clone();
  EXPECT_EQ(Draw(*again->Clone(), 1)[0], 0xFFFFFFFFu);
  double open = 0, closed = 0;
  e.Uniform(&open, 1, 0.5);
  again->Uniform(&closed, 1, 0);
  EXPECT_TRUE(open > 0.5 && open < 1.0) << open;
  EXPECT_EQ(closed, 1 - 0x1p-53);  // the documented [0, 1) mapping keeps its 53 bits
}

TEST(RandomEngines, SkipAheadEqualsDrawing) {
  const std::uint64_t far = std::uint64_t{1} << 40;
  for (auto id : kSkippers) {
    // (drawn first, skipped): fresh; within one block; to either side of MT19937's regeneration at
    // 624; and long from inside a block (buffered words and counters), the 700 values after it
    // crossing a regeneration.
    for (auto [first, n] : {std::pair<std::uint64_t, std::uint64_t>{0, 1}, {0, 3}, {0, 623}, {0, 625}, {5, 1000000}}) {
      auto a = NewEngine(id, 2024), b = NewEngine(id, 2024);
      Draw(*a, first + n);
      Draw(*b, first);
      ASSERT_EQ(b->SkipAhead(n), rngStatusOk);
      EXPECT_EQ(Draw(*a, 700), Draw(*b, 700)) << id << " " << n;
    }
    // Far: one jump against two of half the length.
    auto a = NewEngine(id, 12345), b = NewEngine(id, 12345);
    Draw(*a, 3);
    Draw(*b, 3);
    a->SkipAhead(far);
    b->SkipAhead(far / 2);
    b->SkipAhead(far / 2);
    EXPECT_EQ(Draw(*a, 4), Draw(*b, 4)) << id;
  }
  // Direct formulas: x0 a^(far+1) modulo the modulus, and Philox block far/4 of key (seed, 0).
  TMcg31 m31(12345);
  m31.SkipAhead(far);
  EXPECT_EQ(Draw(m31, 1)[0], 1747392276u);
  TMcg59 m59(12345);
  m59.SkipAhead(far);
  EXPECT_EQ(Draw(m59, 1)[0], 1657982952u);
  TPhilox4x32 ph(7);
  ph.SkipAhead(far + 2);
  const std::uint32_t ctr[4] = {0, 0x40, 0, 0}, key[2] = {7, 0};  // block 2^38
  std::uint32_t blk[4];
  TPhilox4x32::Block(ctr, key, blk);
  EXPECT_EQ(Draw(ph, 2), (std::vector<std::uint32_t>{blk[2], blk[3]}));
}

TEST(RandomEngines, LeapfrogInterleaves) {
  for (auto id : {brgMCG31, brgMCG59}) {
    auto base = NewEngine(id, 777);
    const auto ref = Draw(*base, 80);
    for (std::uint32_t k = 0; k < 3; ++k) {
      auto e = NewEngine(id, 777);
      ASSERT_EQ(e->Leapfrog(k, 3), rngStatusOk);
      const auto v = Draw(*e, 20);
      for (int i = 0; i < 20; ++i) ASSERT_EQ(v[i], ref[k + 3 * i]) << id << " " << k;
      e->SkipAhead(4);  // a skip on a leapfrogged stream moves by its own stride
      EXPECT_EQ(Draw(*e, 1)[0], ref[k + 3 * 24]);
    }
    EXPECT_EQ(base->Leapfrog(3, 3), rngErrBadLeapfrog);
    EXPECT_EQ(base->Leapfrog(0, 0), rngErrBadLeapfrog);
  }
  for (auto id : {brgR250, brgMRG32K3A, brgMT19937, brgPhilox4x32x10}) EXPECT_EQ(NewEngine(id, 1)->Leapfrog(0, 2), rngErrNoLeapfrog);
  auto r = NewEngine(brgR250, 1);
  const auto before = Draw(*r->Clone(), 3);
  EXPECT_EQ(r->SkipAhead(10), rngErrNoSkipAhead);
  EXPECT_EQ(Draw(*r, 3), before);  // a refused jump leaves the state alone
}

TEST(RandomEngines, CloneAndCopyState) {
  for (auto id : kAll) {
    auto a = NewEngine(id, 31);
    Draw(*a, 17);
    auto b = a->Clone();
    auto c = NewEngine(id, 1);
    ASSERT_EQ(c->CopyStateFrom(*a), rngStatusOk);
    const auto va = Draw(*a, 10);
    EXPECT_EQ(Draw(*b, 10), va);
    EXPECT_EQ(Draw(*c, 10), va);
  }
  auto m = NewEngine(brgMCG31, 1);
  EXPECT_EQ(m->CopyStateFrom(*NewEngine(brgMCG59, 1)), rngErrIncompatibleStreams);
}

}  // namespace
