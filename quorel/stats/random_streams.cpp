// TRngStream and TRandomGenerator over the basic generators and samplers of the platform layer.
#include "quorel/stats/random_streams.h"

#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/random/engines.h"
#include "quorel/platform/random/samplers.h"

namespace quorel {
namespace {

// Every fill: status checks first (nothing is touched on failure), then the destination becomes
// real storage of its own length and the sampler writes its double or integer view.
template <class F>
std::int32_t FillReal(rng::TEngine* e, TVec& dst, bool ok, F sampler) {
  if (!e) return rngErrNullStream;
  if (!ok) return rngErrBadParameter;
  const std::int32_t n = dst.Length();
  dst.Size(n, false);
  dst.SetIsInteger(false);
  sampler(*e, dst.Values().data(), n);
  return rngStatusOk;
}

template <class F>
std::int32_t FillInt(rng::TEngine* e, TVec& dst, bool ok, F sampler) {
  if (!e) return rngErrNullStream;
  if (!ok) return rngErrBadParameter;
  const std::int32_t n = dst.Length();
  dst.Size(n, false);
  dst.SetIsInteger(true);
  sampler(*e, dst.IValues().data(), n);
  return rngStatusOk;
}

bool MethodOk(std::int32_t method) { return method == 0 || method == 1; }

}  // namespace

TRngStream::TRngStream() = default;
TRngStream::~TRngStream() = default;

std::int32_t TRngStream::NewStream(std::int32_t brng, std::uint32_t seed) {
  auto e = rng::NewEngine(brng & 0xFFFF, seed);
  if (!e) return rngErrBadGenerator;
  fStream = std::move(e);
  return rngStatusOk;
}

void TRngStream::DeleteStream() { fStream.reset(); }

std::int32_t TRngStream::LeapfrogStream(std::int32_t k, std::int32_t nstreams) {
  if (!fStream) return rngErrNullStream;
  if (k < 0 || nstreams < 1) return rngErrBadLeapfrog;
  return fStream->Leapfrog(static_cast<std::uint32_t>(k), static_cast<std::uint32_t>(nstreams));
}

std::int32_t TRngStream::SkipAheadStream(std::int64_t n) {
  if (!fStream) return rngErrNullStream;
  if (n < 0) return rngErrBadParameter;
  return fStream->SkipAhead(static_cast<std::uint64_t>(n));
}

std::int32_t TRngStream::Copy(const TRngStream& src) {
  if (&src == this) return fStream ? rngStatusOk : rngErrNullStream;
  // The own stream goes first, whether or not there is one to copy.
  fStream.reset();
  if (!src.fStream) return rngErrNullStream;
  fStream = src.fStream->Clone();
  return rngStatusOk;
}

std::int32_t TRngStream::CopyState(const TRngStream& src) {
  if (!fStream || !src.fStream) return rngErrNullStream;
  if (&src == this) return rngStatusOk;
  return fStream->CopyStateFrom(*src.fStream);
}

// --- continuous ----------------------------------------------------------------------------------
std::int32_t TRngStream::RandomUniform(TVec& dst, double a, double b) {
  return FillReal(fStream.get(), dst, rng::UniformOk(a, b), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Uniform(e, r, n, a, b);
  });
}

std::int32_t TRngStream::RandomGaussian(TVec& dst, double mean, double stdDev) {
  return RandomGaussian(dst, mean, stdDev, grmBoxMuller);
}

std::int32_t TRngStream::RandomGaussian(TVec& dst, double mean, double stdDev, TGaussRandMethod method) {
  if (fStream && !MethodOk(method)) return rngErrBadMethod;
  return FillReal(fStream.get(), dst, rng::LocScaleOk(mean, stdDev), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Gaussian(e, r, n, mean, stdDev, method);
  });
}

std::int32_t TRngStream::RandomExponential(TVec& dst, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::LocScaleOk(a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Exponential(e, r, n, a, beta);
  });
}

std::int32_t TRngStream::RandomLaplace(TVec& dst, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::LocScaleOk(a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Laplace(e, r, n, a, beta);
  });
}

std::int32_t TRngStream::RandomWeibull(TVec& dst, double alpha, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::WeibullOk(alpha, a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Weibull(e, r, n, alpha, a, beta);
  });
}

std::int32_t TRngStream::RandomCauchy(TVec& dst, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::LocScaleOk(a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Cauchy(e, r, n, a, beta);
  });
}

std::int32_t TRngStream::RandomRayleigh(TVec& dst, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::LocScaleOk(a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Rayleigh(e, r, n, a, beta);
  });
}

std::int32_t TRngStream::RandomLognormal(TVec& dst, double a, double sigma, double b, double beta) {
  return FillReal(fStream.get(), dst, rng::LognormalOk(a, sigma, b, beta),
                  [&](rng::TEngine& e, double* r, std::int32_t n) { rng::Lognormal(e, r, n, a, sigma, b, beta); });
}

std::int32_t TRngStream::RandomGumbel(TVec& dst, double a, double beta) {
  return FillReal(fStream.get(), dst, rng::LocScaleOk(a, beta), [&](rng::TEngine& e, double* r, std::int32_t n) {
    rng::Gumbel(e, r, n, a, beta);
  });
}

// --- integer -------------------------------------------------------------------------------------
std::int32_t TRngStream::RandomBernoulli(TVec& dst, double p) {
  return FillInt(fStream.get(), dst, rng::ProbOk(p), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::Bernoulli(e, r, n, p);
  });
}

std::int32_t TRngStream::RandomGeometric(TVec& dst, double p) {
  return FillInt(fStream.get(), dst, rng::PositiveProbOk(p), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::Geometric(e, r, n, p);
  });
}

std::int32_t TRngStream::RandomBinomial(TVec& dst, std::int32_t ntrial, double p) {
  return FillInt(fStream.get(), dst, rng::BinomialOk(ntrial, p), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::Binomial(e, r, n, ntrial, p);
  });
}

std::int32_t TRngStream::RandomHypergeometric(TVec& dst, std::int32_t lot, std::int32_t sample, std::int32_t marked) {
  return FillInt(fStream.get(), dst, rng::HypergeometricOk(lot, sample, marked),
                 [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) { rng::Hypergeometric(e, r, n, lot, sample, marked); });
}

std::int32_t TRngStream::RandomNegbinomial(TVec& dst, double a, double p) {
  return FillInt(fStream.get(), dst, rng::NegbinomialOk(a, p), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::Negbinomial(e, r, n, a, p);
  });
}

std::int32_t TRngStream::RandomPoisson(TVec& dst, double lambda) { return RandomPoisson(dst, lambda, prmPTPE); }

std::int32_t TRngStream::RandomPoisson(TVec& dst, double lambda, TPoissonRandMethod method) {
  if (fStream && !MethodOk(method)) return rngErrBadMethod;
  return FillInt(fStream.get(), dst, rng::PoissonOk(lambda), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::Poisson(e, r, n, lambda, method);
  });
}

std::int32_t TRngStream::RandomPoisson(TVec& dst, const TVec& lamda) { return RandomPoisson(dst, lamda, prmPTPE); }

std::int32_t TRngStream::RandomPoisson(TVec& dst, const TVec& lamda, TPoissonRandMethod method) {
  if (lamda.Complex()) ERaise("Lamda.Complex = True!");
  if (fStream && !MethodOk(method)) return rngErrBadMethod;
  const std::int32_t n = dst.Length();
  bool ok = lamda.Length() >= n;
  for (std::int32_t i = 0; ok && i < n; ++i) ok = rng::PoissonOk(lamda.Values()[i]);
  // Drawing into the means themselves: read them from a copy.
  std::vector<double> own;
  const double* means = lamda.Values().data();
  if (ok && &lamda == &dst) {
    own.assign(lamda.Values().begin(), lamda.Values().begin() + n);
    means = own.data();
  }
  return FillInt(fStream.get(), dst, ok, [&](rng::TEngine& e, std::int32_t* r, std::int32_t m) {
    rng::PoissonV(e, r, m, means, method);
  });
}

std::int32_t TRngStream::RandomUniformI(TVec& dst, std::int32_t a, std::int32_t b) {
  return FillInt(fStream.get(), dst, rng::UniformIOk(a, b), [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::UniformI(e, r, n, a, b);
  });
}

std::int32_t TRngStream::RandomUniformbitsI(TVec& dst) {
  return FillInt(fStream.get(), dst, true, [&](rng::TEngine& e, std::int32_t* r, std::int32_t n) {
    rng::UniformBits(e, r, n);
  });
}

// --- TRandomGenerator ----------------------------------------------------------------------------
TRandomGenerator::TRandomGenerator() = default;

TRandomGenerator::~TRandomGenerator() { SetStreamCount(0); }

void TRandomGenerator::Init(TBasicRandomGenerator basicGenerator, std::uint32_t seed) {
  if (StreamCount() < 1) return;
  for (auto& s : fStreams) s->DeleteStream();
  fBasicGenerator = basicGenerator;
  fSeed = seed;
  const std::int32_t count = StreamCount();
  for (std::int32_t i = 0; i < count; ++i) {
    TRngStream& s = *fStreams[i];
    if (s.NewStream(basicGenerator & 0xFFFF, seed) != rngStatusOk) continue;
    // Statuses of the independence step are not reported, as for the stream creation.
    if (fStreamIndependence == rsiLeapfrog)
      s.LeapfrogStream(i, count);
    else if (fStreamIndependence == rsiBlockSplitting)
      s.SkipAheadStream(static_cast<std::int64_t>(fBlockStep) * i);
  }
}

void TRandomGenerator::SetStreamCount(std::int32_t n) {
  if (n < 0) n = 0;
  if (n == StreamCount()) return;
  fStreams.clear();
  fStreams.reserve(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) fStreams.push_back(std::make_unique<TRngStream>());
  Init(fBasicGenerator, fSeed);
}

TRngStream& TRandomGenerator::GetStream(std::int32_t index) {
  // One unsigned comparison: a negative index is refused as well.
  if (static_cast<std::uint32_t>(index) >= fStreams.size()) ERaise("Stream index out of bounds!");
  return *fStreams[static_cast<std::size_t>(index)];
}

}  // namespace quorel
