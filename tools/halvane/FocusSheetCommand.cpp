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
#include "ReviewSheet.h"

namespace halvane::cli {

namespace {

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

}  // namespace

// The input under the eleven focus modes at the values each starts with, labelled, in a
// grid of four columns. The picture is scaled to the tile size first: every blur is
// sized by the picture, so a tile shows what the full-size export shows, smaller.
Command makeFocusSheetCommand() {
  return Command{"focus-sheet", "focus-sheet INPUT OUTPUT.jpg [--tile PIXELS] [--quality 0..1]",
                 [](const std::vector<std::string>& arguments) {
                   const SheetArguments args = parseSheetArguments(arguments, 480);
                   auto engine = startEngine();
                   const SheetPicture picture = loadSheetPicture(*engine, args.input, args.tileSide);
                   const int tileWidth = picture.image.width, tileHeight = picture.image.height;

                   const auto entries = focusSheetEntries();
                   const int columns = 4, rows = int(entries.size() + columns - 1) / columns;
                   const int labelScale = 2, gap = 12, labelHeight = tools::textHeight(labelScale) + 8;
                   ReviewSheet sheet(gap + columns * (tileWidth + gap), gap + rows * (tileHeight + labelHeight + gap));
                   for (size_t i = 0; i < entries.size(); ++i) {
                     auto rendered = engine->renderToImage(picture.texture, entries[i].state);
                     if (!rendered)
                       throw CommandError("rendering failed for " + entries[i].title + ": " + rendered.error().message);
                     const int x = gap + int(i % columns) * (tileWidth + gap);
                     const int y = gap + int(i / columns) * (tileHeight + labelHeight + gap);
                     sheet.paste(*rendered, x, y);
                     // The title and the Amount slider as the panel shows it.
                     std::string label = entries[i].title;
                     if (entries[i].state.focusMode != 0)
                       label += "  " + std::to_string(int(std::lround(entries[i].state.focusStrength * 100))) + "%";
                     sheet.label(x, y + tileHeight + 6, label, tileWidth, ReviewSheet::kText, labelScale);
                   }
                   sheet.write(args.output, args.quality);
                   std::printf("%s: %d x %d, %zu modes\n", args.output.c_str(), sheet.image().width,
                               sheet.image().height, entries.size());
                   return 0;
                 }};
}

}  // namespace halvane::cli
