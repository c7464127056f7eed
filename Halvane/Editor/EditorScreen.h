#pragma once
// What an editing session needs of its screen beyond the views it fades: the window
// test and layout pass, animated transitions, the preview surface, alerts, the share
// sheet, the export progress card and dismissal. The widget layer implements it; tests
// use a fake that runs everything at once or holds it for the test to finish. Main
// thread only.
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Model/MediaTool.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Platform/Media/Image.h"

namespace halvane {

struct SpringTiming {
  double dampingRatio;
  double duration;  // seconds
};
// Panels coming and going.
inline constexpr SpringTiming kPanelSpring{0.82, 0.42};
// The tool button, the progress card.
inline constexpr SpringTiming kQuickSpring{0.74, 0.24};

// One running animated transition.
class ToolTransition {
 public:
  virtual ~ToolTransition() = default;
  virtual bool isRunning() const = 0;
  // Stops without finishing and settles where the animation stands; its completion is
  // then called with atEnd false.
  virtual void stopAtCurrentPosition() = 0;
};

// An alert with one button.
struct EditorAlert {
  LocalizedText title;
  LocalizedText message;
  LocalizedText button;
  bool operator==(const EditorAlert&) const = default;
};

inline constexpr EditorAlert kLoadErrorAlert{
    {"import.errorTitle", "Unable to Open", "Import error alert title"},
    {"import.errorMessage", "This media could not be loaded. Please try a different file.",
     "Import error alert message"},
    {"common.ok", "OK", "OK button"}};

inline constexpr EditorAlert kExportErrorAlert{
    {"export.errorTitle", "Export Failed", "Export error alert title"},
    {"export.errorMessage", "Unable to export your media. Please try again.", "Export error alert message"},
    {"common.ok", "OK", "OK button"}};

// What the share sheet offers: a picture, or a file.
using ShareItem = std::variant<platform::media::Image, std::filesystem::path>;

// The card shown over the editor while an export runs. The screen adds it fading in;
// fadeOut takes it away and then calls whenGone.
class ExportProgressView {
 public:
  virtual ~ExportProgressView() = default;
  virtual void setProgress(float fraction) = 0;
  virtual void fadeOut(std::function<void()> whenGone) = 0;

  // The card's cancel button.
  std::function<void()> onCancel;
  // Set by the session at the first dismissal; a second one is refused.
  bool isDismissing = false;
};

class EditorScreen {
 public:
  virtual ~EditorScreen() = default;

  // Without a window a transition takes effect at once.
  virtual bool hasWindow() const = 0;
  virtual void layoutIfNeeded() = 0;
  // Animates what `changes` sets, with the spring; `completion(atEnd)` runs once, with
  // atEnd false when the transition was stopped before its end.
  virtual std::shared_ptr<ToolTransition> startTransition(SpringTiming spring, std::function<void()> changes,
                                                          std::function<void(bool atEnd)> completion) = 0;
  // Ties the preview's bottom to the top of this tool's panel; none: 8 points above the
  // bars.
  virtual void tiePreviewBottom(std::optional<MediaTool> panel) = 0;

  // Creates the preview surface, inserted below the overlays and pinned to the preview
  // container's edges.
  virtual std::shared_ptr<PreviewView> makePreviewView() = 0;
  // Fits the preview and the crop frame to the state (the framing of the transform
  // tool), without or with animation.
  virtual void updateFraming(bool animated) = 0;
  virtual bool isFillAnimationRunning() const = 0;
  virtual void stopFillAnimation() = 0;
  // The crop frame forgets the ratio it was locked to.
  virtual void clearCropLockedRatio() = 0;
  // Drops the filter panel's thumbnails and reloads its list (memory pressure).
  virtual void purgeFilterThumbnails() = 0;

  // Presented animated; `onButton` runs when its one button is pressed.
  virtual void presentAlert(const EditorAlert& alert, std::function<void()> onButton) = 0;
  // Offers one item; `completion` runs once when the sheet is over, shared or not.
  virtual void presentShareSheet(ShareItem item, std::function<void()> completion) = 0;
  // Adds the export card over the whole screen, fading in with the quick spring.
  virtual std::shared_ptr<ExportProgressView> showExportProgress(bool indeterminate) = 0;

  virtual void dismiss(bool animated) = 0;
  virtual bool isBeingDismissed() const = 0;
};

}  // namespace halvane
