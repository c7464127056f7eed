// The editor screen around a real session on a real engine (lavapipe), offscreen: the
// tool frames and bars as the session moves them, at once without a window and on the
// spring with one, an interrupted transition, the keyboard's guards, the close of the
// window, the share of an edited photo, and the system's memory warning. The desktop
// share sheet: the name it suggests, the all-or-nothing copy of a file, a picture saved
// as a JPEG of its size, and its single report when it closes.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <thread>

#include "Halvane/Editor/Widgets/EditorTransitions.h"
#include "Halvane/Editor/Widgets/MediaViewController.h"
#include "Halvane/Editor/Widgets/ShareSheet.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/AdjustSliderBar.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"
#include "Platform/Dispatch/SystemNotifications.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Support/QtApplicationEnvironment.h"
#include "Support/TestFiles.h"

namespace halvane::editor {
namespace {

const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QApplication>);

// Waits for what the event loop brings; the bound guards against a hang and measures nothing.
constexpr int kHang = 30'000;

class MediaViewControllerTest : public ::testing::Test {
 protected:
  // The main queue and display links, and one engine for every test.
  static void SetUpTestSuite() {
    mainQueue = std::make_shared<platform::qt::QtMainQueue>();
    platform::dispatch::MainQueue::setShared(mainQueue);
    links = platform::qt::QtDisplayLinkDriver::create([] { return 60.0; });
    platform::dispatch::setDisplayLinkFactory(links->factory());
    container = AppContainer::create({});
  }
  static void TearDownTestSuite() {
    container.reset();
    platform::dispatch::setDisplayLinkFactory(nullptr);
    links.reset();
    platform::dispatch::MainQueue::setShared(nullptr);
    mainQueue.reset();
  }
  static constexpr int kWidth = 430, kHeight = 860;
  static constexpr int kIdleInset = panels::ToolStripView::kHeight + MediaViewController::kBarGap +
                                    panels::UndoRedoBar::kHeight + MediaViewController::kBarGap;

  void open(MediaContent content) {
    editor = std::make_unique<MediaViewController>(std::move(content), container,
                                                   MediaViewOptions{mainQueue, nullptr, "hopper.png"});
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
  void show() {
    editor->show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return editor->isVisible(); }, kHang));
  }
  ShareSheet* openSheet() const {
    for (auto* widget : QApplication::topLevelWidgets())
      if (auto* sheet = dynamic_cast<ShareSheet*>(widget); sheet && sheet->isVisible()) return sheet;
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

  static inline std::shared_ptr<platform::qt::QtMainQueue> mainQueue;
  static inline std::shared_ptr<platform::qt::QtDisplayLinkDriver> links;
  static inline std::shared_ptr<AppContainer> container;
  std::unique_ptr<MediaViewController> editor;
  bool dismissed = false;
};

TEST_F(MediaViewControllerTest, WithoutAWindowToolsOpenAndCloseAtOnce) {
  openPhoto();
  for (MediaTool tool : {MediaTool::transform, MediaTool::filter, MediaTool::adjust, MediaTool::focus}) {
    SCOPED_TRACE(mediaToolInfo(tool).rawValue.data());
    tap(tool);
    EXPECT_FALSE(editor->toolPanel(tool)->isHidden() || barsShown());
    EXPECT_EQ(previewBottom(), kHeight - int(toolPanelHeight(tool)));
    EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->toolPanel(tool)), 1.0);
    // A second tool while one is open changes nothing.
    tap(tool == MediaTool::focus ? MediaTool::transform : MediaTool::focus);
    EXPECT_EQ(editor->session()->activeTool(), tool);

    editor->cancelOpenTool();
    EXPECT_TRUE(editor->toolPanel(tool)->isHidden() && barsShown());
    EXPECT_EQ(previewBottom(), kHeight - kIdleInset);
    EXPECT_EQ(editor->toolStrip()->selectedTool(), std::nullopt);
  }
}

TEST_F(MediaViewControllerTest, WithAWindowTransitionsRunOnTheSpringAndAnInterruptedEnterHidesNothing) {
  openPhoto();
  show();
  tap(MediaTool::adjust);
  QWidget* frame = editor->toolPanel(MediaTool::adjust);
  // Under way: the panel fades in over the bars, which go only at the end.
  EXPECT_LT(EditorTransitions::alpha(frame), 1.0);
  EXPECT_TRUE(barsShown());
  ASSERT_TRUE(QTest::qWaitFor([&] { return editor->topBar()->isHidden(); }, kHang));
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(frame), 1.0);
  EXPECT_FALSE(barsShown());
  EXPECT_EQ(previewBottom(), kHeight - int(toolPanelHeight(MediaTool::adjust)));

  editor->confirmOpenTool();
  ASSERT_TRUE(QTest::qWaitFor([&] { return frame->isHidden(); }, kHang));
  EXPECT_TRUE(barsShown());
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->topBar()), 1.0);
  EXPECT_EQ(previewBottom(), kHeight - kIdleInset);

  // An interrupted enter hides nothing.
  tap(MediaTool::filter);
  QTest::qWait(100);
  editor->cancelOpenTool();
  QTest::qWait(800);
  EXPECT_TRUE(barsShown() && editor->toolPanel(MediaTool::filter)->isHidden());
  EXPECT_DOUBLE_EQ(EditorTransitions::alpha(editor->toolStrip()), 1.0);
  EXPECT_EQ(previewBottom(), kHeight - kIdleInset);
}

TEST_F(MediaViewControllerTest, KeysForTheHistoryWaitWhileAToolIsOpen) {
  openPhoto();
  auto& session = *editor->session();
  const EditState edited = edit();

  tap(MediaTool::focus);
  editor->undoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), edited);
  editor->cancelOpenTool();
  editor->undoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), EditState{});
  editor->redoFromKeyboard();
  EXPECT_EQ(session.editHistory().currentState(), edited);
  // Cancel and confirm keys do nothing without an open tool.
  editor->confirmOpenTool();
  EXPECT_EQ(session.editHistory().undoStack().size(), 1u);
}

struct CountingHost final : MediaViewControllerDelegate {
  void mediaViewControllerDidFinish(EditorSession&, const HalvaneExportResult&) override { ++finished; }
  void mediaViewControllerDidCancel(EditorSession&) override { ++cancelled; }
  int finished = 0, cancelled = 0;
};

TEST_F(MediaViewControllerTest, ClosingTheWindowEndsTheSessionOnceAsTheCloseButtonDoes) {
  openPhoto();
  auto host = std::make_shared<CountingHost>();
  editor->setDelegate(host);
  show();
  editor->close();
  EXPECT_TRUE(editor->isBeingDismissed() && !editor->isVisible());
  ASSERT_TRUE(QTest::qWaitFor([&] { return dismissed; }, kHang));
  editor->closeEditor();
  EXPECT_EQ(std::pair(host->cancelled, host->finished), std::pair(1, 0));
}

TEST_F(MediaViewControllerTest, AnEditedPhotoGoesThroughTheCardToTheShareSheet) {
  openPhoto();
  edit();
  show();
  editor->shareFromKeyboard();
  auto* card = editor->findChild<panels::ExportProgressView*>();
  ASSERT_NE(card, nullptr);
  EXPECT_TRUE(card->isIndeterminate());
  ShareSheet* sheet = nullptr;
  ASSERT_TRUE(QTest::qWaitFor([&] { return (sheet = openSheet()) != nullptr; }, kHang));
  EXPECT_EQ(editor->findChild<panels::ExportProgressView*>(), nullptr);
  // A second share while the sheet is open starts nothing.
  editor->shareFromKeyboard();
  EXPECT_EQ(editor->findChild<panels::ExportProgressView*>(), nullptr);
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
  EXPECT_TRUE(QTest::qWaitFor([&] { return !editor->session()->sourceCGImage(); }, kHang));
  editor.reset();
  platform::dispatch::NotificationCenter::defaultCenter().post(platform::dispatch::kMemoryWarningNotification);
  QCoreApplication::processEvents();
}

namespace fs = std::filesystem;

TEST(ShareOffer, SuggestsANameFromTheSource) {
  const std::pair<ShareOffer, std::string> cases[] = {
      {{platform::media::Image{}, "hopper.png", true}, "hopper-edited.jpg"},
      {{fs::path("/tmp/4F2A.mov"), "train.mov", false}, "train-edited.mov"},
      {{fs::path("/tmp/x.jpg"), "", true}, "photo-edited.jpg"},
      {{fs::path("/tmp/noextension"), "", false}, "video-edited.jpg"},
      {{fs::path("/tmp/a.mov"), "archive.tar.mov", false}, "archive.tar-edited.mov"},
  };
  for (const auto& [offer, expected] : cases) EXPECT_EQ(suggestedFileName(offer), expected) << offer.sourceName;
}

TEST(ShareOffer, CopiesAFileWholeOrNotAtAll) {
  const fs::path folder = fs::path(testsupport::temporaryFolder()) / "share-copy";
  fs::create_directories(folder);
  const fs::path source = folder / "source.mov", target = folder / "target.mov";
  std::ofstream(source) << "movie bytes";
  std::ofstream(target) << "an older file";

  EXPECT_TRUE(copyFileAtomically(source, target).hasValue());
  EXPECT_EQ(testsupport::fileContents(target), "movie bytes");
  EXPECT_FALSE(copyFileAtomically(source, source).hasValue());
  EXPECT_EQ(testsupport::fileContents(source), "movie bytes");
  EXPECT_FALSE(copyFileAtomically(source, folder / "missing" / "target.mov").hasValue());
  EXPECT_FALSE(copyFileAtomically(folder / "gone.mov", target).hasValue());
  EXPECT_EQ(testsupport::fileContents(target), "movie bytes");
  // Nothing half-written is left beside the targets.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
}

TEST(ShareSheet, SavesAPictureAsAJpegOfItsSizeAndReportsOnceWhenClosed) {
  auto photo = platform::media::decodeImageFile(testsupport::sample("photo/hopper.png"));
  ASSERT_TRUE(photo);
  const auto size = std::pair(photo.value().width, photo.value().height);
  int finished = 0;
  auto* sheet = ShareSheet::present({std::move(photo.value()), "hopper.png", true}, nullptr, [&] { ++finished; });
  const fs::path target = fs::path(testsupport::temporaryFolder()) / "saved.jpg";
  ASSERT_TRUE(sheet->saveTo(QString::fromStdString(target.string())));
  auto saved = platform::media::decodeImageFile(target);
  ASSERT_TRUE(saved) << saved.error().message;
  EXPECT_EQ(std::pair(saved.value().width, saved.value().height), size);
  // A folder that is not there: an error in the sheet, nothing written.
  EXPECT_FALSE(sheet->saveTo(QString::fromStdString((target.parent_path() / "missing" / "x.jpg").string())));

  EXPECT_EQ(finished, 0);
  sheet->reject();
  QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(finished, 1);
}

}  // namespace
}  // namespace halvane::editor
