#pragma once
// The design system's button: a capsule 52 high in one of three styles, fixed at
// creation, whose colours follow its state (enabled, highlighted while pressed or
// checked, disabled). A press shrinks it a little on the quick spring and lets go the
// same way. While loading it shows an activity indicator beside its title and takes
// neither clicks nor keys. Tab reaches it; Space and Enter press it. Its accessible name
// is its title. Main thread only.
#include <QAbstractButton>
#include <QPointer>

#include <functional>

#include "Halvane/DesignSystem/DSButtonAppearance.h"
#include "Halvane/DesignSystem/Widgets/DSButtonPainter.h"

class QVariantAnimation;

namespace platform::qt {
class SpringAnimator;
}

namespace halvane {

class DSButton final : public QAbstractButton {
 public:
  using Style = DSButtonStyle;

  DSButton(const QString& title, Style style, QWidget* parent = nullptr);
  ~DSButton() override;

  Style buttonStyle() const { return style_; }
  bool isLoading() const { return loading_; }
  void setLoading(bool loading);
  // The title is drawn as it stands: an ampersand is a character, never a mnemonic.
  const QString& title() const { return title_; }
  void setTitle(const QString& title);

  DSControlState controlState() const;
  // The press feedback's current scale, 1 at rest.
  double pressScale() const { return pressScale_; }
  // What paintEvent draws, for tests and for painting elsewhere.
  DSButtonPaintState paintState() const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  // Runs after each click, after Qt's clicked signal.
  std::function<void()> onTap;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& position) const override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void animatePress(double scale);
  // A press that ends without a release signal (focus lost, loading begun) lets go too.
  void letGoIfReleased();

  Style style_;
  QString title_;
  bool loading_ = false;
  double pressScale_ = 1;
  double pressTarget_ = 1;
  double indicatorTurn_ = 0;
  QPointer<platform::qt::SpringAnimator> pressAnimation_;
  QVariantAnimation* indicatorAnimation_;
};

}  // namespace halvane
