#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <string>
#include <vector>

#include "BitmapFont.h"
#include "Command.h"
#include "EngineStart.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "PhotoSource.h"
#include "Platform/Media/ImageEncoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::cli {

namespace {

using platform::media::Image;

struct FocusSheetEntry {
  std::string title;  // the mode's button text in the focus panel
  EditState state;
};

// Each mode as the focus tool starts it from "Off".
std::vector<FocusSheetEntry> focusSheetEntries() {
  std::vector<FocusSheetEntry> entries;
  for (const FocusMode mode : kAllFocusModes) {
    EditState state;
    state.focusMode = std::int64_t(mode);
    focusDefaults(state, mode);
    entries.push_back({std::string(focusModeTitle(mode).defaultText), state});
  }
  return entries;
}

void paste(Image& sheet, const Image& tile, int x0, int y0) {
  for (int y = 0; y < tile.height; ++y) std::copy_n(tile.pixel(0, y), size_t(tile.width) * 4, sheet.pixel(x0, y0 + y));
}

}  // namespace

// The input under the eleven focus modes at the values each starts with, labelled, in a
// grid of four columns. The picture is scaled to the tile size first: every blur is
// sized by the picture, so a tile shows what the full-size export shows, smaller.
Command makeFocusSheetCommand() {
  return Command{"focus-sheet", "focus-sheet INPUT OUTPUT.jpg [--tile PIXELS]",
                 [](const std::vector<std::string>& arguments) {
                   std::vector<std::string> paths;
                   int tileSide = 480;
                   for (size_t i = 0; i < arguments.size(); ++i) {
                     if (arguments[i] == "--tile") {
                       if (i + 1 >= arguments.size()) throw UsageError("--tile needs a value");
                       const std::string& value = arguments[++i];
                       const bool digits =
                           !value.empty() && value.size() <= 4 && value.find_first_not_of("0123456789") == value.npos;
                       tileSide = digits ? std::stoi(value) : 0;
                       if (tileSide < 32 || tileSide > 4096)
                         throw UsageError("--tile must be a number from 32 to 4096");
                     } else if (arguments[i].starts_with("--")) {
                       throw UsageError("unknown option '" + arguments[i] + "'");
                     } else {
                       paths.push_back(arguments[i]);
                     }
                   }
                   if (paths.size() != 2) throw UsageError("needs an input and an output path");

                   auto engine = startEngine();
                   const PhotoSource source = loadPhotoSource(*engine, paths[0]);
                   auto upright = engine->renderToImage(source.texture, EditState{});
                   if (!upright) throw CommandError(upright.error().message);
                   const double scale = double(tileSide) / std::max(upright->width, upright->height);
                   const int tileWidth = std::max(1, int(upright->width * scale + 0.5));
                   const int tileHeight = std::max(1, int(upright->height * scale + 0.5));
                   const Image small = platform::media::scaleImage(*upright, tileWidth, tileHeight);
                   auto texture = engine->makeTexture(small);
                   if (!texture) throw CommandError("the GPU refused the scaled picture");

                   const auto entries = focusSheetEntries();
                   const int columns = 4, rows = int(entries.size() + columns - 1) / columns;
                   const int labelScale = 2, gap = 12, labelHeight = tools::textHeight(labelScale) + 8;
                   Image sheet;
                   sheet.width = gap + columns * (tileWidth + gap);
                   sheet.height = gap + rows * (tileHeight + labelHeight + gap);
                   sheet.pixels.assign(size_t(sheet.width) * size_t(sheet.height) * 4, 255);
                   tools::Canvas canvas{sheet.pixels.data(), sheet.width, sheet.height, size_t(sheet.width) * 4};
                   tools::fillRect(canvas, 0, 0, sheet.width, sheet.height, {24, 24, 24});
                   for (size_t i = 0; i < entries.size(); ++i) {
                     auto rendered = engine->renderToImage(texture, entries[i].state);
                     if (!rendered)
                       throw CommandError("rendering failed for " + entries[i].title + ": " + rendered.error().message);
                     const int x = gap + int(i % columns) * (tileWidth + gap);
                     const int y = gap + int(i / columns) * (tileHeight + labelHeight + gap);
                     paste(sheet, *rendered, x, y);
                     // The title and the Amount slider as the panel shows it.
                     std::string label = entries[i].title;
                     if (entries[i].state.focusMode != 0)
                       label += "  " + std::to_string(int(std::lround(entries[i].state.focusStrength * 100))) + "%";
                     tools::drawText(canvas, x, y + tileHeight + 6, tools::fitText(label, tileWidth, labelScale),
                                     {235, 235, 235}, labelScale);
                   }
                   if (auto written = platform::media::writeJPEG(sheet, paths[1], 0.8); !written)
                     throw CommandError("cannot write " + paths[1] + ": " + written.error().message);
                   std::printf("%s: %d x %d, %zu modes\n", paths[1].c_str(), sheet.width, sheet.height, entries.size());
                   return 0;
                 }};
}

}  // namespace halvane::cli
