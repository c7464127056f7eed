#pragma once
// Receives each finished preview frame. Called on the GPU's completion thread once the
// frame is drawn; the drawable is a host-readable BGRA8 texture (getBytes) that stays
// untouched until present returns, so a presenter copies what it needs and hands it
// to its own thread.
#include <memory>

#include "Platform/Gpu/Texture.h"

namespace halvane {

class FramePresenter {
 public:
  virtual ~FramePresenter() = default;
  virtual void present(const std::shared_ptr<platform::gpu::Texture>& drawable) = 0;
};

}  // namespace halvane
