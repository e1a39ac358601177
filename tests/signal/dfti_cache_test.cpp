// The descriptor cache: key normalisation, most-recently-used order, recycling and messages.
#include "quorel/objects/controller.h"
#include "quorel/objects/mtx.h"
#include "quorel/platform/fftw.h"
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

TEST_F(DftiCacheTest, RecyclingRemovalAndRelease) {
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
  EXPECT_TRUE(c.Count() == 15 && order.front() == 16 && order[1] == 1);
  EXPECT_EQ(std::count(order.begin(), order.end(), 2), 0);
  // Shrinking keeps the most recently used entries.
  c.SetMaxCacheSize(2);
  EXPECT_EQ(Lengths(c), (std::vector<std::int32_t>{16, 1}));
  EXPECT_EQ(MessageOf<Exception>([&] { c.SetMaxCacheSize(0); }),
            "TDFTIDescriptorCache.SetMaxCacheSize: Invalid cache size: 0 (expected >= 1)");
  EXPECT_EQ(c.MaxCacheSize(), 2);
  c.RemoveDscr(first);
  EXPECT_EQ(Lengths(c), (std::vector<std::int32_t>{16}));
  EXPECT_EQ(MessageOf<Exception>([&] { c.RemoveDscr(first); }),
            "TDFTIDescriptorCache.RemoveDscr; Descriptor was not found");
  EXPECT_EQ(MessageOf<Exception>([&] { c.GetDesc(0, {}); }),
            "TDFTIDescriptorCache.FindOrCreateDscr: Can't create descriptor: Inconsistent configuration parameters");
  EXPECT_EQ(c.Count(), 1);  // a failed creation leaves the chain alone
  // The controller's release frees the cache; the next use builds a fresh one.
  Controller->FreeMKLMemory();
  EXPECT_EQ(DftiCache().Count(), 0);
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

// FFTW failing to plan: at commit it is the cache's error; for arrays a committed descriptor has not
// run on yet (here: the other direction) it is the method's, and nothing is written.
TEST_F(DftiCacheTest, PlanningFailuresAreReportedByTheirCaller) {
  // Each shape is committed for one direction only.
  TVec x = CplxVec(Noise(12, 1), Noise(12, 2)), y, a = CplxVec(Noise(10, 1), Noise(10, 2)), b;
  TVec r = RealVec(Noise(12, 3)), s, back, spectrum = CplxVec(Noise(7, 4), Noise(7, 5)), signal = RealVec(Noise(12, 6));
  TMtx m(3, 4, true), out;
  TWorkVec half;
  half->Size(8, true);
  TVec sink(14);
  y.IFFT(x);
  b.FFT(a);
  s.FFTFromReal(r);
  spectrum.IFFTToReal();
  out.IFFT1D(m);
  sink.IFFTToReal(*half, 0, 0, 14, false);
  const std::int32_t entries = DftiCache().Count();
  const auto yBefore = Doubles(y), signalBefore = Doubles(signal);
  const std::string why = "FFTW could not plan the transform";
  detail::FftwFailPlans(detail::FftwFailure::NoPlan);
  ExpectMessages<Exception>({
      {[&] { DftiCache().GetDesc(13, {}); }, "TDFTIDescriptorCache.FindOrCreateDscr: Can't commit descriptor: " + why},
      {[&] { y.FFT(x); }, "TVec.FFT: " + why},
      {[&] { signal.FFTFromReal(); }, "TVec.FFT: " + why},
      {[&] { b.IFFT(a); }, "TVec.IFFT: " + why},
      {[&] { back.IFFTToReal(s); }, "TVec.IFFTToReal: " + why},
      {[&] { out.FFT1D(m); }, "TMtx.FFT1D: " + why},
      {[&] { half->FFTFromReal(sink, 0, 0, 14); }, "TDenseQuorel.FFT: " + why},
  });
  detail::FftwFailPlans(detail::FftwFailure::None);
  EXPECT_EQ(DftiCache().Count(), entries);
  EXPECT_EQ(Doubles(y), yBefore);
  EXPECT_EQ(Doubles(signal), signalBefore);
  EXPECT_FALSE(signal.Complex());
  // Once FFTW plans again the same calls run.
  y.FFT(x);
  signal.FFTFromReal();
  EXPECT_EQ(signal.Length(), 7);
}

}  // namespace
}  // namespace quorel::test
