#pragma once
// The decisions of a video export that depend on numbers only: the output size of a
// preset, the time range of a trim, the encoder settings, and what happens to the
// sound. Pure functions, any thread.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <cstdint>
#include <optional>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/ExportPresets.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/AssetWriter.h"

namespace halvane {

// `social` fits the render size within a long side of 1920 and a short side of 1080;
// every preset then gives even sides of at least 2, as the encoder needs.
PixelSize exportOutputSize(PixelSize renderSize, VideoExportPreset preset);

struct ExportTimeRange {
  double start = 0;
  double end = 0;
  platform::media::TimeRange mediaRange() const;  // start and end - start at timescale 600
};

// The trim of `state` within a source of `duration` seconds. A trim end of 0 means the
// end of the source; an end at or before the start gives half a second from the start.
// None when nothing is left: a duration not above 0, or a start at or past the end.
std::optional<ExportTimeRange> exportTimeRange(double duration, const EditState& state);

// HEVC at the preset's average bit rate for the output size (constant quality 1.0 at
// maxQuality). The frame rate only informs the encoder's rate control.
platform::media::VideoEncoderSettings videoEncoderSettings(VideoExportPreset preset, PixelSize outputSize,
                                                           double frameRate);

enum class AudioRoute {
  none,         // muted, or the source has no sound: the file gets no audio track
  passthrough,  // the source's packets are copied untouched
  reencode,     // decoded to float PCM and encoded to AAC
};

struct AudioPlan {
  AudioRoute route = AudioRoute::none;
  platform::media::AudioEncoderSettings encoder;  // for reencode
  bool appliesGain = false;                       // samples are multiplied by audioVolume and clipped
};

// Muted gives no track (mute is not silence); a volume within 0.001 of 1 copies the
// packets unless the preset is social, the format is unknown or a movie cannot carry
// its packets (Opus, FLAC...); anything else decodes,
// applies the gain when the volume is not that near 1, and encodes AAC.
AudioPlan planAudio(const EditState& state, VideoExportPreset preset, bool hasAudioTrack,
                    const std::optional<platform::media::AudioFormatDescription>& format);

}  // namespace halvane
