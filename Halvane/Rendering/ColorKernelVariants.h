#pragma once
// The colour kernel compiled for what an edit uses. The general kernel carries every
// adjustment, the looks, sharpening, clarity and the vignette; a variant is the same
// source with a specialization constant naming the parts in use, so the driver drops
// the rest (on a CPU device, where every instruction costs, that is most of the pass).
// Variants are made on a worker thread of their own on first use, kept for the life of
// the engine and, through the device's pipeline cache, across runs. Every method is safe
// from any thread.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Gpu/Device.h"

namespace halvane {

// The colour kernel's group: 16 by 16 threads, sharing an 18 by 18 tile of luma.
inline constexpr uint32_t kColorGroupSide = 16;
inline constexpr size_t kColorGroupMemoryBytes = 18 * 18 * 4;

// Passes over fewer pixels than this take the general kernel: below it, compiling a
// variant costs more than it saves.
inline constexpr uint64_t kColorVariantMinimumPixels = 256 * 256;

// The parts of the colour pass (COLOR_FEATURE_* of ColorFeatures.glsl) that act for
// this block. 0 means the pass is an exact identity and can be left out.
uint32_t colorFeatures(const RenderUniforms& uniforms);

class ColorKernelVariants {
 public:
  // `general` may be none: the general kernel is then made on first use. A finished
  // image takes a variant and never needs it, and making it is most of what starting
  // the engine costs on a CPU device.
  ColorKernelVariants(std::shared_ptr<platform::gpu::Device> device, std::shared_ptr<platform::gpu::Library> library,
                      std::shared_ptr<platform::gpu::ComputePipelineState> general = nullptr);
  // Waits for the variant being compiled, if any; the ones still asked for are dropped.
  ~ColorKernelVariants();
  ColorKernelVariants(const ColorKernelVariants&) = delete;
  ColorKernelVariants& operator=(const ColorKernelVariants&) = delete;

  // The variant for `features` when it is ready; otherwise the general kernel, which
  // gives the same pixels, while the worker compiles the variant. Never blocks.
  std::shared_ptr<platform::gpu::ComputePipelineState> pipelineWithoutWaiting(uint32_t features);
  // The variant for `features`, compiled on this thread (or awaited) if need be; the
  // general kernel if the driver refuses it. For finished images, where the compile
  // costs less than running the general kernel.
  std::shared_ptr<platform::gpu::ComputePipelineState> pipelineWaiting(uint32_t features);

  // None if the driver refuses it.
  std::shared_ptr<platform::gpu::ComputePipelineState> general();
  // The variants made so far (tests, benches).
  size_t variantCount() const;
  // Returns once no variant is being compiled or waits to be (tests, benches).
  void waitUntilIdle();

 private:
  std::shared_ptr<platform::gpu::ComputePipelineState> compile(uint32_t features);
  void warmUp(const std::shared_ptr<platform::gpu::ComputePipelineState>& pipeline);
  void workLoop();

  const std::shared_ptr<platform::gpu::Device> device_;
  const std::shared_ptr<platform::gpu::Library> library_;
  std::once_flag generalMade_;
  std::shared_ptr<platform::gpu::ComputePipelineState> general_;  // set once, under generalMade_
  // A queue and a group's worth of textures for the first dispatch of a new variant.
  std::mutex warmUpLock_;
  std::shared_ptr<platform::gpu::CommandQueue> warmUpQueue_;
  std::shared_ptr<platform::gpu::Texture> warmUpInput_, warmUpOutput_;

  mutable std::mutex lock_;
  std::condition_variable changed_;
  // A refused variant is stored as the general kernel, so it is not tried again.
  std::map<uint32_t, std::shared_ptr<platform::gpu::ComputePipelineState>> variants_;
  std::deque<uint32_t> wanted_;
  std::set<uint32_t> compiling_;
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace halvane
