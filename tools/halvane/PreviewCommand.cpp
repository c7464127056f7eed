#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>

#include <nlohmann/json.hpp>

#include "Command.h"
#include "EngineStart.h"
#include "EditArguments.h"
#include "Halvane/Model/EditStateCoding.h"
#include "Halvane/Rendering/PreviewView.h"
#include "PhotoSource.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/MediaClock.h"
#include "Platform/Dispatch/RunLoopMainQueue.h"
#include "Platform/Gpu/ReadBack.h"
#include "Platform/Media/ImageEncoder.h"

namespace halvane::cli {

namespace {

using platform::media::Image;

// Keeps the last presented frame and when each frame reached the screen.
class LastFramePresenter : public FramePresenter {
 public:
  void present(const std::shared_ptr<platform::gpu::Texture>& drawable) override {
    Image frame;
    frame.width = int(drawable->width());
    frame.height = int(drawable->height());
    frame.pixels.resize(frame.bytesPerRow() * size_t(frame.height));
    if (!platform::gpu::readBackBGRA8(*drawable, frame.pixels.data(), frame.bytesPerRow())) return;
    std::lock_guard guard(lock_);
    last_ = std::move(frame);
    presentTimes_.push_back(platform::dispatch::mediaTime());
  }
  std::optional<Image> last() {
    std::lock_guard guard(lock_);
    return last_;
  }
  std::vector<double> presentTimes() {
    std::lock_guard guard(lock_);
    return presentTimes_;
  }

 private:
  std::mutex lock_;
  std::optional<Image> last_;
  std::vector<double> presentTimes_;
};

// A script is a JSON array of {"tick": N, "set": {field: value, ...}}: at tick N the
// fields change on top of the state shown, as a slider drag would change them.
std::multimap<int, nlohmann::ordered_json> loadScript(const std::string& path) {
  const auto document = readJSONFile(path, "the script");
  if (!document.is_array()) throw CommandError("the script " + path + " is not a JSON array");
  std::multimap<int, nlohmann::ordered_json> steps;
  for (const auto& step : document) {
    if (!step.is_object() || !step.contains("tick") || !step["tick"].is_number_integer() || !step.contains("set") ||
        !step["set"].is_object()) {
      throw CommandError("each script step needs an integer \"tick\" and an object \"set\"");
    }
    steps.emplace(step["tick"].get<int>(), nlohmann::ordered_json(step["set"]));
  }
  return steps;
}

struct PreviewOptions {
  std::string input;
  std::string output;
  int ticks = 60;
  DrawableSize size{1280, 800};
  float zoom = 1;
  std::multimap<int, nlohmann::ordered_json> script;
};

PreviewOptions parseOptions(const std::vector<std::string>& rest) {
  PreviewOptions options;
  std::vector<std::string> paths;
  for (size_t i = 0; i < rest.size(); ++i) {
    const std::string& argument = rest[i];
    auto value = [&]() -> const std::string& {
      if (i + 1 >= rest.size()) throw UsageError(argument + " needs a value");
      return rest[++i];
    };
    if (argument == "--ticks") {
      options.ticks = std::stoi(value());
      if (options.ticks < 1 || options.ticks > 100000) throw UsageError("--ticks takes 1 to 100000");
    } else if (argument == "--size") {
      unsigned width = 0, height = 0;
      if (std::sscanf(value().c_str(), "%ux%u", &width, &height) != 2 || width < 1 || height < 1 || width > 16384 ||
          height > 16384) {
        throw UsageError("--size takes WIDTHxHEIGHT, each 1 to 16384");
      }
      options.size = {width, height};
    } else if (argument == "--zoom") {
      options.zoom = std::stof(value());
      if (!(options.zoom >= 0.1f && options.zoom <= 16)) throw UsageError("--zoom takes 0.1 to 16");
    } else if (argument == "--script") {
      options.script = loadScript(value());
    } else if (argument.starts_with("--")) {
      throw UsageError("unknown option '" + argument + "'");
    } else {
      paths.push_back(argument);
    }
  }
  if (paths.size() != 2) throw UsageError("needs an input photo and an output PNG path");
  options.input = paths[0];
  options.output = paths[1];
  return options;
}

}  // namespace

// Runs the editor's real frame loop headless: the display link ticks at its own rate,
// scripted edits arrive between ticks, and the last frame shown is written as a PNG.
Command makePreviewCommand() {
  return Command{
      "preview",
      "preview INPUT OUTPUT.png [--ticks N] [--size WxH] [--zoom S] [--script SCRIPT.json] [--edit EDIT.json] "
      "[--set field=value]...",
      [](const std::vector<std::string>& arguments) {
        auto parsed = parseEditOptions(arguments);
        const PreviewOptions options = parseOptions(parsed.rest);

        auto queue = std::make_shared<platform::dispatch::RunLoopMainQueue>();
        platform::dispatch::MainQueue::setShared(queue);
        auto engine = startEngine();
        const PhotoSource source = loadPhotoSource(*engine, options.input);

        auto presenter = std::make_shared<LastFramePresenter>();
        auto view = std::make_shared<PreviewView>();
        view->configure(*engine);
        view->setPresenter(presenter);
        view->setDrawableSize(options.size);
        view->displayOverscale = options.zoom;
        engine->setPreviewView(view);
        engine->startDisplayLink();
        engine->setPreviewSource(source.texture);
        engine->applyPreviewState(parsed.state);

        // A second link on the same loop counts the ticks and plays the script.
        int tick = 0;
        EditState state = parsed.state;
        const double start = platform::dispatch::mediaTime();
        auto script = platform::dispatch::makeDisplayLink([&](double, double) {
          ++tick;
          auto [first, last] = options.script.equal_range(tick);
          for (auto step = first; step != last; ++step) {
            auto document = encodeEditState(state);
            for (const auto& [key, value] : step->second.items()) document[key] = value;
            state = decodeEditState(document);
            engine->applyPreviewState(state);
          }
          if (tick >= options.ticks) queue->stop();
        });
        script->setPreferredFrameRateRange(30, 120, 60);
        script->addToMainQueue();
        queue->run();
        script->invalidate();
        engine->stopDisplayLink();
        const double elapsed = platform::dispatch::mediaTime() - start;

        // Let the frames in flight reach the presenter.
        auto drain = engine->commandQueue()->commandBuffer();
        drain->commit();
        drain->waitUntilCompleted();
        platform::dispatch::MainQueue::setShared(nullptr);

        auto frame = presenter->last();
        if (!frame) throw CommandError("no frame was presented");
        auto written = platform::media::writePNG(*frame, options.output);
        if (!written) throw CommandError(written.error().message);
        const auto times = presenter->presentTimes();
        std::printf("%s: %d x %d; %d ticks in %.2f s, %zu frames presented\n", options.output.c_str(), frame->width,
                    frame->height, tick, elapsed, times.size());
        return 0;
      }};
}

}  // namespace halvane::cli
