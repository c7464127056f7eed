// Asset loads, the asset reader, the frame grabber and background tasks, on generated
// clips and on the real phone clips of the sample media.
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <atomic>
#include <cmath>
#include <iterator>
#include <memory>
#include <vector>

#include "Support/TestClips.h"
#include "Platform/Media/MediaURL.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/BackgroundTask.h"
#include "Platform/Media/FfmpegSupport.h"
#include "Platform/Media/FrameGrabber.h"

using namespace platform::media;
using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;

namespace {

class MediaVideoAsset : public ::testing::Test {
 protected:
  void SetUp() override {
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
  }
  void TearDown() override { MainQueue::setShared(nullptr); }

  template <typename T>
  platform::Expected<T, MediaError> await(const std::function<void(Asset::Completion<T>)>& start) {
    std::optional<platform::Expected<T, MediaError>> result;
    start([&](platform::Expected<T, MediaError> value) {
      EXPECT_TRUE(queue->isCurrentThread());
      result.emplace(std::move(value));
    });
    EXPECT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }));
    return std::move(*result);
  }
  std::vector<AssetTrack> tracks(const std::shared_ptr<Asset>& asset, MediaType type) {
    auto result = await<std::vector<AssetTrack>>([&](auto done) { asset->loadTracks(type, done); });
    EXPECT_TRUE(result.hasValue());
    return result ? result.value() : std::vector<AssetTrack>{};
  }

  std::shared_ptr<ManualMainQueue> queue;
};

std::string basicClip() { return testsupport::makeClip("basic", {}); }

std::vector<PixelBuffer> readFrames(const std::string& path, TimeRange range = {}) {
  auto asset = Asset::make(path);
  auto reader = AssetReader::make(asset);
  EXPECT_TRUE(reader.hasValue());
  if (!reader) return {};
  auto info = asset->loadNow();
  auto output = (*reader)->addVideoOutput(info->tracksOfType(MediaType::video).front());
  (*reader)->setTimeRange(range);
  EXPECT_TRUE((*reader)->startReading());
  std::vector<PixelBuffer> frames;
  while (PixelBuffer frame = output->copyNextPixelBuffer()) frames.push_back(frame);
  EXPECT_EQ((*reader)->status(), AssetReaderStatus::completed);
  return frames;
}

std::vector<AudioSampleBuffer> readAudio(const std::string& path, AudioReadMode mode, TimeRange range = {}) {
  auto asset = Asset::make(path);
  auto reader = AssetReader::make(asset);
  EXPECT_TRUE(reader.hasValue());
  if (!reader) return {};
  auto output = (*reader)->addAudioOutput(asset->loadNow()->tracksOfType(MediaType::audio).front(), mode);
  (*reader)->setTimeRange(range);
  EXPECT_TRUE((*reader)->startReading());
  std::vector<AudioSampleBuffer> buffers;
  while (auto buffer = output->copyNextSampleBuffer()) buffers.push_back(std::move(*buffer));
  EXPECT_EQ((*reader)->status(), AssetReaderStatus::completed);
  return buffers;
}

}  // namespace

// Loaded through a file:// URL, as the engine passes them.
TEST_F(MediaVideoAsset, LoadsTracksAndPropertiesOfAGeneratedClip) {
  auto asset = Asset::make("file://" + basicClip());
  auto video = tracks(asset, MediaType::video);
  ASSERT_EQ(video.size(), 1u);
  EXPECT_EQ(video[0].naturalSize, (MediaSize{64, 48}));
  EXPECT_EQ(video[0].preferredTransform, AffineTransform{});
  EXPECT_NEAR(video[0].nominalFrameRate, 30.0, 0.5);
  EXPECT_GT(video[0].estimatedDataRate, 0.0);
  EXPECT_FALSE(video[0].audioFormat.has_value());

  auto audio = tracks(asset, MediaType::audio);
  ASSERT_EQ(audio.size(), 1u);
  ASSERT_TRUE(audio[0].audioFormat.has_value());
  EXPECT_EQ(audio[0].audioFormat->sampleRate, 44100);
  EXPECT_EQ(audio[0].audioFormat->channels, 1);
  EXPECT_EQ(audio[0].audioFormat->codec, "aac");
  EXPECT_GT(audio[0].audioFormat->bitRate, 0);
  EXPECT_NE(audio[0].trackID, video[0].trackID);

  auto duration = await<double>([&](auto done) { asset->loadDuration(done); });
  ASSERT_TRUE(duration.hasValue());
  EXPECT_NEAR(duration.value(), 1.0, 0.05);
}

// A phone's portrait clip: one clockwise quarter turn in the display matrix, and the
// frames as stored (the engine turns them).
TEST_F(MediaVideoAsset, PortraitDisplayMatrixIsOneClockwiseQuarterTurnAndFramesComeAsStored) {
  const testsupport::ClipDescription clip{.width = 48, .height = 64, .quarterTurns = 1};
  const std::string path = testsupport::makeClip("portrait", clip);
  auto video = tracks(Asset::make(path), MediaType::video);
  ASSERT_EQ(video.size(), 1u);
  EXPECT_EQ(video[0].preferredTransform, (AffineTransform{0, 1, -1, 0, 48, 0}));
  EXPECT_EQ(video[0].naturalSize, (MediaSize{64, 48}));  // stored size, not turned
  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 30u);
  EXPECT_EQ(frames[0].width(), 64);
  EXPECT_EQ(frames[0].height(), 48);
  EXPECT_EQ(testsupport::frameNumber(frames[7], 3), 7);
}

TEST(MediaVideoTransform, LegacyRotateTagGivesTheSameTransforms) {
  // Older files carry a "rotate" tag (the clockwise turn that shows them upright)
  // instead of a display matrix; this FFmpeg's demuxer no longer makes one, so the
  // stream is built by hand.
  AVFormatContext* format = avformat_alloc_context();
  AVStream* stream = avformat_new_stream(format, nullptr);
  stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  stream->codecpar->width = 64;
  stream->codecpar->height = 48;
  const std::pair<const char*, AffineTransform> cases[] = {{"90", {0, 1, -1, 0, 48, 0}},
                                                           {"180", {-1, 0, 0, -1, 64, 48}},
                                                           {"270", {0, -1, 1, 0, 0, 64}},
                                                           {"-90", {0, -1, 1, 0, 0, 64}},
                                                           {"0", {}}};
  const int turns[] = {1, 2, 3, 3, 0};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    av_dict_set(&stream->metadata, "rotate", cases[i].first, 0);
    const AffineTransform transform = av::streamTransform(stream);
    EXPECT_EQ(transform, cases[i].second) << cases[i].first;
    EXPECT_EQ(av::quarterTurns(transform), turns[i]) << cases[i].first;
  }
  avformat_free_context(format);
}

TEST_F(MediaVideoAsset, MissingFileFailsEveryLoad) {
  auto asset = Asset::make(testsupport::temporaryFolder() + "/nothing-here.mov");
  auto result = await<std::vector<AssetTrack>>([&](auto done) { asset->loadTracks(MediaType::video, done); });
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().code, MediaError::Code::openFailed);
  EXPECT_FALSE(result.error().localizedDescription().empty());
  EXPECT_FALSE(await<double>([&](auto done) { asset->loadDuration(done); }).hasValue());
  EXPECT_FALSE(AssetReader::make(asset).hasValue());
}

TEST_F(MediaVideoAsset, ReaderGivesEveryFrameInOrderWithItsTime) {
  auto frames = readFrames(basicClip());
  ASSERT_EQ(frames.size(), 30u);
  for (int n = 0; n < 30; ++n) {
    EXPECT_EQ(testsupport::frameNumber(frames[n]), n);
    EXPECT_EQ(frames[n].presentationTime(), (MediaTime{n, 30})) << n;
    EXPECT_EQ(frames[n].width(), 64);
    EXPECT_EQ(frames[n].height(), 48);
    EXPECT_GE(frames[n].bytesPerRow(), 64u * 4);
  }
}

TEST_F(MediaVideoAsset, ReaderHonoursTheTimeRange) {
  auto frames = readFrames(basicClip(), {MediaTime{10, 30}, MediaTime{10, 30}});
  ASSERT_EQ(frames.size(), 10u);
  for (int k = 0; k < 10; ++k) {
    EXPECT_EQ(testsupport::frameNumber(frames[k]), 10 + k);
    EXPECT_EQ(frames[k].presentationTime(), (MediaTime{10 + k, 30}));
  }
  // A start between two frames: the frame shown there comes first, at the start.
  auto between = readFrames(basicClip(), {MediaTime::fromSeconds(10.5 / 30, 600), MediaTime{3, 30}});
  ASSERT_GE(between.size(), 3u);
  EXPECT_EQ(testsupport::frameNumber(between[0]), 10);
  EXPECT_EQ(between[0].presentationTime(), MediaTime::fromSeconds(10.5 / 30, 600));
  EXPECT_EQ(testsupport::frameNumber(between[1]), 11);
  EXPECT_EQ(between[1].presentationTime(), (MediaTime{11, 30}));
}

TEST_F(MediaVideoAsset, ReaderHandlesAnOddSizeAndAClipWithoutSound) {
  testsupport::ClipDescription clip;
  clip.width = 63;
  clip.height = 47;
  clip.audio = testsupport::ClipAudio::none;
  const std::string path = testsupport::makeClip("odd", clip);
  EXPECT_TRUE(tracks(Asset::make(path), MediaType::audio).empty());
  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 30u);
  EXPECT_EQ(frames[5].width(), 63);
  EXPECT_EQ(frames[5].height(), 47);
  EXPECT_GE(frames[5].bytesPerRow(), 63u * 4);
  EXPECT_EQ(testsupport::frameNumber(frames[5]), 5);
}

TEST_F(MediaVideoAsset, ReaderDecodesFloatPcmCutToTheSample) {
  auto buffers = readAudio(basicClip(), AudioReadMode::floatPCM, {MediaTime{1, 2}, MediaTime{1, 4}});
  ASSERT_FALSE(buffers.empty());
  EXPECT_EQ(buffers.front().presentationTime, MediaTime::fromSeconds(0.5, 44100));
  std::int64_t total = 0;
  float peak = 0;
  for (const auto& buffer : buffers) {
    EXPECT_FALSE(buffer.isPacket);
    EXPECT_EQ(buffer.sampleRate, 44100);
    EXPECT_EQ(buffer.channels, 1);
    EXPECT_EQ(buffer.floatCount(), std::size_t(buffer.frameCount));
    total += buffer.frameCount;
    for (std::size_t i = 0; i < buffer.floatCount(); ++i) peak = std::max(peak, std::fabs(buffer.floatSamples()[i]));
  }
  EXPECT_NEAR(double(total), 0.25 * 44100, 1.0);
  EXPECT_NEAR(peak, 0.5, 0.1);  // the tone's amplitude, after AAC coding
}

TEST_F(MediaVideoAsset, CancelledReaderGivesNothingMore) {
  auto asset = Asset::make(basicClip());
  auto reader = AssetReader::make(asset).value();
  auto output = reader->addVideoOutput(asset->loadNow()->tracksOfType(MediaType::video).front());
  ASSERT_TRUE(reader->startReading());
  EXPECT_EQ(reader->status(), AssetReaderStatus::reading);
  EXPECT_TRUE(output->copyNextPixelBuffer());
  reader->cancelReading();
  EXPECT_EQ(reader->status(), AssetReaderStatus::cancelled);
  EXPECT_FALSE(output->copyNextPixelBuffer());
}

TEST_F(MediaVideoAsset, FrameGrabberTurnsAndBoundsFrames) {
  const testsupport::ClipDescription clip{.width = 48, .height = 64, .quarterTurns = 1};
  auto asset = Asset::make(testsupport::makeClip("portrait", clip));
  FrameGrabber grabber(asset);
  grabber.setAppliesPreferredTrackTransform(true);
  grabber.setMaximumSize({32, 32});
  const std::vector<MediaTime> times = {MediaTime{0, 30}, MediaTime{15, 30}, MediaTime::fromSeconds(0.99, 600)};
  std::vector<std::pair<MediaTime, platform::Expected<PixelBuffer, MediaError>>> results;
  std::mutex mutex;
  grabber.generateImages(times, [&](MediaTime time, platform::Expected<PixelBuffer, MediaError> frame) {
    std::lock_guard lock(mutex);
    results.emplace_back(time, std::move(frame));
  });
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] {
    std::lock_guard lock(mutex);
    return results.size() == times.size();
  }));
  const int expected[] = {0, 15, 29};
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(results[i].first, times[i]);
    ASSERT_TRUE(results[i].second.hasValue()) << results[i].second.error().message;
    const PixelBuffer& frame = results[i].second.value();
    // Upright 48 x 64, fitted within 32 x 32.
    EXPECT_EQ(frame.width(), 24);
    EXPECT_EQ(frame.height(), 32);
    EXPECT_EQ(testsupport::frameNumber(frame), expected[i]);
  }
}

TEST_F(MediaVideoAsset, FrameGrabberCancelAnswersEveryRequest) {
  auto asset = Asset::make(basicClip());
  FrameGrabber grabber(asset);
  std::vector<MediaTime> times;
  for (int i = 0; i < 12; ++i) times.push_back(MediaTime{i * 2, 30});
  std::atomic<int> answered{0}, cancelled{0};
  const FrameGrabber::Handler count = [&](MediaTime, platform::Expected<PixelBuffer, MediaError> frame) {
    if (!frame && frame.error().code == MediaError::Code::cancelled) ++cancelled;
    ++answered;
  };
  grabber.generateImages(times, count);
  grabber.generateImages(times, count);
  grabber.cancelAll();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return answered.load() == 24; }));
  EXPECT_GE(cancelled.load(), 12);  // the second request had not started
}

TEST(MediaVideoBackgroundTask, ManualServiceExpiresRunningTasks) {
  ManualBackgroundTaskService service;
  BackgroundTaskIdentifier identifier = invalidBackgroundTask;
  int expirations = 0;
  identifier = service.beginBackgroundTask([&] {
    ++expirations;
    service.endBackgroundTask(identifier);
  });
  EXPECT_EQ(service.runningCount(), 1u);
  service.expire();
  service.expire();  // nothing left to expire
  EXPECT_EQ(expirations, 1);
  EXPECT_EQ(service.endCount(identifier), 1u);
  EXPECT_EQ(service.runningCount(), 0u);
}

// --- the real clips ---

// The real clips: each opens with its transform and sound, and reads every frame in
// order and sound for its whole length.
TEST_F(MediaVideoAsset, RealClipsOpenWithTheirTransformAndReadFramesAndSound) {
  struct RealClip {
    const char* file;
    AffineTransform transform;
    int frames;
    const char* audioCodec;
    int sampleRate;
    int channels;
  };
  const RealClip clips[] = {{"video/sideways_movie.mov", {0, 1, -1, 0, 480, 0}, 25, "aac", 44100, 1},
                            {"video/ios9.mov", {0, 1, -1, 0, 720, 0}, 14, "aac", 44100, 1},
                            {"video/with-gps.mov", {0, 1, -1, 0, 320, 0}, 120, "aac", 44100, 1},
                            {"video/train.mov", {}, 22, "pcm_s16le", 44100, 1},
                            {"video/max-heromode.mp4", {}, 315, "aac", 48000, 2},
                            {"video/video_rotate.mp4", {0, -1, 1, 0, 0, 0}, 205, "aac", 44100, 2},
                            {"livephoto/IMG_7943_HEVC.MOV", {}, 57, "aac", 48000, 1}};
  for (const RealClip& clip : clips) {
    SCOPED_TRACE(clip.file);
    const std::string path = testsupport::sample(clip.file);
    if (path.empty()) continue;
    auto asset = Asset::make(path);
    auto video = tracks(asset, MediaType::video);
    ASSERT_EQ(video.size(), 1u);
    EXPECT_EQ(video[0].preferredTransform, clip.transform);
    EXPECT_GT(video[0].nominalFrameRate, 1.0);
    EXPECT_GT(video[0].estimatedDataRate, 0.0);
    auto audio = tracks(asset, MediaType::audio);
    ASSERT_EQ(audio.size(), 1u);
    EXPECT_EQ(audio[0].audioFormat->codec, clip.audioCodec);
    EXPECT_EQ(audio[0].audioFormat->sampleRate, clip.sampleRate);
    EXPECT_EQ(audio[0].audioFormat->channels, clip.channels);

    auto frames = readFrames(path);
    EXPECT_EQ(int(frames.size()), clip.frames);
    for (std::size_t i = 1; i < frames.size(); ++i) EXPECT_GT(frames[i].presentationTime(), frames[i - 1].presentationTime());
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames[0].width(), int(video[0].naturalSize.width));
    std::int64_t samples = 0;
    for (const auto& buffer : readAudio(path, AudioReadMode::floatPCM)) samples += buffer.frameCount;
    EXPECT_NEAR(double(samples) / clip.sampleRate, asset->loadNow()->duration, 0.1);
  }
}

TEST(MediaURL, FileURLsArePercentDecodedAndPathsKeptAsTheyAre) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"file:///home/user/Videos/a%20b.mov", "/home/user/Videos/a b.mov"},
      {"file://localhost/home/user/a%20b.mov", "/home/user/a b.mov"},
      {"file:///tmp/%e2%82%ac%2F%41.mov", "/tmp/\xe2\x82\xac/A.mov"},
      {"file:///tmp/100%.mov", "/tmp/100%.mov"},    // not an escape
      {"file:///tmp/a%2.mov", "/tmp/a%2.mov"},
      {"file:///tmp/a%00b.mov", "/tmp/a%00b.mov"},  // a NUL would name another file
      {"/home/user/a%20b.mov", "/home/user/a%20b.mov"},
      {"relative/a b.mov", "relative/a b.mov"},
  };
  for (const auto& [url, path] : cases) EXPECT_EQ(pathFromURL(url), path) << url;
}
