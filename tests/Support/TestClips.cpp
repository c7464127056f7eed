#include "Support/TestClips.h"

// The clips are written and read back by FFmpeg's own command-line tools, so the
// engine's reader is tested on files from a writer independent of its code.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Platform/Media/Asset.h"
#include "Support/ToolProcess.h"

namespace testsupport {

using namespace platform::media;

namespace {

struct Bgra {
  std::uint8_t b, g, r;
};
// Red top left, green top right, blue bottom left, white bottom right.
constexpr Bgra kQuadrants[2][2] = {{{0, 0, 255}, {0, 255, 0}}, {{255, 0, 0}, {255, 255, 255}}};

// Runs ffmpeg or ffprobe and returns what it wrote on standard output; a tool that fails
// stops the test with the tool's own message.
std::string runTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> options{"-v", "error"};
  options.insert(options.end(), arguments.begin() + 1, arguments.end());
  const Finished finished = ToolProcess(arguments.front(), options).wait();
  if (finished.exitStatus != 0) throw std::runtime_error(arguments.front() + " failed: " + finished.standardError);
  return finished.standardOutput;
}

nlohmann::json probe(const std::string& path, const std::vector<std::string>& options) {
  std::vector<std::string> arguments{"ffprobe", "-of", "json"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back(path);
  return nlohmann::json::parse(runTool(arguments));
}

// --- writing ---

// The upright pattern of frame N as a lavfi graph: the bars show N's bits 0 to 7 from the
// left, then the frames are turned back by the clip's quarter turns for storage.
std::string videoSource(const ClipDescription& clip, const std::string& pixelFormat) {
  const std::string bar = "gte(Y,floor(H*3/8))*lt(Y,floor(H*5/8))";
  const std::string level = "255*mod(floor(N/pow(2,min(7,floor(X*8/W)))),2)";
  const std::string right = "gte(X,floor(W/2))", bottom = "gte(Y,floor(H/2))";
  auto channel = [&](const std::string& quadrants) { return "'if(" + bar + "," + level + ",255*" + quadrants + ")'"; };
  const char* turnBack[] = {"", ",transpose=cclock", ",hflip,vflip", ",transpose=clock"};
  return "nullsrc=s=" + std::to_string(clip.width) + "x" + std::to_string(clip.height) +
         ":r=" + std::to_string(clip.fps) + ",trim=end_frame=" + std::to_string(clip.frames) +
         ",format=gbrp,geq=r=" + channel("eq(" + right + "," + bottom + ")") + ":g=" + channel(right) +
         ":b=" + channel(bottom) + turnBack[clip.quarterTurns % 4] + ",scale=flags=neighbor,format=" + pixelFormat;
}

// The tone on every channel, as long as the video.
std::string audioSource(const ClipDescription& clip) {
  std::string tone = std::to_string(clip.toneAmplitude) + "*sin(2*PI*440*t)", tones = tone;
  for (int c = 1; c < clip.channels; ++c) tones += "|" + tone;
  return "aevalsrc=" + tones + ":s=" + std::to_string(clip.sampleRate) +
         ",atrim=end_sample=" + std::to_string(std::int64_t(clip.sampleRate) * clip.frames / clip.fps);
}

// ffmpeg 5.1 writes no display matrix for an encoded stream (it ignores a `rotate` tag,
// and -display_rotation came in 6.0), so the matrix of the video track's header is set
// here: a, b, u, c, d, v, tx, ty, w (16.16 but for u, v, w at 2.30), with the
// translation a phone writes beside the turn. The header is the one with a picture size.
void setDisplayMatrix(const std::string& path, int quarterTurns, int storedWidth, int storedHeight) {
  constexpr std::int32_t one = 1 << 16;
  const std::int32_t turns[4][4] = {{one, 0, 0, one}, {0, one, -one, 0}, {-one, 0, 0, -one}, {0, -one, one, 0}};
  const auto [a, b, c, d] = turns[quarterTurns];
  const std::int32_t tx = quarterTurns == 1 ? storedHeight * one : quarterTurns == 2 ? storedWidth * one : 0;
  const std::int32_t ty = quarterTurns == 2 ? storedHeight * one : quarterTurns == 3 ? storedWidth * one : 0;
  const std::int32_t matrix[9] = {a, b, 0, c, d, 0, tx, ty, 1 << 30};
  std::string bytes = fileContents(path);
  for (std::size_t at = bytes.find("tkhd", bytes.find("moov")); at != std::string::npos;
       at = bytes.find("tkhd", at + 1)) {
    const std::size_t matrixAt = at + (bytes[at + 4] == 1 ? 56 : 44);  // after 64-bit times in version 1
    if (bytes.compare(matrixAt + 36, 8, std::string(8, '\0')) == 0) continue;  // a sound track's: no size
    for (int i = 0; i < 9; ++i)
      for (int k = 0; k < 4; ++k) bytes[matrixAt + 4 * i + k] = char(std::uint32_t(matrix[i]) >> (24 - 8 * k));
    std::ofstream(path, std::ios::binary) << bytes;
    return;
  }
  throw std::runtime_error("no video track header in " + path);
}

void generate(const std::string& path, const ClipDescription& clip) {
  const bool sideways = clip.quarterTurns % 2 != 0;
  const int storedWidth = sideways ? clip.height : clip.width, storedHeight = sideways ? clip.width : clip.height;
  // 4:2:0 needs even sides; odd ones go 4:4:4.
  const std::string video = videoSource(clip, storedWidth % 2 || storedHeight % 2 ? "yuv444p" : "yuv420p");
  std::vector<std::string> arguments{"ffmpeg", "-y", "-f", "lavfi", "-i", video};
  if (clip.audio != ClipAudio::none) {
    const char* codecs[] = {"", "aac", "pcm_s16le", "libopus"};
    arguments.insert(arguments.end(), {"-f", "lavfi", "-i", audioSource(clip), "-map", clip.audioFirst ? "1:a" : "0:v",
                                       "-map", clip.audioFirst ? "0:v" : "1:a", "-c:a", codecs[int(clip.audio)]});
    if (clip.audio != ClipAudio::pcm)
      arguments.insert(arguments.end(), {"-b:a", std::to_string(64000 * clip.channels)});
  }
  arguments.insert(arguments.end(), {"-c:v", "libx264", "-preset", "ultrafast", "-crf", "10", "-g", "10", "-keyint_min",
                                     "10", "-bf", "2", "-x264-params", "scenecut=0:log=-1", "-video_track_timescale",
                                     std::to_string(600 * clip.fps), path});
  runTool(arguments);
  if (clip.quarterTurns % 4) setDisplayMatrix(path, clip.quarterTurns % 4, storedWidth, storedHeight);
}

Bgra pixelAt(const PixelBuffer& frame, int x, int y) {
  const std::uint8_t* p = frame.row(y) + std::size_t(x) * 4;
  return {p[0], p[1], p[2]};
}

bool near(Bgra a, Bgra b) { return std::abs(a.b - b.b) < 60 && std::abs(a.g - b.g) < 60 && std::abs(a.r - b.r) < 60; }

}  // namespace

std::string freshPath(const std::string& name) {
  const std::string path = temporaryFolder() + "/" + name;
  std::filesystem::remove(path);
  return path;
}

std::string makeClip(const std::string& name, const ClipDescription& clip) {
  static std::mutex lock;
  static std::map<std::string, std::string> made;
  std::lock_guard guard(lock);
  if (auto found = made.find(name); found != made.end()) return found->second;
  const std::string path = temporaryFolder() + "/" + name + (clip.audio == ClipAudio::opus ? ".mp4" : ".mov");
  generate(path, clip);
  made[name] = path;
  return path;
}

int frameNumber(const PixelBuffer& turnedFrame, int quarterTurns) {
  if (!turnedFrame) return -1;
  const PixelBuffer frame = turned(turnedFrame, 4 - quarterTurns % 4);
  int number = 0;
  for (int bit = 0; bit < 8; ++bit) {
    const Bgra p = pixelAt(frame, (2 * bit + 1) * frame.width() / 16, frame.height() / 2);
    const int level = (p.b + p.g + p.r) / 3;
    if (level > 95 && level <= 160) return -1;  // neither black nor white
    number |= (level > 160) << bit;
  }
  return number;
}

bool showsUprightQuadrants(const PixelBuffer& frame) {
  if (!frame) return false;
  const int w = frame.width(), h = frame.height();
  const int top = std::max(0, h * 3 / 16), bottom = std::min(h - 1, h * 13 / 16);
  return near(pixelAt(frame, w / 4, top), kQuadrants[0][0]) && near(pixelAt(frame, w * 3 / 4, top), kQuadrants[0][1]) &&
         near(pixelAt(frame, w / 4, bottom), kQuadrants[1][0]) &&
         near(pixelAt(frame, w * 3 / 4, bottom), kQuadrants[1][1]);
}

PixelBuffer turned(const PixelBuffer& frame, int quarterTurns) {
  const int q = ((quarterTurns % 4) + 4) % 4;
  if (q == 0) return frame;
  const int w = frame.width(), h = frame.height();
  PixelBuffer out = PixelBuffer::allocate(q % 2 ? h : w, q % 2 ? w : h);
  for (int y = 0; y < out.height(); ++y) {
    for (int x = 0; x < out.width(); ++x) {
      // The source pixel shown at (x, y) after q clockwise quarter turns.
      const int sx = q == 1 ? y : q == 2 ? w - 1 - x : w - 1 - y;
      const int sy = q == 1 ? h - 1 - x : q == 2 ? h - 1 - y : x;
      std::memcpy(out.row(y) + std::size_t(x) * 4, frame.row(sy) + std::size_t(sx) * 4, 4);
    }
  }
  return out;
}

double meanDifference(const PixelBuffer& a, const PixelBuffer& b) {
  if (!a || !b || a.width() != b.width() || a.height() != b.height()) return 255;
  double sum = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width() * 4; ++x)
      if (x % 4 != 3) sum += std::abs(int(a.row(y)[x]) - int(b.row(y)[x]));
  return sum / (double(a.width()) * a.height() * 3);
}

double meanLevel(const PixelBuffer& frame) {
  return meanDifference(frame, PixelBuffer::allocate(frame.width(), frame.height()));  // from black
}

namespace {

// ffprobe writes some numbers as text and leaves out those a stream lacks.
std::int64_t numberAt(const nlohmann::json& object, const char* key) {
  if (!object.contains(key)) return 0;
  const auto& value = object[key];
  return value.is_string() ? std::stoll(value.get<std::string>()) : value.get<std::int64_t>();
}

}  // namespace

MovieFacts probeMovie(const std::string& path) {
  const auto info = probe(path, {"-show_entries",
                                 "format=format_name:stream=codec_type,codec_name,codec_tag_string,"
                                 "width,height,sample_rate,channels,bit_rate:stream_side_data=rotation"});
  MovieFacts facts{info["format"]["format_name"], {}, {}};
  for (const auto& stream : info["streams"]) {
    StreamFacts streamFacts{stream.value("codec_name", "none"), stream["codec_tag_string"],
                            int(numberAt(stream, "width")), int(numberAt(stream, "height"))};
    for (const auto& side : stream.value("side_data_list", nlohmann::json::array())) {
      if (!side.contains("rotation")) continue;
      streamFacts.hasDisplayMatrix = true;
      // ffprobe's angle is anticlockwise: its -90 is one clockwise quarter turn.
      streamFacts.quarterTurns = int(std::lround(-side["rotation"].get<double>() / 90) % 4 + 4) % 4;
    }
    streamFacts.sampleRate = int(numberAt(stream, "sample_rate"));
    streamFacts.channels = int(numberAt(stream, "channels"));
    streamFacts.bitRate = numberAt(stream, "bit_rate");
    if (stream["codec_type"] == "video") facts.video.push_back(streamFacts);
    if (stream["codec_type"] == "audio") facts.audio.push_back(streamFacts);
  }
  return facts;
}

std::vector<std::vector<std::uint8_t>> audioPackets(const std::string& path) {
  const auto info = probe(path, {"-select_streams", "a:0", "-show_data", "-show_entries", "packet=data"});
  std::vector<std::vector<std::uint8_t>> packets;
  for (const auto& packet : info.value("packets", nlohmann::json::array())) {
    // A hex dump: per line an offset, up to sixteen bytes in groups of two, the bytes as text.
    std::istringstream lines(packet["data"].get<std::string>());
    auto& bytes = packets.emplace_back();
    for (std::string line; std::getline(lines, line);) {
      std::string digits;
      for (char c : line.substr(std::min<std::size_t>(line.size(), 10), 39))
        if (c != ' ') digits += c;
      for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
  }
  return packets;
}

std::vector<float> decodedAudio(const std::string& path) {
  const std::string bytes = runTool({"ffmpeg", "-i", path, "-map", "0:a:0", "-f", "f32le", "-"});
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

std::vector<PixelBuffer> decodedFrames(const std::string& path, int limit) {
  if (limit <= 0) return {};
  // The first frames in display order come from the first packets but for the reorder depth.
  const auto info = probe(path, {"-select_streams", "v:0", "-read_intervals", "%+#" + std::to_string(limit + 16ll),
                                 "-show_entries", "stream=time_base:frame=best_effort_timestamp,width,height"});
  const std::string pixels =
      runTool({"ffmpeg", "-noautorotate", "-i", path, "-map", "0:v:0", "-frames:v", std::to_string(limit), "-fps_mode",
               "passthrough", "-sws_flags", "bilinear", "-pix_fmt", "bgra", "-f", "rawvideo", "-"});
  const std::string base = info["streams"][0]["time_base"];  // "1/18000"
  const std::int64_t ticks = std::stoll(base), scale = std::stoll(base.substr(base.find('/') + 1));
  std::vector<PixelBuffer> frames;
  std::size_t at = 0;
  for (const auto& frame : info["frames"]) {
    const int width = frame["width"], height = frame["height"];
    if (int(frames.size()) == limit || at + std::size_t(width) * height * 4 > pixels.size()) break;
    PixelBuffer out =
        PixelBuffer::allocate(width, height, {numberAt(frame, "best_effort_timestamp") * ticks, std::int32_t(scale)});
    for (int y = 0; y < height; ++y, at += std::size_t(width) * 4)
      std::memcpy(out.row(y), pixels.data() + at, width * 4);
    frames.push_back(out);
  }
  return frames;
}

// Reads the first track of `type` in `range` through the engine's reader: `read` adds
// its output, starts the reader and takes every sample; the reader must have completed.
void readTrack(const std::string& path, MediaType type, TimeRange range,
               const std::function<void(AssetReader&, const AssetTrack&)>& read) {
  auto asset = Asset::make(path);
  auto reader = AssetReader::make(asset);
  ASSERT_TRUE(reader.hasValue()) << path;
  (*reader)->setTimeRange(range);
  read(**reader, asset->loadNow()->tracksOfType(type).front());
  EXPECT_EQ((*reader)->status(), AssetReaderStatus::completed) << path;
}

std::vector<PixelBuffer> readFrames(const std::string& path, TimeRange range) {
  std::vector<PixelBuffer> frames;
  readTrack(path, MediaType::video, range, [&](AssetReader& reader, const AssetTrack& track) {
    auto output = reader.addVideoOutput(track);
    EXPECT_TRUE(reader.startReading());
    while (PixelBuffer frame = output->copyNextPixelBuffer()) frames.push_back(frame);
  });
  return frames;
}

std::vector<AudioSampleBuffer> readAudio(const std::string& path, AudioReadMode mode, TimeRange range) {
  std::vector<AudioSampleBuffer> buffers;
  readTrack(path, MediaType::audio, range, [&](AssetReader& reader, const AssetTrack& track) {
    auto output = reader.addAudioOutput(track, mode);
    EXPECT_TRUE(reader.startReading());
    while (auto buffer = output->copyNextSampleBuffer()) buffers.push_back(std::move(*buffer));
  });
  return buffers;
}

}  // namespace testsupport
