// Every sample, damaged in the ways files get damaged (cut short, bytes flipped), must
// end in a picture or a clear error: no crash, no hang, no file left behind, and the
// sample itself untouched. Photos are decoded; videos are probed and a few frames read.
// The damage is deterministic (a fixed seed) so that a failure names a case that can
// be made again.
#include <gtest/gtest.h>

#include <random>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/ImageDecoder.h"

namespace platform::media {
namespace {

using test::sample;

using Variant = std::pair<std::string, test::Bytes>;  // a name and the damaged bytes

// Cuts at a few places (inside the header, and at a quarter, a half and three
// quarters), and three copies with a handful of bytes flipped: some near the start,
// where the structure is, and some anywhere.
std::vector<Variant> damaged(const std::vector<std::uint8_t>& original, std::mt19937& random) {
  std::vector<Variant> variants;
  for (const std::size_t cut : {std::size_t{64}, original.size() / 4, original.size() / 2, original.size() * 3 / 4}) {
    if (cut == 0 || cut >= original.size()) continue;
    variants.push_back({"cut at " + std::to_string(cut), {original.begin(), original.begin() + cut}});
  }
  for (int copy = 0; copy < 3; ++copy) {
    Variant variant{"flips #" + std::to_string(copy), original};
    const std::size_t head = std::min<std::size_t>(original.size(), 4096);
    for (int flip = 0; flip < 12; ++flip) {
      const std::size_t range = flip % 2 ? original.size() : head;
      variant.second[std::uniform_int_distribution<std::size_t>(0, range - 1)(random)] ^=
          static_cast<std::uint8_t>(1 + random() % 255);
    }
    variants.push_back(std::move(variant));
  }
  return variants;
}

// A picture of the size it claims, or an error that names the file; a damaged sample
// as it stands is corrupt or of an unsupported format.
void expectDecodedOrRefused(const std::filesystem::path& file, bool asItStands) {
  auto result = decodeImageFile(file);
  if (result) {
    EXPECT_FALSE(result->isEmpty());
    EXPECT_EQ(result->pixels.size(), result->bytesPerRow() * result->height);
    return;
  }
  EXPECT_NE(result.error().message.find(file.filename().string()), std::string::npos) << result.error().message;
  const auto kind = result.error().kind;
  if (asItStands) {
    EXPECT_TRUE(kind == ImageError::Kind::corrupt || kind == ImageError::Kind::unsupportedFormat) << toString(kind);
  }
}

// The probe, then up to three frames of the first video track. A reader that stops
// early must say why.
void expectProbedOrRefused(const std::filesystem::path& file) {
  auto asset = Asset::make(file.string());
  auto info = asset->loadNow();
  if (!info) {
    EXPECT_FALSE(info.error().message.empty());
    return;
  }
  const auto videos = info->tracksOfType(MediaType::video);
  if (videos.empty()) return;
  auto reader = AssetReader::make(asset);
  ASSERT_TRUE(reader.hasValue()) << "the probe succeeded, so the reader must open";
  auto output = (*reader)->addVideoOutput(videos.front());
  if (!(*reader)->startReading()) {
    EXPECT_TRUE((*reader)->error().has_value());
    return;
  }
  int frames = 0;
  while (frames < 3 && output->copyNextPixelBuffer()) ++frames;
  if (frames < 3) { EXPECT_NE((*reader)->status(), AssetReaderStatus::reading); }
}

// The samples of a folder, sorted, without their licences and notes.
std::vector<std::filesystem::path> samplesIn(const std::string& folder) {
  std::vector<std::filesystem::path> samples;
  if (sample(folder).empty()) return samples;
  for (const auto& entry : std::filesystem::directory_iterator(sample(folder))) {
    const auto& path = entry.path();
    const bool note =
        path.filename().string().starts_with("LICENSE") || path.extension() == ".md" || path.extension() == ".markdown";
    if (entry.is_regular_file() && !note) samples.push_back(path);
  }
  std::sort(samples.begin(), samples.end());
  return samples;
}

class CorruptMedia : public testing::TestWithParam<const char*> {};

TEST_P(CorruptMedia, EverySampleCutOrFlippedEndsInAPictureOrAClearError) {
  const auto samples = samplesIn(GetParam());
  if (samples.empty()) GTEST_SKIP() << "no samples in " << GetParam();
  std::mt19937 random(20261123);
  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.filename().string());
    const auto original = test::readBytes(sample);
    test::ScratchFolder folder;
    std::vector<Variant> variants = damaged(original, random);
    // The damaged samples of the broken folder are tried as they are too.
    if (std::string(GetParam()) == "broken") variants.push_back({"as it is", original});
    for (const auto& [name, bytes] : variants) {
      SCOPED_TRACE(name);
      const auto file = folder / sample.filename().string();
      test::writeBytes(file, bytes);
      std::string extension = file.extension().string();
      std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
      if (extension == ".mov" || extension == ".mp4")
        expectProbedOrRefused(file);
      else
        expectDecodedOrRefused(file, name == "as it is");
      EXPECT_EQ(folder.entries(), std::vector<std::string>{sample.filename().string()}) << "a file was left behind";
      std::filesystem::remove(file);
    }
    EXPECT_TRUE(test::readBytes(sample) == original) << "the sample changed";
  }
}

INSTANTIATE_TEST_SUITE_P(SampleFolders, CorruptMedia,
                         testing::Values("photo", "exif-orientation", "video", "livephoto", "broken"),
                         [](const auto& info) {
                           std::string name = info.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace platform::media
