// The global queues: work runs off the calling thread, concurrently, and a free worker
// takes the highest quality first, work queued by work included. SerialQueue: one
// thread, order kept, sync, draining destructor. NotificationCenter: order, observation
// by object and name, removal, handlers that change the observers or post, and threads.
#include <atomic>
#include <memory>
#include <stdexcept>

#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Dispatch/SerialQueue.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace testing;

TEST(GlobalQueue, RunsWorkConcurrentlyOffTheCallingThread) {
  EXPECT_GE(GlobalQueue::threadCount(), 2u);
  // Two pieces of work that each wait for the other can only finish side by side.
  Gate firstStarted, secondStarted;
  Log log;
  const std::thread::id caller = std::this_thread::get_id();
  GlobalQueue::async(QualityOfService::utility, [&] {
    EXPECT_NE(std::this_thread::get_id(), caller);
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
}

TEST(GlobalQueue, HigherQualityIsTakenFirstWhenSaturated) {
  // Occupy every worker, each behind a gate of its own.
  const auto workers = GlobalQueue::threadCount();
  std::vector<Gate> gates(workers);
  Log started, order;
  for (std::size_t i = 0; i < workers; ++i)
    GlobalQueue::async(QualityOfService::background, [&, i] {
      started.add("blocker");
      gates[i].wait();
      started.add("blocker done");
    });
  ASSERT_TRUE(started.waitForCount(workers));
  // Queued lowest quality first, two of each so that order within a quality shows too.
  using enum QualityOfService;
  const std::pair<QualityOfService, const char*> qualities[] = {
      {background, "background"}, {utility, "utility"}, {userInitiated, "userInitiated"},
      {userInteractive, "userInteractive"}};
  for (const char* round : {" 1", " 2"})
    for (auto [quality, name] : qualities)
      GlobalQueue::async(quality, [&, entry = name + std::string(round)] { order.add(entry); });
  // Free one worker: it alone drains the queue, so its order is the pool's choice.
  gates[0].open();
  ASSERT_TRUE(order.waitForCount(8));
  for (std::size_t i = 1; i < workers; ++i) gates[i].open();
  ASSERT_TRUE(started.waitForCount(2 * workers)) << "every blocker left its gate";
  EXPECT_THAT(order.entries(),
              ElementsAre("userInteractive 1", "userInteractive 2", "userInitiated 1", "userInitiated 2", "utility 1",
                          "utility 2", "background 1", "background 2"));
}

// Work from four producers: each one's in its order, all on one thread of the queue's
// own, never two at once.
TEST(SerialQueue, RunsWorkInOrderOneAtATimeOnOneThreadOfItsOwn) {
  std::vector<int> next(4, 0);
  std::vector<std::thread::id> threads;
  std::atomic<int> running{0}, overlaps{0};
  {
    SerialQueue queue("test.order");
    std::vector<std::thread> producers;
    for (int p = 0; p < 4; ++p)
      producers.emplace_back([&, p] {
        for (int i = 0; i < 200; ++i)
          queue.async([&, p, i] {
            if (running.fetch_add(1) != 0) overlaps.fetch_add(1);
            EXPECT_EQ(i, next[p]++);
            EXPECT_TRUE(queue.isCurrentThread());
            threads.push_back(std::this_thread::get_id());
            std::this_thread::yield();
            running.fetch_sub(1);
          });
      });
    for (auto& producer : producers) producer.join();
    EXPECT_FALSE(queue.isCurrentThread());
  }
  EXPECT_EQ(next, (std::vector<int>{200, 200, 200, 200}));
  EXPECT_EQ(overlaps.load(), 0);
  for (const auto id : threads) EXPECT_EQ(id, threads.front());
  EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(SerialQueue, SyncWaitsForTheWorkAndEarlierWorkAndPassesItsExceptionOn) {
  SerialQueue queue("test.sync");
  std::vector<std::string> order;
  Gate release;
  queue.async([&] { release.wait(), order.push_back("async"); });
  std::thread opener([&] { release.open(); });
  queue.sync([&] { order.push_back("sync"); });
  opener.join();
  EXPECT_THAT(order, ElementsAre("async", "sync")) << "sync returned after both ran";
  EXPECT_THROW(queue.sync([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
  queue.sync([&] { order.push_back("after the throw"); });
  EXPECT_EQ(order.back(), "after the throw") << "the queue goes on after a thrown sync";
}

TEST(SerialQueue, DestructorRunsQueuedWorkThenJoins) {
  Gate release;
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
  Log log;
  Gate release;
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
  EXPECT_THAT(log.entries(), ElementsAre("destroyed", "queued before the queue let go"));
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

using Token = NotificationCenter::ObserverToken;

// Observers that note what they hear as "who:name".
struct Heard {
  NotificationCenter center;
  std::vector<std::string> notes;
  Token add(const std::string& name, const void* object, std::string who) {
    return center.addObserver(name, object,
                              [this, who](const Notification& n) { notes.push_back(who + ":" + n.name); });
  }
};

TEST(NotificationCenter, DeliversInRegistrationOrderOnThePostingThreadWithItsContentsToMatchingObservers) {
  Heard heard;
  for (const char* who : {"0", "1", "2"}) heard.add("Changed", nullptr, who);
  int sender = 0;
  Notification last;
  heard.center.addObserver("Changed", nullptr, [&](const Notification& n) { last = n; });
  std::thread([&] {
    const std::thread::id posting = std::this_thread::get_id();
    heard.center.addObserver("Changed", nullptr, [&](const Notification&) {
      EXPECT_EQ(std::this_thread::get_id(), posting) << "delivered before post returned";
    });
    heard.center.post("Changed", &sender, {{"count", 3}, {"label", std::string("three")}});
  }).join();
  EXPECT_THAT(heard.notes, ElementsAre("0:Changed", "1:Changed", "2:Changed"));
  EXPECT_EQ(last.name, "Changed");
  EXPECT_EQ(last.object, &sender);
  ASSERT_EQ(last.userInfo.size(), 2u);
  EXPECT_EQ(std::any_cast<int>(last.userInfo.at("count")), 3);
  EXPECT_EQ(std::any_cast<std::string>(last.userInfo.at("label")), "three");

  // Only matching names and objects.
  Heard matching;
  int first = 0, second = 0;
  matching.add("Ended", &first, "first");
  matching.add("Ended", nullptr, "any object");
  matching.add("", nullptr, "any name");
  matching.center.post("Ended", &second);
  matching.center.post("Ended", nullptr);  // does not reach an object's observer
  matching.center.post("Ended", &first);
  matching.center.post("Unrelated");
  EXPECT_THAT(matching.notes, ElementsAre("any object:Ended", "any name:Ended", "any object:Ended", "any name:Ended",
                                          "first:Ended", "any object:Ended", "any name:Ended", "any name:Unrelated"));
}

TEST(NotificationCenter, RemovedObserversHearNothingAndLetTheirHandlersGo) {
  Heard heard;
  NotificationCenter& center = heard.center;
  const Token a = heard.add("Changed", nullptr, "a");
  heard.add("Changed", nullptr, "b");
  EXPECT_NE(a, 0u);
  EXPECT_TRUE(center.removeObserver(a));
  EXPECT_FALSE(center.removeObserver(a)) << "a second removal is ignored";
  EXPECT_FALSE(center.removeObserver(0));
  center.post("Changed");
  EXPECT_THAT(heard.notes, ElementsAre("b:Changed"));

  // A handler that removes itself keeps its captures until it returns.
  auto token = std::make_shared<Token>(0);
  auto keepAlive = std::make_shared<int>(7);
  std::weak_ptr<int> watch = keepAlive;
  int calls = 0;
  *token = center.addObserver("Once", nullptr, [&, token, keepAlive](const Notification&) {
    ++calls;
    center.removeObserver(*token);
    EXPECT_EQ(*keepAlive, 7);
  });
  keepAlive.reset();
  center.post("Once");
  center.post("Once");
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(watch.expired()) << "removal released the handler";
}

// A handler may remove a later observer (it is not called), add one (it hears the next
// post) and post (delivered at once, inside).
TEST(NotificationCenter, HandlersMayChangeTheObserversAndPost) {
  Heard heard;
  Token later = 0;
  bool added = false;
  heard.center.addObserver("Changed", nullptr, [&](const Notification& n) {
    heard.notes.push_back("first:" + n.name);
    heard.center.removeObserver(later);
    if (!std::exchange(added, true)) heard.add("Changed", nullptr, "added");
    heard.center.post("Inner");
  });
  later = heard.add("Changed", nullptr, "later");
  heard.add("Inner", nullptr, "inner");
  heard.center.post("Changed");
  EXPECT_THAT(heard.notes, ElementsAre("first:Changed", "inner:Inner"));
  heard.center.post("Changed");
  EXPECT_THAT(heard.notes,
              ElementsAre("first:Changed", "inner:Inner", "first:Changed", "inner:Inner", "added:Changed"));
}

TEST(NotificationCenter, IsSafeFromManyThreads) {
  NotificationCenter center;
  std::atomic<int> delivered{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        const auto token = center.addObserver("Tick", nullptr, [&](const Notification&) { delivered.fetch_add(1); });
        center.post("Tick");
        center.removeObserver(token);
      }
    });
  for (auto& thread : threads) thread.join();
  // Each post reaches at least its own observer; others come and go meanwhile.
  EXPECT_GE(delivered.load(), 800);
  int after = 0;
  center.addObserver("Tick", nullptr, [&](const Notification&) { ++after; });
  center.post("Tick");
  EXPECT_EQ(after, 1) << "every temporary observer is gone";
}

}  // namespace
}  // namespace platform::dispatch
