#pragma once
// Helpers shared by the image codec tests: sample paths, a scratch folder, synthetic
// images, a CPU reference of the orientation bake, and PSNR.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Platform/Media/Image.h"

namespace platform::media::test {

// HALVANE_MEDIA_DIR / relative.
std::filesystem::path mediaPath(const std::string& relative);

// Skips the calling test, visibly, when a sample is missing.
#define SKIP_IF_MISSING(path)                                                         \
  do {                                                                                \
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "sample missing: " << (path); \
  } while (0)

// A fresh folder removed with everything in it when the object dies.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  // Names of the entries, hidden ones included, sorted.
  std::vector<std::string> entries() const;

 private:
  std::filesystem::path path_;
};

std::vector<std::uint8_t> readBytes(const std::filesystem::path& path);
void writeBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);

// width x height, every pixel (b, g, r, a).
Image solidImage(int width, int height, std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a = 255);
// An opaque image with smooth gradients and some texture, deterministic.
Image patternImage(int width, int height);

// The picture as it is meant to be seen: the raw orientation applied by quarter turns
// (clockwise) and then a horizontal mirror, the way the engine bakes a source.
Image upright(const Image& image);

// Peak signal-to-noise ratio over B, G and R, in dB (infinity when identical).
double psnr(const Image& a, const Image& b);

}  // namespace platform::media::test
