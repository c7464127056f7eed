#include "Platform/Dispatch/NotificationCenter.h"

#include <algorithm>
#include <atomic>

namespace platform::dispatch {

struct NotificationCenter::Observer {
  ObserverToken token = 0;
  std::string name;
  const void* object = nullptr;
  Handler handler;
  std::atomic<bool> removed{false};

  bool matches(const Notification& notification) const {
    return (name.empty() || name == notification.name) && (object == nullptr || object == notification.object);
  }
};

NotificationCenter& NotificationCenter::defaultCenter() {
  static NotificationCenter* const center = new NotificationCenter();
  return *center;
}

NotificationCenter::ObserverToken NotificationCenter::addObserver(std::string name, const void* object,
                                                                  Handler handler) {
  auto observer = std::make_shared<Observer>();
  observer->name = std::move(name);
  observer->object = object;
  observer->handler = std::move(handler);
  std::lock_guard lock(mutex_);
  observer->token = nextToken_++;
  observers_.push_back(observer);
  return observer->token;
}

bool NotificationCenter::removeObserver(ObserverToken token) {
  std::shared_ptr<Observer> removed;  // released outside the lock: its handler's captures may post
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(observers_.begin(), observers_.end(),
                                  [token](const auto& observer) { return observer->token == token; });
  if (found == observers_.end()) return false;
  (*found)->removed.store(true);
  removed = std::move(*found);
  observers_.erase(found);
  return true;
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<std::shared_ptr<Observer>> receivers;
  {
    std::lock_guard lock(mutex_);
    for (const auto& observer : observers_) {
      if (observer->matches(notification)) receivers.push_back(observer);
    }
  }
  // The snapshot keeps each handler alive while it runs, even if it removes itself.
  for (const auto& observer : receivers) {
    if (!observer->removed.load() && observer->handler) observer->handler(notification);
  }
}

void NotificationCenter::post(std::string name, const void* object, UserInfo userInfo) {
  post(Notification{std::move(name), object, std::move(userInfo)});
}

}  // namespace platform::dispatch
