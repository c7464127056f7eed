#pragma once
// Icon sizes, and the one mapping from the symbol names the editor uses to glyphs of
// the Material Icons font (Debian's fonts-material-design-icons-iconfont), which
// stands in for the platform's symbol set.
#include <optional>
#include <span>
#include <string_view>

namespace halvane::DSIcon {

enum class Size { small = 16, medium = 24, large = 32, xl = 48 };

constexpr double points(Size size) { return static_cast<double>(static_cast<int>(size)); }
// The size of that many points; none for any other number.
constexpr std::optional<Size> sizeFromRawValue(int points) {
  for (Size size : {Size::small, Size::medium, Size::large, Size::xl})
    if (static_cast<int>(size) == points) return size;
  return std::nullopt;
}

struct SymbolGlyph {
  std::string_view symbolName;    // "arrow.uturn.backward"
  std::string_view materialName;  // the icon's name in the font, "undo"
  char32_t codepoint = 0;         // its private-use code point
};

// Every symbol of the editor and the shell, by name.
std::span<const SymbolGlyph> symbolGlyphs();
std::optional<SymbolGlyph> glyphForSymbol(std::string_view symbolName);

}  // namespace halvane::DSIcon
