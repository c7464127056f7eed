#pragma once
// Labels in the typography and colours of the design system: any number of lines, and a
// font that follows the desktop's text size when it changes.
#include <QLabel>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSTypography.h"

namespace halvane {

class DSTextLabel final : public QLabel {
 public:
  DSTextLabel(const QString& text, const DSFontToken& font, const DSRGBA& colour, QWidget* parent = nullptr);

  const DSFontToken& fontToken() const { return token_; }
  void setTextColour(const DSRGBA& colour);

 protected:
  bool event(QEvent* event) override;

 private:
  DSFontToken token_;
};

namespace DSLabel {
DSTextLabel* largeTitle(const QString& text, QWidget* parent = nullptr);
DSTextLabel* title(const QString& text, QWidget* parent = nullptr);
DSTextLabel* headline(const QString& text, QWidget* parent = nullptr);
DSTextLabel* body(const QString& text, QWidget* parent = nullptr);
DSTextLabel* caption(const QString& text, QWidget* parent = nullptr);
}  // namespace DSLabel

}  // namespace halvane
