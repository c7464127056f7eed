#include "Platform/Media/HevcPadding.h"

#include <algorithm>
#include <cstring>

namespace platform::media::av {
namespace {
// x265's smallest coding tree block; a picture must hold at least one.
constexpr int kMinimumSide = 16;

void repeatPlaneEdges(std::uint8_t* plane, int stride, int width, int height, int fullWidth, int fullHeight) {
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = plane + std::ptrdiff_t(y) * stride;
    std::memset(row + width, row[width - 1], std::size_t(fullWidth - width));
  }
  const std::uint8_t* last = plane + std::ptrdiff_t(height - 1) * stride;
  for (int y = height; y < fullHeight; ++y) std::memcpy(plane + std::ptrdiff_t(y) * stride, last, std::size_t(fullWidth));
}
}  // namespace

CodedSize hevcCodedSize(int width, int height) {
  return {std::max(width, kMinimumSide), std::max(height, kMinimumSide)};
}

void repeatEdges(AVFrame& frame, int width, int height) {
  if (width >= frame.width && height >= frame.height) return;
  repeatPlaneEdges(frame.data[0], frame.linesize[0], width, height, frame.width, frame.height);
  const auto half = [](int side) { return (side + 1) / 2; };
  for (int plane = 1; plane <= 2; ++plane)
    repeatPlaneEdges(frame.data[plane], frame.linesize[plane], half(width), half(height), half(frame.width),
                     half(frame.height));
}

platform::Expected<BsfPtr, MediaError> makeHevcCropFilter(const AVCodecContext& encoder, int width, int height) {
  const auto failed = [](int status) {
    return platform::unexpected(error(MediaError::Code::encodeFailed, "Cannot crop the HEVC stream", status));
  };
  const AVBitStreamFilter* kind = av_bsf_get_by_name("hevc_metadata");
  if (!kind) return platform::unexpected(MediaError{MediaError::Code::encodeFailed, "This FFmpeg has no hevc_metadata filter"});
  AVBSFContext* raw = nullptr;
  int status = av_bsf_alloc(kind, &raw);
  if (status < 0) return failed(status);
  BsfPtr filter(raw);
  if ((status = avcodec_parameters_from_context(filter->par_in, &encoder)) < 0) return failed(status);
  filter->time_base_in = encoder.time_base;
  // Offsets in luma samples; the sizes are even, as 4:2:0 needs.
  av_opt_set_int(filter->priv_data, "crop_left", 0, 0);
  av_opt_set_int(filter->priv_data, "crop_top", 0, 0);
  av_opt_set_int(filter->priv_data, "crop_right", encoder.width - width, 0);
  av_opt_set_int(filter->priv_data, "crop_bottom", encoder.height - height, 0);
  if ((status = av_bsf_init(filter.get())) < 0) return failed(status);
  return filter;
}

int cropPacket(AVBSFContext& filter, AVPacket& packet) {
  const int sent = av_bsf_send_packet(&filter, &packet);
  if (sent < 0) return sent;
  return av_bsf_receive_packet(&filter, &packet);
}

}  // namespace platform::media::av
