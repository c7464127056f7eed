#include "Halvane/DesignSystem/Widgets/DSFont.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace halvane::DSFont {

namespace {
// A point of the text styles is a logical pixel; Qt's points are 1/72 inch at 96 DPI.
constexpr double kPointsPerLogicalPixel = 72.0 / 96.0;

// "AvenirNext-DemiBold" names the family and, after the dash, the face's weight.
std::optional<QFont::Weight> avenirNextWeight(std::string_view faceName) {
  constexpr std::string_view kPrefix = "AvenirNext-";
  constexpr std::array<std::pair<std::string_view, QFont::Weight>, 5> kFaces = {{
      {"Regular", QFont::Normal}, {"Medium", QFont::Medium}, {"DemiBold", QFont::DemiBold},
      {"Bold", QFont::Bold}, {"Heavy", QFont::ExtraBold}}};
  if (!faceName.starts_with(kPrefix)) return std::nullopt;
  for (const auto& [word, weight] : kFaces)
    if (faceName.substr(kPrefix.size()) == word) return weight;
  return std::nullopt;
}
}  // namespace

double textScale() {
  const double desktop = QGuiApplication::font().pointSizeF();
  if (desktop <= 0) return 1;  // a font sized in pixels: no point size to compare
  return std::max(0.5, desktop / kStandardDesktopPointSize);
}

QFont::Weight qWeight(DSFontWeight weight) {
  switch (weight) {
    case DSFontWeight::regular: return QFont::Normal;
    case DSFontWeight::medium: return QFont::Medium;
    case DSFontWeight::semibold: return QFont::DemiBold;
    case DSFontWeight::bold: return QFont::Bold;
  }
  return QFont::Normal;
}

QFont font(DSTextStyle textStyle, std::string_view faceName, DSFontWeight fallbackWeight) {
  QFont result = QGuiApplication::font();
  result.setPointSizeF(pointSize(textStyle) * kPointsPerLogicalPixel * textScale());
  result.setWeight(qWeight(fallbackWeight));
  const std::optional<QFont::Weight> faceWeight = avenirNextWeight(faceName);
  if (faceWeight && QFontDatabase::hasFamily(QStringLiteral("Avenir Next"))) {
    result.setFamilies({QStringLiteral("Avenir Next")});
    result.setWeight(*faceWeight);
  }
  return result;
}

QFont font(const DSFontToken& token) { return font(token.textStyle, token.faceName, token.fallbackWeight); }

}  // namespace halvane::DSFont
