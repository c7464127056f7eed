#pragma once
// Recording fakes of the session's views, screen, services and host, and a fixture
// that builds a session on them over one shared engine (lavapipe) and a hand-pumped
// main queue.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "Halvane/Editor/EditorSession.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Support/TestFiles.h"

namespace halvane::editor_test {

template <typename Base>
struct Fake : Base {
  using Base::Base;
  void setHidden(bool value) override { hidden = value; }
  bool isHidden() const override { return hidden; }
  void setAlpha(double value) override { alpha = value; }
  bool hidden = true;
  double alpha = 1;
};

struct FakeAdjustPanel final : Fake<AdjustPanel> {
  void selectTool(std::optional<AdjustTool> tool) override { selected = tool; }
  void updateModifiedDots(const EditState& state) override { dotsFrom = state; }
  std::optional<AdjustTool> selected;
  std::optional<EditState> dotsFrom;
};

// The slider as the widget behaves: ends clamp a programmatic value.
struct FakeAdjustSlider final : AdjustSliderView {
  void configure(float min, float max, float defaultValue) override { range = {min, max, defaultValue}; }
  void setValue(float v) override { value_ = std::clamp(v, range[0], range[1]); }
  float value() const override { return value_; }
  void setLabelFormatter(std::function<std::string(float)> formatter) override { label = std::move(formatter); }
  // The user drags the ruler to `v`.
  void drag(float v) {
    setValue(v);
    onValueChanged();
  }
  std::array<float, 3> range{-1, 1, 0};
  float value_ = 0;
  std::function<std::string(float)> label;
};

struct FakeToolStrip final : Fake<ToolStripView> {
  void setInteractive(bool value) override { interactive = value; }
  void setSelectedTool(std::optional<MediaTool> tool) override { selected = tool; }
  void setContentIsVideo(bool value) override { isVideo = value; }
  bool interactive = true;
  std::optional<MediaTool> selected;
  std::optional<bool> isVideo;
};

struct FakeUndoRedo final : Fake<UndoRedoView> {
  void setUndoEnabled(bool value) override { undoEnabled = value; }
  void setRedoEnabled(bool value) override { redoEnabled = value; }
  bool undoEnabled = false, redoEnabled = false;
};

struct FakeTransition final : ToolTransition {
  bool isRunning() const override { return running; }
  void stopAtCurrentPosition() override { end(false); }
  void end(bool atEnd) {
    if (std::exchange(running, false)) completion(atEnd);
  }
  bool running = true;
  std::function<void(bool)> completion;
};

struct FakeProgress final : ExportProgressView {
  void setProgress(float fraction) override { progress.push_back(fraction); }
  void fadeOut(std::function<void()> whenGone) override { whenGone(); }
  std::vector<float> progress;
};

struct FakeScreen final : EditorScreen {
  bool hasWindow() const override { return window; }
  void layoutIfNeeded() override {}
  std::shared_ptr<ToolTransition> startTransition(SpringTiming, std::function<void()> changes,
                                                  std::function<void(bool)> completion) override {
    changes();  // the values animated to
    transitions.push_back(std::make_shared<FakeTransition>());
    transitions.back()->completion = std::move(completion);
    return transitions.back();
  }
  void tiePreviewBottom(std::optional<MediaTool> panel) override { previewBottom = panel; }
  std::shared_ptr<PreviewView> makePreviewView() override { return std::make_shared<PreviewView>(); }
  void updateFraming(bool) override {}
  bool isFillAnimationRunning() const override { return false; }
  void stopFillAnimation() override {}
  void clearCropLockedRatio() override {}
  void purgeFilterThumbnails() override { ++purges; }
  void presentAlert(const EditorAlert& alert, std::function<void()> onButton) override {
    alerts.push_back(alert);
    alertButtons.push_back(std::move(onButton));
  }
  void presentShareSheet(ShareItem item, std::function<void()> completion) override {
    shared.push_back(std::move(item));
    shareCompletions.push_back(std::move(completion));
  }
  std::shared_ptr<ExportProgressView> showExportProgress(bool indeterminate) override {
    progressIndeterminate = indeterminate;
    return progressViews.emplace_back(std::make_shared<FakeProgress>());
  }
  void dismiss(bool) override { ++dismissals; }
  bool isBeingDismissed() const override { return dismissals > 0; }

  bool window = false, progressIndeterminate = false;
  int purges = 0, dismissals = 0;
  std::optional<MediaTool> previewBottom;
  std::vector<std::shared_ptr<FakeTransition>> transitions;
  std::vector<EditorAlert> alerts;
  std::vector<std::function<void()>> alertButtons, shareCompletions;
  std::vector<ShareItem> shared;
  std::vector<std::shared_ptr<FakeProgress>> progressViews;
};

struct FakePhotoExport final : PhotoExportService {
  void render(std::shared_ptr<platform::gpu::Texture>, EditState state, std::vector<std::uint8_t>,
              std::function<void(std::optional<platform::media::Image>)> completion) override {
    renderedStates.push_back(state);
    renders.push_back(std::move(completion));
  }
  void writeJPEG(platform::media::Image, PhotoExportPreset,
                 std::function<void(std::optional<std::filesystem::path>)> completion) override {
    writes.push_back(std::move(completion));
  }
  std::vector<EditState> renderedStates;
  std::vector<std::function<void(std::optional<platform::media::Image>)>> renders;
  std::vector<std::function<void(std::optional<std::filesystem::path>)>> writes;
};

struct FakeVideo final : EditorVideo {
  std::shared_ptr<VideoRenderer> renderer() const override { return nullptr; }
  bool trackPropertiesLoaded() const override { return loaded; }
  bool hasAsset() const override { return true; }
  void showPreviewState(const EditState& state) override { shown = state; }
  void setPreviewNeedsDisplay() override {}
  void setVolume(float value) override { volume = value; }
  float rate() const override { return playing ? 1.0f : 0.0f; }
  void play() override { playing = true; }
  void pause() override { playing = false; }
  void removeTrimBoundaryObserver() override {}
  void stopPlayback() override { ++stops; }
  void exportVideo(std::string url, const EditState&, VideoExportPreset, std::function<void(float)> progress,
                   std::function<void(VideoExportResult)> completion) override {
    exportURLs.push_back(url);
    progresses.push_back(std::move(progress));
    completions.push_back(std::move(completion));
  }
  void cancelExport() override { ++cancels; }

  bool loaded = false, playing = false;
  float volume = -1;
  int stops = 0, cancels = 0;
  EditState shown;
  std::vector<std::string> exportURLs;
  std::vector<std::function<void(float)>> progresses;
  std::vector<std::function<void(VideoExportResult)>> completions;
};

struct FakeVideoLoader final : EditorVideoLoader {
  void loadVideoAsset(const std::filesystem::path& url,
                      std::function<void(std::shared_ptr<platform::media::Asset>)> completion) override {
    completion(hasVideoTrack ? platform::media::Asset::make(url.string()) : nullptr);
  }
  std::shared_ptr<EditorVideo> startVideo(std::shared_ptr<platform::media::Asset>,
                                          std::shared_ptr<PreviewView>) override {
    video->playing = true;
    return video;
  }
  bool hasVideoTrack = true;
  std::shared_ptr<FakeVideo> video = std::make_shared<FakeVideo>();
};

struct FakeDelegate final : MediaViewControllerDelegate {
  void mediaViewControllerDidFinish(EditorSession&, const HalvaneExportResult& result) override {
    results.push_back(result);
    call("finish", true);
  }
  void mediaViewControllerDidCancel(EditorSession&) override { call("cancel", true); }
  void mediaViewControllerWillBeginExport(EditorSession&) override { call("willBegin"); }
  void mediaViewControllerDidFail(EditorSession&, const EditorError& error) override {
    call("fail");
    errors.push_back(error);
  }
  void mediaViewControllerDidOpenTool(EditorSession& session, MediaTool tool) override {
    call("open " + std::string(mediaToolInfo(tool).rawValue));
    toolWasActiveAtOpen = session.isToolActive();
  }
  void mediaViewControllerDidCloseTool(EditorSession&, MediaTool tool, bool applied) override {
    call("close " + std::string(mediaToolInfo(tool).rawValue) + (applied ? " applied" : ""), true);
  }
  void call(std::string name, bool finishOrClose = false) {
    calls.push_back(std::move(name));
    if (finishOrClose && onFinishOrClose) onFinishOrClose();
  }
  // A host that lets go of the session from inside these calls.
  std::function<void()> onFinishOrClose;
  std::vector<std::string> calls;
  std::vector<HalvaneExportResult> results;
  std::vector<EditorError> errors;
  bool toolWasActiveAtOpen = false;
};

// A plain opaque picture of the given size and orientation ({} is up).
inline platform::media::Image makeImage(int width, int height, platform::media::ImageOrientation orientation = {}) {
  return {width, height, std::vector<std::uint8_t>(size_t(width) * height * 4, 255), orientation, {}};
}

inline EditState withExposure(float exposure) {
  EditState state;
  state.exposure = exposure;
  return state;
}

inline HalvaneConfig withPhotoPreset(PhotoExportPreset preset) {
  HalvaneConfig config;
  config.photoExportPreset = preset;
  return config;
}

class EditorSessionTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { container = makeContainer(); }
  static void TearDownTestSuite() { container.reset(); }
  void SetUp() override {
    platform::dispatch::MainQueue::setShared(queue);
    platform::dispatch::setDisplayLinkFactory(links.factory());
    // A fresh folder per test (and per repeat) inside the process's own, which goes at exit.
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    tempFolder = std::filesystem::path(testsupport::temporaryFolder()) / info->test_suite_name() / info->name();
    std::filesystem::remove_all(tempFolder);
    std::filesystem::create_directories(tempFolder);
    setenv("TMPDIR", tempFolder.c_str(), 1);
    for (MediaTool tool : kAllMediaTools) panels[size_t(tool)] = std::make_shared<Fake<ToolPanel>>(tool);
    topBar->hidden = undoRedoBar->hidden = toolStrip->hidden = false;  // the idle screen's bars
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    platform::dispatch::setDisplayLinkFactory(nullptr);
    container->renderingEngine->stopDisplayLink();
    container->setConfiguration(HalvaneConfig{});
    queue->runUntilIdle();
    platform::dispatch::MainQueue::setShared(nullptr);
  }

  // A loaded session on `content`; the configuration is set first.
  std::shared_ptr<EditorSession> open(MediaContent content, const HalvaneConfig& config = {}) {
    container->setConfiguration(config);
    EditorViews views{topBar,          undoRedoBar,     toolStrip,     {},           adjustSlider, filterSliderBar,
                      adjustSliderBar, adjustPresetRow, focusControls, focusOverlay, cropOverlay};
    std::copy(panels.begin(), panels.end(), views.panels.begin());
    views.panels[size_t(MediaTool::adjust)] = adjustPanel;
    auto session = EditorSession::create(std::move(content), container, views, screen,
                                         realServices ? EditorServices{} : EditorServices{photoExport, videoLoader});
    session->setDelegate(delegate);
    session->viewDidLoad();
    return session;
  }
  auto openPhoto(const HalvaneConfig& config = {}) { return open(makeImage(8, 6), config); }
  auto openVideo(const std::filesystem::path& url, const HalvaneConfig& config = {}) { return open(url, config); }
  // A confirmed tool session that commits `state`.
  void commit(EditorSession& session, const EditState& state, MediaTool tool = MediaTool::adjust) {
    session.enterTool(tool);
    session.setWorkingState(state);
    panel(tool).onConfirm();
  }
  // `session` with an edit committed, then shared, with its host or none.
  std::shared_ptr<EditorSession> shareEdited(std::shared_ptr<EditorSession> session, bool host = true) {
    if (!host) session->setDelegate({});
    commit(*session, withExposure(0.5f));
    session->shareTapped();
    return session;
  }
  const EditState& previewState() const { return container->renderingEngine->previewState(); }
  ToolPanel& panel(MediaTool tool) {
    return tool == MediaTool::adjust ? *adjustPanel : static_cast<ToolPanel&>(*panels[size_t(tool)]);
  }
  bool panelHidden(MediaTool tool) { return panel(tool).isHidden(); }
  double panelAlpha(MediaTool tool) {
    return tool == MediaTool::adjust ? adjustPanel->alpha : panels[size_t(tool)]->alpha;
  }
  // A file in the application's own temporary folder.
  std::filesystem::path makeTempFile(const std::string& name) {
    const auto path = makeTemporaryDirectory() / name;
    std::ofstream(path) << "x";
    return path;
  }

  // Open sessions on the engine's own services instead of the fakes.
  bool realServices = false;
  // A container whose engine runs on the CPU device (lavapipe).
  static std::shared_ptr<AppContainer> makeContainer() {
    RenderingEngineOptions options;
    options.device.preferredDevice = "cpu";
    return AppContainer::create({}, options);
  }
  static inline std::shared_ptr<AppContainer> container;
  std::shared_ptr<platform::dispatch::ManualMainQueue> queue = std::make_shared<platform::dispatch::ManualMainQueue>();
  platform::dispatch::ManualDisplayLinkFactory links;
  std::filesystem::path tempFolder;
  std::shared_ptr<FakeScreen> screen = std::make_shared<FakeScreen>();
  std::shared_ptr<FakePhotoExport> photoExport = std::make_shared<FakePhotoExport>();
  std::shared_ptr<FakeVideoLoader> videoLoader = std::make_shared<FakeVideoLoader>();
  std::shared_ptr<FakeDelegate> delegate = std::make_shared<FakeDelegate>();
  static std::shared_ptr<Fake<FadingView>> bar() { return std::make_shared<Fake<FadingView>>(); }
  std::shared_ptr<Fake<FadingView>> topBar = bar(), filterSliderBar = bar(), adjustSliderBar = bar(),
                                    adjustPresetRow = bar(), focusControls = bar(), focusOverlay = bar(),
                                    cropOverlay = bar();
  std::shared_ptr<FakeUndoRedo> undoRedoBar = std::make_shared<FakeUndoRedo>();
  std::shared_ptr<FakeToolStrip> toolStrip = std::make_shared<FakeToolStrip>();
  std::array<std::shared_ptr<Fake<ToolPanel>>, 6> panels;
  std::shared_ptr<FakeAdjustPanel> adjustPanel = std::make_shared<FakeAdjustPanel>();
  std::shared_ptr<FakeAdjustSlider> adjustSlider = std::make_shared<FakeAdjustSlider>();
};

}  // namespace halvane::editor_test
