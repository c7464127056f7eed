#include "Halvane/Rendering/FilterThumbnailRenderer.h"

#include <algorithm>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Media/ImageScale.h"

namespace halvane {

using namespace platform::gpu;
using platform::media::Image;

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
  if (!source && sourceTexture) source = engine->renderToImage(sourceTexture, EditState{});
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

  std::optional<Image> base;
  if (baseState.isDefault()) {
    base = smallImage;
  } else {
    base = engine->renderToImage(small, baseState, {}, false);
    if (!base) return {};
  }

  // The filters' renders go in chunks, each on one command buffer with one wait: fewer
  // waits deliver the batch sooner, and a chunk's intermediates (which the pool keeps
  // afterwards) stay few.
  constexpr size_t kChunk = 48;
  std::vector<EditState> states;
  for (const auto& filter : filters) {
    if (filter.shaderFilterType == 0) continue;
    EditState state = baseState;
    state.filterType = filter.shaderFilterType;
    state.filterIntensity = filter.defaultIntensity;
    states.push_back(state);
  }
  std::vector<std::optional<Image>> images;
  for (size_t begin = 0; begin < states.size(); begin += kChunk) {
    const std::vector<EditState> chunk(states.begin() + std::ptrdiff_t(begin),
                                       states.begin() + std::ptrdiff_t(std::min(begin + kChunk, states.size())));
    for (auto& image : engine->renderToImages(small, chunk, false)) images.push_back(std::move(image));
  }
  std::vector<FilterThumbnail> results;
  size_t next = 0;
  for (const auto& filter : filters) {
    if (filter.shaderFilterType == 0) {
      if (base) results.push_back({filter.id, *base});
      continue;
    }
    if (auto& image = images[next++]) results.push_back({filter.id, std::move(*image)});
  }
  return results;
}

}  // namespace halvane
