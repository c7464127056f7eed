#pragma once
// The filter catalogue: the fixed table of the 146 looks of the colour
// kernel in 11 categories, plus the entry for no filter, and the tables built from it.
// Every table is built lazily once on first use and shared for the life of the process;
// first use may come from any thread (the build is guarded by the language's static
// initialisation) and the tables are immutable afterwards.
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halvane {

// Enumerable in this order; the raw value is the case name.
enum class FilterCategory {
  basic,
  colorBoost,
  cinematic,
  filmVintage,
  blackAndWhite,
  portrait,
  landscape,
  mood,
  creative,
  light,
  duoTone,
};

inline constexpr std::array<FilterCategory, 11> kAllFilterCategories = {
    FilterCategory::basic,       FilterCategory::colorBoost, FilterCategory::cinematic,
    FilterCategory::filmVintage, FilterCategory::blackAndWhite, FilterCategory::portrait,
    FilterCategory::landscape,   FilterCategory::mood,        FilterCategory::creative,
    FilterCategory::light,       FilterCategory::duoTone,
};

// A text looked up in the localisation tables by `key`, with the default text and the
// translators' comment.
struct LocalizedText {
  std::string_view key;
  std::string_view defaultText;
  std::string_view comment;

  bool operator==(const LocalizedText&) const = default;
};

// "basic", "colorBoost", ...: the case name.
std::string_view rawValue(FilterCategory category);
// The inverse of rawValue; none for an unknown string.
std::optional<FilterCategory> filterCategoryFromRawValue(std::string_view raw);
// "filterCategory.<case>", its default text ("Color Boost") and comment.
LocalizedText displayName(FilterCategory category);

struct FilterDefinition {
  std::string id;                // stable, unique in the catalogue
  FilterCategory category = FilterCategory::basic;
  std::int64_t shaderFilterType = 0;  // the number stored in EditState::filterType; unique
  float defaultIntensity = 1;    // the filterIntensity set when the filter is chosen
  std::string _displayName;      // default text of the label

  // The label's localisation key, "filter." + id; the comment is empty.
  std::string displayNameKey() const { return "filter." + id; }

  bool operator==(const FilterDefinition&) const = default;
};

// The tables built from a list. A duplicate id or number while building is a fault in
// the table: it stops the program with a message naming the key.
struct FilterIndex {
  static std::unordered_map<std::string, FilterDefinition> buildByID(const FilterDefinition& none,
                                                                     std::span<const FilterDefinition> rows);
  static std::unordered_map<std::int64_t, FilterDefinition> buildByType(const FilterDefinition& none,
                                                                        std::span<const FilterDefinition> rows);
  // Every category has an entry, possibly empty; rows keep list order. "none" is in no category.
  static std::unordered_map<FilterCategory, std::vector<FilterDefinition>> buildByCategory(
      std::span<const FilterDefinition> rows);
  // The largest number of the list; 0 for an empty list.
  static std::int64_t computeMaxFilterType(std::span<const FilterDefinition> rows);
};

class FilterCatalogue {
 public:
  // The entry for no filter: "none", basic, number 0, intensity 1, "None". Not in the list.
  static const FilterDefinition& none();
  // The 146 rows, category by category in the order of FilterCategory, catalogue order within.
  static const std::vector<FilterDefinition>& all();

  // The 146 rows and "none".
  static const std::unordered_map<std::string, FilterDefinition>& byID();
  static const std::unordered_map<std::int64_t, FilterDefinition>& byType();
  // The rows of each category in catalogue order.
  static const std::unordered_map<FilterCategory, std::vector<FilterDefinition>>& byCategory();
  // The largest shaderFilterType of the list (146), computed from it.
  static std::int64_t maxFilterType();

  static std::optional<FilterDefinition> definitionForID(std::string_view id);
  static std::optional<FilterDefinition> definitionForType(std::int64_t shaderFilterType);
};

}  // namespace halvane
