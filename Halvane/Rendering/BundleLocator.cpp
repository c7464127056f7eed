#include "Halvane/Rendering/BundleLocator.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

namespace halvane {

namespace fs = std::filesystem;

namespace {

fs::path executableFolder() {
  std::error_code error;
  auto exe = fs::read_symlink("/proc/self/exe", error);
  return error ? fs::path() : exe.parent_path();
}

fs::path engineBinaryFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&findBundle), &info) == 0 || !info.dli_fname) return {};
  std::error_code error;
  auto path = fs::canonical(info.dli_fname, error);
  return error ? fs::path() : path.parent_path();
}

}  // namespace

std::vector<std::string> bundleCandidates() {
  std::vector<std::string> candidates;
  if (const char* overridePath = std::getenv("HALVANE_BUNDLE_PATH"); overridePath && *overridePath) {
    candidates.emplace_back(overridePath);
  }
  const auto exe = executableFolder();
  const auto engine = engineBinaryFolder();
  if (!exe.empty()) candidates.push_back((exe / "../share/halvane" / kBundleName).lexically_normal());
  if (!engine.empty()) candidates.push_back((engine / "../share/halvane" / kBundleName).lexically_normal());
  if (!exe.empty()) candidates.push_back((exe / kBundleName).string());
  return candidates;
}

std::optional<std::string> findBundle() {
  for (const auto& candidate : bundleCandidates()) {
    std::error_code error;
    if (fs::is_directory(candidate, error)) return candidate;
  }
  return std::nullopt;
}

}  // namespace halvane
