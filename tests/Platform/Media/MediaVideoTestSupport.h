#pragma once
// Tiny clips made with the FFmpeg libraries for the video and audio tests, and helpers
// to read them back. Every frame shows its number as eight bars across the top half
// (bar i white when bit i is set) over a moving gradient below, so a frame can be
// identified after lossy coding; the sound is a 440 Hz tone.
#include <chrono>
#include <functional>
#include <string>

#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Media/PixelBuffer.h"

namespace mediatest {

struct ClipSpec {
  int width = 64;
  int height = 48;
  int frames = 30;
  int fps = 30;
  int keyInterval = 10;   // a key frame every this many frames
  bool bFrames = true;
  bool audio = true;
  int sampleRate = 44100;
  int channels = 1;
  bool portraitMatrix = false;  // the display matrix of a phone's portrait clip: (0, 1, -1, 0, height, 0)
};

// A QuickTime movie (H.264 or, for odd sizes, H.264 4:4:4; AAC) in this process's
// temporary folder. Made once per name and process.
std::string makeClip(const std::string& name, const ClipSpec& clip);
// This process's temporary folder (removed at exit unless HALVANE_KEEP_TEST_FILES is set).
std::string temporaryFolder();

// The number a frame shows; quarterTurns says how far the picture was turned clockwise
// after it was made (0 for frames as stored). -1 when no bar pattern is found.
int frameNumber(const platform::media::PixelBuffer& frame, int quarterTurns = 0);

// HALVANE_MEDIA_DIR + "/" + relative; empty when the file is missing.
std::string sample(const std::string& relative);

// Runs turns of the main queue until `done` or about 20 seconds of real time pass.
bool pumpUntil(platform::dispatch::ManualMainQueue& queue, const std::function<bool()>& done,
               std::chrono::milliseconds limit = std::chrono::milliseconds(20000));

}  // namespace mediatest
