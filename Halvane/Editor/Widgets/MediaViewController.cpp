#include "Halvane/Editor/Widgets/MediaViewController.h"

#include <QCloseEvent>
#include <QHideEvent>
#include <QKeySequence>
#include <QPainter>
#include <QPointer>
#include <QShortcut>
#include <QShowEvent>
#include <QTimer>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Editor/EditorServices.h"
#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "Halvane/Editor/Widgets/EditorViewAdapters.h"
#include "Halvane/Editor/Widgets/MediaViewScreen.h"
#include "Halvane/Editor/Widgets/QtImage.h"
#include "Halvane/Editor/Widgets/ToolFrameView.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSliderBar.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"
#include "Platform/Dispatch/SystemNotifications.h"

namespace halvane::editor {

MediaViewController::MediaViewController(MediaContent content, std::shared_ptr<AppContainer> container,
                                         MediaViewOptions options, QWidget* parent)
    : QWidget(parent), options_(std::move(options)), container_(std::move(container)) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  // The screen itself holds the focus until Tab moves it to a control, so no control
  // wears a focus ring that nobody asked for.
  setFocusPolicy(Qt::StrongFocus);
  buildViews();
  screen_ = makeMediaViewScreen(this);
  session_ = EditorSession::create(
      std::move(content), container_, makeViews(), screen_,
      makeEditorServices(container_->renderingEngine, {.audioSink = options_.audioSink, .backgroundTasks = nullptr}));
  wireControls();
  addShortcuts();
  // The system's memory warning, posted on any thread, reaches the session on the main queue.
  memoryWarningObserver_ = platform::dispatch::NotificationCenter::defaultCenter().addObserver(
      platform::dispatch::kMemoryWarningNotification, nullptr,
      [weak = std::weak_ptr(session_), queue = options_.mainQueue](const platform::dispatch::Notification&) {
        queue->async([weak] {
          if (auto session = weak.lock()) session->didReceiveMemoryWarning();
        });
      });
  previewInset_ = targetPreviewInset();
  session_->viewDidLoad();
  topBar_->setTitle(DSL10n::text(DSL10n::Editor::editTitle));
  if (const auto& image = container_->configuration().shareButtonImage) topBar_->setShareButtonImage(qImage(*image));
  layoutChrome();
}

MediaViewController::~MediaViewController() {
  platform::dispatch::NotificationCenter::defaultCenter().removeObserver(memoryWarningObserver_);
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
  adjustPanel_ = new panels::AdjustPanelView(this);
  for (MediaTool tool : kAllMediaTools) {
    QWidget* panel = tool == MediaTool::adjust ? static_cast<QWidget*>(adjustPanel_) : new ToolFrameView(tool, this);
    panel->hide();
    toolPanels_[static_cast<size_t>(tool)] = panel;
  }
  const auto bar = [&] {
    auto* view = new QWidget(this);
    view->hide();
    return view;
  };
  filterSliderBar_ = bar();
  const auto haptics =
      options_.haptics ? options_.haptics : std::make_shared<platform::system::DesktopHaptics>();
  adjustSliderBar_ = new panels::AdjustSliderBar(haptics, this);
  adjustSliderBar_->hide();
  adjustPresetRow_ = new panels::KelvinPresetRow(panels::kKelvinPresets, this);
  adjustPresetRow_->hide();
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
  const auto openChanged = [this](bool open) { toolOpenChanged(open); };
  for (MediaTool tool : kAllMediaTools) {
    if (tool == MediaTool::adjust) {
      auto panel = std::make_shared<AdjustPanelAdapter>(adjustPanel_, adjustSliderBar_, transitions_);
      panel->onOpenChanged = openChanged;
      views.panels[static_cast<size_t>(tool)] = std::move(panel);
      continue;
    }
    auto panel = std::make_shared<ToolFramePanel>(static_cast<ToolFrameView*>(toolPanel(tool)), transitions_);
    panel->onOpenChanged = openChanged;
    views.panels[static_cast<size_t>(tool)] = std::move(panel);
  }
  views.adjustSlider = std::make_shared<AdjustSliderAdapter>(adjustSliderBar_, adjustPresetRow_);
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
    toolPanel(tool)->setGeometry(0, h - panelHeight, w, panelHeight);
  }
  // A tool's extra controls stand on top of its panel, as tall as they ask; the
  // temperature's presets on top of the adjust slider.
  const auto above = [&](QWidget* bar, int bottom) {
    const int barHeight = std::max(0, bar->sizeHint().height());
    bar->setGeometry(0, bottom - barHeight, w, barHeight);
    return bottom - barHeight;
  };
  above(filterSliderBar_, h - int(toolPanelHeight(MediaTool::filter)));
  above(adjustPresetRow_, above(adjustSliderBar_, h - int(toolPanelHeight(MediaTool::adjust))));
  above(focusControls_, h - int(toolPanelHeight(MediaTool::focus)));

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
