// Binary persistence of TVec (the "persistence" section of vec.h).
#include <array>

#include "quorel/io/detail/persist_format.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/io/persist.h"
#include "quorel/io/stream.h"
#include "quorel/objects/vec.h"

namespace quorel {

namespace {
// Field positions of the 11-single vector header.
enum : std::size_t { hComplex, hLength, hZero, hConditionCheck, hPrecision, hVersion, hEight, hTag, hFileCode, hCount = 11 };
using THeader = std::array<float, hCount>;
}  // namespace

void TVec::WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding) const {
  THeader h{};
  h[hComplex] = fComplex ? 1.0f : 0.0f;
  h[hLength] = static_cast<float>(fLength);
  h[hConditionCheck] = fConditionCheck ? 1.0f : 0.0f;
  h[hPrecision] = static_cast<float>(precision);
  h[hVersion] = static_cast<float>(QuorelFormatVersion);
  h[hEight] = 8.0f;
  h[hTag] = static_cast<float>(fTag);
  h[hFileCode] = static_cast<float>(QuorelFileCode);
  detail::WriteHeaderFields(stream, h);
  WriteShortString(stream, fCaption);
  InternalWriteHeader(stream);
}

TPrecision TVec::ReadHeader(TQuorelStream& stream) {
  THeader h{};
  detail::RequireState(detail::ReadHeaderFields(stream, h), "Error reading stream!");
  std::int32_t tag = fTag;
  std::string caption = fCaption;
  detail::ReadHeaderTail(stream, h[hVersion], h[hFileCode], h[hTag], tag, caption);
  // Sizing is the last step that can refuse; nothing has changed before it.
  Size(aRound(h[hLength]), aRound(h[hComplex]) != 0);
  fIsInteger = false;  // the values are stored as reals
  fTag = tag;
  fCaption = std::move(caption);
  fConditionCheck = aRound(h[hConditionCheck]) != 0;
  TPrecision precision = detail::kUnknownPrecision;
  if (detail::PrecisionFromOrdinal(aRound(h[hPrecision]), precision)) fPrecision = precision;
  QuorelTVecVer = aRound(h[hVersion]);
  InternalReadHeader(stream);
  return precision;
}

}  // namespace quorel
