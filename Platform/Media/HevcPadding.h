#pragma once
// Private to Platform/Media. libx265 refuses pictures smaller than one coding block
// (16x16) in either direction, yet a crop may leave a 2x2 video. Such pictures are
// encoded at the smallest size x265 takes, their edges repeated into the margin, and
// the stream's conformance window then crops the margin away, so every decoder shows
// the intended size.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
extern "C" {
#include <libavcodec/bsf.h>
}

#include <memory>

#include "Platform/Base/Expected.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/FfmpegSupport.h"

namespace platform::media::av {

struct BsfFreer { void operator()(AVBSFContext* c) const { av_bsf_free(&c); } };
using BsfPtr = std::unique_ptr<AVBSFContext, BsfFreer>;

struct CodedSize {
  int width = 0, height = 0;
};

// The picture size handed to x265 for a video of width x height.
CodedSize hevcCodedSize(int width, int height);

// Repeats the last column and row of the width x height picture at the top left of a
// YUV 4:2:0 frame into the rest of it.
void repeatEdges(AVFrame& frame, int width, int height);

// A filter that sets the conformance window of the encoder's stream so that it shows
// width x height (its extradata is in the filter's output parameters).
platform::Expected<BsfPtr, MediaError> makeHevcCropFilter(const AVCodecContext& encoder, int width, int height);

// Runs one packet through the crop filter in place (the filter gives one packet per packet).
int cropPacket(AVBSFContext& filter, AVPacket& packet);

}  // namespace platform::media::av
