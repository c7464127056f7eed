#include "TerminationSignals.h"

#include <csignal>
#include <iterator>

namespace halvane::cli {

namespace {

constexpr int kTerminatingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile std::sig_atomic_t receivedSignal = 0;
void noteSignal(int number) {
  if (!receivedSignal) receivedSignal = number;
}

}  // namespace

struct TerminationGuard::Saved {
  struct sigaction previous[std::size(kTerminatingSignals)] {};
};

TerminationGuard::TerminationGuard() : saved_(std::make_unique<Saved>()) {
  receivedSignal = 0;
  for (std::size_t i = 0; i < std::size(kTerminatingSignals); ++i) {
    sigaction(kTerminatingSignals[i], nullptr, &saved_->previous[i]);
    if (saved_->previous[i].sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    sigaction(kTerminatingSignals[i], &action, nullptr);
  }
}

TerminationGuard::~TerminationGuard() {
  for (std::size_t i = 0; i < std::size(kTerminatingSignals); ++i)
    sigaction(kTerminatingSignals[i], &saved_->previous[i], nullptr);
}

int TerminationGuard::received() { return receivedSignal; }

}  // namespace halvane::cli
