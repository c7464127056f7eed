#include "Halvane/Rendering/ColorKernelVariants.h"

#include <pthread.h>

#include <algorithm>

#include "Halvane/Rendering/ColorConstants.h"
#include "Halvane/Shaders/ColorFeatures.glsl"

namespace halvane {

using namespace platform::gpu;

namespace {

constexpr const char* kColorKernel = "colorKernel";
// constant_id of `colorFeatures` in colorKernel.comp.
constexpr uint32_t kFeaturesConstantId = 0;

}  // namespace

// The same tests as the uses...() functions of ColorAdjust.glsl, on the cleaned block.
uint32_t colorFeatures(const RenderUniforms& u) {
  uint32_t features = 0;
  auto use = [&features](bool active, uint32_t feature) {
    if (active) features |= feature;
  };
  use(u.temperature != 6500.0f || u.tint != 0.0f, COLOR_FEATURE_WHITE_BALANCE);
  use(u.exposure != 0.0f, COLOR_FEATURE_EXPOSURE);
  use(u.saturation != 1.0f, COLOR_FEATURE_SATURATION);
  use(u.vibrance != 0.0f, COLOR_FEATURE_VIBRANCE);
  use(u.brightness != 0.0f, COLOR_FEATURE_BRIGHTNESS);
  use(u.contrast != 1.0f, COLOR_FEATURE_CONTRAST);
  use(u.highlights != 0.0f || u.shadows != 0.0f || u.whites != 0.0f || u.blacks != 0.0f,
      COLOR_FEATURE_TONE_REGIONS);
  use(u.gamma != 1.0f, COLOR_FEATURE_GAMMA);
  use(u.sharpness > 0.0f, COLOR_FEATURE_SHARPNESS);
  use(u.clarity != 0.0f, COLOR_FEATURE_CLARITY);
  use(u.vignetteIntensity > 0.0f, COLOR_FEATURE_VIGNETTE);
  use(u.filterType != 0 && u.filterIntensity > 0.0f, COLOR_FEATURE_LOOK);
  return features;
}

ColorKernelVariants::ColorKernelVariants(std::shared_ptr<Device> device, std::shared_ptr<Library> library,
                                         std::shared_ptr<ComputePipelineState> general)
    : device_(std::move(device)), library_(std::move(library)), general_(std::move(general)) {
  worker_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "color-variants");
    workLoop();
  });
}

ColorKernelVariants::~ColorKernelVariants() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
    wanted_.clear();
  }
  changed_.notify_all();
  worker_.join();
}

std::shared_ptr<ComputePipelineState> ColorKernelVariants::general() {
  std::call_once(generalMade_, [this] {
    if (general_) return;
    auto made = device_->newComputePipelineState(library_, kColorKernel);
    if (made) general_ = *made;
  });
  return general_;
}

std::shared_ptr<ComputePipelineState> ColorKernelVariants::compile(uint32_t features) {
  auto pipeline = device_->newComputePipelineState(library_, kColorKernel, {{kFeaturesConstantId, features}});
  if (!pipeline) return general();
  warmUp(*pipeline);
  return *pipeline;
}

// A CPU device (lavapipe) turns a kernel into machine code at its first dispatch, not
// when the pipeline is made: one group's dispatch here, with the textures and sampler
// of a real pass, so that the frame that first takes the variant does not pay for it.
// On a GPU it costs a few microseconds.
void ColorKernelVariants::warmUp(const std::shared_ptr<ComputePipelineState>& pipeline) {
  std::lock_guard guard(warmUpLock_);
  if (!warmUpQueue_) {
    warmUpQueue_ = device_->newCommandQueue();
    TextureDescriptor descriptor;
    descriptor.width = kColorGroupSide;
    descriptor.height = kColorGroupSide;
    descriptor.usage = TextureUsage::shaderRead | TextureUsage::shaderWrite;
    warmUpInput_ = device_->newTexture(descriptor);
    warmUpOutput_ = device_->newTexture(descriptor);
  }
  if (!warmUpQueue_ || !warmUpInput_ || !warmUpOutput_) return;
  auto buffer = warmUpQueue_->commandBuffer();
  if (!buffer) return;
  if (auto encoder = buffer->computeCommandEncoder()) {
    const RenderUniforms block = makeUniforms(kColorGroupSide, kColorGroupSide, EditState{}, false);
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(warmUpInput_, 0);
    encoder->setTexture(warmUpOutput_, 1);
    // The wide level's place; nothing reads it at neutral values.
    encoder->setTexture(warmUpInput_, 2);
    encoder->setTexture(warmUpInput_, 3);
    setColorBlocks(*encoder, block);
    encoder->setThreadgroupMemoryLength(kColorGroupMemoryBytes, 0);
    encoder->dispatchThreadgroups(Size{1, 1, 1}, Size{kColorGroupSide, kColorGroupSide, 1});
    encoder->endEncoding();
  }
  buffer->commit();
  buffer->waitUntilCompleted();
}

std::shared_ptr<ComputePipelineState> ColorKernelVariants::pipelineWithoutWaiting(uint32_t features) {
  if (features == COLOR_FEATURES_ALL) return general();
  {
    std::lock_guard guard(lock_);
    if (auto found = variants_.find(features); found != variants_.end()) return found->second;
    if (!compiling_.count(features)) {
      compiling_.insert(features);
      wanted_.push_back(features);
    }
  }
  changed_.notify_all();
  return general();
}

std::shared_ptr<ComputePipelineState> ColorKernelVariants::pipelineWaiting(uint32_t features) {
  if (features == COLOR_FEATURES_ALL) return general();
  {
    std::unique_lock guard(lock_);
    for (;;) {
      if (auto found = variants_.find(features); found != variants_.end()) return found->second;
      if (!compiling_.count(features)) break;
      // The worker has it in hand (or queued): take it off the queue and compile it
      // here, or wait for the worker's result.
      if (auto queued = std::find(wanted_.begin(), wanted_.end(), features); queued != wanted_.end()) {
        wanted_.erase(queued);
        break;
      }
      changed_.wait(guard);
    }
    compiling_.insert(features);
  }
  auto pipeline = compile(features);
  {
    std::lock_guard guard(lock_);
    variants_[features] = pipeline;
    compiling_.erase(features);
  }
  changed_.notify_all();
  return pipeline;
}

size_t ColorKernelVariants::variantCount() const {
  std::lock_guard guard(lock_);
  return variants_.size();
}

void ColorKernelVariants::waitUntilIdle() {
  std::unique_lock guard(lock_);
  changed_.wait(guard, [this] { return compiling_.empty(); });
}

void ColorKernelVariants::workLoop() {
  std::unique_lock guard(lock_);
  for (;;) {
    changed_.wait(guard, [this] { return stopping_ || !wanted_.empty(); });
    if (stopping_) return;
    const uint32_t features = wanted_.front();
    wanted_.pop_front();
    guard.unlock();
    auto pipeline = compile(features);
    guard.lock();
    variants_[features] = pipeline;
    compiling_.erase(features);
    changed_.notify_all();
  }
}

}  // namespace halvane
