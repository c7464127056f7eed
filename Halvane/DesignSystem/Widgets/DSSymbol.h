#pragma once
// Draws the editor's symbols from the Material Icons font, as outlines scaled to any box,
// so that they are sharp at every device pixel ratio and take any tint. The font is
// loaded once from Debian's fonts-material-design-icons-iconfont; main thread only, and
// a QGuiApplication must exist.
#include <QColor>
#include <QIcon>
#include <QPainterPath>
#include <QPixmap>
#include <QRawFont>
#include <QRectF>

#include <string_view>

#include "Halvane/DesignSystem/DSIcon.h"
#include "Halvane/DesignSystem/DSTypography.h"

class QPainter;

namespace halvane::DSIcon {

inline constexpr const char* kMaterialIconsFontPath =
    "/usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf";

// The icon font, or an invalid one when it is not installed.
const QRawFont& iconFont();
// The symbol's outline filling a square `box` as the font's em square fills its glyph
// cell; empty for an unknown name or a glyph the font lacks.
QPainterPath symbolPath(std::string_view symbolName, const QRectF& box);
// Paints the symbol centred in `box` in the largest square that fits. A heavier weight
// thickens the outline a little, as the font has one weight. False when there is no
// glyph to paint.
bool paintSymbol(QPainter& painter, const QRectF& box, std::string_view symbolName, const QColor& tint,
                 DSFontWeight weight = DSFontWeight::medium);
// A pixmap of `points` by `points` logical pixels at `devicePixelRatio`; a null pixmap
// when there is no glyph.
QPixmap pixmap(std::string_view symbolName, double points, const QColor& tint, qreal devicePixelRatio,
               DSFontWeight weight = DSFontWeight::medium);
// An icon drawn afresh for each size and pixel ratio asked of it; disabled, it takes the
// tint at alpha 0.4.
QIcon icon(std::string_view symbolName, const QColor& tint, DSFontWeight weight = DSFontWeight::medium);

}  // namespace halvane::DSIcon
