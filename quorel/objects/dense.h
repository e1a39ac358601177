#pragma once
// TDenseQuorel: dense storage plus every method that returns Self. Each such method is listed
// once in dense_methods.inc; TDenseOf<S> re-exposes the whole list returning S& so that calls on a
// TVec chain as TVec and on a TMtx as TMtx.

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>

#include "quorel/objects/quorel_object.h"

namespace quorel {

class TQuorelStream;

/// Base of the dense vector and matrix.
class TDenseQuorel : public TQuorel {
 public:
#define QUOREL_SELF_METHOD(name, params, args) TDenseQuorel& name params;
#include "quorel/objects/dense_methods.inc"
#undef QUOREL_SELF_METHOD

  // --- persistence (binary layout and value encodings: quorel/objects/persist.h) --------------
  // Readers raise before changing anything when the header is short or foreign; a short values
  // block is not reported. The header is the one thing vectors and matrices write differently.
  /// Header and caption, the values announced in the given precision.
  virtual void WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding rounding) const = 0;
  /// Reads header and caption, sizes Self and returns the precision of the values that follow.
  virtual TPrecision ReadHeader(TQuorelStream& stream) = 0;
  /// All elements in storage order, encoded in the given precision and rounding.
  void WriteValues(TQuorelStream& stream, TPrecision precision, TRounding rounding) const;
  /// Length elements in the given precision.
  void ReadValues(TQuorelStream& stream, TPrecision precision);
  /// Header, caption and values in Self's own Precision and Rounding.
  void SaveToStream(TQuorelStream& stream) const;
  /// Reads one object: header, caption, values.
  void LoadFromStream(TQuorelStream& stream);
  /// Creates (or truncates) the file and saves into it.
  void SaveToFile(const std::string& fileName) const { SaveToFile(fileName, false); }
  /// With append, adds to the end of an existing file instead.
  void SaveToFile(const std::string& fileName, bool append) const;
  /// Loads the first object of the file.
  void LoadFromFile(const std::string& fileName);
  /// Same as SaveToStream / LoadFromStream (the "DataValues" property).
  void SaveBinaryStream(TQuorelStream& stream) const { SaveToStream(stream); }
  /// Same as LoadFromStream.
  void LoadBinaryStream(TQuorelStream& stream) { LoadFromStream(stream); }

  // --- conversions to and from 32-bit integers ----------------------------------------------------
  /// Rounds to nearest (ties to even) into an integer array, saturating at the 32-bit range.
  void Round(TIntegerArray& dst) const;
  /// Truncates toward zero into an integer array, saturating at the 32-bit range.
  void Trunc(TIntegerArray& dst) const;
  /// Dst becomes an integer vector (IsInteger, 32-bit storage) of Self's real values.
  void FloatToInt(TDenseQuorel& dst, TRounding rounding) const;
  /// Same as FloatToInt.
  void RoundTrunc(TDenseQuorel& dst, TRounding rounding) const { FloatToInt(dst, rounding); }
  /// Turns Self's 32-bit integers back into doubles.
  void IntToFloat();

  // --- reductions: whole object or the range (Index, Len) -------------------------------------
  // Empty input: sums and means give 0; extremes, deviations, moments and norms give NaN and an
  // index of -1. Real-only reductions refuse complex data with "Complex = True" and the reverse.

  /// Sum of a real object (computed as Length x mean).
  double Sum() const;
  double Sum(std::int32_t index, std::int32_t len) const;
  /// Sum of a complex object.
  TCplx Sumc() const;
  TCplx Sumc(std::int32_t index, std::int32_t len) const;
  /// Sum of a complex object into result.
  void Sum(TCplx& result) const { result = Sumc(); }
  void Sum(TCplx& result, std::int32_t index, std::int32_t len) const { result = Sumc(index, len); }
  /// Arithmetic mean of a real object.
  double Mean() const;
  double Mean(std::int32_t index, std::int32_t len) const;
  void Mean(double& result, std::int32_t index, std::int32_t len) const { result = Mean(index, len); }
  /// Mean of a complex object.
  TCplx Meanc() const;
  TCplx Meanc(std::int32_t index, std::int32_t len) const;
  /// Mean of a complex object into result.
  void Mean(TCplx& result) const { result = Meanc(); }
  void Mean(TCplx& result, std::int32_t index, std::int32_t len) const { result = Meanc(index, len); }
  /// Sample standard deviation (divisor n - 1); NaN for fewer than two elements.
  double StdDev() const;
  double StdDev(std::int32_t index, std::int32_t len) const;
  /// Standard deviation about a given mean.
  double StdDev(double mean) const;
  double StdDev(double mean, std::int32_t index, std::int32_t len) const;
  /// (deviation of the real parts, deviation of the imaginary parts) about a complex mean.
  TCplx StdDev(const TCplx& mean) const;
  TCplx StdDev(const TCplx& mean, std::int32_t index, std::int32_t len) const;
  /// Root mean square, real or complex.
  double RMS() const;
  double RMS(std::int32_t index, std::int32_t len) const;
  /// Largest and smallest value of a real object.
  double Max() const;
  double Max(std::int32_t index, std::int32_t len) const;
  /// Smallest value of a real object.
  double Min() const;
  double Min(std::int32_t index, std::int32_t len) const;
  /// Extreme value and its first position.
  void Max(double& value, std::int32_t& idx) const;
  void Max(double& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const;
  /// Smallest value and its first position.
  void Min(double& value, std::int32_t& idx) const;
  void Min(double& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const;
  /// Both extremes in one pass.
  void MaxMin(double& max, double& min) const;
  void MaxMin(double& max, double& min, std::int32_t index, std::int32_t len) const;
  void MaxMin(double& max, std::int32_t& maxIdx, double& min, std::int32_t& minIdx) const;
  void MaxMin(double& max, std::int32_t& maxIdx, double& min, std::int32_t& minIdx, std::int32_t index,
              std::int32_t len) const;
  /// Complex element of largest (smallest) modulus, ties broken by phase.
  TCplx Maxc() const;
  TCplx Maxc(std::int32_t index, std::int32_t len) const;
  /// Complex element of smallest modulus, ties broken by phase.
  TCplx Minc() const;
  TCplx Minc(std::int32_t index, std::int32_t len) const;
  /// Complex element of largest modulus and its first position.
  void Max(TCplx& value, std::int32_t& idx) const;
  void Max(TCplx& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const;
  /// Complex element of smallest modulus and its first position.
  void Min(TCplx& value, std::int32_t& idx) const;
  void Min(TCplx& value, std::int32_t& idx, std::int32_t index, std::int32_t len) const;
  /// Median of a real object; Self keeps its order.
  double Median() const;
  double Median(std::int32_t index, std::int32_t len) const;
  /// Adjusted sample skewness; NaN below 3 elements, INF for a zero deviation.
  double Skewness(double mean, double stdDev) const;
  double Skewness(double mean, double stdDev, std::int32_t index, std::int32_t len) const;
  /// Adjusted sample excess kurtosis; NaN below 4 elements, INF for a zero deviation.
  double Kurtosis(double mean, double stdDev) const;
  double Kurtosis(double mean, double stdDev, std::int32_t index, std::int32_t len) const;
  /// Sum of squared magnitudes.
  double SumOfSquares() const;
  double SumOfSquares(std::int32_t index, std::int32_t len) const;
  /// Infinity, L1 and L2 norms (complex: of the moduli).
  double NormC() const;
  double NormC(std::int32_t index, std::int32_t len) const;
  /// L1 norm: sum of the moduli.
  double NormL1() const;
  double NormL1(std::int32_t index, std::int32_t len) const;
  /// L2 norm: square root of the sum of squared moduli.
  double NormL2() const;
  double NormL2(std::int32_t index, std::int32_t len) const;
  /// Norm of Self - Vec over min(Length, Vec.Length) elements, relative to the norm of Self.
  double NormC(const TDenseQuorel& vec, bool relativeError) const;
  double NormC(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
               bool relativeError) const;
  /// L1 norm of Self - Vec, relative to the L1 norm of Self when relativeError.
  double NormL1(const TDenseQuorel& vec, bool relativeError) const;
  double NormL1(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                bool relativeError) const;
  /// L2 norm of Self - Vec, relative to the L2 norm of Self when relativeError.
  double NormL2(const TDenseQuorel& vec, bool relativeError) const;
  double NormL2(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
                bool relativeError) const;
  /// Product of all elements.
  double Product() const;
  double Product(std::int32_t index, std::int32_t len) const;
  /// Product of all elements of a complex object.
  TCplx Productc() const;
  TCplx Productc(std::int32_t index, std::int32_t len) const;
  /// Product of all elements into result.
  void Product(double& result) const { result = Product(); }
  void Product(TCplx& result) const { result = Productc(); }
  /// Sum of Self[i] * Vec[i], real only.
  double DotProd(const TDenseQuorel& vec) const;
  double DotProd(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len) const;
  /// Complex dot product; with conjVec the first operand (Self) is conjugated.
  TCplx DotProdc(const TDenseQuorel& vec) const;
  TCplx DotProdc(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len) const;
  TCplx DotProdc(const TDenseQuorel& vec, bool conjVec) const;
  TCplx DotProdc(const TDenseQuorel& vec, bool conjVec, std::int32_t vecIndex, std::int32_t index,
                 std::int32_t len) const;
  /// Class-level form: vec1.DotProdc(vec2).
  static TCplx DotProdc(const TDenseQuorel& vec1, const TDenseQuorel& vec2) { return vec1.DotProdc(vec2); }
  /// First and last element.
  double First() const;
  /// Last element.
  double Last() const;
  /// First element of a complex object.
  TCplx Firstc() const;
  /// Last element of a complex object.
  TCplx Lastc() const;
  /// Index of the first element equal to value (NaN finds NaN, INF any infinity), -1 if none.
  std::int32_t Find(double value) const;
  std::int32_t Find(const TCplx& value) const;
  /// Equality of kind, integer flag and values within a tolerance.
  bool IsEqual(const TDenseQuorel& vec) const;
  bool IsEqual(const TDenseQuorel& vec, double tolerance, TCompare compare) const;
  bool IsEqual(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index, std::int32_t len,
               double tolerance, TCompare compare) const;
  bool IsEqual(double value) const;
  bool IsEqual(double value, double tolerance, TCompare compare) const;
  bool IsEqual(const TCplx& value) const;
  bool IsEqual(const TCplx& value, double tolerance, TCompare compare) const;
  /// IsEqual with an absolute tolerance.
  bool Equal(const TDenseQuorel& vec, double tolerance) const { return IsEqual(vec, tolerance, cmpAbsolute); }
  bool Equal(const TDenseQuorel& vec, double tolerance, TCompare compare) const {
    return IsEqual(vec, tolerance, compare);
  }

 protected:
  TDenseQuorel() = default;
};

/// TDenseQuorel with the Self-returning methods typed as the derived class S.
template <class S>
class TDenseOf : public TDenseQuorel {
 public:
#define QUOREL_SELF_METHOD(name, params, args) \
  S& name params {                               \
    TDenseQuorel::name args;                     \
    return static_cast<S&>(*this);               \
  }
#include "quorel/objects/dense_methods.inc"
#undef QUOREL_SELF_METHOD
  // Overloads of the same names that do not return Self.
  using TDenseQuorel::Round;
  using TDenseQuorel::Trunc;

 protected:
  TDenseOf() = default;
};

}  // namespace quorel
