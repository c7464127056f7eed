#pragma once
// The preview's frame loop, one for the photo path of RenderingEngine and for
// VideoRenderer: a display link on the main queue, the dirty flag by which a frame is
// asked for, and the view the frames are drawn on. Its owner decides what a tick takes
// as its picture and hands it to drawFrame. The link's target is the owner's proxy,
// which holds the owner weakly, so the running clock never keeps the owner alive.
//
// Main thread only; every entry point asserts so. Destroying the loop invalidates the
// link.
#include <functional>
#include <memory>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Gpu/CommandBuffer.h"
#include "Platform/Gpu/Texture.h"

namespace halvane {

class RenderingEngine;

// What an editor shows its edit on: the photo path of RenderingEngine, or a video's
// renderer. Main thread only.
class PreviewTarget {
 public:
  virtual ~PreviewTarget() = default;
  // Shows `state` from the next tick on (the photo's engine asks for a frame only when
  // the state differs from the one shown).
  virtual void showPreviewState(const EditState& state) = 0;
  // Draws again what is shown, at the next tick: the view changed.
  virtual void setPreviewNeedsDisplay() = 0;
};

class PreviewLoop {
 public:
  PreviewLoop() = default;
  ~PreviewLoop();
  PreviewLoop(const PreviewLoop&) = delete;
  PreviewLoop& operator=(const PreviewLoop&) = delete;

  // Invalidates a running link and starts one at `rate` whose refreshes call `tick`.
  void start(platform::dispatch::FrameRateRange rate, std::function<void()> tick);
  // Invalidates the link and forgets the view.
  void stop();
  const std::shared_ptr<platform::dispatch::DisplayLink>& displayLink() const;

  void setView(std::weak_ptr<PreviewView> view);
  std::shared_ptr<PreviewView> view() const;
  // The view, when it is alive and its drawable has a size; else none, and a frame
  // asked for stays pending until it has one.
  std::shared_ptr<PreviewView> drawableView() const;

  void setNeedsDisplay();
  bool needsDisplay() const;
  // A frame is under way: the flag is down until the next request.
  void clearNeedsDisplay();

  // Draws `source` as `state` shows it on `view` and commits, without waiting for the
  // GPU: the source itself when `neutral`, else the engine's result. The result, unless
  // it is the source, and the textures of `giveBack` go back to the engine's pool once
  // the GPU is done with them.
  static void drawFrame(RenderingEngine& engine, PreviewView& view, const std::shared_ptr<platform::gpu::Texture>& source,
                        const EditState& state, bool neutral, platform::gpu::CommandBuffer& commandBuffer,
                        std::vector<std::shared_ptr<platform::gpu::Texture>> giveBack = {});

 private:
  std::shared_ptr<platform::dispatch::DisplayLink> displayLink_;
  bool needsDisplay_ = false;
  std::weak_ptr<PreviewView> view_;
};

}  // namespace halvane
