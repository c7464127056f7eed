// The filter catalogue's invariants (146 rows, numbers without a gap, unique ids, every
// category filled in list order), the look-ups of unknown keys, and the stop on a
// duplicate key.
#include "Halvane/Model/FilterCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"

namespace halvane {
namespace {

using C = FilterCategory;

TEST(FilterCatalogue, RowsAreNumbered1To146WithUniqueIdsAndFullIntensity) {
  const auto& all = FilterCatalogue::all();
  ASSERT_EQ(all.size(), 146u);
  std::set<std::int64_t> numbers;
  for (const auto& row : all) {
    EXPECT_TRUE(numbers.insert(row.shaderFilterType).second) << row.id;
    EXPECT_EQ(row.defaultIntensity, 1.0f) << row.id;
    EXPECT_FALSE(row._displayName.empty()) << row.id;
    EXPECT_EQ(FilterCatalogue::definitionForID(row.id), row);  // so no id is used twice
    EXPECT_EQ(FilterCatalogue::definitionForType(row.shaderFilterType), row);
  }
  EXPECT_EQ(*numbers.begin(), 1);
  EXPECT_EQ(*numbers.rbegin(), 146);
  EXPECT_EQ(FilterCatalogue::maxFilterType(), edit_ranges::filterType.upper);
  // Stored edits name looks by number: the numbers stay with their looks.
  EXPECT_EQ(FilterCatalogue::definitionForType(1)->id, "vivid");
  EXPECT_EQ(FilterCatalogue::definitionForType(146)->id, "duoMauve");
}

TEST(FilterCatalogue, NoneStandsOutsideTheListAndUnknownKeysFindNothing) {
  const FilterDefinition& none = FilterCatalogue::none();
  EXPECT_EQ(FilterCatalogue::definitionForID("none"), none);
  EXPECT_EQ(FilterCatalogue::definitionForType(0), none);  // under number 0
  EXPECT_EQ(none.displayNameKey(), "filter.none");
  EXPECT_EQ(FilterCatalogue::byID().size(), 147u);
  EXPECT_EQ(FilterCatalogue::byType().size(), 147u);
  for (const char* id : {"unknown", "", "Vivid", "Ocean"}) {  // ids are case-sensitive; names are no ids
    EXPECT_FALSE(FilterCatalogue::definitionForID(id).has_value()) << id;
  }
  for (std::int64_t type : {std::int64_t{147}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_FALSE(FilterCatalogue::definitionForType(type).has_value()) << type;
  }
}

TEST(FilterCatalogue, EveryCategoryIsFilledInListOrder) {
  ASSERT_EQ(FilterCatalogue::byCategory().size(), kAllFilterCategories.size());
  std::vector<FilterDefinition> concatenated;
  for (FilterCategory category : kAllFilterCategories) {
    SCOPED_TRACE(std::string(rawValue(category)));
    const auto& rows = FilterCatalogue::byCategory().at(category);
    EXPECT_FALSE(rows.empty());
    for (const auto& row : rows) EXPECT_EQ(row.category, category) << row.id;
    concatenated.insert(concatenated.end(), rows.begin(), rows.end());
    EXPECT_EQ(filterCategoryFromRawValue(rawValue(category)), category);
    EXPECT_EQ(displayName(category).key, "filterCategory." + std::string(rawValue(category)));
  }
  EXPECT_EQ(concatenated, FilterCatalogue::all());
  EXPECT_EQ(displayName(C::filmVintage).defaultText, "Film/Vintage");
  EXPECT_FALSE(filterCategoryFromRawValue("Basic") || filterCategoryFromRawValue(""));
}

// ---- The index built from any list ----------------------------------------------

std::vector<FilterDefinition> twoRows(FilterDefinition second) {
  return {{"first", C::basic, 1, 1, "First"}, std::move(second)};
}

TEST(FilterIndex, DistinctKeysBuildAndTheLargestNumberIsComputed) {
  const auto rows = twoRows({"second", C::mood, 300, 1, "Second"});
  EXPECT_EQ(FilterIndex::buildByID(FilterCatalogue::none(), rows).size(), 3u);
  EXPECT_EQ(FilterIndex::buildByType(FilterCatalogue::none(), rows).size(), 3u);
  const auto byCategory = FilterIndex::buildByCategory(rows);
  EXPECT_EQ(byCategory.size(), 11u);
  EXPECT_EQ(byCategory.at(C::mood).size(), 1u);
  EXPECT_TRUE(byCategory.at(C::light).empty());
  EXPECT_EQ(FilterIndex::computeMaxFilterType(rows), 300);
  EXPECT_EQ(FilterIndex::computeMaxFilterType({}), 0);
}

TEST(FilterIndexDeathTest, ADuplicateIdOrNumberStops) {
  const FilterDefinition& none = FilterCatalogue::none();
  EXPECT_DEATH(FilterIndex::buildByID(none, twoRows({"first", C::mood, 2, 1, "Again"})), "duplicate id \"first\"");
  EXPECT_DEATH(FilterIndex::buildByID(none, twoRows({"none", C::mood, 2, 1, "No"})), "duplicate id \"none\"");
  EXPECT_DEATH(FilterIndex::buildByType(none, twoRows({"second", C::mood, 1, 1, "S"})), "duplicate shaderFilterType 1");
  EXPECT_DEATH(FilterIndex::buildByType(none, twoRows({"second", C::mood, 0, 1, "S"})), "duplicate shaderFilterType 0");
}

}  // namespace
}  // namespace halvane
