#include "Platform/Qt/QtDisplayLink.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MediaClock.h"

namespace platform::qt {

using dispatch::DisplayLink;
using dispatch::FrameRateRange;

int refreshesPerFrame(double refreshRate, const FrameRateRange& range) {
  const double lower = range.minimum;
  const double upper = range.maximum > 0 ? double(range.maximum) : std::numeric_limits<double>::infinity();
  const double wanted = range.preferred > 0 ? double(range.preferred) : std::clamp(refreshRate, lower, upper);
  int best = 1;
  double bestDistance = std::numeric_limits<double>::infinity();
  // Rates below 1 Hz are no frame clock; the loop ends there.
  for (int n = 1; refreshRate / n >= 1.0; ++n) {
    const double rate = refreshRate / n;
    if (rate > upper) continue;
    if (rate < lower) break;
    const double distance = std::abs(rate - wanted);
    if (distance < bestDistance) {  // strictly closer: a tie keeps the faster rate
      best = n;
      bestDistance = distance;
    }
  }
  return best;
}

// A link of this driver. It remembers its stride on the refresh grid and the refresh
// it waits for; the driver holds it weakly.
class QtDisplayLinkDriver::Link final : public DisplayLink, public std::enable_shared_from_this<Link> {
 public:
  Link(std::weak_ptr<QtDisplayLinkDriver> driver, Target target)
      : DisplayLink(std::move(target)), driver_(std::move(driver)) {}
  ~Link() override {
    if (const auto driver = driver_.lock()) driver->arm();
  }

  void deliver(double timestamp, double targetTimestamp) { fire(timestamp, targetTimestamp); }

  int stride = 1;
  std::int64_t nextRefresh = 0;
  bool listed = false;

 private:
  void didStart() override { tellDriver(); }
  void didChangeFrameRateRange() override { tellDriver(); }
  void didChangePaused() override { tellDriver(); }
  void didInvalidate() override { tellDriver(); }
  void tellDriver() {
    if (const auto driver = driver_.lock()) driver->linkChanged(this);
  }

  std::weak_ptr<QtDisplayLinkDriver> driver_;
};

std::shared_ptr<QtDisplayLinkDriver> QtDisplayLinkDriver::create(RefreshRate refreshRate) {
  const auto* application = QCoreApplication::instance();
  if (!application) platform::fatalError("QtDisplayLinkDriver: made before the application object");
  if (application->thread() != QThread::currentThread()) {
    platform::fatalError("QtDisplayLinkDriver: made off the GUI thread");
  }
  return std::shared_ptr<QtDisplayLinkDriver>(new QtDisplayLinkDriver(std::move(refreshRate)));
}

QtDisplayLinkDriver::QtDisplayLinkDriver(RefreshRate refreshRate)
    : refreshRate_(std::move(refreshRate)), timer_(std::make_unique<QTimer>()) {
  if (!refreshRate_) {
    refreshRate_ = [] {
      const QScreen* screen = qGuiApp ? QGuiApplication::primaryScreen() : nullptr;
      return screen ? screen->refreshRate() : 0.0;
    };
  }
  timer_->setSingleShot(true);
  timer_->setTimerType(Qt::PreciseTimer);
  QObject::connect(timer_.get(), &QTimer::timeout, [this] { refresh(); });
}

QtDisplayLinkDriver::~QtDisplayLinkDriver() = default;

std::shared_ptr<DisplayLink> QtDisplayLinkDriver::makeLink(DisplayLink::Target target) {
  return std::make_shared<Link>(weak_from_this(), std::move(target));
}

dispatch::DisplayLinkFactory QtDisplayLinkDriver::factory() {
  return [driver = shared_from_this()](DisplayLink::Target target) { return driver->makeLink(std::move(target)); };
}

bool QtDisplayLinkDriver::isTicking() const { return timer_->isActive(); }

double QtDisplayLinkDriver::readRefreshRate() const {
  const double rate = refreshRate_();
  return std::isfinite(rate) && rate > 0 ? rate : FrameRateRange::kDisplayRate;
}

std::int64_t QtDisplayLinkDriver::refreshIndexAt(double time) const {
  return std::llround((time - origin_) * rate_);
}

void QtDisplayLinkDriver::linkChanged(Link* link) {
  if (!link->listed) {
    link->listed = true;
    links_.push_back(link->weak_from_this());
  }
  if (link->isRunning()) {
    const double now = dispatch::mediaTime();
    if (!gridActive_) {
      // Waking from idle: the grid starts now, at the screen's present rate.
      gridActive_ = true;
      rate_ = readRefreshRate();
      origin_ = now;
      lastRefresh_ = 0;
    }
    link->stride = refreshesPerFrame(rate_, link->preferredFrameRateRange());
    link->nextRefresh = std::max(lastRefresh_, refreshIndexAt(now)) + 1;
  }
  arm();
}

void QtDisplayLinkDriver::refresh() {
  const double now = dispatch::mediaTime();
  const double rate = readRefreshRate();
  std::vector<std::shared_ptr<Link>> links;
  for (const auto& weak : links_) {
    if (auto link = weak.lock()) links.push_back(std::move(link));
  }
  if (rate != rate_) {
    // Another screen or mode: a new grid from now, every running link due at once.
    rate_ = rate;
    origin_ = now;
    lastRefresh_ = -1;
    for (const auto& link : links) {
      link->stride = refreshesPerFrame(rate_, link->preferredFrameRateRange());
      link->nextRefresh = 0;
    }
  }
  const std::int64_t refresh = std::max(lastRefresh_ + 1, refreshIndexAt(now));
  lastRefresh_ = refresh;
  const double timestamp = origin_ + double(refresh) / rate_;
  for (const auto& link : links) {
    // A target may pause, restart or invalidate any link, so each is asked afresh.
    if (!link->isRunning() || link->nextRefresh > refresh) continue;
    link->nextRefresh = refresh + link->stride;  // refreshes missed are skipped
    link->deliver(timestamp, timestamp + double(link->stride) / rate_);
  }
  arm();
}

void QtDisplayLinkDriver::arm() {
  std::erase_if(links_, [](const std::weak_ptr<Link>& weak) {
    const auto link = weak.lock();
    return !link || !link->isValid();
  });
  std::int64_t next = std::numeric_limits<std::int64_t>::max();
  for (const auto& weak : links_) {
    const auto link = weak.lock();
    if (link->isRunning()) next = std::min(next, link->nextRefresh);
  }
  if (next == std::numeric_limits<std::int64_t>::max()) {
    gridActive_ = false;
    timer_->stop();
    return;
  }
  const double wait = origin_ + double(next) / rate_ - dispatch::mediaTime();
  const double milliseconds = std::ceil(std::max(0.0, wait) * 1000.0);
  timer_->start(int(std::min(milliseconds, double(INT_MAX))));
}

}  // namespace platform::qt
