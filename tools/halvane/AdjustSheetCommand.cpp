#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

#include "Command.h"
#include "ReviewSheet.h"

namespace halvane::cli {

namespace {

// The sixteen adjustments in the order of the adjust panel, with their titles there,
// the fields they set, and the ends of their sliders in the field's units.
struct SheetAdjustment {
  const char* title;
  float EditState::*field;
  float min;
  float max;
  const char* unit;
};

constexpr SheetAdjustment kAdjustments[] = {
    {"Brightness", &EditState::brightness, -1, 1, ""},
    {"Contrast", &EditState::contrast, 0.5f, 2, ""},
    {"Saturation", &EditState::saturation, 0, 2, ""},
    {"Exposure", &EditState::exposure, -3, 3, " EV"},
    {"Gamma", &EditState::gamma, 0.2f, 5, ""},
    {"Highlights", &EditState::highlights, -1, 1, ""},
    {"Shadows", &EditState::shadows, -1, 1, ""},
    {"Blacks", &EditState::blacks, -1, 1, ""},
    {"Whites", &EditState::whites, -1, 1, ""},
    {"Warmth", &EditState::temperature, 2000, 10000, " K"},
    {"Tint", &EditState::tint, -1, 1, ""},
    {"Sharpen", &EditState::sharpness, 0, 2, ""},
    {"Clarity", &EditState::clarity, -1, 1, ""},
    {"Vibrance", &EditState::vibrance, -1, 1, ""},
    {"Vignette", &EditState::vignetteIntensity, 0, 2, ""},
    {"Vig. Size", &EditState::vignetteRadius, 0, 2, ""},
};

// "-1", "+0.5", "+3 EV"; Kelvin without a sign.
std::string valueText(float value, const char* unit) {
  const char* sign = value > 0 && std::string_view(unit) != " K" ? "+" : "";
  char text[32];
  if (std::fabs(value - std::round(value)) < 1e-4f)
    std::snprintf(text, sizeof text, "%s%d%s", sign, int(std::lround(value)), unit);
  else
    std::snprintf(text, sizeof text, "%s%.1f%s", sign, double(value), unit);
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
                   auto engine = RenderingEngine::create();
                   const SheetPicture picture = loadSheetPicture(*engine, args.input, args.tileSide);
                   const int tileWidth = picture.image.width, tileHeight = picture.image.height;

                   const int perRow = 4, gap = 8, pairGap = 20, labelHeight = tools::textHeight() + 6;
                   const int pairWidth = 2 * tileWidth + gap;
                   const int cellHeight = labelHeight + tileHeight + gap;
                   const int rows = int(std::size(kAdjustments) + perRow - 1) / perRow;
                   ReviewSheet sheet(gap + perRow * (pairWidth + pairGap), gap + (rows + 1) * cellHeight);

                   auto render = [&](const EditState& state) {
                     auto rendered = engine->renderToImage(picture.texture, state);
                     if (!rendered) throw CommandError("rendering failed");
                     return *rendered;
                   };
                   sheet.label(gap, gap, "Original", tileWidth, ReviewSheet::kHeading);
                   sheet.paste(render(EditState{}), gap, gap + labelHeight);
                   for (size_t i = 0; i < std::size(kAdjustments); ++i) {
                     const SheetAdjustment& a = kAdjustments[i];
                     const int x = gap + int(i % perRow) * (pairWidth + pairGap);
                     const int y = gap + int(i / perRow + 1) * cellHeight;
                     int column = 0;
                     for (float value : {a.min, a.max}) {
                       EditState state;
                       state.*a.field = value;
                       state.trimStart = 1;  // an edit even at a neutral end (sharpness 0, vignette 0)
                       if (a.field == &EditState::vignetteRadius) state.vignetteIntensity = 1;
                       const int tx = x + column * (tileWidth + gap);
                       sheet.paste(render(state), tx, y + labelHeight);
                       sheet.label(tx, y, std::string(a.title) + " " + valueText(value, a.unit), tileWidth,
                                   column == 0 ? ReviewSheet::kText : ReviewSheet::kHeading);
                       ++column;
                     }
                   }
                   sheet.write(args.output, args.quality);
                   std::printf("%s: %d x %d, %zu adjustments\n", args.output.c_str(), sheet.image().width,
                               sheet.image().height, std::size(kAdjustments));
                   return 0;
                 }};
}

}  // namespace halvane::cli
