// The design system's widgets on the offscreen platform: the button's look in each style
// and state painted into images, its clicks, keys, loading and press feedback; the card's
// surface; fonts that fall back to the desktop's and follow its text size.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QVBoxLayout>

#include "Halvane/DesignSystem/Widgets/DSButton.h"
#include "Halvane/DesignSystem/Widgets/DSCardView.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSLabel.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Platform/Qt/SpringAnimator.h"
#include "Support/QtApplicationEnvironment.h"

using namespace halvane;

namespace {

// One application for the whole program, the text and symbol tests included.
const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QApplication>);

// A colour composed over the backdrop, as the painter blends it.
QColor over(const DSRGBA& top, const DSRGBA& backdrop) {
  const double a = top.alpha;
  return QColor::fromRgbF(static_cast<float>(top.red * a + backdrop.red * (1 - a)),
                          static_cast<float>(top.green * a + backdrop.green * (1 - a)),
                          static_cast<float>(top.blue * a + backdrop.blue * (1 - a)));
}

// The largest difference of one channel.
int distance(QRgb actual, const QColor& expected) {
  return std::max({std::abs(qRed(actual) - expected.red()), std::abs(qGreen(actual) - expected.green()),
                   std::abs(qBlue(actual) - expected.blue())});
}

// Paints a 200 by 52 button on the card colour at a pixel ratio.
QImage paintedButton(DSButtonStyle style, DSControlState state, qreal ratio, bool loading = false) {
  QImage image(static_cast<int>(200 * ratio), static_cast<int>(52 * ratio), QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(ratio);
  image.fill(qColor(DSColor::bgSecondary));
  QPainter painter(&image);
  paintButton(painter, QRectF(0, 0, 200, 52),
              {buttonAppearance(style, state), "Export", DSFont::font(DSButtonMetrics::kTitleFont), loading, 0, 1,
               false});
  return image;
}

TEST(DSButtonPainter, FillsAndOutlinesFollowStyleAndStateAtEveryPixelRatio) {
  const DSRGBA backdrop = DSColor::bgSecondary;
  for (qreal ratio : {1.0, 2.0}) {
    for (DSButtonStyle style : {DSButtonStyle::primary, DSButtonStyle::secondary, DSButtonStyle::tertiary}) {
      for (DSControlState state : {DSControlState::enabled, DSControlState::highlighted, DSControlState::disabled}) {
        SCOPED_TRACE(::testing::Message() << "style " << int(style) << " state " << int(state) << " ratio " << ratio);
        const DSButtonAppearance look = buttonAppearance(style, state);
        const QImage image = paintedButton(style, state, ratio);
        // Inside the capsule, left of the centred title.
        const QRgb fill = image.pixel(static_cast<int>(30 * ratio), static_cast<int>(26 * ratio));
        EXPECT_LE(distance(fill, look.background ? over(*look.background, backdrop) : qColor(backdrop)), 2) << "fill";
        // The middle of the left edge: the outline, or the fill running to the edge.
        const QRgb edge = image.pixel(0, static_cast<int>(26 * ratio));
        if (look.stroke) { EXPECT_LE(distance(edge, over(*look.stroke, backdrop)), 40) << "outline"; }
        // Corners stay outside the capsule.
        EXPECT_LE(distance(image.pixel(0, 0), qColor(backdrop)), 2) << "corner";
      }
    }
  }
}

TEST(DSButtonPainter, TheTitleIsDrawnInTheForegroundAndTheIndicatorBesideIt) {
  const QImage plain = paintedButton(DSButtonStyle::tertiary, DSControlState::enabled, 1);
  const QImage loading = paintedButton(DSButtonStyle::tertiary, DSControlState::enabled, 1, true);
  const QColor accent = qColor(DSColor::accent);
  auto inkColumns = [&](const QImage& image) {
    int first = image.width(), count = 0;
    for (int x = 0; x < image.width(); ++x)
      for (int y = 0; y < image.height(); ++y) {
        const QColor pixel(image.pixel(x, y));
        if (std::abs(pixel.red() - accent.red()) < 12 && std::abs(pixel.blue() - accent.blue()) < 12) {
          first = std::min(first, x);
          ++count;
          break;
        }
      }
    return std::pair{first, count};
  };
  const auto [plainStart, plainColumns] = inkColumns(plain);
  const auto [loadingStart, loadingColumns] = inkColumns(loading);
  ASSERT_GT(plainColumns, 20) << "the title is drawn in the accent";
  EXPECT_LT(loadingStart, plainStart - 10) << "the indicator stands left of the title";
  EXPECT_GT(loadingColumns, plainColumns);
}

class DSButtonTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window_.resize(300, 200);
    auto* layout = new QVBoxLayout(&window_);
    layout->addWidget(first_ = new DSButton("Confirm", DSButton::Style::primary));
    layout->addWidget(second_ = new DSButton("Black & White", DSButton::Style::secondary));
    first_->onTap = [this] { ++taps_; };
    window_.show();
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    first_->setFocus();
  }

  QWidget window_;
  DSButton *first_ = nullptr, *second_ = nullptr;
  int taps_ = 0;
};

TEST_F(DSButtonTest, ClicksSpaceAndEnterTapWhileLoadingIgnoresThemAndTabMovesOn) {
  ASSERT_TRUE(first_->hasFocus());
  auto tapAllWays = [&] {
    QTest::mouseClick(first_, Qt::LeftButton);
    QTest::keyClick(first_, Qt::Key_Space);
    // Enter clicks as Qt animates a click: released a moment later.
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
      QTest::keyClick(first_, key);
      ASSERT_TRUE(QTest::qWaitFor([&] { return !first_->isDown(); }));
    }
  };
  tapAllWays();
  EXPECT_EQ(taps_, 4);
  first_->setLoading(true);
  tapAllWays();
  EXPECT_EQ(taps_, 4);
  EXPECT_TRUE(first_->paintState().loading);
  first_->setLoading(false);
  tapAllWays();
  EXPECT_EQ(taps_, 8);

  // Tab moves the focus on, and the button names itself to assistive technology.
  QTest::keyClick(&window_, Qt::Key_Tab);
  EXPECT_TRUE(second_->hasFocus());
  QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(second_);
  ASSERT_NE(accessible, nullptr);
  EXPECT_EQ(accessible->text(QAccessible::Name), "Black & White");
  EXPECT_EQ(accessible->role(), QAccessible::Button);
}

TEST_F(DSButtonTest, PressShrinksOnTheQuickSpringAndReleaseReturns) {
  auto runningAnimation = [&]() -> platform::qt::SpringAnimator* {
    for (QObject* child : first_->children())
      if (auto* animator = dynamic_cast<platform::qt::SpringAnimator*>(child); animator && animator->isRunning())
        return animator;
    return nullptr;
  };
  QTest::mousePress(first_, Qt::LeftButton);
  EXPECT_EQ(first_->controlState(), DSControlState::highlighted);
  platform::qt::SpringAnimator* press = runningAnimation();
  ASSERT_NE(press, nullptr);
  EXPECT_EQ(press->durationMsecs(), 240);
  press->setCurrentTime(120);
  const double halfWay = first_->pressScale();
  EXPECT_LT(halfWay, 1.0);
  QTest::mouseRelease(first_, Qt::LeftButton);
  // The release starts from where the press had got to.
  platform::qt::SpringAnimator* release = runningAnimation();
  ASSERT_NE(release, nullptr);
  release->setCurrentTime(1);
  EXPECT_NEAR(first_->pressScale(), halfWay, 0.001);
  release->setCurrentTime(release->durationMsecs());
  EXPECT_DOUBLE_EQ(first_->pressScale(), 1.0);
  EXPECT_EQ(first_->controlState(), DSControlState::enabled);

  // A press cut short by loading lets go as well.
  QTest::mousePress(first_, Qt::LeftButton);
  runningAnimation()->setCurrentTime(240);
  first_->setLoading(true);
  platform::qt::SpringAnimator* letGo = runningAnimation();
  ASSERT_NE(letGo, nullptr);
  letGo->setCurrentTime(letGo->durationMsecs());
  EXPECT_DOUBLE_EQ(first_->pressScale(), 1.0);
}

TEST(DSTypography, FallsBackToTheDesktopFontAndGrowsWithItsSize) {
  const QFont desktop = QApplication::font();
  const DSFontToken tokens[] = {DSTypography::largeTitle, DSTypography::title,   DSTypography::headline,
                                DSTypography::body,       DSTypography::footnote, DSTypography::caption,
                                DSTypography::captionSmall, DSTypography::captionSmallBold};
  std::vector<double> sizes;
  for (const DSFontToken& token : tokens) {
    const QFont font = DSFont::font(token);
    EXPECT_EQ(font.family(), desktop.family());
    EXPECT_EQ(font.weight(), DSFont::qWeight(token.fallbackWeight));
    sizes.push_back(font.pointSizeF());
  }
  DSButton button("Share", DSButton::Style::primary);
  auto* label = DSLabel::body("Body");
  QFont larger = desktop;
  larger.setPointSizeF(desktop.pointSizeF() * 1.5);
  QApplication::setFont(larger);
  QCoreApplication::sendPostedEvents();
  for (std::size_t i = 0; i < std::size(tokens); ++i)
    EXPECT_NEAR(DSFont::font(tokens[i]).pointSizeF(), sizes[i] * 1.5, 0.01);
  EXPECT_NEAR(label->font().pointSizeF(), DSFont::font(DSTypography::body).pointSizeF(), 0.01);
  EXPECT_EQ(button.sizeHint().height(), 52);
  EXPECT_EQ(button.height(), 52);
  QApplication::setFont(desktop);
  delete label;
}

TEST(DSCardView, PaintsTheCardColourWithRoundedCorners) {
  QImage image(100, 60, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  paintCardSurface(painter, QRectF(0, 0, 100, 60));
  EXPECT_EQ(QColor(image.pixel(50, 30)).rgb(), qColor(DSColor::bgSecondary).rgb());
  EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << "rounded corner";
}

}  // namespace
