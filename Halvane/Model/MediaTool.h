#pragma once
// The editor's top-level tools, in the order of the tool strip. Raw values are the case
// names; each has the symbol of its button and its localised label.
#include <array>
#include <optional>
#include <string_view>

#include "Halvane/Model/FilterCatalogue.h"

namespace halvane {

enum class MediaTool { transform, filter, adjust, focus, trim, audio };

inline constexpr std::array<MediaTool, 6> kAllMediaTools = {MediaTool::transform, MediaTool::filter, MediaTool::adjust,
                                                            MediaTool::focus,     MediaTool::trim,   MediaTool::audio};

struct MediaToolInfo {
  std::string_view rawValue;
  std::string_view symbolName;
  LocalizedText title;
};

inline constexpr MediaToolInfo mediaToolInfo(MediaTool tool) {
  switch (tool) {
    case MediaTool::transform: return {"transform", "crop.rotate", {"tool.transform", "Transform", "Transform tool"}};
    case MediaTool::filter: return {"filter", "wand.and.stars", {"tool.filter", "Filter", "Filter tool"}};
    case MediaTool::adjust: return {"adjust", "slider.horizontal.3", {"tool.adjust", "Adjust", "Adjust tool"}};
    case MediaTool::focus: return {"focus", "camera.aperture", {"tool.focus", "Focus", "Focus tool"}};
    case MediaTool::trim: return {"trim", "scissors", {"tool.trim", "Trim", "Trim tool"}};
    case MediaTool::audio: return {"audio", "speaker.wave.2", {"tool.audio", "Audio", "Audio tool"}};
  }
  return {"transform", "crop.rotate", {"tool.transform", "Transform", "Transform tool"}};
}

inline constexpr std::optional<MediaTool> mediaToolFromRawValue(std::string_view raw) {
  for (MediaTool tool : kAllMediaTools)
    if (mediaToolInfo(tool).rawValue == raw) return tool;
  return std::nullopt;
}

}  // namespace halvane
