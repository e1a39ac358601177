#include "quorel/io/stream.h"

#include "quorel/platform/file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace quorel {

namespace {
// Where a seek lands: any position >= 0, past the end included; pos when the target is negative
// or overflows.
std::int64_t SeekTarget(std::int64_t pos, std::int64_t size, std::int64_t offset, TSeekOrigin origin) {
  const std::int64_t base = origin == soBeginning ? 0 : origin == soCurrent ? pos : size;
  std::int64_t target = 0;
  return !__builtin_add_overflow(base, offset, &target) && target >= 0 ? target : pos;
}
}  // namespace

// --- TQuorelStream ---------------------------------------------------------------------------------

std::int64_t TQuorelStream::Remaining() { return std::max<std::int64_t>(Size() - Position(), 0); }

std::int64_t TQuorelStream::ReadFully(void* buffer, std::int64_t count) {
  std::int64_t done = 0;
  while (done < count) {
    const std::int64_t got = Read(static_cast<std::uint8_t*>(buffer) + done, count - done);
    if (got <= 0) break;
    done += got;
  }
  return done;
}

std::int64_t TQuorelStream::WriteFully(const void* buffer, std::int64_t count) {
  std::int64_t done = 0;
  while (done < count) {
    const std::int64_t put = Write(static_cast<const std::uint8_t*>(buffer) + done, count - done);
    if (put <= 0) break;
    done += put;
  }
  return done;
}

void TQuorelStream::ReadBuffer(void* buffer, std::int64_t count) {
  if (count > 0 && ReadFully(buffer, count) != count) throw EReadError("Stream read error");
}

void TQuorelStream::WriteBuffer(const void* buffer, std::int64_t count) {
  if (count > 0 && WriteFully(buffer, count) != count) throw EWriteError("Stream write error");
}

// --- TQuorelFileStream -----------------------------------------------------------------------------

namespace {

constexpr std::int64_t kBufferSize = std::int64_t{1} << 18;
// Reads of at least this many bytes take from the buffer what it holds and the rest straight
// from the file without refilling it: a run of large reads then never copies through the buffer
// (a refill would leave a remainder to copy on every read).
constexpr std::int64_t kDirectRead = std::int64_t{1} << 16;

detail::TFileAccess AccessOf(TFileMode mode) {
  switch (mode) {
    case fmCreate: return detail::TFileAccess::Create;
    case fmOpenRead: return detail::TFileAccess::Read;
    case fmOpenReadWrite: return detail::TFileAccess::ReadWrite;
  }
  return detail::TFileAccess::Read;
}

}  // namespace

// The buffer holds either bytes read from the file at [base, base + length) or bytes written at
// [base, base + length) and not yet in the file (pending), never both. Every transfer names its
// offset, so seeks cost nothing and the position is the stream's own.
struct TQuorelFileStream::Impl {
  detail::TFile file;
  bool writable;
  std::unique_ptr<std::uint8_t[]> buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kBufferSize);
  std::int64_t base = 0;
  std::int64_t length = 0;
  bool pending = false;
  Impl(const std::string& name, TFileMode mode) : file(name, AccessOf(mode)), writable(mode != fmOpenRead) {}
};

TQuorelFileStream::TQuorelFileStream(const std::string& fileName, TFileMode mode)
    : impl_(std::make_unique<Impl>(fileName, mode)), fileName_(fileName) {
  if (!impl_->file.IsOpen()) {
    const char* verb = mode == fmCreate ? "Cannot create file" : "Cannot open file";
    throw EFOpenError(std::string(verb) + " \"" + fileName + "\". " + impl_->file.Error());
  }
}

TQuorelFileStream::~TQuorelFileStream() { Flush(); }

// Writes the pending bytes; false when the file took fewer.
bool TQuorelFileStream::Flush() {
  Impl& f = *impl_;
  if (!f.pending) return true;
  const bool all = f.file.WriteAt(f.base, f.buffer.get(), f.length) == f.length;
  f.pending = false;
  f.length = 0;
  return all;
}

std::int64_t TQuorelFileStream::Read(void* buffer, std::int64_t count) {
  if (count <= 0) return 0;
  Flush();
  Impl& f = *impl_;
  auto* to = static_cast<std::uint8_t*>(buffer);
  std::int64_t done = 0;
  if (pos_ >= f.base && pos_ < f.base + f.length) {
    done = std::min(count, f.base + f.length - pos_);
    std::memcpy(to, f.buffer.get() + (pos_ - f.base), static_cast<std::size_t>(done));
  }
  if (done < count) {
    if (count >= kDirectRead) {
      done += f.file.ReadAt(pos_ + done, to + done, count - done);
    } else {
      f.base = pos_ + done;
      f.length = f.file.ReadAt(f.base, f.buffer.get(), kBufferSize);
      const std::int64_t more = std::min(count - done, f.length);
      std::memcpy(to + done, f.buffer.get(), static_cast<std::size_t>(more));
      done += more;
    }
  }
  pos_ += done;
  return done;
}

void* TQuorelFileStream::WriteInPlace(std::int64_t count) {
  Impl& f = *impl_;
  if (!f.writable || count <= 0 || count > kBufferSize) return nullptr;
  // Pending bytes are extended only where the new ones follow them and fit.
  if (f.pending && (pos_ != f.base + f.length || f.length + count > kBufferSize) && !Flush()) return nullptr;
  if (!f.pending) {
    f.pending = true;
    f.base = pos_;
    f.length = 0;
  }
  std::uint8_t* at = f.buffer.get() + f.length;
  f.length += count;
  pos_ += count;
  return at;
}

std::int64_t TQuorelFileStream::Write(const void* buffer, std::int64_t count) {
  if (count <= 0 || !impl_->writable) return 0;
  if (count < kBufferSize) {
    void* at = WriteInPlace(count);
    if (at == nullptr) return 0;
    std::memcpy(at, buffer, static_cast<std::size_t>(count));
    return count;
  }
  if (!Flush()) return 0;
  impl_->length = 0;  // the read buffer may hold what is overwritten
  const std::int64_t put = impl_->file.WriteAt(pos_, buffer, count);
  pos_ += put;
  return put;
}

std::int64_t TQuorelFileStream::Seek(std::int64_t offset, TSeekOrigin origin) {
  pos_ = SeekTarget(pos_, origin == soEnd ? Size() : 0, offset, origin);
  return pos_;
}

std::int64_t TQuorelFileStream::Size() {
  const Impl& f = *impl_;
  return std::max(f.file.Size(), f.pending ? f.base + f.length : std::int64_t{0});
}

// --- TQuorelMemoryStream ---------------------------------------------------------------------------

TQuorelMemoryStream::TQuorelMemoryStream(std::span<const std::uint8_t> bytes) {
  Reserve(static_cast<std::int64_t>(bytes.size()));
  if (!bytes.empty()) std::memcpy(data_.get(), bytes.data(), bytes.size());
  size_ = static_cast<std::int64_t>(bytes.size());
}

TQuorelMemoryStream::TQuorelMemoryStream(TQuorelMemoryStream&& other) noexcept
    : data_(std::move(other.data_)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      pos_(std::exchange(other.pos_, 0)) {}

TQuorelMemoryStream& TQuorelMemoryStream::operator=(TQuorelMemoryStream&& other) noexcept {
  if (this != &other) {
    data_ = std::move(other.data_);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
    pos_ = std::exchange(other.pos_, 0);
  }
  return *this;
}

void TQuorelMemoryStream::Reserve(std::int64_t size) {
  if (size <= capacity_) return;
  const std::int64_t capacity = std::max(size, capacity_ < (std::int64_t{1} << 62) ? 2 * capacity_ : size);
  auto grown = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(capacity));
  if (size_ > 0) std::memcpy(grown.get(), data_.get(), static_cast<std::size_t>(size_));
  data_ = std::move(grown);
  capacity_ = capacity;
}

void TQuorelMemoryStream::SetSize(std::int64_t size) {
  size = std::max<std::int64_t>(size, 0);
  Reserve(size);
  if (size > size_) std::memset(data_.get() + size_, 0, static_cast<std::size_t>(size - size_));
  size_ = size;
}

void TQuorelMemoryStream::Clear() {
  size_ = 0;
  pos_ = 0;
}

std::int64_t TQuorelMemoryStream::Read(void* buffer, std::int64_t count) {
  const std::int64_t n = std::min(std::max<std::int64_t>(count, 0), std::max<std::int64_t>(size_ - pos_, 0));
  if (n > 0) std::memcpy(buffer, data_.get() + pos_, static_cast<std::size_t>(n));
  pos_ += n;
  return n;
}

void* TQuorelMemoryStream::WriteInPlace(std::int64_t count) {
  if (count <= 0 || count > std::numeric_limits<std::int64_t>::max() - pos_) return nullptr;
  const std::int64_t end = pos_ + count;
  if (end > size_) {
    if (pos_ > size_) SetSize(pos_);  // zero the gap left by a seek past the end
    Reserve(end);
    size_ = end;
  }
  std::uint8_t* at = data_.get() + pos_;
  pos_ = end;
  return at;
}

const void* TQuorelMemoryStream::ReadInPlace(std::int64_t count) {
  if (count <= 0 || count > size_ - pos_) return nullptr;
  const std::uint8_t* at = data_.get() + pos_;
  pos_ += count;
  return at;
}

std::int64_t TQuorelMemoryStream::Write(const void* buffer, std::int64_t count) {
  void* at = WriteInPlace(count);
  if (at == nullptr) return 0;
  std::memcpy(at, buffer, static_cast<std::size_t>(count));
  return count;
}

std::int64_t TQuorelMemoryStream::Seek(std::int64_t offset, TSeekOrigin origin) {
  pos_ = SeekTarget(pos_, size_, offset, origin);
  return pos_;
}

}  // namespace quorel
