// Writes the text table and the looks' labels of the filter catalogue as a C++ source
// that lupdate reads: each key as a qtTrId call with its default text (//%) and comment
// (//:). The tables stay the one place where texts are declared; lupdate carries new
// keys and changed texts into the .ts files.
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/Model/FilterCatalogue.h"

namespace {

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTPUT.cpp\n", argv[0]);
    return 2;
  }
  std::ofstream out(argv[1]);
  auto write = [&](std::string_view key, std::string_view defaultText, std::string_view comment) {
    if (!comment.empty()) out << "  //: " << comment << "\n";
    out << "  //% " << quoted(defaultText) << "\n";
    out << "  qtTrId(" << quoted(key) << ");\n";
  };
  out << "// Written from the text tables for lupdate; never compiled.\nvoid messages() {\n";
  for (const halvane::LocalizedText& entry : halvane::DSL10n::allEntries())
    write(entry.key, entry.defaultText, entry.comment);
  write(halvane::FilterCatalogue::none().displayNameKey(), halvane::FilterCatalogue::none()._displayName, {});
  for (const halvane::FilterDefinition& filter : halvane::FilterCatalogue::all())
    write(filter.displayNameKey(), filter._displayName, {});
  out << "}\n";
  out.close();
  if (!out) {
    std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[1]);
    return 1;
  }
  return 0;
}
