// The chrome's widgets on the offscreen platform: event routing (taps, keys, drags,
// wheels, touches), the state tables they paint, and the progress card's life.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <QWindow>
#include <functional>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/IconButton.h"
#include "Halvane/Panels/Widgets/ProgressTrack.h"
#include "Halvane/Panels/Widgets/RoundButton.h"
#include "Halvane/Panels/Widgets/SpinnerView.h"
#include "Halvane/Panels/Widgets/TextButton.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"

namespace halvane::panels {
namespace {


// Waits for a transition or a flick to arrive; the bound is generous and never a measure.
bool eventually(const std::function<bool()>& condition, int limitMs = 3000) {
  QElapsedTimer timer;
  timer.start();
  while (!condition()) {
    if (timer.elapsed() > limitMs) return false;
    QTest::qWait(10);
  }
  return true;
}

TEST(ToolStripView, TapSelectsReportsAndRaisesTheButton) {
  ToolStripView strip;
  std::vector<MediaTool> reported;
  strip.onToolSelected = [&](MediaTool tool) { reported.push_back(tool); };
  strip.resize(700, ToolStripView::kHeight);
  strip.show();

  for (MediaTool tool : kAllMediaTools)
    EXPECT_EQ(strip.toolButton(tool)->accessibleName().toStdString(), mediaToolInfo(tool).title.defaultText);

  QTest::mouseClick(strip.toolButton(MediaTool::adjust), Qt::LeftButton);
  QTest::mouseClick(strip.toolButton(MediaTool::focus), Qt::LeftButton);
  EXPECT_EQ(reported, (std::vector<MediaTool>{MediaTool::adjust, MediaTool::focus}));
  EXPECT_EQ(strip.selectedTool(), MediaTool::focus);
  ToolStripButton* focus = strip.toolButton(MediaTool::focus);
  ToolStripButton* adjust = strip.toolButton(MediaTool::adjust);
  EXPECT_TRUE(focus->isSelected() && focus->isChecked());
  EXPECT_FALSE(adjust->isSelected() || adjust->isChecked());
  EXPECT_TRUE(eventually([&] { return std::abs(focus->faceScale() - 1.03) < 1e-6 && std::abs(adjust->faceScale() - 1) < 1e-6; }));

  // Reselecting keeps it selected and raised.
  QTest::mouseClick(focus, Qt::LeftButton);
  EXPECT_TRUE(focus->isSelected());
  EXPECT_TRUE(eventually([&] { return std::abs(focus->faceScale() - 1.03) < 1e-6; }));
}

TEST(ToolStripView, ColoursFollowTheStateTable) {
  struct Case {
    bool selected, highlighted;
    DSRGBA background, foreground;
  };
  const Case cases[] = {{true, false, DSColor::accent, DSColor::textOnAccent},
                        {true, true, DSColor::accent, DSColor::textOnAccent},
                        {false, true, DSColor::accentSoft, DSColor::accent},
                        {false, false, DSColor::bgElevated, DSColor::textSecondary}};
  for (const Case& c : cases) {
    const auto colors = ToolStripButton::colorsFor(c.selected, c.highlighted);
    EXPECT_EQ(colors.background, qColor(c.background)) << c.selected << c.highlighted;
    EXPECT_EQ(colors.foreground, qColor(c.foreground)) << c.selected << c.highlighted;
  }
  ToolStripView strip;
  strip.selectTool(MediaTool::filter);
  ToolStripButton* transform = strip.toolButton(MediaTool::transform);
  transform->setDown(true);
  EXPECT_EQ(transform->currentColors().background, qColor(DSColor::accentSoft));
  EXPECT_EQ(strip.toolButton(MediaTool::filter)->currentColors().background, qColor(DSColor::accent));
}

TEST(ToolStripView, PhotoShowsFourButtonsInOrderWithoutGaps) {
  ToolStripView strip;
  strip.resize(700, ToolStripView::kHeight);
  strip.show();
  strip.setVideoToolsVisible(false);
  QApplication::processEvents();
  std::vector<ToolStripButton*> shown;
  for (MediaTool tool : kAllMediaTools)
    if (strip.toolButton(tool)->isVisible()) shown.push_back(strip.toolButton(tool));
  ASSERT_EQ(shown.size(), 4u);
  EXPECT_EQ(shown.front()->tool(), MediaTool::transform);
  EXPECT_EQ(shown.back()->tool(), MediaTool::focus);
  EXPECT_EQ(shown.front()->x(), 16);
  for (size_t i = 1; i < shown.size(); ++i) EXPECT_EQ(shown[i]->x(), shown[i - 1]->geometry().right() + 1 + 12);
  EXPECT_EQ(strip.scrollView()->widget()->width(), 16 + 4 * 82 + 3 * 12 + 16);

  strip.setVideoToolsVisible(true);
  QApplication::processEvents();
  EXPECT_TRUE(strip.toolButton(MediaTool::audio)->isVisible());
  EXPECT_EQ(strip.scrollView()->widget()->width(), 16 + 6 * 82 + 5 * 12 + 16);
}

TEST(ToolStripView, KeyboardSelectsWithSpaceAndEnter) {
  ToolStripView strip;
  std::vector<MediaTool> reported;
  strip.onToolSelected = [&](MediaTool tool) { reported.push_back(tool); };
  strip.show();
  QTest::keyClick(strip.toolButton(MediaTool::filter), Qt::Key_Space);
  QTest::keyClick(strip.toolButton(MediaTool::trim), Qt::Key_Return);
  EXPECT_TRUE(eventually([&] { return reported.size() == 2; }));
  EXPECT_EQ(reported, (std::vector<MediaTool>{MediaTool::filter, MediaTool::trim}));
}

class ToolStripScrolling : public ::testing::Test {
protected:
  void SetUp() override {
    strip.resize(300, ToolStripView::kHeight);
    strip.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&strip));
    bar = strip.scrollView()->horizontalScrollBar();
    ASSERT_GT(bar->maximum(), 200) << "six buttons overflow 300 points";
    viewport = strip.scrollView()->viewport();
  }
  ToolStripView strip;
  QScrollBar* bar = nullptr;
  QWidget* viewport = nullptr;
};

TEST_F(ToolStripScrolling, MouseDragFlicksAndDecelerates) {
  // Through the window, as the platform delivers a real pointer.
  QWindow* window = strip.windowHandle();
  QPoint at = viewport->mapTo(&strip, QPoint(260, 40));
  QTest::mousePress(window, Qt::LeftButton, {}, at);
  for (int i = 0; i < 10; ++i) {
    at.rx() -= 16;
    QTest::qWait(8);
    QTest::mouseMove(window, at);
  }
  QTest::mouseRelease(window, Qt::LeftButton, {}, at, 8);
  const int released = bar->value();
  EXPECT_GT(released, 0);
  EXPECT_TRUE(eventually([&] { return bar->value() > released; })) << "the flick goes on after release";
  EXPECT_TRUE(strip.selectedTool() == std::nullopt) << "a drag is not a tap";
  for (MediaTool tool : kAllMediaTools) EXPECT_FALSE(strip.toolButton(tool)->isDown()) << "the drag let go of the press";
}

TEST_F(ToolStripScrolling, ATapThroughTheScrollerStillSelects) {
  QWindow* window = strip.windowHandle();
  ToolStripButton* filter = strip.toolButton(MediaTool::filter);
  const QPoint at = filter->mapTo(&strip, filter->rect().center());
  QTest::mousePress(window, Qt::LeftButton, {}, at);
  QTest::qWait(20);
  QTest::mouseRelease(window, Qt::LeftButton, {}, at);
  EXPECT_TRUE(eventually([&] { return strip.selectedTool() == MediaTool::filter; }));
  EXPECT_EQ(bar->value(), 0);
}

TEST_F(ToolStripScrolling, NeverScrollsByItself) {
  strip.selectTool(MediaTool::audio);
  strip.setVideoToolsVisible(false);
  strip.setVideoToolsVisible(true);
  QTest::qWait(50);
  EXPECT_EQ(bar->value(), 0) << "a selection out of view stays out of view";
}

TEST_F(ToolStripScrolling, TouchpadAndWheelGlide) {
  const QPointF at(150, 40);
  QWheelEvent touchpad(at, viewport->mapToGlobal(at), QPoint(-90, 0), QPoint(-90 * 8 / 3, 0), Qt::NoButton,
                       Qt::NoModifier, Qt::ScrollUpdate, false);
  QApplication::sendEvent(viewport, &touchpad);
  EXPECT_TRUE(eventually([&] { return bar->value() == 90; }));
  QWheelEvent wheel(at, viewport->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QApplication::sendEvent(viewport, &wheel);
  EXPECT_TRUE(eventually([&] { return bar->value() == 90 + 48; })) << "a vertical notch moves the row";
  for (int notch = 0; notch < 40; ++notch) {
    QWheelEvent spin(at, viewport->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(viewport, &spin);
  }
  EXPECT_TRUE(eventually([&] { return bar->value() == bar->maximum(); })) << "stops at the end, " << bar->value() << " of " << bar->maximum();
}

TEST_F(ToolStripScrolling, TouchDragMovesTheRow) {
  QPointingDevice* screen = QTest::createTouchDevice();
  QPoint at(260, 40);
  QTest::touchEvent(&strip, screen).press(0, viewport->mapTo(&strip, at));
  for (int i = 0; i < 10; ++i) {
    at.rx() -= 16;
    QTest::qWait(8);
    QTest::touchEvent(&strip, screen).move(0, viewport->mapTo(&strip, at));
  }
  QTest::touchEvent(&strip, screen).release(0, viewport->mapTo(&strip, at));
  EXPECT_TRUE(eventually([&] { return bar->value() > 0; }));
}

TEST(TopBarView, ButtonsReportAndCarryTheirNames) {
  TopBarView bar;
  int closes = 0, shares = 0;
  bar.onClose = [&] { ++closes; };
  bar.onShare = [&] { ++shares; };
  bar.resize(390, 48);
  bar.show();
  EXPECT_EQ(bar.closeButton()->accessibleName(), "Close");
  EXPECT_EQ(bar.shareButton()->accessibleName(), "Share");
  QTest::mouseClick(bar.closeButton(), Qt::LeftButton);
  QTest::keyClick(bar.shareButton(), Qt::Key_Enter);
  EXPECT_TRUE(eventually([&] { return shares == 1; }));
  EXPECT_EQ(closes, 1);
  EXPECT_EQ(bar.closeButton()->geometry(), QRect(16, 8, 32, 32));
  EXPECT_EQ(bar.shareButton()->geometry(), QRect(390 - 16 - 32, 8, 32, 32));

  TopBarView silent;  // empty closures: a tap does nothing
  QTest::mouseClick(silent.closeButton(), Qt::LeftButton);
}

TEST(TopBarView, TabMovesFromCloseToShare) {
  TopBarView bar;
  bar.show();
  bar.activateWindow();
  bar.closeButton()->setFocus();
  ASSERT_TRUE(eventually([&] { return bar.closeButton()->hasFocus(); }));
  QTest::keyClick(bar.closeButton(), Qt::Key_Tab);
  EXPECT_TRUE(bar.shareButton()->hasFocus());
}

TEST(TopBarView, SharePictureIs28ByItsOwnColoursAlsoHighlighted) {
  TopBarView bar;
  IconButton* share = bar.shareButton();
  share->setDown(true);
  EXPECT_DOUBLE_EQ(share->faceOpacity(), IconButton::kDimmedOpacity) << "the symbol dims while held";

  QImage wide(120, 40, QImage::Format_RGB32);
  wide.fill(QColor(255, 64, 0));
  bar.setShareButtonImage(wide);
  ASSERT_TRUE(share->picture());
  EXPECT_EQ(share->picture()->deviceIndependentSize(), QSizeF(28, 28));
  EXPECT_EQ(share->picture()->pixelColor(share->picture()->width() / 2, 2), QColor(255, 64, 0)) << "drawn to fill, untinted";
  EXPECT_DOUBLE_EQ(share->faceOpacity(), 1.0);
  const QImage face = share->grab().toImage();
  EXPECT_EQ(face.pixelColor(face.width() / 2, face.height() / 2), QColor(255, 64, 0)) << "painted in its own colours while held";

  bar.setShareButtonImage(std::nullopt);
  EXPECT_FALSE(share->picture());
}

TEST(UndoRedoBar, StartsDisabledAndFollowsTheStateTable) {
  UndoRedoBar bar;
  int undos = 0, redos = 0;
  bar.onUndo = [&] { ++undos; };
  bar.onRedo = [&] { ++redos; };
  bar.resize(200, UndoRedoBar::kHeight);
  bar.show();
  EXPECT_FALSE(bar.undoButton()->isEnabled());
  EXPECT_FALSE(bar.redoButton()->isEnabled());
  EXPECT_EQ(bar.undoButton()->currentColors().foreground, qColor(DSColor::textSecondary));
  EXPECT_EQ(bar.undoButton()->currentColors().background, qColor(DSColor::bgElevated));
  QTest::mouseClick(bar.undoButton(), Qt::LeftButton);
  EXPECT_EQ(undos, 0);

  bar.undoButton()->setEnabled(true);
  EXPECT_EQ(bar.undoButton()->currentColors().foreground, qColor(DSColor::accent));
  EXPECT_EQ(bar.undoButton()->currentColors().background, qColor(DSColor::bgElevated));
  bar.undoButton()->setDown(true);
  EXPECT_EQ(bar.undoButton()->currentColors().background, qColor(DSColor::accentSoft));
  bar.undoButton()->setDown(false);
  QTest::mouseClick(bar.undoButton(), Qt::LeftButton);
  EXPECT_EQ(undos, 1);
  EXPECT_EQ(redos, 0);
  EXPECT_EQ(bar.undoButton()->accessibleName(), "Undo");
  EXPECT_EQ(bar.redoButton()->accessibleName(), "Redo");
  EXPECT_EQ(bar.redoButton()->x() - bar.undoButton()->geometry().right() - 1, 20);
}

class ExportProgress : public ::testing::Test {
protected:
  void SetUp() override {
    host.resize(390, 700);
    host.show();
    view = new ExportProgressView;
    view->show(&host);
  }
  QWidget host;
  QPointer<ExportProgressView> view;
};

TEST_F(ExportProgress, CoversItsParentAndFadesIn) {
  EXPECT_EQ(view->parentWidget(), &host);
  EXPECT_EQ(view->geometry(), host.rect());
  EXPECT_TRUE(eventually([&] { return view->opacity() == 1.0; }));
  host.resize(500, 800);
  EXPECT_EQ(view->geometry(), QRect(0, 0, 500, 800));
  EXPECT_EQ(view->card()->width(), 240);
  EXPECT_EQ(view->card()->geometry().center().x(), QRect(0, 0, 500, 800).center().x());
  EXPECT_EQ(view->titleLabel()->text(), "Exporting...");
  EXPECT_EQ(view->percentLabel()->text(), "0%");
}

TEST_F(ExportProgress, ClampsAndFillsTheBar) {
  view->setProgress(-0.2);
  EXPECT_EQ(view->percentLabel()->text(), "0%");
  EXPECT_EQ(view->progressBar()->value(), 0);
  view->setProgress(0.999);
  EXPECT_EQ(view->percentLabel()->text(), "99%");
  view->setProgress(1.5);
  EXPECT_EQ(view->percentLabel()->text(), "100%");
  EXPECT_EQ(view->progressBar()->value(), view->progressBar()->maximum());
  const QImage bar = view->progressBar()->grab().toImage();
  EXPECT_EQ(bar.pixelColor(bar.width() - 3, bar.height() / 2).rgb(), qColor(DSColor::accent).rgb()) << "full to the end";
}

TEST_F(ExportProgress, IndeterminateUntilTheFirstValue) {
  view->setIndeterminate("Importing...");
  EXPECT_TRUE(view->isIndeterminate());
  EXPECT_EQ(view->titleLabel()->text(), "Importing...");
  EXPECT_TRUE(view->spinner()->isRunning() && view->spinner()->isVisible());
  EXPECT_FALSE(view->progressBar()->isVisible() || view->percentLabel()->isVisible() || view->cancelButton()->isVisible());

  view->setProgress(0.3);
  EXPECT_FALSE(view->isIndeterminate());
  EXPECT_FALSE(view->spinner()->isRunning() || view->spinner()->isVisible());
  EXPECT_TRUE(view->progressBar()->isVisible() && view->percentLabel()->isVisible() && view->cancelButton()->isVisible());
  EXPECT_EQ(view->percentLabel()->text(), "30%");
}

TEST_F(ExportProgress, CancelReports) {
  int cancels = 0;
  view->onCancel = [&] { ++cancels; };
  EXPECT_EQ(view->cancelButton()->accessibleName(), "Cancel");
  QTest::mouseClick(view->cancelButton(), Qt::LeftButton);
  EXPECT_EQ(cancels, 1);
}

TEST_F(ExportProgress, SecondDismissNeverRunsItsCompletion) {
  int first = 0, second = 0;
  view->dismiss([&] { ++first; });
  view->dismiss([&] { ++second; });
  EXPECT_TRUE(view->isDismissing());
  EXPECT_TRUE(eventually([&] { return view.isNull(); })) << "removed and deleted at the end of the fade";
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
  EXPECT_TRUE(host.findChildren<ExportProgressView*>().isEmpty());
}

}  // namespace
}  // namespace halvane::panels

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
