#include "Halvane/Editor/Widgets/ShareOffer.h"

#include <fstream>
#include <random>
#include <system_error>

namespace halvane::editor {

std::string suggestedFileName(const ShareOffer& offer) {
  std::string stem = std::filesystem::path(offer.sourceName).stem().string();
  if (stem.empty()) stem = offer.isPhoto ? "photo" : "video";
  std::string extension = "jpg";
  if (const auto* file = std::get_if<std::filesystem::path>(&offer.payload)) {
    if (file->has_extension()) extension = file->extension().string().substr(1);
  }
  return stem + "-edited." + extension;
}

std::string copyFileAtomically(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::error_code error;
  if (std::filesystem::equivalent(from, to, error)) return "the file cannot be saved over itself";
  std::random_device random;
  const std::filesystem::path partial =
      to.parent_path() / ("." + to.filename().string() + ".partial-" + std::to_string(random()));
  {
    std::ifstream in(from, std::ios::binary);
    if (!in) return "cannot read " + from.string();
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out) return "cannot write in " + to.parent_path().string();
    out << in.rdbuf();
    out.flush();
    if (!out || in.bad()) {
      out.close();
      std::filesystem::remove(partial, error);
      return "writing " + to.string() + " failed";
    }
  }
  std::filesystem::rename(partial, to, error);
  if (error) {
    std::filesystem::remove(partial, error);
    return "cannot replace " + to.string();
  }
  return {};
}

}  // namespace halvane::editor
