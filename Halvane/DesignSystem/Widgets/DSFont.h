#pragma once
// Fonts of the typography tokens. A face of the Avenir Next family is used where the
// desktop has that family; Linux desktops don't, and there every token takes the
// desktop's own font at the token's fallback weight. Sizes are the
// text styles' points (logical pixels) scaled by the desktop's text size: the
// application font's size over kStandardDesktopPointSize. They follow a font DPI setting
// too, since Qt converts points through the logical DPI.
#include <QFont>

#include <string_view>

#include "Halvane/DesignSystem/DSTypography.h"

namespace halvane::DSFont {

inline constexpr double kStandardDesktopPointSize = 10;

double textScale();
QFont font(DSTextStyle textStyle, std::string_view faceName, DSFontWeight fallbackWeight);
QFont font(const DSFontToken& token);
QFont::Weight qWeight(DSFontWeight weight);

}  // namespace halvane::DSFont
