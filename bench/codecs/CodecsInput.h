#pragma once
// The benchmarks' input: a 12-megapixel photo (classic-car.heic, 3024 x 4032, decoded
// upright), and that photo as a JPEG at quality 0.9. The media folder is
// HALVANE_MEDIA_DIR, overridden by the environment variable of the same name.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Media/Image.h"

namespace codecs_bench {

struct Input {
  platform::media::Image photo;
  std::vector<std::uint8_t> jpeg;
};

// None, with a message on stderr, when the sample cannot be decoded.
std::optional<Input> loadInput();

}  // namespace codecs_bench
