#include <cstdio>

#include "Command.h"
#include "Halvane/Model/FilterCatalogue.h"

namespace halvane::cli {

// Lists the catalogue by category: number, id and display name.
Command makeFiltersCommand() {
  return Command{"filters", "filters", [](const std::vector<std::string>& arguments) {
                   if (!arguments.empty()) throw UsageError("takes no arguments");
                   for (FilterCategory category : kAllFilterCategories) {
                     const auto name = displayName(category).defaultText;
                     std::printf("%.*s\n", int(name.size()), name.data());
                     const auto found = FilterCatalogue::byCategory().find(category);
                     if (found == FilterCatalogue::byCategory().end()) continue;
                     for (const auto& filter : found->second) {
                       std::printf("  %3lld  %-24s %s\n", static_cast<long long>(filter.shaderFilterType),
                                   filter.id.c_str(), filter._displayName.c_str());
                     }
                   }
                   return 0;
                 }};
}

}  // namespace halvane::cli
