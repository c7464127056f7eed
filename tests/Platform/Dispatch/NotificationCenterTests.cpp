// NotificationCenter: order, observation by object and name, removal, handlers that
// change the observers or post, and threads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Platform/Dispatch/NotificationCenter.h"

namespace platform::dispatch {
namespace {

using ::testing::ElementsAre;
using Token = NotificationCenter::ObserverToken;

TEST(NotificationCenter, DeliversInRegistrationOrderOnThePostingThreadWithItsContents) {
  NotificationCenter center;
  std::vector<int> order;
  for (int i = 0; i < 3; ++i) center.addObserver("Changed", nullptr, [&order, i](const Notification&) { order.push_back(i); });
  int sender = 0;
  Notification heard;
  std::thread::id heardOn;
  center.addObserver("Changed", nullptr, [&](const Notification& n) {
    heard = n;
    heardOn = std::this_thread::get_id();
  });
  std::thread::id postedOn;
  std::thread([&] {
    postedOn = std::this_thread::get_id();
    center.post("Changed", &sender, {{"count", 3}, {"label", std::string("three")}});
    EXPECT_EQ(heardOn, postedOn) << "delivered before post returned";
  }).join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(heard.name, "Changed");
  EXPECT_EQ(heard.object, &sender);
  ASSERT_EQ(heard.userInfo.size(), 2u);
  EXPECT_EQ(std::any_cast<int>(heard.userInfo.at("count")), 3);
  EXPECT_EQ(std::any_cast<std::string>(heard.userInfo.at("label")), "three");
}

TEST(NotificationCenter, DeliversOnlyMatchingNamesAndObjects) {
  NotificationCenter center;
  int first = 0, second = 0;
  std::vector<std::string> heard;
  auto hear = [&](std::string who) {
    return [&heard, who](const Notification& n) { heard.push_back(who + ":" + n.name); };
  };
  center.addObserver("Ended", &first, hear("first"));
  center.addObserver("Ended", nullptr, hear("any object"));
  center.addObserver("", nullptr, hear("any name"));
  center.post("Ended", &second);
  center.post("Ended", nullptr);  // does not reach an object's observer
  center.post("Ended", &first);
  center.post("Unrelated");
  EXPECT_THAT(heard, ElementsAre("any object:Ended", "any name:Ended", "any object:Ended", "any name:Ended",
                                 "first:Ended", "any object:Ended", "any name:Ended", "any name:Unrelated"));
}

TEST(NotificationCenter, RemovedObserversHearNothingAndLetTheirHandlersGo) {
  NotificationCenter center;
  std::vector<int> heard;
  const Token a = center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back(1); });
  center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back(2); });
  EXPECT_NE(a, 0u);
  EXPECT_TRUE(center.removeObserver(a));
  EXPECT_FALSE(center.removeObserver(a)) << "a second removal is ignored";
  EXPECT_FALSE(center.removeObserver(0));
  center.post("Changed");
  EXPECT_EQ(heard, (std::vector<int>{2}));

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
  NotificationCenter center;
  std::vector<std::string> heard;
  Token later = 0;
  bool added = false;
  center.addObserver("Changed", nullptr, [&](const Notification&) {
    heard.push_back("first");
    center.removeObserver(later);
    if (!std::exchange(added, true))
      center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back("added"); });
    center.post("Inner");
  });
  later = center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back("later"); });
  center.addObserver("Inner", nullptr, [&](const Notification&) { heard.push_back("inner"); });
  center.post("Changed");
  EXPECT_THAT(heard, ElementsAre("first", "inner"));
  center.post("Changed");
  EXPECT_THAT(heard, ElementsAre("first", "inner", "first", "inner", "added"));
}

TEST(NotificationCenter, IsSafeFromManyThreads) {
  NotificationCenter center;
  std::atomic<int> delivered{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        const auto token = center.addObserver("Tick", nullptr, [&](const Notification&) { delivered.fetch_add(1); });
        center.post("Tick");
        center.removeObserver(token);
      }
    });
  }
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
