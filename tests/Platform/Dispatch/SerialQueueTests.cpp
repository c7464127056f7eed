// SerialQueue: one thread, order kept, sync, draining destructor.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "Platform/Dispatch/SerialQueue.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

// Work from four producers: each one's in its order, all on one thread of the queue's
// own, never two at once.
TEST(SerialQueue, RunsWorkInOrderOneAtATimeOnOneThreadOfItsOwn) {
  std::vector<std::pair<int, int>> order;  // (producer, index)
  std::vector<std::thread::id> threads;
  std::atomic<int> running{0}, overlaps{0};
  bool allOnQueue = true;
  {
    SerialQueue queue("test.order");
    std::vector<std::thread> producers;
    for (int p = 0; p < 4; ++p) {
      producers.emplace_back([&, p] {
        for (int i = 0; i < 200; ++i) {
          queue.async([&, p, i] {
            if (running.fetch_add(1) != 0) overlaps.fetch_add(1);
            order.emplace_back(p, i);
            threads.push_back(std::this_thread::get_id());
            allOnQueue = allOnQueue && queue.isCurrentThread();
            std::this_thread::yield();
            running.fetch_sub(1);
          });
        }
      });
    }
    for (auto& producer : producers) producer.join();
    EXPECT_FALSE(queue.isCurrentThread());
  }
  ASSERT_EQ(order.size(), 800u);
  std::vector<int> next(4, 0);
  for (const auto& [producer, index] : order) EXPECT_EQ(index, next[producer]++);
  EXPECT_EQ(overlaps.load(), 0);
  EXPECT_TRUE(allOnQueue);
  for (const auto id : threads) EXPECT_EQ(id, threads.front());
  EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(SerialQueue, SyncWaitsForTheWorkAndEarlierWorkAndPassesItsExceptionOn) {
  SerialQueue queue("test.sync");
  std::vector<std::string> order;
  testing::Gate release;
  queue.async([&] {
    release.wait();
    order.push_back("async");
  });
  std::thread opener([&] { release.open(); });
  queue.sync([&] { order.push_back("sync"); });
  opener.join();
  EXPECT_THAT(order, ::testing::ElementsAre("async", "sync")) << "sync returned after both ran";
  EXPECT_THROW(queue.sync([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
  queue.sync([&] { order.push_back("after the throw"); });
  EXPECT_EQ(order.back(), "after the throw") << "the queue goes on after a thrown sync";
}

TEST(SerialQueue, DestructorRunsQueuedWorkThenJoins) {
  testing::Gate release;
  std::vector<int> order;
  std::thread opener;
  {
    SerialQueue queue("test.drain");
    queue.async([&] { release.wait(); });
    for (int i = 0; i < 10; ++i) queue.async([&, i] { order.push_back(i); });
    queue.async([&] { queue.async([&] { order.push_back(100); }); });
    opener = std::thread([&] { release.open(); });
  }  // blocks until all the above ran
  opener.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 100}));
}

TEST(SerialQueue, DestroyedFromItsOwnWorkFinishesAlone) {
  testing::Log log;
  testing::Gate release;
  auto queue = std::make_shared<SerialQueue>("test.self");
  queue->async([&] { release.wait(); });
  queue->async([&log, owned = queue]() mutable {
    owned->async([&log] { log.add("queued before the queue let go"); });
    owned.reset();  // the last owner: the destructor runs here, on the queue's own thread
    log.add("destroyed");
  });
  queue.reset();
  release.open();
  ASSERT_TRUE(log.waitForCount(2));
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("destroyed", "queued before the queue let go"));
}

TEST(SerialQueueDeathTest, SyncOnItsOwnThreadStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        SerialQueue queue("test.deadlock");
        queue.sync([&] { queue.sync([] {}); });
      },
      "SerialQueue::sync called on the queue's own thread \\(\"test.deadlock\"\\)");
}

}  // namespace
}  // namespace platform::dispatch
