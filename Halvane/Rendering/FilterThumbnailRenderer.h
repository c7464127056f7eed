#pragma once
// Fills the filter panel with small previews: the user's picture as it stands (crop,
// adjustments, focus), with each catalogue filter on top. A batch runs on the global
// queue of user-initiated priority: the part of the base edit before a look once, then
// the looks and the rest of the edit a few to a command buffer, so the preview can
// interleave; it delivers all results at once on the main queue. The job holds the
// renderer weakly: dropping the renderer cancels a batch not yet started.
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/FilterCatalogue.h"
#include "Platform/Gpu/Texture.h"
#include "Platform/Media/Image.h"

namespace halvane {

class RenderingEngine;

struct FilterThumbnail {
  std::string filterID;
  platform::media::Image image;
};

class FilterThumbnailRenderer : public std::enable_shared_from_this<FilterThumbnailRenderer> {
 public:
  using Completion = std::function<void(std::vector<FilterThumbnail>)>;

  FilterThumbnailRenderer(std::shared_ptr<RenderingEngine> engine, int thumbnailSize);

  // Returns at once; `completion` is called exactly once, on the main queue. The
  // source image is used when given, else the texture is read back. `baseState` comes
  // with filterType 0 and filterIntensity 1.
  void render(std::optional<platform::media::Image> sourceImage, std::shared_ptr<platform::gpu::Texture> sourceTexture,
              EditState baseState, std::vector<FilterDefinition> filters, Completion completion);

  const std::shared_ptr<RenderingEngine> engine;
  const int thumbnailSize;

 private:
  std::vector<FilterThumbnail> renderBatch(const std::optional<platform::media::Image>& sourceImage,
                                           const std::shared_ptr<platform::gpu::Texture>& sourceTexture,
                                           const EditState& baseState, const std::vector<FilterDefinition>& filters);
  // The small texture under the part of the base edit that comes before a look, kept for
  // the looks, and the bitmap of the whole base edit in `image`; none when the GPU could
  // not produce them.
  std::shared_ptr<platform::gpu::Texture> renderBase(const std::shared_ptr<platform::gpu::Texture>& small,
                                                     const EditState& baseState,
                                                     std::optional<platform::media::Image>& image);
  // The looks of filters [first, end) over `base`, with the rest of the base edit after
  // them, on one command buffer and one wait; a filter whose thumbnail could not be
  // made keeps none in `looks`.
  void renderLooks(const std::shared_ptr<platform::gpu::Texture>& base, const EditState& baseState,
                   const std::vector<FilterDefinition>& filters, size_t first, size_t end,
                   std::vector<std::optional<platform::media::Image>>& looks);

  // Enough to spare most of the per-submission cost, few enough that a preview frame
  // waits behind a short run of thumbnails only.
  static constexpr size_t kThumbnailsPerCommandBuffer = 16;
};

}  // namespace halvane
