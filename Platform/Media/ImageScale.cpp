#include "Platform/Media/ImageScale.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace platform::media {

namespace {

// Fixed point: weights are in units of 2^-14 and sum to exactly 2^14 for every output
// pixel, so that a constant stays exact. Rows resampled across keep 7 bits below the
// code value (uint16), and the final sum carries 7 + 14 = 21 fraction bits.
constexpr int kWeightBits = 14;
constexpr int kRowFractionBits = 7;
constexpr int kFinalBits = kWeightBits + kRowFractionBits;

// The source pixels and weights that make each output pixel along one axis.
struct AxisTaps {
  std::vector<int> first;           // first source index of output i
  std::vector<int> offset;          // where output i's weights start in weights
  std::vector<int> count;           // how many weights output i has
  std::vector<std::int32_t> weights;
};

AxisTaps makeTaps(int sourceSize, int outputSize) {
  AxisTaps taps;
  taps.first.resize(outputSize);
  taps.offset.resize(outputSize);
  taps.count.resize(outputSize);
  const double ratio = static_cast<double>(sourceSize) / outputSize;
  std::vector<double> span;
  for (int i = 0; i < outputSize; ++i) {
    span.clear();
    int first = 0;
    if (ratio >= 1) {
      // The output pixel covers [low, high) of the source: weigh by overlap.
      const double low = i * ratio;
      const double high = (i + 1) * ratio;
      first = std::clamp(static_cast<int>(std::floor(low)), 0, sourceSize - 1);
      const int last = std::clamp(static_cast<int>(std::ceil(high)) - 1, first, sourceSize - 1);
      for (int j = first; j <= last; ++j) span.push_back(std::min<double>(high, j + 1) - std::max<double>(low, j));
    } else {
      // Linear interpolation between the centres around the output pixel's centre;
      // beyond the edge centres the edge pixel holds.
      const double centre = std::clamp((i + 0.5) * ratio - 0.5, 0.0, sourceSize - 1.0);
      first = std::min(static_cast<int>(std::floor(centre)), sourceSize - 1);
      const double fraction = centre - first;
      span.push_back(1 - fraction);
      if (first + 1 < sourceSize && fraction > 0) span.push_back(fraction);
    }
    double total = 0;
    for (double w : span) total += w;
    taps.first[i] = first;
    taps.offset[i] = static_cast<int>(taps.weights.size());
    taps.count[i] = static_cast<int>(span.size());
    // Each weight is the step between rounded running totals: none is negative and
    // together they make exactly 2^14.
    double running = 0;
    std::int32_t previous = 0;
    for (double w : span) {
      running += w / total;
      const auto next = static_cast<std::int32_t>(std::lround(std::min(running, 1.0) * (1 << kWeightBits)));
      taps.weights.push_back(next - previous);
      previous = next;
    }
    taps.weights.back() += (1 << kWeightBits) - previous;
  }
  return taps;
}

}  // namespace

Image scaleImage(const Image& source, int width, int height) {
  Image result;
  if (source.isEmpty() || width < 1 || height < 1 ||
      source.pixels.size() < source.bytesPerRow() * static_cast<std::size_t>(source.height)) {
    return result;
  }
  result.width = width;
  result.height = height;
  result.orientation = source.orientation;
  result.iccProfile = source.iccProfile;
  result.pixels.resize(static_cast<std::size_t>(width) * height * 4);

  const AxisTaps across = makeTaps(source.width, width);
  const AxisTaps down = makeTaps(source.height, height);

  // Pass 1, across, one source row at a time into a small ring of rows: output row y
  // needs source rows first..first + count - 1, a window that only moves down, so each
  // source row is resampled once and the ring holds the largest window.
  const std::size_t rowValues = static_cast<std::size_t>(width) * 4;
  const int ringRows = *std::max_element(down.count.begin(), down.count.end());
  std::vector<std::uint16_t> ring(static_cast<std::size_t>(ringRows) * rowValues);
  std::vector<int> ringHolds(static_cast<std::size_t>(ringRows), -1);
  const auto resampledRow = [&](int sourceRow) -> const std::uint16_t* {
    const auto slot = static_cast<std::size_t>(sourceRow % ringRows);
    std::uint16_t* out = ring.data() + slot * rowValues;
    if (ringHolds[slot] == sourceRow) return out;
    ringHolds[slot] = sourceRow;
    const std::uint8_t* in = source.pixel(0, sourceRow);
    for (int x = 0; x < width; ++x) {
      const std::uint8_t* p = in + across.first[x] * 4;
      const std::int32_t* w = across.weights.data() + across.offset[x];
      std::int32_t sum[4] = {0, 0, 0, 0};
      for (int k = 0; k < across.count[x]; ++k, p += 4) {
        for (int c = 0; c < 4; ++c) sum[c] += w[k] * p[c];
      }
      constexpr int shift = kWeightBits - kRowFractionBits;
      for (int c = 0; c < 4; ++c) out[x * 4 + c] = static_cast<std::uint16_t>((sum[c] + (1 << (shift - 1))) >> shift);
    }
    return out;
  };

  // Pass 2, down: weighted sums of those rows, rounded to nearest (halves up).
  std::vector<std::int32_t> sum(rowValues);
  for (int y = 0; y < height; ++y) {
    const std::int32_t* w = down.weights.data() + down.offset[y];
    std::fill(sum.begin(), sum.end(), 1 << (kFinalBits - 1));
    for (int k = 0; k < down.count[y]; ++k) {
      const std::uint16_t* row = resampledRow(down.first[y] + k);
      const std::int32_t weight = w[k];
      for (std::size_t i = 0; i < rowValues; ++i) sum[i] += weight * row[i];
    }
    std::uint8_t* out = result.pixel(0, y);
    for (std::size_t i = 0; i < rowValues; ++i) {
      out[i] = static_cast<std::uint8_t>(std::min(255, sum[i] >> kFinalBits));
    }
  }
  return result;
}

}  // namespace platform::media
