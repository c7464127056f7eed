// The filter catalogue: the 146 rows exactly as the catalogue lists them, the entry for no
// filter, the four tables, the two look-ups, and the stop on a duplicate key.
#include "Halvane/Model/FilterCatalogue.h"

#include "Halvane/Model/EditState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace halvane {
namespace {

using C = FilterCategory;

struct Expected {
  const char* id;
  FilterCategory category;
  std::int64_t shaderFilterType;
  const char* displayName;
};

// The catalogue's own lists, in catalogue order.
const Expected kExpected[] = {
    {"vivid", C::basic, 1, "Vivid"},
    {"warm", C::basic, 2, "Warm"},
    {"cool", C::basic, 3, "Cool"},
    {"fresh", C::basic, 11, "Fresh"},
    {"clean", C::basic, 12, "Clean"},
    {"bright", C::basic, 13, "Bright"},
    {"soft", C::basic, 14, "Soft"},
    {"natural", C::basic, 15, "Natural"},
    {"crisp", C::basic, 16, "Crisp"},
    {"enhance", C::basic, 17, "Enhance"},
    {"airy", C::basic, 18, "Airy"},
    {"daylight", C::basic, 19, "Daylight"},
    {"clarity", C::basic, 20, "Clarity"},
    {"balanced", C::basic, 21, "Balanced"},
    {"tealOrange", C::colorBoost, 10, "Teal & Orange"},
    {"goldenHour", C::colorBoost, 22, "Golden Hour"},
    {"sunset", C::colorBoost, 23, "Sunset"},
    {"emerald", C::colorBoost, 24, "Emerald"},
    {"ruby", C::colorBoost, 25, "Ruby"},
    {"sapphire", C::colorBoost, 26, "Sapphire"},
    {"coral", C::colorBoost, 27, "Coral"},
    {"violet", C::colorBoost, 28, "Violet"},
    {"cyan", C::colorBoost, 29, "Cyan"},
    {"amber", C::colorBoost, 30, "Amber"},
    {"peach", C::colorBoost, 31, "Peach"},
    {"honey", C::colorBoost, 32, "Honey"},
    {"blush", C::colorBoost, 33, "Blush"},
    {"aqua", C::colorBoost, 34, "Aqua"},
    {"magenta", C::colorBoost, 35, "Magenta"},
    {"dramatic", C::cinematic, 8, "Dramatic"},
    {"noir", C::cinematic, 4, "Noir"},
    {"moody", C::cinematic, 36, "Moody"},
    {"thriller", C::cinematic, 37, "Thriller"},
    {"shadow", C::cinematic, 38, "Shadow"},
    {"tungsten", C::cinematic, 39, "Tungsten"},
    {"neon", C::cinematic, 40, "Neon"},
    {"blockbuster", C::cinematic, 41, "Blockbuster"},
    {"gotham", C::cinematic, 42, "Gotham"},
    {"matrix", C::cinematic, 43, "Matrix"},
    {"blade", C::cinematic, 44, "Blade"},
    {"dusk", C::cinematic, 45, "Dusk"},
    {"midnight", C::cinematic, 46, "Midnight"},
    {"smoke", C::cinematic, 47, "Smoke"},
    {"tension", C::cinematic, 48, "Tension"},
    {"film", C::filmVintage, 9, "Film"},
    {"fade", C::filmVintage, 6, "Fade"},
    {"sepia", C::filmVintage, 7, "Sepia"},
    {"retro", C::filmVintage, 49, "Retro"},
    {"polaroid", C::filmVintage, 50, "Polaroid"},
    {"kodachrome", C::filmVintage, 51, "Kodachrome"},
    {"portra", C::filmVintage, 52, "Portra"},
    {"fuji", C::filmVintage, 53, "Fuji"},
    {"lomo", C::filmVintage, 54, "Lomo"},
    {"expired", C::filmVintage, 55, "Expired"},
    {"velvia", C::filmVintage, 56, "Velvia"},
    {"superia", C::filmVintage, 57, "Superia"},
    {"instant", C::filmVintage, 58, "Instant"},
    {"agfa", C::filmVintage, 59, "Agfa"},
    {"grain", C::filmVintage, 60, "Grain"},
    {"mono", C::blackAndWhite, 5, "Mono"},
    {"silver", C::blackAndWhite, 61, "Silver"},
    {"carbon", C::blackAndWhite, 62, "Carbon"},
    {"ink", C::blackAndWhite, 63, "Ink"},
    {"graphite", C::blackAndWhite, 64, "Graphite"},
    {"charcoal", C::blackAndWhite, 65, "Charcoal"},
    {"slate", C::blackAndWhite, 66, "Slate"},
    {"platinum", C::blackAndWhite, 67, "Platinum"},
    {"tin", C::blackAndWhite, 68, "Tin"},
    {"selenium", C::blackAndWhite, 69, "Selenium"},
    {"highContrast", C::blackAndWhite, 70, "High Contrast"},
    {"filmGrain", C::blackAndWhite, 71, "Film Grain"},
    {"glow", C::portrait, 72, "Glow"},
    {"silk", C::portrait, 73, "Silk"},
    {"peachSkin", C::portrait, 74, "Peach Skin"},
    {"porcelain", C::portrait, 75, "Porcelain"},
    {"rose", C::portrait, 76, "Rose"},
    {"honeyLight", C::portrait, 77, "Honey Light"},
    {"luminous", C::portrait, 78, "Luminous"},
    {"dewy", C::portrait, 79, "Dewy"},
    {"studio", C::portrait, 80, "Studio"},
    {"beauty", C::portrait, 81, "Beauty"},
    {"candlelight", C::portrait, 82, "Candlelight"},
    {"golden", C::portrait, 83, "Golden"},
    {"vista", C::landscape, 84, "Vista"},
    {"forest", C::landscape, 85, "Forest"},
    {"ocean", C::landscape, 86, "Ocean"},
    {"desert", C::landscape, 87, "Desert"},
    {"alpine", C::landscape, 88, "Alpine"},
    {"tropical", C::landscape, 89, "Tropical"},
    {"arctic", C::landscape, 90, "Arctic"},
    {"canyon", C::landscape, 91, "Canyon"},
    {"meadow", C::landscape, 92, "Meadow"},
    {"horizon", C::landscape, 93, "Horizon"},
    {"sunrise", C::landscape, 94, "Sunrise"},
    {"autumn", C::landscape, 95, "Autumn"},
    {"melancholy", C::mood, 96, "Melancholy"},
    {"dreamy", C::mood, 97, "Dreamy"},
    {"euphoria", C::mood, 98, "Euphoria"},
    {"solitude", C::mood, 99, "Solitude"},
    {"serenity", C::mood, 100, "Serenity"},
    {"nostalgia", C::mood, 101, "Nostalgia"},
    {"wanderlust", C::mood, 102, "Wanderlust"},
    {"ethereal", C::mood, 103, "Ethereal"},
    {"brooding", C::mood, 104, "Brooding"},
    {"haze", C::mood, 105, "Haze"},
    {"velvet", C::mood, 106, "Velvet"},
    {"whisper", C::mood, 107, "Whisper"},
    {"storm", C::mood, 108, "Storm"},
    {"longing", C::mood, 109, "Longing"},
    {"reverie", C::mood, 110, "Reverie"},
    {"pop", C::creative, 111, "Pop"},
    {"frost", C::creative, 112, "Frost"},
    {"chrome", C::creative, 113, "Chrome"},
    {"matte", C::creative, 114, "Matte"},
    {"crossProcess", C::creative, 115, "Cross Process"},
    {"infrared", C::creative, 116, "Infrared"},
    {"cyanotype", C::creative, 117, "Cyanotype"},
    {"bleachBypass", C::creative, 118, "Bleach Bypass"},
    {"overexposed", C::creative, 119, "Overexposed"},
    {"loFi", C::creative, 120, "Lo-Fi"},
    {"invert", C::creative, 121, "Invert"},
    {"halftone", C::creative, 122, "Halftone"},
    {"sunbeam", C::light, 123, "Sunbeam"},
    {"flare", C::light, 124, "Flare"},
    {"backlit", C::light, 125, "Backlit"},
    {"softLight", C::light, 126, "Soft Light"},
    {"hardLight", C::light, 127, "Hard Light"},
    {"overcast", C::light, 128, "Overcast"},
    {"firelight", C::light, 129, "Firelight"},
    {"starlight", C::light, 130, "Starlight"},
    {"twilight", C::light, 131, "Twilight"},
    {"halo", C::light, 132, "Halo"},
    {"shade", C::light, 133, "Shade"},
    {"warmth", C::light, 134, "Warmth"},
    {"duoMidnightBlue", C::duoTone, 135, "Midnight Blue"},
    {"duoEmber", C::duoTone, 136, "Ember"},
    {"duoPlum", C::duoTone, 137, "Plum"},
    {"duoSage", C::duoTone, 138, "Sage"},
    {"duoRust", C::duoTone, 139, "Rust"},
    {"duoOcean", C::duoTone, 140, "Ocean"},
    {"duoWine", C::duoTone, 141, "Wine"},
    {"duoBronze", C::duoTone, 142, "Bronze"},
    {"duoCobalt", C::duoTone, 143, "Cobalt"},
    {"duoTerracotta", C::duoTone, 144, "Terracotta"},
    {"duoMoss", C::duoTone, 145, "Moss"},
    {"duoMauve", C::duoTone, 146, "Mauve"},
};

TEST(FilterCatalogue, HoldsThe146RowsOfThePartInOrder) {
  const auto& all = FilterCatalogue::all();
  ASSERT_EQ(all.size(), 146u);
  ASSERT_EQ(std::size(kExpected), 146u);
  for (std::size_t i = 0; i < all.size(); ++i) {
    SCOPED_TRACE(kExpected[i].id);
    EXPECT_EQ(all[i].id, kExpected[i].id);
    EXPECT_EQ(all[i].category, kExpected[i].category);
    EXPECT_EQ(all[i].shaderFilterType, kExpected[i].shaderFilterType);
    EXPECT_EQ(all[i]._displayName, kExpected[i].displayName);
    EXPECT_EQ(all[i].defaultIntensity, 1.0f);
  }
}

TEST(FilterCatalogue, NumbersRunFrom1To146WithoutAGap) {
  std::vector<std::int64_t> numbers;
  for (const auto& row : FilterCatalogue::all()) numbers.push_back(row.shaderFilterType);
  std::sort(numbers.begin(), numbers.end());
  for (std::size_t i = 0; i < numbers.size(); ++i) EXPECT_EQ(numbers[i], static_cast<std::int64_t>(i + 1));
}

TEST(FilterCatalogue, IdsAreUnique) {
  std::unordered_set<std::string> ids;
  for (const auto& row : FilterCatalogue::all()) EXPECT_TRUE(ids.insert(row.id).second) << row.id;
  EXPECT_EQ(ids.count("none"), 0u);
}

TEST(FilterCatalogue, TheFirstTenNumbersWentToTheFirstTenLooks) {
  const char* firstTen[] = {"vivid", "warm", "cool", "noir", "mono", "fade", "sepia", "dramatic", "film", "tealOrange"};
  for (int n = 1; n <= 10; ++n) {
    const auto definition = FilterCatalogue::definitionForType(n);
    ASSERT_TRUE(definition.has_value()) << n;
    EXPECT_EQ(definition->id, firstTen[n - 1]);
  }
}

TEST(FilterCatalogue, NoneStandsOutsideTheList) {
  const FilterDefinition& none = FilterCatalogue::none();
  EXPECT_EQ(none.id, "none");
  EXPECT_EQ(none.category, FilterCategory::basic);
  EXPECT_EQ(none.shaderFilterType, 0);
  EXPECT_EQ(none.defaultIntensity, 1.0f);
  EXPECT_EQ(none._displayName, "None");
  for (const auto& row : FilterCatalogue::all()) EXPECT_NE(row.id, "none");
}

TEST(FilterCatalogue, ByIDAndByTypeHoldTheRowsAndNone) {
  EXPECT_EQ(FilterCatalogue::byID().size(), 147u);
  EXPECT_EQ(FilterCatalogue::byType().size(), 147u);
  for (const auto& row : FilterCatalogue::all()) {
    EXPECT_EQ(FilterCatalogue::byID().at(row.id), row);
    EXPECT_EQ(FilterCatalogue::byType().at(row.shaderFilterType), row);
  }
  EXPECT_EQ(FilterCatalogue::byID().at("none"), FilterCatalogue::none());
  EXPECT_EQ(FilterCatalogue::byType().at(0), FilterCatalogue::none());
}

TEST(FilterCatalogue, LookupByID) {
  EXPECT_EQ(FilterCatalogue::definitionForID("none"), FilterCatalogue::none());
  EXPECT_FALSE(FilterCatalogue::definitionForID("unknown").has_value());
  EXPECT_FALSE(FilterCatalogue::definitionForID("").has_value());
  EXPECT_FALSE(FilterCatalogue::definitionForID("Vivid").has_value());  // ids are case-sensitive
  EXPECT_FALSE(FilterCatalogue::definitionForID("Ocean").has_value());  // a display name is no id
  const auto kodachrome = FilterCatalogue::definitionForID("kodachrome");
  ASSERT_TRUE(kodachrome.has_value());
  EXPECT_EQ(kodachrome->shaderFilterType, 51);
  EXPECT_EQ(kodachrome->category, FilterCategory::filmVintage);
}

TEST(FilterCatalogue, LookupByType) {
  EXPECT_EQ(FilterCatalogue::definitionForType(0), FilterCatalogue::none());
  EXPECT_FALSE(FilterCatalogue::definitionForType(147).has_value());
  EXPECT_FALSE(FilterCatalogue::definitionForType(-1).has_value());
  EXPECT_FALSE(FilterCatalogue::definitionForType(std::numeric_limits<std::int64_t>::max()).has_value());
  EXPECT_EQ(FilterCatalogue::definitionForType(146)->id, "duoMauve");
  EXPECT_EQ(FilterCatalogue::definitionForType(140)->id, "duoOcean");
  EXPECT_EQ(FilterCatalogue::definitionForType(86)->id, "ocean");
}

TEST(FilterCatalogue, MaxFilterTypeIsComputedFromTheList) {
  EXPECT_EQ(FilterCatalogue::maxFilterType(), edit_ranges::filterType.upper);
  EXPECT_EQ(FilterIndex::computeMaxFilterType({}), 0);
  const std::vector<FilterDefinition> some = {{"a", C::basic, 5, 1, "A"}, {"b", C::mood, 300, 1, "B"},
                                              {"c", C::light, 7, 1, "C"}};
  EXPECT_EQ(FilterIndex::computeMaxFilterType(some), 300);
}

TEST(FilterCatalogue, CategorySizes) {
  const std::pair<FilterCategory, std::size_t> sizes[] = {
      {C::basic, 14},    {C::colorBoost, 15}, {C::cinematic, 15}, {C::filmVintage, 15},
      {C::blackAndWhite, 12}, {C::portrait, 12}, {C::landscape, 12}, {C::mood, 15},
      {C::creative, 12}, {C::light, 12},      {C::duoTone, 12},
  };
  std::size_t sum = 0;
  ASSERT_EQ(FilterCatalogue::byCategory().size(), 11u);
  for (const auto& [category, size] : sizes) {
    SCOPED_TRACE(std::string(rawValue(category)));
    EXPECT_EQ(FilterCatalogue::byCategory().at(category).size(), size);
    sum += FilterCatalogue::byCategory().at(category).size();
  }
  EXPECT_EQ(sum, 146u);
}

TEST(FilterCatalogue, ByCategoryKeepsCatalogueOrderAndLeavesNoneOut) {
  const auto& basic = FilterCatalogue::byCategory().at(C::basic);
  const char* basicIds[] = {"vivid", "warm", "cool", "fresh", "clean", "bright", "soft",
                            "natural", "crisp", "enhance", "airy", "daylight", "clarity", "balanced"};
  ASSERT_EQ(basic.size(), std::size(basicIds));
  for (std::size_t i = 0; i < basic.size(); ++i) EXPECT_EQ(basic[i].id, basicIds[i]);
  EXPECT_TRUE(std::none_of(basic.begin(), basic.end(), [](const auto& d) { return d.id == "none"; }));

  // Every row is in its own category, in list order.
  std::vector<FilterDefinition> concatenated;
  for (FilterCategory category : kAllFilterCategories) {
    for (const auto& row : FilterCatalogue::byCategory().at(category)) {
      EXPECT_EQ(row.category, category) << row.id;
      concatenated.push_back(row);
    }
  }
  EXPECT_EQ(concatenated, FilterCatalogue::all());
}

TEST(FilterCatalogue, DisplayNamesAreNotUnique) {
  EXPECT_EQ(FilterCatalogue::definitionForID("ocean")->_displayName, "Ocean");
  EXPECT_EQ(FilterCatalogue::definitionForID("duoOcean")->_displayName, "Ocean");
  EXPECT_EQ(FilterCatalogue::definitionForID("duoOcean")->displayNameKey(), "filter.duoOcean");
  EXPECT_EQ(FilterCatalogue::none().displayNameKey(), "filter.none");
}

TEST(FilterCatalogue, TablesAreBuiltOnceAndShared) {
  EXPECT_EQ(&FilterCatalogue::byID(), &FilterCatalogue::byID());
  EXPECT_EQ(&FilterCatalogue::byType(), &FilterCatalogue::byType());
  EXPECT_EQ(&FilterCatalogue::byCategory(), &FilterCatalogue::byCategory());
  EXPECT_EQ(&FilterCatalogue::all(), &FilterCatalogue::all());
}

TEST(FilterCategory, RawValuesAndDisplayNames) {
  struct Row {
    FilterCategory category;
    const char* raw;
    const char* text;
  };
  const Row rows[] = {
      {C::basic, "basic", "Basic"},
      {C::colorBoost, "colorBoost", "Color Boost"},
      {C::cinematic, "cinematic", "Cinematic"},
      {C::filmVintage, "filmVintage", "Film/Vintage"},
      {C::blackAndWhite, "blackAndWhite", "Black & White"},
      {C::portrait, "portrait", "Portrait"},
      {C::landscape, "landscape", "Landscape"},
      {C::mood, "mood", "Mood"},
      {C::creative, "creative", "Creative"},
      {C::light, "light", "Light"},
      {C::duoTone, "duoTone", "Duo-Tone"},
  };
  ASSERT_EQ(kAllFilterCategories.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].raw);
    EXPECT_EQ(kAllFilterCategories[i], rows[i].category) << "enumeration order";
    EXPECT_EQ(rawValue(rows[i].category), rows[i].raw);
    EXPECT_EQ(filterCategoryFromRawValue(rows[i].raw), rows[i].category);
    const LocalizedText name = displayName(rows[i].category);
    EXPECT_EQ(name.key, std::string("filterCategory.") + rows[i].raw);
    EXPECT_EQ(name.defaultText, rows[i].text);
    EXPECT_EQ(name.comment, std::string(rows[i].text) + " filter category");
  }
  EXPECT_FALSE(filterCategoryFromRawValue("Basic").has_value());
  EXPECT_FALSE(filterCategoryFromRawValue("").has_value());
  EXPECT_EQ(std::hash<FilterCategory>{}(C::mood), std::hash<FilterCategory>{}(C::mood));
}

// ---- A faulty table stops the program -------------------------------------------

std::vector<FilterDefinition> twoRows(FilterDefinition second) {
  return {{"first", C::basic, 1, 1, "First"}, std::move(second)};
}

TEST(FilterIndexDeathTest, DuplicateIdStops) {
  const auto rows = twoRows({"first", C::mood, 2, 1, "Again"});
  EXPECT_DEATH(FilterIndex::buildByID(FilterCatalogue::none(), rows), "duplicate id \"first\"");
}

TEST(FilterIndexDeathTest, AnIdEqualToNoneStops) {
  const auto rows = twoRows({"none", C::mood, 2, 1, "Nothing"});
  EXPECT_DEATH(FilterIndex::buildByID(FilterCatalogue::none(), rows), "duplicate id \"none\"");
}

TEST(FilterIndexDeathTest, DuplicateNumberStops) {
  const auto rows = twoRows({"second", C::mood, 1, 1, "Second"});
  EXPECT_DEATH(FilterIndex::buildByType(FilterCatalogue::none(), rows), "duplicate shaderFilterType 1");
}

TEST(FilterIndexDeathTest, TheNumberOfNoneStops) {
  const auto rows = twoRows({"second", C::mood, 0, 1, "Second"});
  EXPECT_DEATH(FilterIndex::buildByType(FilterCatalogue::none(), rows), "duplicate shaderFilterType 0");
}

TEST(FilterIndex, DistinctKeysBuild) {
  const auto rows = twoRows({"second", C::mood, 2, 1, "Second"});
  EXPECT_EQ(FilterIndex::buildByID(FilterCatalogue::none(), rows).size(), 3u);
  EXPECT_EQ(FilterIndex::buildByType(FilterCatalogue::none(), rows).size(), 3u);
  const auto byCategory = FilterIndex::buildByCategory(rows);
  EXPECT_EQ(byCategory.size(), 11u);
  EXPECT_EQ(byCategory.at(C::mood).size(), 1u);
  EXPECT_TRUE(byCategory.at(C::light).empty());
}

}  // namespace
}  // namespace halvane
