// The filter catalogue: its invariants (numbers without a gap, unique ids, categories in
// list order), the entry for no filter, the four tables, the two look-ups, and the stop
// on a duplicate key.
#include "Halvane/Model/FilterCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "Halvane/Model/EditState.h"

namespace halvane {
namespace {

using C = FilterCategory;

TEST(FilterCatalogue, Holds146LooksAtFullIntensity) {
  ASSERT_EQ(FilterCatalogue::all().size(), 146u);
  for (const auto& row : FilterCatalogue::all()) {
    EXPECT_EQ(row.defaultIntensity, 1.0f) << row.id;
    EXPECT_FALSE(row._displayName.empty()) << row.id;
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
