#pragma once
// The editor screen: one window's worth of widgets around one editing session. It
// builds the view tree (top bar, the preview that takes what the bars or the open
// panel leave, the undo and redo bar, the tool strip, the adjust panel with its slider
// bar and Kelvin presets, a frame for each other tool), hands the session its views
// and its screen, forwards taps, keys and the widget's life cycle to the session, and
// shows what the session asks for: transitions on the spring animator, the preview
// surface, alerts, the share sheet and the export card.
// The behaviour is the session's (Halvane/Editor/EditorSession.h). Main thread only.
#include <QWidget>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Halvane/Editor/AppContainer.h"
#include "Halvane/Editor/EditorSession.h"
#include "Halvane/Import/MediaContent.h"
#include "Halvane/Editor/MediaViewControllerDelegate.h"
#include "Halvane/Editor/Widgets/EditorTransitions.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Media/AudioSink.h"
#include "Platform/System/Haptics.h"

class QShortcut;

namespace halvane::panels {
class AdjustPanelView;
class AdjustSliderBar;
class KelvinPresetRow;
class TopBarView;
class ToolStripView;
class UndoRedoBar;
}  // namespace halvane::panels

namespace halvane::editor {

class EditorPreview;
class ToolFrameView;

struct MediaViewOptions {
  // The queue the preview's frames are delivered on: the application's main queue.
  std::shared_ptr<platform::dispatch::MainQueue> mainQueue;
  // Where a video's sound goes; none plays it silently.
  std::shared_ptr<platform::media::AudioSink> audioSink;
  // The source's file name, from which the share sheet suggests a name.
  std::string sourceName;
  // The rulers' clicks; none: the desktop's, which have no actuator.
  std::shared_ptr<platform::system::Haptics> haptics = nullptr;
};

class MediaViewController : public QWidget {
  Q_OBJECT

 public:
  // Space between the preview and the bars, and between the two bars.
  static constexpr int kBarGap = 8;

  // Builds the views and the session, then loads the medium (a load error is told by
  // an alert on the next turn of the main queue).
  MediaViewController(MediaContent content, std::shared_ptr<AppContainer> container, MediaViewOptions options,
                      QWidget* parent = nullptr);
  ~MediaViewController() override;

  const std::shared_ptr<EditorSession>& session() const { return session_; }
  void setDelegate(std::weak_ptr<MediaViewControllerDelegate> delegate);

  // The keyboard's ways in. Undo, redo and share act only while no tool is open;
  // cancel and confirm only while one is.
  void undoFromKeyboard();
  void redoFromKeyboard();
  void shareFromKeyboard();
  void cancelOpenTool();
  void confirmOpenTool();
  // The close button's path, available at any time.
  void closeEditor();

  // The session dismissed itself: closed, or ended by the load error's alert.
  std::function<void()> onDismissed;
  bool isBeingDismissed() const { return isBeingDismissed_; }

  panels::TopBarView* topBar() const { return topBar_; }
  panels::UndoRedoBar* undoRedoBar() const { return undoRedoBar_; }
  panels::ToolStripView* toolStrip() const { return toolStrip_; }
  // The tool's panel: the adjust panel, or the frame of another tool.
  QWidget* toolPanel(MediaTool tool) const { return toolPanels_[static_cast<size_t>(tool)]; }
  panels::AdjustPanelView* adjustPanel() const { return adjustPanel_; }
  panels::AdjustSliderBar* adjustSliderBar() const { return adjustSliderBar_; }
  panels::KelvinPresetRow* adjustPresetRow() const { return adjustPresetRow_; }
  QWidget* previewContainer() const { return previewContainer_; }
  EditorPreview* preview() const { return preview_.get(); }

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  friend class MediaViewScreen;

  void buildViews();
  EditorViews makeViews();
  void wireControls();
  void addShortcuts();
  void toolOpenChanged(bool open);
  // Lays out every widget for the current size and preview inset.
  void layoutChrome();
  // The preview's distance from the bottom edge for the tie the session asked for.
  double targetPreviewInset() const;
  void dismiss();

  MediaViewOptions options_;
  std::shared_ptr<AppContainer> container_;
  EditorTransitions transitions_{this};
  panels::TopBarView* topBar_;
  QWidget* previewContainer_;
  panels::UndoRedoBar* undoRedoBar_;
  panels::ToolStripView* toolStrip_;
  std::array<QWidget*, 6> toolPanels_{};
  panels::AdjustPanelView* adjustPanel_;
  panels::AdjustSliderBar* adjustSliderBar_;
  panels::KelvinPresetRow* adjustPresetRow_;
  // Containers of the other tools' extra controls and overlays, filled by their panels.
  QWidget* filterSliderBar_;
  QWidget* focusControls_;
  QWidget* focusOverlay_;
  QWidget* cropOverlay_;
  std::unique_ptr<EditorPreview> preview_;
  std::optional<MediaTool> previewTie_;
  double previewInset_ = 0;
  std::array<QShortcut*, 3> toolShortcuts_{};
  std::shared_ptr<EditorScreen> screen_;
  std::shared_ptr<EditorSession> session_;
  bool hasAppeared_ = false;
  bool isBeingDismissed_ = false;
  platform::dispatch::NotificationCenter::ObserverToken memoryWarningObserver_ = 0;
};

}  // namespace halvane::editor
