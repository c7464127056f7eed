#include "Halvane/Rendering/RenderingEngine.h"

#include <cstdlib>
#include <filesystem>
#include <limits>

#include "Halvane/Rendering/BundleLocator.h"
#include "Halvane/Rendering/ColorConstants.h"
#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Rendering/ColorWidePass.h"
#include "Halvane/Rendering/FocusPass.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Halvane/Rendering/SourceOrientation.h"
#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/SystemNotifications.h"
#include "Platform/Gpu/ReadBack.h"

namespace halvane {

using namespace platform::gpu;
using platform::fatalError;

namespace {

constexpr uint32_t kGroupSide = 16;
constexpr uint32_t kIntermediateUsage = TextureUsage::shaderRead | TextureUsage::shaderWrite;

std::string defaultPipelineCachePath() {
  namespace fs = std::filesystem;
  fs::path folder;
  if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg && *xdg) {
    folder = fs::path(xdg) / "halvane";
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    folder = fs::path(home) / ".cache" / "halvane";
  } else {
    return {};
  }
  std::error_code error;
  fs::create_directories(folder, error);
  return error ? std::string() : (folder / "pipeline-cache.bin").string();
}

}  // namespace

std::shared_ptr<RenderingEngine> RenderingEngine::create(RenderingEngineOptions options) {
  auto engine = make(std::move(options));
  if (!engine) fatalError(engine.error().message);
  return *engine;
}

platform::Expected<std::shared_ptr<RenderingEngine>, GpuError> RenderingEngine::make(RenderingEngineOptions options) {
  std::shared_ptr<RenderingEngine> engine(new RenderingEngine());
  if (auto started = engine->start(std::move(options)); !started) return platform::unexpected(started.error());
  // The warning may come from any thread; the purge runs on the main queue when there
  // is one, with the engine held weakly.
  std::weak_ptr<RenderingEngine> weakEngine = engine;
  engine->memoryWarningObserver_ = platform::dispatch::NotificationCenter::defaultCenter().addObserver(
      platform::dispatch::kMemoryWarningNotification, nullptr, [weakEngine](const platform::dispatch::Notification&) {
        auto purge = [weakEngine] {
          if (auto alive = weakEngine.lock()) alive->purgeCaches();
        };
        if (auto main = platform::dispatch::MainQueue::shared()) {
          main->async(purge);
        } else {
          purge();
        }
      });
  return engine;
}

RenderingEngine::~RenderingEngine() {
  platform::dispatch::NotificationCenter::defaultCenter().removeObserver(memoryWarningObserver_);
}

platform::Expected<void, GpuError> RenderingEngine::start(RenderingEngineOptions options) {
  using Kind = GpuError::Kind;
  // A step's error, its kind kept and its message led by what failed.
  auto failed = [](const std::string& what, const GpuError& error) {
    return gpuFailure(error.kind, what + ": " + error.message);
  };
  auto deviceOptions = options.device;
  deviceOptions.pipelineCachePath =
      options.pipelineCachePath.empty() ? defaultPipelineCachePath() : options.pipelineCachePath;
  auto device = Device::createSystemDefault(deviceOptions);
  if (!device) return failed("no GPU device could be created", device.error());
  metalDevice_ = *device;
  commandQueue_ = metalDevice_->newCommandQueue();
  if (!commandQueue_) return gpuFailure(Kind::driverFailed, "no GPU command queue could be created");
  texturePool_ = options.textureAllocator ? std::make_shared<TexturePool>(options.textureAllocator)
                                          : std::make_shared<TexturePool>(metalDevice_);
  supportsNonUniformThreadgroups_ = metalDevice_->capabilities().supportsNonUniformThreadgroups;

  const auto bundle = findBundle();
  if (!bundle) return gpuFailure(Kind::unreadableLibrary, "unable to find bundle named Halvane_Halvane");
  auto library = metalDevice_->newLibrary(*bundle);
  if (!library) return failed("unable to load the kernel library", library.error());
  library_ = *library;
  for (const char* name : {"geometryKernel", "colorKernel", "focusKernel"}) {
    if (!library_->hasFunction(name)) return gpuFailure(Kind::missingFunction, std::string("missing kernel ") + name);
  }
  auto geometry = metalDevice_->newComputePipelineState(library_, "geometryKernel");
  if (!geometry) return failed("unable to make the geometry pipeline", geometry.error());
  geometryPipeline_ = *geometry;
  colorVariants_ = std::make_unique<ColorKernelVariants>(metalDevice_, library_);
  auto colorWide = ColorWidePass::make(metalDevice_, library_, texturePool_);
  if (!colorWide) return failed("unable to make the colour pass's wide level", colorWide.error());
  colorWide_ = *colorWide;
  auto focusPass = FocusPass::make(metalDevice_, library_, texturePool_);
  if (!focusPass) return failed("unable to make the focus pass", focusPass.error());
  focusPass_ = *focusPass;

  RenderPipelineDescriptor display;
  display.library = library_;
  display.vertexFunction = "displayVertex";
  display.fragmentFunction = "displayFragment";
  display.colorPixelFormat = PixelFormat::bgra8Unorm;
  auto displayPipeline = metalDevice_->newRenderPipelineState(display);
  if (!displayPipeline) return failed("unable to make the display pipeline", displayPipeline.error());
  displayPipeline_ = *displayPipeline;
  return {};
}

std::shared_ptr<Texture> RenderingEngine::makeTexture(const platform::media::Image& image) {
  if (image.isEmpty() || image.pixels.size() < image.bytesPerRow() * size_t(image.height)) return nullptr;
  return makeTexture(image.pixels.data(), uint32_t(image.width), uint32_t(image.height), image.bytesPerRow());
}

std::shared_ptr<Texture> RenderingEngine::makeTexture(const uint8_t* bgra, uint32_t width, uint32_t height,
                                                      size_t bytesPerRow) {
  if (!bgra || width == 0 || height == 0) return nullptr;
  TextureDescriptor descriptor;
  descriptor.width = width;
  descriptor.height = height;
  descriptor.storageMode = StorageMode::privateStorage;
  descriptor.usage = TextureUsage::shaderRead;
  auto texture = metalDevice_->newTexture(descriptor);
  if (!texture) return nullptr;
  texture->replaceRegion(Region{{0, 0}, width, height}, bgra, bytesPerRow);
  return texture;
}

void RenderingEngine::dispatch(ComputeCommandEncoder& encoder, uint32_t width, uint32_t height) const {
  // Vulkan has no non-uniform dispatch: the edge groups overrun and kernels test
  // their position against the output size.
  encoder.dispatchThreadgroups(Size{(width + kGroupSide - 1) / kGroupSide, (height + kGroupSide - 1) / kGroupSide, 1},
                               Size{kGroupSide, kGroupSide, 1});
}

std::shared_ptr<Texture> RenderingEngine::processTexture(const std::shared_ptr<Texture>& source,
                                                         const EditState& state, CommandBuffer& commandBuffer,
                                                         bool finalOutput) {
  if (!source || state.isDefault()) return source;

  const RenderUniforms uniforms = makeUniforms(source->width(), source->height(), state, finalOutput);
  // A pass that would be an exact identity is left out: the geometry pass without crop,
  // turn, mirror or tilt, the colour pass when all its fields are neutral.
  const bool wantsGeometry = !geometryIsIdentity(uniforms);
  const uint32_t colorParts = colorFeatures(uniforms);
  const bool wantsColor = colorParts != 0;
  const bool wantsFocus = state.focusMode >= 1 && state.focusStrength > 0;
  if (!wantsGeometry && !wantsColor && !wantsFocus) return source;
  const uint32_t width = uniforms.outputWidth;
  const uint32_t height = uniforms.outputHeight;
  auto pool = texturePool_;
  // The source stands in for a stage that was left out; it never goes to the pool.
  auto releaseWhenDone = [&commandBuffer, pool, source](std::vector<std::shared_ptr<Texture>> textures) {
    std::erase(textures, source);
    releaseWhenCompleted(pool, commandBuffer, std::move(textures));
  };

  std::shared_ptr<Texture> first;
  if (wantsGeometry) {
    first = pool->acquire(width, height, PixelFormat::bgra8Unorm, kIntermediateUsage);
    if (!first) return source;
  }
  std::shared_ptr<Texture> second;
  if (wantsColor) {
    second = pool->acquire(width, height, PixelFormat::bgra8Unorm, kIntermediateUsage);
    if (!second) {
      pool->release(first);
      return source;
    }
  }

  if (wantsGeometry) {
    auto geometry = commandBuffer.computeCommandEncoder();
    if (!geometry) {
      pool->release(first);
      pool->release(second);
      return source;
    }
    geometry->setComputePipelineState(geometryPipeline_);
    geometry->setTexture(source, 0);
    geometry->setTexture(first, 1);
    geometry->setBytes(&uniforms, sizeof uniforms, 0);
    dispatch(*geometry, width, height);
    geometry->endEncoding();
  }
  const std::shared_ptr<Texture> geometryStage = wantsGeometry ? first : source;

  if (wantsColor) {
    // A finished image waits for its variant (compiling costs less than running the
    // general kernel over it); the preview never waits and meanwhile takes the general
    // kernel, which gives the same pixels. A small picture (a thumbnail) costs less
    // through the general kernel than a variant's compile, and asks for none.
    const bool variantPays = uint64_t(width) * height >= kColorVariantMinimumPixels;
    const auto kernel = !variantPays  ? colorVariants_->general()
                        : finalOutput ? colorVariants_->pipelineWaiting(colorParts)
                                      : colorVariants_->pipelineWithoutWaiting(colorParts);
    // Clarity and the looks' detail and glow read the wide level, made from the same
    // input; when they do not, the picture stands in for it and is never read.
    std::optional<ColorWidePass::Level> wide = ColorWidePass::Level{geometryStage, geometryStage};
    if (kernel && colorReadsWide(uniforms)) wide = colorWide_->encode(commandBuffer, uniforms, geometryStage);
    auto color = kernel && wide ? commandBuffer.computeCommandEncoder() : nullptr;
    if (!color) {
      // The geometry pass, if any, is encoded and still reads the source into `first`.
      releaseWhenDone({first});
      pool->release(second);
      return source;
    }
    color->setComputePipelineState(kernel);
    color->setTexture(geometryStage, 0);
    color->setTexture(second, 1);
    color->setTexture(wide->luma, 2);
    color->setTexture(wide->color, 3);
    setColorBlocks(*color, uniforms);
    color->setThreadgroupMemoryLength(kColorGroupMemoryBytes, 0);
    dispatch(*color, width, height);
    color->endEncoding();
  } else {
    // The geometry stage stands as the colour stage; nothing is left to release for it.
    second = geometryStage;
    first.reset();
  }

  if (!wantsFocus) {
    releaseWhenDone({first});
    return second;
  }
  auto third = pool->acquire(width, height, PixelFormat::bgra8Unorm, kIntermediateUsage);
  if (!third) {
    releaseWhenDone({first});
    return second;
  }
  if (!focusPass_->encode(commandBuffer, uniforms, second, third)) {
    // Nothing encoded writes `third`; `second` goes to the caller as the result.
    pool->release(third);
    releaseWhenDone({first});
    return second;
  }
  releaseWhenDone({first, second});
  return third;
}

std::optional<platform::media::Image> RenderingEngine::readImage(const Texture& readable,
                                                                 const std::vector<uint8_t>& colorSpace) {
  const uint64_t rowBytes = uint64_t(readable.width()) * 4;
  if (readable.height() != 0 && rowBytes > std::numeric_limits<size_t>::max() / readable.height()) {
    fatalError("bitmap size overflows");
  }
  platform::media::Image image;
  image.width = int(readable.width());
  image.height = int(readable.height());
  image.pixels.assign(size_t(rowBytes) * readable.height(), 0);
  if (!readBackBGRA8(readable, image.pixels.data(), size_t(rowBytes))) return std::nullopt;
  image.iccProfile = colorSpace;
  return image;
}

platform::Expected<std::shared_ptr<Texture>, GpuError> RenderingEngine::bakeUpright(
    const std::shared_ptr<Texture>& source, int rawOrientation) {
  const auto bake = orientationBakeState(rawOrientation);
  if (!bake) return source;
  auto commandBuffer = commandQueue_->commandBuffer();
  if (!commandBuffer) return gpuFailure(GpuError::Kind::driverFailed, "the GPU took no more work");
  auto upright = processTexture(source, *bake, *commandBuffer, false);
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  if (upright == source || commandBuffer->status() != CommandBufferStatus::completed)
    return gpuFailure(GpuError::Kind::driverFailed, "the GPU could not turn the picture upright");
  return upright;
}

platform::Expected<platform::media::Image, GpuError> RenderingEngine::renderToImage(
    const std::shared_ptr<Texture>& source, const EditState& state, const std::vector<uint8_t>& colorSpace,
    bool finalOutput) {
  using Kind = GpuError::Kind;
  if (!source) return gpuFailure(Kind::invalidArgument, "there is no picture to render");
  auto commandBuffer = commandQueue_->commandBuffer();
  if (!commandBuffer) return gpuFailure(Kind::driverFailed, "the GPU took no more work");
  const bool isDefault = state.isDefault();
  auto result = isDefault ? source : processTexture(source, state, *commandBuffer, finalOutput);
  auto readable = encodeHostReadableCopy(*metalDevice_, *commandBuffer, result);
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  if (!isDefault && result != source) texturePool_->release(result);
  if (commandBuffer->status() != CommandBufferStatus::completed)
    return gpuFailure(Kind::driverFailed, "the GPU failed: " + commandBuffer->errorMessage());
  if (!readable) return gpuFailure(Kind::driverFailed, "the GPU could not hold a readable copy of the picture");
  auto image = readImage(*readable, colorSpace);
  if (!image) return gpuFailure(Kind::driverFailed, "the picture could not be read back from the GPU");
  return std::move(*image);
}

PixelSize RenderingEngine::outputSize(uint64_t sourceWidth, uint64_t sourceHeight, const EditState& state) {
  const auto size = halvane::outputSize(sourceWidth, sourceHeight, state);
  return PixelSize{size.width, size.height};
}

void RenderingEngine::purgeCaches() { texturePool_->purge(); }

void DisplayLinkProxy::tick() const {
  if (auto alive = engine.lock()) alive->tick();
}

void RenderingEngine::startDisplayLink() {
  // Preview keeps pace with the display, never below 30 frames a second.
  previewLoop_.start({30, 120, 60}, [proxy = std::make_shared<DisplayLinkProxy>(weak_from_this())] { proxy->tick(); });
}

void RenderingEngine::stopDisplayLink() { previewLoop_.stop(); }

void RenderingEngine::setPreviewSource(std::shared_ptr<Texture> source) {
  previewLoop_.setNeedsDisplay();
  previewSource_ = std::move(source);
}

const std::shared_ptr<Texture>& RenderingEngine::previewSource() const {
  platform::dispatch::assertMainQueue();
  return previewSource_;
}

void RenderingEngine::applyPreviewState(const EditState& state) {
  platform::dispatch::assertMainQueue();
  if (state == previewState_) return;
  previewState_ = state;
  previewLoop_.setNeedsDisplay();
}

const EditState& RenderingEngine::previewState() const {
  platform::dispatch::assertMainQueue();
  return previewState_;
}

void RenderingEngine::tick() {
  platform::dispatch::assertMainQueue();
  if (!previewLoop_.needsDisplay() || !previewSource_) return;
  auto view = previewLoop_.drawableView();
  if (!view) return;
  auto commandBuffer = commandQueue_->commandBuffer();
  if (!commandBuffer) return;
  previewLoop_.clearNeedsDisplay();
  PreviewLoop::drawFrame(*this, *view, previewSource_, previewState_, previewState_.isDefault(), *commandBuffer);
}

}  // namespace halvane
