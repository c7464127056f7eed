#pragma once
// One editing session on one photo or video: the behaviour of the editor screen without
// its widgets. It loads the medium into a texture or a video renderer, owns the
// EditHistory and the state of the open tool, runs the tool state machine common to all
// six tools, undo and redo, the panel transitions, the life cycle and the temporary
// files, and reports to its host through a weakly held delegate. The export is its
// ExportFlow.
//
// Main thread only. The widget layer (MediaViewController) builds the views and the
// screen, creates the session and forwards its events; the session keeps nothing of Qt.
//
// Tool sessions: entering copies the committed state (the history's current one) into
// workingState and into the tool's stateBefore... field, which doubles as the record
// that the tool is open; panels change workingState and show it through
// applyPreviewState; confirm pushes one history entry if the state changed, cancel
// shows the copy again.
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Halvane/Editor/AdjustSession.h"
#include "Halvane/Editor/AppContainer.h"
#include "Halvane/Editor/EditorScreen.h"
#include "Halvane/Editor/EditorServices.h"
#include "Halvane/Editor/EditorViews.h"
#include "Halvane/Editor/ExportFlow.h"
#include "Halvane/Import/MediaContent.h"
#include "Halvane/Editor/MediaViewControllerDelegate.h"
#include "Halvane/Editor/SessionTempFiles.h"
#include "Halvane/Model/EditHistory.h"

namespace halvane {

class EditorSession : public std::enable_shared_from_this<EditorSession> {
 public:
  // Touches nothing of the medium yet. `views` must be complete; services left empty
  // are the real ones over the container's engine.
  static std::shared_ptr<EditorSession> create(MediaContent content, std::shared_ptr<AppContainer> container,
                                               EditorViews views, std::shared_ptr<EditorScreen> screen,
                                               EditorServices services = {});
  // End of life: the teardown steps, which tolerate having run at disappearance.
  ~EditorSession();
  EditorSession(const EditorSession&) = delete;
  EditorSession& operator=(const EditorSession&) = delete;

  void setDelegate(std::weak_ptr<MediaViewControllerDelegate> delegate) { delegate_ = std::move(delegate); }
  // A strong reference, or none when the host has gone.
  std::shared_ptr<MediaViewControllerDelegate> delegate() const { return delegate_.lock(); }

  // --- Life cycle, as the screen delivers it.
  // Wires the panels, enters a configured initial tool, then loads the medium.
  void viewDidLoad();
  void viewWillAppear();
  void viewDidAppear();
  void viewDidLayoutSubviews();
  // `isBeingDismissed`: the session is going away for good (not merely covered).
  void viewWillDisappear(bool isBeingDismissed);
  void didReceiveMemoryWarning();

  // --- Bars.
  void closeTapped();
  void shareTapped() { exportFlow_.shareTapped(); }
  void undoTapped();
  void redoTapped();
  // From the tool strip, which has already marked the tool selected.
  void toolSelected(MediaTool tool);

  // --- Tool sessions. An enter does nothing at all while a tool is open or when its
  // guard fails (trim: a video whose track properties have loaded; audio: a video).
  void enterTool(MediaTool tool);
  void enterTransformTool() { enterTool(MediaTool::transform); }
  void enterFilterTool() { enterTool(MediaTool::filter); }
  void enterAdjustTool() { enterTool(MediaTool::adjust); }
  void enterFocusTool() { enterTool(MediaTool::focus); }
  void enterTrimTool() { enterTool(MediaTool::trim); }
  void enterAudioTool() { enterTool(MediaTool::audio); }
  // `applied`: confirm (one history entry if the state changed) or cancel (the state
  // at entry is shown again; history untouched).
  void exitTool(MediaTool tool, bool applied);
  void exitTransformTool(bool applied) { exitTool(MediaTool::transform, applied); }
  void exitFilterTool(bool applied) { exitTool(MediaTool::filter, applied); }
  void exitAdjustTool(bool applied) { exitTool(MediaTool::adjust, applied); }
  void exitFocusTool(bool applied) { exitTool(MediaTool::focus, applied); }
  void exitTrimTool(bool applied) { exitTool(MediaTool::trim, applied); }
  void exitAudioTool(bool applied) { exitTool(MediaTool::audio, applied); }

  // Shows a state on the preview (photo: only if it differs from the one shown; video:
  // the renderer's state and the player's volume). Reads and writes nothing else.
  void applyPreviewState(const EditState& state);

  // The scratch state of the open tool; panels change it and show it.
  const EditState& workingState() const { return workingState_; }
  void setWorkingState(const EditState& state) { workingState_ = state; }
  bool isToolActive() const;
  // The open tool, read from the stateBefore... fields.
  std::optional<MediaTool> activeTool() const;
  const std::optional<EditState>& stateBefore(MediaTool tool) const;
  const std::optional<EditState>& stateBeforeTransform() const { return stateBefore(MediaTool::transform); }
  const std::optional<EditState>& stateBeforeFilter() const { return stateBefore(MediaTool::filter); }
  const std::optional<EditState>& stateBeforeAdjust() const { return stateBefore(MediaTool::adjust); }
  const std::optional<EditState>& stateBeforeFocus() const { return stateBefore(MediaTool::focus); }
  const std::optional<EditState>& stateBeforeTrim() const { return stateBefore(MediaTool::trim); }
  const std::optional<EditState>& stateBeforeAudio() const { return stateBefore(MediaTool::audio); }

  // --- What the session holds.
  EditHistory& editHistory() { return editHistory_; }
  const EditHistory& editHistory() const { return editHistory_; }
  const MediaContent& content() const { return content_; }
  bool isVideo() const { return std::holds_alternative<std::filesystem::path>(content_); }
  const std::shared_ptr<AppContainer>& container() const { return container_; }
  HalvaneConfig configuration() const { return container_->configuration(); }
  const EditorViews& views() const { return views_; }
  const std::shared_ptr<EditorScreen>& screen() const { return screen_; }
  const EditorServices& services() const { return services_; }
  ExportFlow& exportFlow() { return exportFlow_; }
  AdjustSession& adjustSession() { return adjustSession_; }
  bool isExporting() const { return exportFlow_.isExporting(); }
  SessionTempFiles& tempFiles() { return tempFiles_; }
  const SessionTempFiles& tempFiles() const { return tempFiles_; }

  bool didAutoEnterInitialTool() const { return didAutoEnterInitialTool_; }
  double userZoom = 1.0;
  double pinchBaseZoom = 1.0;
  const std::shared_ptr<PreviewView>& previewView() const { return previewView_; }
  // The photo, upright (its orientation is baked in at load).
  const std::shared_ptr<platform::gpu::Texture>& sourceTexture() const { return sourceTexture_; }
  // The decoded photo, kept only when it needed no turn; dropped under memory pressure.
  const std::optional<platform::media::Image>& sourceCGImage() const { return sourceCGImage_; }
  int sourceWidth() const { return sourceWidth_; }
  int sourceHeight() const { return sourceHeight_; }
  platform::media::ImageOrientation sourceImageOrientation() const { return platform::media::ImageOrientation::up; }
  const std::vector<std::uint8_t>& sourceColorSpace() const { return sourceColorSpace_; }
  const std::shared_ptr<EditorVideo>& videoRenderer() const { return videoRenderer_; }

 private:
  EditorSession(MediaContent content, std::shared_ptr<AppContainer> container, EditorViews views,
                std::shared_ptr<EditorScreen> screen, EditorServices services);
  std::optional<EditState>& stateBeforeSlot(MediaTool tool);
  void wirePanels();
  void autoEnterInitialToolIfNeeded();
  void selectAndEnter(MediaTool tool);
  void loadContent();
  void loadPhoto(const platform::media::Image& image);
  void loadVideo(const std::filesystem::path& url);
  void finishVideoLoad(std::shared_ptr<platform::media::Asset> asset);
  void showLoadError();
  void refreshUndoRedoButtons();
  void markPreviewDirty();
  void runToolTransition(std::function<void()> changes, std::function<void()> atEnd);
  void runEnterTransition(MediaTool tool);
  void runExitTransition(MediaTool tool);
  void teardown();

  std::weak_ptr<MediaViewControllerDelegate> delegate_;
  const MediaContent content_;
  const std::shared_ptr<AppContainer> container_;
  const EditorViews views_;
  const std::shared_ptr<EditorScreen> screen_;
  const EditorServices services_;
  bool didAutoEnterInitialTool_ = false;
  EditHistory editHistory_;
  std::array<std::optional<EditState>, 6> stateBefore_;
  EditState workingState_;
  std::shared_ptr<ToolTransition> toolTransitionAnimator_;
  bool wasPlayingBeforeDisappear_ = false;
  std::shared_ptr<PreviewView> previewView_;
  // The photo's engine or the video's renderer, once the medium has loaded.
  std::shared_ptr<PreviewTarget> previewTarget_;
  std::shared_ptr<platform::gpu::Texture> sourceTexture_;
  std::optional<platform::media::Image> sourceCGImage_;
  int sourceWidth_ = 0;
  int sourceHeight_ = 0;
  std::vector<std::uint8_t> sourceColorSpace_;
  std::shared_ptr<EditorVideo> videoRenderer_;
  SessionTempFiles tempFiles_;
  ExportFlow exportFlow_{*this};
  AdjustSession adjustSession_{*this};
};

}  // namespace halvane
