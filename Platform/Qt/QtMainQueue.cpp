#include "Platform/Qt/QtMainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <climits>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/WorkHeap.h"

namespace platform::qt {

using Clock = std::chrono::steady_clock;

// Shared with the events posted to the GUI thread, which may arrive after the queue
// has gone: they find `closed` and do nothing.
struct QtMainQueue::State {
  std::mutex mutex;
  dispatch::detail::WorkHeap<Clock::time_point> work;
  std::optional<Clock::time_point> armedFor;  // the due time the timer is set for
  bool wakePosted = false;                    // a rearm is on its way to the GUI thread
  bool closed = false;
  std::thread::id guiThread;
  QObject* context = nullptr;  // lives on the GUI thread; parent of the timer
  QTimer* timer = nullptr;

  // GUI thread: sets the timer for the earliest due time, or stops it.
  void rearm() {
    std::unique_lock lock(mutex);
    wakePosted = false;
    if (closed) return;
    const auto next = work.nextDue();
    if (!next) {
      armedFor.reset();
      lock.unlock();
      timer->stop();
      return;
    }
    armedFor = next;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::max(*next - Clock::now(), Clock::duration{}));
    lock.unlock();
    // A wait beyond the timer's range wakes early; that turn finds nothing due and rearms.
    timer->start(int(std::min<std::chrono::milliseconds::rep>(wait.count(), INT_MAX)));
  }

  // GUI thread: runs the due work queued before the turn began.
  void turn() {
    // Armed again first: work that opens a nested event loop (a modal dialog) does not
    // hold up the work queued behind it, which the nested loop's turns then run.
    rearm();
    const auto now = Clock::now();
    std::unique_lock lock(mutex);
    const auto limit = work.turnLimit();
    while (!closed) {
      auto item = work.popDue(now, limit);
      if (!item) break;
      lock.unlock();
      if (*item) (*item)();
      item.reset();  // captures die on the GUI thread, before the next piece runs
      lock.lock();
    }
    lock.unlock();
    rearm();
  }
};

QtMainQueue::QtMainQueue() : state_(std::make_shared<State>()) {
  const auto* application = QCoreApplication::instance();
  if (!application) platform::fatalError("QtMainQueue: made before the QCoreApplication");
  if (application->thread() != QThread::currentThread()) platform::fatalError("QtMainQueue: made off the GUI thread");
  state_->guiThread = std::this_thread::get_id();
  state_->context = new QObject();
  state_->timer = new QTimer(state_->context);
  state_->timer->setSingleShot(true);
  state_->timer->setTimerType(Qt::PreciseTimer);
  QObject::connect(state_->timer, &QTimer::timeout, state_->context,
                   [weak = std::weak_ptr<State>(state_)] {
                     if (const auto state = weak.lock()) state->turn();
                   });
}

QtMainQueue::~QtMainQueue() {
  std::vector<std::function<void()>> dropped;
  {
    std::lock_guard lock(state_->mutex);
    state_->closed = true;
    dropped = state_->work.takeAll();
  }
  dropped.clear();
  // The timer belongs to the GUI thread; the last owner may be another thread.
  if (isCurrentThread()) {
    delete state_->context;
  } else {
    state_->context->deleteLater();
  }
}

void QtMainQueue::async(std::function<void()> work) { asyncAfter(Duration::zero(), std::move(work)); }

void QtMainQueue::asyncAfter(Duration delay, std::function<void()> work) {
  const auto due = Clock::now() + std::max(delay, Duration::zero());
  bool wake = false;
  {
    std::lock_guard lock(state_->mutex);
    state_->work.push(due, std::move(work));
    wake = !state_->wakePosted && (!state_->armedFor || due < *state_->armedFor);
    if (wake) state_->wakePosted = true;
  }
  if (!wake) return;
  if (isCurrentThread()) {
    state_->rearm();
  } else {
    QMetaObject::invokeMethod(
        state_->context,
        [weak = std::weak_ptr<State>(state_)] {
          if (const auto state = weak.lock()) state->rearm();
        },
        Qt::QueuedConnection);
  }
}

bool QtMainQueue::isCurrentThread() const { return std::this_thread::get_id() == state_->guiThread; }

}  // namespace platform::qt
