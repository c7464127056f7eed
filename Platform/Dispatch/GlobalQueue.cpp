#include "Platform/Dispatch/GlobalQueue.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace platform::dispatch {
namespace {

constexpr std::size_t kQualityCount = 4;

class Pool {
 public:
  Pool() : threadCount_(std::max<std::size_t>(2, std::thread::hardware_concurrency())) {
    for (std::size_t i = 0; i < threadCount_; ++i) {
      std::thread([this] { work(); }).detach();
    }
  }

  void async(QualityOfService quality, std::function<void()> work) {
    {
      std::lock_guard lock(mutex_);
      queues_[static_cast<std::size_t>(quality)].push_back(std::move(work));
    }
    available_.notify_one();
  }

  std::size_t threadCount() const { return threadCount_; }

 private:
  // Queues are indexed by QualityOfService, highest quality first.
  std::function<void()> take(std::unique_lock<std::mutex>& lock) {
    for (;;) {
      for (auto& queue : queues_) {
        if (!queue.empty()) {
          auto work = std::move(queue.front());
          queue.pop_front();
          return work;
        }
      }
      available_.wait(lock);
    }
  }

  void work() {
    pthread_setname_np(pthread_self(), "global-queue");
    std::unique_lock lock(mutex_);
    for (;;) {
      auto work = take(lock);
      lock.unlock();
      if (work) work();
      work = nullptr;  // captures die before the worker looks for more
      lock.lock();
    }
  }

  const std::size_t threadCount_;
  std::mutex mutex_;
  std::condition_variable available_;
  std::array<std::deque<std::function<void()>>, kQualityCount> queues_;
};

// Never destroyed: workers are detached and wait on its members until the process ends.
Pool& pool() {
  static Pool* const instance = new Pool();
  return *instance;
}

}  // namespace

void GlobalQueue::async(QualityOfService quality, std::function<void()> work) {
  pool().async(quality, std::move(work));
}

std::size_t GlobalQueue::threadCount() { return pool().threadCount(); }

}  // namespace platform::dispatch
