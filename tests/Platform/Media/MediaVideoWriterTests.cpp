// The movie writer: HEVC tagged hvc1 in a QuickTime movie, a written range starting at
// 0, AAC at the asked bit rate, passthrough packets identical to the source's, the
// pumps' readiness protocol on serial queues, cancel and failures leaving no file.
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <atomic>
#include <cstring>
#include <map>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Support/TestClips.h"
#include "Platform/Dispatch/SerialQueue.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/AssetWriter.h"

using namespace platform::media;
using platform::dispatch::SerialQueue;

namespace {

VideoEncoderSettings smallVideo(int width = 64, int height = 48) {
  VideoEncoderSettings settings;
  settings.width = width;
  settings.height = height;
  settings.averageBitRate = 200000;
  return settings;
}

std::string outputPath(const std::string& name) {
  const std::string path = testsupport::temporaryFolder() + "/" + name + ".mov";
  std::filesystem::remove(path);
  return path;
}

// A writer with one video input, writing, its session at 0.
struct Started {
  std::shared_ptr<AssetWriter> writer;
  std::shared_ptr<AssetWriterInput> input;
};
Started startWriting(const std::string& path, const VideoEncoderSettings& settings = smallVideo(),
                     ExistingFile existing = ExistingFile::keep) {
  auto writer = AssetWriter::make(path, existing).value();
  auto input = writer->addVideoInput(settings).value();
  EXPECT_TRUE(writer->startWriting());
  writer->startSession(MediaTime::zero());
  return {writer, input};
}

// The entries of the test folder whose name holds `part` (a partial file among them).
int entriesNamed(const std::string& part) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(testsupport::temporaryFolder()))
    count += entry.path().filename().string().find(part) != std::string::npos;
  return count;
}

std::string readText(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool finish(AssetWriter& writer) {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  writer.finishWriting([&] {
    std::lock_guard lock(mutex);
    finished = true;
    done.notify_all();
  });
  std::unique_lock lock(mutex);
  return done.wait_for(lock, std::chrono::seconds(60), [&] { return finished; });
}

struct StreamFacts {
  std::string codec;
  unsigned tag = 0;
  std::int64_t bitRate = 0;
  int packets = 0;
  std::vector<std::vector<std::uint8_t>> data;
};

// What libavformat itself reads from a file, stream by stream type.
std::map<AVMediaType, StreamFacts> probe(const std::string& path) {
  std::map<AVMediaType, StreamFacts> facts;
  AVFormatContext* format = nullptr;
  if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) return facts;
  avformat_find_stream_info(format, nullptr);
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    StreamFacts& f = facts[format->streams[i]->codecpar->codec_type];
    f.codec = avcodec_get_name(format->streams[i]->codecpar->codec_id);
    f.tag = format->streams[i]->codecpar->codec_tag;
    f.bitRate = format->streams[i]->codecpar->bit_rate;
  }
  AVPacket* packet = av_packet_alloc();
  while (av_read_frame(format, packet) == 0) {
    StreamFacts& f = facts[format->streams[packet->stream_index]->codecpar->codec_type];
    ++f.packets;
    f.data.emplace_back(packet->data, packet->data + packet->size);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  avformat_close_input(&format);
  return facts;
}

std::vector<PixelBuffer> readFrames(const std::string& path) {
  auto asset = Asset::make(path);
  auto reader = AssetReader::make(asset).value();
  auto output = reader->addVideoOutput(asset->loadNow()->tracksOfType(MediaType::video).front());
  reader->startReading();
  std::vector<PixelBuffer> frames;
  while (PixelBuffer frame = output->copyNextPixelBuffer()) frames.push_back(frame);
  return frames;
}

// The engine's export loop in small: a reader over a range, a pump per input on its own
// serial queue driven by requestMediaDataWhenReady, the writer's session at the start.
struct ExportResult {
  AssetWriterStatus status;
  std::shared_ptr<AssetWriter> writer;
};

ExportResult exportRange(const std::string& source, const std::string& destination, TimeRange range,
                         std::optional<AudioReadMode> audioMode, std::int64_t audioBitRate = 128000) {
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
  VideoEncoderSettings video;
  video.width = int(videoTrack.naturalSize.width);
  video.height = int(videoTrack.naturalSize.height);
  video.averageBitRate = 400000;
  video.expectedFrameRate = videoTrack.nominalFrameRate;
  auto videoInput = writer->addVideoInput(video).value();
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

  std::mutex mutex;
  std::condition_variable done;
  int pumpsLeft = audioInput ? 2 : 1;
  // Appends while the input is ready; at the end of its samples, or when an append
  // fails, marks the input finished and leaves.
  const auto pump = [&](const std::shared_ptr<AssetWriterInput>& input, const std::shared_ptr<SerialQueue>& queue,
                        std::function<bool()> appendNext) {
    auto finished = std::make_shared<bool>(false);
    // The input keeps its block: a plain pointer back to it (the test holds the input
    // until the end) keeps the two from holding each other.
    AssetWriterInput* target = input.get();
    input->requestMediaDataWhenReady(queue, [&, target, finished, appendNext] {
      while (target->isReadyForMoreMediaData() && !*finished) {
        if (appendNext()) continue;
        target->markAsFinished();
        *finished = true;
        std::lock_guard lock(mutex);
        --pumpsLeft;
        done.notify_all();
      }
    });
  };
  auto videoQueue = std::make_shared<SerialQueue>("video.export.video");
  auto audioQueue = std::make_shared<SerialQueue>("video.export.audio");
  pump(videoInput, videoQueue, [&] {
    PixelBuffer frame = videoOutput->copyNextPixelBuffer();
    if (!frame) return false;
    PixelBuffer target = videoInput->pixelBufferPool()->makePixelBuffer();
    for (int y = 0; y < frame.height(); ++y) std::memcpy(target.row(y), frame.row(y), std::size_t(frame.width()) * 4);
    return videoInput->append(target, frame.presentationTime());
  });
  if (audioInput) {
    pump(audioInput, audioQueue, [&] {
      auto buffer = audioOutput->copyNextSampleBuffer();
      return buffer && audioInput->append(*buffer);
    });
  }
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(done.wait_for(lock, std::chrono::seconds(60), [&] { return pumpsLeft == 0; }));
  }
  EXPECT_TRUE(finish(*writer));
  videoQueue.reset();  // drains and joins before the pumps' state goes
  audioQueue.reset();
  return {writer->status(), writer};
}

}  // namespace

TEST(MediaVideoWriter, WritesHevcTaggedHvc1AndARangeStartsAtZero) {
  const std::string source = testsupport::makeClip("basic", {});
  const std::string path = outputPath("range");
  auto result = exportRange(source, path, {MediaTime{10, 30}, MediaTime{10, 30}}, std::nullopt);
  ASSERT_EQ(result.status, AssetWriterStatus::completed) << (result.writer->error() ? result.writer->error()->message : "");
  ASSERT_TRUE(std::filesystem::exists(path));
  auto facts = probe(path);
  EXPECT_EQ(facts[AVMEDIA_TYPE_VIDEO].codec, "hevc");
  EXPECT_EQ(facts[AVMEDIA_TYPE_VIDEO].tag, MKTAG('h', 'v', 'c', '1'));
  EXPECT_EQ(facts.count(AVMEDIA_TYPE_AUDIO), 0u);

  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 10u);
  for (int k = 0; k < 10; ++k) {
    EXPECT_NEAR(frames[k].presentationTime().seconds(), k / 30.0, 1.0 / 90000) << k;
    EXPECT_EQ(testsupport::frameNumber(frames[k]), 10 + k);  // the pixels survive the round trip
  }
  EXPECT_EQ(entriesNamed(".partial"), 0);  // no temporary file is left beside it
}

TEST(MediaVideoWriter, EncodesAacAtTheAskedBitRate) {
  testsupport::ClipDescription clip;
  clip.frames = 60;  // two seconds
  clip.channels = 2;
  const std::string source = testsupport::makeClip("stereo", clip);
  const std::string path = outputPath("aac");
  auto result = exportRange(source, path, {MediaTime::zero(), MediaTime::invalid()}, AudioReadMode::floatPCM, 128000);
  ASSERT_EQ(result.status, AssetWriterStatus::completed);
  auto facts = probe(path);
  EXPECT_EQ(facts[AVMEDIA_TYPE_AUDIO].codec, "aac");
  // The file's average, as the muxer measures it: the encoder holds the rate within a
  // few per cent over two seconds of tone.
  EXPECT_NEAR(double(facts[AVMEDIA_TYPE_AUDIO].bitRate), 128000.0, 128000.0 * 0.1);
  EXPECT_EQ(facts[AVMEDIA_TYPE_VIDEO].codec, "hevc");
  EXPECT_EQ(readFrames(path).size(), 60u);
  // Sound for the whole two seconds, at the source's rate and channels.
  auto asset = Asset::make(path);
  auto audio = asset->loadNow()->tracksOfType(MediaType::audio);
  ASSERT_EQ(audio.size(), 1u);
  EXPECT_EQ(audio[0].audioFormat->sampleRate, 44100);
  EXPECT_EQ(audio[0].audioFormat->channels, 2);
  EXPECT_NEAR(audio[0].duration, 2.0, 0.05);
}

TEST(MediaVideoWriter, PassthroughPacketsAreTheSourcesOwn) {
  const std::string source = testsupport::makeClip("basic", {});
  const std::string path = outputPath("passthrough");
  auto result = exportRange(source, path, {MediaTime::zero(), MediaTime::invalid()}, AudioReadMode::passthrough);
  ASSERT_EQ(result.status, AssetWriterStatus::completed) << (result.writer->error() ? result.writer->error()->message : "");
  auto written = probe(path)[AVMEDIA_TYPE_AUDIO];
  auto original = probe(source)[AVMEDIA_TYPE_AUDIO];
  EXPECT_EQ(written.codec, "aac");
  ASSERT_EQ(written.data.size(), original.data.size());
  EXPECT_TRUE(written.data == original.data);
}

TEST(MediaVideoWriter, PassthroughOfAPhoneClipRange) {
  const std::string source = testsupport::sample("video/with-gps.mov");
  if (source.empty()) GTEST_SKIP() << "sample video/with-gps.mov is missing";
  const std::string path = outputPath("phone-passthrough");
  const TimeRange range{MediaTime{600, 600}, MediaTime{300, 600}};
  auto result = exportRange(source, path, range, AudioReadMode::passthrough);
  ASSERT_EQ(result.status, AssetWriterStatus::completed) << (result.writer->error() ? result.writer->error()->message : "");
  // The same bytes as the reader gives for that range.
  auto asset = Asset::make(source);
  auto reader = AssetReader::make(asset).value();
  reader->setTimeRange(range);
  auto output = reader->addAudioOutput(asset->loadNow()->tracksOfType(MediaType::audio).front(), AudioReadMode::passthrough);
  reader->startReading();
  std::vector<std::vector<std::uint8_t>> expected;
  while (auto buffer = output->copyNextSampleBuffer()) expected.push_back(buffer->data);
  EXPECT_TRUE(probe(path)[AVMEDIA_TYPE_AUDIO].data == expected);
  auto frames = readFrames(path);
  EXPECT_NEAR(double(frames.size()), 0.5 * 29.97, 1.5);
  ASSERT_FALSE(frames.empty());
  EXPECT_EQ(frames[0].presentationTime(), MediaTime::zero());
  EXPECT_EQ(frames[0].width(), 568);  // written as stored: the engine bakes orientation
}

TEST(MediaVideoWriter, ConstantQualityMode) {
  VideoEncoderSettings settings = smallVideo();
  settings.quality = 1.0;
  const std::string path = outputPath("quality");
  auto [writer, input] = startWriting(path, settings);
  auto source = readFrames(testsupport::makeClip("basic", {}));
  for (int n = 0; n < 10; ++n) {
    PixelBuffer frame = input->pixelBufferPool()->makePixelBuffer();
    for (int y = 0; y < 48; ++y) std::memcpy(frame.row(y), source[n].row(y), 64 * 4);
    ASSERT_TRUE(input->append(frame, MediaTime{n * 20, 600}));
  }
  ASSERT_TRUE(finish(*writer));
  EXPECT_EQ(writer->status(), AssetWriterStatus::completed);
  auto frames = readFrames(path);
  ASSERT_EQ(frames.size(), 10u);
  EXPECT_EQ(testsupport::frameNumber(frames[9]), 9);
}

// x265 takes nothing under 16 by 16: such pictures are padded for the encoder and
// cropped back by the stream itself, so a decoder shows the asked size and colours.
TEST(MediaVideoWriter, PicturesSmallerThanTheEncoderTakesKeepTheirSize) {
  const std::uint8_t colours[3][3] = {{30, 30, 220}, {40, 200, 40}, {210, 60, 30}};  // B, G, R
  for (const auto& [width, height] : {std::pair{2, 2}, std::pair{2, 40}, std::pair{40, 2}, std::pair{14, 16}, std::pair{32, 48}}) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    const std::string path = outputPath("small-" + std::to_string(width) + "x" + std::to_string(height));
    auto [writer, input] = startWriting(path, smallVideo(width, height));
    for (int n = 0; n < 3; ++n) {
      PixelBuffer frame = input->pixelBufferPool()->makePixelBuffer();
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          std::memcpy(frame.row(y) + x * 4, colours[n], 3);
          frame.row(y)[x * 4 + 3] = 255;
        }
      }
      ASSERT_TRUE(input->append(frame, MediaTime{n, 30}));
    }
    ASSERT_TRUE(finish(*writer));
    ASSERT_EQ(writer->status(), AssetWriterStatus::completed) << (writer->error() ? writer->error()->message : "");
    auto frames = readFrames(path);
    ASSERT_EQ(frames.size(), 3u);
    for (int n = 0; n < 3; ++n) {
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
  ASSERT_TRUE(video->append(video->pixelBufferPool()->makePixelBuffer(), MediaTime::zero()));
  EXPECT_FALSE(video->isReadyForMoreMediaData());  // the sound has not begun
  EXPECT_TRUE(audio->isReadyForMoreMediaData());
  AudioSampleBuffer sound;
  sound.presentationTime = MediaTime::zero();
  sound.sampleRate = 44100;
  sound.channels = 1;
  sound.frameCount = 44100;
  sound.data.resize(44100 * sizeof(float));
  ASSERT_TRUE(audio->append(sound));
  EXPECT_TRUE(video->isReadyForMoreMediaData());
  audio->markAsFinished();
  EXPECT_FALSE(audio->isReadyForMoreMediaData());
  EXPECT_TRUE(video->isReadyForMoreMediaData());
  writer->cancelWriting();
}

// Cancelled, dropped unfinished, or in a missing folder: no file, partial or whole.
TEST(MediaVideoWriter, AnUnfinishedWriteLeavesNoFile) {
  {
    auto [writer, input] = startWriting(outputPath("cancelled"));
    for (int n = 0; n < 5; ++n) ASSERT_TRUE(input->append(input->pixelBufferPool()->makePixelBuffer(), MediaTime{n, 30}));
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), AssetWriterStatus::cancelled);
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    EXPECT_FALSE(input->append(input->pixelBufferPool()->makePixelBuffer(), MediaTime{5, 30}));
  }
  {
    auto [writer, input] = startWriting(outputPath("dropped"));
    ASSERT_TRUE(input->append(input->pixelBufferPool()->makePixelBuffer(), MediaTime::zero()));
  }
  EXPECT_EQ(entriesNamed("cancelled") + entriesNamed("dropped"), 0);

  const std::string folder = testsupport::temporaryFolder() + "/no-such-folder";
  auto writer = AssetWriter::make(folder + "/out.mov");
  ASSERT_TRUE(writer.hasValue());
  ASSERT_TRUE((*writer)->addVideoInput(smallVideo()).hasValue());
  EXPECT_FALSE((*writer)->startWriting());
  EXPECT_EQ((*writer)->status(), AssetWriterStatus::failed);
  ASSERT_TRUE((*writer)->error().has_value());
  EXPECT_EQ((*writer)->error()->code, MediaError::Code::writeFailed);
  EXPECT_TRUE(finish(**writer));
  EXPECT_EQ((*writer)->status(), AssetWriterStatus::failed);
  EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(MediaVideoWriter, RefusesWhatItCannotWrite) {
  const std::string existing = testsupport::makeClip("basic", {});
  EXPECT_FALSE(AssetWriter::make(existing).hasValue());  // never over a file unless asked
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
    if (video->isReadyForMoreMediaData()) video->append(video->pixelBufferPool()->makePixelBuffer(), MediaTime::zero());
    std::lock_guard lock(mutex);
    videoCalls.push_back(writer->status());
    changed.notify_all();
  });
  std::unique_lock lock(mutex);
  ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(10), [&] { return videoCalls.size() == 1; }));
  lock.unlock();
  EXPECT_FALSE(video->isReadyForMoreMediaData());
  AudioSampleBuffer packet;  // a packet where the AAC input takes PCM: the writer fails
  packet.presentationTime = MediaTime::zero();
  packet.isPacket = true;
  packet.data = {1, 2, 3};
  EXPECT_FALSE(audio->append(packet));
  lock.lock();
  ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(10), [&] { return videoCalls.size() == 2; }));
  EXPECT_EQ(videoCalls[1], AssetWriterStatus::failed);
  lock.unlock();
  writer->cancelWriting();
  videoQueue->sync([] {});
  EXPECT_EQ(videoCalls.size(), 2u);  // once, not over and over
}

// The temporary file is the writer's own: files and links that carry the old fixed
// temporary name, or stand at the output, are neither followed nor removed. A file the
// write replaces stays as it was until the finished movie takes its place, and a link
// there is replaced, not written through.
TEST(MediaVideoWriter, TouchesNoFileButItsOwn) {
  const auto folder = std::filesystem::path(testsupport::temporaryFolder()) / "own-files";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const auto writeText = [](const std::filesystem::path& path, const char* text) { std::ofstream(path) << text; };
  writeText(folder / ".kept.mov.partial", "a file of the user's");
  writeText(folder / "victim", "not to be written through");
  writeText(folder / "old.mov", "the old movie");
  std::filesystem::create_symlink(folder / "victim", folder / ".linked.mov.partial");
  std::filesystem::create_symlink(folder / "victim", folder / "taken.mov");
  EXPECT_FALSE(AssetWriter::make((folder / "taken.mov").string()).hasValue());
  std::filesystem::create_symlink(folder / "nowhere", folder / "dangling.mov");
  EXPECT_FALSE(AssetWriter::make((folder / "dangling.mov").string()).hasValue());

  const std::pair<const char*, ExistingFile> targets[] = {
      {"kept", ExistingFile::keep}, {"linked", ExistingFile::keep}, {"old", ExistingFile::replace},
      {"taken", ExistingFile::replace}};
  for (const auto& [name, existing] : targets) {
    SCOPED_TRACE(name);
    const auto path = (folder / (std::string(name) + ".mov")).string();
    const auto before = std::filesystem::symlink_status(path).type();
    const std::string oldText = readText(path);
    {
      auto [cancelled, input] = startWriting(path, smallVideo(), existing);
      ASSERT_TRUE(input->append(input->pixelBufferPool()->makePixelBuffer(), MediaTime::zero()));
      cancelled->cancelWriting();
    }
    EXPECT_EQ(std::filesystem::symlink_status(path).type(), before);
    auto [written, input] = startWriting(path, smallVideo(), existing);
    EXPECT_EQ(readText(path), oldText);  // nothing is replaced before the end
    ASSERT_TRUE(input->append(input->pixelBufferPool()->makePixelBuffer(), MediaTime::zero()));
    ASSERT_TRUE(finish(*written));
    EXPECT_EQ(written->status(), AssetWriterStatus::completed);
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(path)));
    EXPECT_EQ(readFrames(path).size(), 1u);
  }
  EXPECT_EQ(readText(folder / ".kept.mov.partial"), "a file of the user's");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / ".linked.mov.partial"));
  EXPECT_EQ(readText(folder / "victim"), "not to be written through");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 8);
}
