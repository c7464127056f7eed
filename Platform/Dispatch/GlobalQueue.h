#pragma once
// Concurrent queues by quality of service on one shared thread pool. Work of a higher
// quality is taken first; every async is safe from any thread.
#include <functional>

namespace platform::dispatch {

enum class QualityOfService { userInteractive, userInitiated, utility, background };

class GlobalQueue {
 public:
  static void async(QualityOfService quality, std::function<void()> work);
};

}  // namespace platform::dispatch
