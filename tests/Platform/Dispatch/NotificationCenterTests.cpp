// NotificationCenter: order, observation by object and name, removal, threads, and the
// coalescing pattern that the configuration notification is built on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using ::testing::ElementsAre;
using Token = NotificationCenter::ObserverToken;

TEST(NotificationCenter, DeliversToObserversInRegistrationOrder) {
  NotificationCenter center;
  std::vector<int> order;
  for (int i = 0; i < 5; ++i) center.addObserver("Changed", nullptr, [&order, i](const Notification&) { order.push_back(i); });
  center.post("Changed");
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(NotificationCenter, DeliversSynchronouslyOnThePostingThread) {
  NotificationCenter center;
  std::thread::id heardOn;
  center.addObserver("Changed", nullptr, [&](const Notification&) { heardOn = std::this_thread::get_id(); });
  std::thread::id postedOn;
  std::thread([&] {
    postedOn = std::this_thread::get_id();
    center.post("Changed");
    EXPECT_EQ(heardOn, postedOn) << "delivered before post returned";
  }).join();
  EXPECT_EQ(heardOn, postedOn);
}

TEST(NotificationCenter, CarriesNameObjectAndUserInfo) {
  NotificationCenter center;
  int sender = 0;
  Notification heard;
  center.addObserver("Changed", nullptr, [&](const Notification& n) { heard = n; });
  center.post("Changed", &sender, {{"count", 3}, {"label", std::string("three")}});
  EXPECT_EQ(heard.name, "Changed");
  EXPECT_EQ(heard.object, &sender);
  ASSERT_EQ(heard.userInfo.size(), 2u);
  EXPECT_EQ(std::any_cast<int>(heard.userInfo.at("count")), 3);
  EXPECT_EQ(std::any_cast<std::string>(heard.userInfo.at("label")), "three");
}

TEST(NotificationCenter, OnlyMatchingNamesAreDelivered) {
  NotificationCenter center;
  std::vector<std::string> heard;
  center.addObserver("NetworkDidConnect", nullptr, [&](const Notification& n) { heard.push_back("connect:" + n.name); });
  center.addObserver("NetworkDidDisconnect", nullptr,
                     [&](const Notification& n) { heard.push_back("disconnect:" + n.name); });
  center.addObserver("", nullptr, [&](const Notification& n) { heard.push_back("any:" + n.name); });
  center.post("NetworkDidDisconnect");
  center.post("Unrelated");
  EXPECT_THAT(heard, ElementsAre("disconnect:NetworkDidDisconnect", "any:NetworkDidDisconnect", "any:Unrelated"));
}

TEST(NotificationCenter, AnObserverOfOneObjectHearsOnlyThatObject) {
  NotificationCenter center;
  int first = 0, second = 0;
  std::vector<std::string> heard;
  center.addObserver("ItemDidEnd", &first, [&](const Notification&) { heard.push_back("of first"); });
  center.addObserver("ItemDidEnd", nullptr, [&](const Notification&) { heard.push_back("of any"); });

  center.post("ItemDidEnd", &second);
  EXPECT_THAT(heard, ElementsAre("of any"));
  heard.clear();
  center.post("ItemDidEnd", nullptr);
  EXPECT_THAT(heard, ElementsAre("of any")) << "a post without an object does not reach an object's observer";
  heard.clear();
  center.post("ItemDidEnd", &first);
  EXPECT_THAT(heard, ElementsAre("of first", "of any"));
}

TEST(NotificationCenter, RemovedObserversHearNothing) {
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
}

TEST(NotificationCenter, AHandlerMayRemoveItself) {
  NotificationCenter center;
  int calls = 0;
  auto token = std::make_shared<Token>(0);
  auto keepAlive = std::make_shared<int>(7);
  std::weak_ptr<int> watch = keepAlive;
  *token = center.addObserver("Once", nullptr, [&, token, keepAlive](const Notification&) {
    ++calls;
    center.removeObserver(*token);
    EXPECT_EQ(*keepAlive, 7) << "the handler's captures live until it returns";
  });
  keepAlive.reset();
  center.post("Once");
  center.post("Once");
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(watch.expired()) << "removal released the handler";
}

TEST(NotificationCenter, AHandlerThatRemovesALaterObserverStopsItsDelivery) {
  NotificationCenter center;
  std::vector<std::string> heard;
  Token later = 0;
  center.addObserver("Changed", nullptr, [&](const Notification&) {
    heard.push_back("first");
    center.removeObserver(later);
  });
  later = center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back("later"); });
  center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back("last"); });
  center.post("Changed");
  EXPECT_THAT(heard, ElementsAre("first", "last"));
}

TEST(NotificationCenter, ObserversAddedDuringAPostHearTheNextOne) {
  NotificationCenter center;
  std::vector<std::string> heard;
  bool added = false;
  center.addObserver("Changed", nullptr, [&](const Notification&) {
    heard.push_back("first");
    if (!added) {
      added = true;
      center.addObserver("Changed", nullptr, [&](const Notification&) { heard.push_back("added"); });
    }
  });
  center.post("Changed");
  EXPECT_THAT(heard, ElementsAre("first"));
  center.post("Changed");
  EXPECT_THAT(heard, ElementsAre("first", "first", "added"));
}

TEST(NotificationCenter, AHandlerMayPost) {
  NotificationCenter center;
  std::vector<std::string> heard;
  center.addObserver("Outer", nullptr, [&](const Notification&) {
    heard.push_back("outer");
    center.post("Inner");
  });
  center.addObserver("Inner", nullptr, [&](const Notification&) { heard.push_back("inner"); });
  center.post("Outer");
  EXPECT_THAT(heard, ElementsAre("outer", "inner"));
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

TEST(NotificationCenter, DefaultCenterIsOneInstance) {
  EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
  int heard = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver("DispatchTests.Default", nullptr,
                                                                    [&](const Notification&) { ++heard; });
  NotificationCenter::defaultCenter().post("DispatchTests.Default");
  NotificationCenter::defaultCenter().removeObserver(token);
  EXPECT_EQ(heard, 1);
}

// The pattern a main-queue service uses to turn many changes in one turn into one
// notification after the turn: a flag, one block queued on the main queue holding the
// owner weakly, the flag cleared before the post.
class Coalescer : public std::enable_shared_from_this<Coalescer> {
 public:
  Coalescer(MainQueue& queue, NotificationCenter& center) : queue_(queue), center_(center) {}
  void set(int value) {
    value_ = value;
    if (scheduled_) return;
    scheduled_ = true;
    queue_.async([weak = weak_from_this()] {
      if (const auto self = weak.lock()) {
        self->scheduled_ = false;
        self->center_.post("DidChange", self.get());
      }
    });
  }
  int value() const { return value_; }

 private:
  MainQueue& queue_;
  NotificationCenter& center_;
  bool scheduled_ = false;
  int value_ = 0;
};

TEST(NotificationCenter, ChangesInOneMainQueueTurnGiveOneNotificationAfterTheTurn) {
  ManualMainQueue queue;
  NotificationCenter center;
  auto owner = std::make_shared<Coalescer>(queue, center);
  std::vector<int> seen;
  center.addObserver("DidChange", owner.get(), [&](const Notification& n) {
    seen.push_back(static_cast<const Coalescer*>(n.object)->value());
  });

  owner->set(1);
  owner->set(2);
  owner->set(3);
  EXPECT_TRUE(seen.empty());
  queue.runPending();
  EXPECT_EQ(seen, (std::vector<int>{3}));

  // A change made by the handler schedules a new notification for the next turn.
  bool again = true;
  center.addObserver("DidChange", owner.get(), [&](const Notification&) {
    if (std::exchange(again, false)) owner->set(4);
  });
  owner->set(5);
  queue.runPending();
  EXPECT_EQ(seen, (std::vector<int>{3, 5}));
  queue.runPending();
  EXPECT_EQ(seen, (std::vector<int>{3, 5, 4}));

  // An owner gone before the turn posts nothing.
  owner->set(6);
  owner.reset();
  queue.runPending();
  EXPECT_EQ(seen, (std::vector<int>{3, 5, 4}));
}

}  // namespace
}  // namespace platform::dispatch
