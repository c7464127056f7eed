#include "Halvane/Panels/Widgets/ExportProgressView.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSTypography.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/ProgressTrack.h"
#include "Halvane/Panels/Widgets/QuickTransition.h"
#include "Halvane/Panels/Widgets/SpinnerView.h"
#include "Halvane/Panels/Widgets/TextButton.h"

namespace halvane::panels {

namespace {
constexpr int kCardPadding = 20;
constexpr qreal kCardRadius = 16;
constexpr int kSpacingAfterTitle = 16;
constexpr int kSpacingAfterBar = 8;
constexpr int kSpacingAfterSpinner = 16;
constexpr int kSpacingAfterPercent = 12;

// The card paints its own rounded surface; the stack lies inside it.
class Card : public QWidget {
public:
  using QWidget::QWidget;

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(continuousRoundedRect(QRectF(rect()), kCardRadius), qColor(DSColor::bgSecondary));
  }
};

QLabel* makeLabel(const QString& text, const DSFontToken& face, const DSRGBA& color, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setFont(DSFont::font(face));
  label->setAlignment(Qt::AlignCenter);
  label->setWordWrap(true);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, qColor(color));
  label->setPalette(palette);
  return label;
}
}  // namespace

ExportProgressView::ExportProgressView(QWidget* parent)
    : QWidget(parent),
      card_(new Card(this)),
      stack_(new QVBoxLayout(card_)),
      titleLabel_(makeLabel(DSL10n::text(DSL10n::Export::exporting),
                            DSTypography::headline, DSColor::textPrimary, card_)),
      progressBar_(new ProgressTrack(card_)),
      spinner_(new SpinnerView(card_)),
      percentLabel_(makeLabel(QString::fromStdString(state_.percentText()), DSTypography::caption,
                              DSColor::textSecondary, card_)),
      cancelButton_(new TextButton(DSL10n::text(DSL10n::Common::cancel),
                                   qColor(DSColor::textSecondary), card_)),
      fade_(new QGraphicsOpacityEffect(this)) {
  card_->setFixedWidth(kCardWidth);
  stack_->setContentsMargins(kCardPadding, kCardPadding, kCardPadding, kCardPadding);
  stack_->setSpacing(0);
  titleLabel_->setAccessibleName(titleLabel_->text());
  progressBar_->setAccessibleName(titleLabel_->text());
  connect(cancelButton_, &QAbstractButton::clicked, this, [this] { if (onCancel) onCancel(); });
  fade_->setOpacity(1);
  setGraphicsEffect(fade_);
  applyState();
}

qreal ExportProgressView::opacity() const { return fade_->opacity(); }

void ExportProgressView::show(QWidget* parent) {
  fade_->setOpacity(0);
  setParent(parent);
  setGeometry(parent->rect());
  parent->installEventFilter(this);
  QWidget::show();
  raise();
  springQuickly(fade_, "opacity", 1.0);
}

void ExportProgressView::setProgress(double value) {
  const bool wasIndeterminate = state_.isIndeterminate();
  state_.setProgress(value);
  progressBar_->setFraction(state_.progress());
  percentLabel_->setText(QString::fromStdString(state_.percentText()));
  // Values arrive often during an export; the card changes shape only once.
  if (wasIndeterminate) applyState();
}

void ExportProgressView::setIndeterminate(const QString& title) {
  titleLabel_->setText(title);
  titleLabel_->setAccessibleName(title);
  state_.setIndeterminate();
  applyState();
}

void ExportProgressView::dismiss(std::function<void()> completion) {
  if (!state_.beginDismiss()) return;
  springQuickly(fade_, "opacity", 0.0, [this, completion = std::move(completion)] {
    if (parentWidget()) parentWidget()->removeEventFilter(this);
    hide();
    setParent(nullptr);
    deleteLater();
    if (completion) completion();
  });
}

void ExportProgressView::applyState() {
  // Hidden parts leave no space behind, as a stack view closes its gaps.
  while (QLayoutItem* item = stack_->takeAt(0)) delete item;
  const auto add = [this](QWidget* widget, bool visible, int spacingAfter) {
    widget->setVisible(visible);
    if (!visible) return;
    stack_->addWidget(widget, 0, Qt::AlignHCenter);
    if (spacingAfter > 0) stack_->addSpacing(spacingAfter);
  };
  add(titleLabel_, true, kSpacingAfterTitle);
  progressBar_->setFixedWidth(kCardWidth - 2 * kCardPadding);
  add(progressBar_, state_.showsProgressBar(), kSpacingAfterBar);
  if (state_.spinnerRunning() && !spinner_->isRunning()) spinner_->start();
  if (!state_.spinnerRunning()) spinner_->stop();
  add(spinner_, state_.spinnerRunning(), kSpacingAfterSpinner);
  add(percentLabel_, state_.showsPercent(), kSpacingAfterPercent);
  add(cancelButton_, state_.showsCancel(), 0);
  if (QLayoutItem* last = stack_->itemAt(stack_->count() - 1); last && last->spacerItem()) delete stack_->takeAt(stack_->count() - 1);
  card_->adjustSize();
  centreCard();
}

void ExportProgressView::centreCard() { card_->move((width() - card_->width()) / 2, (height() - card_->height()) / 2); }

void ExportProgressView::resizeEvent(QResizeEvent*) { centreCard(); }

bool ExportProgressView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parentWidget() && event->type() == QEvent::Resize) setGeometry(parentWidget()->rect());
  return QWidget::eventFilter(watched, event);
}

void ExportProgressView::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), qColor(DSColor::scrim.withAlpha(DSColor::kScrimAlpha)));
}

}  // namespace halvane::panels
