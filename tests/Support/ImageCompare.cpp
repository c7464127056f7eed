#include "Support/ImageCompare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "Platform/Media/ImageEncoder.h"

namespace testsupport {
namespace {

// The absolute differences of the colour channels, folded by `fold`; infinity for
// pictures that cannot be compared.
template <typename Fold>
double foldDifferences(const platform::media::Image& a, const platform::media::Image& b, Fold fold) {
  if (a.width != b.width || a.height != b.height || a.pixels.empty() || a.pixels.size() != b.pixels.size())
    return INFINITY;
  double result = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i)
    if (i % 4 != 3) result = fold(result, std::abs(int(a.pixels[i]) - int(b.pixels[i])));
  return result;
}

}  // namespace

double meanAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b) {
  return foldDifferences(a, b, [](double sum, int d) { return sum + d; }) / double(a.pixels.size() / 4 * 3);
}

double maxAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b) {
  return foldDifferences(a, b, [](double most, int d) { return std::max(most, double(d)); });
}

void saveForInspection(const platform::media::Image& image, const std::string& name) {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path folder = std::filesystem::current_path() / "test-output";
  std::filesystem::create_directories(folder);
  const std::string stem = info ? std::string(info->test_suite_name()) + "." + info->name() + "." : std::string();
  platform::media::writePNG(image, folder / (stem + name + ".png"));
}

}  // namespace testsupport
