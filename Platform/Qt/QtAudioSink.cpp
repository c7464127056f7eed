#include "Platform/Qt/QtAudioSink.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QCoreApplication>
#include <QIODevice>
#include <QMediaDevices>
#include <QMetaObject>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <mutex>
#include <vector>

#include "Platform/Dispatch/MediaClock.h"
#include "Platform/Qt/AudioClock.h"
#include "Platform/Qt/SampleRing.h"

namespace platform::qt {
namespace {
// What write() may queue ahead of the device, in seconds.
constexpr double kRingSeconds = 0.2;
// How often the audio thread tops up the device.
constexpr int kFeedIntervalMs = 5;
}  // namespace

// Everything the audio thread touches. The QAudioSink, its QIODevice and the feed
// timer are used on that thread only; the ring and the clock under their own locks.
// Work queued to the thread may hold the Device by address: the destructor's blocking
// call runs after all of it, and deleting `context` discards anything later.
struct QtAudioSink::Device {
  QThread thread;
  QObject* context = nullptr;  // lives on `thread`; parent of the Qt objects below
  QAudioSink* sink = nullptr;
  QIODevice* output = nullptr;
  QTimer* feedTimer = nullptr;
  std::unique_ptr<SampleRing> ring;
  int sampleRate = 0;
  std::int64_t framesWritten = 0;  // to the device since the last resume or flush
  std::vector<float> chunk;

  mutable std::mutex clockMutex;
  AudioClock clock;
  bool playing = false;

  std::atomic<float> volume{1.0f};

  // Qt runs no event loop on a thread before the application object exists; without
  // one (a command-line host) the sink never opens.
  Device() {
    if (!QCoreApplication::instance()) return;
    thread.setObjectName("audio");
    context = new QObject();
    context->moveToThread(&thread);
    thread.start();
  }

  ~Device() {
    if (!context) return;
    runBlocking([this] {
      stopDevice();
      delete context;
    });
    thread.quit();
    thread.wait();
  }

  template <typename F>
  void runBlocking(F&& work) {
    if (context) QMetaObject::invokeMethod(context, std::forward<F>(work), Qt::BlockingQueuedConnection);
  }
  template <typename F>
  void runLater(F&& work) {
    if (context) QMetaObject::invokeMethod(context, std::forward<F>(work), Qt::QueuedConnection);
  }

  // --- on the audio thread ---

  bool startDevice(int rate, int channels) {
    stopDevice();
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull()) return false;
    QAudioFormat format;
    format.setSampleRate(rate);
    format.setChannelCount(channels);
    format.setSampleFormat(QAudioFormat::Float);
    if (!device.isFormatSupported(format)) return false;
    sink = new QAudioSink(device, format, context);
    sink->setVolume(volume.load());
    output = sink->start();
    if (!output || sink->error() != QAudio::NoError) {
      stopDevice();
      return false;
    }
    // Not suspended until there is sound to hold: a stream suspended before it ever
    // played waits about a second for its resume on PulseAudio. Until the first
    // resume nothing is fed (see feed).
    ring = std::make_unique<SampleRing>(std::size_t(rate * kRingSeconds), channels);
    sampleRate = rate;
    framesWritten = 0;
    feedTimer = new QTimer(context);
    feedTimer->setTimerType(Qt::PreciseTimer);
    QObject::connect(feedTimer, &QTimer::timeout, context, [this] { feed(); });
    feedTimer->start(kFeedIntervalMs);
    return true;
  }

  void stopDevice() {
    if (feedTimer) {
      feedTimer->stop();
      delete feedTimer;
      feedTimer = nullptr;
    }
    if (sink) {
      sink->stop();
      delete sink;
      sink = nullptr;
      output = nullptr;
    }
    std::lock_guard lock(clockMutex);
    playing = false;
  }

  void feed() {
    if (!sink || !output || !ring) return;
    {
      std::lock_guard lock(clockMutex);
      if (!playing) return;
    }
    const int channels = ring->channels();
    const std::size_t frameBytes = sizeof(float) * std::size_t(channels);
    const std::size_t room = std::size_t(std::max<qsizetype>(sink->bytesFree(), 0)) / frameBytes;
    if (room > 0) {
      chunk.resize(room * std::size_t(channels));
      const std::size_t frames = ring->read(chunk.data(), room);
      if (frames > 0) {
        output->write(reinterpret_cast<const char*>(chunk.data()), qint64(frames * frameBytes));
        framesWritten += std::int64_t(frames);
      }
    }
    // What the device holds is written but not yet heard.
    const std::int64_t buffered =
        std::int64_t(std::max<qsizetype>(sink->bufferSize() - sink->bytesFree(), 0)) / std::int64_t(frameBytes);
    std::lock_guard lock(clockMutex);
    clock.observe(dispatch::mediaTime(), std::max<std::int64_t>(framesWritten - buffered, 0), sampleRate);
  }

  void setPaused(bool paused) {
    if (!sink) return;
    {
      std::lock_guard lock(clockMutex);
      if (playing == !paused) return;
      playing = !paused;
      if (playing) clock.resumed(dispatch::mediaTime());
    }
    // Suspending keeps what the device holds, to be heard on resume.
    if (paused) {
      sink->suspend();
    } else {
      framesWritten = 0;
      if (sink->state() == QAudio::SuspendedState) sink->resume();
      feed();
    }
  }

  void flush() {
    if (ring) ring->clear();
    if (!sink) return;
    // What the device already holds (its buffer, about a tenth of a second) plays out: on
    // PulseAudio a stream reset and restarted stalls for half a second or more, and
    // a new stream runs ahead of real time for a while. The clock counts from here.
    framesWritten = 0;
    std::lock_guard lock(clockMutex);
    if (playing) clock.resumed(dispatch::mediaTime());
  }
};

QtAudioSink::QtAudioSink() : device_(std::make_unique<Device>()) {}

QtAudioSink::~QtAudioSink() = default;

bool QtAudioSink::open(int sampleRate, int channels) {
  if (sampleRate <= 0 || channels <= 0) return false;
  bool opened = false;
  device_->runBlocking([device = device_.get(), sampleRate, channels, &opened] {
    opened = device->startDevice(sampleRate, channels);
  });
  return opened;
}

void QtAudioSink::close() {
  device_->runBlocking([device = device_.get()] { device->stopDevice(); });
}

std::size_t QtAudioSink::write(const float* interleaved, std::size_t frames) {
  // The ring is made and replaced by open(), which the same (decoding) thread calls.
  return device_->ring ? device_->ring->write(interleaved, frames) : 0;
}

void QtAudioSink::flush() {
  device_->runBlocking([device = device_.get()] { device->flush(); });
}

void QtAudioSink::setPaused(bool paused) {
  device_->runLater([device = device_.get(), paused] { device->setPaused(paused); });
}

void QtAudioSink::setVolume(float volume) {
  device_->volume = std::clamp(volume, 0.0f, 1.0f);
  device_->runLater([device = device_.get()] {
    if (device->sink) device->sink->setVolume(device->volume.load());
  });
}

double QtAudioSink::clock() const {
  std::lock_guard lock(device_->clockMutex);
  return device_->clock.read(dispatch::mediaTime());
}

}  // namespace platform::qt
