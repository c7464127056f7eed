#pragma once
// An error the editor hands its host: a domain, a code and a description for the user.
// The export's own errors, the user's cancel, and a video export's failure as it came.
// A plain value.
#include <cstdint>
#include <optional>
#include <string>

#include "Halvane/Video/VideoRenderError.h"

namespace halvane {

inline constexpr const char* kHalvaneErrorDomain = "Halvane";
inline constexpr const char* kCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr const char* kVideoRenderErrorDomain = "Halvane.VideoRenderError";
// The code of "the user cancelled" in the Cocoa domain.
inline constexpr std::int64_t kUserCancelledErrorCode = 3072;

struct EditorError {
  std::string domain;
  std::int64_t code = 0;
  std::string localizedDescription;
  // Set when the error is a video export's own.
  std::optional<VideoRenderError> videoError;

  static EditorError noSourceTexture() { return {kHalvaneErrorDomain, 1, "No source texture", std::nullopt}; }
  static EditorError photoExportFailed() { return {kHalvaneErrorDomain, 2, "Photo export failed", std::nullopt}; }
  static EditorError noVideoAsset() { return {kHalvaneErrorDomain, 3, "No video asset", std::nullopt}; }
  static EditorError cancelledByUser() {
    return {kCocoaErrorDomain, kUserCancelledErrorCode, "Export cancelled by user", std::nullopt};
  }
  static EditorError video(const VideoRenderError& error) {
    return {kVideoRenderErrorDomain, static_cast<std::int64_t>(error.code()), error.localizedDescription(), error};
  }
};

}  // namespace halvane
