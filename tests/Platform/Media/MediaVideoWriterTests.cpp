// The movie writer: HEVC tagged hvc1 in a QuickTime movie, a written range starting at
// 0, AAC at the asked bit rate, passthrough packets identical to the source's, the
// pumps' readiness protocol on serial queues, cancel and failures leaving no file.
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>

#include "Platform/Dispatch/SerialQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetWriter.h"
#include "Support/TestClips.h"

using namespace platform::media;
using namespace testsupport;
using platform::dispatch::SerialQueue;
namespace fs = std::filesystem;

namespace {

VideoEncoderSettings smallVideo(int width = 64, int height = 48) { return {width, height, 200000, std::nullopt, 30}; }
std::string outputPath(const std::string& name) { return freshPath(name + ".mov"); }
std::string writerError(AssetWriter& writer) { return writer.error() ? writer.error()->message : ""; }
PixelBuffer blank(AssetWriterInput& input) { return input.pixelBufferPool()->makePixelBuffer(); }

// A writer with one video input, writing, its session at 0.
std::pair<std::shared_ptr<AssetWriter>, std::shared_ptr<AssetWriterInput>> startWriting(
    const std::string& path, const VideoEncoderSettings& settings = smallVideo(),
    ExistingFile existing = ExistingFile::keep) {
  auto writer = AssetWriter::make(path, existing).value();
  auto input = writer->addVideoInput(settings).value();
  EXPECT_TRUE(writer->startWriting());
  writer->startSession(MediaTime::zero());
  return {writer, input};
}

// The entries of the test folder whose name holds `part` (a partial file among them).
int entriesNamed(const std::string& part) { return int(testsupport::entriesNamed(temporaryFolder(), part).size()); }

// Finishes the writer; false when its completion does not come within a minute.
bool finish(AssetWriter& writer) {
  auto finished = std::make_shared<std::promise<void>>();
  writer.finishWriting([finished] { finished->set_value(); });
  return finished->get_future().wait_for(std::chrono::seconds(60)) == std::future_status::ready;
}

// A reader over a range copied into a writer whose session starts there, in the test's
// thread: each sample goes to whichever input is ready (the pumps on serial queues are
// the engine's, tested through it in the video export tests). The writer's status,
// with its error.
std::pair<AssetWriterStatus, std::string> exportRange(const std::string& source, const std::string& destination,
                                                      TimeRange range, std::optional<AudioReadMode> audioMode,
                                                      std::int64_t audioBitRate = 128000) {
  auto asset = Asset::make(source);
  auto info = asset->loadNow().value();
  auto reader = AssetReader::make(asset).value();
  reader->setTimeRange(range);
  const AssetTrack videoTrack = info.tracksOfType(MediaType::video).front();
  auto videoOutput = reader->addVideoOutput(videoTrack);
  std::shared_ptr<AssetReaderAudioOutput> audioOutput;
  const auto audioTracks = info.tracksOfType(MediaType::audio);
  if (audioMode && !audioTracks.empty()) audioOutput = reader->addAudioOutput(audioTracks.front(), *audioMode);
  auto writer = AssetWriter::make(destination).value();
  const MediaSize size = videoTrack.naturalSize;
  const double fps = videoTrack.nominalFrameRate;
  auto videoInput = writer->addVideoInput({int(size.width), int(size.height), 400000, std::nullopt, fps}).value();
  std::shared_ptr<AssetWriterInput> audioInput;
  if (audioOutput) {
    const AudioFormatDescription& format = *audioTracks.front().audioFormat;
    audioInput = *audioMode == AudioReadMode::passthrough
                     ? writer->addAudioPassthroughInput(format).value()
                     : writer->addAudioInput({int(format.sampleRate), format.channels, audioBitRate}).value();
  }
  EXPECT_TRUE(reader->startReading());
  EXPECT_TRUE(writer->startWriting());
  writer->startSession(range.start);
  const auto appendVideo = [&] {
    PixelBuffer frame = videoOutput->copyNextPixelBuffer();
    if (!frame) return false;
    PixelBuffer target = blank(*videoInput);
    for (int y = 0; y < frame.height(); ++y) std::memcpy(target.row(y), frame.row(y), std::size_t(frame.width()) * 4);
    return videoInput->append(target, frame.presentationTime());
  };
  const auto appendAudio = [&] {
    auto buffer = audioOutput->copyNextSampleBuffer();
    return buffer && audioInput->append(*buffer);
  };
  // At the end of its samples, or when an append fails, an input is marked finished.
  bool videoLeft = true, audioLeft = bool(audioInput);
  while (videoLeft || audioLeft) {
    if (videoLeft && videoInput->isReadyForMoreMediaData()) {
      if (!(videoLeft = appendVideo())) videoInput->markAsFinished();
    } else if (audioLeft && audioInput->isReadyForMoreMediaData()) {
      if (!(audioLeft = appendAudio())) audioInput->markAsFinished();
    } else {
      ADD_FAILURE() << "no input is ready";
      break;
    }
  }
  EXPECT_TRUE(finish(*writer));
  return {writer->status(), writerError(*writer)};
}

const std::pair kCompleted{AssetWriterStatus::completed, std::string()};

}  // namespace

TEST(MediaVideoWriter, WritesHevcTaggedHvc1AndARangeStartsAtZero) {
  const std::string path = outputPath("range");
  ASSERT_EQ(exportRange(makeClip("basic", {}), path, {MediaTime{10, 30}, MediaTime{10, 30}}, std::nullopt), kCompleted);
  const auto facts = probeMovie(path);
  ASSERT_EQ(facts.video.size(), 1u);
  EXPECT_EQ(facts.video[0].codec + " " + facts.video[0].codecTag, "hevc hvc1");
  EXPECT_TRUE(facts.audio.empty());
  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 10u);
  for (int k = 0; k < 10; ++k) {
    EXPECT_NEAR(frames[k].presentationTime().seconds(), k / 30.0, 1.0 / 90000) << k;
    EXPECT_EQ(frameNumber(frames[k]), 10 + k);  // the pixels survive the round trip
  }
  EXPECT_EQ(entriesNamed(".partial"), 0);  // no temporary file is left beside it
}

TEST(MediaVideoWriter, EncodesAacAtTheAskedBitRate) {
  const std::string source = makeClip("stereo", {.frames = 60, .channels = 2});  // two seconds
  const std::string path = outputPath("aac");
  ASSERT_EQ(exportRange(source, path, {}, AudioReadMode::floatPCM, 128000), kCompleted);
  const auto facts = probeMovie(path);
  ASSERT_EQ(facts.audio.size(), 1u);
  EXPECT_EQ(facts.audio[0].codec, "aac");
  // The file's average, as the muxer measures it: the encoder holds the rate within a
  // few per cent over two seconds of tone.
  EXPECT_NEAR(double(facts.audio[0].bitRate), 128000.0, 128000.0 * 0.1);
  EXPECT_EQ(facts.video.at(0).codec, "hevc");
  EXPECT_EQ(readFrames(path).size(), 60u);
  // Sound for the whole two seconds, at the source's rate and channels.
  auto audio = Asset::make(path)->loadNow()->tracksOfType(MediaType::audio);
  ASSERT_EQ(audio.size(), 1u);
  EXPECT_EQ(std::pair(audio[0].audioFormat->sampleRate, audio[0].audioFormat->channels), std::pair(44100.0, 2));
  EXPECT_NEAR(audio[0].duration, 2.0, 0.05);
}

// A whole generated clip and a range of a phone clip: the packets written are the
// reader's own for that range, byte for byte, and the video starts at 0 as stored.
TEST(MediaVideoWriter, PassthroughPacketsAreTheSourcesOwn) {
  const std::string phone = sample("video/with-gps.mov");
  const std::tuple<std::string, TimeRange, int, int> cases[] = {
      {makeClip("basic", {}), {}, 30, 64}, {phone, {MediaTime{600, 600}, MediaTime{300, 600}}, 15, 568}};
  for (const auto& [source, range, frameCount, width] : cases) {  // the frames as stored, from 0
    if (source.empty()) continue;                                 // the phone clip is missing
    SCOPED_TRACE(source);
    const std::string path = outputPath("passthrough-" + std::to_string(width));
    ASSERT_EQ(exportRange(source, path, range, AudioReadMode::passthrough), kCompleted);
    EXPECT_EQ(probeMovie(path).audio.at(0).codec, "aac");
    std::vector<std::vector<std::uint8_t>> expected;
    for (const auto& buffer : readAudio(source, AudioReadMode::passthrough, range)) expected.push_back(buffer.data);
    ASSERT_FALSE(expected.empty());
    EXPECT_TRUE(audioPackets(path) == expected);
    if (!range.duration.isValid()) { EXPECT_TRUE(audioPackets(path) == audioPackets(source)); }
    auto frames = readFrames(path);
    EXPECT_NEAR(double(frames.size()), frameCount, 1.5);  // half a second at 29.97 for the phone's
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames[0].presentationTime(), MediaTime::zero());
    EXPECT_EQ(frames[0].width(), width);  // written as stored: the engine bakes orientation
  }
}

// Pictures smaller than x265 takes (16 by 16: padded for the encoder and cropped back by
// the stream itself) keep their frames, size and colours at the asked average rate,
// which the writer codes at constant quality (libx265 sometimes wrote a wrong corner
// colour there at an average rate), and so does a movie asked at constant quality (the
// first row, the clip's own frames).
TEST(MediaVideoWriter, ConstantQualityAndPicturesSmallerThanTheEncoderTakesKeepTheirSize) {
  const auto clipFrames = readFrames(makeClip("basic", {}));
  const std::uint8_t colours[3][3] = {{30, 30, 220}, {40, 200, 40}, {210, 60, 30}};  // B, G, R
  for (const auto& [width, height, frameCount] :
       {std::tuple{64, 48, 10}, {2, 2, 3}, {2, 40, 3}, {40, 2, 3}, {14, 16, 3}, {32, 48, 3}}) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    SCOPED_TRACE(size);
    const bool fromClip = width == 64;
    const std::string path = outputPath("small-" + size);
    auto settings = smallVideo(width, height);
    if (fromClip) settings.quality = 1.0;
    auto [writer, input] = startWriting(path, settings);
    for (int n = 0; n < frameCount; ++n) {
      PixelBuffer frame = blank(*input);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          std::memcpy(frame.row(y) + x * 4, fromClip ? clipFrames[n].row(y) + x * 4 : colours[n], 3);
          frame.row(y)[x * 4 + 3] = 255;
        }
      }
      ASSERT_TRUE(input->append(frame, MediaTime{n * 20, 600}));
    }
    ASSERT_TRUE(finish(*writer));
    ASSERT_EQ(writer->status(), AssetWriterStatus::completed) << writerError(*writer);
    auto frames = readFrames(path);
    ASSERT_EQ(int(frames.size()), frameCount);
    if (fromClip) { EXPECT_EQ(frameNumber(frames[9]), 9); }
    for (int n = 0; n < frameCount && !fromClip; ++n) {
      ASSERT_EQ(frames[n].width(), width);
      ASSERT_EQ(frames[n].height(), height);
      const std::uint8_t* corner = frames[n].row(height - 1) + (width - 1) * 4;
      for (int c = 0; c < 3; ++c) EXPECT_NEAR(corner[c], colours[n][c], 24) << n;
    }
  }
}

TEST(MediaVideoWriter, AnInputAheadOfTheOtherWaits) {
  auto writer = AssetWriter::make(outputPath("interleave")).value();
  auto video = writer->addVideoInput(smallVideo()).value();
  auto audio = writer->addAudioInput({44100, 1, 64000}).value();
  ASSERT_TRUE(writer->startWriting());
  writer->startSession(MediaTime::zero());
  EXPECT_TRUE(video->isReadyForMoreMediaData());
  ASSERT_TRUE(video->append(blank(*video), MediaTime::zero()));
  EXPECT_FALSE(video->isReadyForMoreMediaData());  // the sound has not begun
  EXPECT_TRUE(audio->isReadyForMoreMediaData());
  AudioSampleBuffer sound{MediaTime::zero(), MediaTime::invalid(), 44100, 1, 44100, false, {}};
  sound.data.resize(44100 * sizeof(float));
  ASSERT_TRUE(audio->append(sound));
  EXPECT_TRUE(video->isReadyForMoreMediaData());
  audio->markAsFinished();
  EXPECT_FALSE(audio->isReadyForMoreMediaData());
  EXPECT_TRUE(video->isReadyForMoreMediaData());
  writer->cancelWriting();
}

// A pump waiting for its input (here video, ahead of the sound) must learn that the
// other input's failure stopped the writer: its block runs once more, not ready.
TEST(MediaVideoWriter, AFailureWakesTheInputThatWaits) {
  auto writer = AssetWriter::make(outputPath("failure-wakes")).value();
  auto video = writer->addVideoInput(smallVideo()).value();
  auto audio = writer->addAudioInput({44100, 1, 64000}).value();
  ASSERT_TRUE(writer->startWriting());
  writer->startSession(MediaTime::zero());
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<AssetWriterStatus> videoCalls;
  auto videoQueue = std::make_shared<SerialQueue>("test.video");
  video->requestMediaDataWhenReady(videoQueue, [&] {
    if (video->isReadyForMoreMediaData()) video->append(blank(*video), MediaTime::zero());
    std::lock_guard lock(mutex);
    videoCalls.push_back(writer->status());
    changed.notify_all();
  });
  std::unique_lock lock(mutex);
  ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(10), [&] { return videoCalls.size() == 1; }));
  lock.unlock();
  EXPECT_FALSE(video->isReadyForMoreMediaData());
  // A packet where the AAC input takes PCM: the writer fails.
  EXPECT_FALSE(audio->append({MediaTime::zero(), MediaTime::invalid(), 0, 0, 0, true, {1, 2, 3}}));
  lock.lock();
  ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(10), [&] { return videoCalls.size() == 2; }));
  EXPECT_EQ(videoCalls[1], AssetWriterStatus::failed);
  lock.unlock();
  writer->cancelWriting();
  videoQueue->sync([] {});
  EXPECT_EQ(videoCalls.size(), 2u);  // once, not over and over
}

// Cancelled, dropped unfinished, or in a missing folder: no file, partial or whole.
TEST(MediaVideoWriter, AnUnfinishedWriteLeavesNoFile) {
  {
    auto [writer, input] = startWriting(outputPath("cancelled"));
    for (int n = 0; n < 5; ++n) ASSERT_TRUE(input->append(blank(*input), MediaTime{n, 30}));
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), AssetWriterStatus::cancelled);
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    EXPECT_FALSE(input->append(blank(*input), MediaTime{5, 30}));
  }
  {
    auto [writer, input] = startWriting(outputPath("dropped"));
    ASSERT_TRUE(input->append(blank(*input), MediaTime::zero()));
  }
  EXPECT_EQ(entriesNamed("cancelled") + entriesNamed("dropped"), 0);

  const std::string folder = temporaryFolder() + "/no-such-folder";
  auto writer = AssetWriter::make(folder + "/out.mov").value();
  ASSERT_TRUE(writer->addVideoInput(smallVideo()).hasValue());
  EXPECT_FALSE(writer->startWriting());
  EXPECT_EQ(writer->status(), AssetWriterStatus::failed);
  ASSERT_TRUE(writer->error().has_value());
  EXPECT_EQ(writer->error()->code, MediaError::Code::writeFailed);
  EXPECT_TRUE(finish(*writer));
  EXPECT_EQ(writer->status(), AssetWriterStatus::failed);
  EXPECT_FALSE(fs::exists(folder));
}

TEST(MediaVideoWriter, RefusesWhatItCannotWrite) {
  EXPECT_FALSE(AssetWriter::make(makeClip("basic", {})).hasValue());  // never over a file unless asked
  auto writer = AssetWriter::make(outputPath("odd")).value();
  auto odd = writer->addVideoInput(smallVideo(63, 47));
  ASSERT_FALSE(odd.hasValue());
  EXPECT_EQ(odd.error().code, MediaError::Code::invalidArgument);
  auto input = writer->addVideoInput(smallVideo()).value();
  ASSERT_TRUE(writer->startWriting());
  writer->startSession(MediaTime::zero());
  EXPECT_FALSE(input->append(PixelBuffer::allocate(32, 32), MediaTime::zero()));  // wrong size
  EXPECT_EQ(writer->status(), AssetWriterStatus::failed);
  writer->cancelWriting();
  EXPECT_EQ(writer->status(), AssetWriterStatus::cancelled);
  EXPECT_TRUE(writer->error().has_value());  // the failure stays readable
}

// The temporary file is the writer's own: files and links that carry the old fixed
// temporary name, or stand at the output, are neither followed nor removed. A file the
// write replaces stays as it was until the finished movie takes its place, and a link
// there is replaced, not written through.
TEST(MediaVideoWriter, TouchesNoFileButItsOwn) {
  const auto folder = fs::path(temporaryFolder()) / "own-files";
  fs::remove_all(folder);
  fs::create_directories(folder);
  std::ofstream(folder / ".kept.mov.partial") << "a file of the user's";
  std::ofstream(folder / "victim") << "not to be written through";
  std::ofstream(folder / "old.mov") << "the old movie";
  fs::create_symlink(folder / "victim", folder / ".linked.mov.partial");
  fs::create_symlink(folder / "victim", folder / "taken.mov");
  EXPECT_FALSE(AssetWriter::make((folder / "taken.mov").string()).hasValue());
  fs::create_symlink(folder / "nowhere", folder / "dangling.mov");
  EXPECT_FALSE(AssetWriter::make((folder / "dangling.mov").string()).hasValue());
  for (const auto& [name, existing] : {std::pair{"kept", ExistingFile::keep},
                                       {"linked", ExistingFile::keep},
                                       {"old", ExistingFile::replace},
                                       {"taken", ExistingFile::replace}}) {
    SCOPED_TRACE(name);
    const auto path = (folder / (std::string(name) + ".mov")).string();
    const auto before = fs::symlink_status(path).type();
    const std::string oldText = fileContents(path);
    {
      auto [cancelled, input] = startWriting(path, smallVideo(), existing);
      ASSERT_TRUE(input->append(blank(*input), MediaTime::zero()));
      cancelled->cancelWriting();
    }
    EXPECT_EQ(fs::symlink_status(path).type(), before);
    auto [written, input] = startWriting(path, smallVideo(), existing);
    EXPECT_EQ(fileContents(path), oldText);  // nothing is replaced before the end
    ASSERT_TRUE(input->append(blank(*input), MediaTime::zero()));
    ASSERT_TRUE(finish(*written));
    EXPECT_EQ(written->status(), AssetWriterStatus::completed);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
    EXPECT_EQ(readFrames(path).size(), 1u);
  }
  EXPECT_EQ(fileContents(folder / ".kept.mov.partial"), "a file of the user's");
  EXPECT_TRUE(fs::is_symlink(folder / ".linked.mov.partial"));
  EXPECT_EQ(fileContents(folder / "victim"), "not to be written through");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 8);
}
