#include "quorel/io/detail/persist_format.h"
#include "quorel/io/persist.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/io/stream.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/convert.h"
#include "quorel/platform/kernels/g711.h"
#include "quorel/platform/kernels/int24.h"
#include "quorel/platform/pages.h"

namespace quorel {

static_assert(std::endian::native == std::endian::little, "the binary format is written as it lies in memory");
static_assert(sizeof(float) == 4 && sizeof(double) == 8);

std::atomic<std::int32_t> QuorelTVecVer{-1};

std::int32_t aRound(double x) {
  std::int32_t r = 0;
  kern::Convert(&x, &r, 1, rnRound);
  return r;
}

namespace {

using std::ptrdiff_t;
using std::uint8_t;

// Values are converted in chunks small enough for the work vector's cache memory (and the
// processor's caches): the encoded bytes of a chunk that is not aligned for its type.
constexpr ptrdiff_t kChunk = 1024;
constexpr ptrdiff_t kScratchDoubles = kChunk;
// Values read from a stream that lends no memory arrive in blocks of this many bytes.
constexpr ptrdiff_t kReadBlockBytes = ptrdiff_t{1} << 18;

struct TScratch {
  uint8_t* bytes;  // kChunk x 8 bytes, 32-byte aligned
  kern::TStores stores;  // how decoders store the doubles of a long block
  TScratch(double* base, kern::TStores stores) : bytes(reinterpret_cast<uint8_t*>(base)), stores(stores) {}
};

using TEncoder = void (*)(const double* x, uint8_t* out, ptrdiff_t n, TRounding rounding, const TScratch& s);
using TDecoder = void (*)(const uint8_t* in, double* r, ptrdiff_t n, const TScratch& s);

struct TCodec {
  std::int32_t bytes;
  std::int32_t align;  // of the encoded type: encoders write it, decoders read it in place
  TEncoder encode;
  TDecoder decode;
};

void EncodeDouble(const double* x, uint8_t* out, ptrdiff_t n, TRounding, const TScratch&) {
  std::memcpy(out, x, static_cast<std::size_t>(n) * 8);
}
void DecodeDouble(const uint8_t* in, double* r, ptrdiff_t n, const TScratch&) {
  std::memcpy(r, in, static_cast<std::size_t>(n) * 8);
}

void EncodeSingle(const double* x, uint8_t* out, ptrdiff_t n, TRounding, const TScratch&) {
  kern::Convert(x, reinterpret_cast<float*>(out), n);
}

// 32-bit integers are converted from the doubles directly.
template <class I>
void EncodeInt(const double* x, uint8_t* out, ptrdiff_t n, TRounding rounding, const TScratch&) {
  kern::Convert(x, reinterpret_cast<I*>(out), n, rounding);
}

// Narrow integers go through single precision first; widening the single back is exact, so
// the integer conversion sees the single's value.
template <class I>
void EncodeIntViaSingle(const double* x, uint8_t* out, ptrdiff_t n, TRounding rounding, const TScratch&) {
  kern::ConvertViaSingle(x, reinterpret_cast<I*>(out), n, rounding);
}

template <void (*Compand)(const double*, uint8_t*, ptrdiff_t)>
void EncodeCompanded(const double* x, uint8_t* out, ptrdiff_t n, TRounding, const TScratch&) {
  Compand(x, out, n);
}

void EncodeInt24(const double* x, uint8_t* out, ptrdiff_t n, TRounding rounding, const TScratch&) {
  kern::FloatTo24Bit(x, out, n, rounding);
}

template <class T>
void DecodeWidened(const uint8_t* in, double* r, ptrdiff_t n, const TScratch& s) {
  kern::Convert(reinterpret_cast<const T*>(in), r, n, s.stores);
}

template <void (*Expand)(const uint8_t*, double*, ptrdiff_t, kern::TStores)>
void DecodeCompanded(const uint8_t* in, double* r, ptrdiff_t n, const TScratch& s) {
  Expand(in, r, n, s.stores);
}

void DecodeInt24(const uint8_t* in, double* r, ptrdiff_t n, const TScratch& s) { kern::Bit24ToFloat(in, r, n, s.stores); }

// In TPrecision order.
constexpr TCodec kCodecs[] = {
    {8, 8, EncodeDouble, DecodeDouble},
    {4, 4, EncodeSingle, DecodeWidened<float>},
    {4, 4, EncodeInt<std::int32_t>, DecodeWidened<std::int32_t>},
    {4, 4, EncodeInt<std::uint32_t>, DecodeWidened<std::uint32_t>},
    {2, 2, EncodeIntViaSingle<std::int16_t>, DecodeWidened<std::int16_t>},
    {2, 2, EncodeIntViaSingle<std::uint16_t>, DecodeWidened<std::uint16_t>},
    {1, 1, EncodeIntViaSingle<std::int8_t>, DecodeWidened<std::int8_t>},
    {1, 1, EncodeIntViaSingle<std::uint8_t>, DecodeWidened<std::uint8_t>},
    {1, 1, EncodeCompanded<kern::LinToMuLaw>, DecodeCompanded<kern::MuLawToLin>},
    {1, 1, EncodeCompanded<kern::LinToALaw>, DecodeCompanded<kern::ALawToLin>},
    {3, 1, EncodeInt24, DecodeInt24},
};
constexpr std::int32_t kPrecisionCount = sizeof kCodecs / sizeof kCodecs[0];
static_assert(kPrecisionCount == prInt24 + 1);

const TCodec* CodecOf(TPrecision precision) {
  return precision < kPrecisionCount ? &kCodecs[precision] : nullptr;
}

ptrdiff_t ValueCount(bool complex, std::int32_t len) {
  return len <= 0 ? 0 : (complex ? 2 * ptrdiff_t{len} : ptrdiff_t{len});
}

// Runs the chunk loop with the scratch space of a work vector. The chunks of a long decoded
// block go around the caches (its lines would otherwise be read before being overwritten).
template <class F>
void ForEachChunk(ptrdiff_t count, kern::TStores stores, F&& body, ptrdiff_t chunk = kChunk) {
  TWorkVec work;
  work->SetLength(static_cast<std::int32_t>(kScratchDoubles));
  const TScratch scratch(work->PValues1D(0), stores);
  for (ptrdiff_t i = 0; i < count; i += chunk) {
    if (!body(i, std::min(chunk, count - i), scratch)) break;
  }
  if (stores == kern::TStores::Around) kern::FinishStores();
}

bool Aligned(const void* p, const TCodec& codec) {
  return reinterpret_cast<std::uintptr_t>(p) % static_cast<std::uintptr_t>(codec.align) == 0;
}

// Encodes one chunk straight into out when it is aligned for the encoded type, else through the
// scratch.
void EncodeChunk(uint8_t* out, const double* src, ptrdiff_t n, const TCodec& codec, TRounding rounding,
                 const TScratch& s) {
  const bool direct = Aligned(out, codec);
  codec.encode(src, direct ? out : s.bytes, n, rounding, s);
  if (!direct) std::memcpy(out, s.bytes, static_cast<std::size_t>(n * codec.bytes));
}

void EncodeInto(uint8_t* out, const double* src, ptrdiff_t count, const TCodec& codec, TRounding rounding) {
  if (codec.encode == EncodeDouble) {
    std::memcpy(out, src, static_cast<std::size_t>(count) * 8);
    return;
  }
  // Encoders written in place take the block whole: a long one then goes around the caches (the
  // kernels store results of 8 MB and more that way).
  const ptrdiff_t chunk = Aligned(out, codec) ? count : kChunk;
  ForEachChunk(count, kern::TStores::Auto, [&](ptrdiff_t i, ptrdiff_t n, const TScratch& s) {
    EncodeChunk(out + i * codec.bytes, src + i, n, codec, rounding, s);
    return true;
  }, chunk);
}

// stores: how the doubles are stored, for the whole block when this is a piece of it.
void DecodeFrom(const uint8_t* in, double* dst, ptrdiff_t count, const TCodec& codec, kern::TStores stores) {
  if (codec.decode == DecodeDouble) {
    std::memcpy(dst, in, static_cast<std::size_t>(count) * 8);
    return;
  }
  const bool direct = Aligned(in, codec);
  // Decoders reading in place take the block whole, as the encoders do: a call per chunk costs
  // the narrowest types a third of their time.
  const ptrdiff_t chunk = direct ? count : kChunk;
  ForEachChunk(count, stores, [&](ptrdiff_t i, ptrdiff_t n, const TScratch& s) {
    const uint8_t* at = in + i * codec.bytes;
    if (!direct) std::memcpy(s.bytes, at, static_cast<std::size_t>(n * codec.bytes));
    codec.decode(direct ? at : s.bytes, dst + i, n, s);
    return true;
  }, chunk);
}

}  // namespace

namespace detail {

std::int32_t BytesPerValue(TPrecision precision) {
  const TCodec* codec = CodecOf(precision);
  return codec != nullptr ? codec->bytes : 0;
}

bool PrecisionFromOrdinal(std::int32_t p, TPrecision& precision) {
  if (p < 0 || p >= kPrecisionCount) return false;
  precision = static_cast<TPrecision>(p);
  return true;
}

void WriteHeaderFields(TQuorelStream& stream, std::span<const float> fields) {
  stream.WriteFully(fields.data(), static_cast<std::int64_t>(fields.size_bytes()));
}

bool ReadHeaderFields(TQuorelStream& stream, std::span<float> fields) {
  const auto bytes = static_cast<std::int64_t>(fields.size_bytes());
  return stream.ReadFully(fields.data(), bytes) == bytes;
}

void ReadHeaderTail(TQuorelStream& stream, float version, float fileCode, float tagField, std::int32_t& tag,
                    std::string& caption) {
  if (aRound(version) <= QuorelLastOldVersion) return;
  Require(aRound(fileCode) == QuorelFileCode, "Wrong file format!");
  const std::int32_t storedTag = aRound(tagField);
  caption = ReadShortString(stream);
  tag = storedTag;
}

std::unique_ptr<TQuorelFileStream> OpenForSave(const std::string& fileName, bool append) {
  auto file = std::make_unique<TQuorelFileStream>(fileName, append ? fmOpenReadWrite : fmCreate);
  if (append) file->Seek(0, soEnd);
  return file;
}

}  // namespace detail

// --- value blocks ----------------------------------------------------------------------------------

void WriteBinaryValues(TQuorelStream& stream, const double* src, TPrecision precision, TRounding rounding,
                       bool complex, std::int32_t len) {
  const TCodec* codec = CodecOf(precision);
  const ptrdiff_t count = ValueCount(complex, len);
  if (codec == nullptr || count == 0) return;
  // A stream that lends memory for the whole block (a memory stream; a file stream when the block
  // fits its buffer) gets the values encoded where they belong.
  if (void* at = stream.WriteInPlace(count * codec->bytes)) {
    EncodeInto(static_cast<uint8_t*>(at), src, count, *codec, rounding);
    return;
  }
  if (precision == prDouble) {
    stream.WriteFully(src, count * 8);
    return;
  }
  // A file stream lends its buffer a chunk at a time; other streams take the encoded chunk.
  ForEachChunk(count, kern::TStores::Auto, [&](ptrdiff_t i, ptrdiff_t n, const TScratch& s) {
    const std::int64_t bytes = n * codec->bytes;
    auto* lent = static_cast<uint8_t*>(stream.WriteInPlace(bytes));
    EncodeChunk(lent != nullptr ? lent : s.bytes, src + i, n, *codec, rounding, s);
    if (lent == nullptr) stream.WriteFully(s.bytes, bytes);
    return true;
  });
}

void WriteBinaryValues(void* dst, const double* src, TPrecision precision, TRounding rounding, bool complex,
                       std::int32_t len) {
  const TCodec* codec = CodecOf(precision);
  const ptrdiff_t count = ValueCount(complex, len);
  if (codec != nullptr && count > 0) EncodeInto(static_cast<uint8_t*>(dst), src, count, *codec, rounding);
}

namespace {

// Reads what the stream holds of count values, as a plain read would, and decodes it; returns the
// bytes of dst filled. A value cut short at the end of the stream is read too: a double keeps the
// bytes that arrived, an encoded value cannot be decoded from part of it. The stream's Size is not
// consulted: a pipe cannot tell it, and a file may have grown since it was opened.
std::int64_t ReadAvailable(TQuorelStream& stream, double* dst, const TCodec& codec, ptrdiff_t count) {
  const std::int64_t bytes = count * codec.bytes;
  if (codec.decode == DecodeDouble) {
    if (const void* at = stream.ReadInPlace(bytes)) {
      std::memcpy(dst, at, static_cast<std::size_t>(bytes));
      return bytes;
    }
    return stream.ReadFully(dst, bytes);
  }
  const kern::TStores stores = kern::StoresFor(count * 8);
  if (const void* at = stream.ReadInPlace(bytes)) {
    DecodeFrom(static_cast<const uint8_t*>(at), dst, count, codec, stores);
    return count * 8;
  }
  // Other streams are read in blocks large enough for a file stream to read them straight from
  // the file, and small enough to stay in the processor's caches until they are decoded.
  const std::int64_t perBlock = kReadBlockBytes / codec.bytes * codec.bytes;
  TWorkVec block;
  block->SetLength(static_cast<std::int32_t>(std::min(bytes, perBlock) / 8 + 1));
  auto* buffer = reinterpret_cast<uint8_t*>(block->PValues1D(0));
  ptrdiff_t done = 0;
  for (std::int64_t at = 0; at < bytes;) {
    const std::int64_t want = std::min(perBlock, bytes - at);
    const std::int64_t got = stream.ReadFully(buffer, want);
    const ptrdiff_t values = got / codec.bytes;
    if (values > 0) DecodeFrom(buffer, dst + done, values, codec, stores);
    done += values;
    at += got;
    if (got < want) break;
  }
  return done * 8;
}

// Zeroes dst[i, end) page by page, only where something is not zero yet: storage the system has
// just mapped reads as zero without being committed, and writing it would commit memory for the
// whole length a header announced, however little of it the stream supplied.
void ZeroScanned(double* dst, ptrdiff_t i, ptrdiff_t end) {
  constexpr std::uintptr_t kPageBytes = 4096;
  while (i < end) {
    const std::uintptr_t toPage = kPageBytes - reinterpret_cast<std::uintptr_t>(dst + i) % kPageBytes;
    const ptrdiff_t stop = std::min(end, i + std::max<ptrdiff_t>(1, static_cast<ptrdiff_t>(toPage / 8)));
    std::uint64_t bits = 0;
    for (ptrdiff_t j = i; j < stop; ++j) bits |= std::bit_cast<std::uint64_t>(dst[j]);
    if (bits != 0) std::fill(dst + i, dst + stop, 0.0);
    i = stop;
  }
}

}  // namespace

namespace detail {

std::int64_t ReadValueBytes(TQuorelStream& stream, double* dst, TPrecision precision, bool complex,
                            std::int32_t len) {
  const TCodec* codec = CodecOf(precision);
  const ptrdiff_t count = ValueCount(complex, len);
  return codec != nullptr && count > 0 ? ReadAvailable(stream, dst, *codec, count) : 0;
}

void ZeroUnfilled(double* dst, std::int64_t filledBytes, std::ptrdiff_t count, bool heapBlock) {
  ptrdiff_t i = static_cast<ptrdiff_t>(filledBytes / 8);
  if (i >= count) return;
  if (const std::int64_t cut = filledBytes % 8; cut != 0) {
    std::memset(reinterpret_cast<uint8_t*>(dst + i) + cut, 0, static_cast<std::size_t>(8 - cut));
    ++i;
  }
  // A heap block gives its whole pages back instead: however long the header said the object
  // is, that costs neither time nor memory nor page tables. What remains is scanned.
  constexpr ptrdiff_t kDiscardMinimum = 8192;  // doubles (64 KB): below it a scan is as cheap
  if (heapBlock && count - i >= kDiscardMinimum) {
    const TPageSpan span = DiscardPages(dst + i, static_cast<std::size_t>(count - i) * 8);
    if (span.last > span.first) {
      ZeroScanned(dst, i, reinterpret_cast<double*>(span.first) - dst);
      ZeroScanned(dst, reinterpret_cast<double*>(span.last) - dst, count);
      return;
    }
  }
  ZeroScanned(dst, i, count);
}

}  // namespace detail

void ReadBinaryValues(TQuorelStream& stream, double* dst, TPrecision precision, bool complex, std::int32_t len) {
  // What the stream does not supply keeps the caller's contents.
  detail::ReadValueBytes(stream, dst, precision, complex, len);
}

void ReadBinaryValues(const void* src, double* dst, TPrecision precision, bool complex, std::int32_t len) {
  const TCodec* codec = CodecOf(precision);
  const ptrdiff_t count = ValueCount(complex, len);
  if (codec != nullptr && count > 0) {
    DecodeFrom(static_cast<const uint8_t*>(src), dst, count, *codec, kern::StoresFor(count * 8));
  }
}

// --- raw 4-byte blocks -----------------------------------------------------------------------------

namespace {

template <class T>
void WriteRaw(TQuorelStream& stream, std::int32_t count, std::span<const T> values) {
  if (count <= 0) return;
  if (static_cast<std::size_t>(count) > values.size())
    ERangeErrorRaise(FormatMsg("WriteBinaryToStream: Count > Length(Values) (%d > %d)", count,
                               static_cast<int>(values.size())));
  stream.WriteFully(values.data(), std::int64_t{count} * 4);
}

template <class T>
bool ReadRaw(TQuorelStream& stream, std::int32_t count, std::vector<T>& values) {
  values.assign(static_cast<std::size_t>(std::max(count, 0)), T{});
  if (count <= 0) return count == 0;
  const std::int64_t bytes = std::int64_t{count} * 4;
  return stream.ReadFully(values.data(), bytes) == bytes;
}

}  // namespace

void WriteBinaryToStream(TQuorelStream& stream, std::int32_t count, std::span<const float> values) {
  WriteRaw(stream, count, values);
}
void WriteBinaryToStream(TQuorelStream& stream, std::int32_t count, std::span<const std::int32_t> values) {
  WriteRaw(stream, count, values);
}
bool ReadBinaryFromStream(TQuorelStream& stream, std::int32_t count, TSingleArray& values) {
  return ReadRaw(stream, count, values);
}
bool ReadBinaryFromStream(TQuorelStream& stream, std::int32_t count, TIntegerArray& values) {
  return ReadRaw(stream, count, values);
}

// --- 24-bit codec ----------------------------------------------------------------------------------

void FloatTo24Bit(std::int32_t count, const double* src, TRounding rounding, std::uint8_t* dst) {
  if (count <= 0 || (rounding != rnTrunc && rounding != rnRound)) return;
  kern::FloatTo24Bit(src, dst, count, rounding);
}

void Bit24ToFloat(std::int32_t count, const std::uint8_t* src, double* dst, std::int32_t dstIndex) {
  if (count <= 0) return;
  kern::Bit24ToFloat(src, dst + dstIndex, count);
}

// --- caption block ---------------------------------------------------------------------------------

namespace {
constexpr std::int32_t kMaxShortString = 254;
}

void WriteShortString(TQuorelStream& stream, const std::string& text) {
  const auto len = static_cast<std::int32_t>(std::min<std::size_t>(text.size(), 0x7FFFFFFF));
  stream.WriteFully(&len, 4);
  stream.WriteFully(text.data(), len);
}

std::string ReadShortString(TQuorelStream& stream) {
  std::int32_t len = 0;
  if (stream.ReadFully(&len, 4) != 4) return {};
  len = std::clamp(len, 0, kMaxShortString);
  std::string text(static_cast<std::size_t>(len), '\0');
  text.resize(static_cast<std::size_t>(stream.ReadFully(text.data(), len)));
  return text;
}

}  // namespace quorel
