#include "VideoPlaybackSupport.h"

#include <cstring>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AudioSink.h"

namespace halvane::testing {

using platform::media::PixelBuffer;

void RecordingPresenter::present(const std::shared_ptr<platform::gpu::Texture>& drawable) {
  PixelBuffer frame = PixelBuffer::allocate(int(drawable->width()), int(drawable->height()));
  drawable->getBytes(frame.data(), frame.bytesPerRow(), {{0, 0}, drawable->width(), drawable->height()});
  std::lock_guard guard(lock_);
  ++count_;
  last_ = frame;
}

int RecordingPresenter::count() const {
  std::lock_guard guard(lock_);
  return count_;
}

PixelBuffer RecordingPresenter::lastFrame() const {
  std::lock_guard guard(lock_);
  return last_;
}

void VideoRendererTest::SetUp() {
  EngineTest::SetUp();
  queue = std::make_shared<platform::dispatch::ManualMainQueue>();
  platform::dispatch::MainQueue::setShared(queue);
  platform::dispatch::setDisplayLinkFactory(links.factory());
  VideoRendererOptions options;
  options.audioSink = std::make_shared<platform::media::SilentAudioSink>([clock = clock] { return clock->load(); });
  options.backgroundTasks = backgroundTasks;
  renderer = VideoRenderer::create(engine, options);
  view = std::make_shared<PreviewView>();
  view->configure(*engine);
  view->setDrawableSize({64, 64});
  view->setPresenter(presenter);
  renderer->setPreviewView(view);
  renderer->startDisplayLink();
}

void VideoRendererTest::TearDown() {
  renderer.reset();
  settleGpu();
  queue->runUntilIdle();
  platform::dispatch::setDisplayLinkFactory(nullptr);
  platform::dispatch::MainQueue::setShared(nullptr);
  EngineTest::TearDown();
}

std::size_t VideoRendererTest::tick() { return links.tickAll(clock->load()); }

void VideoRendererTest::settleGpu() {
  auto commandBuffer = engine->commandQueue()->commandBuffer();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
}

std::shared_ptr<platform::gpu::Texture> VideoRendererTest::showFirstFrame(const std::string& path) {
  std::shared_ptr<platform::gpu::Texture> first;
  renderer->loadAsset(platform::media::Asset::make(path));
  renderer->onFirstSourceTexture = [&first](const std::shared_ptr<platform::gpu::Texture>& texture) {
    first = texture;
  };
  const bool shown = testsupport::pumpUntil(*queue, [&] { return tick(), first != nullptr; });
  EXPECT_TRUE(shown) << "no frame of " << path;
  settleGpu();
  return first;
}

std::optional<VideoExportResult> VideoRendererTest::runExport(const std::string& source, const std::string& output,
                                                              const EditState& state, VideoExportPreset preset,
                                                              std::vector<float>* progress) {
  std::optional<VideoExportResult> result;
  renderer->setAsset(platform::media::Asset::make(source));
  renderer->exportVideo(
      output, state, preset, [progress](float value) { if (progress) progress->push_back(value); },
      [&result](VideoExportResult outcome) {
        EXPECT_FALSE(result) << "completion called twice";
        result = std::move(outcome);
      });
  EXPECT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }, std::chrono::minutes(3)));
  queue->runUntilIdle();  // progress calls still queued behind the completion
  return result;
}

PixelBuffer VideoRendererTest::readBackFrame(const std::shared_ptr<platform::gpu::Texture>& texture) {
  const auto image = readBack(*engine, texture);
  PixelBuffer frame = PixelBuffer::allocate(image.width, image.height);
  for (int y = 0; y < image.height; ++y)
    std::memcpy(frame.row(y), image.pixels.data() + std::size_t(y) * image.bytesPerRow(), std::size_t(image.width) * 4);
  return frame;
}

}  // namespace halvane::testing
