#pragma once
// The frame clock: calls its target once per refresh on the main queue's thread, with
// the frame's time and the time of the next frame (media-clock seconds). The preview
// and every animation loop of the editor run on one.
//
// DisplayLink is the interface and the shared bookkeeping (range, paused, valid,
// timestamps); a driver subclass decides when refreshes happen and calls fire().
// Drivers here: ManualDisplayLink (ticked by tests) and RunLoopDisplayLink (timed on a
// real-time main queue, for the command-line tool). The application adds one driven by
// its toolkit and installs it with setDisplayLinkFactory.
//
// Every member is for the main queue's thread only. A link calls nothing before it is
// added to the main queue, nothing while paused, and never again once invalidated, even
// for a refresh already on its way; invalidate() also lets go of the target, so what the
// target captured is released. Destroying a link invalidates it. Like the run loop on a
// phone, a driver may keep a link alive while it runs: a target should capture its owner
// by std::weak_ptr and do nothing once the owner is gone.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Dispatch/MainQueue.h"

namespace platform::dispatch {

// Frames a second. All zero means "the display's own rate". Otherwise every value is
// finite and not negative, minimum <= maximum unless maximum is 0 (no upper bound), and
// a preferred rate other than 0 lies within [minimum, maximum].
struct FrameRateRange {
  float minimum = 0;
  float maximum = 0;
  float preferred = 0;

  // The rate of a display that was not asked for another.
  static constexpr double kDisplayRate = 60.0;

  bool isValid() const;
  // The rate a link runs at: preferred if set, else the display's rate limited to the range.
  double resolvedRate() const;
  friend bool operator==(const FrameRateRange&, const FrameRateRange&) = default;
};

class DisplayLink {
 public:
  // Called with the frame's time and the next frame's time, in mediaTime() seconds.
  using Target = std::function<void(double timestamp, double targetTimestamp)>;

  explicit DisplayLink(Target target);
  virtual ~DisplayLink();
  DisplayLink(const DisplayLink&) = delete;
  DisplayLink& operator=(const DisplayLink&) = delete;

  // Stops the program on a range that FrameRateRange::isValid rejects.
  void setPreferredFrameRateRange(float minimum, float maximum, float preferred);
  FrameRateRange preferredFrameRateRange() const { return range_; }
  // Starts the link. A second call, or a call after invalidate(), does nothing.
  void addToMainQueue();
  void setPaused(bool paused);
  bool isPaused() const { return paused_; }
  // Stops the link for good and releases the target. Safe from inside the target.
  void invalidate();
  bool isValid() const { return valid_; }
  // Added, valid and not paused: the target will be called on the next refresh.
  bool isRunning() const { return valid_ && added_ && !paused_; }

  // Of the last frame delivered to the target; 0 before the first.
  double timestamp() const { return timestamp_; }
  double targetTimestamp() const { return targetTimestamp_; }
  // The frame interval: targetTimestamp() - timestamp().
  double duration() const { return targetTimestamp_ - timestamp_; }

 protected:
  // For drivers: records a refresh and calls the target when the link is running.
  // Returns whether the target was called.
  bool fire(double timestamp, double targetTimestamp);
  // 1 / the resolved rate of the present range, in seconds.
  double frameInterval() const;

  // Told to the driver after the public call took effect (never for a no-op).
  virtual void didStart() {}
  virtual void didChangeFrameRateRange() {}
  virtual void didChangePaused() {}
  virtual void didInvalidate() {}

 private:
  std::shared_ptr<const Target> target_;
  FrameRateRange range_;
  bool added_ = false;
  bool paused_ = false;
  bool valid_ = true;
  double timestamp_ = 0;
  double targetTimestamp_ = 0;
};

// A link that refreshes only when a test calls tick().
class ManualDisplayLink final : public DisplayLink {
 public:
  using DisplayLink::DisplayLink;
  // One refresh at `time`: the target gets (time, time + frameInterval()) if the link
  // is running. Returns whether it was called.
  bool tick(double time);
};

// A link timed on a real-time main queue (RunLoopMainQueue, or any whose asyncAfter
// follows the steady clock) at the resolved rate. Frame times lie on a grid of the
// frame interval that starts when the link starts (again after a pause or a change of
// range); a late loop skips the frames it missed rather than delivering them in a burst.
class RunLoopDisplayLink final : public DisplayLink, public std::enable_shared_from_this<RunLoopDisplayLink> {
 public:
  // Its refreshes hold it weakly, so it must be owned by a shared_ptr: hence create().
  static std::shared_ptr<RunLoopDisplayLink> create(std::shared_ptr<MainQueue> queue, Target target);

 private:
  RunLoopDisplayLink(std::shared_ptr<MainQueue> queue, Target target);

  void didStart() override { restart(); }
  void didChangeFrameRateRange() override { restart(); }
  void didChangePaused() override { restart(); }
  void didInvalidate() override { ++generation_; }

  // Drops the refresh on its way and, if running, schedules one a frame from now.
  void restart();
  void schedule();
  void refresh(std::uint64_t generation);

  std::shared_ptr<MainQueue> queue_;
  std::uint64_t generation_ = 0;  // a scheduled refresh of an older generation does nothing
  double nextFrame_ = 0;
};

// Makes the links of the engine. The host replaces it (a toolkit-driven link in the
// application, manual links in tests); an empty factory restores the default, which
// makes RunLoopDisplayLinks on MainQueue::shared() (and stops the program when no main
// queue is set). Safe from any thread.
using DisplayLinkFactory = std::function<std::shared_ptr<DisplayLink>(DisplayLink::Target)>;
void setDisplayLinkFactory(DisplayLinkFactory factory);
std::shared_ptr<DisplayLink> makeDisplayLink(DisplayLink::Target target);

// For tests of code that makes its own links: a factory of ManualDisplayLinks that
// remembers them (weakly), so the test can tick whatever the code under test has made.
class ManualDisplayLinkFactory {
 public:
  ManualDisplayLinkFactory();
  // The factory to install with setDisplayLinkFactory; it shares this object's list.
  DisplayLinkFactory factory() const;
  // Links made so far that are still alive, oldest first.
  std::vector<std::shared_ptr<ManualDisplayLink>> links() const;
  // Ticks every live link at `time`; returns how many targets were called.
  std::size_t tickAll(double time) const;

 private:
  struct Made {
    std::mutex mutex;
    std::vector<std::weak_ptr<ManualDisplayLink>> links;
  };
  std::shared_ptr<Made> made_;
};

}  // namespace platform::dispatch
