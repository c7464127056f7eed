#include "Halvane/Editor/Widgets/MediaViewController.h"

#include <QCloseEvent>
#include <QHideEvent>
#include <QKeySequence>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QShowEvent>
#include <QTimer>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Editor/EditorServices.h"
#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "Halvane/Editor/Widgets/EditorViewAdapters.h"
#include "Halvane/Editor/Widgets/ShareSheet.h"
#include "Halvane/Editor/Widgets/ToolFrameView.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/TextButton.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"

namespace halvane::editor {

namespace {

QImage qImage(const platform::media::Image& image) {
  return QImage(image.pixels.data(), image.width, image.height, qsizetype(image.bytesPerRow()),
                QImage::Format_ARGB32_Premultiplied)
      .copy();
}

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
class MediaViewController::Screen final : public EditorScreen {
 public:
  explicit Screen(MediaViewController* controller) : controller_(controller) {}

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
    preview = std::make_unique<EditorPreview>(*controller_->container_->renderingEngine, controller_->options_.mainQueue,
                                              controller_->previewContainer_);
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

MediaViewController::MediaViewController(MediaContent content, std::shared_ptr<AppContainer> container,
                                         MediaViewOptions options, QWidget* parent)
    : QWidget(parent), options_(std::move(options)), container_(std::move(container)) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  // The screen itself holds the focus until Tab moves it to a control, so no control
  // wears a focus ring that nobody asked for.
  setFocusPolicy(Qt::StrongFocus);
  buildViews();
  screen_ = std::make_shared<Screen>(this);
  session_ = EditorSession::create(
      std::move(content), container_, makeViews(), screen_,
      makeEditorServices(container_->renderingEngine, {.audioSink = options_.audioSink, .backgroundTasks = nullptr}));
  wireControls();
  addShortcuts();
  previewInset_ = targetPreviewInset();
  session_->viewDidLoad();
  topBar_->setTitle(DSL10n::text(DSL10n::Editor::editTitle));
  if (const auto& image = container_->configuration().shareButtonImage) topBar_->setShareButtonImage(qImage(*image));
  layoutChrome();
}

MediaViewController::~MediaViewController() {
  // The session's end of life runs while the widgets it names still stand.
  session_.reset();
  preview_.reset();
}

void MediaViewController::setDelegate(std::weak_ptr<MediaViewControllerDelegate> delegate) {
  session_->setDelegate(std::move(delegate));
}

void MediaViewController::buildViews() {
  previewContainer_ = new QWidget(this);
  const auto overlay = [&] {
    auto* view = new QWidget(previewContainer_);
    view->setAttribute(Qt::WA_TransparentForMouseEvents);
    view->hide();
    return view;
  };
  focusOverlay_ = overlay();
  cropOverlay_ = overlay();

  topBar_ = new panels::TopBarView(this);
  undoRedoBar_ = new panels::UndoRedoBar(this);
  toolStrip_ = new panels::ToolStripView(this);
  for (MediaTool tool : kAllMediaTools) {
    auto* frame = new ToolFrameView(tool, this);
    frame->hide();
    toolFrames_[static_cast<size_t>(tool)] = frame;
  }
  const auto bar = [&] {
    auto* view = new QWidget(this);
    view->hide();
    return view;
  };
  filterSliderBar_ = bar();
  adjustSliderBar_ = bar();
  adjustPresetRow_ = bar();
  focusControls_ = bar();
  // Tab walks the screen from top to bottom.
  setTabOrder(topBar_, undoRedoBar_);
  setTabOrder(undoRedoBar_, toolStrip_);
}

EditorViews MediaViewController::makeViews() {
  const auto fading = [&](QWidget* widget) { return std::make_shared<WidgetFadingView>(widget, transitions_); };
  EditorViews views;
  views.topBar = fading(topBar_);
  views.undoRedoBar = std::make_shared<UndoRedoAdapter>(undoRedoBar_, transitions_);
  views.toolStrip = std::make_shared<ToolStripAdapter>(toolStrip_, transitions_);
  for (MediaTool tool : kAllMediaTools) {
    auto panel = std::make_shared<ToolFramePanel>(toolFrame(tool), transitions_);
    panel->onOpenChanged = [this](bool open) { toolOpenChanged(open); };
    views.panels[static_cast<size_t>(tool)] = std::move(panel);
  }
  views.filterSliderBar = fading(filterSliderBar_);
  views.adjustSliderBar = fading(adjustSliderBar_);
  views.adjustPresetRow = fading(adjustPresetRow_);
  views.focusControls = fading(focusControls_);
  views.focusOverlay = fading(focusOverlay_);
  views.cropOverlay = fading(cropOverlay_);
  return views;
}

void MediaViewController::wireControls() {
  std::weak_ptr<EditorSession> weak = session_;
  const auto call = [weak](auto action) {
    return [weak, action] {
      if (auto session = weak.lock()) action(*session);
    };
  };
  topBar_->onClose = call([](EditorSession& session) { session.closeTapped(); });
  topBar_->onShare = call([](EditorSession& session) { session.shareTapped(); });
  undoRedoBar_->onUndo = call([](EditorSession& session) { session.undoTapped(); });
  undoRedoBar_->onRedo = call([](EditorSession& session) { session.redoTapped(); });
  toolStrip_->onToolSelected = [weak](MediaTool tool) {
    if (auto session = weak.lock()) session->toolSelected(tool);
  };
}

void MediaViewController::addShortcuts() {
  const auto add = [&](const QKeySequence& keys, void (MediaViewController::*action)()) {
    auto* shortcut = new QShortcut(keys, this);
    shortcut->setContext(Qt::WindowShortcut);
    connect(shortcut, &QShortcut::activated, this, action);
    return shortcut;
  };
  add(QKeySequence::Undo, &MediaViewController::undoFromKeyboard);
  add(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), &MediaViewController::redoFromKeyboard);
  add(QKeySequence(Qt::CTRL | Qt::Key_S), &MediaViewController::shareFromKeyboard);
  add(QKeySequence(Qt::CTRL | Qt::Key_W), &MediaViewController::closeEditor);
  // Escape and Enter belong to an open tool; otherwise they stay with the focused control.
  toolShortcuts_ = {add(QKeySequence(Qt::Key_Escape), &MediaViewController::cancelOpenTool),
                    add(QKeySequence(Qt::Key_Return), &MediaViewController::confirmOpenTool),
                    add(QKeySequence(Qt::Key_Enter), &MediaViewController::confirmOpenTool)};
  for (auto* shortcut : toolShortcuts_) shortcut->setEnabled(false);
}

void MediaViewController::toolOpenChanged(bool open) {
  for (auto* shortcut : toolShortcuts_) shortcut->setEnabled(open);
  // The control that opened or closed the tool fades away; focus stays with the screen.
  setFocus(Qt::OtherFocusReason);
}

void MediaViewController::undoFromKeyboard() {
  if (session_ && !session_->isToolActive()) session_->undoTapped();
}

void MediaViewController::redoFromKeyboard() {
  if (session_ && !session_->isToolActive()) session_->redoTapped();
}

void MediaViewController::shareFromKeyboard() {
  if (session_ && !session_->isToolActive()) session_->shareTapped();
}

void MediaViewController::cancelOpenTool() {
  if (!session_) return;
  if (auto tool = session_->activeTool()) {
    if (auto& onCancel = session_->views().panel(*tool).onCancel) onCancel();
  }
}

void MediaViewController::confirmOpenTool() {
  if (!session_) return;
  if (auto tool = session_->activeTool()) {
    if (auto& onConfirm = session_->views().panel(*tool).onConfirm) onConfirm();
  }
}

void MediaViewController::closeEditor() {
  if (session_) session_->closeTapped();
}

double MediaViewController::targetPreviewInset() const {
  if (previewTie_) return toolPanelHeight(*previewTie_);
  return panels::ToolStripView::kHeight + kBarGap + panels::UndoRedoBar::kHeight + kBarGap;
}

void MediaViewController::layoutChrome() {
  const int w = width();
  const int h = height();
  topBar_->setGeometry(0, 0, w, topBar_->height());
  toolStrip_->setGeometry(0, h - panels::ToolStripView::kHeight, w, panels::ToolStripView::kHeight);
  undoRedoBar_->setGeometry(0, h - panels::ToolStripView::kHeight - kBarGap - panels::UndoRedoBar::kHeight, w,
                            panels::UndoRedoBar::kHeight);
  for (MediaTool tool : kAllMediaTools) {
    const int panelHeight = int(toolPanelHeight(tool));
    toolFrame(tool)->setGeometry(0, h - panelHeight, w, panelHeight);
  }
  // A tool's extra controls stand on top of its panel, as tall as they ask.
  const auto above = [&](QWidget* bar, MediaTool tool) {
    const int barHeight = std::max(0, bar->sizeHint().height());
    bar->setGeometry(0, h - int(toolPanelHeight(tool)) - barHeight, w, barHeight);
  };
  above(filterSliderBar_, MediaTool::filter);
  above(adjustSliderBar_, MediaTool::adjust);
  above(adjustPresetRow_, MediaTool::adjust);
  above(focusControls_, MediaTool::focus);

  const int top = topBar_->height();
  previewContainer_->setGeometry(0, top, w, std::max(0, h - top - int(std::lround(previewInset_))));
  focusOverlay_->setGeometry(previewContainer_->rect());
  cropOverlay_->setGeometry(previewContainer_->rect());
  if (preview_) preview_->fitToContainer();
}

void MediaViewController::resizeEvent(QResizeEvent*) {
  layoutChrome();
  if (session_) session_->viewDidLayoutSubviews();
}

void MediaViewController::showEvent(QShowEvent* event) {
  if (event->spontaneous() || !session_) return;
  session_->viewWillAppear();
  if (hasAppeared_) return;
  hasAppeared_ = true;
  setFocus(Qt::OtherFocusReason);
  QPointer<MediaViewController> self = this;
  QTimer::singleShot(0, this, [self] {
    if (self && self->session_) self->session_->viewDidAppear();
  });
}

void MediaViewController::hideEvent(QHideEvent* event) {
  if (event->spontaneous() || !session_) return;
  session_->viewWillDisappear(isBeingDismissed_);
}

void MediaViewController::closeEvent(QCloseEvent* event) {
  // The window's own close ends the session as the close button does.
  if (session_ && !isBeingDismissed_) session_->closeTapped();
  event->accept();
}

void MediaViewController::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), qColor(DSColor::bgPrimary));
}

void MediaViewController::dismiss() {
  if (isBeingDismissed_) return;
  isBeingDismissed_ = true;
  // Out of the session's call: the host may close the window and end the session.
  QPointer<MediaViewController> self = this;
  QTimer::singleShot(0, this, [self] {
    if (!self) return;
    if (self->onDismissed) {
      self->onDismissed();
    } else {
      self->hide();
    }
  });
}

}  // namespace halvane::editor
