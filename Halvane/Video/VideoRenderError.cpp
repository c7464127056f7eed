#include "Halvane/Video/VideoRenderError.h"

namespace halvane {

VideoRenderError VideoRenderError::exportFailed(std::optional<platform::media::MediaError> underlying) {
  return VideoRenderError(Code::exportFailed, std::move(underlying));
}

std::string VideoRenderError::localizedDescription() const {
  switch (code_) {
    case Code::exportFailed:
      return "Export failed: " + (underlying_ ? underlying_->localizedDescription() : std::string("unknown"));
    case Code::writerSetupFailed:
      return "Failed to set up asset writer";
    case Code::noVideoTrack:
      return "No video track found";
    case Code::cancelled:
      return "Export was cancelled";
  }
  return {};
}

}  // namespace halvane
