#include "Platform/Dispatch/MainQueue.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "Platform/Base/Fatal.h"

namespace platform::dispatch {
namespace {

struct SharedSlot {
  std::mutex mutex;
  std::shared_ptr<MainQueue> queue;
};

SharedSlot& sharedSlot() {
  static SharedSlot slot;
  return slot;
}

}  // namespace

void MainQueue::setShared(std::shared_ptr<MainQueue> queue) {
  auto& slot = sharedSlot();
  std::shared_ptr<MainQueue> previous;
  {
    std::lock_guard lock(slot.mutex);
    previous = std::exchange(slot.queue, std::move(queue));
  }
  // `previous` is released here, outside the lock: its destructor may run queued work's
  // destructors, which may ask for the shared queue.
}

std::shared_ptr<MainQueue> MainQueue::shared() {
  auto& slot = sharedSlot();
  std::lock_guard lock(slot.mutex);
  return slot.queue;
}

namespace {

[[noreturn]] void failAssertion(const char* what, const char* file, int line, const char* function) {
  platform::fatalError(std::string("assertMainQueue: ") + what + "; called at " + file + ":" + std::to_string(line) +
                " in " + function);
}

}  // namespace

void assertMainQueue(const char* file, int line, const char* function) {
  const auto queue = MainQueue::shared();
  if (!queue) failAssertion("no main queue is set (MainQueue::setShared was never called)", file, line, function);
  if (!queue->isCurrentThread()) failAssertion("called off the main queue's thread", file, line, function);
}

}  // namespace platform::dispatch
