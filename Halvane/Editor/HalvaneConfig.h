#pragma once
// The host's configuration of the engine, read by the editor when it needs a value.
#include <optional>
#include <vector>

#include "Halvane/Model/CropAspect.h"
#include "Halvane/Model/ExportPresets.h"
#include "Halvane/Model/MediaTool.h"
#include "Platform/Media/Image.h"

namespace halvane {

struct HalvaneConfig {
  // The tool a new session enters by itself; none leaves the editor at its tool strip.
  std::optional<MediaTool> initialTool;
  VideoExportPreset videoExportPreset = VideoExportPreset::balanced;
  PhotoExportPreset photoExportPreset = PhotoExportPreset::maxQuality;
  // The share button's icon; none keeps the bar's own.
  std::optional<platform::media::Image> shareButtonImage;
  // The ratio buttons of the transform panel. None shows defaultCropAspects(); an empty
  // list shows no ratio buttons at all.
  std::optional<std::vector<CropAspect>> cropAspects;

  std::vector<CropAspect> effectiveCropAspects() const { return cropAspects ? *cropAspects : defaultCropAspects(); }
};

}  // namespace halvane
