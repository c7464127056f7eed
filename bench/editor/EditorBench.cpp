// The editor in its real window, timed to the frame on the screen (run it under a
// display; bench/editor/run.sh starts Xvfb):
//
//   EditorBench changes FILE [COUNT]   a state change, as a panel makes it, to its frame
//                                      painted and flushed: COUNT changes of exposure and
//                                      contrast, then COUNT with a radial focus as well
//   EditorBench starts FILE [COUNT]    the process's start to its first frame: COUNT starts
//                                      with cold caches, then COUNT warm, each a new process
//   EditorBench start FILE SPAWN_NS    one such start (spawned by `starts`)
//
// A frame counts once the preview surface has painted it and the event loop has come
// back, so the window has been flushed. Medians; CPU time is the whole process's.
#include <QApplication>
#include <QLocale>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchEditor.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/ColorKernelVariants.h"

extern char** environ;

namespace {

using namespace std::chrono;
using bench::Clock;
namespace fs = std::filesystem;

// Lavapipe under load: a focus frame of 12 megapixels takes seconds.
constexpr auto kFrameLimit = seconds(120);
// No new frame for this long: the preview is idle (the colour variant compiled, the
// resize settled).
constexpr auto kQuiet = milliseconds(1500);

double ms(nanoseconds duration) { return duration_cast<microseconds>(duration).count() / 1000.0; }

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

int64_t monotonicNanoseconds() { return duration_cast<nanoseconds>(Clock::now().time_since_epoch()).count(); }

struct Change {
  double wallMs;
  double cpuMs;
};

// One change of exposure and contrast (and a radial focus at 75 %), different from
// the one before; waits for its frame, then for the preview to be idle.
std::optional<Change> timeChange(bench::BenchEditor& bench, int index, bool radialFocus) {
  halvane::EditState state;
  state.exposure = 0.1f + 0.05f * float(index);
  state.contrast = 1.1f + 0.02f * float(index);
  if (radialFocus) {
    state.focusMode = static_cast<int64_t>(halvane::FocusMode::radial);
    state.focusStrength = 0.75f;
  }
  const auto began = Clock::now();
  const auto cpuBefore = bench::processCpuTime();
  bench.editor().session()->applyPreviewState(state);
  const auto frame = bench.waitForNewFrame(kFrameLimit);
  if (!frame) return std::nullopt;
  bench.settle(kQuiet);
  return Change{ms(frame->flushed - began), ms(frame->cpuAtFlush - cpuBefore)};
}

int changes(const QString& file, int count) {
  const auto began = Clock::now();
  bench::BenchEditor bench(file);
  const auto first = bench.waitForNewFrame(kFrameLimit);
  if (!first) {
    std::fprintf(stderr, "EditorBench: no first frame\n");
    return 1;
  }
  const QSize drawable = bench.editor().preview()->surface()->drawableSize();
  std::printf("first frame after %.0f ms (in process); preview %d x %d device pixels\n",
              ms(first->flushed - began), drawable.width(), drawable.height());
  bench.settle(kQuiet);
  auto& variants = bench.editor().session()->container()->renderingEngine->colorKernelVariants();
  for (const bool radialFocus : {false, true}) {
    const char* name = radialFocus ? "exposure, contrast, radial focus 75 %" : "exposure, contrast";
    // The series' first change pays for kernels made on first use: the colour variant
    // (compiled beside the frame, which takes the general kernel) and, on lavapipe, the
    // machine code of a kernel at its first dispatch.
    const auto firstChange = timeChange(bench, 0, radialFocus);
    variants.waitUntilIdle();
    bench.settle(kQuiet);
    std::vector<double> wall, cpu;
    for (int i = 1; i <= count; ++i) {
      const auto change = timeChange(bench, i, radialFocus);
      if (!change) {
        std::fprintf(stderr, "EditorBench: no frame for change %d of %s\n", i, name);
        return 1;
      }
      wall.push_back(change->wallMs);
      cpu.push_back(change->cpuMs);
    }
    std::printf("%s: first change %.0f ms wall (kernels made on first use); median of %d: %.0f ms wall, %.0f ms CPU "
                "(wall %.0f to %.0f)\n",
                name, firstChange ? firstChange->wallMs : -1.0, count, median(wall), median(cpu),
                *std::min_element(wall.begin(), wall.end()), *std::max_element(wall.begin(), wall.end()));
  }
  return 0;
}

// The child: builds the editor as tamrix-editor does and reports its first frame.
int start(const QString& file, int64_t spawnedAt, Clock::time_point mainEntered) {
  bench::BenchEditor bench(file);
  const auto frame = bench.waitForNewFrame(kFrameLimit);
  if (!frame) return 1;
  const auto& built = bench.buildTimes();
  std::printf("%.1f %.1f %.1f %.1f %.1f %.1f\n",
              (duration_cast<nanoseconds>(frame->flushed.time_since_epoch()).count() - spawnedAt) / 1e6,
              ms(frame->flushed - mainEntered), ms(frame->cpuAtFlush), ms(built.containerMade - mainEntered),
              ms(built.contentRead - built.containerMade), ms(built.editorBuilt - built.contentRead));
  return 0;
}

struct StartFigures {
  double sinceSpawnMs;
  double sinceMainMs;
  double cpuMs;
  // Wall time of main's steps: to the engine started, the file decoded, the window built.
  double engineMs;
  double decodeMs;
  double windowMs;
};

std::optional<StartFigures> spawnStart(const std::string& file) {
  int output[2];
  if (pipe(output) != 0) return std::nullopt;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, output[0]);
  const std::string self = fs::read_symlink("/proc/self/exe").string();
  std::string spawnedAt = std::to_string(monotonicNanoseconds());
  char* argv[] = {const_cast<char*>(self.c_str()), const_cast<char*>("start"), const_cast<char*>(file.c_str()),
                  spawnedAt.data(), nullptr};
  pid_t child = 0;
  const int failed = posix_spawn(&child, self.c_str(), &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(output[1]);
  std::string text;
  char chunk[256];
  for (ssize_t n; (n = read(output[0], chunk, sizeof chunk)) > 0;) text.append(chunk, size_t(n));
  close(output[0]);
  int status = 0;
  if (failed || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    return std::nullopt;
  }
  StartFigures figures{};
  if (std::sscanf(text.c_str(), "%lf %lf %lf %lf %lf %lf", &figures.sinceSpawnMs, &figures.sinceMainMs,
                  &figures.cpuMs, &figures.engineMs, &figures.decodeMs, &figures.windowMs) != 6) {
    return std::nullopt;
  }
  return figures;
}

// Cold: neither the engine's pipeline cache nor Mesa's shader cache holds the kernels
// (both live under the bench's own XDG_CACHE_HOME); the files read stay in the page
// cache. Warm: both caches filled by an untimed start first.
int starts(const std::string& file, int count) {
  const fs::path cacheHome = fs::temp_directory_path() / ("halvane-editor-bench-" + std::to_string(getpid()));
  fs::create_directories(cacheHome);
  setenv("XDG_CACHE_HOME", cacheHome.c_str(), 1);
  const auto emptyCaches = [&] {
    for (const auto& entry : fs::directory_iterator(cacheHome)) {
      const std::string name = entry.path().filename().string();
      if (name == "halvane" || name.starts_with("mesa_shader_cache")) fs::remove_all(entry.path());
    }
  };
  int status = 0;
  for (const bool cold : {true, false}) {
    if (!cold && !spawnStart(file)) status = 1;  // fills the caches
    std::vector<double> sinceSpawn, sinceMain, cpu, engine, decode, window, frame;
    for (int i = 0; i < count; ++i) {
      if (cold) emptyCaches();
      const auto figures = spawnStart(file);
      if (!figures) {
        std::fprintf(stderr, "EditorBench: a start failed\n");
        status = 1;
        continue;
      }
      sinceSpawn.push_back(figures->sinceSpawnMs);
      sinceMain.push_back(figures->sinceMainMs);
      cpu.push_back(figures->cpuMs);
      engine.push_back(figures->engineMs);
      decode.push_back(figures->decodeMs);
      window.push_back(figures->windowMs);
      frame.push_back(figures->sinceMainMs - figures->engineMs - figures->decodeMs - figures->windowMs);
    }
    std::printf("start to first frame, %s caches, median of %zu: %.0f ms wall from spawn, %.0f ms from main, "
                "%.0f ms CPU\n",
                cold ? "cold" : "warm", sinceSpawn.size(), median(sinceSpawn), median(sinceMain), median(cpu));
    std::printf("  steps after main (medians): application and engine started %.0f ms, file decoded %.0f ms, "
                "window built %.0f ms, first frame %.0f ms\n",
                median(engine), median(decode), median(window), median(frame));
  }
  fs::remove_all(cacheHome);
  return status;
}

int usage() {
  std::fprintf(stderr, "usage: EditorBench changes FILE [COUNT] | starts FILE [COUNT] | start FILE SPAWN_NS\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const auto mainEntered = Clock::now();
  if (argc < 3) return usage();
  const std::string mode = argv[1];
  const std::string file = argv[2];
  const int count = argc > 3 ? std::atoi(argv[3]) : 5;
  if (mode == "starts") return count > 0 ? starts(file, count) : usage();
  if (mode != "changes" && mode != "start") return usage();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("tamrix-editor"));
  halvane::DSL10n::installTranslator(QLocale::system());
  const QString path = QString::fromStdString(file);
  if (mode == "start") return argc > 3 ? start(path, std::atoll(argv[3]), mainEntered) : usage();
  return count > 0 ? changes(path, count) : usage();
}
