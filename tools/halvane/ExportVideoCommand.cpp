#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "Command.h"
#include "EditArguments.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/RunLoopMainQueue.h"
#include "Platform/Media/Asset.h"

namespace halvane::cli {

namespace {

// The exit status of a run stopped by Ctrl-C, as a shell reports it.
constexpr int kInterruptedStatus = 128 + SIGINT;

volatile std::sig_atomic_t interrupted = 0;
void noteInterrupt(int) { interrupted = 1; }

// Ctrl-C asks for a clean cancel instead of killing the process, while this lives.
class InterruptGuard {
 public:
  InterruptGuard() {
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = noteInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previous_);
  }
  ~InterruptGuard() { sigaction(SIGINT, &previous_, nullptr); }
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

 private:
  struct sigaction previous_ {};
};

// A bar on stderr, drawn only when stderr is a terminal.
class ProgressBar {
 public:
  ProgressBar() : enabled_(::isatty(STDERR_FILENO) == 1) {}
  void show(float fraction) {
    if (!enabled_) return;
    constexpr int kWidth = 40;
    const int filled = std::clamp(int(fraction * kWidth + 0.5f), 0, kWidth);
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(kWidth - filled), ' ').c_str(), int(fraction * 100 + 0.5f));
    std::fflush(stderr);
    drawn_ = true;
  }
  void end() {
    if (drawn_) std::fprintf(stderr, "\n");
    drawn_ = false;
  }

 private:
  bool enabled_;
  bool drawn_ = false;
};

VideoExportPreset parsePreset(const std::string& name) {
  if (name == "social") return VideoExportPreset::social;
  if (name == "balanced") return VideoExportPreset::balanced;
  if (name == "maxQuality") return VideoExportPreset::maxQuality;
  throw UsageError("unknown preset '" + name + "' (social, balanced or maxQuality)");
}

bool hasMovExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return extension == ".mov";
}

// Runs the export on a run-loop main queue until its completion; Ctrl-C cancels it.
VideoExportResult runExport(const std::string& input, const std::string& output, const EditState& state,
                            VideoExportPreset preset) {
  auto queue = std::make_shared<platform::dispatch::RunLoopMainQueue>();
  platform::dispatch::MainQueue::setShared(queue);
  std::optional<VideoExportResult> result;
  {
    auto renderer = VideoRenderer::create(RenderingEngine::create());
    renderer->setAsset(platform::media::Asset::make(input));
    ProgressBar bar;
    InterruptGuard guard;
    std::function<void()> watchForInterrupt = [&] {
      if (interrupted) {
        renderer->cancelExport();
        return;
      }
      if (!result) queue->asyncAfter(std::chrono::milliseconds(50), watchForInterrupt);
    };
    queue->async([&] {
      renderer->exportVideo(
          output, state, preset, [&bar](float progress) { bar.show(progress); },
          [&](VideoExportResult outcome) {
            result = std::move(outcome);
            queue->stop();
          });
      watchForInterrupt();
    });
    std::printf("exporting %s to %s\n", input.c_str(), output.c_str());
    std::fflush(stdout);
    queue->run();
    bar.end();
  }
  platform::dispatch::MainQueue::setShared(nullptr);
  return std::move(*result);
}

}  // namespace

// Renders a video with an edit through the editor's export loop (reader, GPU, writer)
// into an HEVC QuickTime movie. The movie appears only when complete; a failure or
// Ctrl-C leaves none.
Command makeExportVideoCommand() {
  return Command{
      "export-video",
      "export-video INPUT OUTPUT.mov [--edit EDIT.json] [--set field=value]... [--preset social|balanced|maxQuality]",
      [](const std::vector<std::string>& arguments) {
        auto parsed = parseEditOptions(arguments);
        const InputOutput io = parseInputOutput(parsed.rest);
        const VideoExportPreset preset = io.preset ? parsePreset(*io.preset) : VideoExportPreset::balanced;
        const std::string& input = io.input;
        const std::string& output = io.output;
        if (!hasMovExtension(output)) throw UsageError("the output is a QuickTime movie: name it .mov");
        if (!std::filesystem::is_regular_file(input)) throw CommandError(input + ": no such file");
        if (std::filesystem::exists(output)) throw CommandError(output + ": already exists");

        const VideoExportResult result = runExport(input, output, parsed.state, preset);
        if (!result) {
          if (result.error().code() == VideoRenderError::Code::cancelled) {
            std::fprintf(stderr, "halvane export-video: %s\n", result.error().localizedDescription().c_str());
            return kInterruptedStatus;
          }
          throw CommandError(result.error().localizedDescription());
        }
        std::printf("%s: written\n", output.c_str());
        return 0;
      }};
}

}  // namespace halvane::cli
