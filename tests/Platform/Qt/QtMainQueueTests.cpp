// The main queue on the Qt event loop: the order of immediate, delayed and re-queued
// work, work from other threads, a nested event loop, cancellation, and what becomes
// of queued work when the queue goes.
#include <gtest/gtest.h>

#include <QTest>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/WorkItem.h"
#include "Platform/Qt/QtMainQueue.h"

namespace platform::qt {
namespace {

constexpr int kHang = 60'000;  // a bound on waits against a hang; it measures nothing

using namespace std::chrono_literals;
using Log = std::vector<std::string>;

// Work that logs its name, marked when it runs off the GUI thread.
std::function<void()> logging(QtMainQueue& queue, Log& log, std::string name) {
  return [&queue, &log, name] { log.push_back(queue.isCurrentThread() ? name : name + " off the GUI thread"); };
}

TEST(QtMainQueue, RunsWorkInQueueOrderDelayedWorkByDueTimeRequeuedWorkInTheNextTurnAndNoCancelledWork) {
  auto queue = std::make_shared<QtMainQueue>();
  Log log;
  queue->asyncAfter(200ms, logging(*queue, log, "late"));
  queue->async(logging(*queue, log, "a"));
  queue->asyncAfter(100ms, logging(*queue, log, "soon"));
  queue->async([&] {
    log.push_back("b");
    queue->async(logging(*queue, log, "queued by b"));
  });
  queue->asyncAfter(-50ms, logging(*queue, log, "past"));  // due at once
  queue->async(logging(*queue, log, "c"));
  // Delayed work items run; those cancelled here or from another thread never do.
  auto cancelledHere = std::make_shared<dispatch::WorkItem>(logging(*queue, log, "cancelled here"));
  auto cancelledThere = std::make_shared<dispatch::WorkItem>(logging(*queue, log, "cancelled elsewhere"));
  queue->asyncAfter(50ms, cancelledHere);
  queue->asyncAfter(50ms, std::make_shared<dispatch::WorkItem>(logging(*queue, log, "kept")));
  queue->asyncAfter(50ms, cancelledThere);
  cancelledHere->cancel();
  std::thread([&] { cancelledThere->cancel(); }).join();
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 8; }, kHang));
  EXPECT_EQ(log, (Log{"a", "b", "past", "c", "queued by b", "kept", "soon", "late"}));
}

TEST(QtMainQueue, RunsWorkFromOtherThreadsOnTheGuiThreadInEachThreadsOrder) {
  auto queue = std::make_shared<QtMainQueue>();
  Log log;
  constexpr int kThreads = 4, kEach = 200;
  std::vector<std::thread> threads;
  std::vector<int> answeredCurrent(kThreads, -1);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      answeredCurrent[t] = queue->isCurrentThread();
      for (int i = 0; i < kEach; ++i) {
        auto work = logging(*queue, log, std::to_string(t) + " " + std::to_string(i));
        i % 3 ? queue->async(work) : queue->asyncAfter(0ms, work);  // both paths in one order
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == kThreads * kEach; }, kHang));
  EXPECT_EQ(answeredCurrent, std::vector<int>(kThreads, 0));
  std::vector<int> next(kThreads, 0);
  for (const auto& entry : log) {
    const int thread = std::stoi(entry);
    EXPECT_EQ(entry, std::to_string(thread) + " " + std::to_string(next[thread]++));
  }
}

TEST(QtMainQueue, WorkThatOpensANestedEventLoopDoesNotHoldUpTheWorkBehindIt) {
  auto queue = std::make_shared<QtMainQueue>();
  Log log;
  queue->async([&] {
    log.push_back("opens a loop");
    // As a modal dialog does: it waits on an event loop for work queued behind it.
    ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 3; }, kHang));
    log.push_back("loop closed");
  });
  queue->async(logging(*queue, log, "queued before"));
  queue->asyncAfter(5ms, logging(*queue, log, "delayed"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 4; }, kHang));
  EXPECT_EQ(log, (Log{"opens a loop", "queued before", "delayed", "loop closed"}));
}

TEST(QtMainQueue, DropsQueuedWorkUnrunWhenItGoesEvenFromAnotherThread) {
  for (const bool elsewhere : {false, true}) {
    SCOPED_TRACE(elsewhere ? "released on another thread" : "released on the GUI thread");
    auto queue = std::make_shared<QtMainQueue>();
    auto captured = std::make_shared<bool>(false);
    const std::weak_ptr<bool> watch = captured;
    queue->async([captured] { *captured = true; });
    queue->asyncAfter(10ms, [captured] { *captured = true; });
    captured.reset();
    elsewhere ? std::thread([owned = std::move(queue)]() mutable { owned.reset(); }).join() : queue.reset();
    EXPECT_TRUE(watch.expired()) << "the work was released unrun";
    // What the old queue had posted finds it gone; a new queue runs as usual.
    auto next = std::make_shared<QtMainQueue>();
    bool ran = false;
    next->asyncAfter(15ms, [&] { ran = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return ran; }, kHang));
  }
}

}  // namespace
}  // namespace platform::qt
