#pragma once
// A file of our own beside a target, for all-or-nothing writes: created exclusively
// under a fresh random name (never through a link, never an existing file), written
// through its descriptor, and moved onto the target only once complete. Whatever goes
// wrong, only this file is removed: a file that happens to carry a similar name, or a
// link planted beside the target, is never touched or followed. Not thread-safe.
#include <filesystem>
#include <system_error>

#include "Platform/Base/Expected.h"

namespace platform::media {

// What a write does with a file already standing at its path.
enum class ExistingFile {
  replace,  // replaced whole, once the new file is complete
  keep,     // left alone: the write fails, also when the file appears meanwhile
};

class TemporaryFile {
 public:
  // Hidden, in the target's folder (so the move is a rename on one file system), with
  // the target's extension. Errors are the system's (ENOENT for a missing folder...).
  static platform::Expected<TemporaryFile, std::error_code> createBeside(const std::filesystem::path& target);

  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  // Removes the file unless it was moved into place.
  ~TemporaryFile();

  int descriptor() const { return fd_; }
  const std::filesystem::path& path() const { return path_; }

  // Writes everything, retrying short writes. The first error is returned.
  platform::Expected<void, std::error_code> writeAll(const void* data, std::size_t size);
  // Flushes to the disk and closes; a failure here is a failed write (some file
  // systems report a full disk only now).
  platform::Expected<void, std::error_code> syncAndClose();
  // Renames onto the target. With `keep`, an existing target is left alone and the
  // move fails with EEXIST, even when it appears meanwhile.
  platform::Expected<void, std::error_code> moveOnto(const std::filesystem::path& target, ExistingFile existing);
  // Closes and removes the file now.
  void remove();

 private:
  TemporaryFile(int fd, std::filesystem::path path) : fd_(fd), path_(std::move(path)) {}
  int fd_ = -1;
  std::filesystem::path path_;  // empty once moved or removed
};

// True when something (a file, a folder, a link, even a dangling one) stands at path.
bool somethingStandsAt(const std::filesystem::path& path);

}  // namespace platform::media
