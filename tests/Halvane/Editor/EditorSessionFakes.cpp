#include "EditorSessionFakes.h"

#include <cstdlib>
#include <fstream>

namespace halvane::editor_test {

using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;

std::shared_ptr<AppContainer> EditorSessionTest::container;

platform::media::Image makeImage(int width, int height, platform::media::ImageOrientation orientation) {
  platform::media::Image image;
  image.width = width;
  image.height = height;
  image.pixels.assign(size_t(width) * height * 4, 255);
  image.orientation = orientation;
  return image;
}

EditState withExposure(float exposure) {
  EditState state;
  state.exposure = exposure;
  return state;
}

void EditorSessionTest::SetUpTestSuite() {
  RenderingEngineOptions options;
  options.device.preferredDevice = "cpu";
  container = AppContainer::create(HalvaneConfig{}, options);
}

void EditorSessionTest::TearDownTestSuite() { container.reset(); }

void EditorSessionTest::SetUp() {
  queue = std::make_shared<ManualMainQueue>();
  MainQueue::setShared(queue);
  platform::dispatch::setDisplayLinkFactory(links.factory());
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  tempFolder = std::filesystem::temp_directory_path() /
               (std::string("editor-session-") + info->test_suite_name() + "-" + info->name());
  std::filesystem::remove_all(tempFolder);
  std::filesystem::create_directories(tempFolder);
  setenv("TMPDIR", tempFolder.c_str(), 1);

  auto view = [](bool hidden) {
    auto made = std::make_shared<Fake<FadingView>>();
    made->hidden = hidden;
    return made;
  };
  topBar = view(false);
  undoRedoBar = std::make_shared<FakeUndoRedo>();
  undoRedoBar->hidden = false;
  toolStrip = std::make_shared<FakeToolStrip>();
  toolStrip->hidden = false;
  filterSliderBar = view(true);
  adjustSliderBar = view(true);
  adjustPresetRow = view(true);
  focusControls = view(true);
  focusOverlay = view(true);
  cropOverlay = view(true);
  for (MediaTool tool : kAllMediaTools) panels[size_t(tool)] = std::make_shared<FakePanel>(tool);
}

void EditorSessionTest::TearDown() {
  const auto folder = tempFolder;
  unsetenv("TMPDIR");
  std::filesystem::remove_all(folder);
  platform::dispatch::setDisplayLinkFactory(nullptr);
  container->renderingEngine->stopDisplayLink();
  container->setConfiguration(HalvaneConfig{});
  queue->runUntilIdle();
  MainQueue::setShared(nullptr);
}

std::shared_ptr<EditorSession> EditorSessionTest::open(MediaContent content, HalvaneConfig config) {
  container->setConfiguration(std::move(config));
  EditorViews views{topBar,          undoRedoBar,     toolStrip,     {},           adjustSlider,  filterSliderBar,
                    adjustSliderBar, adjustPresetRow, focusControls, focusOverlay, cropOverlay};
  for (size_t i = 0; i < panels.size(); ++i) views.panels[i] = panels[i];
  views.panels[size_t(MediaTool::adjust)] = adjustPanel;
  auto session = EditorSession::create(std::move(content), container, views, screen,
                                       realServices ? EditorServices{} : EditorServices{photoExport, videoLoader});
  session->setDelegate(delegate);
  session->viewDidLoad();
  return session;
}

std::shared_ptr<EditorSession> EditorSessionTest::openVideo(std::filesystem::path url, HalvaneConfig config) {
  return open(std::move(url), std::move(config));
}

void EditorSessionTest::commit(EditorSession& session, const EditState& state, MediaTool tool) {
  session.enterTool(tool);
  session.setWorkingState(state);
  panel(tool).onConfirm();
}

std::filesystem::path EditorSessionTest::makeTempFile(const std::string& name) {
  const auto path = makeTemporaryDirectory() / name;  // the application's own folder
  std::ofstream(path) << "x";
  return path;
}

}  // namespace halvane::editor_test
