#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

#include "Command.h"
#include "EngineStart.h"
#include "Halvane/Model/AdjustTool.h"
#include "ReviewSheet.h"

namespace halvane::cli {

namespace {

// "-1", "+0.5", "+3 EV"; Kelvin without a sign.
std::string valueText(float value, std::string_view unit) {
  const char* sign = value > 0 && unit != " K" ? "+" : "";
  char text[32];
  if (std::fabs(value - std::round(value)) < 1e-4f)
    std::snprintf(text, sizeof text, "%s%d%.*s", sign, int(std::lround(value)), int(unit.size()), unit.data());
  else
    std::snprintf(text, sizeof text, "%s%.1f%.*s", sign, double(value), int(unit.size()), unit.data());
  return text;
}

}  // namespace

// The input under each adjustment at the two ends of its slider, side by side, four
// adjustments to a row, the unfiltered picture first. The vignette size is shown with a
// vignette of 1, without which it changes nothing.
Command makeAdjustSheetCommand() {
  return Command{"adjust-sheet", "adjust-sheet INPUT OUTPUT.jpg [--tile PIXELS] [--quality 0..1]",
                 [](const std::vector<std::string>& arguments) {
                   const SheetArguments args = parseSheetArguments(arguments, 200);
                   auto engine = startEngine();
                   const SheetPicture picture = loadSheetPicture(*engine, args.input, args.tileSide);
                   const int tileWidth = picture.image.width, tileHeight = picture.image.height;

                   const int perRow = 4, gap = 8, pairGap = 20, labelHeight = tools::textHeight() + 6;
                   const int pairWidth = 2 * tileWidth + gap;
                   const int cellHeight = labelHeight + tileHeight + gap;
                   const int rows = int(kAdjustTools.size() + perRow - 1) / perRow;
                   ReviewSheet sheet(gap + perRow * (pairWidth + pairGap), gap + (rows + 1) * cellHeight);

                   auto render = [&](const EditState& state) {
                     auto rendered = engine->renderToImage(picture.texture, state);
                     if (!rendered) throw CommandError("rendering failed: " + rendered.error().message);
                     return *rendered;
                   };
                   sheet.label(gap, gap, "Original", tileWidth, ReviewSheet::kHeading);
                   sheet.paste(render(EditState{}), gap, gap + labelHeight);
                   for (size_t i = 0; i < kAdjustTools.size(); ++i) {
                     const AdjustToolInfo& a = kAdjustTools[i];
                     const int x = gap + int(i % perRow) * (pairWidth + pairGap);
                     const int y = gap + int(i / perRow + 1) * cellHeight;
                     int column = 0;
                     for (float slider : {a.sliderMin, a.sliderMax}) {
                       EditState state;
                       setSliderValue(a.tool, state, slider);
                       const float value = state.*a.field;
                       state.trimStart = 1;  // an edit even at a neutral end (sharpness 0, vignette 0)
                       if (a.field == &EditState::vignetteRadius) state.vignetteIntensity = 1;
                       const int tx = x + column * (tileWidth + gap);
                       sheet.paste(render(state), tx, y + labelHeight);
                       sheet.label(tx, y, std::string(a.defaultText) + " " + valueText(value, a.unit), tileWidth,
                                   column == 0 ? ReviewSheet::kText : ReviewSheet::kHeading);
                       ++column;
                     }
                   }
                   sheet.write(args.output, args.quality);
                   std::printf("%s: %d x %d, %zu adjustments\n", args.output.c_str(), sheet.image().width,
                               sheet.image().height, kAdjustTools.size());
                   return 0;
                 }};
}

}  // namespace halvane::cli
