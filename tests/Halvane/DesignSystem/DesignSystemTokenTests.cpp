// The design system's plain tokens: icon sizes from raw values, the symbol table, and the
// text table, which must agree with the texts the model declares for its own types.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Halvane/DesignSystem/DSIcon.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Model/MediaTool.h"

using namespace halvane;

namespace {

// A raw value names a size only when it is that size's points; any other is refused.
TEST(DSIconSize, RawValuesRoundTripThroughTheFourSizesAndNothingElse) {
  for (DSIcon::Size size : {DSIcon::Size::small, DSIcon::Size::medium, DSIcon::Size::large, DSIcon::Size::xl})
    EXPECT_EQ(DSIcon::sizeFromRawValue(DSIcon::points(size)), size);
  for (int raw : {0, 20, -16, 64}) EXPECT_FALSE(DSIcon::sizeFromRawValue(raw)) << raw;
}

TEST(DSIconSymbols, EveryNameIsUniqueAndFoundByName) {
  std::set<std::string_view> names;
  for (const DSIcon::SymbolGlyph& glyph : DSIcon::symbolGlyphs()) {
    EXPECT_TRUE(names.insert(glyph.symbolName).second) << glyph.symbolName;
    EXPECT_EQ(DSIcon::glyphForSymbol(glyph.symbolName)->codepoint, glyph.codepoint);
  }
  EXPECT_FALSE(DSIcon::glyphForSymbol("no.such.symbol"));
  // The tools' own symbols come from the model.
  for (MediaTool tool : kAllMediaTools)
    EXPECT_TRUE(DSIcon::glyphForSymbol(mediaToolInfo(tool).symbolName)) << mediaToolInfo(tool).symbolName;
}

TEST(DSL10nTable, KeysAreUniqueWithTextsAndComments) {
  std::set<std::string_view> keys;
  for (const LocalizedText& entry : DSL10n::allEntries()) {
    EXPECT_TRUE(keys.insert(entry.key).second) << entry.key;
    EXPECT_FALSE(entry.defaultText.empty()) << entry.key;
    EXPECT_FALSE(entry.comment.empty()) << entry.key;
  }
}

TEST(DSL10nTable, AgreesWithTheModelsOwnTexts) {
  auto entry = [](std::string_view key) -> std::optional<LocalizedText> {
    for (const LocalizedText& e : DSL10n::allEntries())
      if (e.key == key) return e;
    return std::nullopt;
  };
  for (MediaTool tool : kAllMediaTools) EXPECT_EQ(entry(mediaToolInfo(tool).title.key), mediaToolInfo(tool).title);
  for (FocusMode mode : kAllFocusModes) EXPECT_EQ(entry(focusModeTitle(mode).key), focusModeTitle(mode));
  for (FilterCategory category : kAllFilterCategories) EXPECT_EQ(entry(displayName(category).key), displayName(category));
}

}  // namespace
