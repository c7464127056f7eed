#pragma once
// Resampling of an Image, for thumbnails, contact sheets and the size limit of photo
// export. A pure function: safe from any thread, the source is not touched.
#include "Platform/Media/Image.h"

namespace platform::media {

// The source resampled to width x height, orientation and colour-space label kept.
// Each axis is resampled on its own. Along an axis that shrinks, every output pixel is
// the average of the source area it covers, partial pixels weighted by their covered
// fraction (a box filter of exact coverage: no aliasing, no ringing). Along an axis
// that grows, output pixels interpolate linearly between the two nearest source pixel
// centres. Working on premultiplied BGRA keeps colour from bleeding out of transparent
// areas. The arithmetic is fixed point (weights of 1/16384 that sum to exactly one), so
// results are the same on every machine; they round to nearest, halves up: a constant
// image stays that constant, and halving a checkerboard of a and b gives (a + b) / 2
// exactly (rounded up when odd).
// A width or height below 1, or an empty source, gives an empty image.
Image scaleImage(const Image& source, int width, int height);

}  // namespace platform::media
