#include "Support/TestFiles.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace testsupport {
namespace {

struct Folder {
  std::string path;
  Folder() {
    path = (std::filesystem::temp_directory_path() / ("halvane-test-" + std::to_string(::getpid()))).string();
    std::filesystem::create_directories(path);
  }
  ~Folder() {
    if (std::getenv("HALVANE_KEEP_TEST_FILES")) return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

}  // namespace

std::string temporaryFolder() {
  static Folder folder;
  return folder.path;
}

std::string sample(const std::string& relative) {
  const std::string path = std::string(HALVANE_MEDIA_DIR) + "/" + relative;
  return std::filesystem::exists(path) ? path : std::string();
}

std::string fileContents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> entriesNamed(const std::string& folder, const std::string& part) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().filename().string().find(part) != std::string::npos) found.push_back(entry.path().string());
  return found;
}

}  // namespace testsupport
