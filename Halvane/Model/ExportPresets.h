#pragma once
// Quality presets of an export, chosen by the host through HalvaneConfig.
namespace halvane {

enum class PhotoExportPreset { compressed, balanced, maxQuality };

enum class VideoExportPreset { social, balanced, maxQuality };

}  // namespace halvane
