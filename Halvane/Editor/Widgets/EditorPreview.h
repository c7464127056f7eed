#pragma once
// The editor's preview: the PreviewSurface widget that shows the engine's frames, and
// the PreviewView the engine or the video renderer draws into, wired so that a change
// of the surface's size reaches the view and asks for a frame. A photo's frames come
// from the engine's display loop, a video's from its renderer's; the display links
// are the Qt driver's, installed by the application. Main thread only.
#include <filesystem>
#include <memory>

#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Media/AudioSink.h"
#include "Platform/Qt/PreviewSurface.h"

namespace halvane::editor {

class EditorPreview {
 public:
  EditorPreview(std::shared_ptr<RenderingEngine> engine, std::shared_ptr<platform::dispatch::MainQueue> mainQueue);
  ~EditorPreview();
  EditorPreview(const EditorPreview&) = delete;
  EditorPreview& operator=(const EditorPreview&) = delete;

  // The widget; its parent takes it over.
  platform::qt::PreviewSurface* surface() const { return surface_; }
  const std::shared_ptr<PreviewView>& view() const { return view_; }

  // Shows an upright photo texture through the engine's display loop.
  void showPhoto(std::shared_ptr<platform::gpu::Texture> texture);
  // Plays a video through a new renderer, its sound through `audioSink` (none: silent).
  std::shared_ptr<VideoRenderer> playVideo(std::shared_ptr<platform::media::Asset> asset,
                                           std::shared_ptr<platform::media::AudioSink> audioSink);

  // Ends both loops; the last frame stays on the surface.
  void stop();

 private:
  void boundsChanged();

  std::shared_ptr<RenderingEngine> engine_;
  std::shared_ptr<PreviewView> view_;
  std::shared_ptr<VideoRenderer> renderer_;
  platform::qt::PreviewSurface* surface_;
};

}  // namespace halvane::editor
