#include "Platform/Media/TemporaryFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace platform::media {

namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }
platform::Unexpected<std::error_code> failedCall() { return platform::unexpected(lastError()); }

// Read, not set: umask(2) can only be read by changing it, which would race with every
// other thread that creates a file meanwhile.
mode_t processUmask() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("Umask:", 0) == 0) return mode_t(std::strtoul(line.c_str() + 6, nullptr, 8));
  }
  return 022;
}

}  // namespace

platform::Expected<TemporaryFile, std::error_code> TemporaryFile::createBeside(const std::filesystem::path& target) {
  if (target.empty() || !target.has_filename()) return platform::unexpected(std::make_error_code(std::errc::invalid_argument));
  const std::string suffix = target.extension().string() + ".partial";
  std::string name = (target.parent_path() / ("." + target.stem().string() + ".XXXXXX" + suffix)).string();
  std::vector<char> pattern(name.begin(), name.end());
  pattern.push_back('\0');
  // mkostemps opens with O_CREAT | O_EXCL: an existing name, a link among them, is
  // never opened; it tries other names instead.
  const int fd = ::mkostemps(pattern.data(), int(suffix.size()), O_CLOEXEC);
  if (fd < 0) return platform::unexpected(lastError());
  // mkostemps makes the file 0600; a finished output gets the mode any new file of the
  // user gets, 0666 less the umask.
  ::fchmod(fd, 0666 & ~processUmask());
  return TemporaryFile(fd, std::filesystem::path(pattern.data()));
}

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), path_(std::exchange(other.path_, {})) {}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    remove();
    fd_ = std::exchange(other.fd_, -1);
    path_ = std::exchange(other.path_, {});
  }
  return *this;
}

TemporaryFile::~TemporaryFile() { remove(); }

platform::Expected<void, std::error_code> TemporaryFile::writeAll(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t put = ::write(fd_, bytes, size);
    if (put < 0) {
      if (errno == EINTR) continue;
      return failedCall();
    }
    bytes += put;
    size -= std::size_t(put);
  }
  return {};
}

platform::Expected<void, std::error_code> TemporaryFile::syncAndClose() {
  if (fd_ < 0) return platform::unexpected(std::make_error_code(std::errc::bad_file_descriptor));
  std::error_code error;
  if (::fsync(fd_) != 0 && errno != EINVAL) error = lastError();
  if (::close(std::exchange(fd_, -1)) != 0 && !error) error = lastError();
  if (error) return platform::unexpected(error);
  return {};
}

platform::Expected<void, std::error_code> TemporaryFile::moveOnto(const std::filesystem::path& target,
                                                                  ExistingFile existing) {
  if (path_.empty()) return platform::unexpected(std::make_error_code(std::errc::no_such_file_or_directory));
  if (existing == ExistingFile::replace) {
    if (::rename(path_.c_str(), target.c_str()) != 0) return failedCall();
  } else if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
    if (errno != EINVAL && errno != ENOSYS) return failedCall();
    // A file system without RENAME_NOREPLACE: a hard link also refuses an existing name.
    if (::link(path_.c_str(), target.c_str()) != 0) return failedCall();
    ::unlink(path_.c_str());
  }
  path_.clear();
  if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  return {};
}

void TemporaryFile::remove() {
  if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  if (!path_.empty()) ::unlink(std::exchange(path_, {}).c_str());
}

bool somethingStandsAt(const std::filesystem::path& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace platform::media
