#pragma once
// A labelled queue that runs its work one item at a time, in order, on a thread of
// its own ("video.export.video"). async is safe from any thread; sync blocks until
// the work ran (never call it from the queue's own thread). The destructor runs what
// is queued and joins the thread.
#include <functional>
#include <memory>
#include <string>

namespace platform::dispatch {

class SerialQueue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  const std::string& label() const;
  void async(std::function<void()> work);
  void sync(const std::function<void()>& work);
  bool isCurrentThread() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform::dispatch
