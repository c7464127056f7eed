#pragma once
// Bilinear scale of a whole texture onto a whole texture of another size, as one
// compute pass ("bilinearScaleKernel" of the engine's bundle) encoded into a command
// buffer the caller commits. Immutable once made; safe from any thread.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <memory>

#include "Halvane/Rendering/RenderingEngine.h"

namespace halvane {

class BilinearScaler {
 public:
  // None when the bundle has no scale kernel or its pipeline cannot be made.
  static std::shared_ptr<BilinearScaler> create(const RenderingEngine& engine);

  // False, with nothing encoded, when no encoder can be had.
  bool encode(platform::gpu::CommandBuffer& commandBuffer, const std::shared_ptr<platform::gpu::Texture>& source,
              const std::shared_ptr<platform::gpu::Texture>& destination) const;

 private:
  explicit BilinearScaler(std::shared_ptr<platform::gpu::ComputePipelineState> pipeline)
      : pipeline_(std::move(pipeline)) {}
  std::shared_ptr<platform::gpu::ComputePipelineState> pipeline_;
};

}  // namespace halvane
