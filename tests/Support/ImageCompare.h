#pragma once
// Comparing pictures in the GPU tests, and keeping the ones that differ for a look.
#include <string>

#include "Platform/Media/Image.h"

namespace testsupport {

// Over the colour channels, in code values; pictures of different sizes (or empty
// ones) differ by infinity.
double meanAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b);
double maxAbsoluteDifference(const platform::media::Image& a, const platform::media::Image& b);

// Writes test-output/<suite>.<test>.<name>.png beside the running test.
void saveForInspection(const platform::media::Image& image, const std::string& name);

}  // namespace testsupport
