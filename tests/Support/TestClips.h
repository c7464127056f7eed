#pragma once
// Small clips for the media and video tests, made with ffmpeg's command-line tool, and
// what the tests read back from a movie with ffmpeg and ffprobe. Every frame shows four
// coloured quadrants (red top left, green top right, blue bottom left, white bottom
// right) and, across the middle, its number as eight black or white bars (bit 0 on the
// left), so orientation and frame identity survive lossy coding. The sound is a 440 Hz
// tone.
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Media/AssetReader.h"
#include "Platform/Media/PixelBuffer.h"
#include "Support/MainQueuePump.h"
#include "Support/TestFiles.h"

namespace testsupport {

// Opus goes into an MP4 file (a QuickTime movie cannot carry it) and wants 48 kHz.
enum class ClipAudio { none, aac, pcm, opus };

struct ClipDescription {
  int width = 64;  // upright (displayed) size
  int height = 48;
  int frames = 30;
  int fps = 30;  // a key frame every 10 frames, two B-frames between others
  // The frames are stored turned back by this many clockwise quarter turns, with the
  // display matrix a phone writes to turn them upright (1 is a phone's portrait clip,
  // ffprobe's rotation -90; 3 is rotation +90).
  int quarterTurns = 0;
  ClipAudio audio = ClipAudio::aac;
  bool audioFirst = false;  // the audio track is stream 0
  float toneAmplitude = 0.5f;
  int sampleRate = 44100;
  int channels = 1;
};

// H.264 (4:4:4 for odd sides) in a QuickTime movie (MP4 for Opus) in this process's
// temporary folder, made once per name.
std::string makeClip(const std::string& name, const ClipDescription& clip);
// A path in the temporary folder where nothing stands.
std::string freshPath(const std::string& name);

// The number a frame shows, -1 when the bars can't be read; quarterTurns says how far
// the upright picture was turned clockwise (3 for a portrait clip's frames as stored).
int frameNumber(const platform::media::PixelBuffer& frame, int quarterTurns = 0);
// True when the quadrant colours sit where an upright frame has them.
bool showsUprightQuadrants(const platform::media::PixelBuffer& frame);
// The frame turned clockwise by quarter turns.
platform::media::PixelBuffer turned(const platform::media::PixelBuffer& frame, int quarterTurns);
// Mean absolute difference over the colour channels, in code values; frames of
// different sizes differ by 255.
double meanDifference(const platform::media::PixelBuffer& a, const platform::media::PixelBuffer& b);
double meanLevel(const platform::media::PixelBuffer& frame);

// What ffprobe reads from a written movie.
struct StreamFacts {
  std::string codec;
  std::string codecTag;
  int width = 0;
  int height = 0;
  bool hasDisplayMatrix = false;
  int quarterTurns = 0;  // clockwise, as the display matrix asks
  int sampleRate = 0;
  int channels = 0;
  std::int64_t bitRate = 0;
};
struct MovieFacts {
  std::string formatName;
  std::vector<StreamFacts> video;
  std::vector<StreamFacts> audio;
};
MovieFacts probeMovie(const std::string& path);
// The payload of every packet of the first audio stream, in file order.
std::vector<std::vector<std::uint8_t>> audioPackets(const std::string& path);
// The first audio stream decoded to float samples (all channels, interleaved).
std::vector<float> decodedAudio(const std::string& path);
// The video frames as stored (no transform applied), BGRA, with their times, in display
// order, at most `limit` of them.
std::vector<platform::media::PixelBuffer> decodedFrames(const std::string& path, int limit = 1 << 30);

// Every frame or sound buffer of the first video or audio track in `range`, through the
// engine's own reader, which must read to the end of the range.
std::vector<platform::media::PixelBuffer> readFrames(const std::string& path, platform::media::TimeRange range = {});
std::vector<platform::media::AudioSampleBuffer> readAudio(const std::string& path, platform::media::AudioReadMode mode,
                                                          platform::media::TimeRange range = {});

}  // namespace testsupport
