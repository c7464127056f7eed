#include <algorithm>
#include <cstdio>
#include <string>

#include "Command.h"
#include "EngineStart.h"
#include "Halvane/Model/FilterCatalogue.h"
#include "ReviewSheet.h"

namespace halvane::cli {

// The input under all 146 looks at full intensity, one band per category in the order
// of the filter panel, each look labelled with its display name; the unfiltered picture
// heads the sheet.
Command makeContactSheetCommand() {
  return Command{
      "contact-sheet", "contact-sheet INPUT OUTPUT.jpg [--tile PIXELS] [--quality 0..1]",
      [](const std::vector<std::string>& arguments) {
        const SheetArguments args = parseSheetArguments(arguments, 160);
        auto engine = startEngine();
        const SheetPicture picture = loadSheetPicture(*engine, args.input, args.tileSide);
        const int tileWidth = picture.image.width, tileHeight = picture.image.height;

        size_t columns = 1;
        for (FilterCategory category : kAllFilterCategories)
          columns = std::max(columns, FilterCatalogue::byCategory().at(category).size());
        const int gap = 8, labelHeight = tools::textHeight() + 6, headingHeight = tools::textHeight(2) + 10;
        const int cellWidth = tileWidth + gap, cellHeight = tileHeight + labelHeight;
        const int bandHeight = headingHeight + cellHeight + gap;
        const int bands = int(kAllFilterCategories.size()) + 1;
        ReviewSheet sheet(gap + int(columns) * cellWidth, gap + bands * bandHeight);

        auto render = [&](EditState state, const std::string& name) {
          state.trimStart = 1;  // an edit even where the look is none, so every tile takes the same path
          auto rendered = engine->renderToImage(picture.texture, state);
          if (!rendered) throw CommandError("rendering failed for " + name + ": " + rendered.error().message);
          return *rendered;
        };
        int y = gap;
        sheet.label(gap, y, "Original", sheet.image().width, ReviewSheet::kHeading, 2);
        sheet.paste(render(EditState{}, "the original"), gap, y + headingHeight);
        sheet.label(gap, y + headingHeight + tileHeight + 4, FilterCatalogue::none()._displayName, tileWidth);
        y += bandHeight;
        size_t looks = 0;
        for (FilterCategory category : kAllFilterCategories) {
          sheet.label(gap, y, std::string(displayName(category).defaultText), sheet.image().width,
                      ReviewSheet::kHeading, 2);
          int x = gap;
          for (const FilterDefinition& look : FilterCatalogue::byCategory().at(category)) {
            EditState state;
            state.filterType = look.shaderFilterType;
            state.filterIntensity = look.defaultIntensity;
            sheet.paste(render(state, look.id), x, y + headingHeight);
            sheet.label(x, y + headingHeight + tileHeight + 4, look._displayName, tileWidth);
            x += cellWidth;
            ++looks;
          }
          y += bandHeight;
        }
        sheet.write(args.output, args.quality);
        std::printf("%s: %d x %d, %zu looks\n", args.output.c_str(), sheet.image().width, sheet.image().height, looks);
        return 0;
      }};
}

}  // namespace halvane::cli
