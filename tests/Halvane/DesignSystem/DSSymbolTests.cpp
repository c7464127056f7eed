// The symbols: icon sizes from raw values; the symbol table, in which every name the
// editor and the shell draw has a glyph in the installed icon font, under the icon's own
// name there; and its drawing, sharp and tinted at any pixel ratio.
#include <gtest/gtest.h>

#include <QFile>
#include <QIcon>
#include <QImage>
#include <QRegularExpression>

#include <map>
#include <set>

#include "Halvane/DesignSystem/DSIcon.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"
#include "Halvane/Model/MediaTool.h"

using namespace halvane;

namespace {

// A raw value names a size only when it is that size's points; any other is refused.
TEST(DSIconSize, RawValuesRoundTripThroughTheFourSizesAndNothingElse) {
  for (DSIcon::Size size : {DSIcon::Size::small, DSIcon::Size::medium, DSIcon::Size::large, DSIcon::Size::xl})
    EXPECT_EQ(DSIcon::sizeFromRawValue(DSIcon::points(size)), size);
  for (int raw : {0, 20, -16, 64}) EXPECT_FALSE(DSIcon::sizeFromRawValue(raw)) << raw;
}

// Every symbol name the screens use.
constexpr std::string_view kUsedSymbols[] = {
    "arrow.counterclockwise", "arrow.left.and.right.righttriangle.left.righttriangle.right",
    "arrow.uturn.backward", "arrow.uturn.forward", "camera.aperture", "checkmark", "checkmark.circle.fill", "circle",
    "circle.dashed", "circle.fill", "circle.righthalf.filled", "crop.rotate", "drop.halffull", "drop.triangle",
    "exclamationmark.triangle.fill", "gearshape.fill", "moon", "paintpalette", "photo.on.rectangle.angled",
    "plusminus.circle", "rectangle.dashed", "rotate.right", "scissors", "scope", "slider.horizontal.3", "sparkle",
    "speaker.slash", "speaker.wave.2", "square.and.arrow.up", "sun.and.horizon", "sun.max", "thermometer.medium",
    "triangle", "video.fill", "wand.and.stars", "waveform", "wifi.slash", "xmark"};

TEST(DSSymbol, NamesAreUniqueAndEveryUsedNameHasAGlyphTheFontHas) {
  std::set<std::string_view> names;
  for (const DSIcon::SymbolGlyph& glyph : DSIcon::symbolGlyphs()) {
    EXPECT_TRUE(names.insert(glyph.symbolName).second) << glyph.symbolName;
    EXPECT_EQ(DSIcon::glyphForSymbol(glyph.symbolName)->codepoint, glyph.codepoint);
  }
  EXPECT_FALSE(DSIcon::glyphForSymbol("no.such.symbol"));
  // The tools' own symbols come from the model.
  for (MediaTool tool : kAllMediaTools)
    EXPECT_TRUE(DSIcon::glyphForSymbol(mediaToolInfo(tool).symbolName)) << mediaToolInfo(tool).symbolName;

  ASSERT_TRUE(DSIcon::iconFont().isValid()) << "icon font missing: " << DSIcon::kMaterialIconsFontPath;
  for (std::string_view name : kUsedSymbols) {
    const auto glyph = DSIcon::glyphForSymbol(name);
    ASSERT_TRUE(glyph) << "no mapping for " << name;
    EXPECT_TRUE(DSIcon::iconFont().supportsCharacter(glyph->codepoint)) << name;
    EXPECT_FALSE(DSIcon::symbolPath(name, QRectF(0, 0, 24, 24)).isEmpty()) << name;
  }
}

// The font package lists its icons' code points by name; a code point typed wrong in
// the mapping would draw some other icon.
TEST(DSSymbol, CodePointsAreThoseOfTheNamedIcons) {
  QFile list("/usr/share/fonts-material-design-icons-iconfont/scss/_variables.scss");
  if (!list.open(QIODevice::ReadOnly)) GTEST_SKIP() << "the font package's list of names is not installed";
  std::map<QString, char32_t> codepoints;
  const QRegularExpression entry(R"re("([a-z0-9_]+)":\s*([0-9a-f]{4,5}))re");
  for (auto it = entry.globalMatch(QString::fromUtf8(list.readAll())); it.hasNext();) {
    const auto match = it.next();
    codepoints.emplace(match.captured(1), match.captured(2).toUInt(nullptr, 16));
  }
  for (const DSIcon::SymbolGlyph& glyph : DSIcon::symbolGlyphs()) {
    const auto found = codepoints.find(QString::fromUtf8(glyph.materialName.data(), glyph.materialName.size()));
    ASSERT_NE(found, codepoints.end()) << glyph.materialName;
    EXPECT_EQ(found->second, glyph.codepoint) << glyph.materialName;
  }
}

// The mean and the peak alpha of an image.
std::pair<double, int> alphas(const QImage& image) {
  double sum = 0;
  int peak = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      sum += qAlpha(image.pixel(x, y)) / 255.0;
      peak = std::max(peak, qAlpha(image.pixel(x, y)));
    }
  return {sum / (image.width() * image.height()), peak};
}

TEST(DSSymbol, DrawsTheSameShapeAtEveryPixelRatioInTheTintAndDimsWhenDisabled) {
  const QColor tint(56, 116, 223);
  double coverageAtOne = 0;
  for (qreal ratio : {1.0, 1.5, 2.0, 3.0}) {
    const QPixmap pixmap = DSIcon::pixmap("xmark", 24, tint, ratio);
    ASSERT_FALSE(pixmap.isNull());
    EXPECT_EQ(pixmap.devicePixelRatio(), ratio);
    EXPECT_EQ(pixmap.width(), static_cast<int>(std::ceil(24 * ratio)));
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    const double covered = alphas(image).first;
    if (ratio == 1.0) coverageAtOne = covered;
    // Edges are antialiased at each ratio's own pixels, so the share covered agrees.
    EXPECT_NEAR(covered, coverageAtOne, 0.02) << ratio;
    const QRgb centre = image.pixel(image.width() / 2, image.height() / 2);
    EXPECT_EQ(qAlpha(centre), 255) << "the cross covers the centre";
    EXPECT_EQ(QColor(centre).rgb(), tint.rgb());
  }
  EXPECT_TRUE(DSIcon::pixmap("no.such.symbol", 24, tint, 1).isNull());

  // An icon renders at the ratio asked, and dimmed when disabled.
  const QIcon icon = DSIcon::icon("checkmark", Qt::white);
  EXPECT_EQ(icon.pixmap(QSize(20, 20), 2.0).size(), QSize(40, 40));
  EXPECT_NEAR(alphas(icon.pixmap(QSize(20, 20), 2.0, QIcon::Disabled).toImage()).second, 102, 2);
}

}  // namespace
