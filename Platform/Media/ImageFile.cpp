#include "Platform/Media/ImageFile.h"

#include "Platform/Media/TemporaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
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

 private:
  int fd_;
};

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
    const std::filesystem::path& path, std::span<const std::uint8_t> bytes, ExistingFile existing) {
  const auto failure = [&](const std::string& reason) {
    return platform::unexpected(ImageError{ImageError::Kind::writeFailed,
                                           "cannot write " + quoted(path) + ": " + reason});
  };
  if (path.empty() || !path.has_filename()) return failure("not a file name");
  if (existing == ExistingFile::keep && somethingStandsAt(path)) return failure("the file already exists");

  auto temporary = TemporaryFile::createBeside(path);
  if (!temporary) {
    const int error = temporary.error().value();
    if (error == ENOENT || error == ENOTDIR) {
      const auto folder = path.parent_path().empty() ? std::filesystem::path(".") : path.parent_path();
      return failure("the folder " + quoted(folder) + " does not exist");
    }
    return failure(temporary.error().message());
  }
  // On any failure the temporary file goes with `temporary`; nothing else is touched.
  if (auto written = temporary->writeAll(bytes.data(), bytes.size()); !written)
    return failure(written.error().message());
  if (auto closed = temporary->syncAndClose(); !closed) return failure(closed.error().message());
  if (auto moved = temporary->moveOnto(path, existing); !moved) {
    if (moved.error() == std::errc::file_exists) return failure("the file already exists");
    return failure(moved.error().message());
  }
  return bytes.size();
}

}  // namespace platform::media
