#pragma once
// Pieces of the binary format shared by the persistence sources. Internal to the library.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "quorel/io/persist.h"
#include "quorel/io/stream.h"

namespace quorel::detail {
/// Stands for a precision ordinal outside TPrecision read from a header: no values follow.
inline constexpr auto kUnknownPrecision = static_cast<TPrecision>(0xFF);
/// Bytes per real value of a precision; 0 outside TPrecision.
std::int32_t BytesPerValue(TPrecision precision);
/// The precision with ordinal p, or false when p is outside TPrecision.
bool PrecisionFromOrdinal(std::int32_t p, TPrecision& precision);
/// ReadBinaryValues from a stream, returning how many bytes of dst it filled (a double cut short
/// by the end of the stream counts with the bytes that arrived).
std::int64_t ReadValueBytes(TQuorelStream& stream, double* dst, TPrecision precision, bool complex,
                            std::int32_t len);
/// Zeroes what a short values block left unfilled of count doubles at dst, from byte filledBytes
/// on. Parts that read as zero already are not written. heapBlock: dst lies in a block the object
/// allocated itself (private anonymous memory), whose whole pages may be handed back instead.
void ZeroUnfilled(double* dst, std::int64_t filledBytes, std::ptrdiff_t count, bool heapBlock);
/// Writes a header of singles as they are (a short write is not reported).
void WriteHeaderFields(TQuorelStream& stream, std::span<const float> fields);
/// Reads a header of singles; false when the stream holds fewer bytes.
bool ReadHeaderFields(TQuorelStream& stream, std::span<float> fields);
/// The tag and caption that headers newer than the old format versions carry: checks the file
/// code, then reads the caption that follows the header. Older versions leave both as given, so
/// the object keeps its own. Raises before anything is assigned.
void ReadHeaderTail(TQuorelStream& stream, float version, float fileCode, float tagField, std::int32_t& tag,
                    std::string& caption);
/// The file to save into: created (or truncated), or with append the existing file at its end.
std::unique_ptr<TQuorelFileStream> OpenForSave(const std::string& fileName, bool append);

}  // namespace quorel::detail
