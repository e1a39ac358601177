#pragma once
// The binary format of vectors and matrices: value encoders for every storage precision, the
// caption block, raw 4-byte blocks and the module constants. The object-level readers and
// writers are members of TVec and TMtx (their "persistence" sections).
//
// Layout of one object: a header of IEEE singles (11 for a vector, 26 for a matrix), a caption
// block (int32 length, then the bytes), then the values, interleaved (re, im) when complex and
// row after row for a matrix. Everything is little-endian.

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "quorel/core/types.h"
#include "quorel/io/stream.h"

namespace quorel {

/// File code stored in every header written since version 105.
inline constexpr std::uint16_t QuorelFileCode = 64019;
/// Format version written into every header.
inline constexpr std::int32_t QuorelFormatVersion = 200;
/// Headers of this version or older have neither caption nor file code.
inline constexpr std::int32_t QuorelLastOldVersion = 104;
/// Version found in the last header read; -1 before the first.
extern std::atomic<std::int32_t> QuorelTVecVer;

/// x rounded to the nearest integer, ties to even; saturates to the 32-bit range, NaN gives 0.
std::int32_t aRound(double x);

/// Encodes len elements (2 x len doubles when complex) from src into the stream. Writes nothing
/// for a precision outside TPrecision. A stream that refuses bytes is not reported.
void WriteBinaryValues(TQuorelStream& stream, const double* src, TPrecision precision, TRounding rounding,
                       bool complex, std::int32_t len);
/// Same into memory: dst receives len x (2 if complex) x bytes-per-value bytes.
void WriteBinaryValues(void* dst, const double* src, TPrecision precision, TRounding rounding, bool complex,
                       std::int32_t len);
/// Decodes len elements from the stream into dst. A short block is read as far as it goes and
/// leaves the rest of dst as it was (a double cut short gets the bytes that arrived).
void ReadBinaryValues(TQuorelStream& stream, double* dst, TPrecision precision, bool complex, std::int32_t len);
/// Same from memory holding all the encoded values.
void ReadBinaryValues(const void* src, double* dst, TPrecision precision, bool complex, std::int32_t len);

/// Writes values[0 .. count-1] raw (4 bytes each); count beyond the array raises EQuorelRangeError.
void WriteBinaryToStream(TQuorelStream& stream, std::int32_t count, std::span<const float> values);
void WriteBinaryToStream(TQuorelStream& stream, std::int32_t count, std::span<const std::int32_t> values);
/// Sizes values to count (0 when negative) and fills it from the stream; true when all
/// 4 x count bytes arrived.
bool ReadBinaryFromStream(TQuorelStream& stream, std::int32_t count, TSingleArray& values);
bool ReadBinaryFromStream(TQuorelStream& stream, std::int32_t count, TIntegerArray& values);

/// The 24-bit codec: count values from src into 3 x count bytes at dst (values limited to
/// +-8,388,607). A rounding other than rnTrunc and rnRound writes nothing.
void FloatTo24Bit(std::int32_t count, const double* src, TRounding rounding, std::uint8_t* dst);
/// count 24-bit values from src into dst[dstIndex ..].
void Bit24ToFloat(std::int32_t count, const std::uint8_t* src, double* dst, std::int32_t dstIndex);

/// Caption block: int32 length, then the bytes (all of them, however long).
void WriteShortString(TQuorelStream& stream, const std::string& text);
/// Reads a caption block, taking at most 254 bytes of text. A longer caption leaves the stream
/// inside its text: kept so for compatibility with files already written.
std::string ReadShortString(TQuorelStream& stream);

}  // namespace quorel
