#include "Halvane/DesignSystem/Widgets/DSLabel.h"

#include <QEvent>

#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane {

DSTextLabel::DSTextLabel(const QString& text, const DSFontToken& font, const DSRGBA& colour, QWidget* parent)
    : QLabel(text, parent), token_(font) {
  setTextFormat(Qt::PlainText);  // a text is shown as it stands, never read as markup
  setWordWrap(true);
  setFont(DSFont::font(token_));
  setTextColour(colour);
}

void DSTextLabel::setTextColour(const DSRGBA& colour) {
  QPalette palette = this->palette();
  palette.setColor(QPalette::WindowText, qColor(colour));
  setPalette(palette);
}

bool DSTextLabel::event(QEvent* event) {
  if (event->type() == QEvent::ApplicationFontChange) setFont(DSFont::font(token_));
  return QLabel::event(event);
}

namespace DSLabel {
DSTextLabel* largeTitle(const QString& text, QWidget* parent) {
  return new DSTextLabel(text, DSTypography::largeTitle, DSColor::textPrimary, parent);
}
DSTextLabel* title(const QString& text, QWidget* parent) {
  return new DSTextLabel(text, DSTypography::title, DSColor::textPrimary, parent);
}
DSTextLabel* headline(const QString& text, QWidget* parent) {
  return new DSTextLabel(text, DSTypography::headline, DSColor::textPrimary, parent);
}
DSTextLabel* body(const QString& text, QWidget* parent) {
  return new DSTextLabel(text, DSTypography::body, DSColor::textPrimary, parent);
}
DSTextLabel* caption(const QString& text, QWidget* parent) {
  return new DSTextLabel(text, DSTypography::caption, DSColor::textSecondary, parent);
}
}  // namespace DSLabel

}  // namespace halvane
