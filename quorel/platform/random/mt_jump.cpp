// Jumps of the Mersenne Twister in O(log n): with phi the characteristic polynomial of the
// one-word transition T, T^n = g(T) for g = x^n mod phi, and g(T) applied to the state is a sum of
// the states T^i s over the set coefficients of g. phi is found once from the output by
// Berlekamp-Massey over GF(2).
#include <bit>
#include <cstdint>
#include <vector>

#include "quorel/platform/random/engines.h"

namespace quorel::rng::detail {
namespace {

constexpr int kDeg = 19937;
using TPoly = std::vector<std::uint64_t>;  // bit i = coefficient of x^i

inline bool Bit(const TPoly& p, std::size_t i) { return (p[i >> 6] >> (i & 63)) & 1; }
inline void Flip(TPoly& p, std::size_t i) { p[i >> 6] ^= std::uint64_t{1} << (i & 63); }

// 64 bits of p starting at bit `pos` (zeros past the end).
inline std::uint64_t Window(const TPoly& p, std::size_t pos) {
  const std::size_t w = pos >> 6, b = pos & 63;
  const std::uint64_t lo = w < p.size() ? p[w] : 0;
  if (!b) return lo;
  const std::uint64_t hi = w + 1 < p.size() ? p[w + 1] : 0;
  return (lo >> b) | (hi << (64 - b));
}

// r ^= p << shift.
void XorShifted(TPoly& r, const TPoly& p, std::size_t shift) {
  const std::size_t w = shift >> 6, b = shift & 63;
  for (std::size_t j = 0; j < p.size() && w + j < r.size(); ++j) {
    r[w + j] ^= p[j] << b;
    if (b && w + j + 1 < r.size()) r[w + j + 1] ^= p[j] >> (64 - b);
  }
}

// The minimal polynomial of the generator's output sequence, which for the Mersenne Twister is
// the characteristic polynomial of degree 19937 (it is irreducible).
TPoly CharPoly() {
  const std::size_t n = 2 * kDeg;
  std::vector<std::uint32_t> out(n);
  TMt19937 mt(5489);
  mt.Raw(out.data(), static_cast<std::ptrdiff_t>(n));
  // The sequence reversed, so that the discrepancy is one windowed dot product.
  TPoly rev(n / 64 + 2, 0);
  for (std::size_t i = 0; i < n; ++i)
    if (out[i] >> 31) Flip(rev, n - 1 - i);

  const std::size_t words = n / 64 + 2;
  TPoly c(words, 0), b(words, 0), t;
  c[0] = b[0] = 1;
  std::size_t len = 0, shift = 1;
  for (std::size_t k = 0; k < n; ++k) {
    // d = sum_{i=0..len} c_i s_{k-i}, and s_{k-i} is bit n-1-k+i of rev.
    std::uint64_t acc = 0;
    const std::size_t off = n - 1 - k;
    for (std::size_t w = 0; w <= len / 64; ++w) acc ^= c[w] & Window(rev, off + 64 * w);
    if (!(std::popcount(acc) & 1)) {
      ++shift;
      continue;
    }
    if (2 * len <= k) {
      t = c;
      XorShifted(c, b, shift);
      len = k + 1 - len;
      b.swap(t);
      shift = 1;
    } else {
      XorShifted(c, b, shift);
      ++shift;
    }
  }
  // phi(x) = x^len c(1/x).
  TPoly phi(kDeg / 64 + 1, 0);
  for (std::size_t i = 0; i <= len; ++i)
    if (Bit(c, i)) Flip(phi, len - i);
  return phi;
}

const TPoly& Phi() {
  static const TPoly phi = CharPoly();
  return phi;
}

// r <- r mod phi, r of degree below 2 * kDeg.
void Reduce(TPoly& r, const TPoly& phi) {
  for (std::size_t d = 2 * kDeg; d-- > kDeg;)
    if (Bit(r, d)) XorShifted(r, phi, d - kDeg);
}

// x^n mod phi, left to right over the bits of n.
TPoly PowX(std::uint64_t n, const TPoly& phi) {
  const std::size_t words = 2 * kDeg / 64 + 2;
  TPoly r(words, 0), sq(words, 0);
  r[0] = 1;
  for (int bit = 63 - std::countl_zero(n); bit >= 0; --bit) {
    // Squaring over GF(2) spreads the bits: bit i goes to bit 2i.
    std::fill(sq.begin(), sq.end(), 0);
    for (std::size_t i = 0; i <= kDeg; ++i)
      if (Bit(r, i)) Flip(sq, 2 * i);
    Reduce(sq, phi);
    r.swap(sq);
    if ((n >> bit) & 1) {
      // Times x: shift left by one, then cancel the top bit.
      for (std::size_t w = words; w-- > 0;) r[w] = (r[w] << 1) | (w ? r[w - 1] >> 63 : 0);
      if (Bit(r, kDeg)) XorShifted(r, phi, 0);
    }
  }
  return r;
}


}  // namespace

void MtJump(std::uint32_t* mt, std::uint64_t n) {
  constexpr int N = TMt19937::kN, M = TMt19937::kM;
  const TPoly& phi = Phi();
  const TPoly g = PowX(n, phi);
  // Sum of T^i s over the set bits of g; the stepped state is a circular buffer starting at h.
  std::uint32_t st[N], acc[N] = {};
  std::copy(mt, mt + N, st);
  int h = 0;
  for (std::size_t i = 0; i < kDeg; ++i) {
    if (Bit(g, i)) {
      for (int j = 0; j < N - h; ++j) acc[j] ^= st[h + j];
      for (int j = N - h; j < N; ++j) acc[j] ^= st[j - (N - h)];
    }
    st[h] = MtTwist(st[h], st[(h + 1) % N], st[(h + M) % N]);
    h = h + 1 == N ? 0 : h + 1;
  }
  std::copy(acc, acc + N, mt);
}

}  // namespace quorel::rng::detail
