#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "Command.h"
#include "EngineStart.h"
#include "EditArguments.h"
#include "OutputFile.h"
#include "TerminationSignals.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/RunLoopMainQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/TemporaryFile.h"

namespace halvane::cli {

namespace {

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

// Runs the export on a run-loop main queue until its completion; a terminating signal
// noted by a TerminationGuard cancels it.
VideoExportResult runExport(const std::string& input, const std::string& output, const EditState& state,
                            VideoExportPreset preset, platform::media::ExistingFile existing) {
  auto queue = std::make_shared<platform::dispatch::RunLoopMainQueue>();
  platform::dispatch::MainQueue::setShared(queue);
  std::optional<VideoExportResult> result;
  {
    auto renderer = VideoRenderer::create(startEngine());
    renderer->setAsset(platform::media::Asset::make(input));
    ProgressBar bar;
    std::function<void()> watchForSignals = [&] {
      if (TerminationGuard::received()) {
        renderer->cancelExport();
        return;
      }
      if (!result) queue->asyncAfter(std::chrono::milliseconds(50), watchForSignals);
    };
    queue->async([&] {
      renderer->exportVideo(
          output, state, preset, [&bar](float progress) { bar.show(progress); },
          [&](VideoExportResult outcome) {
            result = std::move(outcome);
            queue->stop();
          },
          existing);
      watchForSignals();
    });
    queue->run();
    bar.end();
  }
  platform::dispatch::MainQueue::setShared(nullptr);
  return std::move(*result);
}

// The engine's text, and the platform's cause after it where the text does not carry
// it already ("Failed to set up asset writer: Cannot create ...: Permission denied").
std::string describe(const VideoRenderError& error) {
  std::string text = error.localizedDescription();
  if (error.code() != VideoRenderError::Code::exportFailed && error.underlying())
    text += ": " + error.underlying()->localizedDescription();
  return text;
}

}  // namespace

// Renders a video with an edit through the editor's export loop (reader, GPU, writer)
// into an HEVC QuickTime movie. The movie appears only when complete, and with -y
// replaces an existing output only then; a failure or a terminating signal leaves none
// and the old output as it was.
Command makeExportVideoCommand() {
  return Command{
      "export-video",
      "export-video INPUT OUTPUT.mov [-y|--overwrite] [--edit EDIT.json] [--set field=value]... "
      "[--preset social|balanced|maxQuality]",
      [](const std::vector<std::string>& arguments) {
        auto parsed = parseEditOptions(arguments);
        const InputOutput io = parseInputOutput(parsed.rest);
        const VideoExportPreset preset = io.preset ? parsePreset(*io.preset) : VideoExportPreset::balanced;
        const std::string& input = io.input;
        const std::string& output = io.output;
        if (!hasMovExtension(output)) throw UsageError("the output is a QuickTime movie: name it .mov");
        if (!std::filesystem::is_regular_file(input)) throw CommandError(input + ": no such file");
        checkOutputPath(input, output, io.overwrite);

        const TerminationGuard guard;  // from before the line that says the export runs
        std::printf("exporting %s to %s\n", input.c_str(), output.c_str());
        std::fflush(stdout);
        const auto existing =
            io.overwrite ? platform::media::ExistingFile::replace : platform::media::ExistingFile::keep;
        const VideoExportResult result = runExport(input, output, parsed.state, preset, existing);
        if (!result) {
          std::fprintf(stderr, "halvane export-video: %s\n", describe(result.error()).c_str());
          if (result.error().code() == VideoRenderError::Code::cancelled)
            return TerminationGuard::exitStatus(TerminationGuard::received() ? TerminationGuard::received() : SIGINT);
          return 1;
        }
        std::printf("%s: written\n", output.c_str());
        return 0;
      }};
}

}  // namespace halvane::cli
