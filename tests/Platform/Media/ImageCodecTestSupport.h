#pragma once
// Helpers shared by the image codec tests: a scratch folder, synthetic
// images, a CPU reference of the orientation bake, and PSNR.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

#include "Platform/Media/Image.h"
#include "Platform/Media/ImageDecoder.h"
#include "Support/TestFiles.h"

namespace platform::media::test {

using testsupport::sample;  // empty when the sample is missing

// A fresh folder removed with everything in it when the object dies.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "image-codec-tests-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  // Names of the entries, hidden ones included, sorted.
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path path_;
};

inline std::vector<std::uint8_t> readBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

using Bytes = std::vector<std::uint8_t>;

// The decoded picture; a failure fails the test and gives an empty one.
inline Image decoded(platform::Expected<Image, ImageError> result, const std::string& what = "") {
  EXPECT_TRUE(result) << what << (result ? "" : ": " + result.error().message);
  return result ? std::move(result).value() : Image{};
}
inline Image decodeOrFail(const std::filesystem::path& path) { return decoded(decodeImageFile(path), path.string()); }
inline Image decodeBytes(const Bytes& bytes) { return decoded(decodeImage(bytes)); }

// width x height, every pixel (b, g, r, a).
inline Image solidImage(int width, int height, std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a = 255) {
  Image image;
  image.width = width, image.height = height;
  for (int i = 0; i < width * height; ++i) image.pixels.insert(image.pixels.end(), {b, g, r, a});
  return image;
}

// An opaque image with smooth gradients and some texture, deterministic.
inline Image patternImage(int width, int height) {
  Image image = solidImage(width, height, 0, 0, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* p = image.pixel(x, y);
      p[0] = std::uint8_t(255.0 * x / std::max(1, width - 1));
      p[1] = std::uint8_t(255.0 * y / std::max(1, height - 1));
      p[2] = std::uint8_t(128 + 100 * std::sin(x * 0.05) * std::cos(y * 0.07));
    }
  }
  return image;
}

// The picture as it is meant to be seen: the raw orientation applied by quarter turns
// (clockwise) and then a horizontal mirror, the way the engine bakes a source.
inline Image upright(const Image& image) {
  // Quarter turns and mirror for each raw orientation, as the engine's bake table has them.
  static constexpr int kTurns[8] = {0, 2, 3, 1, 0, 2, 1, 3};
  const auto raw = static_cast<int>(image.orientation);
  Image out = image;
  for (int turn = 0; turn < kTurns[raw]; ++turn) {
    // One clockwise quarter turn: the left column becomes the top row.
    Image turned = out;
    std::swap(turned.width, turned.height);
    for (int y = 0; y < turned.height; ++y)
      for (int x = 0; x < turned.width; ++x) std::copy_n(out.pixel(y, out.height - 1 - x), 4, turned.pixel(x, y));
    out = std::move(turned);
  }
  for (int y = 0; y < out.height && raw >= 4; ++y)  // the mirrored half of the table
    for (int x = 0; x < out.width / 2; ++x)
      std::swap_ranges(out.pixel(x, y), out.pixel(x, y) + 4, out.pixel(out.width - 1 - x, y));
  out.orientation = ImageOrientation::up;
  return out;
}

// Peak signal-to-noise ratio over B, G and R, in dB (infinity when identical).
inline double psnr(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height) return 0;
  double squares = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i)
    if (i % 4 != 3) squares += std::pow(double(a.pixels[i]) - b.pixels[i], 2);
  return squares == 0 ? std::numeric_limits<double>::infinity()
                      : 10 * std::log10(255.0 * 255.0 * a.width * a.height * 3 / squares);
}

}  // namespace platform::media::test
