#pragma once
// Finds the kernel bundle "Halvane_Halvane.bundle": the path in HALVANE_BUNDLE_PATH
// first (a build-time or test override), then the resource folder beside the running
// executable, the resource folder beside the library that holds the engine, and the
// executable's own folder.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <optional>
#include <string>
#include <vector>

namespace halvane {

inline constexpr const char* kBundleName = "Halvane_Halvane.bundle";

std::vector<std::string> bundleCandidates();
std::optional<std::string> findBundle();

}  // namespace halvane
