#include "quorel/platform/kernels/convert.h"
#include "quorel/platform/kernels/round.h"

#include <cfenv>
#include <cfloat>
#include <climits>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

double SgnRef(double b) { return b > 0 ? 1.0 : b < 0 ? -1.0 : 0.0; }  // 0 for zero and NaN
double SgnRef(C b) { return b.Re != 0.0 ? SgnRef(b.Re) : SgnRef(b.Im); }  // Im only when Re is 0
C Scaled(C a, double s) { return {a.Re * s, a.Im * s}; }

// One result of TruncAndFrac; the other goes to a scratch array.
template <bool Frac>
void TruncOrFrac(const D* x, D* r, ptrdiff_t n) {
  std::vector<D> other(n);
  Frac ? TruncAndFrac(x, other.data(), r, n) : TruncAndFrac(x, r, other.data(), n);
}

TEST(KernelsRound, CeilFloorFracAndTruncAndFrac) {
  CheckUnary<D, D>("Ceil", Ceil, [](D x) { return std::ceil(x); });
  CheckUnary<D, D>("Floor", Floor, [](D x) { return std::floor(x); });
  CheckUnary<D, D>("Frac", Frac, [](D x) { return x - std::trunc(x); });
  CheckUnary<D, D>("TruncAndFrac t", TruncOrFrac<false>, [](D x) { return std::trunc(x); });
  CheckUnary<D, D>("TruncAndFrac f", TruncOrFrac<true>, [](D x) { return x - std::trunc(x); });
}

TEST(KernelsRound, RemainderKeepsTheSignOfX) {
  // The scalar function's rule: quotient and product in extended precision.
  const auto ref = [](D x, D y) {
    const long double q = std::trunc(static_cast<long double>(x) / y);
    return static_cast<D>(x - y * q);
  };
  CheckBinary<D, D, D>("Rem", Pick<D, D, D>(Rem), ref);
  CheckUnary<D, D>("Rem value", WithValue<D, D, D>(Rem, 2.5), [ref](D x) { return ref(x, 2.5); });
}

TEST(KernelsRound, SignMultiplyInFourForms) {
  CheckBinary<D, D, D>("SgnMul dd", Pick<D, D, D>(SgnMul), [](D a, D b) { return a * SgnRef(b); });
  CheckBinary<C, C, C>("SgnMul cc", Pick<C, C, C>(SgnMul), [](C a, C b) { return Scaled(a, SgnRef(b)); });
  CheckBinary<C, D, C>("SgnMul cd", Pick<C, D, C>(SgnMul), [](C a, D b) { return Scaled(a, SgnRef(b)); });
  CheckBinary<D, C, D>("SgnMul dc", Pick<D, C, D>(SgnMul), [](D a, C b) { return a * SgnRef(b); });
}

// Reference: NaN -> 0, saturation at the type's limits, rounding as asked.
template <class I>
I ToIntRef(double x, TRounding rounding) {
  if (std::isnan(x)) return 0;
  const double r = rounding == rnRound ? std::nearbyint(x) : std::trunc(x);
  const double lo = std::numeric_limits<I>::min(), hi = std::numeric_limits<I>::max();
  return static_cast<I>(r <= lo ? lo : r >= hi ? hi : r);
}

// Widening to double, kept in the caches and stored around them (every offset of the result,
// so the lines' heads and tails are covered).
template <class S>
void CheckWiden(const char* name) {
  const auto widen = [](S v) { return static_cast<D>(v); };
  CheckUnary<S, D>(name, [](const S* x, D* r, ptrdiff_t n) { Convert(x, r, n); }, widen);
  CheckUnary<S, D>(name, [](const S* x, D* r, ptrdiff_t n) {
    Convert(x, r, n, TStores::Around);
    FinishStores();
  }, widen);
}

// The sweep's values scaled to 2.5 times the type's range (its specials included), both
// roundings; then random integers back to double.
template <class I>
void CheckToInt(const char* name) {
  const double scale = 0.25 * static_cast<double>(std::numeric_limits<I>::max());
  for (TRounding mode : {rnRound, rnTrunc}) {
    CheckUnary<D, I>(name, [=](const D* x, I* r, ptrdiff_t n) {
      std::vector<D> scaled(x, x + n);
      for (D& v : scaled) v *= scale;
      Convert(scaled.data(), r, n, mode);
    }, [=](D x) { return ToIntRef<I>(x * scale, mode); });
  }
  CheckWiden<I>(name);
}

TEST(KernelsConvert, DoubleToIntegersSaturatesAndRounds) {
  // The 32-bit types have their own kernels on the AVX-512 path, and the narrow types widen back on it.
  ForEachIsa([](const std::string& path) {
    CheckToInt<std::int32_t>(("int32" + path).c_str());
    CheckToInt<std::uint32_t>(("uint32" + path).c_str());
    CheckToInt<std::int16_t>(("int16" + path).c_str());
    CheckToInt<std::uint16_t>(("uint16" + path).c_str());
    CheckToInt<std::int8_t>(("int8" + path).c_str());
    CheckToInt<std::uint8_t>(("uint8" + path).c_str());
  });
  const D x[] = {3e9, -3e9, 2.5, 3.5, -2.5, -0.5, 1.5, -1.7, kNaN, kInf, -kInf, 2147483647.6, -2147483648.9};
  const std::int32_t round[] = {INT_MAX, INT_MIN, 2, 4, -2, 0, 2, -2, 0, INT_MAX, INT_MIN, INT_MAX, INT_MIN};
  const std::int32_t trunc[] = {INT_MAX, INT_MIN, 2, 3, -2, 0, 1, -1, 0, INT_MAX, INT_MIN, INT_MAX, INT_MIN};
  ForEachIsa([&](const std::string& path) {
    std::int32_t r[13], t[13];
    Convert(x, r, 13, rnRound);
    Convert(x, t, 13, rnTrunc);
    for (int i = 0; i < 13; ++i)
      EXPECT_TRUE(r[i] == round[i] && t[i] == trunc[i]) << path << " " << x[i] << ": " << r[i] << " " << t[i];
    // Ties go to even whatever the processor's rounding mode.
    const int mode = std::fegetround();
    std::fesetround(FE_UPWARD);
    Convert(x + 2, r, 3, rnRound);
    std::fesetround(mode);
    EXPECT_TRUE(r[0] == 2 && r[1] == 4 && r[2] == -2) << path << " " << r[0] << " " << r[1] << " " << r[2];
  });
}

TEST(KernelsConvert, SingleSaturatesFiniteValuesAndWidensExactly) {
  CheckUnary<D, float>("to float", Pick<D, float>(Convert), [](D x) {
    return static_cast<float>(std::isfinite(x) && std::fabs(x) > FLT_MAX ? std::copysign(D{FLT_MAX}, x) : x);
  });
  CheckWiden<float>("from float");
  const D x[] = {1e39, -1e39, 3.4028235677973366e38, kInf};
  float r[4];
  Convert(x, r, 4);
  EXPECT_TRUE(r[0] == FLT_MAX && r[1] == -FLT_MAX && r[2] == FLT_MAX && std::isinf(r[3]));
}

// Results of 8 MB and more are stored around the caches in blocks; they must match the short
// path exactly, with a head before the first whole line and a tail after the last block, and
// leave the elements on either side alone.
template <class R, class F>
void ExpectLongSameAsPieces(F convert) {
  const ptrdiff_t n = kStreamBytes / static_cast<ptrdiff_t>(sizeof(R)) + 777;
  std::vector<D> x(n);
  for (ptrdiff_t i = 0; i < n; ++i) x[i] = 40000.0 * std::sin(0.37 * static_cast<D>(i)) + (i % 5 == 0 ? 0.5 : 0.0);
  x[3] = kNaN;
  for (ptrdiff_t offset : {0, 1}) {
    std::vector<R> whole(n + 2, R{123}), pieces(n + 2, R{123});
    convert(x.data(), whole.data() + offset, n);
    for (ptrdiff_t i = 0; i < n; i += 4096) convert(x.data() + i, pieces.data() + offset + i, std::min<ptrdiff_t>(4096, n - i));
    ASSERT_EQ(std::memcmp(whole.data(), pieces.data(), whole.size() * sizeof(R)), 0) << "offset " << offset;  // NaN too
  }
}

TEST(KernelsConvert, LongResultsMatchShortOnes) {
  ExpectLongSameAsPieces<float>([](const D* x, float* r, ptrdiff_t n) { Convert(x, r, n); });
  ExpectLongSameAsPieces<std::int16_t>([](const D* x, std::int16_t* r, ptrdiff_t n) { Convert(x, r, n, rnRound); });
  ExpectLongSameAsPieces<std::int16_t>([](const D* x, std::int16_t* r, ptrdiff_t n) { ConvertViaSingle(x, r, n, rnTrunc); });
  ExpectLongSameAsPieces<std::uint16_t>([](const D* x, std::uint16_t* r, ptrdiff_t n) { ConvertViaSingle(x, r, n, rnTrunc); });
  ForEachIsa([](const std::string&) {
    ExpectLongSameAsPieces<std::int32_t>([](const D* x, std::int32_t* r, ptrdiff_t n) { Convert(x, r, n, rnRound); });
    ExpectLongSameAsPieces<std::uint32_t>([](const D* x, std::uint32_t* r, ptrdiff_t n) { Convert(x, r, n, rnTrunc); });
  });
}

}  // namespace
}  // namespace quorel::kern::test
