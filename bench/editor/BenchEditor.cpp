#include "BenchEditor.h"

#include <QEvent>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <ctime>

#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "MediaFile.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Qt/QtAudioSink.h"

namespace bench {

namespace {

constexpr QSize kPhoneWindowSize{430, 860};

}  // namespace

std::chrono::nanoseconds processCpuTime() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

BenchEditor::BenchEditor(const QString& file)
    : mainQueue_(std::make_shared<platform::qt::QtMainQueue>()),
      displayLinks_(platform::qt::QtDisplayLinkDriver::create()) {
  platform::dispatch::MainQueue::setShared(mainQueue_);
  platform::dispatch::setDisplayLinkFactory(displayLinks_->factory());
  container_ = halvane::AppContainer::create(halvane::HalvaneConfig{});
  buildTimes_.containerMade = Clock::now();
  const QFileInfo info(file);
  auto content = tamrix::mediaContentForFile(info.absoluteFilePath().toStdString());
  buildTimes_.contentRead = Clock::now();
  editor_ = std::make_unique<halvane::editor::MediaViewController>(
      std::move(content), container_,
      halvane::editor::MediaViewOptions{.mainQueue = mainQueue_,
                                        .audioSink = std::make_shared<platform::qt::QtAudioSink>(),
                                        .sourceName = info.fileName().toStdString()});
  editor_->setWindowTitle(info.fileName());
  editor_->resize(kPhoneWindowSize);
  if (auto* preview = editor_->preview()) preview->surface()->installEventFilter(this);
  editor_->show();
  editor_->activateWindow();
  buildTimes_.editorBuilt = Clock::now();
}

BenchEditor::~BenchEditor() {
  editor_.reset();
  container_.reset();
  platform::dispatch::setDisplayLinkFactory(nullptr);
  platform::dispatch::MainQueue::setShared(nullptr);
}

bool BenchEditor::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::Paint) return false;
  const auto* preview = editor_->preview();
  if (!preview || watched != preview->surface()) return false;
  const QImage& frame = preview->surface()->shownFrame();
  if (frame.isNull() || frame.cacheKey() == paintedFrameKey_) return false;
  paintedFrameKey_ = frame.cacheKey();
  const auto began = Clock::now();
  // A zero timer fires once the paint in progress and the window's flush are done.
  QTimer::singleShot(0, this, [this, began] {
    newFrame_ = FrameTimes{began, Clock::now(), processCpuTime()};
    if (waiting_) waiting_->quit();
  });
  return false;
}

std::optional<FrameTimes> BenchEditor::waitForNewFrame(Clock::duration limit) {
  newFrame_.reset();
  QEventLoop loop;
  QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(limit), &loop, &QEventLoop::quit);
  waiting_ = &loop;
  loop.exec();
  waiting_ = nullptr;
  return std::exchange(newFrame_, std::nullopt);
}

void BenchEditor::settle(Clock::duration quiet) {
  while (waitForNewFrame(quiet)) {
  }
}

}  // namespace bench
