// Binary persistence of TMtx (the "persistence" section of mtx.h).
#include <array>

#include "quorel/io/detail/persist_format.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/io/persist.h"
#include "quorel/io/stream.h"

namespace quorel {

namespace {

// Field positions of the 26-single matrix header.
enum : std::size_t {
  hComplex, hRows, hCols, hQuadratic, hAutoMtxType, hEigGenType, hBalance, hConditionCheck,
  hConditionNumber, hPrecision, hRefineSolution, hTriangleForm, hTriangleUnit, hSuperDiag, hSubDiag,
  hEight, hVersion, hTag, hFileCode, hCount = 26
};
using THeader = std::array<float, hCount>;

float Flag(bool b) { return b ? 1.0f : 0.0f; }

/// Sets e from a stored ordinal when it names one of the enumeration's count values.
template <class E>
void RestoreOrdinal(E& e, std::int32_t ordinal, std::int32_t count) {
  if (ordinal >= 0 && ordinal < count) e = static_cast<E>(ordinal);
}

}  // namespace

void TMtx::WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding) const {
  THeader h{};
  h[hComplex] = Flag(fComplex);
  h[hRows] = static_cast<float>(fRows);
  h[hCols] = static_cast<float>(fCols);
  h[hQuadratic] = Flag(fRows == fCols);
  h[hAutoMtxType] = Flag(fSettings.AutoMtxType);
  h[hEigGenType] = static_cast<float>(fSettings.EigGenType);
  h[hBalance] = static_cast<float>(fSettings.Balance);
  h[hConditionCheck] = Flag(fConditionCheck);
  h[hConditionNumber] = static_cast<float>(fSettings.ConditionNumber);
  h[hPrecision] = static_cast<float>(precision);
  h[hRefineSolution] = Flag(fSettings.RefineSolution);
  h[hTriangleForm] = static_cast<float>(fSettings.TriangleForm);
  h[hTriangleUnit] = Flag(fSettings.TriangleUnit);
  h[hSuperDiag] = static_cast<float>(fSettings.SuperDiag);
  h[hSubDiag] = static_cast<float>(fSettings.SubDiag);
  h[hEight] = 8.0f;
  h[hVersion] = static_cast<float>(QuorelFormatVersion);
  h[hTag] = static_cast<float>(fTag);
  h[hFileCode] = static_cast<float>(QuorelFileCode);
  detail::WriteHeaderFields(stream, h);
  WriteShortString(stream, fCaption);
}

TPrecision TMtx::ReadHeader(TQuorelStream& stream) {
  THeader h{};
  detail::RequireState(detail::ReadHeaderFields(stream, h), "TMtx: Error reading stream!");
  std::int32_t tag = fTag;
  std::string caption = fCaption;
  detail::ReadHeaderTail(stream, h[hVersion], h[hFileCode], h[hTag], tag, caption);
  // Sizing is the last step that can refuse; nothing has changed before it.
  Size(aRound(h[hRows]), aRound(h[hCols]), false, aRound(h[hComplex]) != 0);  // the values are stored as reals
  fTag = tag;
  fCaption = std::move(caption);
  fConditionCheck = aRound(h[hConditionCheck]) != 0;
  fSettings.AutoMtxType = aRound(h[hAutoMtxType]) != 0;
  fSettings.RefineSolution = aRound(h[hRefineSolution]) != 0;
  fSettings.TriangleUnit = aRound(h[hTriangleUnit]) != 0;
  RestoreOrdinal(fSettings.EigGenType, aRound(h[hEigGenType]), etBAz + 1);
  RestoreOrdinal(fSettings.Balance, aRound(h[hBalance]), btFull + 1);
  RestoreOrdinal(fSettings.ConditionNumber, aRound(h[hConditionNumber]), cnNormInf + 1);
  RestoreOrdinal(fSettings.TriangleForm, aRound(h[hTriangleForm]), tfUpper + 1);
  if (const std::int32_t d = aRound(h[hSuperDiag]); d >= 0) fSettings.SuperDiag = d;
  if (const std::int32_t d = aRound(h[hSubDiag]); d >= 0) fSettings.SubDiag = d;
  TPrecision precision = detail::kUnknownPrecision;
  if (detail::PrecisionFromOrdinal(aRound(h[hPrecision]), precision)) fPrecision = precision;
  QuorelTVecVer = aRound(h[hVersion]);
  return precision;
}

}  // namespace quorel
