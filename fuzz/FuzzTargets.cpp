#include "fuzz/FuzzTargets.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

#include "Halvane/Model/EditFieldTable.h"
#include "Halvane/Model/EditStateCoding.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/ImageCodecsPrivate.h"

namespace halvane::fuzz {

namespace {

using platform::media::Image;
using platform::media::detail::DecodeResult;

// An invariant the code promises; breaking it is a finding like a crash.
void require(bool condition) { if (!condition) std::abort(); }

// A decoded image is whole and within the limits; an error says something.
template <DecodeResult (*decode)(std::span<const std::uint8_t>)>
void decodeImage(std::span<const std::uint8_t> input) {
  const DecodeResult result = decode(input);
  if (!result) return require(!result.error().message.empty());
  const Image& image = *result;
  require(image.width > 0 && image.height > 0);
  require(image.width <= platform::media::kMaxImageSide && image.height <= platform::media::kMaxImageSide);
  require(image.pixels.size() == image.bytesPerRow() * static_cast<std::size_t>(image.height));
}

// JSON nested deeper than any edit is refused before parsing: the parser recurses once
// per level, and that limit belongs to the reader of documents, not to this target.
constexpr int kMaxNesting = 64;

bool nestsTooDeep(std::span<const std::uint8_t> input) {
  int depth = 0;
  for (const std::uint8_t byte : input) {
    depth += (byte == '[' || byte == '{') - ((byte == ']' || byte == '}') && depth > 0);
    if (depth > kMaxNesting) return true;
  }
  return false;
}

// Decoding never fails on the content of an object, gives a state that encodes, and
// that state survives a round trip unchanged.
void decodeEditCoding(std::span<const std::uint8_t> input) {
  if (nestsTooDeep(input)) return;
  const auto document = nlohmann::json::parse(input.begin(), input.end(), nullptr, false);
  if (document.is_discarded()) return;
  if (!document.is_object()) {
    try {
      decodeEditState(document);
    } catch (const EditStateCodingError&) {
      return;
    }
    std::abort();  // a document that is not an object must be refused
  }
  const EditState state = decodeEditState(document);
  const nlohmann::ordered_json encoded = encodeEditState(state);
  require(encoded.size() == kEditFields.size());
  require(decodeEditState(encoded) == state);
  require(decodeEditState(nlohmann::json::parse(encoded.dump())) == state);
}

// The bytes as a file without touching the disk: an anonymous memory file, named by
// its /proc path, which FFmpeg opens like any other.
struct MemoryFile {
  explicit MemoryFile(std::span<const std::uint8_t> bytes) {
    require(fd >= 0);
    for (ssize_t put = 0; !bytes.empty(); bytes = bytes.subspan(std::size_t(put)))
      require((put = ::write(fd, bytes.data(), bytes.size())) > 0);
  }
  ~MemoryFile() { ::close(fd); }
  MemoryFile(const MemoryFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd); }
  const int fd = memfd_create("fuzz-input", MFD_CLOEXEC);
};

// What opening a video does: the probe, then the first frames of its first video track.
void probeAsset(std::span<const std::uint8_t> input) {
  av_log_set_callback([](void*, int, const char*, va_list) {});  // FFmpeg's messages would drown the fuzzer's
  const MemoryFile file(input);
  auto asset = platform::media::Asset::make(file.path());
  auto info = asset->loadNow();
  if (!info) return require(!info.error().message.empty());
  const auto videos = info->tracksOfType(platform::media::MediaType::video);
  if (videos.empty()) return;
  auto reader = platform::media::AssetReader::make(asset);
  if (!reader) return;
  auto output = (*reader)->addVideoOutput(videos.front());
  if (!(*reader)->startReading()) return;
  for (int frame = 0; frame < 3 && output->copyNextPixelBuffer(); ++frame) {
  }
}

constexpr std::array kTargets = {
    FuzzTarget{"jpeg", decodeImage<platform::media::detail::decodeJpeg>},
    FuzzTarget{"png", decodeImage<platform::media::detail::decodePng>},
    FuzzTarget{"webp", decodeImage<platform::media::detail::decodeWebp>},
    FuzzTarget{"heif", decodeImage<platform::media::detail::decodeHeif>},
    FuzzTarget{"edit-coding", decodeEditCoding},
    FuzzTarget{"asset-probe", probeAsset},
};

}  // namespace

std::span<const FuzzTarget> fuzzTargets() { return kTargets; }

const FuzzTarget* findFuzzTarget(std::string_view name) {
  for (const FuzzTarget& target : kTargets)
    if (target.name == name) return &target;
  return nullptr;
}

}  // namespace halvane::fuzz
