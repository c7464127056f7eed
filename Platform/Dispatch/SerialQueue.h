#pragma once
// A labelled queue that runs its work one item at a time, in order, on a thread of
// its own ("video.export.video"). async is safe from any thread; sync blocks until
// the work ran (never call it from the queue's own thread). The destructor runs what
// is queued and joins the thread.
//
// Work queued by draining work still runs before the thread ends. A destructor that
// runs on the queue's own thread (its last owner let go inside its work) cannot join
// itself: the thread then finishes the queue on its own and ends. Work given to async
// must not throw (an escaping exception ends the program); sync passes the work's
// exception on to its caller. sync on the queue's own thread stops the program.
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
