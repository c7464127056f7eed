#include "Platform/Media/Asset.h"

#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Media/FfmpegSupport.h"
#include "Platform/Media/MediaURL.h"

namespace platform::media {

namespace {

double streamSeconds(const AVStream* stream) {
  if (stream->duration == AV_NOPTS_VALUE || stream->duration <= 0) return 0;
  return double(stream->duration) * av_q2d(stream->time_base);
}

double nominalFrameRate(AVStream* stream) {
  // Frames over the time they span, from the container's index: a variable-rate clip
  // reports its average, and an edit list or B-frame delay does not bend it.
  const int entries = avformat_index_get_entries_count(stream);
  if (entries >= 2) {
    const std::int64_t first = avformat_index_get_entry(stream, 0)->timestamp;
    const std::int64_t last = avformat_index_get_entry(stream, entries - 1)->timestamp;
    const double span = double(last - first) * av_q2d(stream->time_base);
    if (span > 0) return double(entries - 1) / span;
  }
  if (stream->avg_frame_rate.num > 0 && stream->avg_frame_rate.den > 0) return av_q2d(stream->avg_frame_rate);
  if (stream->r_frame_rate.num > 0 && stream->r_frame_rate.den > 0) return av_q2d(stream->r_frame_rate);
  return 0;
}

double dataRate(AVStream* stream) {
  const double seconds = streamSeconds(stream);
  const int entries = avformat_index_get_entries_count(stream);
  if (entries > 0 && seconds > 0) {
    double bytes = 0;
    for (int i = 0; i < entries; ++i) bytes += avformat_index_get_entry(stream, i)->size;
    return bytes * 8.0 / seconds;
  }
  return double(stream->codecpar->bit_rate);
}

platform::Expected<AssetInfo, MediaError> probe(const std::string& path) {
  auto format = av::openInput(path);
  if (!format) return platform::unexpected(format.error());
  AVFormatContext* context = format->get();
  // FFmpeg reads a photo as a video of one frame; it is not one.
  const std::string_view demuxer = context->iformat->name;
  if (demuxer == "image2" || demuxer.ends_with("_pipe"))
    return platform::unexpected(MediaError{MediaError::Code::openFailed, path + " is a still image, not a video"});
  AssetInfo info;
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    AVStream* stream = context->streams[i];
    const AVCodecParameters* parameters = stream->codecpar;
    AssetTrack track;
    track.trackID = int(i);
    track.duration = streamSeconds(stream);
    track.estimatedDataRate = dataRate(stream);
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO) {
      if (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) continue;  // cover art, not a track
      track.mediaType = MediaType::video;
      track.preferredTransform = av::streamTransform(stream);
      track.naturalSize = {double(parameters->width), double(parameters->height)};
      track.nominalFrameRate = nominalFrameRate(stream);
    } else if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) {
      track.mediaType = MediaType::audio;
      AudioFormatDescription audio;
      audio.sampleRate = parameters->sample_rate;
      audio.channels = parameters->ch_layout.nb_channels;
      audio.codec = avcodec_get_name(parameters->codec_id);
      audio.bitRate = parameters->bit_rate;
      audio.copiesIntoMovie = av::movieCarriesAudioPackets(parameters->codec_id);
      audio.codecParameters = std::make_shared<AudioCodecParameters>(parameters, stream->time_base);
      track.audioFormat = std::move(audio);
    } else {
      continue;  // data, timecode and subtitle tracks play no part
    }
    info.tracks.push_back(std::move(track));
  }
  if (context->duration != AV_NOPTS_VALUE && context->duration > 0) {
    info.duration = double(context->duration) / AV_TIME_BASE;
  } else {
    for (const AssetTrack& track : info.tracks) info.duration = std::max(info.duration, track.duration);
  }
  return info;
}

}  // namespace

std::vector<AssetTrack> AssetInfo::tracksOfType(MediaType type) const {
  std::vector<AssetTrack> result;
  for (const AssetTrack& track : tracks)
    if (track.mediaType == type) result.push_back(track);
  return result;
}

std::shared_ptr<Asset> Asset::make(std::string pathOrURL) {
  return std::shared_ptr<Asset>(new Asset(pathFromURL(pathOrURL)));
}

platform::Expected<AssetInfo, MediaError> Asset::loadNow() {
  std::lock_guard lock(mutex_);
  if (!probe_) probe_ = probe(path_);
  return *probe_;
}

template <typename T>
void Asset::deliver(Completion<T> completion,
                    std::function<platform::Expected<T, MediaError>(const platform::Expected<AssetInfo, MediaError>&)> pick) {
  dispatch::GlobalQueue::async(dispatch::QualityOfService::userInitiated,
                               [self = shared_from_this(), completion = std::move(completion), pick = std::move(pick)] {
                                 auto result = std::make_shared<platform::Expected<T, MediaError>>(pick(self->loadNow()));
                                 if (auto main = dispatch::MainQueue::shared()) {
                                   main->async([completion, result] { completion(std::move(*result)); });
                                 } else {
                                   completion(std::move(*result));
                                 }
                               });
}

void Asset::loadTracks(MediaType type, Completion<std::vector<AssetTrack>> completion) {
  deliver<std::vector<AssetTrack>>(std::move(completion), [type](const platform::Expected<AssetInfo, MediaError>& info)
                                       -> platform::Expected<std::vector<AssetTrack>, MediaError> {
    if (!info) return platform::unexpected(info.error());
    return info->tracksOfType(type);
  });
}

void Asset::loadDuration(Completion<double> completion) {
  deliver<double>(std::move(completion),
                  [](const platform::Expected<AssetInfo, MediaError>& info) -> platform::Expected<double, MediaError> {
                    if (!info) return platform::unexpected(info.error());
                    return info->duration;
                  });
}

void Asset::load(Completion<AssetInfo> completion) {
  deliver<AssetInfo>(std::move(completion), [](const platform::Expected<AssetInfo, MediaError>& info) { return info; });
}

}  // namespace platform::media
