#pragma once
// Tiny clips made with the FFmpeg libraries for the video and audio tests, and helpers
// to read them back. Every frame shows its number as eight bars across the top half
// (bar i white when bit i is set) over a moving gradient below, so a frame can be
// identified after lossy coding; the sound is a 440 Hz tone.
#include <string>

#include "Platform/Media/PixelBuffer.h"
#include "Support/MainQueuePump.h"
#include "Support/TestFiles.h"

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

using testsupport::pumpUntil;
using testsupport::sample;
using testsupport::temporaryFolder;

// A QuickTime movie (H.264 or, for odd sizes, H.264 4:4:4; AAC) in this process's
// temporary folder. Made once per name and process.
std::string makeClip(const std::string& name, const ClipSpec& clip);

// The number a frame shows; quarterTurns says how far the picture was turned clockwise
// after it was made (0 for frames as stored). -1 when no bar pattern is found.
int frameNumber(const platform::media::PixelBuffer& frame, int quarterTurns = 0);

}  // namespace mediatest
