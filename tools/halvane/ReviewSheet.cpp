#include "ReviewSheet.h"

#include <algorithm>

#include "Command.h"
#include "PhotoSource.h"
#include "Platform/Media/ImageEncoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::cli {

using platform::media::Image;

SheetArguments parseSheetArguments(const std::vector<std::string>& arguments, int defaultTileSide) {
  SheetArguments parsed;
  parsed.tileSide = defaultTileSide;
  std::vector<std::string> paths;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--tile") {
      if (i + 1 >= arguments.size()) throw UsageError("--tile needs a value");
      try {
        parsed.tileSide = std::stoi(arguments[++i]);
      } catch (const std::exception&) {
        throw UsageError("--tile needs a number");
      }
      if (parsed.tileSide < 32 || parsed.tileSide > 2048) throw UsageError("--tile must be between 32 and 2048");
    } else if (arguments[i] == "--quality") {
      if (i + 1 >= arguments.size()) throw UsageError("--quality needs a value");
      try {
        parsed.quality = std::stod(arguments[++i]);
      } catch (const std::exception&) {
        throw UsageError("--quality needs a number");
      }
      if (!(parsed.quality >= 0 && parsed.quality <= 1)) throw UsageError("--quality must be between 0 and 1");
    } else if (arguments[i].starts_with("--")) {
      throw UsageError("unknown option '" + arguments[i] + "'");
    } else {
      paths.push_back(arguments[i]);
    }
  }
  if (paths.size() != 2) throw UsageError("needs an input and an output path");
  parsed.input = paths[0];
  parsed.output = paths[1];
  return parsed;
}

SheetPicture loadSheetPicture(RenderingEngine& engine, const std::string& path, int tileSide) {
  const PhotoSource source = loadPhotoSource(engine, path);
  auto upright = engine.renderToImage(source.texture, EditState{});
  if (!upright) throw CommandError(upright.error().message);
  const double scale = double(tileSide) / std::max(upright->width, upright->height);
  SheetPicture picture;
  picture.image = platform::media::scaleImage(*upright, std::max(1, int(upright->width * scale + 0.5)),
                                              std::max(1, int(upright->height * scale + 0.5)));
  picture.texture = engine.makeTexture(picture.image);
  if (!picture.texture) throw CommandError("the GPU refused the scaled picture");
  return picture;
}

ReviewSheet::ReviewSheet(int width, int height) {
  image_.width = width;
  image_.height = height;
  image_.pixels.assign(size_t(width) * size_t(height) * 4, 255);
  canvas_ = tools::Canvas{image_.pixels.data(), width, height, size_t(width) * 4};
  tools::fillRect(canvas_, 0, 0, width, height, {24, 24, 24});
}

void ReviewSheet::paste(const Image& tile, int x0, int y0) {
  for (int y = 0; y < tile.height; ++y) {
    if (y0 + y < 0 || y0 + y >= image_.height) continue;
    const int from = std::max(0, -x0), to = std::min(tile.width, image_.width - x0);
    if (to > from) std::copy_n(tile.pixel(from, y), size_t(to - from) * 4, image_.pixel(x0 + from, y0 + y));
  }
}

void ReviewSheet::label(int x, int y, std::string_view text, int maxWidth, tools::Rgb color, int scale) {
  tools::drawText(canvas_, x, y, tools::fitText(text, maxWidth, scale), color, scale);
}

void ReviewSheet::write(const std::string& path, double quality) const {
  if (auto written = platform::media::writeJPEG(image_, path, quality); !written)
    throw CommandError("cannot write " + path + ": " + written.error().message);
}

}  // namespace halvane::cli
