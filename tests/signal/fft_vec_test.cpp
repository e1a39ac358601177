// Vector FFTs against the defining sum, storage formats, in-place and range forms, messages.
#include "quorel/signal/dfti_cache.h"
#include "signal_util.h"

namespace quorel::test {
namespace {

const std::int32_t kSizes[] = {1, 2, 3, 5, 7, 8, 12, 17, 64};

TEST(FftVec, ComplexForwardAndInverseMatchTheSum) {
  for (std::int32_t n : kSizes) {
    SCOPED_TRACE(n);
    const TVec x = CplxVec(Noise(n, 1), Noise(n, 2));
    const auto want = NaiveDft(AsL(x), -1);
    TVec y;
    y.FFT(x);
    EXPECT_LE(ErrEps(AsL(y), want), FftTol(n));
    TVec z(x);
    z.FFT();  // in place
    EXPECT_LE(ErrEps(AsL(z), want), FftTol(n));
    // Inverse, unscaled and scaled, out of place and in place.
    auto back = NaiveDft(AsL(y), +1);
    TVec u;
    u.IFFT(y, true);
    EXPECT_LE(ErrEps(AsL(u), back), FftTol(n));
    for (auto& b : back) b /= n;
    z.IFFT();
    EXPECT_LE(ErrEps(AsL(z), back), FftTol(n));
    EXPECT_LE(ErrEps(AsL(z), AsL(x)), FftTol(n));
  }
}

TEST(FftVec, RealForwardInEveryFormatMatchesTheSum) {
  for (std::int32_t n : kSizes) {
    SCOPED_TRACE(n);
    const TVec x = RealVec(Noise(n, 3));
    const auto z = NaiveDft(AsL(x), -1);
    const std::int32_t m = n / 2 + 1;
    // CCS: m complex values; FFTOddLength records the parity.
    TVec ccs;
    ccs.FFTFromReal(x);
    ASSERT_TRUE(ccs.Complex());
    ASSERT_EQ(ccs.Length(), m);
    EXPECT_EQ(ccs.FFTOddLength(), n % 2 == 1);
    EXPECT_LE(ErrEps(AsL(ccs), {z.begin(), z.begin() + m}), FftTol(n));
    // Pack and Perm: n reals laid out as the published formats.
    std::vector<LCplx> pack, perm;
    pack.emplace_back(z[0].real());
    for (std::int32_t k = 1; 2 * k <= n; ++k) {
      pack.emplace_back(z[k].real());
      if (2 * k < n) pack.emplace_back(z[k].imag());
    }
    perm = pack;
    if (n % 2 == 0 && n > 1) {
      perm.erase(perm.end() - 1);
      perm.insert(perm.begin() + 1, LCplx(z[n / 2].real()));
    }
    for (auto [format, want] : {std::pair{fsfPack, pack}, std::pair{fsfPerm, perm}}) {
      TVec y;
      y.SetFFTStorageFormat(format);
      y.FFTFromReal(x);
      ASSERT_FALSE(y.Complex());
      ASSERT_EQ(y.Length(), n);
      EXPECT_LE(ErrEps(AsL(y), want), FftTol(n));
      TVec w(x);
      w.SetFFTStorageFormat(format);
      w.FFTFromReal();  // in place gives the same
      EXPECT_LE(ErrEps(AsL(w), want), FftTol(n));
    }
    // Conjugate extension: the full spectrum, out of place and in place.
    TVec full;
    full.FFT(x, true);
    EXPECT_EQ(full.Length(), n);
    EXPECT_LE(ErrEps(AsL(full), z), FftTol(n));
    TVec inplace(x);
    inplace.FFT(true);
    EXPECT_LE(ErrEps(AsL(inplace), z), FftTol(n));
  }
}

TEST(FftVec, EveryStorageFormatRoundTrips) {
  for (std::int32_t n : kSizes) {
    for (auto format : {fsfCCS, fsfPack, fsfPerm}) {
      SCOPED_TRACE(testing::Message() << n << " format " << int(format));
      const TVec x = RealVec(Noise(n, 4));
      TVec spec, back;
      spec.SetFFTStorageFormat(format);
      back.SetFFTStorageFormat(format);
      spec.FFTFromReal(x);
      back.IFFTToReal(spec);
      // CCS leaves 2m reals of which the first n are the signal.
      EXPECT_EQ(back.Length(), format == fsfCCS ? 2 * (n / 2 + 1) : n);
      back.Resize(n);
      EXPECT_LE(ErrEps(AsL(back), AsL(x)), FftTol(n));
      spec.IFFTToReal();  // in place
      EXPECT_FALSE(spec.Complex());
      spec.Resize(n);
      EXPECT_LE(ErrEps(AsL(spec), AsL(x)), FftTol(n));
      // Unscaled inverse is n times the signal.
      TVec s2, raw;
      s2.SetFFTStorageFormat(format);
      raw.SetFFTStorageFormat(format);
      s2.FFTFromReal(x);
      raw.IFFTToReal(s2, true);
      raw.Resize(n);
      raw.Scale(1.0 / n);
      EXPECT_LE(ErrEps(AsL(raw), AsL(x)), FftTol(n));
    }
  }
}

TEST(FftVec, LargeTransformsKeepTheirProperties) {
  for (std::int32_t n : {1000, 4096, 65537}) {
    SCOPED_TRACE(n);
    const TVec a = CplxVec(Noise(n, 5), Noise(n, 6));
    const TVec b = CplxVec(Noise(n, 7), Noise(n, 8));
    TVec fa, fb, sum, fsum;
    fa.FFT(a);
    fb.FFT(b);
    // Linearity: F(a + 2b) = F(a) + 2 F(b).
    sum.Copy(b);
    sum.Scale(2.0);
    sum.Add(a);
    fsum.FFT(sum);
    fb.Scale(2.0);
    fb.Add(fa);
    EXPECT_LE(ErrEps(AsL(fsum), AsL(fb)), 2 * FftTol(n));
    // Parseval: sum |F(a)|^2 = n sum |a|^2.
    EXPECT_NEAR(fa.SumOfSquares() / (n * a.SumOfSquares()), 1.0, 1e-13);
    // Inverse of forward is the identity.
    TVec back;
    back.IFFT(fa);
    EXPECT_LE(ErrEps(AsL(back), AsL(a)), FftTol(n));
    // A shift by s multiplies bin k by exp(-2 pi i k s / n); an impulse gives that phase alone.
    const std::int32_t s = 3;
    TVec imp, fimp;
    imp.Size(n, true);
    imp.SetZero();
    imp.CValues()[s] = {1, 0};
    fimp.FFT(imp);
    TVec shifted(a), fshift, want;
    shifted.Rotate(s);
    fshift.FFT(shifted);
    want.Copy(fa);
    want.Mul(fimp);
    EXPECT_LE(ErrEps(AsL(fshift), AsL(want)), 2 * FftTol(n));
    // A real signal's half spectrum agrees with the complex transform of the same values.
    TVec re, fre;
    re.RealPart(a);
    fre.FFTFromReal(re);
    TVec cre, fcre;
    cre.ExtendToComplex(re, true);
    fcre.FFT(cre);
    fcre.Resize(n / 2 + 1);
    EXPECT_LE(ErrEps(AsL(fre), AsL(fcre)), 2 * FftTol(n));
  }
}

TEST(FftVec, NonFiniteValuesFlowThrough) {
  TVec x = RealVec({1, 2, std::numeric_limits<double>::quiet_NaN(), 4});
  TVec y;
  y.FFT(x, true);
  for (auto c : y.CValues()) EXPECT_TRUE(std::isnan(c.Re) || std::isnan(c.Im));
  TVec e, fe;
  fe.FFT(e);
  EXPECT_EQ(fe.Length(), 0);
}

TEST(FftVec, RangeFormsWorkOnSubRangesOfAnyAlignment) {
  // Offsets 0 and 1 give both alignment classes of the same length.
  const std::int32_t n = 12;
  for (std::int32_t off : {0, 1}) {
    SCOPED_TRACE(off);
    const TVec x = CplxVec(Noise(n + 2, 9), Noise(n + 2, 10));
    TVec y;
    y.Size(n + 3, true);
    y.SetZero();
    y.FFT(x, false, off, off + 1, n);
    const auto lx = AsL(x), ly = AsL(y);
    std::vector<LCplx> seg(lx.begin() + off, lx.begin() + off + n);
    const auto want = NaiveDft(seg, -1);
    std::vector<LCplx> got(ly.begin() + off + 1, ly.begin() + off + 1 + n);
    EXPECT_LE(ErrEps(got, want), FftTol(n));
    EXPECT_EQ(y.CValues()[off].Re, 0.0);  // nothing outside the range
    TVec back;
    back.Size(n, true);
    back.IFFT(y, off + 1, 0, n, false);
    std::vector<LCplx> bk = AsL(back);
    EXPECT_LE(ErrEps(bk, seg), FftTol(n));
    // Real range forms: CCS of Len values and back.
    const TVec r = RealVec(Noise(n + 2, 11));
    TVec h;
    h.Size(n / 2 + 2, true);
    h.FFTFromReal(r, off, 1, n);
    const auto lr = AsL(r), lh = AsL(h);
    std::vector<LCplx> rseg(lr.begin() + off, lr.begin() + off + n);
    const auto rz = NaiveDft(rseg, -1);
    std::vector<LCplx> hgot(lh.begin() + 1, lh.begin() + 1 + n / 2 + 1);
    EXPECT_LE(ErrEps(hgot, {rz.begin(), rz.begin() + n / 2 + 1}), FftTol(n));
    TVec rb;
    rb.Size(n + 1, false);
    rb.IFFTToReal(h, 1, off, n, false);
    const auto lrb = AsL(rb);
    std::vector<LCplx> rbk(lrb.begin() + off, lrb.begin() + off + n);
    EXPECT_LE(ErrEps(rbk, rseg), FftTol(n));
  }
}

TEST(FftVec, Messages) {
  TVec c = Cplx({{1, 0}, {2, 0}});
  TVec r = Real({1, 2, 3, 4});
  TVec r2 = Real({1, 2});
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.FFTFromReal(); }, "FFTFromReal: Self is Complex"},
      {[&] { r.FFT(r, false); }, "TVec.FFT: Self = Vec"},
      {[&] { r.FFT(r2, true, 0, 0, 2); }, "TDenseQuorel.FFT: Self is not Complex"},
      {[&] { r.IFFT(c, 0, 0, 2, false); }, "TDenseQuorel.IFFT: Self is not Complex"},
      {[&] { c.IFFT(r2, 0, 0, 2, false); }, "TDenseQuorel.IFFT: Vec is not Complex"},
      {[&] { c.FFTFromReal(c, 0, 0, 2); }, "TDenseQuorel.FFTFromReal: Vec is equal to Self"},
      {[&] { r.FFTFromReal(c, 0, 0, 2); }, "TDenseQuorel.FFTFromReal: Vec is Complex"},
      {[&] { r.FFTFromReal(r2, 0, 0, 2); }, "TDenseQuorel.FFTToReal: Self is not Complex"},
      {[&] { c.IFFTToReal(c, 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Vec is equal to Self"},
      {[&] { r.IFFTToReal(r2, 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Vec is not Complex"},
      {[&] { c.IFFTToReal(TVec(c), 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Self is Complex"},
  });
  TVec p = Real({1, 2, 3, 4});
  p.SetFFTStorageFormat(fsfPack);
  TVec pc = Cplx({{1, 0}, {2, 0}});
  pc.SetFFTStorageFormat(fsfPack);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { pc.FFTFromReal(r, 0, 0, 4); }),
            "TDenseQuorel.FFTToReal: Self is Complex");
  const std::vector<double> before = Doubles(p);
  ExpectMessages<EQuorelRangeError>({
      {[&] { p.FFTFromReal(r, 1, 0, 4); }, "Vec params out of range: VecIndex: 1, SrcLen: 4, Vec.Length: 4"},
      {[&] { p.FFTFromReal(r, 0, 1, 4); }, "Self params out of range: Index: 1, DstLen: 4, Length: 4"},
      {[&] { c.FFTFromReal(r, 0, 0, 4); }, "Self params out of range: Index: 0, DstLen: 3, Length: 2"},
  });
  EXPECT_EQ(Doubles(p), before);  // refused calls change nothing
}

}  // namespace
}  // namespace quorel::test
