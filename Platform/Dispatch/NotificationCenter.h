#pragma once
// Publish and subscribe by name. post() delivers synchronously on the posting thread to
// the observers registered at that moment, in the order they registered. An observer
// may watch one object (then it hears only posts of that object) or any object
// (nullptr). Every member is safe from any thread.
//
// Delivery works on a snapshot: an observer added during a post hears the next post,
// not this one; an observer removed during a post (by an earlier handler, or by another
// thread) is not called after its removal returns, except that a handler already
// running on another thread is not waited for. A handler may post, add and remove
// observers, its own included.
#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace platform::dispatch {

using UserInfo = std::map<std::string, std::any>;

struct Notification {
  std::string name;
  const void* object = nullptr;  // the sender, compared by address only
  UserInfo userInfo;
};

class NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;
  // Names one registration; 0 never names one.
  using ObserverToken = std::uint64_t;

  NotificationCenter() = default;
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  // The process-wide centre. Never destroyed.
  static NotificationCenter& defaultCenter();

  // Observes posts of `name` (an empty name observes every name) whose object is
  // `object` (nullptr: any object).
  ObserverToken addObserver(std::string name, const void* object, Handler handler);
  // Ends a registration. Unknown or already removed tokens are ignored. Returns whether
  // it removed one.
  bool removeObserver(ObserverToken token);

  void post(const Notification& notification);
  void post(std::string name, const void* object = nullptr, UserInfo userInfo = {});

 private:
  struct Observer;

  std::mutex mutex_;
  std::vector<std::shared_ptr<Observer>> observers_;  // in registration order
  ObserverToken nextToken_ = 1;
};

}  // namespace platform::dispatch
