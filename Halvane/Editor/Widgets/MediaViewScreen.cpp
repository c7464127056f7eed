#include "Halvane/Editor/Widgets/MediaViewScreen.h"

#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "Halvane/Editor/Widgets/MediaViewController.h"
#include "Halvane/Editor/Widgets/ShareSheet.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/TextButton.h"

namespace halvane::editor {

namespace {

// The export card as the session sees it.
class ProgressCard final : public ExportProgressView {
 public:
  explicit ProgressCard(panels::ExportProgressView* view) : view_(view) {
    view->onCancel = [this] {
      if (onCancel) onCancel();
    };
  }
  ~ProgressCard() override {
    if (view_) view_->onCancel = nullptr;
  }
  void setProgress(float fraction) override {
    if (view_) view_->setProgress(fraction);
  }
  void fadeOut(std::function<void()> whenGone) override {
    if (view_) {
      view_->dismiss(std::move(whenGone));
    } else if (whenGone) {
      whenGone();
    }
  }

 private:
  QPointer<panels::ExportProgressView> view_;
};

// The alert in the editor's colours: title in the headline face over the message.
void styleAlert(QMessageBox& box) {
  const auto css = [](const DSRGBA& colour) { return qColor(colour).name(QColor::HexArgb); };
  box.setStyleSheet(QStringLiteral("QMessageBox { background: %1; }"
                                   "QLabel { color: %2; min-width: 240px; }"
                                   "QPushButton { background: %3; color: %4; border: none; border-radius: 8px;"
                                   " padding: 6px 20px; min-height: 24px; }"
                                   "QPushButton:pressed { background: %5; }")
                        .arg(css(DSColor::bgSecondary), css(DSColor::textPrimary), css(DSColor::bgElevated),
                             css(DSColor::accent), css(DSColor::accentSoft)));
  if (auto* title = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
    title->setFont(DSFont::font(DSTextStyle::headline, "AvenirNext-DemiBold", DSFontWeight::semibold));
  }
}

}  // namespace

// The session's screen: what it asks of the platform, served by the widget. It holds
// the widget weakly; once the widget has gone it does nothing.
class MediaViewScreen final : public EditorScreen {
 public:
  explicit MediaViewScreen(MediaViewController* controller) : controller_(controller) {}

  bool hasWindow() const override { return controller_ && controller_->isVisible(); }
  void layoutIfNeeded() override {
    if (!controller_) return;
    QPointer<MediaViewController> controller = controller_;
    controller_->transitions_.setValue(controller_->previewInset_, controller_->targetPreviewInset(),
                                       [controller](double inset) {
                                         if (!controller) return;
                                         controller->previewInset_ = inset;
                                         controller->layoutChrome();
                                       });
  }
  std::shared_ptr<ToolTransition> startTransition(SpringTiming spring, std::function<void()> changes,
                                                  std::function<void(bool atEnd)> completion) override {
    if (!controller_) return nullptr;
    return controller_->transitions_.start(spring, changes, std::move(completion));
  }
  void tiePreviewBottom(std::optional<MediaTool> panel) override {
    if (controller_) controller_->previewTie_ = panel;
  }

  std::shared_ptr<PreviewView> makePreviewView() override {
    if (!controller_) return std::make_shared<PreviewView>();
    auto& preview = controller_->preview_;
    preview = std::make_unique<EditorPreview>(*controller_->container_->renderingEngine,
                                              controller_->options_.mainQueue, controller_->previewContainer_);
    preview->surface()->setAccessibleName(DSL10n::text(controller_->session_ && controller_->session_->isVideo()
                                                           ? DSL10n::Accessibility::video
                                                           : DSL10n::Accessibility::photo));
    return preview->view();
  }
  // The crop frame draws the framing; until it is there the preview shows the whole
  // picture, fitted.
  void updateFraming(bool) override {
    if (!controller_ || !controller_->preview_) return;
    auto& view = *controller_->preview_->view();
    view.displayOverscale = 1;
    view.displayOffsetX = 0;
    view.displayOffsetY = 0;
  }
  bool isFillAnimationRunning() const override { return false; }
  void stopFillAnimation() override {}
  void clearCropLockedRatio() override {}
  void purgeFilterThumbnails() override {}

  void presentAlert(const EditorAlert& alert, std::function<void()> onButton) override {
    if (!controller_) return;
    auto* box = new QMessageBox(controller_);
    styleAlert(*box);
    box->setWindowTitle(DSL10n::text(alert.title));
    box->setText(DSL10n::text(alert.title));
    box->setInformativeText(DSL10n::text(alert.message));
    box->setAccessibleName(DSL10n::text(alert.title));
    auto* button = box->addButton(DSL10n::text(alert.button), QMessageBox::AcceptRole);
    button->setAccessibleName(DSL10n::text(alert.button));
    box->setEscapeButton(button);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(box, &QMessageBox::finished, box, [onButton = std::move(onButton)] {
      if (onButton) onButton();
    });
    box->open();
  }
  void presentShareSheet(ShareItem item, std::function<void()> completion) override {
    if (!controller_) return;
    const bool isPhoto = !controller_->session_ || !controller_->session_->isVideo();
    ShareOffer offer{std::move(item), controller_->options_.sourceName, isPhoto};
    // The sheet covers the session: playback pauses and resumes when it closes.
    std::weak_ptr<EditorSession> session = controller_->session_;
    if (auto strong = session.lock()) strong->viewWillDisappear(false);
    QPointer<MediaViewController> controller = controller_;
    ShareSheet::present(std::move(offer), controller_, [controller, session, completion = std::move(completion)] {
      // Keys go back to the editor, also where no window manager hands them over.
      if (controller) controller->activateWindow();
      if (auto strong = session.lock()) strong->viewWillAppear();
      if (completion) completion();
    });
  }
  std::shared_ptr<ExportProgressView> showExportProgress(bool indeterminate) override {
    if (!controller_) return nullptr;
    auto* view = new panels::ExportProgressView;
    view->show(controller_);
    if (indeterminate) {
      view->setIndeterminate(DSL10n::text(DSL10n::Export::exporting));
      // A photo's render can be abandoned too: its card keeps the cancel button.
      view->cancelButton()->show();
    }
    return std::make_shared<ProgressCard>(view);
  }

  void dismiss(bool) override {
    if (controller_) controller_->dismiss();
  }
  bool isBeingDismissed() const override { return controller_ && controller_->isBeingDismissed_; }

 private:
  QPointer<MediaViewController> controller_;
};

std::shared_ptr<EditorScreen> makeMediaViewScreen(MediaViewController* controller) {
  return std::make_shared<MediaViewScreen>(controller);
}

}  // namespace halvane::editor
