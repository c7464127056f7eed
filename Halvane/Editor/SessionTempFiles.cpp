#include "Halvane/Editor/SessionTempFiles.h"

#include <unistd.h>

#include <random>
#include <string>
#include <system_error>

namespace halvane {
namespace {

void removeIgnoringErrors(const std::filesystem::path& url) {
  std::error_code ignored;
  std::filesystem::remove(url, ignored);
}

std::string freshName() {
  // A random version-4 UUID as a file name, as the photo's JPEG gets.
  static thread_local std::mt19937_64 generator{std::random_device{}()};
  std::uniform_int_distribution<unsigned> nibble(0, 15);
  std::string name = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
  for (char& c : name) {
    if (c == 'x') c = "0123456789ABCDEF"[nibble(generator)];
    if (c == 'y') c = "89AB"[nibble(generator) & 3];
  }
  return name;
}

}  // namespace

std::filesystem::path temporaryDirectory() {
  std::error_code error;
  auto base = std::filesystem::temp_directory_path(error);
  if (error) base = "/tmp";
  // The application's own folder, not the shared one: a user's file that happens to
  // lie in /tmp is never taken for ours, and so never deleted.
  return base / ("halvane-" + std::to_string(::getuid()));
}

std::filesystem::path makeTemporaryDirectory() {
  const auto folder = temporaryDirectory();
  std::error_code error;
  if (std::filesystem::create_directory(folder, error)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  }
  return folder;
}

bool isInTemporaryDirectory(const std::filesystem::path& url) {
  // Where the file really is, links resolved: a link into our folder is not ours, and
  // neither is a path through a link that leaves it.
  std::error_code error;
  const auto folder = std::filesystem::weakly_canonical(temporaryDirectory(), error).string();
  if (error) return false;
  const auto file = std::filesystem::weakly_canonical(std::filesystem::absolute(url), error).string();
  if (error) return false;
  // A prefix of whole components: /tmp/x is inside /tmp, /tmpfoo/x is not.
  if (file.size() <= folder.size() || file.compare(0, folder.size(), folder) != 0) return false;
  return folder.back() == '/' || file[folder.size()] == '/';
}

std::filesystem::path SessionTempFiles::beginVideoExport() {
  if (videoTempURL && !isDelivered(*videoTempURL)) removeIgnoringErrors(*videoTempURL);
  videoTempURL = makeTemporaryDirectory() / (freshName() + ".mov");
  return *videoTempURL;
}

void SessionTempFiles::cleanupTempFiles() {
  if (sourceImageFileURL) {
    removeIgnoringErrors(*sourceImageFileURL);
    sourceImageFileURL.reset();
  }
  if (ownedSourceVideoURL && !isDelivered(*ownedSourceVideoURL)) removeIgnoringErrors(*ownedSourceVideoURL);
  if (videoTempURL && !isDelivered(*videoTempURL)) {
    removeIgnoringErrors(*videoTempURL);
    videoTempURL.reset();
  }
}

}  // namespace halvane
