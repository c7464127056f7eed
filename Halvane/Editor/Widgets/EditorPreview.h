#pragma once
// The editor's preview surface: the PreviewSurface widget that shows the engine's
// frames and the PreviewView the engine or the video renderer draws into, wired so
// that a change of the widget's size reaches the view (its drawable in device pixels,
// its bounds in points), whose onBoundsChanged then asks for a frame. Main thread only.
#include <QPointer>

#include <memory>

#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Qt/PreviewSurface.h"

class QWidget;

namespace halvane::editor {

class EditorPreview {
 public:
  // The surface becomes a child of `container`, below its other children.
  EditorPreview(const RenderingEngine& engine, std::shared_ptr<platform::dispatch::MainQueue> mainQueue,
                QWidget* container);
  // Takes the surface away with it.
  ~EditorPreview();
  EditorPreview(const EditorPreview&) = delete;
  EditorPreview& operator=(const EditorPreview&) = delete;

  platform::qt::PreviewSurface* surface() const { return surface_; }
  const std::shared_ptr<PreviewView>& view() const { return view_; }

  // Pins the surface to the container's edges.
  void fitToContainer();

 private:
  std::shared_ptr<PreviewView> view_;
  QPointer<platform::qt::PreviewSurface> surface_;
};

}  // namespace halvane::editor
