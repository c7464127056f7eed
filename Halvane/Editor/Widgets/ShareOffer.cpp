#include "Halvane/Editor/Widgets/ShareOffer.h"

#include <fstream>
#include <system_error>
#include <vector>

#include "Platform/Media/TemporaryFile.h"

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

platform::Expected<void, platform::media::MediaError> copyFileAtomically(const std::filesystem::path& from,
                                                                         const std::filesystem::path& to) {
  using Code = platform::media::MediaError::Code;
  using platform::media::mediaFailure;
  std::error_code error;
  if (std::filesystem::equivalent(from, to, error))
    return mediaFailure(Code::invalidArgument, "the file cannot be saved over itself");
  std::ifstream in(from, std::ios::binary);
  if (!in) return mediaFailure(Code::openFailed, "cannot read " + from.string());
  auto partial = platform::media::TemporaryFile::createBeside(to);
  if (!partial) return mediaFailure(Code::writeFailed, "cannot write in " + to.parent_path().string());
  std::vector<char> chunk(1 << 16);
  while (in) {
    in.read(chunk.data(), std::streamsize(chunk.size()));
    if (in.gcount() > 0 && !partial->writeAll(chunk.data(), std::size_t(in.gcount())))
      return mediaFailure(Code::writeFailed, "writing " + to.string() + " failed");
  }
  if (in.bad() || !partial->syncAndClose())
    return mediaFailure(Code::writeFailed, "writing " + to.string() + " failed");
  // The user chose the name in the dialog, which asked before replacing.
  if (!partial->moveOnto(to, platform::media::ExistingFile::replace))
    return mediaFailure(Code::writeFailed, "cannot replace " + to.string());
  return {};
}

}  // namespace halvane::editor
