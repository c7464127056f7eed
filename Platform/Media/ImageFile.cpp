#include "Platform/Media/ImageFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <random>
#include <string>

namespace platform::media {

namespace {

std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

ImageError readError(const std::filesystem::path& path, int error) {
  const auto kind = (error == ENOENT || error == ENOTDIR) ? ImageError::Kind::fileNotFound
                                                          : ImageError::Kind::unreadable;
  const std::string reason = error == ENOENT ? "no such file" : std::strerror(error);
  return {kind, "cannot read " + quoted(path) + ": " + reason};
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() { if (fd_ >= 0) ::close(fd_); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }
  // Closes now and reports close's own error, which on some file systems is where a
  // failed write first shows.
  int close() {
    const int result = ::close(fd_);
    fd_ = -1;
    return result;
  }

 private:
  int fd_;
};

// A name no other writer picks: hidden, beside the target, with a random suffix.
std::filesystem::path temporaryPathBeside(const std::filesystem::path& target) {
  thread_local std::mt19937_64 random{std::random_device{}()};
  char suffix[17];
  std::snprintf(suffix, sizeof suffix, "%016llx", static_cast<unsigned long long>(random()));
  return target.parent_path() / ("." + target.filename().string() + "." + suffix + ".tmp");
}

}  // namespace

platform::Expected<std::vector<std::uint8_t>, ImageError> readFileBytes(
    const std::filesystem::path& path, std::uint64_t maxBytes) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return platform::unexpected(readError(path, errno));
  struct stat info {};
  if (::fstat(file.get(), &info) != 0) return platform::unexpected(readError(path, errno));
  if (S_ISDIR(info.st_mode)) return platform::unexpected(readError(path, EISDIR));
  // A device or a pipe has no size to check first, and /dev/zero never ends: only
  // regular files are read.
  if (!S_ISREG(info.st_mode)) {
    return platform::unexpected(ImageError{ImageError::Kind::unreadable,
                                           "cannot read " + quoted(path) + ": not a regular file"});
  }
  if (static_cast<std::uint64_t>(info.st_size) > maxBytes) {
    return platform::unexpected(ImageError{ImageError::Kind::tooLarge,
        "cannot read " + quoted(path) + ": " + std::to_string(info.st_size) +
        " bytes is more than the limit of " + std::to_string(maxBytes)});
  }

  std::vector<std::uint8_t> bytes;
  try {
    bytes.resize(static_cast<std::size_t>(info.st_size));
    std::size_t filled = 0;
    for (;;) {
      if (filled == bytes.size()) {
        // The file may have grown since fstat: read on, up to the limit.
        if (bytes.size() >= maxBytes) break;
        bytes.resize(std::min<std::uint64_t>(maxBytes, bytes.size() + 65536));
      }
      const ssize_t got = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
      if (got < 0) {
        if (errno == EINTR) continue;
        return platform::unexpected(readError(path, errno));
      }
      if (got == 0) break;
      filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
  } catch (const std::bad_alloc&) {
    return platform::unexpected(ImageError{ImageError::Kind::outOfMemory,
                                           "cannot read " + quoted(path) + ": out of memory"});
  }
  return bytes;
}

platform::Expected<std::size_t, ImageError> writeFileAtomically(
    const std::filesystem::path& path, std::span<const std::uint8_t> bytes) {
  const auto failure = [&](const std::string& reason) {
    return platform::unexpected(ImageError{ImageError::Kind::writeFailed,
                                           "cannot write " + quoted(path) + ": " + reason});
  };
  if (path.empty() || !path.has_filename()) return failure("not a file name");

  std::filesystem::path temporary;
  int fd = -1;
  for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
    temporary = temporaryPathBeside(path);
    // 0666 less the umask, the mode any new file of the user gets.
    fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) {
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) {
      const auto folder = path.parent_path().empty() ? std::filesystem::path(".") : path.parent_path();
      return failure("the folder " + quoted(folder) + " does not exist");
    }
    return failure(std::strerror(error));
  }
  FileDescriptor file(fd);
  const auto abandon = [&](int error) {
    file.close();
    ::unlink(temporary.c_str());
    return failure(std::strerror(error));
  };

  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t put = ::write(file.get(), bytes.data() + written, bytes.size() - written);
    if (put < 0) {
      if (errno == EINTR) continue;
      return abandon(errno);
    }
    written += static_cast<std::size_t>(put);
  }
  if (::fsync(file.get()) != 0 && errno != EINVAL) return abandon(errno);
  if (file.close() != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    return failure(std::strerror(error));
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    return failure(std::strerror(error));
  }
  return written;
}

}  // namespace platform::media
