#pragma once
// Random streams: TRngStream fills vectors from seventeen distributions over one basic
// generator; TRandomGenerator owns a set of streams made independent by leapfrogging or block
// splitting, one stream per consumer thread.
//
// Stream methods return a status (rngStatusOk or one of the rngErr* codes of random_types.h)
// and never raise for bad parameters: a failed call leaves the destination as it was. The
// destination keeps its length (the number of values drawn) and is made real; integer laws mark
// it as integer data and write its integer view.

#include <cstdint>
#include <memory>
#include <vector>

#include "quorel/stats/random_types.h"

namespace quorel {

class TVec;
class TMtx;
namespace rng {
class TEngine;
}

/// One stream of random numbers. Not safe for concurrent use.
class TRngStream {
 public:
  TRngStream();
  ~TRngStream();
  TRngStream(const TRngStream&) = delete;
  TRngStream& operator=(const TRngStream&) = delete;

  // --- the stream itself ---------------------------------------------------------------------
  /// Replaces the stream by a new one on basic generator `brng` (its low 16 bits) and `seed`.
  std::int32_t NewStream(std::int32_t brng, std::uint32_t seed);
  /// Deletes the stream (the object stays, without a stream).
  void DeleteStream();
  /// True while the object holds a stream.
  bool HasStream() const { return fStream != nullptr; }
  /// From now on the stream yields values k, k + n, k + 2n, ... of its sequence.
  std::int32_t LeapfrogStream(std::int32_t k, std::int32_t nstreams);
  /// Skips n values (n >= 0).
  std::int32_t SkipAheadStream(std::int64_t n);
  /// Deletes the own stream and puts a copy of Src's in its place (with its position and Gaussian
  /// carry); a Src without a stream leaves none.
  std::int32_t Copy(const TRngStream& src);
  /// Copies Src's generator state into the existing stream (same basic generator only).
  std::int32_t CopyState(const TRngStream& src);

  // --- continuous laws -------------------------------------------------------------------------
  /// Uniform on [a, b).
  std::int32_t RandomUniform(TVec& dst, double a, double b);
  /// Normal with mean and standard deviation; grmBoxMuller unless a method is given.
  std::int32_t RandomGaussian(TVec& dst, double mean, double stdDev);
  std::int32_t RandomGaussian(TVec& dst, double mean, double stdDev, TGaussRandMethod method);
  /// Density exp(-(x - a)/beta)/beta for x >= a.
  std::int32_t RandomExponential(TVec& dst, double a, double beta);
  /// Density exp(-|x - a|/beta)/(2 beta).
  std::int32_t RandomLaplace(TVec& dst, double a, double beta);
  /// F = 1 - exp(-((x - a)/beta)^alpha).
  std::int32_t RandomWeibull(TVec& dst, double alpha, double a, double beta);
  /// Density 1/(pi beta (1 + ((x - a)/beta)^2)).
  std::int32_t RandomCauchy(TVec& dst, double a, double beta);
  /// Weibull with shape 2.
  std::int32_t RandomRayleigh(TVec& dst, double a, double beta);
  /// beta exp(N(a, sigma)) + b.
  std::int32_t RandomLognormal(TVec& dst, double a, double sigma, double b, double beta);
  /// F = 1 - exp(-exp((x - a)/beta)).
  std::int32_t RandomGumbel(TVec& dst, double a, double beta);

  // --- integer laws ------------------------------------------------------------------------------
  /// 1 with probability p, else 0.
  std::int32_t RandomBernoulli(TVec& dst, double p);
  /// P(k) = p (1 - p)^k, k >= 0; p in (0, 1].
  std::int32_t RandomGeometric(TVec& dst, double p);
  /// Number of successes in ntrial trials of probability p.
  std::int32_t RandomBinomial(TVec& dst, std::int32_t ntrial, double p);
  /// P(k) = C(marked, k) C(lot - marked, sample - k) / C(lot, sample).
  std::int32_t RandomHypergeometric(TVec& dst, std::int32_t lot, std::int32_t sample, std::int32_t marked);
  /// P(k) = C(a + k - 1, k) p^a (1 - p)^k with real a > 0.
  std::int32_t RandomNegbinomial(TVec& dst, double a, double p);
  /// Poisson with mean lambda (0 < lambda <= 2^30); prmPTPE unless a method is given.
  std::int32_t RandomPoisson(TVec& dst, double lambda);
  std::int32_t RandomPoisson(TVec& dst, double lambda, TPoissonRandMethod method);
  /// One draw per mean: dst[i] from Lamda[i]. A complex Lamda raises "Lamda.Complex = True!".
  std::int32_t RandomPoisson(TVec& dst, const TVec& lamda);
  std::int32_t RandomPoisson(TVec& dst, const TVec& lamda, TPoissonRandMethod method);
  /// Integers uniform on [a, b).
  std::int32_t RandomUniformI(TVec& dst, std::int32_t a, std::int32_t b);
  /// The raw 32-bit outputs of the basic generator.
  std::int32_t RandomUniformbitsI(TVec& dst);
  /// Does nothing, deliberately: the entry exists and leaves its arguments alone.
  std::int32_t RandomGaussianMV(TMtx& /*dst*/, const TVec& /*mean*/, const TVec& /*factor*/) { return rngStatusOk; }

 private:
  std::unique_ptr<rng::TEngine> fStream;
};

/// A set of streams on one basic generator and seed, made independent as StreamIndependence says.
class TRandomGenerator {
 public:
  TRandomGenerator();
  ~TRandomGenerator();
  TRandomGenerator(const TRandomGenerator&) = delete;
  TRandomGenerator& operator=(const TRandomGenerator&) = delete;

  /// Re-creates every stream on `basicGenerator` and `seed` (nothing when there are none), then
  /// applies the independence scheme: none (identical streams), leapfrog (stream i takes every
  /// StreamCount-th value from offset i) or block splitting (stream i starts BlockStep * i on).
  /// Streams whose generator cannot leapfrog or skip stay at the start of the sequence.
  void Init(TBasicRandomGenerator basicGenerator, std::uint32_t seed);

  /// Number of streams.
  std::int32_t StreamCount() const { return static_cast<std::int32_t>(fStreams.size()); }
  /// A different count frees all streams, creates N new ones and calls Init with the stored
  /// generator and seed; the same count keeps the streams as they are. N < 0 counts as 0.
  void SetStreamCount(std::int32_t n);
  /// How the streams are made independent.
  TRngStreamIndependence StreamIndependence() const { return fStreamIndependence; }
  /// Takes effect at the next Init or count change.
  void SetStreamIndependence(TRngStreamIndependence value) { fStreamIndependence = value; }
  /// Values between the starts of consecutive streams under block splitting.
  std::int32_t BlockStep() const { return fBlockStep; }
  /// Takes effect at the next Init or count change.
  void SetBlockStep(std::int32_t value) { fBlockStep = value; }
  /// Seed of the last Init.
  std::uint32_t Seed() const { return fSeed; }
  /// Basic generator of the last Init.
  TBasicRandomGenerator BasicGenerator() const { return fBasicGenerator; }

  /// Stream Index; "Stream index out of bounds!" (EQuorelException) past the last one.
  TRngStream& Streams(std::int32_t index) { return GetStream(index); }
  /// Same as Streams(index).
  TRngStream& GetStream(std::int32_t index);
  /// Ignores its arguments, deliberately: the streams cannot be replaced from outside.
  void SetStream(std::int32_t /*index*/, TRngStream* /*value*/) {}

 private:
  std::vector<std::unique_ptr<TRngStream>> fStreams;
  TRngStreamIndependence fStreamIndependence = rsiNone;
  std::uint32_t fSeed = 1;
  TBasicRandomGenerator fBasicGenerator = brgMCG31;
  std::int32_t fBlockStep = 1024;
};

}  // namespace quorel
