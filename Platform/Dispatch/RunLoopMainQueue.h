#pragma once
// The main queue of a program without a GUI toolkit (the command-line tool): run()
// blocks the calling thread, which becomes the main thread, and runs queued work until
// stop(). Delayed work waits in a heap ordered by due time on the steady clock; the
// loop sleeps until the earliest due time or until new work arrives.
//
// Turns: the loop wakes, takes the time, and runs in (due time, queue order) the work
// queued before it woke that is due by then; work queued meanwhile runs in the next
// turn. async, asyncAfter and stop are safe from any thread.
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/WorkHeap.h"

namespace platform::dispatch {

class RunLoopMainQueue final : public MainQueue {
 public:
  // The creating thread counts as the queue's thread until run() is called elsewhere.
  RunLoopMainQueue();
  // Drops the queued work without running it. Must not run while run() is running.
  ~RunLoopMainQueue() override;

  using MainQueue::async;
  using MainQueue::asyncAfter;
  void async(std::function<void()> work) override;
  void asyncAfter(Duration delay, std::function<void()> work) override;
  bool isCurrentThread() const override;

  // Runs work on the calling thread until stop(). Work still queued stays queued for
  // a later run(). Not re-entrant: call it from one thread, not from inside work.
  void run();
  // Makes run() return once the work running now (if any) has finished. A stop()
  // before run() makes the next run() return at once; each run() consumes one stop.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  detail::WorkHeap<Clock::time_point> work_;
  bool stopRequested_ = false;
  std::thread::id owner_;
};

}  // namespace platform::dispatch
