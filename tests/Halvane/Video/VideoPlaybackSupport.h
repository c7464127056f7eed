#pragma once
// A VideoRenderer on the CPU device, driven by hand: a manual main queue, manual display
// links, and a player clock the test sets. Presented frames are counted and the last
// one kept.
#include <atomic>
#include <memory>
#include <mutex>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Media/BackgroundTask.h"
#include "Support/TestClips.h"

namespace halvane::testing {

class RecordingPresenter final : public FramePresenter {
 public:
  void present(const std::shared_ptr<platform::gpu::Texture>& drawable) override;
  int count() const;
  platform::media::PixelBuffer lastFrame() const;

 private:
  mutable std::mutex lock_;
  int count_ = 0;
  platform::media::PixelBuffer last_;
};

class VideoRendererTest : public EngineTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // One refresh of every link at the present clock.
  std::size_t tick();
  // Returns once every command buffer committed so far has completed and its handlers
  // (presentation included) have run: handlers run in commit order.
  void settleGpu();
  // Loads the clip and ticks until its first frame is shown; the first source texture.
  std::shared_ptr<platform::gpu::Texture> showFirstFrame(const std::string& path);
  // Runs the main queue until the export's completion came.
  std::optional<VideoExportResult> runExport(const std::string& source, const std::string& output,
                                             const EditState& state, VideoExportPreset preset,
                                             std::vector<float>* progress = nullptr);
  platform::media::PixelBuffer readBackFrame(const std::shared_ptr<platform::gpu::Texture>& texture);

  std::shared_ptr<platform::dispatch::ManualMainQueue> queue;
  platform::dispatch::ManualDisplayLinkFactory links;
  std::shared_ptr<std::atomic<double>> clock = std::make_shared<std::atomic<double>>(100.0);
  std::shared_ptr<platform::media::ManualBackgroundTaskService> backgroundTasks =
      std::make_shared<platform::media::ManualBackgroundTaskService>();
  std::shared_ptr<VideoRenderer> renderer;
  std::shared_ptr<PreviewView> view;
  std::shared_ptr<RecordingPresenter> presenter = std::make_shared<RecordingPresenter>();
};

}  // namespace halvane::testing
