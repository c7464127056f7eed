#pragma once
// What a video export can report to the user: a typed error with a text of its own.
// `cancelled` is silence, not a failure; a caller shows no alert for it. A plain value.
// The platform's error travels with every case that has one (`underlying`): only
// `exportFailed` shows it in its text; for the others a caller that can say more (the
// command-line tool) adds it after the text.
#include <optional>
#include <string>

#include "Platform/Media/AssetTypes.h"

namespace halvane {

class VideoRenderError {
 public:
  enum class Code { exportFailed, writerSetupFailed, noVideoTrack, cancelled };

  // "Export failed: " and the underlying error's description, or "unknown" without one.
  static VideoRenderError exportFailed(std::optional<platform::media::MediaError> underlying = std::nullopt);
  static VideoRenderError writerSetupFailed(std::optional<platform::media::MediaError> cause = std::nullopt) {
    return VideoRenderError(Code::writerSetupFailed, std::move(cause));
  }
  static VideoRenderError noVideoTrack(std::optional<platform::media::MediaError> cause = std::nullopt) {
    return VideoRenderError(Code::noVideoTrack, std::move(cause));
  }
  static VideoRenderError cancelled() { return VideoRenderError(Code::cancelled); }

  Code code() const { return code_; }
  const std::optional<platform::media::MediaError>& underlying() const { return underlying_; }
  std::string localizedDescription() const;

 private:
  explicit VideoRenderError(Code code, std::optional<platform::media::MediaError> underlying = std::nullopt)
      : code_(code), underlying_(std::move(underlying)) {}

  Code code_;
  std::optional<platform::media::MediaError> underlying_;
};

}  // namespace halvane
