// Vector FFTs against the defining sum, storage formats, in-place and range forms, messages.
#include <functional>
#include <string>

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
    // Inverse unscaled out of place, scaled in place.
    TVec u;
    u.IFFT(y, true);
    EXPECT_LE(ErrEps(AsL(u), NaiveDft(AsL(y), +1)), FftTol(n));
    z.IFFT();
    EXPECT_LE(ErrEps(AsL(z), AsL(x)), FftTol(n));
  }
}

TEST(FftVec, RealTransformsInEveryFormatMatchTheSumAndInvert) {
  for (std::int32_t n : kSizes) {
    SCOPED_TRACE(n);
    const TVec x = RealVec(Noise(n, 3));
    const auto z = NaiveDft(AsL(x), -1);
    const std::int32_t m = n / 2 + 1;
    // Pack and Perm: n reals laid out as the published formats; CCS: m complex values, with
    // FFTOddLength recording the parity.
    std::vector<LCplx> pack{z[0].real()};
    for (std::int32_t k = 1; 2 * k <= n; ++k) {
      pack.emplace_back(z[k].real());
      if (2 * k < n) pack.emplace_back(z[k].imag());
    }
    std::vector<LCplx> perm = pack;
    if (n % 2 == 0 && n > 1) {
      perm.erase(perm.end() - 1);
      perm.insert(perm.begin() + 1, LCplx(z[n / 2].real()));
    }
    const std::vector<LCplx> ccs(z.begin(), z.begin() + m);
    for (auto [format, want] : {std::pair{fsfCCS, ccs}, std::pair{fsfPack, pack}, std::pair{fsfPerm, perm}}) {
      SCOPED_TRACE(int(format));
      TVec y, w(x), back;
      for (TVec* v : {&y, &w, &back}) v->SetFFTStorageFormat(format);
      y.FFTFromReal(x);
      w.FFTFromReal();  // in place gives the same
      ASSERT_EQ(std::tuple(y.Complex(), y.Length(), y.FFTOddLength()),
                std::tuple(format == fsfCCS, format == fsfCCS ? m : n, format == fsfCCS && n % 2 == 1));
      EXPECT_LE(ErrEps(AsL(y), want), FftTol(n));
      EXPECT_LE(ErrEps(AsL(w), want), FftTol(n));
      // Unscaled inverse out of place is n times the signal; CCS leaves 2m reals, the padding
      // zeroed even in a reused vector.
      back.Size(2 * m, false);
      std::fill_n(back.PValues1D(0), 2 * m, std::nan(""));
      back.IFFTToReal(y, true);
      EXPECT_EQ(back.Length(), format == fsfCCS ? 2 * m : n);
      for (std::int32_t i = n; i < back.Length(); ++i) EXPECT_EQ(back[i], 0.0);
      back.Resize(n);
      back.Scale(1.0 / n);
      EXPECT_LE(ErrEps(AsL(back), AsL(x)), FftTol(n));
      w.IFFTToReal();  // scaled, in place: the same vector, padding zeros included
      EXPECT_EQ(std::pair(w.Complex(), w.Length()), std::pair(false, format == fsfCCS ? 2 * m : n));
      for (std::int32_t i = n; i < w.Length(); ++i) EXPECT_EQ(w[i], 0.0) << i;
      w.Resize(n);
      EXPECT_LE(ErrEps(AsL(w), AsL(x)), FftTol(n));
    }
    // Conjugate extension: the full spectrum, out of place and in place.
    TVec full, inplace(x);
    full.FFT(x, true);
    inplace.FFT(true);
    EXPECT_EQ(full.Length(), n);
    EXPECT_LE(ErrEps(AsL(full), z), FftTol(n));
    EXPECT_LE(ErrEps(AsL(inplace), z), FftTol(n));
  }
  TVec y;  // a NaN reaches every bin
  y.FFT(RealVec({1, 2, std::numeric_limits<double>::quiet_NaN(), 4}), true);
  for (auto c : y.CValues()) EXPECT_TRUE(std::isnan(c.Re) || std::isnan(c.Im));
}

TEST(FftVec, LargeTransformsKeepTheirProperties) {
  for (std::int32_t n : {1000, 4096, 65537}) {
    SCOPED_TRACE(n);
    const TVec a = CplxVec(Noise(n, 5), Noise(n, 6));
    TVec fa, back;
    fa.FFT(a);
    // Parseval: sum |F(a)|^2 = n sum |a|^2.
    EXPECT_NEAR(fa.SumOfSquares() / (n * a.SumOfSquares()), 1.0, 1e-13);
    back.IFFT(fa);
    EXPECT_LE(ErrEps(AsL(back), AsL(a)), FftTol(n));
    // A shift by s multiplies bin k by exp(-2 pi i k s / n); an impulse gives that phase alone.
    const std::int32_t s = 3;
    TVec imp(n, true), fimp;
    imp.CValues()[s] = {1, 0};
    fimp.FFT(imp);
    TVec shifted(a), fshift, want;
    shifted.Rotate(s);
    fshift.FFT(shifted);
    want.Copy(fa);
    want.Mul(fimp);
    EXPECT_LE(ErrEps(AsL(fshift), AsL(want)), 2 * FftTol(n));
  }
}

TEST(FftVec, EmptyRealVectorsBecomeEmptyHalfSpectraInPlaceAsOutOfPlace) {
  TVec src, out, inplace, viaFft, full;
  out.FFTFromReal(src);
  inplace.FFTFromReal();
  viaFft.FFT();
  full.FFT(src);
  EXPECT_EQ(full.Length(), 0);
  for (TVec* v : {&out, &inplace, &viaFft})
    EXPECT_EQ(std::tuple(v->Complex(), v->Length(), v->FFTOddLength()), std::tuple(true, 0, false));
  inplace.IFFTToReal();  // the round trip closes
  EXPECT_EQ(std::pair(inplace.Complex(), inplace.Length()), std::pair(false, 0));
  // Pack keeps an empty vector real, both ways.
  TVec pack;
  pack.SetFFTStorageFormat(fsfPack);
  pack.FFTFromReal();
  EXPECT_FALSE(pack.Complex());
}

TEST(FftVec, RangeFormsWorkOnSubRangesOfAnyAlignment) {
  // Offsets 0 and 1 give both alignment classes of the same length.
  const std::int32_t n = 12;
  for (std::int32_t off : {0, 1}) {
    SCOPED_TRACE(off);
    const TVec x = CplxVec(Noise(n + 2, 9), Noise(n + 2, 10));
    TVec y(n + 3, true), back(n, true), h(n / 2 + 2, true), rb(n + 2);
    y.FFT(x, false, off, off + 1, n);
    EXPECT_LE(ErrEps(Slice(y, off + 1, n), NaiveDft(Slice(x, off, n), -1)), FftTol(n));
    EXPECT_EQ(y.CValues()[off].Re, 0.0);  // nothing outside the range
    back.IFFT(y, off + 1, 0, n, false);
    EXPECT_LE(ErrEps(AsL(back), Slice(x, off, n)), FftTol(n));
    // Real range forms: CCS of Len values and back.
    const TVec r = RealVec(Noise(n + 2, 11));
    h.FFTFromReal(r, off, 1, n);
    const auto rz = NaiveDft(Slice(r, off, n), -1);
    EXPECT_LE(ErrEps(Slice(h, 1, n / 2 + 1), {rz.begin(), rz.begin() + n / 2 + 1}), FftTol(n));
    rb.SetVal(7);
    rb.IFFTToReal(h, 1, off, n, false);
    EXPECT_LE(ErrEps(Slice(rb, off, n), Slice(r, off, n)), FftTol(n));
    // The len reals alone: the padding of the half spectrum's transform stays out of Self.
    for (std::int32_t i : {off == 0 ? n : 0, n + 1}) EXPECT_EQ(rb[i], 7.0) << i;
  }
}

// A source viewing Self's own doubles, at Self's start or shifted either way, gives what a copy of
// it gives: a transform must not read values it has already overwritten. Self and the source both
// view one block (counts in doubles), so every call keeps Self's shape.
TEST(FftVec, SourcesViewingSelfGiveTheResultOfACopy) {
  struct Case {
    const char* name;
    TFFTStorageFormat format;
    std::int32_t self, src;  // doubles viewed, for transforms of n values
    bool selfComplex, srcComplex;
    std::function<void(TVec&, const TVec&)> op;
  };
  for (const std::int32_t n : {8, 250}) {
    const std::int32_t r = n - 2;  // the range forms' length
    const std::vector<Case> cases = {
        {"FFT(V)", fsfCCS, 2 * n, 2 * n, true, true, [](TVec& s, const TVec& v) { s.FFT(v); }},
        {"FFT(V, true)", fsfCCS, 2 * n, n, true, false, [](TVec& s, const TVec& v) { s.FFT(v, true); }},
        {"FFT(V) real", fsfCCS, n + 2, n, true, false, [](TVec& s, const TVec& v) { s.FFT(v); }},
        {"FFTFromReal(V) Pack", fsfPack, n, n, false, false, [](TVec& s, const TVec& v) { s.FFTFromReal(v); }},
        {"FFTFromReal(V) Perm", fsfPerm, n, n, false, false, [](TVec& s, const TVec& v) { s.FFTFromReal(v); }},
        {"IFFT(V)", fsfCCS, 2 * n, 2 * n, true, true, [](TVec& s, const TVec& v) { s.IFFT(v); }},
        {"IFFTToReal(V)", fsfCCS, n + 2, n + 2, false, true, [](TVec& s, const TVec& v) { s.IFFTToReal(v); }},
        {"IFFTToReal(V) Pack", fsfPack, n, n, false, false, [](TVec& s, const TVec& v) { s.IFFTToReal(v); }},
        {"FFT range", fsfCCS, 2 * n + 8, 2 * n, true, true,
         [r](TVec& s, const TVec& v) { s.FFT(v, false, 1, 2, r); }},
        {"FFT range real", fsfCCS, 2 * n + 8, n, true, false,
         [r](TVec& s, const TVec& v) { s.FFT(v, true, 1, 2, r); }},
        {"IFFT range", fsfCCS, 2 * n + 8, 2 * n, true, true,
         [r](TVec& s, const TVec& v) { s.IFFT(v, 1, 2, r, false); }},
        {"FFTFromReal range", fsfCCS, n + 4, n, true, false,
         [r](TVec& s, const TVec& v) { s.FFTFromReal(v, 1, 2, r); }},
        {"FFTFromReal range Perm", fsfPerm, n + 4, n, false, false,
         [r](TVec& s, const TVec& v) { s.FFTFromReal(v, 1, 2, r); }},
        {"IFFTToReal range", fsfCCS, n + 4, n + 2, false, true,
         [r](TVec& s, const TVec& v) { s.IFFTToReal(v, 1, 2, r, false); }},
        {"IFFTToReal range Pack", fsfPack, n + 4, n, false, false,
         [r](TVec& s, const TVec& v) { s.IFFTToReal(v, 1, 2, r, false); }},
    };
    const TVec block = RealVec(Noise(6 * n, 12));
    for (const auto& c : cases)
      for (std::int32_t shift : {-n, -2, 0, 2, n}) {
        SCOPED_TRACE(std::string(c.name) + " n " + std::to_string(n) + " shift " + std::to_string(shift));
        TVec base(block), s, view, want, copy;
        s.SetSubRange(base, 2 * n, c.self);
        view.SetSubRange(base, 2 * n + shift, c.src);
        s.set_Complex(c.selfComplex);
        view.set_Complex(c.srcComplex);
        for (TVec* v : {&s, &want}) v->SetFFTStorageFormat(c.format);
        want.Copy(s);
        copy.Copy(view);
        c.op(want, copy);
        c.op(s, view);
        EXPECT_EQ(Doubles(s), Doubles(want));
      }
  }
  // Self re-sized by the call: the source is read before Self lets its block go.
  for (bool complex : {false, true}) {
    TVec s = complex ? CplxVec(Noise(9, 13), Noise(9, 14)) : RealVec(Noise(9, 13)), view, want, copy;
    view.SetSubRange(s, 1, 6);
    copy.Copy(view);
    want.FFT(copy, true);
    s.FFT(view, true);
    EXPECT_EQ(Doubles(s), Doubles(want)) << complex;
  }
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(FftVec, Messages) {
  TVec c = Cplx({{1, 0}, {2, 0}}), pc = c;
  TVec r = Real({1, 2, 3, 4}), p = r;
  TVec r2 = Real({1, 2});
  for (TVec* v : {&p, &pc}) v->SetFFTStorageFormat(fsfPack);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.FFTFromReal(); }, "FFTFromReal: Self is Complex"},
      {[&] { r.FFT(r, false); }, "TVec.FFT: Self = Vec"},
      {[&] { r.FFT(r2, true, 0, 0, 2); }, "TDenseQuorel.FFT: Self is not Complex"},
      {[&] { r.IFFT(c, 0, 0, 2, false); }, "TDenseQuorel.IFFT: Self is not Complex"},
      {[&] { c.IFFT(r2, 0, 0, 2, false); }, "TDenseQuorel.IFFT: Vec is not Complex"},
      {[&] { c.FFTFromReal(c, 0, 0, 2); }, "TDenseQuorel.FFTFromReal: Vec is equal to Self"},
      {[&] { r.FFTFromReal(c, 0, 0, 2); }, "TDenseQuorel.FFTFromReal: Vec is Complex"},
      {[&] { r.FFTFromReal(r2, 0, 0, 2); }, "TDenseQuorel.FFTToReal: Self is not Complex"},
      {[&] { pc.FFTFromReal(r, 0, 0, 4); }, "TDenseQuorel.FFTToReal: Self is Complex"},
      {[&] { c.IFFTToReal(c, 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Vec is equal to Self"},
      {[&] { r.IFFTToReal(r2, 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Vec is not Complex"},
      {[&] { c.IFFTToReal(TVec(c), 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Self is Complex"},
      // Pack and Perm read Len reals: a complex Vec is refused, not skipped.
      {[&] { p.IFFTToReal(c, 0, 0, 2, false); }, "TDenseQuorel.IFFTToReal: Vec is Complex"},
  });
  ExpectMessages<EQuorelRangeError>({
      {[&] { p.FFTFromReal(r, 1, 0, 4); }, "Vec params out of range: VecIndex: 1, SrcLen: 4, Vec.Length: 4"},
      {[&] { p.FFTFromReal(r, 0, 1, 4); }, "Self params out of range: Index: 1, DstLen: 4, Length: 4"},
      {[&] { c.FFTFromReal(r, 0, 0, 4); }, "Self params out of range: Index: 0, DstLen: 3, Length: 2"},
  });
  EXPECT_EQ(Doubles(p), (std::vector<double>{1, 2, 3, 4}));  // refused calls change nothing
}

}  // namespace
}  // namespace quorel::test
