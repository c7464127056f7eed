#pragma once
// Typography tokens: a text style gives the size, a face of the Avenir Next family the
// look, and a fallback weight the system font's weight where that face is missing (on
// Linux, always). Sizes grow with the desktop's text-size setting; see DSFont.
#include <string_view>

namespace halvane {

enum class DSTextStyle { largeTitle, title1, headline, body, footnote, caption1, caption2 };
enum class DSFontWeight { regular, medium, semibold, bold };

// The style's size in points at the standard text-size setting.
constexpr double pointSize(DSTextStyle style) {
  switch (style) {
    case DSTextStyle::largeTitle: return 34;
    case DSTextStyle::title1: return 28;
    case DSTextStyle::headline: return 17;
    case DSTextStyle::body: return 17;
    case DSTextStyle::footnote: return 13;
    case DSTextStyle::caption1: return 12;
    case DSTextStyle::caption2: return 11;
  }
  return 17;
}

// A font: with an empty face name, the system font of the style's size and the weight.
struct DSFontToken {
  DSTextStyle textStyle = DSTextStyle::body;
  std::string_view faceName;
  DSFontWeight fallbackWeight = DSFontWeight::regular;
  constexpr bool operator==(const DSFontToken&) const = default;
};

namespace DSTypography {
inline constexpr DSFontToken largeTitle{DSTextStyle::largeTitle, "AvenirNext-Bold", DSFontWeight::bold};
inline constexpr DSFontToken title{DSTextStyle::title1, "AvenirNext-DemiBold", DSFontWeight::semibold};
inline constexpr DSFontToken headline{DSTextStyle::headline, "AvenirNext-DemiBold", DSFontWeight::semibold};
inline constexpr DSFontToken body{DSTextStyle::body, "AvenirNext-Regular", DSFontWeight::regular};
inline constexpr DSFontToken footnote{DSTextStyle::footnote, "AvenirNext-DemiBold", DSFontWeight::semibold};
inline constexpr DSFontToken caption{DSTextStyle::caption1, "AvenirNext-Medium", DSFontWeight::medium};
inline constexpr DSFontToken captionSmall{DSTextStyle::caption2, "AvenirNext-Medium", DSFontWeight::medium};
inline constexpr DSFontToken captionSmallBold{DSTextStyle::caption2, "AvenirNext-Bold", DSFontWeight::bold};
}  // namespace DSTypography

}  // namespace halvane
