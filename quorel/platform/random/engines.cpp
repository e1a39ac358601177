// The basic generators' recurrences, seeding and jumps.
#include "quorel/platform/random/engines.h"

#include <algorithm>
#include <cstring>

namespace quorel::rng {
namespace {

// a^e mod m for m < 2^32.
std::uint64_t PowMod(std::uint64_t a, std::uint64_t e, std::uint64_t m) {
  std::uint64_t r = 1 % m;
  a %= m;
  for (; e; e >>= 1) {
    if (e & 1) r = r * a % m;
    a = a * a % m;
  }
  return r;
}

// a^e mod 2^59.
std::uint64_t Pow59(std::uint64_t a, std::uint64_t e) {
  std::uint64_t r = 1;
  for (; e; e >>= 1) {
    if (e & 1) r = (r * a) & TMcg59::kMask;
    a = (a * a) & TMcg59::kMask;
  }
  return r;
}

}  // namespace

std::unique_ptr<TEngine> NewEngine(std::int32_t id, std::uint32_t seed) {
  switch (id) {
    case brgMCG31: return std::make_unique<TMcg31>(seed);
    case brgR250: return std::make_unique<TR250>(seed);
    case brgMRG32K3A: return std::make_unique<TMrg32k3a>(seed);
    case brgMCG59: return std::make_unique<TMcg59>(seed);
    case brgMT19937: return std::make_unique<TMt19937>(seed);
    case brgPhilox4x32x10: return std::make_unique<TPhilox4x32>(seed);
    default: return nullptr;
  }
}

// --- MCG31 ---------------------------------------------------------------------------------------
TMcg31::TMcg31(std::uint32_t seed) : TEngineOf(brgMCG31), fX(seed % kM) {
  if (fX == 0) fX = 1;
}

void TMcg31::Raw(std::uint32_t* r, std::ptrdiff_t n) {
  std::uint64_t x = fX;
  const std::uint64_t a = fMul;
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    x = x * a % kM;
    r[i] = static_cast<std::uint32_t>(x);
  }
  fX = x;
}

std::int32_t TMcg31::DoSkipAhead(std::uint64_t n) {
  fX = fX * PowMod(fMul, n % (kM - 1), kM) % kM;
  return rngStatusOk;
}

std::int32_t TMcg31::DoLeapfrog(std::uint32_t k, std::uint32_t s) {
  if (s < 1 || k >= s) return rngErrBadLeapfrog;
  // The first new output is old output k: the state moves by mul^(k + 1 - s), the exponent taken
  // modulo the group order m - 1 (so a negative one is an inverse); the multiplier becomes mul^s.
  const std::uint64_t ord = kM - 1;
  const std::uint64_t e = (static_cast<std::uint64_t>(k) + 1 + ord - s % ord) % ord;
  fX = fX * PowMod(fMul, e, kM) % kM;
  fMul = PowMod(fMul, s, kM);
  return rngStatusOk;
}

// --- MCG59 ---------------------------------------------------------------------------------------
TMcg59::TMcg59(std::uint32_t seed) : TEngineOf(brgMCG59), fX(seed == 0 ? 1 : seed) {}

void TMcg59::Raw(std::uint64_t* r, std::ptrdiff_t n) {
  std::uint64_t x = fX;
  const std::uint64_t a = fMul;
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    x = (x * a) & kMask;
    r[i] = x;
  }
  fX = x;
}

std::int32_t TMcg59::DoSkipAhead(std::uint64_t n) {
  fX = (fX * Pow59(fMul, n)) & kMask;
  return rngStatusOk;
}

std::int32_t TMcg59::DoLeapfrog(std::uint32_t k, std::uint32_t s) {
  if (s < 1 || k >= s) return rngErrBadLeapfrog;
  // As for MCG31; odd multipliers modulo 2^59 have order dividing 2^57.
  const std::uint64_t ord = std::uint64_t{1} << 57;
  const std::uint64_t e = (static_cast<std::uint64_t>(k) + 1 + ord - s) % ord;
  fX = (fX * Pow59(fMul, e)) & kMask;
  fMul = Pow59(fMul, s);
  return rngStatusOk;
}

// --- R250 ----------------------------------------------------------------------------------------
TR250::TR250(std::uint32_t seed) : TEngineOf(brgR250) {
  std::uint32_t x = seed == 0 ? 1 : seed;
  for (int i = 0; i < 250; ++i) {
    fBuf[i] = x;
    x *= 69069u;
  }
  // Words 7k + 3 as rows of a bit matrix: one on the diagonal, zeros before it, so that the
  // 32 words are linearly independent.
  for (int k = 0; k < 32; ++k) {
    std::uint32_t& w = fBuf[7 * k + 3];
    w = (w & (0xFFFFFFFFu >> k)) | (0x80000000u >> k);
  }
}

void TR250::Raw(std::uint32_t* r, std::ptrdiff_t n) {
  int p = fPos;
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    const int q = p < 103 ? p + 147 : p - 103;  // x_{n-103}
    const std::uint32_t v = fBuf[p] ^ fBuf[q];
    fBuf[p] = v;
    r[i] = v;
    p = p == 249 ? 0 : p + 1;
  }
  fPos = p;
}

// --- MRG32k3a ------------------------------------------------------------------------------------
namespace {
constexpr std::int64_t kA12 = 1403580, kA13 = 810728, kA21 = 527612, kA23 = 1370589;
using TMat3 = std::uint64_t[3][3];

void MatMulMod(const TMat3 a, const TMat3 b, TMat3 r, std::uint64_t m) {
  std::uint64_t t[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      unsigned __int128 s = 0;
      for (int k = 0; k < 3; ++k) s += static_cast<unsigned __int128>(a[i][k]) * b[k][j];
      t[i][j] = static_cast<std::uint64_t>(s % m);
    }
  std::memcpy(r, t, sizeof t);
}

// state <- A^e state modulo m.
void MatPowApply(const TMat3 a0, std::uint64_t e, std::int64_t* state, std::uint64_t m) {
  std::uint64_t p[3][3], r[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  std::memcpy(p, a0, sizeof p);
  for (; e; e >>= 1) {
    if (e & 1) MatMulMod(r, p, r, m);
    MatMulMod(p, p, p, m);
  }
  std::int64_t out[3];
  for (int i = 0; i < 3; ++i) {
    unsigned __int128 s = 0;
    for (int k = 0; k < 3; ++k) s += static_cast<unsigned __int128>(r[i][k]) * static_cast<std::uint64_t>(state[k]);
    out[i] = static_cast<std::int64_t>(s % m);
  }
  std::copy(out, out + 3, state);
}
}  // namespace

TMrg32k3a::TMrg32k3a(std::uint32_t seed)
    : TEngineOf(brgMRG32K3A), fX{static_cast<std::int64_t>(seed % kM1), 1, 1}, fY{1, 1, 1} {}

TMrg32k3a::TMrg32k3a(const std::uint32_t x[3], const std::uint32_t y[3]) : TEngineOf(brgMRG32K3A) {
  for (int i = 0; i < 3; ++i) {
    fX[i] = x[i] % kM1;
    fY[i] = y[i] % kM2;
  }
}

void TMrg32k3a::Raw(std::uint32_t* r, std::ptrdiff_t n) {
  std::int64_t x0 = fX[0], x1 = fX[1], x2 = fX[2], y0 = fY[0], y1 = fY[1], y2 = fY[2];
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    std::int64_t p1 = (kA12 * x1 - kA13 * x0) % kM1;
    if (p1 < 0) p1 += kM1;
    std::int64_t p2 = (kA21 * y2 - kA23 * y0) % kM2;
    if (p2 < 0) p2 += kM2;
    x0 = x1, x1 = x2, x2 = p1;
    y0 = y1, y1 = y2, y2 = p2;
    const std::int64_t z = p1 - p2;
    r[i] = static_cast<std::uint32_t>(z < 0 ? z + kM1 : z);
  }
  fX[0] = x0, fX[1] = x1, fX[2] = x2;
  fY[0] = y0, fY[1] = y1, fY[2] = y2;
}

std::int32_t TMrg32k3a::DoSkipAhead(std::uint64_t n) {
  // The two components are linear maps of their last three values.
  const std::uint64_t a1[3][3] = {{0, 1, 0}, {0, 0, 1}, {std::uint64_t(kM1 - kA13), std::uint64_t(kA12), 0}};
  const std::uint64_t a2[3][3] = {{0, 1, 0}, {0, 0, 1}, {std::uint64_t(kM2 - kA23), 0, std::uint64_t(kA21)}};
  MatPowApply(a1, n, fX, kM1);
  MatPowApply(a2, n, fY, kM2);
  return rngStatusOk;
}

// --- MT19937 -------------------------------------------------------------------------------------
TMt19937::TMt19937(std::uint32_t seed) : TEngineOf(brgMT19937) {
  fMt[0] = seed;
  for (int i = 1; i < kN; ++i) fMt[i] = 1812433253u * (fMt[i - 1] ^ (fMt[i - 1] >> 30)) + static_cast<std::uint32_t>(i);
}

void TMt19937::Regenerate() {
  int k = 0;
  for (; k < kN - kM; ++k) fMt[k] = detail::MtTwist(fMt[k], fMt[k + 1], fMt[k + kM]);
  for (; k < kN - 1; ++k) fMt[k] = detail::MtTwist(fMt[k], fMt[k + 1], fMt[k + kM - kN]);
  fMt[kN - 1] = detail::MtTwist(fMt[kN - 1], fMt[0], fMt[kM - 1]);
  fIndex = 0;
}

void TMt19937::Raw(std::uint32_t* r, std::ptrdiff_t n) {
  while (n > 0) {
    if (fIndex == kN) Regenerate();
    const std::ptrdiff_t m = std::min<std::ptrdiff_t>(n, kN - fIndex);
    const std::uint32_t* s = fMt + fIndex;
    for (std::ptrdiff_t i = 0; i < m; ++i) {
      std::uint32_t y = s[i];
      y ^= y >> 11;
      y ^= (y << 7) & 0x9D2C5680u;
      y ^= (y << 15) & 0xEFC60000u;
      y ^= y >> 18;
      r[i] = y;
    }
    fIndex += static_cast<int>(m);
    r += m;
    n -= m;
  }
}

std::int32_t TMt19937::DoSkipAhead(std::uint64_t n) {
  // The buffer holds the words w_S .. w_{S+623} and the next output is w_{S+fIndex}; moving the
  // buffer by n words moves the output position by n.
  if (n) detail::MtJump(fMt, n);
  return rngStatusOk;
}

// --- Philox4x32-10 -------------------------------------------------------------------------------
TPhilox4x32::TPhilox4x32(std::uint32_t seed) : TEngineOf(brgPhilox4x32x10), fKey{seed, 0} {}

void TPhilox4x32::Block(const std::uint32_t ctr[4], const std::uint32_t key[2], std::uint32_t out[4]) {
  std::uint32_t c0 = ctr[0], c1 = ctr[1], c2 = ctr[2], c3 = ctr[3], k0 = key[0], k1 = key[1];
  for (int round = 0; round < 10; ++round) {
    const std::uint64_t p0 = std::uint64_t{0xD2511F53u} * c0;
    const std::uint64_t p1 = std::uint64_t{0xCD9E8D57u} * c2;
    const std::uint32_t n0 = static_cast<std::uint32_t>(p1 >> 32) ^ c1 ^ k0;
    const std::uint32_t n2 = static_cast<std::uint32_t>(p0 >> 32) ^ c3 ^ k1;
    c1 = static_cast<std::uint32_t>(p1);
    c3 = static_cast<std::uint32_t>(p0);
    c0 = n0;
    c2 = n2;
    k0 += 0x9E3779B9u;
    k1 += 0xBB67AE85u;
  }
  out[0] = c0, out[1] = c1, out[2] = c2, out[3] = c3;
}

void TPhilox4x32::Advance(unsigned __int128 blocks) {
  unsigned __int128 lo = (static_cast<unsigned __int128>(fCtr[1]) << 32 | fCtr[0]) |
                         static_cast<unsigned __int128>(static_cast<std::uint64_t>(fCtr[3]) << 32 | fCtr[2]) << 64;
  lo += blocks;  // the counter wraps modulo 2^128
  for (int i = 0; i < 4; ++i) fCtr[i] = static_cast<std::uint32_t>(lo >> (32 * i));
  fHave = false;
}

namespace {
// Blocks of counters c0 + j (j < kBatch) with the other counter words fixed, in structure-of-
// arrays form so that the rounds run on vectors; out receives the 4 kBatch words in order.
constexpr int kBatch = 64;
void PhiloxBatch(std::uint32_t c0, std::uint32_t c1, std::uint32_t c2, std::uint32_t c3, const std::uint32_t key[2],
                 std::uint32_t* out) {
  std::uint32_t x0[kBatch], x1[kBatch], x2[kBatch], x3[kBatch];
  for (int j = 0; j < kBatch; ++j) {
    x0[j] = c0 + static_cast<std::uint32_t>(j);
    x1[j] = c1;
    x2[j] = c2;
    x3[j] = c3;
  }
  std::uint32_t k0 = key[0], k1 = key[1];
  for (int round = 0; round < 10; ++round) {
    for (int j = 0; j < kBatch; ++j) {
      const std::uint64_t p0 = std::uint64_t{0xD2511F53u} * x0[j];
      const std::uint64_t p1 = std::uint64_t{0xCD9E8D57u} * x2[j];
      x0[j] = static_cast<std::uint32_t>(p1 >> 32) ^ x1[j] ^ k0;
      x2[j] = static_cast<std::uint32_t>(p0 >> 32) ^ x3[j] ^ k1;
      x1[j] = static_cast<std::uint32_t>(p1);
      x3[j] = static_cast<std::uint32_t>(p0);
    }
    k0 += 0x9E3779B9u;
    k1 += 0xBB67AE85u;
  }
  for (int j = 0; j < kBatch; ++j) {
    out[4 * j] = x0[j];
    out[4 * j + 1] = x1[j];
    out[4 * j + 2] = x2[j];
    out[4 * j + 3] = x3[j];
  }
}
}  // namespace

void TPhilox4x32::Raw(std::uint32_t* r, std::ptrdiff_t n) {
  std::ptrdiff_t i = 0;
  while (i < n) {
    if (fIdx == 0 && n - i >= 4 * kBatch && fCtr[0] <= 0xFFFFFFFFu - kBatch) {
      // Whole batches of blocks straight into the output while the low counter word cannot wrap.
      PhiloxBatch(fCtr[0], fCtr[1], fCtr[2], fCtr[3], fKey, r + i);
      i += 4 * kBatch;
      Advance(kBatch);
      continue;
    }
    if (fIdx == 0 && n - i >= 4) {
      Block(fCtr, fKey, r + i);
      i += 4;
      Advance(1);
      continue;
    }
    if (!fHave) {
      Block(fCtr, fKey, fOut);
      fHave = true;
    }
    r[i++] = fOut[fIdx++];
    if (fIdx == 4) {
      fIdx = 0;
      Advance(1);
    }
  }
}

std::int32_t TPhilox4x32::DoSkipAhead(std::uint64_t n) {
  const unsigned __int128 pos = static_cast<unsigned __int128>(fIdx) + n;
  fIdx = static_cast<int>(pos % 4);
  Advance(pos / 4);
  return rngStatusOk;
}

}  // namespace quorel::rng
