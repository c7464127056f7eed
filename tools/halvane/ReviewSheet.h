#pragma once
// What the review sheets of looks, adjustments and focus modes share: their command
// line, the picture made small once, and a dark canvas with tiles, labels and headings.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BitmapFont.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/Image.h"

namespace halvane::cli {

// INPUT OUTPUT.jpg [--tile PIXELS] [--quality 0..1]; throws UsageError.
struct SheetArguments {
  std::string input;
  std::string output;
  int tileSide = 0;      // the longer side of a tile
  double quality = 0.8;  // of the JPEG
};
SheetArguments parseSheetArguments(const std::vector<std::string>& arguments, int defaultTileSide);

// The input decoded, turned upright, scaled so that its longer side is the tile side,
// and uploaded. Every effect of the colour pass is sized by the picture, so a tile shows
// what the full-size export shows, smaller.
struct SheetPicture {
  std::shared_ptr<platform::gpu::Texture> texture;
  platform::media::Image image;
};
SheetPicture loadSheetPicture(RenderingEngine& engine, const std::string& path, int tileSide);

class ReviewSheet {
 public:
  static constexpr tools::Rgb kText = {235, 235, 235};
  static constexpr tools::Rgb kHeading = {255, 214, 90};

  ReviewSheet(int width, int height);
  void paste(const platform::media::Image& tile, int x, int y);
  // One line, shortened to fit maxWidth.
  void label(int x, int y, std::string_view text, int maxWidth, tools::Rgb color = kText, int scale = 1);
  const platform::media::Image& image() const { return image_; }
  // A JPEG; throws CommandError.
  void write(const std::string& path, double quality) const;

 private:
  platform::media::Image image_;
  tools::Canvas canvas_;
};

}  // namespace halvane::cli
