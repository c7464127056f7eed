#include "Platform/Media/Player.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Media/FfmpegSupport.h"
#include "Platform/Media/PlaybackTimeline.h"

namespace platform::media {
namespace detail {

namespace {
// Decoded frames kept ready per output: enough to ride over a slow frame, small
// enough that a seek or a new state throws little away.
constexpr std::size_t kFramesAhead = 3;
// Decoded sound kept ahead of the device, in seconds.
constexpr double kAudioAhead = 0.3;
// Video packets read ahead while the sound needs data and the frame queue is full.
constexpr std::size_t kMaxQueuedPackets = 256;
constexpr std::int32_t kClockTimescale = 1'000'000'000;

using Work = std::function<void()>;

void runOnMain(std::vector<Work>& works) {
  auto main = dispatch::MainQueue::shared();
  for (Work& work : works) {
    if (main) main->async(std::move(work));
    else work();
  }
  works.clear();
}
}  // namespace

struct VideoOutputState {
  std::mutex mutex;
  std::deque<PixelBuffer> frames;
  std::weak_ptr<PlayerCore> core;  // set while its item is a player's current item
};

struct PlayerItemState {
  mutable std::mutex mutex;
  std::vector<std::shared_ptr<VideoOutputState>> outputs;
  PlayerItem::Status status = PlayerItem::Status::unknown;
  std::optional<MediaError> error;
};

// One item's demuxer and decoders, owned by the worker thread.
struct PlaybackSession {
  av::FormatContextPtr format;
  AVStream* video = nullptr;
  AVStream* audio = nullptr;
  av::CodecContextPtr videoDecoder, audioDecoder;
  av::BgraConverter bgra;
  av::PcmConverter pcm;
  std::vector<std::shared_ptr<VideoOutputState>> outputs;
  MediaTime duration = MediaTime::invalid();
  int sampleRate = 0, channels = 0;
  bool audioActive = false;

  std::deque<av::PacketPtr> videoPackets;
  bool demuxEnded = false, videoFlushed = false, videoEnded = false, audioFlushed = false;
  av::FramePtr frame = av::makeFrame();
  av::FramePtr held;  // during a seek: the last frame before the target
  bool dropping = false;
  MediaTime target = MediaTime::invalid();
  MediaTime audioStart = MediaTime::zero();  // sound before it is not played
  std::vector<float> audioPending;
  std::size_t audioOffset = 0;
  bool sinkPaused = true;

  std::size_t pendingAudioFrames() const {
    return channels ? (audioPending.size() - audioOffset) / std::size_t(channels) : 0;
  }
};

struct PlayerCore {
  struct Boundary {
    Player::TimeObserverToken token;
    std::vector<MediaTime> times;
    std::function<void()> block;
  };

  std::shared_ptr<AudioSink> sink;
  Player* owner = nullptr;  // main thread only
  mutable std::mutex mutex;
  std::condition_variable wake;
  bool quit = false;

  std::shared_ptr<PlayerItem> item;
  std::uint64_t itemGeneration = 0;
  PlaybackTimeline timeline;
  float volume = 1;
  MediaTime seekTarget = MediaTime::zero();
  std::uint64_t seekGeneration = 0;
  std::function<void(bool)> seekCompletion;
  ActionAtItemEnd action = ActionAtItemEnd::pause;
  std::vector<Boundary> boundaries;
  Player::TimeObserverToken nextToken = 1;

  std::thread worker;
  std::weak_ptr<PlayerCore> self;

  void clearOutputsLocked() {
    if (!item) return;
    std::lock_guard itemLock(item->state_->mutex);
    for (auto& output : item->state_->outputs) {
      std::lock_guard lock(output->mutex);
      output->frames.clear();
    }
  }

  // --- worker ---

  void run();
  std::unique_ptr<PlaybackSession> openSession(const std::shared_ptr<PlayerItem>& item);
  bool step(PlaybackSession& session, std::uint64_t itemGen, std::vector<Work>& posts);
  void startSeek(PlaybackSession& session, MediaTime target);
  void readPacket(PlaybackSession& session);
  void decodeAudio(PlaybackSession& session, const AVPacket* packet);
  void handleVideoFrame(PlaybackSession& session, AVFrame* frame, std::uint64_t itemGen, std::vector<Work>& posts);
  void pushFrame(PlaybackSession& session, const AVFrame* frame, std::uint64_t itemGen);
  void finishSeek(std::uint64_t itemGen, std::vector<Work>& posts);
  void checkEventsLocked(std::vector<Work>& posts);
};

std::unique_ptr<PlaybackSession> PlayerCore::openSession(const std::shared_ptr<PlayerItem>& playerItem) {
  auto fail = [&](const MediaError& error) {
    std::lock_guard lock(playerItem->state_->mutex);
    playerItem->state_->status = PlayerItem::Status::failed;
    playerItem->state_->error = error;
    return nullptr;
  };
  auto info = playerItem->asset()->loadNow();
  if (!info) return fail(info.error());
  auto format = av::openInput(playerItem->asset()->path());
  if (!format) return fail(format.error());
  auto session = std::make_unique<PlaybackSession>();
  session->format = std::move(format.value());
  {
    std::lock_guard lock(playerItem->state_->mutex);
    session->outputs = playerItem->state_->outputs;
  }
  AVFormatContext* context = session->format.get();
  const auto videoTracks = info->tracksOfType(MediaType::video);
  const auto audioTracks = info->tracksOfType(MediaType::audio);
  if (!videoTracks.empty() && !session->outputs.empty()) {
    session->video = context->streams[videoTracks.front().trackID];
    auto decoder = av::openDecoder(session->video);
    if (!decoder) return fail(decoder.error());
    session->videoDecoder = std::move(decoder.value());
  }
  if (!audioTracks.empty()) {
    AVStream* stream = context->streams[audioTracks.front().trackID];
    auto decoder = av::openDecoder(stream);
    if (decoder && sink->open(stream->codecpar->sample_rate, stream->codecpar->ch_layout.nb_channels)) {
      session->audio = stream;
      session->audioDecoder = std::move(decoder.value());
      session->sampleRate = stream->codecpar->sample_rate;
      session->channels = stream->codecpar->ch_layout.nb_channels;
      session->audioActive = true;
      float currentVolume;
      {
        std::lock_guard lock(mutex);
        currentVolume = volume;
      }
      sink->setVolume(currentVolume);
      sink->setPaused(true);
    }
  }
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const bool used = context->streams[i] == session->video || context->streams[i] == session->audio;
    context->streams[i]->discard = used ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  if (info->duration > 0) session->duration = MediaTime::fromSeconds(info->duration, kClockTimescale);
  if (!session->video) session->videoEnded = true;
  {
    std::lock_guard lock(playerItem->state_->mutex);
    playerItem->state_->status = PlayerItem::Status::readyToPlay;
  }
  return session;
}

void PlayerCore::startSeek(PlaybackSession& session, MediaTime target) {
  AVStream* stream = session.video ? session.video : session.audio;
  if (stream) {
    const std::int64_t timestamp = av::timestampFromTime(target, stream->time_base);
    if (av_seek_frame(session.format.get(), stream->index, timestamp, AVSEEK_FLAG_BACKWARD) < 0)
      av_seek_frame(session.format.get(), stream->index, INT64_MIN, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  }
  if (session.videoDecoder) avcodec_flush_buffers(session.videoDecoder.get());
  if (session.audioDecoder) avcodec_flush_buffers(session.audioDecoder.get());
  session.videoPackets.clear();
  session.demuxEnded = session.videoFlushed = session.audioFlushed = false;
  session.videoEnded = !session.video;
  session.held.reset();
  session.dropping = true;
  session.target = target;
  session.audioStart = target;
  session.audioPending.clear();
  session.audioOffset = 0;
  if (session.audioActive) sink->flush();
}

void PlayerCore::decodeAudio(PlaybackSession& session, const AVPacket* packet) {
  AVCodecContext* decoder = session.audioDecoder.get();
  avcodec_send_packet(decoder, packet);  // a damaged packet costs its sound only
  while (avcodec_receive_frame(decoder, session.frame.get()) == 0) {
    auto samples = session.pcm.convert(session.frame.get());
    const MediaTime time = av::timeFromTimestamp(session.frame->best_effort_timestamp, session.audio->time_base);
    av_frame_unref(session.frame.get());
    if (!samples || session.pcm.channels() != session.channels) continue;
    std::size_t skip = 0;
    if (time.isValid() && time < session.audioStart) {
      // Sound before the seek target (or before 0: an encoder's priming) is dropped, to
      // the sample.
      const double late = session.audioStart.seconds() - time.seconds();
      skip = std::min(samples->size(), std::size_t(late * session.sampleRate + 0.5) * std::size_t(session.channels));
    }
    session.audioPending.insert(session.audioPending.end(), samples->begin() + std::ptrdiff_t(skip), samples->end());
  }
}

void PlayerCore::readPacket(PlaybackSession& session) {
  av::PacketPtr packet = av::makePacket();
  const int status = av_read_frame(session.format.get(), packet.get());
  if (status < 0) {
    session.demuxEnded = true;  // the end, or a read error: both end the item's data
    return;
  }
  if (session.video && packet->stream_index == session.video->index) {
    session.videoPackets.push_back(std::move(packet));
  } else if (session.audio && packet->stream_index == session.audio->index) {
    decodeAudio(session, packet.get());
  }
}

void PlayerCore::pushFrame(PlaybackSession& session, const AVFrame* frame, std::uint64_t itemGen) {
  std::int64_t pts = frame->best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) pts = frame->pts;
  auto buffer = session.bgra.convert(frame, av::timeFromTimestamp(pts, session.video->time_base));
  if (!buffer) return;  // a frame that can't be converted is skipped
  std::lock_guard lock(mutex);
  if (itemGen != itemGeneration) return;
  for (auto& output : session.outputs) {
    std::lock_guard outputLock(output->mutex);
    output->frames.push_back(*buffer);
  }
}

void PlayerCore::finishSeek(std::uint64_t itemGen, std::vector<Work>& posts) {
  std::lock_guard lock(mutex);
  if (itemGen != itemGeneration || !timeline.isSeeking()) return;
  timeline.finishSeek(sink->clock());
  if (auto completion = std::move(seekCompletion)) posts.push_back([completion] { completion(true); });
  seekCompletion = nullptr;
}

void PlayerCore::handleVideoFrame(PlaybackSession& session, AVFrame* frame, std::uint64_t itemGen,
                                  std::vector<Work>& posts) {
  if (!session.dropping) {
    pushFrame(session, frame, itemGen);
    return;
  }
  std::int64_t pts = frame->best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) pts = frame->pts;
  const MediaTime time = av::timeFromTimestamp(pts, session.video->time_base);
  if (time.isValid() && time < session.target) {
    // Might be the frame shown at the target: keep it until the next one says.
    if (!session.held) session.held = av::makeFrame();
    av_frame_unref(session.held.get());
    av_frame_ref(session.held.get(), frame);
    return;
  }
  if (session.held && !(time.isValid() && time == session.target)) pushFrame(session, session.held.get(), itemGen);
  session.held.reset();
  pushFrame(session, frame, itemGen);
  session.dropping = false;
  finishSeek(itemGen, posts);
}

bool PlayerCore::step(PlaybackSession& session, std::uint64_t itemGen, std::vector<Work>& posts) {
  float currentRate;
  bool currentlySeeking;
  {
    std::lock_guard lock(mutex);
    currentRate = timeline.rate();
    currentlySeeking = timeline.isSeeking();
  }
  bool worked = false;
  if (session.audioActive) {
    const bool play = currentRate == 1.0f && !currentlySeeking;
    if (play == session.sinkPaused) {
      session.sinkPaused = !play;
      sink->setPaused(!play);
    }
    if (play && session.pendingAudioFrames() > 0) {
      const std::size_t taken = sink->write(session.audioPending.data() + session.audioOffset,
                                            session.pendingAudioFrames());
      if (taken > 0) worked = true;
      session.audioOffset += taken * std::size_t(session.channels);
      if (session.audioOffset == session.audioPending.size()) {
        session.audioPending.clear();
        session.audioOffset = 0;
      }
    } else if (currentRate != 0 && currentRate != 1.0f) {
      session.audioPending.clear();  // no sound at other rates
      session.audioOffset = 0;
    }
  }

  bool needVideo = !session.videoEnded;
  for (auto& output : session.outputs) {
    std::lock_guard lock(output->mutex);
    if (output->frames.size() >= kFramesAhead) needVideo = false;
  }
  if (session.dropping) needVideo = !session.videoEnded;  // a seek always runs to its frame
  const bool needAudio = session.audioActive && !session.demuxEnded &&
                         session.pendingAudioFrames() < std::size_t(kAudioAhead * session.sampleRate) &&
                         session.videoPackets.size() < kMaxQueuedPackets;

  if (needVideo) {
    AVCodecContext* decoder = session.videoDecoder.get();
    const int received = avcodec_receive_frame(decoder, session.frame.get());
    if (received == 0) {
      handleVideoFrame(session, session.frame.get(), itemGen, posts);
      av_frame_unref(session.frame.get());
      return true;
    }
    if (received != AVERROR(EAGAIN)) {
      // The end of the stream (or a decoder that gave up): no more frames.
      session.videoEnded = true;
      if (session.dropping) {
        if (session.held) pushFrame(session, session.held.get(), itemGen);
        session.held.reset();
        session.dropping = false;
        finishSeek(itemGen, posts);
      }
      return true;
    }
    if (!session.videoPackets.empty()) {
      avcodec_send_packet(decoder, session.videoPackets.front().get());
      session.videoPackets.pop_front();
    } else if (!session.demuxEnded) {
      readPacket(session);
    } else if (!session.videoFlushed) {
      avcodec_send_packet(decoder, nullptr);
      session.videoFlushed = true;
    }
    return true;
  }
  if (session.dropping && session.videoEnded) {
    session.dropping = false;  // no picture to wait for
    finishSeek(itemGen, posts);
    worked = true;
  }
  if (needAudio) {
    readPacket(session);
    return true;
  }
  if (session.audioActive && session.demuxEnded && !session.audioFlushed) {
    session.audioFlushed = true;
    decodeAudio(session, nullptr);
    worked = true;
  }
  return worked;
}

void PlayerCore::checkEventsLocked(std::vector<Work>& posts) {
  const PlaybackTimeline::Passage passage =
      timeline.advance(sink->clock(), action != ActionAtItemEnd::none);
  for (const Boundary& boundary : boundaries) {
    for (const MediaTime& time : boundary.times) {
      if (passage.passed(time)) {
        posts.push_back([weak = self, token = boundary.token] {
          auto core = weak.lock();
          if (!core) return;
          std::function<void()> block;
          {
            std::lock_guard lock(core->mutex);
            for (const Boundary& b : core->boundaries)
              if (b.token == token) block = b.block;
          }
          if (block) block();
        });
      }
    }
  }
  if (passage.reachedEnd) {
    posts.push_back([weak = self, generation = itemGeneration, sender = static_cast<const void*>(item.get())] {
      auto core = weak.lock();
      if (!core || !core->owner) return;
      {
        std::lock_guard lock(core->mutex);
        if (core->itemGeneration != generation) return;
      }
      dispatch::NotificationCenter::defaultCenter().post(kPlayerItemDidPlayToEndTimeNotification, sender);
    });
  }
}

void PlayerCore::run() {
  std::unique_ptr<PlaybackSession> session;
  std::uint64_t sessionGeneration = 0;
  std::uint64_t handledSeek = 0;
  std::vector<Work> posts;
  std::unique_lock lock(mutex);
  while (!quit) {
    if (sessionGeneration != itemGeneration) {
      const auto wanted = item;
      const std::uint64_t generation = itemGeneration;
      lock.unlock();
      if (session && session->audioActive) {
        sink->flush();
        sink->close();
      }
      session.reset();
      if (wanted) session = openSession(wanted);
      lock.lock();
      sessionGeneration = generation;
      if (generation != itemGeneration) continue;  // overtaken while opening
      if (session) timeline.itemReady(session->duration, sink->clock());
      continue;
    }
    if (session && timeline.isSeeking() && handledSeek != seekGeneration) {
      handledSeek = seekGeneration;
      const MediaTime target = seekTarget;
      lock.unlock();
      startSeek(*session, target);
      lock.lock();
      continue;
    }
    checkEventsLocked(posts);
    const bool playing = timeline.rate() != 0;
    bool worked = false;
    if (session) {
      lock.unlock();
      runOnMain(posts);
      worked = step(*session, sessionGeneration, posts);
      runOnMain(posts);
      lock.lock();
    } else if (!posts.empty()) {
      lock.unlock();
      runOnMain(posts);
      lock.lock();
    }
    // Poll while playing: boundaries and the item's end follow the clock, which runs
    // on its own.
    if (!worked && !quit) wake.wait_for(lock, playing ? std::chrono::milliseconds(4) : std::chrono::milliseconds(20));
  }
  lock.unlock();
  if (session && session->audioActive) {
    sink->flush();
    sink->close();
  }
}

}  // namespace detail

// --- PlayerItemVideoOutput ---

PlayerItemVideoOutput::PlayerItemVideoOutput() : state_(std::make_shared<detail::VideoOutputState>()) {}

MediaTime PlayerItemVideoOutput::itemTime(double hostTime) const {
  std::shared_ptr<detail::PlayerCore> core;
  {
    std::lock_guard lock(state_->mutex);
    core = state_->core.lock();
  }
  if (!core) return MediaTime::invalid();
  std::lock_guard lock(core->mutex);
  return core->timeline.timeAt(hostTime);
}

bool PlayerItemVideoOutput::hasNewPixelBuffer(MediaTime itemTime) const {
  std::lock_guard lock(state_->mutex);
  return !state_->frames.empty() && state_->frames.front().presentationTime() <= itemTime;
}

PixelBuffer PlayerItemVideoOutput::copyPixelBuffer(MediaTime itemTime) {
  PixelBuffer result;
  std::shared_ptr<detail::PlayerCore> core;
  {
    std::lock_guard lock(state_->mutex);
    while (!state_->frames.empty() && state_->frames.front().presentationTime() <= itemTime) {
      result = std::move(state_->frames.front());
      state_->frames.pop_front();
    }
    core = state_->core.lock();
  }
  if (result && core) {
    std::lock_guard lock(core->mutex);  // room in the queue: let the worker decode on
    core->wake.notify_all();
  }
  return result;
}

// --- PlayerItem ---

PlayerItem::PlayerItem(std::shared_ptr<Asset> asset)
    : asset_(std::move(asset)), state_(std::make_shared<detail::PlayerItemState>()) {}

std::shared_ptr<PlayerItem> PlayerItem::make(std::shared_ptr<Asset> asset) {
  return std::shared_ptr<PlayerItem>(new PlayerItem(std::move(asset)));
}

void PlayerItem::addOutput(std::shared_ptr<PlayerItemVideoOutput> output) {
  std::lock_guard lock(state_->mutex);
  state_->outputs.push_back(output->state_);
}

PlayerItem::Status PlayerItem::status() const {
  std::lock_guard lock(state_->mutex);
  return state_->status;
}

std::optional<MediaError> PlayerItem::error() const {
  std::lock_guard lock(state_->mutex);
  return state_->error;
}

// --- Player ---

Player::Player(std::shared_ptr<AudioSink> audioSink) : core_(std::make_shared<detail::PlayerCore>()) {
  av::initialize();
  core_->sink = audioSink ? std::move(audioSink) : std::make_shared<SilentAudioSink>();
  core_->owner = this;
  core_->self = core_;
  core_->timeline.reset(core_->sink->clock());
  core_->worker = std::thread([core = core_.get()] { core->run(); });
}

Player::~Player() {
  core_->owner = nullptr;
  {
    std::lock_guard lock(core_->mutex);
    core_->quit = true;
    core_->wake.notify_all();
  }
  core_->worker.join();
  replaceCurrentItem(nullptr);
}

void Player::replaceCurrentItem(std::shared_ptr<PlayerItem> item) {
  std::function<void(bool)> overtaken;
  {
    std::lock_guard lock(core_->mutex);
    if (core_->item) {
      core_->clearOutputsLocked();
      std::lock_guard itemLock(core_->item->state_->mutex);
      for (auto& output : core_->item->state_->outputs) {
        std::lock_guard outputLock(output->mutex);
        output->core.reset();
      }
    }
    core_->item = std::move(item);
    ++core_->itemGeneration;
    core_->timeline.reset(core_->sink->clock());
    overtaken = std::move(core_->seekCompletion);
    core_->seekCompletion = nullptr;
    if (core_->item) {
      std::lock_guard itemLock(core_->item->state_->mutex);
      for (auto& output : core_->item->state_->outputs) {
        std::lock_guard outputLock(output->mutex);
        output->frames.clear();
        output->core = core_;
      }
    }
    core_->wake.notify_all();
  }
  if (overtaken) {
    std::vector<detail::Work> posts{[overtaken] { overtaken(false); }};
    detail::runOnMain(posts);
  }
}

std::shared_ptr<PlayerItem> Player::currentItem() const {
  std::lock_guard lock(core_->mutex);
  return core_->item;
}

float Player::rate() const {
  std::lock_guard lock(core_->mutex);
  return core_->timeline.rate();
}

void Player::setRate(float rate) {
  std::lock_guard lock(core_->mutex);
  core_->timeline.setRate(rate, core_->sink->clock());
  core_->wake.notify_all();
}

float Player::volume() const {
  std::lock_guard lock(core_->mutex);
  return core_->volume;
}

void Player::setVolume(float volume) {
  {
    std::lock_guard lock(core_->mutex);
    core_->volume = volume;
  }
  core_->sink->setVolume(volume);
}

MediaTime Player::currentTime() const {
  std::lock_guard lock(core_->mutex);
  return core_->timeline.timeAt(core_->sink->clock());
}

ActionAtItemEnd Player::actionAtItemEnd() const {
  std::lock_guard lock(core_->mutex);
  return core_->action;
}

void Player::setActionAtItemEnd(ActionAtItemEnd action) {
  std::lock_guard lock(core_->mutex);
  core_->action = action;
}

void Player::seek(MediaTime time, std::function<void(bool)> completion) {
  std::vector<detail::Work> posts;
  {
    std::lock_guard lock(core_->mutex);
    if (auto overtaken = std::move(core_->seekCompletion)) posts.push_back([overtaken] { overtaken(false); });
    core_->seekCompletion = nullptr;
    if (!core_->item || !time.isValid()) {
      if (completion) posts.push_back([completion] { completion(false); });
    } else {
      ++core_->seekGeneration;
      core_->seekTarget = core_->timeline.beginSeek(time, core_->sink->clock());
      core_->seekCompletion = std::move(completion);
      core_->clearOutputsLocked();
      core_->wake.notify_all();
    }
  }
  detail::runOnMain(posts);
}

Player::TimeObserverToken Player::addBoundaryTimeObserver(std::vector<MediaTime> times, std::function<void()> block) {
  std::lock_guard lock(core_->mutex);
  const TimeObserverToken token = core_->nextToken++;
  core_->boundaries.push_back({token, std::move(times), std::move(block)});
  return token;
}

void Player::removeTimeObserver(TimeObserverToken token) {
  std::lock_guard lock(core_->mutex);
  std::erase_if(core_->boundaries, [token](const detail::PlayerCore::Boundary& b) { return b.token == token; });
}

}  // namespace platform::media
