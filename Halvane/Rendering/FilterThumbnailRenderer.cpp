#include "Halvane/Rendering/FilterThumbnailRenderer.h"

#include <algorithm>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Gpu/ReadBack.h"
#include "Platform/Media/ImageScale.h"

namespace halvane {

using namespace platform::gpu;
using platform::media::Image;

namespace {

// A thumbnail's chain splits at the look: the geometry, sharpness, clarity and the
// pointwise adjustments come before it and are the same for every filter; the look,
// the vignette and the focus follow it.
EditState beforeLook(const EditState& state) {
  EditState before = state;
  before.filterType = EditState::defaultState().filterType;
  before.filterIntensity = EditState::defaultState().filterIntensity;
  before.vignetteIntensity = EditState::defaultState().vignetteIntensity;
  before.focusMode = EditState::defaultState().focusMode;
  return before;
}

EditState lookAndAfter(const EditState& state, const FilterDefinition& filter) {
  EditState after = EditState::defaultState();
  after.filterType = filter.shaderFilterType;
  after.filterIntensity = filter.defaultIntensity;
  after.vignetteIntensity = state.vignetteIntensity;
  after.vignetteRadius = state.vignetteRadius;
  after.focusMode = state.focusMode;
  after.focusCenterX = state.focusCenterX;
  after.focusCenterY = state.focusCenterY;
  after.focusRadius = state.focusRadius;
  after.focusFeather = state.focusFeather;
  after.focusAngle = state.focusAngle;
  after.focusStrength = state.focusStrength;
  after.focusAspect = state.focusAspect;
  after.focusBokehHighlights = state.focusBokehHighlights;
  after.irisBlades = state.irisBlades;
  after.irisRotation = state.irisRotation;
  after.depthMix = state.depthMix;
  after.focusDepth = state.focusDepth;
  after.edgeProtect = state.edgeProtect;
  return after;
}

}  // namespace

FilterThumbnailRenderer::FilterThumbnailRenderer(std::shared_ptr<RenderingEngine> engine, int thumbnailSize)
    : engine(std::move(engine)), thumbnailSize(thumbnailSize) {}

void FilterThumbnailRenderer::render(std::optional<Image> sourceImage, std::shared_ptr<Texture> sourceTexture,
                                     EditState baseState, std::vector<FilterDefinition> filters,
                                     Completion completion) {
  std::weak_ptr<FilterThumbnailRenderer> weakSelf = weak_from_this();
  platform::dispatch::GlobalQueue::async(
      platform::dispatch::QualityOfService::userInitiated,
      [weakSelf, sourceImage = std::move(sourceImage), sourceTexture = std::move(sourceTexture), baseState,
       filters = std::move(filters), completion = std::move(completion)]() mutable {
        std::vector<FilterThumbnail> results;
        if (auto self = weakSelf.lock()) results = self->renderBatch(sourceImage, sourceTexture, baseState, filters);
        platform::dispatch::MainQueue::shared()->async(
            [completion = std::move(completion), results = std::move(results)]() mutable {
              completion(std::move(results));
            });
      });
}

std::vector<FilterThumbnail> FilterThumbnailRenderer::renderBatch(const std::optional<Image>& sourceImage,
                                                                  const std::shared_ptr<Texture>& sourceTexture,
                                                                  const EditState& baseState,
                                                                  const std::vector<FilterDefinition>& filters) {
  std::optional<Image> source = sourceImage;
  // An unedited render is a plain read-back of the texture.
  if (!source && sourceTexture) {
    if (auto read = engine->renderToImage(sourceTexture, EditState{})) source = std::move(*read);
  }
  if (!source || source->isEmpty()) return {};

  // The scale comes from the cropped output and applies to the whole source, so the
  // crop of the thumbnail has a longest side of about thumbnailSize.
  const PixelSize output = RenderingEngine::outputSize(uint64_t(source->width), uint64_t(source->height), baseState);
  const float scale = float(thumbnailSize) / float(std::max(output.width, output.height));
  const int width = std::max(1, int(float(source->width) * scale));
  const int height = std::max(1, int(float(source->height) * scale));
  Image smallImage = platform::media::scaleImage(*source, width, height);
  if (smallImage.isEmpty()) return {};
  smallImage.iccProfile.clear();  // thumbnails are shown as sRGB
  auto small = engine->makeTexture(smallImage);
  if (!small) return {};

  // What comes before the look runs once for the batch; each filter then pays for its
  // look, the vignette and the focus only.
  std::shared_ptr<Texture> baseTexture = small;
  std::optional<Image> base;
  if (baseState.isDefault()) {
    base = smallImage;
  } else {
    baseTexture = renderBase(small, baseState, base);
    if (!baseTexture) return {};
  }

  std::vector<std::optional<Image>> looks(filters.size());
  for (size_t first = 0; first < filters.size(); first += kThumbnailsPerCommandBuffer) {
    const size_t end = std::min(filters.size(), first + kThumbnailsPerCommandBuffer);
    renderLooks(baseTexture, baseState, filters, first, end, looks);
  }
  if (baseTexture != small) engine->texturePool()->release(baseTexture);

  std::vector<FilterThumbnail> results;
  for (size_t i = 0; i < filters.size(); ++i) {
    if (filters[i].shaderFilterType == 0) {
      if (base) results.push_back({filters[i].id, *base});
    } else if (looks[i]) {
      results.push_back({filters[i].id, std::move(*looks[i])});
    }
  }
  return results;
}

std::shared_ptr<Texture> FilterThumbnailRenderer::renderBase(const std::shared_ptr<Texture>& small,
                                                             const EditState& baseState, std::optional<Image>& image) {
  auto commandBuffer = engine->commandQueue()->commandBuffer();
  if (!commandBuffer) return nullptr;
  // The whole base edit for the filters without a look, in one pass as a single render
  // makes it; the part before the look for the others.
  auto whole = engine->processTexture(small, baseState, *commandBuffer, false);
  auto readable = encodeHostReadableCopy(*engine->metalDevice(), *commandBuffer, whole);
  // Without a vignette or a focus the whole edit is the part before the look.
  const EditState before = beforeLook(baseState);
  auto result = before == baseState ? whole : engine->processTexture(small, before, *commandBuffer, false);
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  if (whole != small && whole != result) engine->texturePool()->release(whole);
  if (readable && commandBuffer->status() == CommandBufferStatus::completed) image = RenderingEngine::readImage(*readable);
  if (image) return result;
  if (result != small) engine->texturePool()->release(result);
  return nullptr;
}

void FilterThumbnailRenderer::renderLooks(const std::shared_ptr<Texture>& base, const EditState& baseState,
                                          const std::vector<FilterDefinition>& filters, size_t first, size_t end,
                                          std::vector<std::optional<Image>>& looks) {
  auto commandBuffer = engine->commandQueue()->commandBuffer();
  if (!commandBuffer) return;  // these filters go without a thumbnail
  struct Pending {
    size_t index;
    std::shared_ptr<Texture> result;
    std::shared_ptr<Texture> readable;
  };
  std::vector<Pending> pending;
  for (size_t i = first; i < end; ++i) {
    if (filters[i].shaderFilterType == 0) continue;
    auto result = engine->processTexture(base, lookAndAfter(baseState, filters[i]), *commandBuffer, false);
    auto readable = encodeHostReadableCopy(*engine->metalDevice(), *commandBuffer, result);
    pending.push_back({i, std::move(result), std::move(readable)});
  }
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  const bool completed = commandBuffer->status() == CommandBufferStatus::completed;
  for (auto& item : pending) {
    if (item.result != base) engine->texturePool()->release(item.result);
    if (completed && item.readable) looks[item.index] = RenderingEngine::readImage(*item.readable);
  }
}

}  // namespace halvane
