#pragma once
// Files from the operating system: an owned descriptor read and written at explicit offsets, so
// that a buffered stream above it keeps the one position that matters.

#include <cstdint>
#include <string>

namespace quorel::detail {

/// How a file is opened.
enum class TFileAccess : std::uint8_t {
  Create,     // created or truncated, read and write
  Read,       // existing, read only
  ReadWrite,  // existing, read and write
};

/// An open file, closed when the holder goes.
class TFile {
 public:
  /// Opens name; on failure the holder is closed and Error() tells why.
  TFile(const std::string& name, TFileAccess access);
  ~TFile();
  TFile(const TFile&) = delete;
  TFile& operator=(const TFile&) = delete;

  /// Whether the file is open.
  bool IsOpen() const { return fd_ >= 0; }
  /// The system's text for the error that left the file closed.
  const std::string& Error() const { return error_; }
  /// The file's size in bytes (0 when the system cannot tell).
  std::int64_t Size() const;
  /// Reads up to count bytes at offset into buffer; returns how many arrived (fewer only at the
  /// end of the file or on an error).
  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const;
  /// Writes count bytes at offset; returns how many were taken (fewer only on an error).
  std::int64_t WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) const;

 private:
  int fd_ = -1;
  std::string error_;
};

}  // namespace quorel::detail
