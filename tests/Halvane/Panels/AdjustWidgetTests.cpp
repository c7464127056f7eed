// The adjust tool's widgets on the offscreen platform: the ruler slider's routing of
// keys, wheels and assistive technology into its ruler, its clicks, its painting at
// two pixel ratios, and the panel's taps.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QTest>
#include <QWheelEvent>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/RulerPainter.h"

namespace halvane::panels {
namespace {

struct CountingHaptics final : platform::system::Haptics {
  void impactOccurred(platform::system::ImpactStyle) override { ++impacts; }
  void notificationOccurred(platform::system::NotificationFeedback) override {}
  int impacts = 0;
};

struct SliderFixture : ::testing::Test {
  SliderFixture() {
    slider.resize(300, AdjustSlider::kHeight);
    slider.configure(-1, 1, 0);
    slider.onValueChanged = [this] { ++changes; };
    slider.onTrackingEnded = [this] { ++trackingEnds; };
  }
  std::shared_ptr<CountingHaptics> haptics = std::make_shared<CountingHaptics>();
  AdjustSlider slider{haptics};
  int changes = 0, trackingEnds = 0;
};

using AdjustSliderTest = SliderFixture;

TEST_F(AdjustSliderTest, KeysStepAndEndTracking) {
  const std::pair<Qt::Key, float> steps[] = {{Qt::Key_Right, 0.02f},  {Qt::Key_PageUp, 0.22f},
                                             {Qt::Key_Left, 0.2f},    {Qt::Key_PageDown, 0.0f},
                                             {Qt::Key_Home, 0.0f},    {Qt::Key_Down, -0.02f}};
  int count = 0;
  for (const auto& [key, expected] : steps) {
    QTest::keyClick(&slider, key);
    ++count;
    EXPECT_NEAR(slider.value(), expected, 1e-5f) << key;
    EXPECT_DOUBLE_EQ(slider.scrollOffset(), slider.ruler().offsetFor(slider.value()));
  }
  EXPECT_EQ(changes, count);
  EXPECT_EQ(trackingEnds, count);
}

TEST_F(AdjustSliderTest, AWheelScrollsClicksAtTheDefaultAndEndsTrackingAfterAPause) {
  slider.setValue(-0.5f);
  // Touchpad pixels: 40 points a unit of 80 is half a unit, onto the default.
  QWheelEvent wheel(QPointF(150, 30), QPointF(150, 30), QPoint(-40, 0), QPoint(-120, 0), Qt::NoButton,
                    Qt::NoModifier, Qt::ScrollUpdate, false);
  QApplication::sendEvent(&slider, &wheel);
  EXPECT_NEAR(slider.value(), 0, 1e-5f);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(haptics->impacts, 1);
  EXPECT_EQ(trackingEnds, 0);
  QWheelEvent end(QPointF(150, 30), QPointF(150, 30), QPoint(), QPoint(), Qt::NoButton, Qt::NoModifier,
                  Qt::ScrollEnd, false);
  QApplication::sendEvent(&slider, &end);
  EXPECT_TRUE(QTest::qWaitFor([&] { return trackingEnds == 1; }, 2000));
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
  EXPECT_EQ(changes, 32);
  EXPECT_EQ(trackingEnds, 32);
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
  ASSERT_TRUE(QTest::qWaitFor([&] { return trackingEnds == 1; }, 3000));
  // The pointer went 100 to the left; the ruler follows it, less the distance that
  // tells a drag from a tap.
  EXPECT_GE(slider.scrollOffset() - start, 75);
  EXPECT_LE(slider.scrollOffset() - start, 100);
  EXPECT_GT(changes, 10);
}

TEST(RulerPainter, TheCentreMarkStandsOnWholeDevicePixels) {
  const RulerDots dots;  // the mark alone
  for (qreal ratio : {1.0, 2.0}) {
    SCOPED_TRACE(ratio);
    QImage image(QSize(301, 60) * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintRuler(painter, QRectF(0, 0, 301, 60), {dots, 0, QString(), 20});
    painter.end();
    // Full accent across the mark's width, nothing of it beside.
    const int centre = int(std::round(150.5 * ratio));
    const int y = int((20 + 20) * ratio);
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
    ASSERT_TRUE(QTest::qWaitFor([&] { return reported.size() > before; }, 2000));
  }
  EXPECT_EQ(reported, (std::vector<std::optional<AdjustTool>>{AdjustTool::gamma, AdjustTool::tint, std::nullopt}));
  panel.selectTool(AdjustTool::vignette);
  EXPECT_TRUE(panel.toolButton(AdjustTool::vignette)->isSelected());
  EXPECT_FALSE(panel.toolButton(AdjustTool::gamma)->isSelected());
  EXPECT_EQ(reported.size(), 3u);
}

}  // namespace
}  // namespace halvane::panels
