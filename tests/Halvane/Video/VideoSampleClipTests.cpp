// The phone clips of the sample media: both signs of rotation, audio as stream 0, PCM
// sound, a clip under half a second, data and timecode tracks, a variable frame rate.
// Each must play with an upright first frame and export upright, with its sound and
// without rotation metadata.
#include <gtest/gtest.h>

#include <filesystem>

#include "VideoPlaybackSupport.h"

namespace halvane {
namespace {

using namespace testsupport;

struct SampleClip {
  std::string path;
  int uprightWidth;
  int uprightHeight;
  double trimEnd;  // 0: the whole clip; long clips are cut to keep the suite short
};

std::string nameOf(const ::testing::TestParamInfo<SampleClip>& info) {
  std::string name = std::filesystem::path(info.param.path).stem().string();
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

class SampleClipTest : public testing::VideoRendererTest, public ::testing::WithParamInterface<SampleClip> {
 protected:
  // The first stored frame turned as its display matrix says is what upright means.
  // Colour conversions of two decoders and HEVC at the preset's rate stay within 12 of
  // it on average; a sideways clip's frame turned the wrong way differs by far more.
  static void expectUpright(const platform::media::PixelBuffer& frame, const std::string& path) {
    const auto stored = decodedFrames(path, 1);
    ASSERT_EQ(stored.size(), 1u);
    const int turns = probeMovie(path).video.at(0).quarterTurns;
    const double difference = meanDifference(frame, turned(stored[0], turns));
    EXPECT_LT(difference, 12);
    if (turns % 2 == 1) { EXPECT_GT(meanDifference(frame, turned(stored[0], turns + 2)), difference * 2); }
  }
};

TEST_P(SampleClipTest, PlaysWithAnUprightFirstFrameAndExportsUprightWithItsSound) {
  const auto path = sample(GetParam().path);
  if (path.empty()) GTEST_SKIP() << "sample " << GetParam().path << " is missing";
  view->setDrawableSize({320, 320});
  const auto first = showFirstFrame(path);
  ASSERT_TRUE(first);
  const auto upright = std::pair(GetParam().uprightWidth, GetParam().uprightHeight);
  EXPECT_EQ(std::pair(int(first->width()), int(first->height())), upright);
  expectUpright(readBackFrame(first), path);
  EXPECT_GE(presenter->count(), 1);

  renderer->stopPlayback();
  const auto output = freshPath(std::filesystem::path(path).stem().string() + "-export.mov");
  const auto result = runExport(path, output, {.trimEnd = GetParam().trimEnd});
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto facts = probeMovie(output);
  ASSERT_EQ(facts.video.size(), 1u);
  EXPECT_EQ(facts.video[0].codec, "hevc");
  EXPECT_EQ(std::pair(facts.video[0].width, facts.video[0].height), upright);
  EXPECT_FALSE(facts.video[0].hasDisplayMatrix);
  EXPECT_EQ(facts.audio.size(), 1u);

  const auto written = decodedFrames(output, 1);
  ASSERT_EQ(written.size(), 1u);
  expectUpright(written[0], path);
  EXPECT_NEAR(written[0].presentationTime().seconds(), 0.0, 1e-3);
}

INSTANTIATE_TEST_SUITE_P(
    PhoneClips, SampleClipTest,
    ::testing::Values(SampleClip{"video/ios9.mov", 720, 1280, 0},           // rotation -90, 0.467 s, data tracks
                      SampleClip{"video/with-gps.mov", 320, 568, 1.0},      // audio is stream 0
                      SampleClip{"video/train.mov", 1440, 1080, 0},         // PCM sound, variable rate
                      SampleClip{"video/max-heromode.mp4", 848, 480, 1.0},  // timecode, 48 kHz stereo
                      SampleClip{"video/video_rotate.mp4", 60, 80, 2.0},    // rotation +90
                      SampleClip{"livephoto/IMG_7943_HEVC.MOV", 480, 640, 0}),
    nameOf);

}  // namespace
}  // namespace halvane
