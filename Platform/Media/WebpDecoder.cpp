// WebP decoding with libwebp straight into BGRA8 premultiplied (libwebp's bgrA mode),
// with the orientation of the EXIF chunk and the profile of the ICCP chunk of an
// extended file. An animated file gives its first frame, composed on its canvas.
#include <webp/decode.h>
#include <webp/demux.h>

#include <cstring>
#include <memory>

#include "Platform/Media/Exif.h"
#include "Platform/Media/ImageCodecsPrivate.h"

namespace platform::media::detail {

namespace {

struct WebpDeleter {
  void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
  void operator()(WebPAnimDecoder* decoder) const { WebPAnimDecoderDelete(decoder); }
};

const char* statusText(VP8StatusCode status) {
  switch (status) {
    case VP8_STATUS_OUT_OF_MEMORY: return "out of memory";
    case VP8_STATUS_INVALID_PARAM: return "invalid parameter";
    case VP8_STATUS_BITSTREAM_ERROR: return "bitstream error";
    case VP8_STATUS_UNSUPPORTED_FEATURE: return "unsupported feature";
    case VP8_STATUS_SUSPENDED: return "suspended";
    case VP8_STATUS_USER_ABORT: return "aborted";
    case VP8_STATUS_NOT_ENOUGH_DATA: return "the file ends early (truncated)";
    case VP8_STATUS_OK: break;
  }
  return "no error";
}

platform::Unexpected<ImageError> webpFailure(VP8StatusCode status, const char* what) {
  const auto kind = status == VP8_STATUS_OUT_OF_MEMORY ? ImageError::Kind::outOfMemory
                    : status == VP8_STATUS_UNSUPPORTED_FEATURE ? ImageError::Kind::unsupportedFormat
                                                               : ImageError::Kind::corrupt;
  return failure(kind, std::string("WebP ") + what + ": " + statusText(status));
}

void readMetadata(const WebPDemuxer* demuxer, Image& image) {
  if (!demuxer) return;
  WebPChunkIterator chunk;
  if (WebPDemuxGetChunk(demuxer, "EXIF", 1, &chunk)) {
    if (auto number = readExifOrientation({chunk.chunk.bytes, chunk.chunk.size})) {
      image.orientation = orientationFromExif(*number);
    }
    WebPDemuxReleaseChunkIterator(&chunk);
  }
  if (WebPDemuxGetChunk(demuxer, "ICCP", 1, &chunk)) {
    image.iccProfile.assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
  }
}

}  // namespace

DecodeResult decodeWebp(std::span<const std::uint8_t> bytes) {
  WebPBitstreamFeatures features;
  if (const VP8StatusCode status = WebPGetFeatures(bytes.data(), bytes.size(), &features); status != VP8_STATUS_OK) {
    return webpFailure(status, "header cannot be read");
  }
  Image image;
  // For an animation these are the canvas's sides.
  if (auto allocated = allocatePixels(image, features.width, features.height, "WebP"); !allocated) {
    return platform::unexpected(allocated.error());
  }
  const WebPData data{bytes.data(), bytes.size()};

  if (features.has_animation) {
    WebPAnimDecoderOptions options;
    if (!WebPAnimDecoderOptionsInit(&options)) return webpFailure(VP8_STATUS_INVALID_PARAM, "decoder cannot start");
    options.color_mode = MODE_bgrA;
    options.use_threads = 0;
    std::unique_ptr<WebPAnimDecoder, WebpDeleter> decoder(WebPAnimDecoderNew(&data, &options));
    if (!decoder) return webpFailure(VP8_STATUS_BITSTREAM_ERROR, "animation cannot be read");
    WebPAnimInfo info;
    std::uint8_t* frame = nullptr;
    int timestamp = 0;
    if (!WebPAnimDecoderGetInfo(decoder.get(), &info) || info.canvas_width != static_cast<std::uint32_t>(image.width) ||
        info.canvas_height != static_cast<std::uint32_t>(image.height) ||
        !WebPAnimDecoderGetNext(decoder.get(), &frame, &timestamp) || !frame) {
      return webpFailure(VP8_STATUS_BITSTREAM_ERROR, "first frame cannot be decoded");
    }
    std::memcpy(image.pixels.data(), frame, image.pixels.size());
    readMetadata(WebPAnimDecoderGetDemuxer(decoder.get()), image);
    return image;
  }

  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) return webpFailure(VP8_STATUS_INVALID_PARAM, "decoder cannot start");
  config.output.colorspace = MODE_bgrA;
  config.output.is_external_memory = 1;
  config.output.u.RGBA.rgba = image.pixels.data();
  config.output.u.RGBA.stride = static_cast<int>(image.bytesPerRow());
  config.output.u.RGBA.size = image.pixels.size();
  const VP8StatusCode status = WebPDecode(bytes.data(), bytes.size(), &config);
  WebPFreeDecBuffer(&config.output);  // frees nothing of ours: the memory is external
  if (status != VP8_STATUS_OK) return webpFailure(status, "image cannot be decoded");
  std::unique_ptr<WebPDemuxer, WebpDeleter> demuxer(WebPDemux(&data));
  readMetadata(demuxer.get(), image);
  return image;
}

}  // namespace platform::media::detail
