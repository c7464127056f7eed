#include "ImageCodecTestSupport.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

namespace platform::media::test {

std::filesystem::path mediaPath(const std::string& relative) {
  return std::filesystem::path(HALVANE_MEDIA_DIR) / relative;
}

ScratchFolder::ScratchFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "image-codec-tests-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> ScratchFolder::entries() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::uint8_t> readBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Image solidImage(int width, int height, std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a) {
  Image image;
  image.width = width;
  image.height = height;
  image.pixels.resize(static_cast<std::size_t>(width) * height * 4);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
    image.pixels[i] = b, image.pixels[i + 1] = g, image.pixels[i + 2] = r, image.pixels[i + 3] = a;
  }
  return image;
}

Image patternImage(int width, int height) {
  Image image = solidImage(width, height, 0, 0, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* p = image.pixel(x, y);
      p[0] = static_cast<std::uint8_t>(255.0 * x / std::max(1, width - 1));
      p[1] = static_cast<std::uint8_t>(255.0 * y / std::max(1, height - 1));
      p[2] = static_cast<std::uint8_t>(128 + 100 * std::sin(x * 0.05) * std::cos(y * 0.07));
    }
  }
  return image;
}

Image upright(const Image& image) {
  // Quarter turns and mirror for each raw orientation, as the engine's bake table has them.
  static constexpr int kTurns[8] = {0, 2, 3, 1, 0, 2, 1, 3};
  static constexpr bool kMirror[8] = {false, false, false, false, true, true, true, true};
  const auto raw = static_cast<int>(image.orientation);
  Image out = image;
  for (int turn = 0; turn < kTurns[raw]; ++turn) {
    // One clockwise quarter turn: the left column becomes the top row.
    Image turned = out;
    turned.width = out.height;
    turned.height = out.width;
    for (int y = 0; y < turned.height; ++y) {
      for (int x = 0; x < turned.width; ++x) {
        std::copy_n(out.pixel(y, out.height - 1 - x), 4, turned.pixel(x, y));
      }
    }
    out = std::move(turned);
  }
  if (kMirror[raw]) {
    for (int y = 0; y < out.height; ++y) {
      for (int x = 0; x < out.width / 2; ++x) std::swap_ranges(out.pixel(x, y), out.pixel(x, y) + 4, out.pixel(out.width - 1 - x, y));
    }
  }
  out.orientation = ImageOrientation::up;
  return out;
}

double psnr(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height) return 0;
  double squares = 0;
  for (std::size_t i = 0; i < a.pixels.size(); i += 4) {
    for (int c = 0; c < 3; ++c) {
      const double d = static_cast<double>(a.pixels[i + c]) - b.pixels[i + c];
      squares += d * d;
    }
  }
  if (squares == 0) return std::numeric_limits<double>::infinity();
  const double mse = squares / (static_cast<double>(a.width) * a.height * 3);
  return 10 * std::log10(255.0 * 255.0 / mse);
}

}  // namespace platform::media::test
