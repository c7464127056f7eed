#pragma once
// The display links of the application, driven by the Qt event loop: one precise timer
// on the GUI thread, on a grid of the screen's refresh interval, serves every link.
// A link runs at a whole fraction of the refresh rate (every refresh, every second...)
// chosen from its preferred range; it fires on the grid and skips refreshes it missed
// rather than delivering them in a burst. While no link is running the timer is
// stopped: an idle editor costs no wake-ups.
//
// GUI thread only, except refreshesPerFrame. Install the driver's factory with
// dispatch::setDisplayLinkFactory once the QGuiApplication exists.
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Platform/Dispatch/DisplayLink.h"

class QTimer;

namespace platform::qt {

// How many refreshes of a screen at `refreshRate` Hz one frame of a link with `range`
// spans: the rate refreshRate / n that lies within the range and is closest to the
// preferred rate (to the screen's rate limited to the range when none is preferred),
// the faster of two equally close; 1 when no such rate lies within the range.
int refreshesPerFrame(double refreshRate, const dispatch::FrameRateRange& range);

class QtDisplayLinkDriver : public std::enable_shared_from_this<QtDisplayLinkDriver> {
 public:
  // Tells the screen's refresh rate in Hz; read again on every refresh, so the grid
  // follows a change of screen. A rate that is not finite and above 0 counts as
  // FrameRateRange::kDisplayRate.
  using RefreshRate = std::function<double()>;

  // Without `refreshRate`, the primary screen's (QScreen::refreshRate).
  static std::shared_ptr<QtDisplayLinkDriver> create(RefreshRate refreshRate = {});
  ~QtDisplayLinkDriver();
  QtDisplayLinkDriver(const QtDisplayLinkDriver&) = delete;
  QtDisplayLinkDriver& operator=(const QtDisplayLinkDriver&) = delete;

  std::shared_ptr<dispatch::DisplayLink> makeLink(dispatch::DisplayLink::Target target);
  // Makes this driver's links; it keeps the driver alive while installed.
  dispatch::DisplayLinkFactory factory();

  // Whether the refresh timer is running: exactly while some link is running.
  bool isTicking() const;

 private:
  class Link;
  explicit QtDisplayLinkDriver(RefreshRate refreshRate);

  // A link started, paused, resumed, changed its range, was invalidated or destroyed.
  void linkChanged(Link* link);
  void refresh();
  // Sets the timer for the earliest refresh a running link waits for, or stops it.
  void arm();
  double readRefreshRate() const;
  std::int64_t refreshIndexAt(double time) const;

  RefreshRate refreshRate_;
  std::unique_ptr<QTimer> timer_;
  std::vector<std::weak_ptr<Link>> links_;  // oldest first
  double rate_ = dispatch::FrameRateRange::kDisplayRate;
  bool gridActive_ = false;        // some link has run since the timer last went idle
  double origin_ = 0;              // media time of refresh 0 of the grid
  std::int64_t lastRefresh_ = -1;  // the last refresh index delivered
};

}  // namespace platform::qt
