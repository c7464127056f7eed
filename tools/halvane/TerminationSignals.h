#pragma once
// The signals that ask a process to end: SIGINT, SIGTERM, SIGHUP and SIGQUIT. While a
// TerminationGuard lives they are only noted, so that a command can stop cleanly (an
// export cancels, leaving no file) and then exit as a shell reports a death by that
// signal, 128 + its number. A signal that was ignored when the tool started (nohup's
// SIGHUP) stays ignored. One guard at a time, on the main thread.
#include <memory>

namespace halvane::cli {

class TerminationGuard {
 public:
  TerminationGuard();
  ~TerminationGuard();
  TerminationGuard(const TerminationGuard&) = delete;
  TerminationGuard& operator=(const TerminationGuard&) = delete;

  // The number of the first signal noted since the guard began, or 0.
  static int received();
  // 128 + the signal's number.
  static int exitStatus(int signalNumber) { return 128 + signalNumber; }

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

}  // namespace halvane::cli
