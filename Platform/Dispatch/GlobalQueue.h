#pragma once
// Concurrent queues by quality of service on one shared thread pool. Work of a higher
// quality is taken first; every async is safe from any thread.
//
// The pool is made on first use with max(2, hardware threads) workers and lives until
// the process ends (it is never torn down, so work may be queued from anywhere, even
// late in exit). Within one quality, work starts in the order it was queued; a free
// worker always takes the oldest work of the highest quality waiting. Work must not
// throw: an escaping exception ends the program.
#include <cstddef>
#include <functional>

namespace platform::dispatch {

enum class QualityOfService { userInteractive, userInitiated, utility, background };

class GlobalQueue {
 public:
  static void async(QualityOfService quality, std::function<void()> work);
  // The number of worker threads of the pool (at least 2).
  static std::size_t threadCount();
};

}  // namespace platform::dispatch
