// Convolution, correlation, DCT, Goertzel, resampling, Hilbert and display reduction.
#include <barrier>
#include <cstring>
#include <functional>
#include <iterator>
#include <thread>

#include "quorel/signal/detail/convolve.h"
#include "quorel/signal/signal.h"
#include "signal_util.h"
#include "support/allocations.h"

namespace quorel::test {
namespace {

using detail::ConvPath;

// Forces one evaluation path for the scope.
struct PathScope {
  explicit PathScope(ConvPath p) { detail::ConvolvePath() = p; }
  ~PathScope() { detail::ConvolvePath() = ConvPath::Auto; }
};

std::vector<LCplx> NaiveConv(const std::vector<LCplx>& a, const std::vector<LCplx>& b) {
  std::vector<LCplx> y(a.size() + b.size() - 1);
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < b.size(); ++j) y[i + j] += a[i] * b[j];
  return y;
}

TVec Make(std::int32_t n, bool complex, unsigned seed) {
  return complex ? CplxVec(Noise(n, seed), Noise(n, seed + 100)) : RealVec(Noise(n, seed));
}

// Error relative to the largest value, in eps; sums of n products carry about n eps.
constexpr double kConvTol = 64;

TEST(Convolve, AgreesWithTheDirectSumOnBothPathsAndEveryKind) {
  for (ConvPath path : {ConvPath::Direct, ConvPath::Fft, ConvPath::Auto}) {
    PathScope scope(path);
    for (auto [nx, nh] : {std::pair{3, 2}, std::pair{1, 1}, std::pair{100, 37}, std::pair{2000, 300}, std::pair{40, 5000}}) {
      for (int kinds = 0; kinds < 4; ++kinds) {
        SCOPED_TRACE(testing::Message() << int(path) << " " << nx << "*" << nh << " kinds " << kinds);
        const TVec x = Make(nx, kinds & 1, 1), h = Make(nh, kinds & 2, 2);
        TVec y;
        y.Convolve(x, h);
        ASSERT_EQ(y.Length(), nx + nh - 1);
        EXPECT_EQ(y.Complex(), kinds != 0);
        EXPECT_LE(ErrEps(AsL(y), NaiveConv(AsL(x), AsL(h))), kConvTol);
      }
    }
  }
}

TEST(Correlate, AutoAndCrossAgreeWithTheirSums) {
  const std::int32_t n = 150, lags = 40, lo = 5, hi = 120;  // cross lags run past the end of y
  const TVec y = Make(90, false, 4);
  const auto ly = AsL(y);
  for (ConvPath path : {ConvPath::Direct, ConvPath::Fft}) {
    PathScope scope(path);
    for (bool complex : {false, true}) {
      SCOPED_TRACE(testing::Message() << int(path) << " complex " << complex);
      const TVec x = Make(n, complex, 3);
      const auto lx = AsL(x);
      std::vector<LCplx> normal(lags), biased(lags), unbiased(lags), cross(hi - lo + 1);
      for (std::int32_t k = 0; k < lags; ++k) {
        for (std::int32_t i = 0; i + k < n; ++i) normal[k] += lx[i + k] * std::conj(lx[i]);
        biased[k] = normal[k] / static_cast<long double>(n);
        unbiased[k] = normal[k] / static_cast<long double>(n - k);
      }
      for (std::int32_t k = lo; k <= hi; ++k)
        for (std::int32_t i = 0; i + k < 90; ++i) cross[k - lo] += std::conj(lx[i]) * ly[i + k];
      TVec a, b, u, c;
      a.AutoCorrNormal(x, lags);
      b.AutoCorrBiased(x, lags);
      u.AutoCorrUnBiased(x, lags);
      c.CrossCorr(x, y, lo, hi);
      for (auto [got, want] : {std::pair{&a, &normal}, {&b, &biased}, {&u, &unbiased}, {&c, &cross}}) {
        ASSERT_EQ(got->Length(), static_cast<std::int32_t>(want->size()));
        EXPECT_EQ(got->Complex(), complex);
        EXPECT_LE(ErrEps(AsL(*got), *want), kConvTol);
      }
    }
  }
}

TEST(Convolve, TwoDimensionalFullAndFiltered) {
  const TMtx x = NoiseMtx(6, 7, false, 5), h = NoiseMtx(3, 4, false, 6);
  std::vector<long double> full(8 * 10);
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j < 7; ++j)
      for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 4; ++b) full[(i + a) * 10 + j + b] += (long double)x.Values(i, j) * h.Values(a, b);
  for (ConvPath path : {ConvPath::Direct, ConvPath::Fft}) {
    PathScope scope(path);
    TMtx y, f;
    y.Convolve(x, h, false);
    f.Convolve(x, h, true);
    ASSERT_EQ(std::pair(y.Rows(), y.Cols()), std::pair(8, 10));
    ASSERT_EQ(std::pair(f.Rows(), f.Cols()), std::pair(6, 7));
    for (int i = 0; i < 8; ++i)
      for (int j = 0; j < 10; ++j) {
        EXPECT_NEAR(y.Values(i, j), (double)full[i * 10 + j], 1e-14);
        if (i >= 1 && i <= 6 && j >= 1 && j <= 7) EXPECT_NEAR(f.Values(i - 1, j - 1), (double)full[i * 10 + j], 1e-14);
      }
  }
}

TEST(Convolve, TwoDimensionalEmptyKernelSumsNoTerms) {
  const TMtx x = NoiseMtx(2, 3, false, 7);
  for (const TMtx& h : {TMtx(), TMtx(3, 0), TMtx(0, 2)}) {
    SCOPED_TRACE(testing::Message() << h.Rows() << "x" << h.Cols());
    TMtx full, fresh, reused(2, 3);
    reused.SetVal(99);  // stale values must not survive
    full.Convolve(x, h, false);
    EXPECT_EQ(full.Rows() * full.Cols(), 0);
    for (TMtx* f : {&fresh, &reused}) {
      f->Convolve(x, h, true);
      ASSERT_EQ(std::pair(f->Rows(), f->Cols()), std::pair(2, 3));
      EXPECT_EQ(Doubles(*f), std::vector<double>(6, 0.0));
    }
  }
}

TEST(Dct, MatchesTheClosedFormAndInverts) {
  const long double pi = 3.141592653589793238462643383279502884L;
  for (std::int32_t n : {1, 2, 5, 8, 31}) {
    SCOPED_TRACE(n);
    const TVec x = RealVec(Noise(n, 7));
    std::vector<LCplx> want(n);
    for (std::int32_t k = 0; k < n; ++k) {
      long double s = 0;
      for (std::int32_t j = 0; j < n; ++j) s += x[j] * std::cos(pi * (2 * j + 1) * k / (2 * n));
      want[k] = s * std::sqrt((k == 0 ? 1.0L : 2.0L) / n);
    }
    TVec y, z;
    y.DCT(x);
    EXPECT_LE(ErrEps(AsL(y), want), FftTol(n));
    z.IDCT(y);
    EXPECT_LE(ErrEps(AsL(z), AsL(x)), FftTol(n));
    // Range form on a shifted window, which has the other alignment class.
    TVec r(n + 1);
    r.DCT(x, 0, 1, n);
    EXPECT_EQ(r[0], 0.0);
    EXPECT_LE(ErrEps(Slice(r, 1, n), want), FftTol(n));
  }
}

TEST(Goertzel, GivesTheDftValueAtTheFrequency) {
  for (bool complex : {false, true}) {
    const std::int32_t n = 64;
    TVec x = Make(n, complex, 8);
    const auto want = NaiveDft(AsL(x), -1);
    x.GoertzInit(5.0 / n);
    const TCplx g = x.Goertz();
    EXPECT_LE(ErrEps({LCplx(g.Re, g.Im)}, {want[5]}), 64);
    EXPECT_EQ(Goertz(x), g);  // resets, so a second run gives the same
  }
  TVec r = RealVec({1, 2}), c = CplxVec({1}, {0});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.GoertzInit(0.5); }), "(not Complex) and (Freq >= 0.5)");
  c.GoertzInit(0.5);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.GoertzInit(1.0); }, "Freq >= 1)"},
      {[&] { c.GoertzInit(0.0); }, "Freq <= 0)"},
      {[&] { c.GoertzInit(std::nan("")); }, "Freq <= 0)"},
      {[&] { r.GoertzInit(std::nan("")); }, "Freq <= 0)"},
  });
}

TEST(Resample, UpAndDownWithPhaseAndRanges) {
  TVec up, down;
  up.UpSample(Real({1, 2}), 3, 1);
  EXPECT_EQ(Doubles(up), (std::vector<double>{0, 1, 0, 0, 2, 0}));
  down.DownSample(up, 3, 1);
  EXPECT_EQ(Doubles(down), (std::vector<double>{1, 2}));
  TVec c = Cplx({{1, 2}, {3, 4}, {5, 6}, {7, 8}}), cd;
  cd.DownSample(c, 2, 1);
  EXPECT_EQ(Doubles(cd), (std::vector<double>{3, 4, 7, 8}));
  // Range forms write inside Self only.
  TVec r = Real({9, 9, 9, 9, 9, 9, 9});
  r.UpSample(Real({5, 1, 2}), 2, 1, 1, 2, 2);
  EXPECT_EQ(Doubles(r), (std::vector<double>{9, 9, 0, 1, 0, 2, 9}));
  TVec d = Real({9, 9, 9});
  d.DownSample(Real({1, 2, 3, 4, 5, 6, 7}), 3, 2, 1, 1, 6);
  EXPECT_EQ(Doubles(d), (std::vector<double>{9, 4, 7}));
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { up.UpSample(up, 2, 0); }, "Self = Src"},
      {[&] { up.DownSample(c, 2, 2); }, "Phase >= Factor"},
      {[&] { up.UpSample(c, 0, -1); }, "Factor < 1"},
      {[&] { r.UpSample(r, 2, 0, 0, 0, 1); }, "Invalid params: Src is equal to Self"},
      {[&] { r.UpSample(c, 2, 0, 0, 0, 1); }, "Complex <> Src.Complex"},
      {[&] { d.DownSample(r, 2, 0, 0, 0, 3); }, "(Len mod Factor) <> 0"},
      {[&] { d.DownSample(c, 2, 0, 0, 0, 2); }, "Complex <> Src.Complex"},
      {[&] { d.DownSample(r, 2, -1, 0, 0, 2); }, "Phase < 0"},
      // Several wrong at once: the first in the order the range form checks them.
      {[&] { d.DownSample(r, 2, 3, 0, 0, 5); }, "(Len mod Factor) <> 0"},
      {[&] { d.DownSample(c, 2, -1, 0, 0, 2); }, "Complex <> Src.Complex"},
      {[&] { d.DownSample(r, 0, 5, 0, 0, 3); }, "Factor < 1"},
  });
  // Len * Factor past the 32-bit length is refused before Self is sized.
  for (std::int32_t factor : {1 << 30, 1431655766}) {
    TVec big = Real({1, 2, 3}), keep = Real({7});
    EXPECT_EQ(MessageOf<EOutOfMemory>([&] { keep.UpSample(big, factor, 0); }), "Quorel: Out of memory!") << factor;
    EXPECT_EQ(Doubles(keep), std::vector<double>{7});
  }
  ExpectMessages<EQuorelRangeError>({
      {[&] { r.UpSample(Real({1, 2}), 2, 0, 1, 0, 2); }, "Src params out of range: SrcIndex: 1, Len: 2, Src.Length: 2"},
      {[&] { r.UpSample(Real({1, 2}), 4, 0, 0, 0, 2); }, "Self params out of range: Index: 0, Len*Factor: 8, Length: 7"},
      {[&] { d.DownSample(r, 2, 0, 4, 0, 4); }, "(SrcIndex + Len) > Src.Length"},
      {[&] { d.DownSample(r, 2, 0, 0, 1, 6); }, "(Index + ALength) > Length"},
  });
  EXPECT_EQ(Doubles(d), (std::vector<double>{9, 4, 7}));
  // The kind check is among those ConditionCheck switches off: unchecked, a range of the other
  // kind is left unwritten.
  TVec u(4, true);
  u.SetConditionCheck(false);
  u.UpSample(Real({1, 2, 3, 4}), 1, 0, 0, 0, 2);
  u.DownSample(Real({1, 2, 3, 4}), 1, 0, 0, 0, 2);
  EXPECT_EQ(Doubles(u), std::vector<double>(8, 0.0));
}

// Positive-frequency bins are multiplied by j, so a cosine's partner is minus the sine.
TEST(Hilbert, PairsCosinesWithMinusSinesAndLeavesAWorkVectorClean) {
  for (std::int32_t n : {64, 63}) {
    SCOPED_TRACE(n);
    TVec x(n), h;
    for (std::int32_t i = 0; i < n; ++i) x[i] = 1.5 + std::cos(2 * PI * 5 * i / n);
    h.Hilbert(x);
    ASSERT_TRUE(h.Complex());
    for (std::int32_t i = 0; i < n; ++i) {
      EXPECT_EQ(h.CValues()[i].Re, x[i]);
      EXPECT_NEAR(h.CValues()[i].Im, -std::sin(2 * PI * 5 * i / n), 1e-14);
    }
  }
  TVec c = Cplx({{1, 0}}), r = Real({1});
  ExpectMessages<EQuorelInvalidArgument>({{[&] { r.Hilbert(c); }, "Vec.Complex = True"}, {[&] { r.Hilbert(r); }, "Self = Vec"}});
  // Unchecked, a complex Vec raises nothing (no message of the transforms used inside either), and
  // the work vector's FFT settings are not handed on to the next borrower of the cache.
  TVec h;
  h.SetConditionCheck(false);
  EXPECT_NO_THROW(h.Hilbert(Cplx({{1, 2}, {3, 4}, {5, 6}})));
  EXPECT_EQ(std::pair(h.Complex(), h.Length()), std::pair(true, 3));
  h.Hilbert(Real({1, 2, 3, 4}));
  TVec* w = nullptr;
  CreateIt(w);
  EXPECT_EQ(w->FFTStorageFormat(), fsfCCS);
  FreeIt(w);
}

TEST(PixelDownSample, ThreeModes) {
  const TVec s = Real({1, 5, 2, 2, 8, 0, 3, 3});
  TVec p;
  p.PixelDownSample(4, s, pdsPattern);
  EXPECT_EQ(Doubles(p), (std::vector<double>{1, 2, 8, 3}));
  p.PixelDownSample(4, s, pdsAverage);
  EXPECT_EQ(Doubles(p), (std::vector<double>{3, 2, 4, 3}));
  p.PixelDownSample(2, s, pdsPeak);
  EXPECT_EQ(Doubles(p), (std::vector<double>{1, 5, 8, 0}));
  p.PixelDownSample(8, s, 1, 3, pdsAverage);  // short spans are copied
  EXPECT_EQ(Doubles(p), (std::vector<double>{5, 2, 2}));
  TVec x = Real({0, 1, 2, 3, 4, 5, 6, 7}), nx;
  p.PixelDownSample1(2, s, &x, &nx, pdsPeak);
  EXPECT_EQ(Doubles(nx), (std::vector<double>{0, 1, 4, 5}));
  TMtx m = RealMtx(2, 4, {1, 5, 2, 2, 8, 0, 3, 3}), d;
  m.PixelDownSample(d, 2, pdsAverage);
  EXPECT_EQ(Doubles(d), (std::vector<double>{3, 2, 4, 3}));
  // Any source may also be an output: it is reduced from a copy.
  TVec self = s;
  self.PixelDownSample(4, self, pdsAverage);
  EXPECT_EQ(Doubles(self), (std::vector<double>{3, 2, 4, 3}));
  self = s;
  self.PixelDownSample(8, self, 1, 3, pdsAverage);
  EXPECT_EQ(Doubles(self), (std::vector<double>{5, 2, 2}));
  TVec y = s, xs = x;
  y.PixelDownSample1(2, y, &xs, &nx, pdsPeak);
  EXPECT_EQ(Doubles(y), (std::vector<double>{1, 5, 8, 0}));
  EXPECT_EQ(Doubles(nx), (std::vector<double>{0, 1, 4, 5}));
  y = s;
  p.PixelDownSample1(2, s, &y, &y, pdsPeak);  // NX is also X (here equal to SrcY)
  EXPECT_EQ(Doubles(p), (std::vector<double>{1, 5, 8, 0}));
  EXPECT_EQ(Doubles(y), (std::vector<double>{1, 5, 8, 0}));
  m.PixelDownSample(m, 2, pdsAverage);
  EXPECT_EQ(Doubles(m), (std::vector<double>{3, 2, 4, 3}));
  EXPECT_EQ(Controller->VecCacheUsed() + Controller->MtxCacheUsed(), 0);
  TVec c = Cplx({{1, 0}});
  ExpectMessages<EQuorelRangeError>({{[&] { p.PixelDownSample(2, s, 4, 5, pdsPattern); }, "Index+Len > Src.Length"}});
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { p.PixelDownSample(2, c, pdsPattern); }, "Src.Complex = True"},
      {[&] { p.PixelDownSample1(2, s, nullptr, &nx, pdsPattern); }, "(X = nil) or (NX = nil)"},
      {[&] { p.PixelDownSample1(2, s, &c, &nx, pdsPattern); }, "SrcX.Length <> SrcY.Length"},
      {[&] { p.PixelDownSample1(2, s, &x, &p, pdsPattern); }, "NX = Self"},
  });
}

TEST(SignalOps, Messages) {
  TVec x = Real({1, 2, 3}), e, r, c = Cplx({{1, 1}});
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { x.Convolve(x, r); }, "TVec.Convolve: (Self = X) or (Self = H)"},
      {[&] { r.Convolve(x, e); }, "TVec.Convolve: H.Length = 0"},
      {[&] { r.AutoCorrBiased(x, 4); }, "TVec.AutoCorrBiased: Lags > Vec.Length"},
      {[&] { x.AutoCorrBiased(x, 1); }, "TVec.AutoCorrBiased: Self = Vec"},
      {[&] { r.AutoCorrNormal(x, 4); }, "TVec.AutoCorrNormal: Lags > Vec.Length"},
      {[&] { x.AutoCorrNormal(x, 1); }, "TVec.AutoCorrNormal: Self = Vec"},
      {[&] { r.AutoCorrUnBiased(x, 4); }, "TVec.AutoCorrUnBiased: Lags > Vec.Length"},
      {[&] { x.AutoCorrUnBiased(x, 1); }, "TVec.AutoCorrUnBiased: Self = Vec"},
      {[&] { x.CrossCorr(x, r, 0, 1); }, "TVec.CrossCorr: (Self = Vec1) or (Self = Vec2)"},
      {[&] { r.CrossCorr(x, x, -1, 1); }, "TVec.CrossCorr: LoLag < 0"},
      {[&] { r.CrossCorr(x, x, 2, 2); }, "TVec.CrossCorr: HiLag <= LoLag"},
      {[&] { r.DCT(c); }, "TVec.DCT: Vec.Complex is True"},
      {[&] { r.IDCT(c); }, "TVec.IDCT: Vec.Complex is True"},
      {[&] { c.DCT(x, 0, 0, 1); }, "TQuorel.DCT: Self.Complex is True"},
      {[&] { r.DCT(c, 0, 0, 1); }, "TQuorel.DCT: Vec.Complex is True"},
      {[&] { c.IDCT(x, 0, 0, 1); }, "TQuorel.IDCT: Self.Complex is True"},
      {[&] { r.IDCT(c, 0, 0, 1); }, "TQuorel.IDCT: Vec.Complex is True"},
  });
  TMtx m(2, 2), cm(2, 2, true);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { m.Convolve(cm, m, false); }, "X.Complex or H.Complex"},
      {[&] { m.Convolve(m, TMtx(m), true); }, "(X = Self) or (H = Self)"},
  });
  EXPECT_EQ(Doubles(x), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(TVec().CrossCorr(e, x, 0, 3).Length(), 0);
}

// A source sharing Self's storage, Self itself (unchecked, so no identity check refuses it) or a
// view over Self's elements (which no identity check sees), is read as a copy would be: Self is
// written while the source still shows the values to be read. Both evaluation paths; no work
// object stays handed out.
TEST(SignalOps, SourcesOverSelfGiveTheResultOfACopy) {
  const TVec h = Real({0.5, -1, 2});
  struct Case {
    const char* name;
    std::int32_t n, index, len;  // Self's length and the viewed range; most calls keep Self's length
    std::function<void(TVec&, const TVec&)> op;
  };
  const std::vector<Case> cases = {
      {"Convolve(V, H)", 8, 0, 6, [&](TVec& s, const TVec& a) { s.Convolve(a, h); }},
      {"Convolve(H, V)", 8, 2, 6, [&](TVec& s, const TVec& a) { s.Convolve(h, a); }},
      {"Convolve(V, V)", 7, 3, 4, [](TVec& s, const TVec& a) { s.Convolve(a, a); }},
      {"CrossCorr(V, H)", 8, 1, 4, [&](TVec& s, const TVec& a) { s.CrossCorr(a, h, 0, 7); }},
      {"CrossCorr(H, V)", 8, 2, 6, [&](TVec& s, const TVec& a) { s.CrossCorr(h, a, 1, 8); }},
      {"CrossCorr(V, V)", 7, 0, 7, [](TVec& s, const TVec& a) { s.CrossCorr(a, a, 0, 6); }},
      {"AutoCorrBiased", 8, 0, 8, [](TVec& s, const TVec& a) { s.AutoCorrBiased(a, 5); }},
      {"AutoCorrNormal", 8, 0, 8, [](TVec& s, const TVec& a) { s.AutoCorrNormal(a, 8); }},
      {"AutoCorrUnBiased", 8, 0, 8, [](TVec& s, const TVec& a) { s.AutoCorrUnBiased(a, 5); }},
      {"Hilbert", 8, 0, 8, [](TVec& s, const TVec& a) { s.Hilbert(a); }},
      {"UpSample", 8, 4, 4, [](TVec& s, const TVec& a) { s.UpSample(a, 2, 1); }},
      {"DownSample", 8, 0, 8, [](TVec& s, const TVec& a) { s.DownSample(a, 2, 1); }},
      {"UpSample range", 8, 0, 4, [](TVec& s, const TVec& a) { s.UpSample(a, 2, 1, 0, 0, 4); }},
      {"DownSample range", 8, 0, 8, [](TVec& s, const TVec& a) { s.DownSample(a, 2, 0, 0, 3, 8); }},
  };
  for (ConvPath path : {ConvPath::Direct, ConvPath::Fft}) {
    PathScope scope(path);
    for (bool complex : {false, true})
      for (const auto& c : cases)
        for (bool self : {true, false}) {
          if (complex && std::string(c.name) == "Hilbert") continue;
          SCOPED_TRACE(std::string(c.name) + (complex ? " complex" : " real") + (self ? " Self" : " view"));
          TVec s = Make(c.n, complex, 14), want(s), view, copy;
          if (self) s.SetConditionCheck(false);
          else view.SetSubRange(s, c.index, c.len);
          const TVec& src = self ? s : view;
          copy.Copy(src);
          c.op(want, copy);
          c.op(s, src);
          EXPECT_EQ(std::pair(s.Complex(), Doubles(s)), std::pair(want.Complex(), Doubles(want)));
        }
    const TMtx hm = NoiseMtx(3, 2, false, 12);
    using MtxOp = std::function<void(TMtx&, const TMtx&, bool)>;
    const std::vector<std::pair<const char*, MtxOp>> mtxOps = {
        {"TMtx.Convolve(S, S)", [](TMtx& s, const TMtx& a, bool f) { s.Convolve(a, a, f); }},
        {"TMtx.Convolve(S, H)", [&](TMtx& s, const TMtx& a, bool f) { s.Convolve(a, hm, f); }},
        {"TMtx.Convolve(X, S)", [&](TMtx& s, const TMtx& a, bool f) { s.Convolve(hm, a, f); }},
    };
    for (bool filter : {false, true})
      for (const auto& [name, op] : mtxOps) {
        SCOPED_TRACE(std::string(name) + (filter ? " filter" : " full"));
        TMtx s = NoiseMtx(4, 5, false, 13), want;
        op(want, TMtx(s), filter);
        s.SetConditionCheck(false);
        op(s, s, filter);
        EXPECT_EQ(std::pair(s.Rows(), Doubles(s)), std::pair(want.Rows(), Doubles(want)));
      }
  }
  EXPECT_EQ(Controller->VecCacheUsed() + Controller->MtxCacheUsed(), 0);
}

// Convolution, correlation and DCT keep their transforms per thread: on distinct objects, three
// threads at once give the single-thread results bit for bit while each runs more transform shapes
// than its caches hold, so plans are made and dropped on every thread throughout.
TEST(SignalOps, ThreadsOnDistinctObjectsGiveTheSingleThreadResults) {
  PathScope scope(ConvPath::Fft);  // every length through transforms
  constexpr int kThreads = 3, kCases = 12, kRounds = 25;
  const auto run = [](int t, int k) {
    const bool complex = k & 1;
    const TVec x = Make(150 + 17 * k + 5 * t, complex, 20 + k), h = Make(20 + 9 * k + 3 * t, !complex, 40 + t);
    TVec y, a, c, d, e;
    y.Convolve(x, h);
    a.AutoCorrUnBiased(x, 30);
    c.CrossCorr(x, h, 2, 60);
    d.DCT(RealVec(Noise(24 + 5 * k + t, 60 + k)));
    e.IDCT(d);
    TMtx m;
    if (k % 4 == 0) m.Convolve(NoiseMtx(5 + k / 4, 6 + t, false, 80), NoiseMtx(3, 2 + t, false, 81), false);
    std::vector<double> r;
    for (const TQuorel* q : std::initializer_list<const TQuorel*>{&y, &a, &c, &d, &e, &m})
      std::ranges::copy(Doubles(*q), std::back_inserter(r));
    return r;
  };
  const auto same = [](const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
  };
  std::vector<std::vector<double>> want(kThreads * kCases);
  for (int t = 0; t < kThreads; ++t)
    for (int k = 0; k < kCases; ++k) want[t * kCases + k] = run(t, k);
  int mismatches[kThreads] = {};
  // Halfway, one thread releases the library's memory while the others wait: each thread's
  // transforms are remade.
  std::barrier halfway(kThreads, []() noexcept { Controller->FreeMKLMemory(); });
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        if (round == kRounds / 2) halfway.arrive_and_wait();
        for (int k = 0; k < kCases; ++k)
          if (!same(run(t, k), want[t * kCases + k])) ++mismatches[t];
      }
    });
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
  EXPECT_EQ(Controller->VecCacheUsed() + Controller->MtxCacheUsed(), 0);
}

// Repeated convolutions and correlations of one shape allocate nothing once the calling thread's
// transforms are made. (FFTW's DCT solvers and its in-place 2-D real transforms take buffers on
// every call, and the real correlation's work vectors grow past a pooled vector's block.)
TEST(SignalOps, WarmCallsAllocateNothing) {
  if (!AllocationCounting()) GTEST_SKIP() << "this build cannot count allocations";
  PathScope scope(ConvPath::Fft);
  const TVec x = Make(3000, false, 90), h = Make(200, false, 91), cx = Make(700, true, 92);
  TVec y;
  const std::vector<std::pair<const char*, std::function<void()>>> calls = {
      {"Convolve", [&] { y.Convolve(x, h); }},
      {"Convolve complex", [&] { y.Convolve(cx, h); }},
      {"AutoCorrBiased", [&] { y.AutoCorrBiased(h, 150); }},
      {"CrossCorr complex", [&] { y.CrossCorr(cx, x, 3, 400); }},
  };
  for (const auto& [name, call] : calls) {
    call();
    EXPECT_EQ(AllocationsDuring(call), 0) << name;
  }
}

}  // namespace
}  // namespace quorel::test
