#include "Halvane/DesignSystem/Widgets/DSSymbol.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>

#include <algorithm>
#include <string>

namespace halvane::DSIcon {

namespace {

// Outlines are taken at the font's design size, 24 pixels to the em.
constexpr double kDesignPixelSize = 24;

double strokeFraction(DSFontWeight weight) {
  switch (weight) {
    case DSFontWeight::regular:
    case DSFontWeight::medium: return 0;
    case DSFontWeight::semibold: return 0.025;
    case DSFontWeight::bold: return 0.045;
  }
  return 0;
}

class SymbolIconEngine final : public QIconEngine {
 public:
  SymbolIconEngine(std::string symbolName, QColor tint, DSFontWeight weight)
      : symbolName_(std::move(symbolName)), tint_(tint), weight_(weight) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    QColor tint = tint_;
    if (mode == QIcon::Disabled) tint.setAlphaF(tint.alphaF() * 0.4f);
    paintSymbol(*painter, rect, symbolName_, tint, weight_);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1.0);
  }
  // Qt asks with `size` in device pixels.
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override {
    QPixmap result(size);
    result.setDevicePixelRatio(scale);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    paint(&painter, QRect(QPoint(0, 0), size / scale), mode, state);
    return result;
  }
  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
    const int side = std::min(size.width(), size.height());
    return {side, side};
  }
  QIconEngine* clone() const override { return new SymbolIconEngine(symbolName_, tint_, weight_); }
  QString key() const override { return QStringLiteral("DSSymbol"); }

 private:
  std::string symbolName_;
  QColor tint_;
  DSFontWeight weight_;
};

}  // namespace

const QRawFont& iconFont() {
  static const QRawFont font = [] {
    QFile file(QString::fromLatin1(kMaterialIconsFontPath));
    if (!file.open(QIODevice::ReadOnly)) return QRawFont();
    return QRawFont(file.readAll(), kDesignPixelSize);
  }();
  return font;
}

QPainterPath symbolPath(std::string_view symbolName, const QRectF& box) {
  const std::optional<SymbolGlyph> glyph = glyphForSymbol(symbolName);
  const QRawFont& font = iconFont();
  if (!glyph || !font.isValid() || !font.supportsCharacter(glyph->codepoint)) return {};
  const QList<quint32> indexes = font.glyphIndexesForString(QString::fromUcs4(&glyph->codepoint, 1));
  if (indexes.isEmpty() || indexes.first() == 0) return {};
  // The glyph cell is the em square standing on the baseline.
  const double em = font.ascent() + font.descent();
  const double side = std::min(box.width(), box.height());
  const double scale = side / em;
  QTransform transform;
  transform.translate(box.center().x() - side / 2, box.center().y() - side / 2 + font.ascent() * scale);
  transform.scale(scale, scale);
  return transform.map(font.pathForGlyph(indexes.first()));
}

bool paintSymbol(QPainter& painter, const QRectF& box, std::string_view symbolName, const QColor& tint,
                 DSFontWeight weight) {
  const QPainterPath path = symbolPath(symbolName, box);
  if (path.isEmpty()) return false;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillPath(path, tint);
  if (const double stroke = strokeFraction(weight) * std::min(box.width(), box.height()); stroke > 0)
    painter.strokePath(path, QPen(tint, stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.restore();
  return true;
}

QPixmap pixmap(std::string_view symbolName, double points, const QColor& tint, qreal devicePixelRatio,
               DSFontWeight weight) {
  const int side = static_cast<int>(std::ceil(points * devicePixelRatio));
  if (side <= 0 || symbolPath(symbolName, QRectF(0, 0, points, points)).isEmpty()) return {};
  QPixmap result(side, side);
  result.setDevicePixelRatio(devicePixelRatio);
  result.fill(Qt::transparent);
  QPainter painter(&result);
  paintSymbol(painter, QRectF(0, 0, points, points), symbolName, tint, weight);
  return result;
}

QIcon icon(std::string_view symbolName, const QColor& tint, DSFontWeight weight) {
  return QIcon(new SymbolIconEngine(std::string(symbolName), tint, weight));
}

}  // namespace halvane::DSIcon
