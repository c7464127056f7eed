#include "Halvane/Editor/SessionTempFiles.h"

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
  auto folder = std::filesystem::temp_directory_path(error);
  return error ? std::filesystem::path("/tmp") : folder;
}

bool isInTemporaryDirectory(const std::filesystem::path& url) {
  const auto folder = temporaryDirectory().lexically_normal().string();
  const auto file = std::filesystem::absolute(url).lexically_normal().string();
  // A prefix of whole components: /tmp/x is inside /tmp, /tmpfoo/x is not.
  if (file.size() <= folder.size() || file.compare(0, folder.size(), folder) != 0) return false;
  return folder.back() == '/' || file[folder.size()] == '/';
}

std::filesystem::path SessionTempFiles::beginVideoExport() {
  if (videoTempURL && !isDelivered(*videoTempURL)) removeIgnoringErrors(*videoTempURL);
  videoTempURL = temporaryDirectory() / (freshName() + ".mov");
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
