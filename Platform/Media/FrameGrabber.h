#pragma once
// Still frames of a video at given times, for the trim strip: each is the frame shown
// at its time (decoded from the key frame before it), turned upright by the track's
// transform when asked, and fitted within a maximum size (aspect kept, never enlarged).
// Requests run in order on a serial queue of the grabber's own; the handler is called
// there, once for each requested time, in the order asked. cancelAll() makes every
// request not yet done answer with a `cancelled` error. Thread-safe.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
#include <functional>
#include <memory>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/PixelBuffer.h"

namespace platform::media {

class FrameGrabber {
 public:
  // The requested time, and the frame (its presentation time is the frame's own).
  using Handler = std::function<void(MediaTime requestedTime, platform::Expected<PixelBuffer, MediaError> frame)>;

  explicit FrameGrabber(std::shared_ptr<Asset> asset);
  ~FrameGrabber();  // cancels what is pending (a frame in hand still reaches its handler)
  FrameGrabber(const FrameGrabber&) = delete;
  FrameGrabber& operator=(const FrameGrabber&) = delete;

  void setAppliesPreferredTrackTransform(bool applies);
  // Width and height bounds of the delivered (upright) frame; 0 leaves a side free.
  void setMaximumSize(MediaSize size);

  void generateImages(std::vector<MediaTime> times, Handler handler);
  void cancelAll();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform::media
