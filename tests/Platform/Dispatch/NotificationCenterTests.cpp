// NotificationCenter: order, observation by object and name, removal, handlers that
// change the observers or post, and threads.
#include <atomic>

#include "Platform/Dispatch/NotificationCenter.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace testing;
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

TEST(NotificationCenter, DeliversInRegistrationOrderOnThePostingThreadWithItsContents) {
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
}

TEST(NotificationCenter, DeliversOnlyMatchingNamesAndObjects) {
  Heard heard;
  int first = 0, second = 0;
  heard.add("Ended", &first, "first");
  heard.add("Ended", nullptr, "any object");
  heard.add("", nullptr, "any name");
  heard.center.post("Ended", &second);
  heard.center.post("Ended", nullptr);  // does not reach an object's observer
  heard.center.post("Ended", &first);
  heard.center.post("Unrelated");
  EXPECT_THAT(heard.notes, ElementsAre("any object:Ended", "any name:Ended", "any object:Ended", "any name:Ended",
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
