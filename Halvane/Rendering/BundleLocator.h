#pragma once
// Finds the kernel bundle "Halvane_Halvane.bundle": the path in HALVANE_BUNDLE_PATH
// first (a build-time or test override), then the resource folder beside the running
// executable, the resource folder beside the library that holds the engine, and the
// executable's own folder.
#include <optional>
#include <string>
#include <vector>

namespace halvane {

inline constexpr const char* kBundleName = "Halvane_Halvane.bundle";

std::vector<std::string> bundleCandidates();
std::optional<std::string> findBundle();

}  // namespace halvane
