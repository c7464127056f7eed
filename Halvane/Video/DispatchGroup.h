#pragma once
// Counts pieces of work under way and runs one block on the main queue once all of it
// has left, as a dispatch group's notify does. enter, leave and notify are safe from
// any thread; a notify made while nothing is under way runs at the next turn.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <cstddef>
#include <functional>
#include <mutex>

namespace halvane {

class DispatchGroup {
 public:
  void enter();
  void leave();
  void notify(std::function<void()> block);

 private:
  void scheduleIfDone(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::size_t count_ = 0;
  std::function<void()> block_;
};

}  // namespace halvane
