#pragma once
// The application object of the Qt platform tests and a way to run its event loop
// until something has happened. The limit guards against a hang; it measures nothing.
#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>
#include <memory>

namespace platform::qt::testing {

class QtApplication : public ::testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<QApplication>(argc_, argv_); }
  void TearDown() override { application_.reset(); }

 private:
  int argc_ = 1;
  char name_[32] = "PlatformQtTests";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
};

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
