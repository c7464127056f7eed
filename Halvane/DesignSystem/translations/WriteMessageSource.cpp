// Writes the text table as a C++ source that lupdate reads: each key as a qtTrId call
// with its default text (//%) and comment (//:). The table stays the one place where
// texts are declared; lupdate carries new keys and changed texts into the .ts files.
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "Halvane/DesignSystem/DSL10n.h"

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
  out << "// Written from the text table for lupdate; never compiled.\nvoid messages() {\n";
  for (const halvane::LocalizedText& entry : halvane::DSL10n::allEntries()) {
    out << "  //: " << entry.comment << "\n";
    out << "  //% " << quoted(entry.defaultText) << "\n";
    out << "  qtTrId(" << quoted(entry.key) << ");\n";
  }
  out << "}\n";
  out.close();
  if (!out) {
    std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[1]);
    return 1;
  }
  return 0;
}
