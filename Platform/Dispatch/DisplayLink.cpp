#include "Platform/Dispatch/DisplayLink.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MediaClock.h"

namespace platform::dispatch {

// FrameRateRange

bool FrameRateRange::isValid() const {
  for (const float value : {minimum, maximum, preferred}) {
    if (!std::isfinite(value) || value < 0) return false;
  }
  if (maximum > 0 && minimum > maximum) return false;
  if (preferred > 0 && (preferred < minimum || (maximum > 0 && preferred > maximum))) return false;
  return true;
}

double FrameRateRange::resolvedRate() const {
  if (preferred > 0) return preferred;
  const double upper = maximum > 0 ? maximum : std::numeric_limits<double>::infinity();
  return std::clamp(kDisplayRate, static_cast<double>(minimum), upper);
}

// DisplayLink

DisplayLink::DisplayLink(Target target) : target_(std::make_shared<const Target>(std::move(target))) {}

DisplayLink::~DisplayLink() = default;

void DisplayLink::setPreferredFrameRateRange(float minimum, float maximum, float preferred) {
  const FrameRateRange range{minimum, maximum, preferred};
  if (!range.isValid()) {
    platform::fatalError("DisplayLink::setPreferredFrameRateRange: invalid range (minimum " + std::to_string(minimum) +
                  ", maximum " + std::to_string(maximum) + ", preferred " + std::to_string(preferred) + ")");
  }
  if (range == range_) return;
  range_ = range;
  if (valid_) didChangeFrameRateRange();
}

void DisplayLink::addToMainQueue() {
  if (added_ || !valid_) return;
  added_ = true;
  didStart();
}

void DisplayLink::setPaused(bool paused) {
  if (paused == paused_) return;
  paused_ = paused;
  if (valid_) didChangePaused();
}

void DisplayLink::invalidate() {
  if (!valid_) return;
  valid_ = false;
  target_.reset();  // a target running now keeps itself alive through fire()'s copy
  didInvalidate();
}

bool DisplayLink::fire(double timestamp, double targetTimestamp) {
  if (!isRunning()) return false;
  timestamp_ = timestamp;
  targetTimestamp_ = targetTimestamp;
  const auto target = target_;
  if (target && *target) (*target)(timestamp, targetTimestamp);
  return true;
}

double DisplayLink::frameInterval() const { return 1.0 / range_.resolvedRate(); }

// ManualDisplayLink

bool ManualDisplayLink::tick(double time) { return fire(time, time + frameInterval()); }

// RunLoopDisplayLink

std::shared_ptr<RunLoopDisplayLink> RunLoopDisplayLink::create(std::shared_ptr<MainQueue> queue, Target target) {
  if (!queue) platform::fatalError("RunLoopDisplayLink::create: no main queue given");
  return std::shared_ptr<RunLoopDisplayLink>(new RunLoopDisplayLink(std::move(queue), std::move(target)));
}

RunLoopDisplayLink::RunLoopDisplayLink(std::shared_ptr<MainQueue> queue, Target target)
    : DisplayLink(std::move(target)), queue_(std::move(queue)) {}

void RunLoopDisplayLink::restart() {
  ++generation_;
  if (!isRunning()) return;
  nextFrame_ = mediaTime() + frameInterval();
  schedule();
}

void RunLoopDisplayLink::schedule() {
  const auto delay = std::chrono::duration_cast<MainQueue::Duration>(
      std::chrono::duration<double>(std::max(0.0, nextFrame_ - mediaTime())));
  queue_->asyncAfter(delay, [link = weak_from_this(), generation = generation_] {
    if (const auto self = link.lock()) self->refresh(generation);
  });
}

void RunLoopDisplayLink::refresh(std::uint64_t generation) {
  if (generation != generation_ || !isRunning()) return;
  const double interval = frameInterval();
  const double now = mediaTime();
  double frame = nextFrame_;
  if (now >= frame + interval) frame += std::floor((now - frame) / interval) * interval;  // skip missed frames
  nextFrame_ = frame + interval;
  fire(frame, nextFrame_);
  // The target may have paused, invalidated or restarted the link; each of those moved
  // the generation on, and restart() has already scheduled what comes next.
  if (generation == generation_ && isRunning()) schedule();
}

// Factories

namespace {

struct FactorySlot {
  std::mutex mutex;
  DisplayLinkFactory factory;
};

FactorySlot& factorySlot() {
  static FactorySlot* const slot = new FactorySlot();
  return *slot;
}

}  // namespace

void setDisplayLinkFactory(DisplayLinkFactory factory) {
  auto& slot = factorySlot();
  std::lock_guard lock(slot.mutex);
  slot.factory = std::move(factory);
}

std::shared_ptr<DisplayLink> makeDisplayLink(DisplayLink::Target target) {
  DisplayLinkFactory factory;
  {
    auto& slot = factorySlot();
    std::lock_guard lock(slot.mutex);
    factory = slot.factory;
  }
  if (factory) return factory(std::move(target));
  auto queue = MainQueue::shared();
  if (!queue) platform::fatalError("makeDisplayLink: no display link factory and no main queue are set");
  return RunLoopDisplayLink::create(std::move(queue), std::move(target));
}

ManualDisplayLinkFactory::ManualDisplayLinkFactory() : made_(std::make_shared<Made>()) {}

DisplayLinkFactory ManualDisplayLinkFactory::factory() const {
  return [made = made_](DisplayLink::Target target) -> std::shared_ptr<DisplayLink> {
    auto link = std::make_shared<ManualDisplayLink>(std::move(target));
    std::lock_guard lock(made->mutex);
    std::erase_if(made->links, [](const auto& weak) { return weak.expired(); });
    made->links.push_back(link);
    return link;
  };
}

std::vector<std::shared_ptr<ManualDisplayLink>> ManualDisplayLinkFactory::links() const {
  std::vector<std::shared_ptr<ManualDisplayLink>> alive;
  std::lock_guard lock(made_->mutex);
  for (const auto& weak : made_->links) {
    if (auto link = weak.lock()) alive.push_back(std::move(link));
  }
  return alive;
}

std::size_t ManualDisplayLinkFactory::tickAll(double time) const {
  std::size_t called = 0;
  for (const auto& link : links()) called += link->tick(time) ? 1 : 0;
  return called;
}

}  // namespace platform::dispatch
