// The conversion of decoded frames to BGRA: colours by the frame's range and matrix, and
// the buffers it reuses, which must never be one still held by a user of an earlier
// frame.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "Platform/Media/FfmpegSupport.h"

namespace platform::media {
namespace {

// A planar 4:2:0 frame of one colour; odd sizes take the converter's general path.
av::FramePtr flatFrame(int width, int height, uint8_t y, uint8_t cb, uint8_t cr, AVColorRange range) {
  av::FramePtr frame = av::makeFrame();
  frame->format = AV_PIX_FMT_YUV420P, frame->width = width, frame->height = height;
  frame->color_range = range, frame->colorspace = AVCOL_SPC_BT709;
  EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
  for (const auto& [plane, value] : {std::pair{0, y}, {1, cb}, {2, cr}})
    std::memset(frame->data[plane], value, size_t(frame->linesize[plane]) * (plane ? (height + 1) / 2 : height));
  return frame;
}

// BT.709 from Y'CbCr to 8-bit R'G'B' (blue, green, red order), limited or full range.
std::array<double, 3> expectedBgr(double y, double cb, double cr, bool full) {
  const double luma = full ? y / 255 : (y - 16) / 219;
  const double pb = (cb - 128) / (full ? 255 : 224), pr = (cr - 128) / (full ? 255 : 224);
  auto to8 = [](double v) { return std::clamp(v, 0.0, 1.0) * 255; };
  return {to8(luma + 1.8556 * pb), to8(luma - 0.1873 * pb - 0.4681 * pr), to8(luma + 1.5748 * pr)};
}

TEST(FrameConversion, ColoursFollowTheRangeOnBothPaths) {
  for (int i = 0; i < 4; ++i) {  // even and odd sizes, limited and full range
    const struct {
      int width, height;
      AVColorRange range;
    } c = {i < 2 ? 64 : 63, i < 2 ? 48 : 47, i % 2 ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG};
    av::BgraConverter converter;
    const auto frame = flatFrame(c.width, c.height, 120, 90, 170, c.range);
    const auto buffer = converter.convert(frame.get(), MediaTime{7, 30});
    ASSERT_TRUE(buffer) << c.width;
    EXPECT_EQ(buffer->presentationTime(), (MediaTime{7, 30}));
    const auto expected = expectedBgr(120, 90, 170, c.range == AVCOL_RANGE_JPEG);
    for (int y : {0, c.height / 2, c.height - 1}) {
      for (int x : {0, c.width / 2, c.width - 1}) {
        const uint8_t* pixel = buffer->row(y) + x * 4;
        for (int channel = 0; channel < 3; ++channel)
          EXPECT_NEAR(pixel[channel], expected[channel], 2.0) << c.width << " " << x << "," << y << " " << channel;
        EXPECT_EQ(pixel[3], 255);
      }
    }
  }
}

TEST(FrameConversion, ABufferIsReusedOnlyOnceLetGo) {
  av::BgraConverter converter;
  const auto dark = flatFrame(64, 48, 30, 128, 128, AVCOL_RANGE_MPEG);
  const auto light = flatFrame(64, 48, 200, 128, 128, AVCOL_RANGE_MPEG);
  auto first = converter.convert(dark.get(), MediaTime{0, 30});
  ASSERT_TRUE(first);
  const uint8_t darkValue = first->row(10)[8];
  const uint8_t* firstMemory = first->data();
  const uint8_t* secondMemory = nullptr;
  {
    auto second = converter.convert(light.get(), MediaTime{1, 30});
    ASSERT_TRUE(second);
    secondMemory = second->data();
    EXPECT_NE(secondMemory, firstMemory);
    EXPECT_EQ(first->row(10)[8], darkValue);  // the held frame is untouched
  }
  // The first frame is still held while the next converts; the second's memory is free.
  first = converter.convert(light.get(), MediaTime{2, 30});
  ASSERT_TRUE(first);
  EXPECT_EQ(first->data(), secondMemory);
  // Another size gets buffers of its own size.
  const auto small = flatFrame(32, 16, 30, 128, 128, AVCOL_RANGE_MPEG);
  const auto smallBuffer = converter.convert(small.get(), MediaTime{3, 30});
  ASSERT_TRUE(smallBuffer);
  EXPECT_EQ(smallBuffer->width(), 32);
  EXPECT_GE(smallBuffer->bytesPerRow(), 32u * 4);
}

}  // namespace
}  // namespace platform::media
