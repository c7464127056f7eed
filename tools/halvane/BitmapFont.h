#pragma once
// A small built-in bitmap font for labels on review sheets: printable ASCII in cells of
// 5 by 8 pixels (capitals 7 high, one row for descenders), one column of spacing,
// scaled by whole numbers. Draws on a BGRA8 buffer it does not own; pure functions,
// safe from any thread.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace halvane::tools {

// A BGRA8 pixel buffer, top row first.
struct Canvas {
  uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  size_t bytesPerRow = 0;
};

struct Rgb {
  uint8_t r = 0;
  uint8_t g = 0;
  uint8_t b = 0;
};

constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 8;
constexpr int kGlyphAdvance = 6;

// Width and height in pixels of a line of text at a scale.
int textWidth(std::string_view text, int scale = 1);
inline int textHeight(int scale = 1) { return kGlyphHeight * scale; }

// Draws one line with its top-left corner at (x, y), clipped to the canvas. Characters
// outside printable ASCII are drawn as '?'.
void drawText(Canvas& canvas, int x, int y, std::string_view text, Rgb color, int scale = 1);

// The text, shortened with "..." when needed so that it fits in maxWidth pixels.
std::string fitText(std::string_view text, int maxWidth, int scale = 1);

// Fills a rectangle, clipped to the canvas.
void fillRect(Canvas& canvas, int x, int y, int width, int height, Rgb color);

}  // namespace halvane::tools
