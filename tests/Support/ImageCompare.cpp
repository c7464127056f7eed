#include "Support/ImageCompare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "Platform/Media/ImageEncoder.h"

namespace testsupport {
namespace {

bool comparable(const platform::media::Image& a, const platform::media::Image& b) {
  return a.width == b.width && a.height == b.height && !a.pixels.empty() && a.pixels.size() == b.pixels.size();
}

}  // namespace

double meanAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b) {
  if (!comparable(a, b)) return INFINITY;
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); i += 4)
    for (std::size_t c = 0; c < 3; ++c) sum += std::abs(int(a.pixels[i + c]) - int(b.pixels[i + c]));
  return sum / double(a.pixels.size() / 4 * 3);
}

double maxAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b) {
  if (!comparable(a, b)) return INFINITY;
  int most = 0;
  for (std::size_t i = 0; i < a.pixels.size(); i += 4)
    for (std::size_t c = 0; c < 3; ++c) most = std::max(most, std::abs(int(a.pixels[i + c]) - int(b.pixels[i + c])));
  return most;
}

void saveForInspection(const platform::media::Image& image, const std::string& name) {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path folder = std::filesystem::current_path() / "test-output";
  std::filesystem::create_directories(folder);
  const std::string stem = info ? std::string(info->test_suite_name()) + "." + info->name() + "." : std::string();
  platform::media::writePNG(image, folder / (stem + name + ".png"));
}

}  // namespace testsupport
