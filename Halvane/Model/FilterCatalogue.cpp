#include "Halvane/Model/FilterCatalogue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace halvane {

namespace {

struct CategoryInfo {
  std::string_view raw;
  std::string_view defaultText;
  std::string_view key;
  std::string_view comment;
};

// In the order of FilterCategory.
constexpr std::array<CategoryInfo, 11> kCategoryInfo = {{
    {"basic", "Basic", "filterCategory.basic", "Basic filter category"},
    {"colorBoost", "Color Boost", "filterCategory.colorBoost", "Color Boost filter category"},
    {"cinematic", "Cinematic", "filterCategory.cinematic", "Cinematic filter category"},
    {"filmVintage", "Film/Vintage", "filterCategory.filmVintage", "Film/Vintage filter category"},
    {"blackAndWhite", "Black & White", "filterCategory.blackAndWhite", "Black & White filter category"},
    {"portrait", "Portrait", "filterCategory.portrait", "Portrait filter category"},
    {"landscape", "Landscape", "filterCategory.landscape", "Landscape filter category"},
    {"mood", "Mood", "filterCategory.mood", "Mood filter category"},
    {"creative", "Creative", "filterCategory.creative", "Creative filter category"},
    {"light", "Light", "filterCategory.light", "Light filter category"},
    {"duoTone", "Duo-Tone", "filterCategory.duoTone", "Duo-Tone filter category"},
}};

struct Row {
  const char* id;
  FilterCategory category;
  std::int64_t shaderFilterType;
  const char* displayName;
};

// The catalogue, in its own order. The first ten numbers went to the first ten
// looks, which stand in their categories, so the numbers are not in list order.
constexpr Row kRows[] = {
    {"vivid", FilterCategory::basic, 1, "Vivid"},
    {"warm", FilterCategory::basic, 2, "Warm"},
    {"cool", FilterCategory::basic, 3, "Cool"},
    {"fresh", FilterCategory::basic, 11, "Fresh"},
    {"clean", FilterCategory::basic, 12, "Clean"},
    {"bright", FilterCategory::basic, 13, "Bright"},
    {"soft", FilterCategory::basic, 14, "Soft"},
    {"natural", FilterCategory::basic, 15, "Natural"},
    {"crisp", FilterCategory::basic, 16, "Crisp"},
    {"enhance", FilterCategory::basic, 17, "Enhance"},
    {"airy", FilterCategory::basic, 18, "Airy"},
    {"daylight", FilterCategory::basic, 19, "Daylight"},
    {"clarity", FilterCategory::basic, 20, "Clarity"},
    {"balanced", FilterCategory::basic, 21, "Balanced"},
    {"tealOrange", FilterCategory::colorBoost, 10, "Teal & Orange"},
    {"goldenHour", FilterCategory::colorBoost, 22, "Golden Hour"},
    {"sunset", FilterCategory::colorBoost, 23, "Sunset"},
    {"emerald", FilterCategory::colorBoost, 24, "Emerald"},
    {"ruby", FilterCategory::colorBoost, 25, "Ruby"},
    {"sapphire", FilterCategory::colorBoost, 26, "Sapphire"},
    {"coral", FilterCategory::colorBoost, 27, "Coral"},
    {"violet", FilterCategory::colorBoost, 28, "Violet"},
    {"cyan", FilterCategory::colorBoost, 29, "Cyan"},
    {"amber", FilterCategory::colorBoost, 30, "Amber"},
    {"peach", FilterCategory::colorBoost, 31, "Peach"},
    {"honey", FilterCategory::colorBoost, 32, "Honey"},
    {"blush", FilterCategory::colorBoost, 33, "Blush"},
    {"aqua", FilterCategory::colorBoost, 34, "Aqua"},
    {"magenta", FilterCategory::colorBoost, 35, "Magenta"},
    {"dramatic", FilterCategory::cinematic, 8, "Dramatic"},
    {"noir", FilterCategory::cinematic, 4, "Noir"},
    {"moody", FilterCategory::cinematic, 36, "Moody"},
    {"thriller", FilterCategory::cinematic, 37, "Thriller"},
    {"shadow", FilterCategory::cinematic, 38, "Shadow"},
    {"tungsten", FilterCategory::cinematic, 39, "Tungsten"},
    {"neon", FilterCategory::cinematic, 40, "Neon"},
    {"blockbuster", FilterCategory::cinematic, 41, "Blockbuster"},
    {"gotham", FilterCategory::cinematic, 42, "Gotham"},
    {"matrix", FilterCategory::cinematic, 43, "Matrix"},
    {"blade", FilterCategory::cinematic, 44, "Blade"},
    {"dusk", FilterCategory::cinematic, 45, "Dusk"},
    {"midnight", FilterCategory::cinematic, 46, "Midnight"},
    {"smoke", FilterCategory::cinematic, 47, "Smoke"},
    {"tension", FilterCategory::cinematic, 48, "Tension"},
    {"film", FilterCategory::filmVintage, 9, "Film"},
    {"fade", FilterCategory::filmVintage, 6, "Fade"},
    {"sepia", FilterCategory::filmVintage, 7, "Sepia"},
    {"retro", FilterCategory::filmVintage, 49, "Retro"},
    {"polaroid", FilterCategory::filmVintage, 50, "Polaroid"},
    {"kodachrome", FilterCategory::filmVintage, 51, "Kodachrome"},
    {"portra", FilterCategory::filmVintage, 52, "Portra"},
    {"fuji", FilterCategory::filmVintage, 53, "Fuji"},
    {"lomo", FilterCategory::filmVintage, 54, "Lomo"},
    {"expired", FilterCategory::filmVintage, 55, "Expired"},
    {"velvia", FilterCategory::filmVintage, 56, "Velvia"},
    {"superia", FilterCategory::filmVintage, 57, "Superia"},
    {"instant", FilterCategory::filmVintage, 58, "Instant"},
    {"agfa", FilterCategory::filmVintage, 59, "Agfa"},
    {"grain", FilterCategory::filmVintage, 60, "Grain"},
    {"mono", FilterCategory::blackAndWhite, 5, "Mono"},
    {"silver", FilterCategory::blackAndWhite, 61, "Silver"},
    {"carbon", FilterCategory::blackAndWhite, 62, "Carbon"},
    {"ink", FilterCategory::blackAndWhite, 63, "Ink"},
    {"graphite", FilterCategory::blackAndWhite, 64, "Graphite"},
    {"charcoal", FilterCategory::blackAndWhite, 65, "Charcoal"},
    {"slate", FilterCategory::blackAndWhite, 66, "Slate"},
    {"platinum", FilterCategory::blackAndWhite, 67, "Platinum"},
    {"tin", FilterCategory::blackAndWhite, 68, "Tin"},
    {"selenium", FilterCategory::blackAndWhite, 69, "Selenium"},
    {"highContrast", FilterCategory::blackAndWhite, 70, "High Contrast"},
    {"filmGrain", FilterCategory::blackAndWhite, 71, "Film Grain"},
    {"glow", FilterCategory::portrait, 72, "Glow"},
    {"silk", FilterCategory::portrait, 73, "Silk"},
    {"peachSkin", FilterCategory::portrait, 74, "Peach Skin"},
    {"porcelain", FilterCategory::portrait, 75, "Porcelain"},
    {"rose", FilterCategory::portrait, 76, "Rose"},
    {"honeyLight", FilterCategory::portrait, 77, "Honey Light"},
    {"luminous", FilterCategory::portrait, 78, "Luminous"},
    {"dewy", FilterCategory::portrait, 79, "Dewy"},
    {"studio", FilterCategory::portrait, 80, "Studio"},
    {"beauty", FilterCategory::portrait, 81, "Beauty"},
    {"candlelight", FilterCategory::portrait, 82, "Candlelight"},
    {"golden", FilterCategory::portrait, 83, "Golden"},
    {"vista", FilterCategory::landscape, 84, "Vista"},
    {"forest", FilterCategory::landscape, 85, "Forest"},
    {"ocean", FilterCategory::landscape, 86, "Ocean"},
    {"desert", FilterCategory::landscape, 87, "Desert"},
    {"alpine", FilterCategory::landscape, 88, "Alpine"},
    {"tropical", FilterCategory::landscape, 89, "Tropical"},
    {"arctic", FilterCategory::landscape, 90, "Arctic"},
    {"canyon", FilterCategory::landscape, 91, "Canyon"},
    {"meadow", FilterCategory::landscape, 92, "Meadow"},
    {"horizon", FilterCategory::landscape, 93, "Horizon"},
    {"sunrise", FilterCategory::landscape, 94, "Sunrise"},
    {"autumn", FilterCategory::landscape, 95, "Autumn"},
    {"melancholy", FilterCategory::mood, 96, "Melancholy"},
    {"dreamy", FilterCategory::mood, 97, "Dreamy"},
    {"euphoria", FilterCategory::mood, 98, "Euphoria"},
    {"solitude", FilterCategory::mood, 99, "Solitude"},
    {"serenity", FilterCategory::mood, 100, "Serenity"},
    {"nostalgia", FilterCategory::mood, 101, "Nostalgia"},
    {"wanderlust", FilterCategory::mood, 102, "Wanderlust"},
    {"ethereal", FilterCategory::mood, 103, "Ethereal"},
    {"brooding", FilterCategory::mood, 104, "Brooding"},
    {"haze", FilterCategory::mood, 105, "Haze"},
    {"velvet", FilterCategory::mood, 106, "Velvet"},
    {"whisper", FilterCategory::mood, 107, "Whisper"},
    {"storm", FilterCategory::mood, 108, "Storm"},
    {"longing", FilterCategory::mood, 109, "Longing"},
    {"reverie", FilterCategory::mood, 110, "Reverie"},
    {"pop", FilterCategory::creative, 111, "Pop"},
    {"frost", FilterCategory::creative, 112, "Frost"},
    {"chrome", FilterCategory::creative, 113, "Chrome"},
    {"matte", FilterCategory::creative, 114, "Matte"},
    {"crossProcess", FilterCategory::creative, 115, "Cross Process"},
    {"infrared", FilterCategory::creative, 116, "Infrared"},
    {"cyanotype", FilterCategory::creative, 117, "Cyanotype"},
    {"bleachBypass", FilterCategory::creative, 118, "Bleach Bypass"},
    {"overexposed", FilterCategory::creative, 119, "Overexposed"},
    {"loFi", FilterCategory::creative, 120, "Lo-Fi"},
    {"invert", FilterCategory::creative, 121, "Invert"},
    {"halftone", FilterCategory::creative, 122, "Halftone"},
    {"sunbeam", FilterCategory::light, 123, "Sunbeam"},
    {"flare", FilterCategory::light, 124, "Flare"},
    {"backlit", FilterCategory::light, 125, "Backlit"},
    {"softLight", FilterCategory::light, 126, "Soft Light"},
    {"hardLight", FilterCategory::light, 127, "Hard Light"},
    {"overcast", FilterCategory::light, 128, "Overcast"},
    {"firelight", FilterCategory::light, 129, "Firelight"},
    {"starlight", FilterCategory::light, 130, "Starlight"},
    {"twilight", FilterCategory::light, 131, "Twilight"},
    {"halo", FilterCategory::light, 132, "Halo"},
    {"shade", FilterCategory::light, 133, "Shade"},
    {"warmth", FilterCategory::light, 134, "Warmth"},
    {"duoMidnightBlue", FilterCategory::duoTone, 135, "Midnight Blue"},
    {"duoEmber", FilterCategory::duoTone, 136, "Ember"},
    {"duoPlum", FilterCategory::duoTone, 137, "Plum"},
    {"duoSage", FilterCategory::duoTone, 138, "Sage"},
    {"duoRust", FilterCategory::duoTone, 139, "Rust"},
    {"duoOcean", FilterCategory::duoTone, 140, "Ocean"},
    {"duoWine", FilterCategory::duoTone, 141, "Wine"},
    {"duoBronze", FilterCategory::duoTone, 142, "Bronze"},
    {"duoCobalt", FilterCategory::duoTone, 143, "Cobalt"},
    {"duoTerracotta", FilterCategory::duoTone, 144, "Terracotta"},
    {"duoMoss", FilterCategory::duoTone, 145, "Moss"},
    {"duoMauve", FilterCategory::duoTone, 146, "Mauve"},
};

[[noreturn]] void stopOnDuplicate(const char* what, const std::string& key) {
  std::fprintf(stderr, "FilterCatalogue: duplicate %s %s while building the filter tables; the table is faulty\n",
               what, key.c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace

std::string_view rawValue(FilterCategory category) {
  return kCategoryInfo[static_cast<std::size_t>(category)].raw;
}

std::optional<FilterCategory> filterCategoryFromRawValue(std::string_view raw) {
  for (FilterCategory category : kAllFilterCategories) {
    if (rawValue(category) == raw) return category;
  }
  return std::nullopt;
}

LocalizedText displayName(FilterCategory category) {
  const CategoryInfo& info = kCategoryInfo[static_cast<std::size_t>(category)];
  return {info.key, info.defaultText, info.comment};
}

std::unordered_map<std::string, FilterDefinition> FilterIndex::buildByID(const FilterDefinition& none,
                                                                        std::span<const FilterDefinition> rows) {
  std::unordered_map<std::string, FilterDefinition> table;
  table.reserve(rows.size() + 1);
  table.emplace(none.id, none);
  for (const FilterDefinition& row : rows) {
    if (!table.emplace(row.id, row).second) stopOnDuplicate("id", "\"" + row.id + "\"");
  }
  return table;
}

std::unordered_map<std::int64_t, FilterDefinition> FilterIndex::buildByType(const FilterDefinition& none,
                                                                           std::span<const FilterDefinition> rows) {
  std::unordered_map<std::int64_t, FilterDefinition> table;
  table.reserve(rows.size() + 1);
  table.emplace(none.shaderFilterType, none);
  for (const FilterDefinition& row : rows) {
    if (!table.emplace(row.shaderFilterType, row).second) {
      stopOnDuplicate("shaderFilterType", std::to_string(row.shaderFilterType) + " (id \"" + row.id + "\")");
    }
  }
  return table;
}

std::unordered_map<FilterCategory, std::vector<FilterDefinition>> FilterIndex::buildByCategory(
    std::span<const FilterDefinition> rows) {
  std::unordered_map<FilterCategory, std::vector<FilterDefinition>> table;
  for (FilterCategory category : kAllFilterCategories) table[category];
  for (const FilterDefinition& row : rows) table[row.category].push_back(row);
  return table;
}

std::int64_t FilterIndex::computeMaxFilterType(std::span<const FilterDefinition> rows) {
  std::int64_t largest = 0;
  for (const FilterDefinition& row : rows) largest = std::max(largest, row.shaderFilterType);
  return largest;
}

const FilterDefinition& FilterCatalogue::none() {
  static const FilterDefinition entry{"none", FilterCategory::basic, 0, 1.0f, "None"};
  return entry;
}

const std::vector<FilterDefinition>& FilterCatalogue::all() {
  static const std::vector<FilterDefinition> list = [] {
    std::vector<FilterDefinition> rows;
    rows.reserve(std::size(kRows));
    for (const Row& row : kRows) {
      rows.push_back(FilterDefinition{row.id, row.category, row.shaderFilterType, 1.0f, row.displayName});
    }
    return rows;
  }();
  return list;
}

const std::unordered_map<std::string, FilterDefinition>& FilterCatalogue::byID() {
  static const auto table = FilterIndex::buildByID(none(), all());
  return table;
}

const std::unordered_map<std::int64_t, FilterDefinition>& FilterCatalogue::byType() {
  static const auto table = FilterIndex::buildByType(none(), all());
  return table;
}

const std::unordered_map<FilterCategory, std::vector<FilterDefinition>>& FilterCatalogue::byCategory() {
  static const auto table = FilterIndex::buildByCategory(all());
  return table;
}

std::int64_t FilterCatalogue::maxFilterType() {
  static const std::int64_t largest = FilterIndex::computeMaxFilterType(all());
  return largest;
}

std::optional<FilterDefinition> FilterCatalogue::definitionForID(std::string_view id) {
  const auto& table = byID();
  auto found = table.find(std::string(id));
  if (found == table.end()) return std::nullopt;
  return found->second;
}

std::optional<FilterDefinition> FilterCatalogue::definitionForType(std::int64_t shaderFilterType) {
  const auto& table = byType();
  auto found = table.find(shaderFilterType);
  if (found == table.end()) return std::nullopt;
  return found->second;
}

}  // namespace halvane
