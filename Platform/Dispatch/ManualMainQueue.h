#pragma once
// A main queue for tests, pumped by hand on the test's thread, with a fake clock for
// delayed work. async and asyncAfter are safe from any thread; runPending and advance
// belong to the pumping thread.
//
// A turn is one call of runPending(): it runs, in order of due time (ties in the order
// they were queued), every piece of work that was already queued when the call began
// and is due on the fake clock. Work queued during the turn, by the work itself or by
// another thread, waits for the next call, even when it is due at once. So "any number
// of changes in one turn give one notification after the turn" can be tested as
// change, change, runPending() and see exactly one delivery.
//
// The fake clock starts at zero and moves only by advance(): async work is due at the
// present fake time, asyncAfter(d) work at the present fake time plus d (a negative d
// counts as zero).
#include <cstddef>
#include <mutex>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/WorkHeap.h"

namespace platform::dispatch {

class ManualMainQueue final : public MainQueue {
 public:
  // The creating thread counts as the queue's thread until another thread pumps it.
  ManualMainQueue();
  ~ManualMainQueue() override;  // drops queued work without running it

  using MainQueue::async;
  using MainQueue::asyncAfter;
  void async(std::function<void()> work) override;
  void asyncAfter(Duration delay, std::function<void()> work) override;
  // True on the thread that last pumped the queue (or created it, before any pump).
  bool isCurrentThread() const override;

  // Runs one turn (see above) on the calling thread, which becomes the queue's thread.
  // Returns how many pieces of work ran.
  std::size_t runPending();
  // Runs turns until a turn runs nothing, at most `maxTurns` of them (work that keeps
  // queueing itself would never end). Returns how many pieces of work ran in all.
  std::size_t runUntilIdle(std::size_t maxTurns = 1000);
  // Moves the fake clock forward. Runs nothing by itself: call runPending() after it.
  void advance(Duration duration);
  // The fake time elapsed since the queue was made.
  Duration now() const;
  // Queued work, due or not.
  std::size_t pendingCount() const;

 private:
  mutable std::mutex mutex_;
  Duration now_{};
  detail::WorkHeap<Duration> work_;
  std::thread::id owner_;
};

}  // namespace platform::dispatch
