#pragma once
// Byte streams for the binary format: one small abstract interface with a file and a memory
// implementation. The file stream buffers small transfers itself and reads and writes large ones
// straight between the caller's memory and the file, which is what the value blocks need.

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "quorel/core/errors.h"

namespace quorel {

/// A file that cannot be created or opened.
class EFOpenError : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

/// A stream that delivers fewer bytes than a caller demanded ("Stream read error").
class EReadError : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

/// A stream that accepts fewer bytes than a caller demanded ("Stream write error").
class EWriteError : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

/// Where Seek counts from.
enum TSeekOrigin : std::uint8_t { soBeginning, soCurrent, soEnd };

/// Abstract byte stream: plain reads and writes report how many bytes moved (a stream may move
/// fewer than asked before its end); ReadFully and WriteFully repeat them, ReadBuffer and
/// WriteBuffer demand the whole count.
class TQuorelStream {
 public:
  virtual ~TQuorelStream() = default;
  /// Reads up to count bytes into buffer; returns the number read (0 at the end).
  virtual std::int64_t Read(void* buffer, std::int64_t count) = 0;
  /// Writes count bytes; returns the number written.
  virtual std::int64_t Write(const void* buffer, std::int64_t count) = 0;
  /// Moves the position; returns the new position.
  virtual std::int64_t Seek(std::int64_t offset, TSeekOrigin origin) = 0;
  /// Current position from the start.
  virtual std::int64_t Position() = 0;
  /// Total size in bytes.
  virtual std::int64_t Size() = 0;

  /// Memory for the next count bytes, to be filled by the caller in place of a Write; the
  /// position moves past them. nullptr when the stream has no memory to lend.
  virtual void* WriteInPlace(std::int64_t /*count*/) { return nullptr; }
  /// Memory holding the next count bytes, in place of a Read; the position moves past them.
  /// nullptr when fewer remain or the stream has no memory to lend.
  virtual const void* ReadInPlace(std::int64_t /*count*/) { return nullptr; }

  /// Bytes between the position and the end (0 when positioned past it).
  std::int64_t Remaining();
  /// Reads until count bytes arrived or the stream gives no more; returns the number read.
  std::int64_t ReadFully(void* buffer, std::int64_t count);
  /// Writes until count bytes are taken or the stream takes no more; returns the number written.
  std::int64_t WriteFully(const void* buffer, std::int64_t count);
  /// Reads exactly count bytes or raises EReadError.
  void ReadBuffer(void* buffer, std::int64_t count);
  /// Writes exactly count bytes or raises EWriteError.
  void WriteBuffer(const void* buffer, std::int64_t count);
};

/// How a file stream opens its file.
enum TFileMode : std::uint8_t {
  fmCreate,     // create or truncate, read and write
  fmOpenRead,   // existing file, read only
  fmOpenReadWrite  // existing file, read and write, position at the start
};

/// Stream over a file; the file is closed when the stream goes.
class TQuorelFileStream final : public TQuorelStream {
 public:
  /// Opens fileName; raises EFOpenError when the file cannot be created or opened.
  TQuorelFileStream(const std::string& fileName, TFileMode mode);
  ~TQuorelFileStream() override;
  TQuorelFileStream(const TQuorelFileStream&) = delete;
  TQuorelFileStream& operator=(const TQuorelFileStream&) = delete;

  std::int64_t Read(void* buffer, std::int64_t count) override;
  std::int64_t Write(const void* buffer, std::int64_t count) override;
  std::int64_t Seek(std::int64_t offset, TSeekOrigin origin) override;
  std::int64_t Position() override { return pos_; }
  /// The file's size now, with the bytes still in the buffer: the file may grow while it is read.
  std::int64_t Size() override;
  /// Buffer space for the next count bytes when they fit the stream's buffer.
  void* WriteInPlace(std::int64_t count) override;
  /// Name the stream was opened with.
  const std::string& FileName() const { return fileName_; }

 private:
  struct Impl;  // the open file and its buffer
  std::unique_ptr<Impl> impl_;
  std::string fileName_;
  std::int64_t pos_ = 0;
  bool Flush();
};

/// Stream over a growable byte array held in memory.
class TQuorelMemoryStream final : public TQuorelStream {
 public:
  TQuorelMemoryStream() = default;
  /// A stream holding a copy of bytes, positioned at the start.
  explicit TQuorelMemoryStream(std::span<const std::uint8_t> bytes);
  /// The moved-from stream is left empty.
  TQuorelMemoryStream(TQuorelMemoryStream&& other) noexcept;
  /// Takes over other's bytes and position; other is left empty.
  TQuorelMemoryStream& operator=(TQuorelMemoryStream&& other) noexcept;

  std::int64_t Read(void* buffer, std::int64_t count) override;
  std::int64_t Write(const void* buffer, std::int64_t count) override;
  /// Any position >= 0 is allowed; writing past the end fills the gap with zeros.
  std::int64_t Seek(std::int64_t offset, TSeekOrigin origin) override;
  std::int64_t Position() override { return pos_; }
  std::int64_t Size() override { return size_; }
  void* WriteInPlace(std::int64_t count) override;
  const void* ReadInPlace(std::int64_t count) override;

  /// The stream's contents.
  std::span<const std::uint8_t> Bytes() const { return {data_.get(), static_cast<std::size_t>(size_)}; }
  /// Truncates or extends (with zeros) to size bytes; the position is kept.
  void SetSize(std::int64_t size);
  /// Empties the stream (capacity is kept for reuse).
  void Clear();

 private:
  /// Makes room for size bytes; new bytes are left uninitialised (callers fill them).
  void Reserve(std::int64_t size);

  // A plain array rather than std::vector: growth must not zero what a write is about to fill.
  std::unique_ptr<std::uint8_t[]> data_;
  std::int64_t size_ = 0;
  std::int64_t capacity_ = 0;
  std::int64_t pos_ = 0;
};

}  // namespace quorel
