#pragma once
// The session's screen over the editor widget: transitions, the preview surface,
// alerts, the share sheet, the export card and dismissal, served by the widget. It
// holds the widget weakly; once the widget has gone it does nothing. Main thread only.
#include <memory>

#include "Halvane/Editor/EditorScreen.h"

namespace halvane::editor {

class MediaViewController;

std::shared_ptr<EditorScreen> makeMediaViewScreen(MediaViewController* controller);

}  // namespace halvane::editor
