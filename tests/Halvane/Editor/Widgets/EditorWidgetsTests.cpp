// The editor screen around a real session on a real engine (lavapipe), offscreen: the
// tool frames and bars as the session moves them, at once without a window and on the
// spring with one, an interrupted transition, the keyboard's guards, the load alert
// that ends the screen, and the system's memory warning.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QTimer>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "Halvane/Editor/Widgets/EditorTransitions.h"
#include "Halvane/Editor/Widgets/MediaViewController.h"
#include "Halvane/Editor/Widgets/ShareSheet.h"
#include "Halvane/Editor/Widgets/ToolFrameView.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/AdjustSliderBar.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/RoundButton.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Dispatch/SystemNotifications.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Support/TestFiles.h"

namespace halvane::editor {
namespace {

// The application, its main queue and display links, and one engine for every test.
class EditorEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    application = std::make_unique<QApplication>(argc_, argv_);
    mainQueue = std::make_shared<platform::qt::QtMainQueue>();
    platform::dispatch::MainQueue::setShared(mainQueue);
    links = platform::qt::QtDisplayLinkDriver::create([] { return 60.0; });
    platform::dispatch::setDisplayLinkFactory(links->factory());
    container = AppContainer::create({});
  }
  void TearDown() override {
    container.reset();
    platform::dispatch::setDisplayLinkFactory(nullptr);
    links.reset();
    platform::dispatch::MainQueue::setShared(nullptr);
    mainQueue.reset();
    application.reset();
  }

  static inline std::unique_ptr<QApplication> application;
  static inline std::shared_ptr<platform::qt::QtMainQueue> mainQueue;
  static inline std::shared_ptr<platform::qt::QtDisplayLinkDriver> links;
  static inline std::shared_ptr<AppContainer> container;

 private:
  int argc_ = 1;
  char name_[32] = "EditorWidgetsTests";
  char* argv_[2] = {name_, nullptr};
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new EditorEnvironment);

bool runEventsUntil(const std::function<bool()>& done, int limitMs = 30'000) {
  QElapsedTimer clock;
  clock.start();
  QTimer wake;
  wake.start(20);
  while (!done()) {
    if (clock.elapsed() > limitMs) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

void runFor(int milliseconds) {
  QElapsedTimer clock;
  clock.start();
  runEventsUntil([&] { return clock.elapsed() >= milliseconds; });
}

class MediaViewControllerTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 430;
  static constexpr int kHeight = 860;
  static constexpr int kIdleInset = panels::ToolStripView::kHeight + MediaViewController::kBarGap +
                                    panels::UndoRedoBar::kHeight + MediaViewController::kBarGap;

  void open(MediaContent content) {
    editor =
        std::make_unique<MediaViewController>(std::move(content), EditorEnvironment::container,
                                              MediaViewOptions{EditorEnvironment::mainQueue, nullptr, "hopper.png"});
    editor->resize(kWidth, kHeight);
    editor->onDismissed = [this] { dismissed = true; };
  }
  void openPhoto() {
    auto photo = platform::media::decodeImageFile(testsupport::sample("photo/hopper.png"));
    ASSERT_TRUE(photo) << photo.error().message;
    open(std::move(photo.value()));
  }
  void tap(MediaTool tool) { editor->toolStrip()->toolButton(tool)->click(); }
  int previewBottom() const { return editor->previewContainer()->geometry().bottom() + 1; }
  // A confirmed edit through the adjust panel: Exposure chosen, its slider moved.
  EditState edit() {
    tap(MediaTool::adjust);
    editor->adjustPanel()->toolButton(AdjustTool::exposure)->click();
    EXPECT_FALSE(editor->adjustSliderBar()->isHidden());
    editor->adjustSliderBar()->slider()->ruler().userSet(0.5f);
    const EditState edited = editor->session()->workingState();
    EXPECT_EQ(edited.exposure, 0.5f);
    editor->confirmOpenTool();
    return edited;
  }
  ShareSheet* openSheet() const {
    for (auto* widget : QApplication::topLevelWidgets()) {
      if (auto* sheet = dynamic_cast<ShareSheet*>(widget); sheet && sheet->isVisible()) return sheet;
    }
    return nullptr;
  }
  bool barsShown() const {
    return !editor->topBar()->isHidden() && !editor->undoRedoBar()->isHidden() && !editor->toolStrip()->isHidden();
  }

  void TearDown() override {
    editor.reset();
    // Let go of what the session posted.
    QCoreApplication::processEvents();
  }

  std::unique_ptr<MediaViewController> editor;
  bool dismissed = false;
};

TEST_F(MediaViewControllerTest, WithoutAWindowToolsOpenAndCloseAtOnce) {
  openPhoto();
  for (MediaTool tool : {MediaTool::transform, MediaTool::filter, MediaTool::adjust, MediaTool::focus}) {
    SCOPED_TRACE(mediaToolInfo(tool).rawValue.data());
    tap(tool);
    EXPECT_FALSE(editor->toolPanel(tool)->isHidden());
    EXPECT_FALSE(barsShown());
    EXPECT_EQ(previewBottom(), kHeight - int(toolPanelHeight(tool)));
    EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->toolPanel(tool)), 1.0);
    // A second tool while one is open changes nothing.
    tap(tool == MediaTool::focus ? MediaTool::transform : MediaTool::focus);
    EXPECT_EQ(editor->session()->activeTool(), tool);

    editor->cancelOpenTool();
    EXPECT_TRUE(editor->toolPanel(tool)->isHidden());
    EXPECT_TRUE(barsShown());
    EXPECT_EQ(previewBottom(), kHeight - kIdleInset);
    EXPECT_EQ(editor->toolStrip()->selectedTool(), std::nullopt);
  }
  // Trim and audio are a video's: a photo's strip does not offer them.
  EXPECT_TRUE(editor->toolStrip()->toolButton(MediaTool::trim)->isHidden());
}

TEST_F(MediaViewControllerTest, WithAWindowTheEnterTransitionRunsOnTheSpring) {
  openPhoto();
  editor->show();
  ASSERT_TRUE(runEventsUntil([&] { return editor->isVisible(); }));
  tap(MediaTool::adjust);
  QWidget* frame = editor->toolPanel(MediaTool::adjust);
  // Under way: the panel fades in over the bars, which go only at the end.
  EXPECT_LT(EditorTransitions::alpha(frame), 1.0);
  EXPECT_TRUE(barsShown());
  ASSERT_TRUE(runEventsUntil([&] { return editor->topBar()->isHidden(); }));
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(frame), 1.0);
  EXPECT_FALSE(barsShown());
  EXPECT_EQ(previewBottom(), kHeight - int(toolPanelHeight(MediaTool::adjust)));

  editor->confirmOpenTool();
  ASSERT_TRUE(runEventsUntil([&] { return frame->isHidden(); }));
  EXPECT_TRUE(barsShown());
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->topBar()), 1.0);
  EXPECT_EQ(previewBottom(), kHeight - kIdleInset);
  // Nothing changed: no undo step.
  EXPECT_FALSE(editor->undoRedoBar()->undoButton()->isEnabled());
}

TEST_F(MediaViewControllerTest, AnInterruptedEnterHidesNothing) {
  openPhoto();
  editor->show();
  ASSERT_TRUE(runEventsUntil([&] { return editor->isVisible(); }));
  tap(MediaTool::filter);
  runFor(100);
  editor->cancelOpenTool();
  runFor(800);
  EXPECT_TRUE(barsShown());
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->toolStrip()), 1.0);
  EXPECT_TRUE(editor->toolPanel(MediaTool::filter)->isHidden());
  EXPECT_EQ(previewBottom(), kHeight - kIdleInset);
}

TEST_F(MediaViewControllerTest, KeysForTheHistoryWaitWhileAToolIsOpen) {
  openPhoto();
  auto& session = *editor->session();
  const EditState edited = edit();
  ASSERT_TRUE(editor->undoRedoBar()->undoButton()->isEnabled());

  tap(MediaTool::focus);
  editor->undoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), edited);
  editor->cancelOpenTool();
  editor->undoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), EditState{});
  EXPECT_TRUE(editor->undoRedoBar()->redoButton()->isEnabled());
  editor->redoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), edited);
  // Cancel and confirm keys do nothing without an open tool.
  editor->confirmOpenTool();
  EXPECT_EQ(session.editHistory().undoStack().size(), 1u);
}

TEST_F(MediaViewControllerTest, ALoadErrorShowsTheAlertWhoseButtonEndsTheScreen) {
  open(platform::media::Image{});
  editor->show();
  QMessageBox* alert = nullptr;
  ASSERT_TRUE(runEventsUntil([&] {
    for (auto* widget : QApplication::topLevelWidgets()) {
      if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible()) alert = box;
    }
    return alert != nullptr;
  }));
  EXPECT_EQ(alert->text(), "Unable to Open");
  EXPECT_EQ(alert->informativeText(), "This media could not be loaded. Please try a different file.");
  ASSERT_EQ(alert->buttons().size(), 1);
  EXPECT_EQ(alert->buttons().front()->text(), "OK");
  EXPECT_FALSE(dismissed);
  alert->buttons().front()->click();
  EXPECT_TRUE(runEventsUntil([&] { return dismissed; }));
  EXPECT_TRUE(editor->isBeingDismissed());
}

struct CountingHost final : MediaViewControllerDelegate {
  void mediaViewControllerDidFinish(EditorSession&, const HalvaneExportResult&) override { ++finished; }
  void mediaViewControllerDidCancel(EditorSession&) override { ++cancelled; }
  int finished = 0;
  int cancelled = 0;
};

TEST_F(MediaViewControllerTest, ClosingTheWindowEndsTheSessionOnceAsTheCloseButtonDoes) {
  openPhoto();
  auto host = std::make_shared<CountingHost>();
  editor->setDelegate(host);
  editor->show();
  ASSERT_TRUE(runEventsUntil([&] { return editor->isVisible(); }));
  editor->close();
  EXPECT_TRUE(editor->isBeingDismissed());
  EXPECT_FALSE(editor->isVisible());
  ASSERT_TRUE(runEventsUntil([&] { return dismissed; }));
  editor->closeEditor();
  EXPECT_EQ(host->cancelled, 1);
  EXPECT_EQ(host->finished, 0);
}

std::string probe(const std::string& path) {
  std::string output;
  if (FILE* pipe = popen(("ffprobe -v error -select_streams v:0 -show_entries stream=codec_name:format=format_name "
                          "-of csv=p=0 '" +
                          path + "'")
                             .c_str(),
                         "r")) {
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe)) output += buffer;
    pclose(pipe);
  }
  return output;
}

TEST_F(MediaViewControllerTest, AnEditedPhotoGoesThroughTheCardToTheShareSheet) {
  openPhoto();
  const int width = std::get<platform::media::Image>(editor->session()->content()).width;
  edit();
  editor->show();
  ASSERT_TRUE(runEventsUntil([&] { return editor->isVisible(); }));
  editor->shareFromKeyboard();
  auto* card = editor->findChild<panels::ExportProgressView*>();
  ASSERT_NE(card, nullptr);
  EXPECT_TRUE(card->isIndeterminate());
  ShareSheet* sheet = nullptr;
  ASSERT_TRUE(runEventsUntil([&] { return (sheet = openSheet()) != nullptr; }));
  EXPECT_EQ(editor->findChild<panels::ExportProgressView*>(), nullptr);
  // A second share while the sheet is open starts nothing.
  editor->shareFromKeyboard();
  EXPECT_EQ(editor->findChild<panels::ExportProgressView*>(), nullptr);

  const std::string saved = testsupport::temporaryFolder() + "/edited-photo.jpg";
  ASSERT_TRUE(sheet->saveTo(QString::fromStdString(saved)));
  auto decoded = platform::media::decodeImageFile(saved);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().width, width);
  sheet->reject();
  EXPECT_FALSE(editor->session()->isExporting());
}

TEST_F(MediaViewControllerTest, AnEditedVideoExportsWithProgressAsAQuickTimeMovieWithHevc) {
  open(std::filesystem::path(testsupport::sample("video/ios9.mov")));
  editor->show();
  ASSERT_TRUE(runEventsUntil([&] { return editor->session()->videoRenderer() != nullptr; }));
  // Playback paused: on the CPU device the export then has the machine to itself.
  editor->session()->videoRenderer()->pause();
  edit();
  editor->shareFromKeyboard();
  auto* card = editor->findChild<panels::ExportProgressView*>();
  ASSERT_NE(card, nullptr);
  EXPECT_FALSE(card->isIndeterminate());
  ShareSheet* sheet = nullptr;
  ASSERT_TRUE(runEventsUntil([&] { return (sheet = openSheet()) != nullptr; }, 120'000));

  const std::string saved = testsupport::temporaryFolder() + "/edited-video.mov";
  ASSERT_TRUE(sheet->saveTo(QString::fromStdString(saved)));
  const std::string streams = probe(saved);
  EXPECT_EQ(streams.rfind("hevc\n", 0), 0u) << streams;
  EXPECT_NE(streams.find("mov,"), std::string::npos) << streams;
  sheet->reject();
  EXPECT_FALSE(editor->session()->isExporting());
}

TEST_F(MediaViewControllerTest, AMemoryWarningFromAnyThreadReachesTheSessionOnTheMainQueue) {
  openPhoto();
  ASSERT_TRUE(editor->session()->sourceCGImage());
  std::thread([] {
    platform::dispatch::NotificationCenter::defaultCenter().post(platform::dispatch::kMemoryWarningNotification);
  }).join();
  EXPECT_TRUE(editor->session()->sourceCGImage()) << "not before the main queue runs";
  EXPECT_TRUE(runEventsUntil([&] { return !editor->session()->sourceCGImage(); }));
  editor.reset();
  platform::dispatch::NotificationCenter::defaultCenter().post(platform::dispatch::kMemoryWarningNotification);
  QCoreApplication::processEvents();
}

}  // namespace
}  // namespace halvane::editor
