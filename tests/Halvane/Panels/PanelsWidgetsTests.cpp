// The panels' widgets on the offscreen platform: the ruler slider's routing of keys,
// wheels, drags and assistive technology into its ruler, its painting at two pixel
// ratios, the adjust panel's taps; the chrome's event routing (taps, keys, drags, wheels,
// touches), the state tables it paints, and the progress card's life.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/IconButton.h"
#include "Halvane/Panels/Widgets/ProgressTrack.h"
#include "Halvane/Panels/Widgets/RoundButton.h"
#include "Halvane/Panels/Widgets/RulerPainter.h"
#include "Halvane/Panels/Widgets/SpinnerView.h"
#include "Halvane/Panels/Widgets/TextButton.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"
#include "Support/QtApplicationEnvironment.h"

namespace halvane::panels {
namespace {

const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QApplication>);

// Waits are bounded against a hang; the bound is never a measure.
using QTest::qWaitFor;

void wheel(QWidget* target, QPoint pixels, QPoint angle, Qt::ScrollPhase phase) {
  const QPointF at(150, 40);
  QWheelEvent event(at, target->mapToGlobal(at), pixels, angle, Qt::NoButton, Qt::NoModifier, phase, false);
  QApplication::sendEvent(target, &event);
}

struct CountingHaptics final : platform::system::Haptics {
  void impactOccurred(platform::system::ImpactStyle) override { ++impacts; }
  void notificationOccurred(platform::system::NotificationFeedback) override {}
  int impacts = 0;
};

struct AdjustSliderTest : ::testing::Test {
  AdjustSliderTest() {
    slider.resize(300, AdjustSlider::kHeight);
    slider.configure(-1, 1, 0);
    slider.onValueChanged = [this] { ++changes; };
    slider.onTrackingEnded = [this] { ++trackingEnds; };
  }
  std::shared_ptr<CountingHaptics> haptics = std::make_shared<CountingHaptics>();
  AdjustSlider slider{haptics};
  int changes = 0, trackingEnds = 0;
};

TEST_F(AdjustSliderTest, KeysStepAndEndTracking) {
  const std::pair<Qt::Key, float> steps[] = {{Qt::Key_Right, 0.02f},   {Qt::Key_PageUp, 0.22f}, {Qt::Key_Left, 0.2f},
                                             {Qt::Key_PageDown, 0.0f}, {Qt::Key_Home, 0.0f},    {Qt::Key_Down, -0.02f}};
  for (const auto& [key, expected] : steps) {
    QTest::keyClick(&slider, key);
    EXPECT_NEAR(slider.value(), expected, 1e-5f) << key;
    EXPECT_DOUBLE_EQ(slider.scrollOffset(), slider.ruler().offsetFor(slider.value()));
  }
  EXPECT_EQ(std::pair(changes, trackingEnds), std::pair(6, 6));
}

TEST_F(AdjustSliderTest, AWheelScrollsClicksAtTheDefaultAndEndsTrackingAfterAPause) {
  slider.setValue(-0.5f);
  // Touchpad pixels: 40 points a unit of 80 is half a unit, onto the default.
  wheel(&slider, QPoint(-40, 0), QPoint(-120, 0), Qt::ScrollUpdate);
  EXPECT_NEAR(slider.value(), 0, 1e-5f);
  EXPECT_EQ(std::tuple(changes, haptics->impacts, trackingEnds), std::tuple(1, 1, 0));
  wheel(&slider, QPoint(), QPoint(), Qt::ScrollEnd);
  EXPECT_TRUE(qWaitFor([&] { return trackingEnds == 1; }, 2000));
}

TEST_F(AdjustSliderTest, AssistiveTechnologySeesASliderWithTheLabelAsItsValue) {
  QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&slider);
  ASSERT_TRUE(accessible);
  EXPECT_EQ(accessible->role(), QAccessible::Slider);
  QAccessibleValueInterface* value = accessible->valueInterface();
  ASSERT_TRUE(value);
  value->setCurrentValue(0.5);
  EXPECT_EQ(accessible->text(QAccessible::Value), QStringLiteral("+50"));
  EXPECT_EQ(value->maximumValue().toDouble(), 1.0);
  accessible->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
  EXPECT_NEAR(slider.value(), 0.6f, 1e-5f);
  for (int i = 0; i < 30; ++i) accessible->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
  EXPECT_EQ(slider.value(), -1);
  EXPECT_EQ(std::pair(changes, trackingEnds), std::pair(32, 32));
  slider.setCustomLabelFormatter([](float) { return std::string("  6500 K  "); });
  EXPECT_EQ(accessible->text(QAccessible::Value), QStringLiteral("6500 K"));
}

TEST_F(AdjustSliderTest, ADragMovesTheRulerWithThePointerAndEndsTrackingOnce) {
  slider.show();
  const double start = slider.scrollOffset();
  QPoint at(200, 40);
  QTest::mousePress(&slider, Qt::LeftButton, {}, at);
  for (int i = 0; i < 20; ++i) {
    at.rx() -= 5;
    QMouseEvent move(QEvent::MouseMove, at, slider.mapToGlobal(at), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&slider, &move);
    QTest::qWait(16);
  }
  QTest::qWait(200);  // held still: no glide
  QTest::mouseRelease(&slider, Qt::LeftButton, {}, at);
  ASSERT_TRUE(qWaitFor([&] { return trackingEnds == 1; }, 3000));
  // The pointer went 100 to the left; the ruler follows it, less the distance that
  // tells a drag from a tap.
  EXPECT_GE(slider.scrollOffset() - start, 75);
  EXPECT_LE(slider.scrollOffset() - start, 100);
  EXPECT_GT(changes, 10);
}

TEST(RulerPainter, TheCentreMarkStandsOnWholeDevicePixels) {
  for (qreal ratio : {1.0, 2.0}) {
    SCOPED_TRACE(ratio);
    QImage image(QSize(301, 60) * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintRuler(painter, QRectF(0, 0, 301, 60), {RulerDots{}, 0, QString(), 20});  // the mark alone
    painter.end();
    // Full accent across the mark's width, nothing of it beside.
    const int centre = int(std::round(150.5 * ratio)), y = int((20 + 20) * ratio);
    EXPECT_EQ(image.pixel(centre, y), qColor(DSColor::accent).rgba());
    EXPECT_EQ(image.pixel(centre - 1, y), qColor(DSColor::accent).rgba());
    EXPECT_EQ(image.pixelColor(centre + int(ratio) + 1, y).alpha(), 0);
  }
}

TEST(AdjustPanelView, TapsSelectAndDeselectAndSelectToolIsSilent) {
  AdjustPanelView panel;
  panel.resize(430, 176);
  std::vector<std::optional<AdjustTool>> reported;
  panel.onToolSelected = [&](std::optional<AdjustTool> tool) { reported.push_back(tool); };
  panel.show();
  // The kinetic scroll holds a press back until it knows that it is no drag.
  for (AdjustTool tool : {AdjustTool::gamma, AdjustTool::tint, AdjustTool::tint}) {
    const size_t before = reported.size();
    QTest::mouseClick(panel.toolButton(tool), Qt::LeftButton);
    ASSERT_TRUE(qWaitFor([&] { return reported.size() > before; }, 2000));
  }
  EXPECT_EQ(reported, (std::vector<std::optional<AdjustTool>>{AdjustTool::gamma, AdjustTool::tint, std::nullopt}));
  panel.selectTool(AdjustTool::vignette);
  EXPECT_TRUE(panel.toolButton(AdjustTool::vignette)->isSelected());
  EXPECT_FALSE(panel.toolButton(AdjustTool::gamma)->isSelected());
  EXPECT_EQ(reported.size(), 3u);
}

TEST(ToolStripView, TapsAndKeysSelectReportAndRaiseTheButton) {
  ToolStripView strip;
  std::vector<MediaTool> reported;
  strip.onToolSelected = [&](MediaTool tool) { reported.push_back(tool); };
  strip.resize(700, ToolStripView::kHeight);
  strip.show();
  ToolStripButton *focus = strip.toolButton(MediaTool::focus), *adjust = strip.toolButton(MediaTool::adjust);
  QTest::mouseClick(adjust, Qt::LeftButton);
  QTest::mouseClick(focus, Qt::LeftButton);
  EXPECT_EQ(reported, (std::vector<MediaTool>{MediaTool::adjust, MediaTool::focus}));
  EXPECT_EQ(strip.selectedTool(), MediaTool::focus);
  EXPECT_TRUE(focus->isSelected() && focus->isChecked() && !adjust->isSelected() && !adjust->isChecked());
  auto scaled = [](ToolStripButton* button, double scale) { return std::abs(button->faceScale() - scale) < 1e-6; };
  EXPECT_TRUE(qWaitFor([&] { return scaled(focus, 1.03) && scaled(adjust, 1); }, 3000));
  // Reselecting keeps it selected and raised.
  QTest::mouseClick(focus, Qt::LeftButton);
  EXPECT_TRUE(focus->isSelected());
  EXPECT_TRUE(qWaitFor([&] { return scaled(focus, 1.03); }, 3000));

  reported.clear();
  QTest::keyClick(strip.toolButton(MediaTool::filter), Qt::Key_Space);
  QTest::keyClick(strip.toolButton(MediaTool::trim), Qt::Key_Return);
  EXPECT_TRUE(qWaitFor([&] { return reported.size() == 2; }, 3000));
  EXPECT_EQ(reported, (std::vector<MediaTool>{MediaTool::filter, MediaTool::trim}));
}

// The state table read through the buttons: selected (held or not), else held, else plain.
TEST(ToolStripView, AButtonsSelectionOutweighsAPressWhichOutweighsThePlainLook) {
  using enum MediaTool;
  ToolStripView strip;
  strip.selectTool(filter);
  for (MediaTool held : {filter, transform}) strip.toolButton(held)->setDown(true);
  const std::tuple<MediaTool, DSRGBA, DSRGBA> cases[] = {{filter, DSColor::accent, DSColor::textOnAccent},
                                                          {transform, DSColor::accentSoft, DSColor::accent},
                                                          {focus, DSColor::bgElevated, DSColor::textSecondary}};
  for (const auto& [tool, background, foreground] : cases) {
    const auto colors = strip.toolButton(tool)->currentColors();
    EXPECT_EQ(std::pair(colors.background, colors.foreground), std::pair(qColor(background), qColor(foreground)))
        << int(tool);
  }
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
  EXPECT_EQ(std::tuple(shown.front()->tool(), shown.back()->tool(), shown.front()->x()),
            std::tuple(MediaTool::transform, MediaTool::focus, 16));
  for (size_t i = 1; i < shown.size(); ++i) EXPECT_EQ(shown[i]->x(), shown[i - 1]->geometry().right() + 1 + 12);
  EXPECT_EQ(strip.scrollView()->widget()->width(), 16 + 4 * 82 + 3 * 12 + 16);
  strip.setVideoToolsVisible(true);
  QApplication::processEvents();
  EXPECT_TRUE(strip.toolButton(MediaTool::audio)->isVisible());
  EXPECT_EQ(strip.scrollView()->widget()->width(), 16 + 6 * 82 + 5 * 12 + 16);
}

class ToolStripScrolling : public ::testing::Test {
 protected:
  void SetUp() override {
    strip.resize(300, ToolStripView::kHeight);
    strip.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&strip));
    ASSERT_GT(bar->maximum(), 200) << "six buttons overflow 300 points";
  }
  ToolStripView strip;
  QScrollBar* bar = strip.scrollView()->horizontalScrollBar();
  QWidget* viewport = strip.scrollView()->viewport();
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
  EXPECT_TRUE(qWaitFor([&] { return bar->value() > released; }, 3000)) << "the flick goes on after release";
  EXPECT_TRUE(strip.selectedTool() == std::nullopt) << "a drag is not a tap";
  for (MediaTool tool : kAllMediaTools) EXPECT_FALSE(strip.toolButton(tool)->isDown()) << "the drag let go";
}

TEST_F(ToolStripScrolling, NeverScrollsByItself) {
  strip.selectTool(MediaTool::audio);
  strip.setVideoToolsVisible(false);
  strip.setVideoToolsVisible(true);
  QTest::qWait(50);
  EXPECT_EQ(bar->value(), 0) << "a selection out of view stays out of view";
}

TEST_F(ToolStripScrolling, TouchpadAndWheelGlide) {
  wheel(viewport, QPoint(-90, 0), QPoint(-90 * 8 / 3, 0), Qt::ScrollUpdate);
  EXPECT_TRUE(qWaitFor([&] { return bar->value() == 90; }, 3000));
  wheel(viewport, QPoint(), QPoint(0, -120), Qt::NoScrollPhase);
  EXPECT_TRUE(qWaitFor([&] { return bar->value() == 90 + 48; }, 3000)) << "a vertical notch moves the row";
  for (int notch = 0; notch < 40; ++notch) wheel(viewport, QPoint(), QPoint(0, -120), Qt::NoScrollPhase);
  EXPECT_TRUE(qWaitFor([&] { return bar->value() == bar->maximum(); }, 3000)) << "stops at the end, " << bar->value();
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
  EXPECT_TRUE(qWaitFor([&] { return bar->value() > 0; }, 3000));
}

TEST(TopBarView, ButtonsInTheCornersTapWithoutClosuresAndTheSharePictureIs28ByItsOwnColoursAlsoHighlighted) {
  TopBarView bar;
  bar.resize(390, 48);
  bar.show();
  IconButton* share = bar.shareButton();
  EXPECT_EQ(bar.closeButton()->geometry(), QRect(16, 8, 32, 32));
  EXPECT_EQ(share->geometry(), QRect(390 - 16 - 32, 8, 32, 32));
  QTest::mouseClick(bar.closeButton(), Qt::LeftButton);  // without closures a tap does nothing
  QTest::keyClick(share, Qt::Key_Enter);

  share->setDown(true);
  EXPECT_DOUBLE_EQ(share->faceOpacity(), IconButton::kDimmedOpacity) << "the symbol dims while held";
  QImage wide(120, 40, QImage::Format_RGB32);
  wide.fill(QColor(255, 64, 0));
  bar.setShareButtonImage(wide);
  ASSERT_TRUE(share->picture());
  EXPECT_EQ(share->picture()->deviceIndependentSize(), QSizeF(28, 28));
  EXPECT_EQ(share->picture()->pixelColor(share->picture()->width() / 2, 2), QColor(255, 64, 0)) << "to fill, untinted";
  EXPECT_DOUBLE_EQ(share->faceOpacity(), 1.0);
  const QImage face = share->grab().toImage();
  EXPECT_EQ(face.pixelColor(face.width() / 2, face.height() / 2), QColor(255, 64, 0)) << "its own colours while held";
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
  RoundButton* undo = bar.undoButton();
  auto colors = [&] { return std::pair(undo->currentColors().foreground, undo->currentColors().background); };
  EXPECT_FALSE(undo->isEnabled() || bar.redoButton()->isEnabled());
  EXPECT_EQ(colors(), std::pair(qColor(DSColor::textSecondary), qColor(DSColor::bgElevated)));
  QTest::mouseClick(undo, Qt::LeftButton);
  EXPECT_EQ(undos, 0);
  undo->setEnabled(true);
  EXPECT_EQ(colors(), std::pair(qColor(DSColor::accent), qColor(DSColor::bgElevated)));
  undo->setDown(true);
  EXPECT_EQ(colors().second, qColor(DSColor::accentSoft));
  undo->setDown(false);
  QTest::mouseClick(undo, Qt::LeftButton);
  EXPECT_EQ(std::pair(undos, redos), std::pair(1, 0));
  EXPECT_EQ(bar.redoButton()->x() - undo->geometry().right() - 1, 20);
}

class ExportProgress : public ::testing::Test {
 protected:
  void SetUp() override {
    host.resize(390, 700);
    host.show();
    view->show(&host);
  }
  QWidget host;
  QPointer<ExportProgressView> view = new ExportProgressView;
};

TEST_F(ExportProgress, CoversItsParentFadesInAndFillsTheBar) {
  EXPECT_EQ(view->parentWidget(), &host);
  EXPECT_EQ(view->geometry(), host.rect());
  EXPECT_TRUE(qWaitFor([&] { return view->opacity() == 1.0; }, 3000));
  host.resize(500, 800);
  EXPECT_EQ(view->geometry(), QRect(0, 0, 500, 800));
  EXPECT_EQ(view->card()->width(), 240);
  EXPECT_EQ(view->card()->geometry().center().x(), QRect(0, 0, 500, 800).center().x());
  EXPECT_EQ(view->titleLabel()->text(), "Exporting...");
  EXPECT_EQ(view->percentLabel()->text(), "0%");
  view->setProgress(1.5);  // the state's clamps: ExportProgressState's table
  EXPECT_EQ(view->percentLabel()->text(), "100%");
  EXPECT_EQ(view->progressBar()->value(), view->progressBar()->maximum());
  const QImage bar = view->progressBar()->grab().toImage();
  EXPECT_EQ(bar.pixelColor(bar.width() - 3, bar.height() / 2).rgb(), qColor(DSColor::accent).rgb()) << "full";
}

TEST_F(ExportProgress, DeterminateByDefaultIndeterminateUntilTheFirstValue) {
  EXPECT_FALSE(view->isIndeterminate());
  view->setIndeterminate("Importing...");
  EXPECT_TRUE(view->isIndeterminate());
  EXPECT_EQ(view->titleLabel()->text(), "Importing...");
  EXPECT_TRUE(view->spinner()->isRunning() && view->spinner()->isVisible());
  auto progressShown = [&] { return std::tuple(view->progressBar()->isVisible(), view->percentLabel()->isVisible(),
                                               view->cancelButton()->isVisible()); };
  EXPECT_EQ(progressShown(), std::tuple(false, false, false));
  view->setProgress(0.3);
  EXPECT_FALSE(view->isIndeterminate() || view->spinner()->isRunning() || view->spinner()->isVisible());
  EXPECT_EQ(progressShown(), std::tuple(true, true, true));
  EXPECT_EQ(view->percentLabel()->text(), "30%");
  view->setProgress(0.75);
  EXPECT_FALSE(view->isIndeterminate()) << "never back to indeterminate by itself";
}

TEST_F(ExportProgress, SecondDismissNeverRunsItsCompletion) {
  int first = 0, second = 0;
  view->dismiss([&] { ++first; });
  view->dismiss([&] { ++second; });
  EXPECT_TRUE(view->isDismissing());
  EXPECT_TRUE(qWaitFor([&] { return view.isNull(); }, 3000)) << "removed and deleted at the end of the fade";
  EXPECT_EQ(std::pair(first, second), std::pair(1, 0));
  EXPECT_TRUE(host.findChildren<ExportProgressView*>().isEmpty());
}

}  // namespace
}  // namespace halvane::panels
