// Asset loads, the asset reader, the frame grabber and background tasks, on generated
// clips and on the real phone clips of the sample media.
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <atomic>
#include <cmath>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/BackgroundTask.h"
#include "Platform/Media/FfmpegSupport.h"
#include "Platform/Media/FrameGrabber.h"
#include "Platform/Media/MediaURL.h"
#include "Support/TestClips.h"

using namespace platform::media;
using namespace testsupport;
using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;

namespace {

class MediaVideoAsset : public ::testing::Test {
 protected:
  void SetUp() override { MainQueue::setShared(queue); }
  void TearDown() override { MainQueue::setShared(nullptr); }

  template <typename T>
  platform::Expected<T, MediaError> await(const std::function<void(Asset::Completion<T>)>& start) {
    std::optional<platform::Expected<T, MediaError>> result;
    start([&](platform::Expected<T, MediaError> value) {
      EXPECT_TRUE(queue->isCurrentThread());
      result.emplace(std::move(value));
    });
    EXPECT_TRUE(pumpUntil(*queue, [&] { return result.has_value(); }));
    return std::move(*result);
  }
  platform::Expected<std::vector<AssetTrack>, MediaError> load(const std::shared_ptr<Asset>& asset, MediaType type) {
    return await<std::vector<AssetTrack>>([&](auto done) { asset->loadTracks(type, done); });
  }
  std::vector<AssetTrack> tracks(const std::shared_ptr<Asset>& asset, MediaType type) {
    auto result = load(asset, type);
    EXPECT_TRUE(result.hasValue());
    return result ? result.value() : std::vector<AssetTrack>{};
  }
  // Each frame shows `first` + its index, at its time, at the given size.
  static void expectFrames(const std::vector<PixelBuffer>& frames, std::size_t count, int first, int width = 64,
                           int height = 48) {
    ASSERT_EQ(frames.size(), count);
    for (int k = 0; k < int(count); ++k) {
      EXPECT_EQ(frameNumber(frames[k]), first + k) << k;
      EXPECT_EQ(frames[k].presentationTime(), (MediaTime{first + k, 30})) << k;
      EXPECT_EQ(std::pair(frames[k].width(), frames[k].height()), std::pair(width, height));
      EXPECT_GE(frames[k].bytesPerRow(), std::size_t(width) * 4);
    }
  }

  std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
};

std::string basicClip() { return makeClip("basic", {}); }
const ClipDescription kPortrait{.width = 48, .height = 64, .quarterTurns = 1};

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
  const auto& sound = *audio[0].audioFormat;
  EXPECT_EQ(std::tuple(sound.sampleRate, sound.channels, sound.codec), std::tuple(44100, 1, "aac"));
  EXPECT_GT(sound.bitRate, 0);
  EXPECT_NE(audio[0].trackID, video[0].trackID);
  auto duration = await<double>([&](auto done) { asset->loadDuration(done); });
  ASSERT_TRUE(duration.hasValue());
  EXPECT_NEAR(duration.value(), 1.0, 0.05);
}

// A phone's portrait clip: one clockwise quarter turn in the display matrix, and the
// frames as stored (the engine turns them).
TEST_F(MediaVideoAsset, PortraitDisplayMatrixIsOneClockwiseQuarterTurnAndFramesComeAsStored) {
  const std::string path = makeClip("portrait", kPortrait);
  auto video = tracks(Asset::make(path), MediaType::video);
  ASSERT_EQ(video.size(), 1u);
  EXPECT_EQ(video[0].preferredTransform, (AffineTransform{0, 1, -1, 0, 48, 0}));
  EXPECT_EQ(video[0].naturalSize, (MediaSize{64, 48}));  // stored size, not turned
  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 30u);
  EXPECT_EQ(std::pair(frames[0].width(), frames[0].height()), std::pair(64, 48));
  EXPECT_EQ(frameNumber(frames[7], 3), 7);
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
  const std::tuple<const char*, AffineTransform, int> cases[] = {{"90", {0, 1, -1, 0, 48, 0}, 1},
                                                                 {"180", {-1, 0, 0, -1, 64, 48}, 2},
                                                                 {"270", {0, -1, 1, 0, 0, 64}, 3},
                                                                 {"-90", {0, -1, 1, 0, 0, 64}, 3},
                                                                 {"0", {}, 0}};
  for (const auto& [tag, expected, turns] : cases) {
    av_dict_set(&stream->metadata, "rotate", tag, 0);
    const AffineTransform transform = av::streamTransform(stream);
    EXPECT_EQ(transform, expected) << tag;
    EXPECT_EQ(av::quarterTurns(transform), turns) << tag;
  }
  avformat_free_context(format);
}

TEST_F(MediaVideoAsset, MissingFileFailsEveryLoad) {
  auto asset = Asset::make(temporaryFolder() + "/nothing-here.mov");
  auto result = load(asset, MediaType::video);
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().code, MediaError::Code::openFailed);
  EXPECT_FALSE(result.error().localizedDescription().empty());
  EXPECT_FALSE(await<double>([&](auto done) { asset->loadDuration(done); }).hasValue());
  EXPECT_FALSE(AssetReader::make(asset).hasValue());
}

// Every frame in order with its time; a range; a start between two frames gives the
// frame shown there first, at the start; an odd size and a clip without sound.
TEST_F(MediaVideoAsset, ReaderGivesEveryFrameOfTheRangeInOrderWithItsTime) {
  expectFrames(readFrames(basicClip()), 30, 0);
  expectFrames(readFrames(basicClip(), {MediaTime{10, 30}, MediaTime{10, 30}}), 10, 10);
  auto between = readFrames(basicClip(), {MediaTime::fromSeconds(10.5 / 30, 600), MediaTime{3, 30}});
  ASSERT_GE(between.size(), 3u);
  EXPECT_EQ(frameNumber(between[0]), 10);
  EXPECT_EQ(between[0].presentationTime(), MediaTime::fromSeconds(10.5 / 30, 600));
  between.erase(between.begin());
  expectFrames({between.begin(), between.begin() + 2}, 2, 11);

  const std::string odd = makeClip("odd", {.width = 63, .height = 47, .audio = ClipAudio::none});
  EXPECT_TRUE(tracks(Asset::make(odd), MediaType::audio).empty());
  expectFrames(readFrames(odd), 30, 0, 63, 47);
}

TEST_F(MediaVideoAsset, ReaderDecodesFloatPcmCutToTheSample) {
  auto buffers = readAudio(basicClip(), AudioReadMode::floatPCM, {MediaTime{1, 2}, MediaTime{1, 4}});
  ASSERT_FALSE(buffers.empty());
  EXPECT_EQ(buffers.front().presentationTime, MediaTime::fromSeconds(0.5, 44100));
  std::int64_t total = 0;
  float peak = 0;
  for (const auto& buffer : buffers) {
    EXPECT_FALSE(buffer.isPacket);
    EXPECT_EQ(std::pair(buffer.sampleRate, buffer.channels), std::pair(44100, 1));
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
  FrameGrabber grabber(Asset::make(makeClip("portrait", kPortrait)));
  grabber.setAppliesPreferredTrackTransform(true);
  grabber.setMaximumSize({32, 32});
  const std::vector<MediaTime> times = {MediaTime{0, 30}, MediaTime{15, 30}, MediaTime::fromSeconds(0.99, 600)};
  std::vector<std::pair<MediaTime, platform::Expected<PixelBuffer, MediaError>>> results;
  std::mutex mutex;
  grabber.generateImages(times, [&](MediaTime time, platform::Expected<PixelBuffer, MediaError> frame) {
    std::lock_guard lock(mutex);
    results.emplace_back(time, std::move(frame));
  });
  ASSERT_TRUE(pumpUntil(*queue, [&] {
    std::lock_guard lock(mutex);
    return results.size() == times.size();
  }));
  const int expected[] = {0, 15, 29};
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(results[i].first, times[i]);
    ASSERT_TRUE(results[i].second.hasValue()) << results[i].second.error().message;
    const PixelBuffer& frame = results[i].second.value();
    EXPECT_EQ(std::pair(frame.width(), frame.height()), std::pair(24, 32));  // upright 48 x 64 within 32 x 32
    EXPECT_EQ(frameNumber(frame), expected[i]);
  }
}

TEST_F(MediaVideoAsset, FrameGrabberCancelAnswersEveryRequest) {
  FrameGrabber grabber(Asset::make(basicClip()));
  std::vector<MediaTime> times(12);
  for (int i = 0; i < 12; ++i) times[i] = MediaTime{i * 2, 30};
  std::atomic<int> answered{0}, cancelled{0};
  const FrameGrabber::Handler count = [&](MediaTime, platform::Expected<PixelBuffer, MediaError> frame) {
    if (!frame && frame.error().code == MediaError::Code::cancelled) ++cancelled;
    ++answered;
  };
  grabber.generateImages(times, count);
  grabber.generateImages(times, count);
  grabber.cancelAll();
  ASSERT_TRUE(pumpUntil(*queue, [&] { return answered.load() == 24; }));
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

// The real clips: each opens with its transform and sound, and reads every frame in
// order and sound for its whole length.
// File, transform, frames, sound codec, rate and channels.
TEST_F(MediaVideoAsset, RealClipsOpenWithTheirTransformAndReadFramesAndSound) {
  const std::tuple<const char*, AffineTransform, int, const char*, int, int> clips[] = {
      {"video/sideways_movie.mov", {0, 1, -1, 0, 480, 0}, 25, "aac", 44100, 1},
      {"video/ios9.mov", {0, 1, -1, 0, 720, 0}, 14, "aac", 44100, 1},
      {"video/with-gps.mov", {0, 1, -1, 0, 320, 0}, 120, "aac", 44100, 1},
      {"video/train.mov", {}, 22, "pcm_s16le", 44100, 1},
      {"video/max-heromode.mp4", {}, 315, "aac", 48000, 2},
      {"video/video_rotate.mp4", {0, -1, 1, 0, 0, 0}, 205, "aac", 44100, 2},
      {"livephoto/IMG_7943_HEVC.MOV", {}, 57, "aac", 48000, 1}};
  for (const auto& [file, transform, frameCount, codec, sampleRate, channels] : clips) {
    SCOPED_TRACE(file);
    const std::string path = sample(file);
    if (path.empty()) continue;
    auto asset = Asset::make(path);
    auto video = tracks(asset, MediaType::video);
    ASSERT_EQ(video.size(), 1u);
    EXPECT_EQ(video[0].preferredTransform, transform);
    EXPECT_GT(video[0].nominalFrameRate, 1.0);
    EXPECT_GT(video[0].estimatedDataRate, 0.0);
    auto audio = tracks(asset, MediaType::audio);
    ASSERT_EQ(audio.size(), 1u);
    const auto& sound = *audio[0].audioFormat;
    EXPECT_EQ(std::tuple(sound.codec, sound.sampleRate, sound.channels), std::tuple(codec, sampleRate, channels));
    auto frames = readFrames(path);
    EXPECT_EQ(int(frames.size()), frameCount);
    for (std::size_t i = 1; i < frames.size(); ++i)
      EXPECT_GT(frames[i].presentationTime(), frames[i - 1].presentationTime());
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames[0].width(), int(video[0].naturalSize.width));
    std::int64_t samples = 0;
    for (const auto& buffer : readAudio(path, AudioReadMode::floatPCM)) samples += buffer.frameCount;
    EXPECT_NEAR(double(samples) / sampleRate, asset->loadNow()->duration, 0.1);
  }
}

TEST(MediaURL, FileURLsArePercentDecodedAndPathsKeptAsTheyAre) {
  const std::pair<std::string, std::string> cases[] = {
      {"file:///home/user/Videos/a%20b.mov", "/home/user/Videos/a b.mov"},
      {"file://localhost/home/user/a%20b.mov", "/home/user/a b.mov"},
      {"file:///tmp/%e2%82%ac%2F%41.mov", "/tmp/\xe2\x82\xac/A.mov"},
      {"file:///tmp/100%.mov", "/tmp/100%.mov"},  // not an escape
      {"file:///tmp/a%2.mov", "/tmp/a%2.mov"},
      {"file:///tmp/a%00b.mov", "/tmp/a%00b.mov"},  // a NUL would name another file
      {"/home/user/a%20b.mov", "/home/user/a%20b.mov"},
      {"relative/a b.mov", "relative/a b.mov"},
  };
  for (const auto& [url, path] : cases) EXPECT_EQ(pathFromURL(url), path) << url;
}
