#include "Platform/System/MemoryPressureMonitor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Platform/Base/Fatal.h"

namespace platform::system {

namespace {

class PsiTrigger final : public MemoryPressureSource {
 public:
  explicit PsiTrigger(int descriptor) : descriptor_(descriptor) {}
  ~PsiTrigger() override { close(descriptor_); }
  int descriptor() const override { return descriptor_; }
  short events() const override { return POLLPRI; }

 private:
  int descriptor_;
};

}  // namespace

Expected<std::unique_ptr<MemoryPressureSource>, std::string> openMemoryPressureTrigger(const std::string& path,
                                                                                     PressureTrigger trigger) {
  const int descriptor = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return unexpected("cannot open " + path + ": " + std::strerror(errno));
  const std::string line =
      "some " + std::to_string(trigger.threshold.count()) + " " + std::to_string(trigger.window.count());
  // The kernel takes the trigger as one string, its terminating zero included.
  if (write(descriptor, line.c_str(), line.size() + 1) < 0) {
    const int error = errno;
    close(descriptor);
    return unexpected("the trigger '" + line + "' on " + path + " was refused: " + std::strerror(error));
  }
  return std::unique_ptr<MemoryPressureSource>(std::make_unique<PsiTrigger>(descriptor));
}

MemoryPressureMonitor::MemoryPressureMonitor(std::unique_ptr<MemoryPressureSource> source,
                                             std::function<void()> onPressure)
    : source_(std::move(source)), onPressure_(std::move(onPressure)), wake_(eventfd(0, EFD_CLOEXEC)) {
  if (!source_ || wake_ < 0) platform::fatalError("MemoryPressureMonitor: no source, or no eventfd");
  thread_ = std::thread([this] { watch(); });
}

MemoryPressureMonitor::~MemoryPressureMonitor() {
  const uint64_t one = 1;
  if (write(wake_, &one, sizeof one) < 0) platform::fatalError("MemoryPressureMonitor: cannot wake its thread");
  thread_.join();
  close(wake_);
}

void MemoryPressureMonitor::watch() {
  pollfd waits[2] = {{source_->descriptor(), source_->events(), 0}, {wake_, POLLIN, 0}};
  while (true) {
    if (poll(waits, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (waits[1].revents) return;  // stopping
    const short failed = POLLERR | POLLHUP | POLLNVAL;
    if (waits[0].revents & waits[0].events) {
      source_->consume();
      if (onPressure_) onPressure_();
    } else if (waits[0].revents & failed) {
      break;
    }
  }
  watching_ = false;
}

}  // namespace platform::system
