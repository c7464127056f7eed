#include "Support/MainQueuePump.h"

#include <thread>

namespace testsupport {

bool pumpUntil(platform::dispatch::ManualMainQueue& queue, const std::function<bool()>& done,
               std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    if (queue.runPending() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace testsupport
