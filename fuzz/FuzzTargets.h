#pragma once
// The fuzz targets as plain functions: each libFuzzer executable calls one, and the
// normal test suite replays through them the inputs that once broke them. A target
// returns once the input is handled, whatever it holds; a crash, a hang, a sanitizer
// report or a broken invariant (abort) is a finding.
#include <cstdint>
#include <span>
#include <string_view>

namespace halvane::fuzz {

struct FuzzTarget {
  std::string_view name;
  void (*run)(std::span<const std::uint8_t> input);
};

// jpeg, png, webp and heif (one decoder each, past the format sniffing), edit-coding
// (the coded form of EditState as JSON text) and asset-probe (a media container probed
// and its first frames read).
std::span<const FuzzTarget> fuzzTargets();
// Null for an unknown name.
const FuzzTarget* findFuzzTarget(std::string_view name);

}  // namespace halvane::fuzz
