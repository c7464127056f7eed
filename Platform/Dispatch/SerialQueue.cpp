#include "Platform/Dispatch/SerialQueue.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>

#include "Platform/Base/Fatal.h"

namespace platform::dispatch {

struct SerialQueue::State {
  explicit State(std::string name) : label(std::move(name)) {}

  void run() {
    // Linux keeps 15 bytes of a thread name.
    pthread_setname_np(pthread_self(), label.substr(0, 15).c_str());
    std::unique_lock lock(mutex);
    for (;;) {
      available.wait(lock, [this] { return !queue.empty() || stopping; });
      if (queue.empty()) return;  // stopping and drained
      auto work = std::move(queue.front());
      queue.pop_front();
      lock.unlock();
      if (work) work();
      work = nullptr;
      lock.lock();
    }
  }

  const std::string label;
  std::mutex mutex;
  std::condition_variable available;
  std::deque<std::function<void()>> queue;
  bool stopping = false;
  std::thread thread;
};

SerialQueue::SerialQueue(std::string label) : state_(std::make_shared<State>(std::move(label))) {
  // The thread shares the state, so it may outlive this object (see the destructor).
  state_->thread = std::thread([state = state_] { state->run(); });
}

SerialQueue::~SerialQueue() {
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
  }
  state_->available.notify_all();
  if (isCurrentThread()) {
    state_->thread.detach();
  } else {
    state_->thread.join();
  }
}

const std::string& SerialQueue::label() const { return state_->label; }

void SerialQueue::async(std::function<void()> work) {
  {
    std::lock_guard lock(state_->mutex);
    state_->queue.push_back(std::move(work));
  }
  state_->available.notify_one();
}

void SerialQueue::sync(const std::function<void()>& work) {
  if (isCurrentThread()) {
    platform::fatalError("SerialQueue::sync called on the queue's own thread (\"" + state_->label +
                  "\"); it would wait for itself forever");
  }
  std::promise<void> done;
  auto finished = done.get_future();
  async([&work, &done] {
    try {
      if (work) work();
      done.set_value();
    } catch (...) {
      done.set_exception(std::current_exception());
    }
  });
  finished.get();
}

bool SerialQueue::isCurrentThread() const { return state_->thread.get_id() == std::this_thread::get_id(); }

}  // namespace platform::dispatch
