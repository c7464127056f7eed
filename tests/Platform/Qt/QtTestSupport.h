#pragma once
// Running the Qt platform tests' event loop until something has happened. The limit
// guards against a hang; it measures nothing.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>

namespace platform::qt::testing {

// Runs the GUI thread's events until `done` or the hang guard; returns `done()`.
inline bool runEventsUntil(const std::function<bool()>& done) {
  QElapsedTimer clock;
  clock.start();
  QTimer wake;  // lets the wait notice the guard when nothing else happens
  wake.start(50);
  while (!done()) {
    if (clock.elapsed() > 60'000) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

// Runs what is pending now, without waiting for timers.
inline void runPendingEvents() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

}  // namespace platform::qt::testing
