// The global queues: work runs off the calling thread, concurrently, and a free worker
// takes the highest quality first, work queued by work included.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "Platform/Dispatch/GlobalQueue.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using ::testing::ElementsAre;

TEST(GlobalQueue, RunsWorkConcurrentlyOffTheCallingThread) {
  EXPECT_GE(GlobalQueue::threadCount(), 2u);
  // Two pieces of work that each wait for the other can only finish side by side.
  testing::Gate firstStarted, secondStarted;
  testing::Log log;
  std::thread::id ranOn;
  GlobalQueue::async(QualityOfService::utility, [&] {
    ranOn = std::this_thread::get_id();
    firstStarted.open();
    log.add(secondStarted.wait() ? "first saw second" : "first waited in vain");
    GlobalQueue::async(QualityOfService::background, [&] { log.add("queued by work"); });
  });
  GlobalQueue::async(QualityOfService::utility, [&] {
    secondStarted.open();
    log.add(firstStarted.wait() ? "second saw first" : "second waited in vain");
  });
  ASSERT_TRUE(log.waitForCount(3));
  EXPECT_THAT(log.entries(), ::testing::UnorderedElementsAre("first saw second", "second saw first", "queued by work"));
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(GlobalQueue, HigherQualityIsTakenFirstWhenSaturated) {
  const auto workers = GlobalQueue::threadCount();
  // Occupy every worker, each behind a gate of its own.
  std::vector<std::unique_ptr<testing::Gate>> gates;
  for (std::size_t i = 0; i < workers; ++i) gates.push_back(std::make_unique<testing::Gate>());
  testing::Log started;
  for (std::size_t i = 0; i < workers; ++i) {
    GlobalQueue::async(QualityOfService::background, [&, i] {
      started.add("blocker");
      gates[i]->wait();
      started.add("blocker done");
    });
  }
  ASSERT_TRUE(started.waitForCount(workers));

  // Queued lowest quality first, two of each so that order within a quality shows too.
  testing::Log order;
  const std::pair<QualityOfService, const char*> queued[] = {
      {QualityOfService::background, "background 1"},     {QualityOfService::utility, "utility 1"},
      {QualityOfService::userInitiated, "userInitiated 1"}, {QualityOfService::userInteractive, "userInteractive 1"},
      {QualityOfService::background, "background 2"},     {QualityOfService::utility, "utility 2"},
      {QualityOfService::userInitiated, "userInitiated 2"}, {QualityOfService::userInteractive, "userInteractive 2"},
  };
  for (const auto& [quality, name] : queued) GlobalQueue::async(quality, [&order, name = name] { order.add(name); });

  // Free one worker: it alone drains the queue, so its order is the pool's choice.
  gates[0]->open();
  ASSERT_TRUE(order.waitForCount(8));
  for (std::size_t i = 1; i < workers; ++i) gates[i]->open();
  ASSERT_TRUE(started.waitForCount(2 * workers)) << "every blocker left its gate";

  EXPECT_THAT(order.entries(), ElementsAre("userInteractive 1", "userInteractive 2", "userInitiated 1",
                                           "userInitiated 2", "utility 1", "utility 2", "background 1",
                                           "background 2"));
}

}  // namespace
}  // namespace platform::dispatch
