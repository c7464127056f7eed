#pragma once
// A decoded picture as a QImage: BGRA8 premultiplied rows are ARGB32 premultiplied on
// a little-endian machine, so the pixels are copied as they are.
#include <QImage>

#include "Platform/Media/Image.h"

namespace halvane::editor {

inline QImage qImage(const platform::media::Image& image) {
  return QImage(image.pixels.data(), image.width, image.height, qsizetype(image.bytesPerRow()),
                QImage::Format_ARGB32_Premultiplied)
      .copy();
}

}  // namespace halvane::editor
