#include "Platform/Media/FrameGrabber.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>

#include "Platform/Dispatch/SerialQueue.h"
#include "Platform/Media/FfmpegSupport.h"

namespace platform::media {

namespace {

// Turns a BGRA buffer clockwise by quarter turns.
PixelBuffer turned(const PixelBuffer& source, int quarterTurns) {
  if (quarterTurns == 0) return source;
  const int w = source.width(), h = source.height();
  const bool swap = quarterTurns % 2 == 1;
  PixelBuffer result = PixelBuffer::allocate(swap ? h : w, swap ? w : h, source.presentationTime());
  for (int oy = 0; oy < result.height(); ++oy) {
    auto* out = reinterpret_cast<std::uint32_t*>(result.row(oy));
    for (int ox = 0; ox < result.width(); ++ox) {
      int x, y;
      switch (quarterTurns) {
        case 1: x = oy; y = h - 1 - ox; break;          // the top-left corner goes top right
        case 2: x = w - 1 - ox; y = h - 1 - oy; break;
        default: x = w - 1 - oy; y = ox; break;         // three turns: top left goes bottom left
      }
      std::memcpy(&out[ox], source.row(y) + std::size_t(x) * 4, 4);
    }
  }
  return result;
}

}  // namespace

struct FrameGrabber::State {
  std::shared_ptr<Asset> asset;
  std::mutex mutex;
  bool appliesTransform = false;
  MediaSize maximumSize;
  std::atomic<std::uint64_t> generation{0};
  // Only touched on the queue.
  std::unique_ptr<av::StreamFrameReader> reader;
  AffineTransform transform;
  av::BgraConverter converter;
  dispatch::SerialQueue queue{"media.frameGrabber"};

  platform::Expected<PixelBuffer, MediaError> grab(MediaTime time, bool applies, MediaSize bound) {
    if (!reader) {
      auto info = asset->loadNow();
      if (!info) return platform::unexpected(info.error());
      const auto tracks = info->tracksOfType(MediaType::video);
      if (tracks.empty()) return platform::unexpected(MediaError{MediaError::Code::noSuchTrack, "No video track"});
      auto opened = av::StreamFrameReader::open(asset->path(), tracks.front().trackID, true);
      if (!opened) return platform::unexpected(opened.error());
      reader = std::move(opened.value());
      transform = tracks.front().preferredTransform;
    }
    reader->seek(time);
    av::FramePtr frame = av::makeFrame(), shown;
    while (reader->nextFrame(frame.get())) {
      const MediaTime frameTime = reader->frameTime(frame.get());
      if (shown && frameTime.isValid() && frameTime > time) break;
      shown = std::move(frame);
      frame = av::makeFrame();
      if (frameTime.isValid() && frameTime >= time) break;
    }
    if (!shown) {
      if (reader->error()) return platform::unexpected(*reader->error());
      return platform::unexpected(MediaError{MediaError::Code::decodeFailed, "No frame at this time"});
    }
    const int turns = applies ? av::quarterTurns(transform) : 0;
    const double uprightWidth = turns % 2 ? shown->height : shown->width;
    const double uprightHeight = turns % 2 ? shown->width : shown->height;
    double scale = 1.0;
    if (bound.width > 0) scale = std::min(scale, bound.width / uprightWidth);
    if (bound.height > 0) scale = std::min(scale, bound.height / uprightHeight);
    const int width = std::max(1, int(std::lround(shown->width * scale)));
    const int height = std::max(1, int(std::lround(shown->height * scale)));
    auto buffer = converter.convert(shown.get(), reader->frameTime(shown.get()), width, height);
    if (!buffer) return platform::unexpected(buffer.error());
    return turned(*buffer, turns);
  }
};

FrameGrabber::FrameGrabber(std::shared_ptr<Asset> asset) : state_(std::make_shared<State>()) {
  state_->asset = std::move(asset);
}

FrameGrabber::~FrameGrabber() { cancelAll(); }

void FrameGrabber::setAppliesPreferredTrackTransform(bool applies) {
  std::lock_guard lock(state_->mutex);
  state_->appliesTransform = applies;
}

void FrameGrabber::setMaximumSize(MediaSize size) {
  std::lock_guard lock(state_->mutex);
  state_->maximumSize = size;
}

void FrameGrabber::generateImages(std::vector<MediaTime> times, Handler handler) {
  bool applies;
  MediaSize bound;
  {
    std::lock_guard lock(state_->mutex);
    applies = state_->appliesTransform;
    bound = state_->maximumSize;
  }
  const std::uint64_t generation = state_->generation.load();
  state_->queue.async([state = state_, times = std::move(times), handler = std::move(handler), generation, applies,
                       bound] {
    for (const MediaTime& time : times) {
      if (state->generation.load() != generation) {
        handler(time, platform::unexpected(MediaError{MediaError::Code::cancelled, "Cancelled"}));
        continue;
      }
      handler(time, state->grab(time, applies, bound));
    }
  });
}

void FrameGrabber::cancelAll() { ++state_->generation; }

}  // namespace platform::media
