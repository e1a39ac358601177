#pragma once
// The basic generators behind the random streams: the recurrences, their seeding from one 32-bit
// seed, block output as raw integers and as doubles, and jumps in O(log n) where the generator
// has them. No objects, no checks beyond the statuses.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "quorel/stats/random_types.h"

namespace quorel::rng {

/// Values produced per block by the fills (stack buffers of this size).
inline constexpr std::ptrdiff_t kBlock = 512;

/// One basic generator with the sampler state that travels with it.
class TEngine {
 public:
  explicit TEngine(TBasicRandomGenerator id) : fId(id) {}
  virtual ~TEngine() = default;
  TBasicRandomGenerator Id() const { return fId; }
  virtual std::unique_ptr<TEngine> Clone() const = 0;
  /// Takes over other's state; other must be the same kind of generator.
  virtual std::int32_t CopyStateFrom(const TEngine& other) = 0;
  /// n doubles from the raw outputs: offset 0 gives raw / modulus in [0, 1), offset 0.5 the
  /// midpoints (raw + 0.5) / modulus in (0, 1).
  virtual void Uniform(double* r, std::ptrdiff_t n, double offset) = 0;
  /// n raw 32-bit outputs.
  virtual void Bits(std::uint32_t* r, std::ptrdiff_t n) = 0;
  /// Skips n outputs. A Gaussian partner kept from before the jump is dropped: it belongs to
  /// outputs behind the new position.
  std::int32_t SkipAhead(std::uint64_t n) { return Moved(DoSkipAhead(n), n > 0); }
  /// From now on yields outputs k, k + s, k + 2s, ... of the current sequence (the Gaussian partner
  /// dropped as by SkipAhead).
  std::int32_t Leapfrog(std::uint32_t k, std::uint32_t s) { return Moved(DoLeapfrog(k, s), k != 0 || s != 1); }

  // Second value of the last two-value Gaussian pair, kept for the next call.
  double gaussCarry = 0;
  bool hasGaussCarry = false;

 private:
  virtual std::int32_t DoSkipAhead(std::uint64_t) { return rngErrNoSkipAhead; }
  virtual std::int32_t DoLeapfrog(std::uint32_t, std::uint32_t) { return rngErrNoLeapfrog; }
  // A refused jump, or one that stays in place, keeps the partner.
  std::int32_t Moved(std::int32_t status, bool moves) {
    if (status == rngStatusOk && moves) hasGaussCarry = false;
    return status;
  }
  TBasicRandomGenerator fId;
};

/// A new generator seeded from `seed`; nullptr for an unknown identifier.
std::unique_ptr<TEngine> NewEngine(std::int32_t id, std::uint32_t seed);

/// Block output written once for every generator: D supplies Raw(R*, n), Bits32(R) and
/// ToDouble(R) (the raw value scaled so that a full block converts in one vectorisable loop).
template <class D, class R>
class TEngineOf : public TEngine {
 public:
  using TEngine::TEngine;
  std::unique_ptr<TEngine> Clone() const override { return std::make_unique<D>(static_cast<const D&>(*this)); }
  std::int32_t CopyStateFrom(const TEngine& other) override {
    const D* o = dynamic_cast<const D*>(&other);
    if (!o) return rngErrIncompatibleStreams;
    static_cast<D&>(*this) = *o;
    return rngStatusOk;
  }
  /// (raw + offset) scaled into (0, 1) for an offset in (0, 1); a generator whose mantissa could
  /// round up to 1 there hides this with a coarser exact one.
  static double Open(R x, double offset) { return (D::Mantissa(x) + offset) * D::kScale; }
  void Uniform(double* r, std::ptrdiff_t n, double offset) override {
    R raw[kBlock];
    while (n > 0) {
      const std::ptrdiff_t m = n < kBlock ? n : kBlock;
      static_cast<D*>(this)->Raw(raw, m);
      if (offset == 0) {
        for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = D::Mantissa(raw[i]) * D::kScale;
      } else {
        for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = D::Open(raw[i], offset);
      }
      r += m;
      n -= m;
    }
  }
  void Bits(std::uint32_t* r, std::ptrdiff_t n) override {
    if constexpr (sizeof(R) == 4) {
      static_cast<D*>(this)->Raw(r, n);
    } else {
      R raw[kBlock];
      while (n > 0) {
        const std::ptrdiff_t m = n < kBlock ? n : kBlock;
        static_cast<D*>(this)->Raw(raw, m);
        for (std::ptrdiff_t i = 0; i < m; ++i) r[i] = D::Bits32(raw[i]);
        r += m;
        n -= m;
      }
    }
  }
};

/// Multiplicative congruential generators x <- A x mod M with jumps by powers of the multiplier;
/// Ord is the order of the multiplicative group the states live in (exponents reduce modulo it).
class TMcg31 final : public TEngineOf<TMcg31, std::uint32_t> {
 public:
  static constexpr std::uint64_t kM = 2147483647u, kA = 1132489760u;
  static constexpr double kScale = 1.0 / 2147483647.0;
  explicit TMcg31(std::uint32_t seed);
  void Raw(std::uint32_t* r, std::ptrdiff_t n);
  static double Mantissa(std::uint32_t x) { return static_cast<double>(static_cast<std::int32_t>(x)); }
  std::uint32_t State() const { return fX; }

 private:
  std::int32_t DoSkipAhead(std::uint64_t n) override;
  std::int32_t DoLeapfrog(std::uint32_t k, std::uint32_t s) override;
  std::uint64_t fX, fMul = kA;
};

class TMcg59 final : public TEngineOf<TMcg59, std::uint64_t> {
 public:
  static constexpr std::uint64_t kMask = (std::uint64_t{1} << 59) - 1;
  static constexpr std::uint64_t kA = 302875106592253u;  // 13^13
  static constexpr double kScale = 0x1p-53;
  explicit TMcg59(std::uint32_t seed);
  void Raw(std::uint64_t* r, std::ptrdiff_t n);
  // The top 53 of the 59 bits, so that no double rounds up to 1.
  static double Mantissa(std::uint64_t x) { return static_cast<double>(static_cast<std::int64_t>(x >> 6)); }
  /// The top 52 bits for the open interval: 53 bits plus one half would round 2^53 - 1/2 to 2^53.
  static double Open(std::uint64_t x, double offset) {
    return (static_cast<double>(static_cast<std::int64_t>(x >> 7)) + offset) * 0x1p-52;
  }
  static std::uint32_t Bits32(std::uint64_t x) { return static_cast<std::uint32_t>(x >> 27); }

 private:
  std::int32_t DoSkipAhead(std::uint64_t n) override;
  std::int32_t DoLeapfrog(std::uint32_t k, std::uint32_t s) override;
  std::uint64_t fX, fMul = kA;
};

class TR250 final : public TEngineOf<TR250, std::uint32_t> {
 public:
  static constexpr double kScale = 0x1p-32;
  explicit TR250(std::uint32_t seed);
  void Raw(std::uint32_t* r, std::ptrdiff_t n);
  static double Mantissa(std::uint32_t x) { return static_cast<double>(x); }

 private:
  std::uint32_t fBuf[250];
  int fPos = 0;  // fBuf[fPos] holds x_{n-250}
};

class TMrg32k3a final : public TEngineOf<TMrg32k3a, std::uint32_t> {
 public:
  static constexpr std::int64_t kM1 = 4294967087, kM2 = 4294944443;
  static constexpr double kScale = 1.0 / 4294967087.0;
  explicit TMrg32k3a(std::uint32_t seed);
  /// State words (x_{n-3}, x_{n-2}, x_{n-1}) and (y_{n-3}, y_{n-2}, y_{n-1}).
  TMrg32k3a(const std::uint32_t x[3], const std::uint32_t y[3]);
  void Raw(std::uint32_t* r, std::ptrdiff_t n);
  static double Mantissa(std::uint32_t x) { return static_cast<double>(x); }

 private:
  std::int32_t DoSkipAhead(std::uint64_t n) override;
  std::int64_t fX[3], fY[3];
};

class TMt19937 final : public TEngineOf<TMt19937, std::uint32_t> {
 public:
  static constexpr int kN = 624, kM = 397;
  static constexpr double kScale = 0x1p-32;
  explicit TMt19937(std::uint32_t seed);
  void Raw(std::uint32_t* r, std::ptrdiff_t n);
  static double Mantissa(std::uint32_t x) { return static_cast<double>(x); }

 private:
  std::int32_t DoSkipAhead(std::uint64_t n) override;
  void Regenerate();
  std::uint32_t fMt[kN];
  int fIndex = kN;
};

class TPhilox4x32 final : public TEngineOf<TPhilox4x32, std::uint32_t> {
 public:
  static constexpr double kScale = 0x1p-32;
  explicit TPhilox4x32(std::uint32_t seed);
  /// The 10-round block function.
  static void Block(const std::uint32_t ctr[4], const std::uint32_t key[2], std::uint32_t out[4]);
  void Raw(std::uint32_t* r, std::ptrdiff_t n);
  static double Mantissa(std::uint32_t x) { return static_cast<double>(x); }

 private:
  std::int32_t DoSkipAhead(std::uint64_t n) override;
  void Advance(unsigned __int128 blocks);
  std::uint32_t fCtr[4] = {0, 0, 0, 0}, fKey[2];
  std::uint32_t fOut[4];
  int fIdx = 0;        // next word of block fCtr
  bool fHave = false;  // fOut holds block fCtr
};

namespace detail {
/// One step of the Mersenne Twister recurrence: the new word from w_k (its top bit), w_{k+1} (its
/// low 31 bits) and w_{k+397}.
inline std::uint32_t MtTwist(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  const std::uint32_t y = (a & 0x80000000u) | (b & 0x7FFFFFFFu);
  return c ^ (y >> 1) ^ ((y & 1u) ? 0x9908B0DFu : 0u);
}
/// Replaces the 624 words w_S .. w_{S+623} of the Mersenne Twister recurrence by w_{S+n} ..
/// w_{S+n+623} in O(log n) polynomial arithmetic (the low 31 bits of the first word excepted
/// when the words were never produced by the recurrence: they do not influence later words).
void MtJump(std::uint32_t* mt, std::uint64_t n);
}  // namespace detail

}  // namespace quorel::rng
