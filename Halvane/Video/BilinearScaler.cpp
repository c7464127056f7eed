#include "Halvane/Video/BilinearScaler.h"

#include <cstdint>

namespace halvane {

using namespace platform::gpu;

namespace {

constexpr const char* kKernelName = "bilinearScaleKernel";
constexpr uint32_t kGroupSide = 16;

// The kernel's parameter block at binding 0 (std140).
struct ScaleParameters {
  uint32_t destinationWidth;
  uint32_t destinationHeight;
  uint32_t reserved0 = 0;
  uint32_t reserved1 = 0;
};
static_assert(sizeof(ScaleParameters) == 16);

}  // namespace

std::shared_ptr<BilinearScaler> BilinearScaler::create(const RenderingEngine& engine) {
  const auto& library = engine.library();
  if (!library || !library->hasFunction(kKernelName)) return nullptr;
  auto pipeline = engine.metalDevice()->newComputePipelineState(library, kKernelName);
  if (!pipeline) return nullptr;
  return std::shared_ptr<BilinearScaler>(new BilinearScaler(*pipeline));
}

bool BilinearScaler::encode(CommandBuffer& commandBuffer, const std::shared_ptr<Texture>& source,
                            const std::shared_ptr<Texture>& destination) const {
  if (!source || !destination) return false;
  auto encoder = commandBuffer.computeCommandEncoder();
  if (!encoder) return false;
  const ScaleParameters parameters{destination->width(), destination->height()};
  encoder->setComputePipelineState(pipeline_);
  encoder->setTexture(source, 0);
  encoder->setTexture(destination, 1);
  encoder->setBytes(&parameters, sizeof parameters, 0);
  // No non-uniform dispatch on Vulkan: the edge groups overrun and the kernel tests
  // its position.
  encoder->dispatchThreadgroups(Size{(parameters.destinationWidth + kGroupSide - 1) / kGroupSide,
                                     (parameters.destinationHeight + kGroupSide - 1) / kGroupSide, 1},
                                Size{kGroupSide, kGroupSide, 1});
  encoder->endEncoding();
  return true;
}

}  // namespace halvane
