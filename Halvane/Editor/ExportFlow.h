#pragma once
// The share button's flow: an unedited medium passes through without a render; an
// edited photo is rendered off the main thread, limited to the preset's size and handed
// to the host or the share sheet (as a JPEG file below maxQuality); an edited video is
// exported with its progress. `isExporting` refuses a second export, and whether a host
// is present is taken once at the tap and decides between its error calls and the
// alert for the whole flow. Owned by its EditorSession; main thread only. Background
// work holds the session weakly and drops its result once the flow has ended.
#include <memory>

#include "Halvane/Editor/EditorError.h"
#include "Halvane/Editor/EditorScreen.h"
#include "Halvane/Editor/EditorServices.h"
#include "Halvane/Model/EditState.h"

namespace halvane {

class EditorSession;

class ExportFlow {
 public:
  explicit ExportFlow(EditorSession& session) : session_(session) {}

  bool isExporting() const { return isExporting_; }
  // The share button.
  void shareTapped();
  // The progress card's cancel button, for a photo: ends the flow at once with the
  // cancel error; the render runs on and its result is dropped.
  void photoCancel();
  // The card's cancel button, for a video: asks the export to stop; it ends through
  // finishVideo as cancelled.
  void videoCancel();
  // The close button while exporting: asks a video export to stop, ends the flow and
  // reports the cancel error once (the export's own cancel result is then silent).
  void cancelForClose();

 private:
  void passthrough();
  void exportPhoto(const EditState& state);
  void finishPhoto(std::optional<platform::media::Image> image);
  void exportVideo(const EditState& state);
  void finishVideo(const VideoExportResult& result, bool wasExporting);
  // The failure of a step: the host's error when it was present at the tap, else the
  // alert.
  void fail(const EditorError& error);
  // Fades out the card unless it is already going; `then` runs when it is gone.
  void dismissProgress(std::function<void()> then);
  // Opens the share sheet; when it is over the flow ends and `whenOver` runs (even
  // once the session has gone, so a file made for the sheet is still removed).
  void shareItem(ShareItem item, std::function<void()> whenOver = {});

  EditorSession& session_;
  bool isExporting_ = false;
  bool hasDelegate_ = false;
  std::shared_ptr<ExportProgressView> progressView_;
};

}  // namespace halvane
