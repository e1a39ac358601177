#include "quorel/platform/file.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorel::detail {

namespace {

int Flags(TFileAccess access) {
  switch (access) {
    case TFileAccess::Create: return O_RDWR | O_CREAT | O_TRUNC;
    case TFileAccess::Read: return O_RDONLY;
    case TFileAccess::ReadWrite: return O_RDWR;
  }
  return O_RDONLY;
}

// A single transfer is capped below what the system accepts in one call (about 2 GB).
constexpr std::int64_t kMaxTransfer = std::int64_t{1} << 30;

}  // namespace

TFile::TFile(const std::string& name, TFileAccess access) {
  do {
    fd_ = ::open(name.c_str(), Flags(access) | O_CLOEXEC, 0666);
  } while (fd_ < 0 && errno == EINTR);
  if (fd_ < 0) error_ = std::strerror(errno);
}

TFile::~TFile() {
  if (fd_ >= 0) ::close(fd_);
}

std::int64_t TFile::Size() const {
  struct stat st {};
  return fd_ >= 0 && ::fstat(fd_, &st) == 0 ? static_cast<std::int64_t>(st.st_size) : 0;
}

std::int64_t TFile::ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const {
  std::int64_t done = 0;
  while (done < count) {
    const std::int64_t n = count - done < kMaxTransfer ? count - done : kMaxTransfer;
    const ssize_t got = ::pread(fd_, static_cast<char*>(buffer) + done, static_cast<std::size_t>(n),
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += got;
  }
  return done;
}

std::int64_t TFile::WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) const {
  std::int64_t done = 0;
  while (done < count) {
    const std::int64_t n = count - done < kMaxTransfer ? count - done : kMaxTransfer;
    const ssize_t put = ::pwrite(fd_, static_cast<const char*>(buffer) + done, static_cast<std::size_t>(n),
                                 static_cast<off_t>(offset + done));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) break;
    done += put;
  }
  return done;
}

}  // namespace quorel::detail
