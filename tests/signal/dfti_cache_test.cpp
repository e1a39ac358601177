// The descriptor cache: key normalisation, most-recently-used order, recycling and messages.
#include "quorel/objects/controller.h"
#include "quorel/signal/dfti_cache.h"
#include "signal_util.h"

namespace quorel::test {
namespace {

std::vector<std::int32_t> Lengths(const TDFTIDescriptorCache& c) {
  std::vector<std::int32_t> r;
  for (auto* e = c.Chain; e; e = e->Next) r.push_back(e->Length1);
  return r;
}

class DftiCacheTest : public testing::Test {
 protected:
  void SetUp() override { FreeDftiCache(); }
  void TearDown() override { FreeDftiCache(); }
};

TEST_F(DftiCacheTest, HitsMoveToTheHeadAndTheLeastRecentlyUsedIsRecycled) {
  auto& c = DftiCache();
  EXPECT_EQ(c.MaxCacheSize(), 15);
  const TDftiHandle first = c.GetDesc(1, {cefInplace});
  for (std::int32_t n = 2; n <= 15; ++n) c.GetDesc(n, {cefInplace});
  EXPECT_EQ(c.Count(), 15);
  EXPECT_EQ(Lengths(c).front(), 15);
  // A hit returns the same descriptor and moves it to the head.
  EXPECT_EQ(c.GetDesc(1, {cefInplace}), first);
  EXPECT_EQ(Lengths(c).front(), 1);
  // The 16th shape recycles the least recently used entry (length 2 now), keeping 15.
  c.GetDesc(16, {cefInplace});
  const auto order = Lengths(c);
  EXPECT_EQ(c.Count(), 15);
  EXPECT_EQ(order.front(), 16);
  EXPECT_EQ(order[1], 1);
  EXPECT_EQ(std::count(order.begin(), order.end(), 2), 0);
  // Shrinking keeps the most recently used entries.
  c.SetMaxCacheSize(2);
  EXPECT_EQ(Lengths(c), (std::vector<std::int32_t>{16, 1}));
  EXPECT_EQ(MessageOf<Exception>([&] { c.SetMaxCacheSize(0); }),
            "TDFTIDescriptorCache.SetMaxCacheSize: Invalid cache size: 0 (expected >= 1)");
  EXPECT_EQ(c.MaxCacheSize(), 2);
}

TEST_F(DftiCacheTest, KeyNormalisation) {
  auto& c = DftiCache();
  // Forward and scaled inverse of one complex length share a descriptor; unscaled is another.
  const TDftiHandle fwd = c.GetDesc(8, {cefUseScale});
  EXPECT_EQ(c.GetDesc(8, {cefUseScale, cefBackward}), fwd);
  EXPECT_NE(c.GetDesc(8, {cefBackward}), fwd);
  // Direction stays in the key of real out-of-place CCS batches and of scrambled order.
  EXPECT_NE(c.GetDesc(4, 6, {cefReal, cefUse1D}), c.GetDesc(4, 6, {cefReal, cefUse1D, cefBackward}));
  EXPECT_EQ(c.GetDesc(4, 6, {cefReal, cefUse1D, cefInplace}),
            c.GetDesc(4, 6, {cefReal, cefUse1D, cefInplace, cefBackward}));
  const TDftiHandle scrambled = c.GetDesc(8, {cefScrambled});
  EXPECT_NE(c.GetDesc(8, {cefScrambled, cefBackward}), scrambled);
  EXPECT_EQ(c.Chain->Flags, (TCacheEntryFlags{cefScrambled, cefBackward}));
  // Through the methods: FFT then IFFT of one length add one entry.
  FreeDftiCache();
  TVec x = CplxVec(Noise(10, 1), Noise(10, 2));
  x.FFT();
  x.IFFT();
  EXPECT_EQ(DftiCache().Count(), 1);
  x.IFFT(true);
  EXPECT_EQ(DftiCache().Count(), 2);
}

TEST_F(DftiCacheTest, RemovalAndRelease) {
  auto& c = DftiCache();
  const TDftiHandle a = c.GetDesc(5, {});
  c.GetDesc(6, {});
  c.RemoveDscr(a);
  EXPECT_EQ(Lengths(c), (std::vector<std::int32_t>{6}));
  EXPECT_EQ(MessageOf<Exception>([&] { c.RemoveDscr(a); }), "TDFTIDescriptorCache.RemoveDscr; Descriptor was not found");
  EXPECT_EQ(MessageOf<Exception>([&] { c.GetDesc(0, {}); }),
            "TDFTIDescriptorCache.FindOrCreateDscr: Can't create descriptor: Inconsistent configuration parameters");
  EXPECT_EQ(c.Count(), 1);  // a failed creation leaves the chain alone
  // The controller's release frees the cache; the next use builds a fresh one.
  Controller->FreeMKLMemory();
  EXPECT_EQ(DftiCache().Count(), 0);
}

}  // namespace
}  // namespace quorel::test
