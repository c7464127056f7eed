#include "Halvane/Video/VideoExportSettings.h"

#include <algorithm>
#include <cmath>

namespace halvane {

using platform::media::MediaTime;

namespace {

constexpr std::int32_t kTimescale = 600;

std::int64_t roundHalfAway(double value) { return std::int64_t(std::round(value)); }

}  // namespace

PixelSize exportOutputSize(PixelSize renderSize, VideoExportPreset preset) {
  const std::int64_t rw = renderSize.width;
  const std::int64_t rh = renderSize.height;
  const std::int64_t longSide = std::max(rw, rh);
  const std::int64_t shortSide = std::min(rw, rh);
  std::int64_t width = rw;
  std::int64_t height = rh;
  const bool scales = preset == VideoExportPreset::social && (longSide > 1920 || shortSide > 1080);
  if (scales) {
    const double scale = std::min(1920.0 / double(longSide), 1080.0 / double(shortSide));
    width = std::max<std::int64_t>(2, roundHalfAway(double(rw) * scale));
    height = std::max<std::int64_t>(2, roundHalfAway(double(rh) * scale));
  }
  width &= ~std::int64_t(1);
  height &= ~std::int64_t(1);
  if (!scales) {
    width = std::max<std::int64_t>(width, 2);
    height = std::max<std::int64_t>(height, 2);
  }
  return PixelSize{uint32_t(width), uint32_t(height)};
}

platform::media::TimeRange ExportTimeRange::mediaRange() const {
  return {MediaTime::fromSeconds(start, kTimescale), MediaTime::fromSeconds(end - start, kTimescale)};
}

std::optional<ExportTimeRange> exportTimeRange(double duration, const EditState& state) {
  if (!(duration > 0)) return std::nullopt;
  // Written so that a NaN trim counts as 0.
  const double start = state.trimStart > 0 ? std::min(state.trimStart, duration) : 0.0;
  if (!(start < duration)) return std::nullopt;
  double end = state.trimEnd > 0 ? std::min(state.trimEnd, duration) : duration;
  // The range is cut on the 1/600 s ticks of the media times: a trim end that rounds
  // onto the start (1e-320, say) is no range at all.
  const auto ticks = [](double seconds) { return std::round(seconds * kTimescale); };
  if (!(ticks(end) > ticks(start))) end = std::min(start + 0.5, duration);
  if (!(ticks(start) < ticks(end))) return std::nullopt;
  return ExportTimeRange{start, end};
}

platform::media::VideoEncoderSettings videoEncoderSettings(VideoExportPreset preset, PixelSize outputSize,
                                                           double frameRate) {
  platform::media::VideoEncoderSettings settings;
  settings.width = int(outputSize.width);
  settings.height = int(outputSize.height);
  settings.expectedFrameRate = frameRate;
  // Both sides must be below the threshold for the lower rate; portrait and landscape
  // of the same pixel count may differ, as intended.
  const bool belowFullHD = outputSize.width < 1920 && outputSize.height < 1080;
  const bool belowUHD = outputSize.width < 3840 && outputSize.height < 2160;
  switch (preset) {
    case VideoExportPreset::social:
      settings.averageBitRate = belowFullHD ? 4'000'000 : 6'000'000;
      break;
    case VideoExportPreset::balanced:
      settings.averageBitRate = belowFullHD ? 6'000'000 : belowUHD ? 10'000'000 : 20'000'000;
      break;
    case VideoExportPreset::maxQuality:
      settings.quality = 1.0;
      break;
  }
  return settings;
}

AudioPlan planAudio(const EditState& state, VideoExportPreset preset, bool hasAudioTrack,
                    const std::optional<platform::media::AudioFormatDescription>& format) {
  AudioPlan plan;
  if (state.audioMuted || !hasAudioTrack) return plan;
  const bool near = std::fabs(state.audioVolume - 1.0f) <= 0.001f;
  if (preset != VideoExportPreset::social && near && format && format->copiesIntoMovie) {
    plan.route = AudioRoute::passthrough;
    return plan;
  }
  plan.route = AudioRoute::reencode;
  const bool hasStreamDescription = format && format->sampleRate > 0 && format->channels > 0;
  plan.encoder.channels = hasStreamDescription ? format->channels : 2;
  plan.encoder.sampleRate = hasStreamDescription ? int(format->sampleRate) : 44100;
  plan.encoder.bitRate = preset == VideoExportPreset::social ? 128'000 : 256'000;
  plan.appliesGain = !near;
  return plan;
}

}  // namespace halvane
