#pragma once
// A VideoRenderer on the CPU device, driven by hand: a manual main queue, manual display
// links, and a player clock the test sets; the views present to a RecordingPresenter.
#include <atomic>
#include <cstring>
#include <memory>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AudioSink.h"
#include "Platform/Media/BackgroundTask.h"
#include "Support/TestClips.h"

namespace halvane::testing {

using platform::media::PixelBuffer;

class VideoRendererTest : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    platform::dispatch::MainQueue::setShared(queue);
    platform::dispatch::setDisplayLinkFactory(links.factory());
    VideoRendererOptions options;
    options.audioSink = std::make_shared<platform::media::SilentAudioSink>([clock = clock] { return clock->load(); });
    options.backgroundTasks = backgroundTasks;
    renderer = VideoRenderer::create(engine, options);
    view->configure(*engine);
    view->setDrawableSize({64, 64});
    view->setPresenter(presenter);
    renderer->setPreviewView(view);
    renderer->startDisplayLink();
  }
  void TearDown() override {
    renderer.reset();
    settleGpu();
    queue->runUntilIdle();
    platform::dispatch::setDisplayLinkFactory(nullptr);
    platform::dispatch::MainQueue::setShared(nullptr);
    EngineTest::TearDown();
  }

  // One refresh of every link at the present clock.
  std::size_t tick() { return links.tickAll(clock->load()); }
  // Returns once every command buffer committed so far has completed and its handlers
  // (presentation included) have run: handlers run in commit order.
  void settleGpu() {
    auto commandBuffer = engine->commandQueue()->commandBuffer();
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
  }
  bool pumpUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    return testsupport::pumpUntil(*queue, done, limit);
  }
  // Loads the clip and ticks until its first frame is shown; the first source texture.
  std::shared_ptr<platform::gpu::Texture> showFirstFrame(const std::string& path) {
    std::shared_ptr<platform::gpu::Texture> first;
    renderer->loadAsset(platform::media::Asset::make(path));
    renderer->onFirstSourceTexture = [&first](const std::shared_ptr<platform::gpu::Texture>& texture) {
      first = texture;
    };
    EXPECT_TRUE(pumpUntil([&] { return tick(), first != nullptr; })) << "no frame of " << path;
    settleGpu();
    return first;
  }
  // Starts an export, whose completion lands in exportResult and progress in progress.
  void startExport(const std::string& source, const std::string& output, const EditState& state = {},
                   VideoExportPreset preset = VideoExportPreset::balanced) {
    exportResult.reset();
    progress.clear();
    renderer->setAsset(platform::media::Asset::make(source));
    renderer->exportVideo(
        output, state, preset, [this](float value) { progress.push_back(value); },
        [this](VideoExportResult outcome) {
          EXPECT_FALSE(exportResult) << "completion called twice";
          exportResult = std::move(outcome);
        });
  }
  // Runs the main queue until the export's completion came.
  std::optional<VideoExportResult> runExport(const std::string& source, const std::string& output,
                                             const EditState& state = {},
                                             VideoExportPreset preset = VideoExportPreset::balanced) {
    startExport(source, output, state, preset);
    EXPECT_TRUE(pumpUntil([&] { return exportResult.has_value(); }, std::chrono::minutes(3)));
    queue->runUntilIdle();  // progress calls still queued behind the completion
    return exportResult;
  }
  static std::string failureText(const std::optional<VideoExportResult>& result) {
    if (!result) return "(no result)";
    return result->hasValue() ? "(no failure)" : result->error().localizedDescription();
  }
  // The picture as a video frame, for the clips' measures.
  static PixelBuffer asPixelBuffer(const Image& image) {
    PixelBuffer frame = PixelBuffer::allocate(image.width, image.height);
    for (int y = 0; y < image.height; ++y)
      std::memcpy(frame.row(y), image.pixels.data() + y * image.bytesPerRow(), image.bytesPerRow());
    return frame;
  }
  PixelBuffer readBackFrame(const std::shared_ptr<platform::gpu::Texture>& texture) {
    return asPixelBuffer(readBack(*engine, texture));
  }

  std::shared_ptr<platform::dispatch::ManualMainQueue> queue = std::make_shared<platform::dispatch::ManualMainQueue>();
  platform::dispatch::ManualDisplayLinkFactory links;
  std::shared_ptr<std::atomic<double>> clock = std::make_shared<std::atomic<double>>(100.0);
  std::shared_ptr<platform::media::ManualBackgroundTaskService> backgroundTasks =
      std::make_shared<platform::media::ManualBackgroundTaskService>();
  std::shared_ptr<VideoRenderer> renderer;
  std::shared_ptr<PreviewView> view = std::make_shared<PreviewView>();
  std::shared_ptr<RecordingPresenter> presenter = std::make_shared<RecordingPresenter>();
  std::optional<VideoExportResult> exportResult;
  std::vector<float> progress;  // of the last export
};

}  // namespace halvane::testing
