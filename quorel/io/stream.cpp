#include "quorel/io/stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include <sys/stat.h>

namespace quorel {

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
constexpr std::size_t kBufferSize = std::size_t{1} << 18;

const char* ModeText(TFileMode mode) {
  switch (mode) {
    case fmCreate: return "w+b";
    case fmOpenRead: return "rb";
    case fmOpenReadWrite: return "r+b";
  }
  return "rb";
}
}  // namespace

TQuorelFileStream::TQuorelFileStream(const std::string& fileName, TFileMode mode) : fileName_(fileName) {
  file_ = std::fopen(fileName.c_str(), ModeText(mode));
  if (file_ == nullptr) {
    const char* verb = mode == fmCreate ? "Cannot create file" : "Cannot open file";
    throw EFOpenError(std::string(verb) + " \"" + fileName + "\". " + std::strerror(errno));
  }
  // Value blocks arrive in chunks of a few kilobytes; a large buffer turns them into few system
  // calls. Writes larger than the buffer still go straight to the file.
  // (A null buffer would make the C library ignore the size.)
  buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
  std::setvbuf(file_, buffer_.get(), _IOFBF, kBufferSize);
  struct stat st {};
  if (::fstat(::fileno(file_), &st) == 0) size_ = static_cast<std::int64_t>(st.st_size);
}

TQuorelFileStream::~TQuorelFileStream() {
  if (file_ != nullptr) std::fclose(file_);
}

void TQuorelFileStream::SwitchTo(bool write) {
  // A C stream may not switch between reading and writing without a positioning call.
  if ((write && lastWasRead_) || (!write && lastWasWrite_)) std::fseek(file_, 0, SEEK_CUR);
  lastWasWrite_ = write;
  lastWasRead_ = !write;
}

// Position and size are kept here rather than asked of the C stream: both are wanted before
// every values block, and asking costs a system call (a seek would even drop the read buffer).
// The file is assumed not to change under the stream.
std::int64_t TQuorelFileStream::Read(void* buffer, std::int64_t count) {
  if (count <= 0) return 0;
  SwitchTo(false);
  const auto got = static_cast<std::int64_t>(std::fread(buffer, 1, static_cast<std::size_t>(count), file_));
  pos_ += got;
  return got;
}

std::int64_t TQuorelFileStream::Write(const void* buffer, std::int64_t count) {
  if (count <= 0) return 0;
  SwitchTo(true);
  const auto put = static_cast<std::int64_t>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), file_));
  pos_ += put;
  size_ = std::max(size_, pos_);
  return put;
}

std::int64_t TQuorelFileStream::Seek(std::int64_t offset, TSeekOrigin origin) {
  const int whence = origin == soBeginning ? SEEK_SET : origin == soCurrent ? SEEK_CUR : SEEK_END;
  ::fseeko(file_, static_cast<off_t>(offset), whence);
  lastWasWrite_ = lastWasRead_ = false;
  if (const off_t at = ::ftello(file_); at >= 0) pos_ = static_cast<std::int64_t>(at);
  return pos_;
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
  const std::int64_t base = origin == soBeginning ? 0 : origin == soCurrent ? pos_ : size_;
  std::int64_t target = 0;
  if (!__builtin_add_overflow(base, offset, &target) && target >= 0) pos_ = target;
  return pos_;
}

}  // namespace quorel
