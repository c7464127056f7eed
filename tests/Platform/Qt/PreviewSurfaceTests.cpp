// The preview surface: its drawable at the screen's pixel ratio, the bounds report,
// frames shown one device pixel to one, the last frame kept through a resize, and the
// hand-off from the GPU's thread that keeps only the newest frame. The suite runs
// twice, at pixel ratio 1 and 2 (HALVANE_TEST_DPR, with QT_SCALE_FACTOR).
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QTest>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Gpu/Texture.h"
#include "Platform/Qt/FrameHandoff.h"
#include "Platform/Qt/PreviewSurface.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Support/QtApplicationEnvironment.h"

namespace platform::qt {
namespace {

constexpr int kHang = 60'000;  // a bound on waits against a hang; it measures nothing

// One application for the whole program, as the editor has one.
const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QApplication>);

// A drawable as the engine presents it: host-readable BGRA8 bytes.
struct FakeDrawable final : gpu::Texture {
  explicit FakeDrawable(const QImage& image, gpu::StorageMode storage = gpu::StorageMode::shared)
      : pixels(image.convertToFormat(QImage::Format_RGB32)), storage(storage) {}
  uint32_t width() const override { return uint32_t(pixels.width()); }
  uint32_t height() const override { return uint32_t(pixels.height()); }
  gpu::PixelFormat pixelFormat() const override { return gpu::PixelFormat::bgra8Unorm; }
  gpu::StorageMode storageMode() const override { return storage; }
  uint32_t usage() const override { return gpu::TextureUsage::renderTarget; }
  void getBytes(void* destination, size_t bytesPerRow, gpu::Region region) const override {
    for (uint32_t y = 0; y < region.height; ++y)
      std::memcpy(static_cast<char*>(destination) + y * bytesPerRow,
                  pixels.constScanLine(int(region.origin.y + y)) + region.origin.x * 4, region.width * 4);
  }
  void replaceRegion(gpu::Region, const void*, size_t) override {}
  QImage pixels;
  gpu::StorageMode storage;
};

// Neighbouring device pixels all differ, so any scaling shows.
QImage checker(QSize size, int seed) {
  QImage image(size, QImage::Format_RGB32);
  for (int y = 0; y < size.height(); ++y)
    for (int x = 0; x < size.width(); ++x)
      image.setPixel(x, y, qRgb((x * 37 + seed) & 255, (y * 59 + seed) & 255, ((x + y) & 1) * 255));
  return image;
}

const double kRatio = std::atof(std::getenv("HALVANE_TEST_DPR") ? std::getenv("HALVANE_TEST_DPR") : "1");

class PreviewSurfaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    surface->onBoundsChanged = [this] { reports.push_back(surface->drawableSize()); };
    surface->resize(40, 30);
    surface->show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !reports.empty(); }, kHang));
    ASSERT_DOUBLE_EQ(surface->devicePixelRatioF(), kRatio) << "QT_SCALE_FACTOR did not take";
  }

  void resize(int width, int height) {
    surface->resize(width, height);
    QCoreApplication::processEvents();
  }

  // Presents from another thread, as the GPU's completion thread does, and waits for it.
  void present(const QImage& pixels) {
    FakeDrawable drawable(pixels);
    std::thread([&] { surface->frames()->present(drawable); }).join();
    ASSERT_TRUE(QTest::qWaitFor([&] { return surface->shownFrame().size() == pixels.size(); }, kHang));
  }

  QImage screenshot() { return surface->grab().toImage().convertToFormat(QImage::Format_RGB32); }

  std::shared_ptr<QtMainQueue> queue = std::make_shared<QtMainQueue>();
  std::unique_ptr<PreviewSurface> surface = std::make_unique<PreviewSurface>(queue);
  std::vector<QSize> reports;
};

TEST_F(PreviewSurfaceTest, TheDrawableIsTheSizeInDevicePixelsAndIsReportedOncePerChange) {
  const auto scaled = [](int width, int height) { return QSize(int(width * kRatio), int(height * kRatio)); };
  EXPECT_EQ(reports, std::vector<QSize>{scaled(40, 30)});
  // width, height, reported
  const std::tuple<int, int, bool> steps[] = {{40, 30, false}, {41, 30, true}, {41, 31, true}, {41, 31, false},
                                              {40, 30, true},  {1, 1, true},   {40, 30, true}};
  for (const auto& [width, height, reported] : steps) {
    const size_t before = reports.size();
    resize(width, height);
    EXPECT_EQ(surface->drawableSize(), scaled(width, height)) << width << "x" << height;
    EXPECT_EQ(reports.size(), before + (reported ? 1 : 0)) << width << "x" << height;
  }
  const size_t before = reports.size();
  surface->move(surface->pos() + QPoint(7, 5));
  QCoreApplication::processEvents();
  EXPECT_EQ(reports.size(), before) << "a move is no change of size";
}

TEST_F(PreviewSurfaceTest, FramesShowPixelForPixelTheLastStaysThroughAResizeAndOtherKindsAreDropped) {
  const QImage old = checker(surface->drawableSize(), 5);
  present(old);
  EXPECT_EQ(screenshot(), old);
  resize(60, 50);
  EXPECT_EQ(surface->shownFrame(), old);
  const QImage shot = screenshot();
  ASSERT_EQ(shot.size(), surface->drawableSize());
  const QPoint offset((shot.width() - old.width()) / 2, (shot.height() - old.height()) / 2);
  EXPECT_EQ(shot.copy(QRect(offset, old.size())), old);
  EXPECT_EQ(shot.pixel(0, 0) | shot.pixel(shot.width() - 1, shot.height() - 1), qRgb(0, 0, 0)) << "black around it";

  const QImage fresh = checker(surface->drawableSize(), 9);
  present(fresh);
  EXPECT_EQ(screenshot(), fresh);

  // Drawables of another kind are dropped and the frame stays.
  surface->frames()->present(FakeDrawable(checker({8, 8}, 2), gpu::StorageMode::privateStorage));
  surface->frames()->present(FakeDrawable(QImage(QSize(0, 0), QImage::Format_RGB32)));
  QCoreApplication::processEvents();
  EXPECT_EQ(surface->shownFrame(), fresh);
}

// The newest of the frames that came meanwhile is delivered alone; a delivery after the
// surface went finds nothing and does nothing.
TEST(FrameHandoff, DeliversOnlyTheNewestFrameAndOutlivesItsSurface) {
  auto queue = std::make_shared<dispatch::ManualMainQueue>();
  auto handoff = FrameHandoff::create(queue);
  std::vector<QImage> delivered;
  handoff->onFrame = [&](const QImage& frame) { delivered.push_back(frame); };
  std::thread([&] {
    for (int seed = 0; seed < 3; ++seed) handoff->present(FakeDrawable(checker({4, 2}, seed)));
  }).join();
  queue->runUntilIdle();
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_EQ(delivered[0], checker({4, 2}, 2));

  auto surface = std::make_unique<PreviewSurface>(queue);
  const auto surfaceFrames = surface->frames();
  surfaceFrames->present(FakeDrawable(checker({4, 4}, 1)));
  surface.reset();
  EXPECT_EQ(queue->runUntilIdle(), 1u);
}

}  // namespace
}  // namespace platform::qt
