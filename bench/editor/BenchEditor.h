#pragma once
// The editor window as tamrix-editor's main builds it (the main queue on Qt's event
// loop, display links paced to the screen, the container, the file's content, the sound
// on Qt Multimedia, a 430 x 860 window shown and activated; not the memory-pressure
// watch, whose thread only sleeps), and a watch on its preview surface that tells when
// a frame newer than the last one painted is on the screen.
// Needs the QApplication. Main thread only.
#include <QEventLoop>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

#include "Halvane/Editor/AppContainer.h"
#include "Halvane/Editor/Widgets/MediaViewController.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "Platform/Qt/QtMainQueue.h"

namespace bench {

using Clock = std::chrono::steady_clock;

// The process's CPU time so far, all threads.
std::chrono::nanoseconds processCpuTime();

struct FrameTimes {
  // When the preview surface began to paint the new frame.
  Clock::time_point paintBegan;
  // When the event loop came back after the paint, so the window's pixels had been
  // flushed to the display.
  Clock::time_point flushed;
  std::chrono::nanoseconds cpuAtFlush{};
};

// When each step of building the window ended, in main's order.
struct BuildTimes {
  Clock::time_point containerMade;  // the engine started
  Clock::time_point contentRead;    // the file decoded
  Clock::time_point editorBuilt;    // the views built, the photo uploaded, the window shown
};

class BenchEditor : public QObject {
 public:
  explicit BenchEditor(const QString& file);
  ~BenchEditor() override;

  halvane::editor::MediaViewController& editor() { return *editor_; }
  const BuildTimes& buildTimes() const { return buildTimes_; }

  // Runs the event loop until a frame newer than the last one painted has been painted
  // and flushed, or until `limit` has passed (then none).
  std::optional<FrameTimes> waitForNewFrame(Clock::duration limit);
  // Runs the event loop until no new frame has been painted for `quiet`.
  void settle(Clock::duration quiet);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  std::shared_ptr<platform::qt::QtMainQueue> mainQueue_;
  std::shared_ptr<platform::qt::QtDisplayLinkDriver> displayLinks_;
  std::shared_ptr<halvane::AppContainer> container_;
  std::unique_ptr<halvane::editor::MediaViewController> editor_;
  BuildTimes buildTimes_;
  qint64 paintedFrameKey_ = 0;
  std::optional<FrameTimes> newFrame_;
  QEventLoop* waiting_ = nullptr;
};

}  // namespace bench
