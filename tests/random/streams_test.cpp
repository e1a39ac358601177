// TRngStream's contract (statuses, destinations, copies, the Gaussian carry) and
// TRandomGenerator's independence schemes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"
#include "support/messages.h"
#include "support/values.h"

using namespace quorel;
using quorel::test::Doubles;
using quorel::test::MessageOf;

namespace {

std::vector<double> Uniforms(TRngStream& s, int n) {
  TVec v(n);
  EXPECT_EQ(s.RandomUniform(v, 0, 1), rngStatusOk);
  return Doubles(v);
}

// The first n raw outputs of a fresh stream.
std::vector<std::uint32_t> RawOutputs(TBasicRandomGenerator id, std::uint32_t seed, int n) {
  TRngStream s;
  s.NewStream(id, seed);
  TVec v(n);
  s.RandomUniformbitsI(v);
  return {v.IValues().begin(), v.IValues().end()};
}

// Where a stream stands: the index in `base` of its next raw output (base.size() if absent).
std::ptrdiff_t Position(TRngStream& s, const std::vector<std::uint32_t>& base) {
  TVec v(1);
  s.RandomUniformbitsI(v);
  return std::find(base.begin(), base.end(), static_cast<std::uint32_t>(v.IValues()[0])) - base.begin();
}

TEST(RandomStream, StatusesLeaveTheDestinationAlone) {
  TVec v{TCplx(1, 2), TCplx(3, 4)};
  const auto before = Doubles(v);
  TRngStream none;
  EXPECT_EQ(none.RandomUniform(v, 0, 1), rngErrNullStream);
  EXPECT_EQ(none.RandomPoisson(v, 3.0), rngErrNullStream);
  EXPECT_EQ(none.SkipAheadStream(5), rngErrNullStream);

  TRngStream s;
  EXPECT_EQ(s.NewStream(99, 1), rngErrBadGenerator);
  ASSERT_EQ(s.NewStream(brgMT19937, 1), rngStatusOk);
  const double nan = std::nan("");
  const std::int32_t bad[] = {
      s.RandomUniform(v, 1, 1),          s.RandomUniform(v, 0, nan),        s.RandomGaussian(v, 0, -1),
      s.RandomGaussian(v, 0, 0),         s.RandomExponential(v, 0, -2),     s.RandomLaplace(v, nan, 1),
      s.RandomWeibull(v, 0, 0, 1),       s.RandomCauchy(v, 0, 0),           s.RandomRayleigh(v, 0, -1),
      s.RandomLognormal(v, 0, 1, 0, -1), s.RandomGumbel(v, 0, nan),         s.RandomBernoulli(v, 1.5),
      s.RandomBernoulli(v, -0.1),        s.RandomGeometric(v, 0),           s.RandomBinomial(v, -1, 0.5),
      s.RandomBinomial(v, 10, nan),      s.RandomHypergeometric(v, 5, 6, 2), s.RandomHypergeometric(v, 5, 2, 6),
      s.RandomNegbinomial(v, 0, 0.5),    s.RandomNegbinomial(v, 1, 0),      s.RandomPoisson(v, 0.0),
      s.RandomPoisson(v, -3.0),          s.RandomPoisson(v, 1e12),          s.RandomUniformI(v, 4, 4),
  };
  for (std::int32_t st : bad) EXPECT_EQ(st, rngErrBadParameter);
  EXPECT_EQ(s.RandomGaussian(v, 0, 1, static_cast<TGaussRandMethod>(2)), rngErrBadMethod);
  EXPECT_EQ(s.RandomPoisson(v, 3.0, static_cast<TPoissonRandMethod>(-1)), rngErrBadMethod);
  EXPECT_EQ(s.RandomPoisson(v, TVec{1.0}), rngErrBadParameter);  // fewer means than draws
  EXPECT_TRUE(v.Complex());
  EXPECT_EQ(Doubles(v), before);

  EXPECT_EQ(MessageOf<EQuorelException>([&] { s.RandomPoisson(v, TVec{TCplx(1, 0), TCplx(2, 0)}); }),
            "Lamda.Complex = True!");
}

TEST(RandomStream, DestinationsKeepLengthAndTakeIntegers) {
  TRngStream s;
  s.NewStream(brgMCG59, 7);
  TVec v(5, true);
  ASSERT_EQ(s.RandomPoisson(v, 4.0), rngStatusOk);
  ASSERT_EQ(std::tuple(v.Complex(), v.IsInteger(), v.Length()), std::tuple(false, true, 5));
  for (std::int32_t k : v.IValues()) EXPECT_GE(k, 0);
  ASSERT_EQ(s.RandomUniformI(v, -2, 2), rngStatusOk);
  for (std::int32_t k : v.IValues()) EXPECT_TRUE(k >= -2 && k < 2);
  ASSERT_EQ(s.RandomGaussian(v, 0, 1), rngStatusOk);
  EXPECT_FALSE(v.IsInteger());

  // Raw bits through the integer view: the first Mersenne Twister output for seed 5489.
  EXPECT_EQ(RawOutputs(brgMT19937, 5489, 1)[0], 3499211612u);

  // Means drawn into the vector that holds them.
  TVec lam{2, 2000, 0.1};
  ASSERT_EQ(s.RandomPoisson(lam, lam), rngStatusOk);
  EXPECT_TRUE(lam.IsInteger());
  EXPECT_NEAR(lam.IValues()[1], 2000, 300);

  // A deliberately empty entry.
  TMtx m(2, 2);
  TVec a{1, 2}, b;
  EXPECT_EQ(s.RandomGaussianMV(m, a, b), rngStatusOk);
  EXPECT_EQ(m.Rows(), 2);
  EXPECT_EQ(Doubles(a), (std::vector<double>{1, 2}));
}

TEST(RandomStream, UniformStaysBelowItsUpperEnd) {
  TRngStream s;
  s.NewStream(brgMT19937, 5);
  TVec v(100000);
  // Doubles near 2^40 are 2^-12 apart: a + (b - a) u rounds to b for u above 1 - 2^-13.
  const double a = 0x1p40, b = a + 1;
  ASSERT_EQ(s.RandomUniform(v, a, b), rngStatusOk);
  for (double x : v.Values()) ASSERT_TRUE(x >= a && x < b) << x;
  // b - a overflows; the ends are finite, and so must every value be.
  ASSERT_EQ(s.RandomUniform(v, -1e308, 1e308), rngStatusOk);
  int below = 0;
  for (double x : v.Values()) {
    ASSERT_TRUE(x >= -1e308 && x < 1e308) << x;
    below += x < 0;
  }
  EXPECT_NEAR(below, 50000, 4 * std::sqrt(25000.0));
}

TEST(RandomStream, DiscreteDrawsTakeOnlyTheValuesTheyUse) {
  const auto base = RawOutputs(brgMT19937, 42, 4096);
  using Draw = std::function<std::int32_t(TRngStream&, TVec&)>;
  const TVec lam{4, 60, 0.5, 300, 2, 7};
  // Where the stream stands after draws of the given sizes from a fresh one.
  const auto position = [&](const Draw& draw, std::initializer_list<int> sizes) {
    TRngStream s;
    s.NewStream(brgMT19937, 42);
    TVec v;
    for (int n : sizes) {
      v.SetLength(n);
      EXPECT_EQ(draw(s, v), rngStatusOk);
    }
    return Position(s, base);
  };
  // Inversion and the search from the mode spend one uniform per draw.
  const Draw oneEach[] = {
      [](TRngStream& s, TVec& v) { return s.RandomPoisson(v, 10.0); },
      [](TRngStream& s, TVec& v) { return s.RandomPoisson(v, 0.5, prmNormal); },
      [](TRngStream& s, TVec& v) { return s.RandomBinomial(v, 20, 0.3); },
      [](TRngStream& s, TVec& v) { return s.RandomBinomial(v, 40, 0.9); },
      [](TRngStream& s, TVec& v) { return s.RandomHypergeometric(v, 100, 30, 40); },
  };
  for (std::size_t c = 0; c < std::size(oneEach); ++c) EXPECT_EQ(position(oneEach[c], {1, 1, 5}), 7) << c;
  // Acceptance-rejection and mixtures take a varying number, one per draw at least: the nine
  // draws stay far below the 512 values a block held.
  const Draw some[] = {
      [](TRngStream& s, TVec& v) { return s.RandomPoisson(v, 100.0); },
      [](TRngStream& s, TVec& v) { return s.RandomBinomial(v, 1000, 0.4); },
      [](TRngStream& s, TVec& v) { return s.RandomNegbinomial(v, 2.5, 0.3); },
      [](TRngStream& s, TVec& v) { return s.RandomNegbinomial(v, 0.3, 0.7); },
      [&](TRngStream& s, TVec& v) { return s.RandomPoisson(v, lam); },
  };
  for (std::size_t c = 0; c < std::size(some); ++c) {
    const std::ptrdiff_t at = position(some[c], {1, 1, 1, 6});
    EXPECT_TRUE(at >= 9 && at < 100) << c << " at " << at;
  }
}

TEST(RandomStream, GaussianCarryAndCopies) {
  for (auto method : {grmBoxMuller, grmBoxMuller2}) {
    TRngStream a, b;
    a.NewStream(brgPhilox4x32x10, 3);
    b.NewStream(brgPhilox4x32x10, 3);
    TVec whole(1001), p1(999), p2(2);
    a.RandomGaussian(whole, 2, 3, method);
    b.RandomGaussian(p1, 2, 3, method);
    // Splitting one call in two odd parts gives the same values: the second sine/cosine partner
    // of the first call opens the second.
    TRngStream c;
    ASSERT_EQ(c.Copy(b), rngStatusOk);
    b.RandomGaussian(p2, 2, 3, method);
    for (int i = 0; i < 999; ++i) ASSERT_EQ(whole.Values()[i], p1.Values()[i]);
    EXPECT_EQ(whole.Values()[999], p2.Values()[0]) << method;
    EXPECT_EQ(whole.Values()[1000], p2.Values()[1]) << method;
    // A copy carries the position and the pending partner.
    TVec p3(2);
    c.RandomGaussian(p3, 2, 3, method);
    EXPECT_EQ(Doubles(p3), Doubles(p2));
  }
  TRngStream x, y, z;
  x.NewStream(brgMRG32K3A, 11);
  y.NewStream(brgMRG32K3A, 12);
  z.NewStream(brgR250, 11);
  Uniforms(x, 10);
  EXPECT_EQ(y.CopyState(x), rngStatusOk);
  EXPECT_EQ(Uniforms(y, 5), Uniforms(x, 5));
  EXPECT_EQ(z.CopyState(x), rngErrIncompatibleStreams);
  TRngStream empty;
  EXPECT_EQ(x.Copy(empty), rngErrNullStream);  // and x's own stream is gone
  EXPECT_FALSE(x.HasStream());
  TVec v;
  EXPECT_EQ(x.RandomUniform(v, 0, 1), rngErrNullStream);
}

// A jump moves the stream: the partner left by an odd grmBoxMuller2 call belongs to the values
// before it and must not open the draws after it.
TEST(RandomStream, JumpsDropThePendingGaussianPartner) {
  const auto gauss = [](TRngStream& s, int n) {
    TVec v(n);
    EXPECT_EQ(s.RandomGaussian(v, 0, 1, grmBoxMuller2), rngStatusOk);
    return Doubles(v);
  };
  const std::function<std::int32_t(TRngStream&)> jumps[] = {
      [](TRngStream& s) { return s.SkipAheadStream(10); },
      [](TRngStream& s) { return s.LeapfrogStream(1, 3); },
  };
  for (const auto& jump : jumps) {
    TRngStream a, b;
    a.NewStream(brgMCG31, 5);
    b.NewStream(brgMCG31, 5);
    gauss(a, 1);  // two uniforms used, the cosine partner kept
    ASSERT_EQ(b.SkipAheadStream(2), rngStatusOk);
    ASSERT_EQ(jump(a), rngStatusOk);
    ASSERT_EQ(jump(b), rngStatusOk);
    EXPECT_EQ(gauss(a, 3), gauss(b, 3));
  }
  // A jump of nothing, or one refused, leaves the stream and its partner as they were.
  for (auto id : {brgMCG31, brgR250}) {
    TRngStream a, b;
    a.NewStream(id, 5);
    b.NewStream(id, 5);
    gauss(a, 1);
    const auto partner = gauss(b, 2)[1];
    a.SkipAheadStream(id == brgMCG31 ? 0 : 10);
    EXPECT_EQ(gauss(a, 1)[0], partner) << id;
  }
}

TEST(RandomGenerator, IndependenceSchemes) {
  TRngStream base;
  base.NewStream(brgMCG31, 42);
  const auto ref = Uniforms(base, 2100);

  TRandomGenerator g;
  EXPECT_EQ(std::pair(g.StreamCount(), g.BlockStep()), std::pair(0, 1024));
  g.Init(brgMCG31, 42);  // no streams yet: nothing happens, the seed is not even stored
  EXPECT_EQ(g.Seed(), 1u);
  g.SetStreamCount(3);
  g.Init(brgMCG31, 42);
  // rsiNone: identical sequences.
  const std::vector<double> first(ref.begin(), ref.begin() + 50);
  for (int i : {0, 1, 2}) EXPECT_EQ(Uniforms(g.Streams(i), 50), first) << i;
  // The same count keeps the states: stream 0 continues where it stopped.
  g.SetStreamCount(3);
  EXPECT_EQ(Uniforms(g.Streams(0), 1)[0], ref[50]);

  g.SetStreamIndependence(rsiLeapfrog);
  g.SetStreamCount(2);
  const auto l0 = Uniforms(g.Streams(0), 20), l1 = Uniforms(g.Streams(1), 20);
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(l0[i] == ref[2 * i] && l1[i] == ref[2 * i + 1]) << i;

  g.SetStreamIndependence(rsiBlockSplitting);
  g.SetStreamCount(3);
  EXPECT_EQ(Uniforms(g.Streams(2), 1)[0], ref[2048]);
  EXPECT_EQ(Uniforms(g.Streams(1), 1)[0], ref[1024]);
  g.SetBlockStep(10);
  g.Init(brgMCG31, 42);  // re-seeds all streams with the new step
  EXPECT_EQ(Uniforms(g.Streams(2), 1)[0], ref[20]);

  // One short discrete draw after another stays inside the stream's own block.
  const auto raw = RawOutputs(brgMCG31, 42, 2200);
  g.SetBlockStep(1024);
  g.SetStreamCount(2);
  TVec one(1);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(g.Streams(0).RandomPoisson(one, 10.0), rngStatusOk);
    ASSERT_EQ(g.Streams(1).RandomBinomial(one, 30, 0.2), rngStatusOk);
  }
  EXPECT_EQ(Position(g.Streams(0), raw), 100);
  EXPECT_EQ(Position(g.Streams(1), raw), 1124);

  for (std::int32_t bad : {3, -1})
    EXPECT_EQ(MessageOf<EQuorelException>([&] { g.Streams(bad); }), "Stream index out of bounds!") << bad;
}

}  // namespace
