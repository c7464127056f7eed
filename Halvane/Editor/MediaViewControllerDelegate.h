#pragma once
// The host's interface to an editing session. The session holds it weakly and loads a
// strong reference for every call, skipping the call when the host has gone. Every call
// arrives on the main thread.
#include "Halvane/Editor/EditorError.h"
#include "Halvane/Import/MediaContent.h"
#include "Halvane/Model/MediaTool.h"

namespace halvane {

class EditorSession;

// What the editor hands back: the finished photo, or the path of the written video.
using HalvaneExportResult = MediaContent;

class MediaViewControllerDelegate {
 public:
  virtual ~MediaViewControllerDelegate() = default;

  // An export or a passthrough produced a result.
  virtual void mediaViewControllerDidFinish(EditorSession& session, const HalvaneExportResult& result) = 0;
  // The session closes without a result: the close button while not exporting, or the
  // button of the load error's alert.
  virtual void mediaViewControllerDidCancel(EditorSession& session) = 0;
  // The share button started an export (or a passthrough) with this host present.
  virtual void mediaViewControllerWillBeginExport(EditorSession&) {}
  // An export failed or was cancelled.
  virtual void mediaViewControllerDidFail(EditorSession&, const EditorError&) {}
  // A tool session began, before any state is touched.
  virtual void mediaViewControllerDidOpenTool(EditorSession&, MediaTool) {}
  // A tool session ended; `applied` is true for a confirm.
  virtual void mediaViewControllerDidCloseTool(EditorSession&, MediaTool, bool /*applied*/) {}
};

}  // namespace halvane
