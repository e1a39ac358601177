// Matrix FFTs: row batches and 2-D transforms against the defining sums, real layouts, messages.
#include "quorel/signal/dfti_cache.h"
#include "signal_util.h"

namespace quorel::test {
namespace {

using LMtx = std::vector<std::vector<LCplx>>;

LMtx AsRows(const TMtx& m) {
  LMtx r(m.Rows());
  for (std::int32_t i = 0; i < m.Rows(); ++i)
    for (std::int32_t j = 0; j < m.Cols(); ++j)
      r[i].push_back(m.Complex() ? LCplx(m.PCValues1D(i * m.Cols() + j)->Re, m.PCValues1D(i * m.Cols() + j)->Im)
                                 : LCplx(*m.PValues1D(i * m.Cols() + j)));
  return r;
}

LMtx Dft2(LMtx x, int sign) {
  for (auto& row : x) row = NaiveDft(row, sign);
  for (std::size_t j = 0; x.size() && j < x[0].size(); ++j) {
    std::vector<LCplx> col;
    for (auto& row : x) col.push_back(row[j]);
    col = NaiveDft(col, sign);
    for (std::size_t i = 0; i < x.size(); ++i) x[i][j] = col[i];
  }
  return x;
}

double ErrEps2(const LMtx& got, const LMtx& want, std::size_t rows, std::size_t cols) {
  std::vector<LCplx> g, w;
  for (std::size_t i = 0; i < rows; ++i) {
    g.insert(g.end(), got[i].begin(), got[i].begin() + cols);
    w.insert(w.end(), want[i].begin(), want[i].begin() + cols);
  }
  return ErrEps(g, w);
}

// x's values at the top left of a zeroed real rows by width matrix.
TMtx Padded(const TMtx& x, std::int32_t rows, std::int32_t width) {
  TMtx p(rows, width);
  for (std::int32_t r = 0; r < x.Rows(); ++r)
    std::copy_n(x.PValues1D(r * x.Cols()), x.Cols(), p.PValues1D(r * width));
  p.SetFFTOddLength(x.Cols() % 2 == 1);
  return p;
}

// Sizes m to rows by width real full of NaN, as a reused destination with stale values.
void Stale(TMtx& m, std::int32_t rows, std::int32_t width) {
  m.Size(rows, width, false);
  std::fill_n(m.PValues1D(0), std::int64_t{rows} * width, std::nan(""));
}

// The padding doubles after the first n of each of `rows` rows are 0.
void ExpectZeroPads(const TMtx& m, std::int32_t rows, std::int32_t n) {
  for (std::int32_t r = 0; r < rows; ++r)
    for (std::int32_t j = n; j < m.Cols(); ++j) EXPECT_EQ(*m.PValues1D(r * m.Cols() + j), 0.0) << r << "," << j;
}

const std::pair<std::int32_t, std::int32_t> kShapes[] = {{1, 7}, {3, 5}, {4, 6}, {5, 8}, {2, 1}};

TEST(FftMtx, RowAndTwoDimensionalTransformsMatchTheSums) {
  for (auto [rows, cols] : kShapes) {
    SCOPED_TRACE(testing::Message() << rows << "x" << cols);
    const double tol = FftTol(static_cast<std::size_t>(rows) * cols);
    for (bool complex : {true, false}) {
      const TMtx x = NoiseMtx(rows, cols, complex, 7);
      LMtx rowsWant = AsRows(x);
      for (auto& r : rowsWant) r = NaiveDft(r, -1);
      const auto expectNear = [&](std::initializer_list<const TMtx*> got, const LMtx& want) {
        for (const TMtx* g : got) EXPECT_LE(ErrEps2(AsRows(*g), want, rows, cols), tol);
      };
      TMtx y, z(x), f2, g2(x), b1, b2;
      y.FFT1D(x);
      z.FFT1D();
      f2.FFT2D(x);
      g2.FFT2D();
      expectNear({&y, &z}, rowsWant);
      expectNear({&f2, &g2}, Dft2(AsRows(x), -1));
      // Inverses bring the complex signal back; unscaled ones are larger by the length.
      b1.IFFT1D(y);
      b2.IFFT2D(f2);
      z.IFFT1D(true);
      g2.IFFT2D(true);
      z.Scale(1.0 / cols);
      g2.Scale(1.0 / (rows * cols));
      expectNear({&b1, &b2, &z, &g2}, AsRows(x));
    }
  }
}

TEST(FftMtx, RealRowTransformsInEveryFormatRoundTrip) {
  for (auto [rows, cols] : kShapes) {
    for (auto format : {fsfCCS, fsfPack, fsfPerm}) {
      SCOPED_TRACE(testing::Message() << rows << "x" << cols << " format " << int(format));
      const double tol = FftTol(cols);
      const TMtx x = NoiseMtx(rows, cols, false, 8);
      TMtx s, back;
      s.SetFFTStorageFormat(format);
      back.SetFFTStorageFormat(format);
      s.FFT1DFromReal(x);
      // Each row matches the vector transform of that row in the same format.
      for (std::int32_t r = 0; r < rows; ++r) {
        TVec row, spec, got;
        row.GetRow(x, r);
        spec.SetFFTStorageFormat(format);
        spec.FFTFromReal(row);
        got.GetRow(s, r);
        EXPECT_LE(ErrEps(AsL(got), AsL(spec)), tol);
      }
      // Out of place into a reused matrix: CCS rows of 2 * (cols div 2 + 1) reals, padding zeroed.
      if (format == fsfCCS) Stale(back, rows, 2 * s.Cols());
      back.IFFT1DToReal(s);
      EXPECT_LE(ErrEps2(AsRows(back), AsRows(x), rows, cols), tol);
      if (format == fsfCCS) ExpectZeroPads(back, rows, cols);
      // In place: CCS rows padded to 2 * (cols div 2 + 1) reals.
      TMtx p = Padded(x, rows, format == fsfCCS ? 2 * (cols / 2 + 1) : cols);
      p.SetFFTStorageFormat(format);
      p.FFT1DFromReal();
      EXPECT_LE(ErrEps2(AsRows(p), AsRows(s), rows, s.Cols()), tol);
      p.IFFT1DToReal();
      EXPECT_LE(ErrEps2(AsRows(p), AsRows(x), rows, cols), tol);
      if (format == fsfCCS) ExpectZeroPads(p, rows, cols);  // as out of place
    }
  }
}

TEST(FftMtx, RealTwoDimensionalLayoutIsHalfSpectrumRows) {
  for (auto [rows, cols] : {std::pair{3, 5}, std::pair{4, 6}, std::pair{6, 4}}) {
    SCOPED_TRACE(testing::Message() << rows << "x" << cols);
    const double tol = FftTol(static_cast<std::size_t>(rows) * cols);
    const TMtx x = NoiseMtx(rows, cols, false, 9);
    const LMtx want = Dft2(AsRows(x), -1);
    TMtx s;
    s.FFT2DFromReal(x);
    ASSERT_EQ(std::pair(s.Rows(), s.Cols()), std::pair(rows + 2, cols / 2 + 1));
    EXPECT_EQ(s.FFTOddLength(), cols % 2 == 1);
    EXPECT_LE(ErrEps2(AsRows(s), want, rows, cols / 2 + 1), tol);
    for (std::int32_t j = 0; j < s.Cols(); ++j) {
      EXPECT_EQ(s.PCValues1D(0)[rows * s.Cols() + j].Re, 0.0);
      EXPECT_EQ(s.PCValues1D(0)[(rows + 1) * s.Cols() + j].Im, 0.0);
    }
    TMtx back;
    Stale(back, rows + 2, 2 * (cols / 2 + 1));
    back.IFFT2DToReal(s);
    ASSERT_EQ(std::pair(back.Rows(), back.Cols()), std::pair(rows + 2, 2 * (cols / 2 + 1)));
    EXPECT_LE(ErrEps2(AsRows(back), AsRows(x), rows, cols), tol);
    ExpectZeroPads(back, rows + 2, cols);  // and the two extra rows
    // In place on the padded real matrix: the same spectrum, and back.
    TMtx p = Padded(x, rows + 2, 2 * (cols / 2 + 1));
    p.FFT2DFromReal();
    ASSERT_TRUE(p.Complex());
    EXPECT_LE(ErrEps2(AsRows(p), want, rows, cols / 2 + 1), tol);
    p.IFFT2DToReal();
    EXPECT_LE(ErrEps2(AsRows(p), AsRows(x), rows, cols), tol);
    ExpectZeroPads(p, rows + 2, cols);  // as out of place
  }
}

TEST(FftMtx, Messages) {
  TMtx r = NoiseMtx(3, 4, false, 1), c = NoiseMtx(3, 2, true, 2);
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { c.FFT1DFromReal(); }, "TMtx.FFT1DFromReal: Self is Complex"},
      {[&] { r.FFT1DFromReal(r); }, "TMtx.FFT1DFromReal: Mtx = Self"},
      {[&] { c.FFT2DFromReal(c); }, "TMtx.FFT2DFromReal: Mtx = Self"},
      {[&] { c.IFFT1D(c, false); }, "TMtx.IFFT1D: Mtx = Self"},
      {[&] { r.IFFT1DToReal(); }, "TMtx.IFFT1DToReal: Self is not Compelx"},
      {[&] { r.IFFT1DToReal(r, false); }, "TMtx.IFFT1DToReal: Mtx = Self"},
      {[&] { c.IFFT1DToReal(TMtx(r), false); }, "TMtx.IFFT1DToReal: Mtx is not Compelx"},
      {[&] { c.IFFT2D(c, false); }, "TMtx.IFFT2D: Mtx = Self"},
      {[&] { r.IFFT2DToReal(); }, "TMtx.FFT2DFromReal: Self is not Complex"},
      {[&] { c.IFFT2DToReal(c, false); }, "TMtx.IFFT2DToReal: Mtx = Self"},
      {[&] { r.IFFT2DToReal(TMtx(r), false); }, "TMtx.IFFT2DFromReal: Mtx is not Complex"},
      {[&] { TMtx(NoiseMtx(3, 5, false, 3)).FFT2DFromReal(); }, "TMtx.FFT2DFromReal: Invalid Cols: 5"},
      {[&] { TMtx(NoiseMtx(2, 4, false, 3)).FFT2DFromReal(); }, "TMtx.FFT2DFromReal: Invalid Rows: 2"},
      {[&] { TMtx(NoiseMtx(3, 1, true, 3)).IFFT2DToReal(); }, "TMtx.IFFT2DFromReal: Invalid Cols: 1"},
      {[&] { TMtx(NoiseMtx(2, 2, true, 3)).IFFT2DToReal(); }, "TMtx.IFFT2DFromReal: Invalid Rows: 2"},
  });
  // Without condition checking, a matrix given itself gives what a copy of it would.
  TMtx x = NoiseMtx(4, 6, true, 4), y = x;
  x.SetConditionCheck(false);
  x.IFFT2D(x, false);
  y.IFFT2D(false);
  EXPECT_TRUE(x.IsEqual(y));
  for (bool twoD : {false, true})
    for (std::int32_t cols : {6, 5}) {  // rows unpadded, unlike the in-place forms'
      TMtx a = NoiseMtx(4, cols, false, 5), want;
      twoD ? want.FFT2DFromReal(TMtx(a)) : want.FFT1DFromReal(TMtx(a));
      a.SetConditionCheck(false);
      twoD ? a.FFT2DFromReal(a) : a.FFT1DFromReal(a);
      EXPECT_TRUE(a.IsEqual(want)) << twoD << " " << cols;
    }
  EXPECT_EQ(Controller->MtxCacheUsed(), 0);
  // An empty matrix given to FFT2D is only marked complex.
  TMtx e;
  e.FFT2D();
  EXPECT_TRUE(e.Complex());
}

}  // namespace
}  // namespace quorel::test
