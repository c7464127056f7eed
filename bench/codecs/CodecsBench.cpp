// In-process timings of the image codecs on a 12-megapixel photo (3024 x 4032):
// JPEG decode from memory, JPEG encode at the three export qualities, HEIC decode,
// and the scaler at the sizes the engine asks for (2048 longest side for the
// compressed preset, a 256-pixel thumbnail). Single-threaded, like the codecs.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "CodecsInput.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageEncoder.h"
#include "Platform/Media/ImageFile.h"
#include "Platform/Media/ImageScale.h"

namespace {

using namespace platform::media;

const codecs_bench::Input& input() {
  static const auto loaded = codecs_bench::loadInput();
  if (!loaded) std::exit(1);
  return *loaded;
}

void setMegapixels(benchmark::State& state, const Image& image) {
  state.counters["MP/s"] = benchmark::Counter(static_cast<double>(image.width) * image.height / 1e6,
                                              benchmark::Counter::kIsIterationInvariantRate);
}

void BM_DecodeJpeg12MP(benchmark::State& state) {
  const auto& jpeg = input().jpeg;
  for (auto _ : state) {
    auto image = decodeImage(jpeg);
    if (!image) state.SkipWithError(image.error().message.c_str());
    benchmark::DoNotOptimize(image);
  }
  setMegapixels(state, input().photo);
  state.counters["bytes"] = static_cast<double>(jpeg.size());
}
BENCHMARK(BM_DecodeJpeg12MP)->Unit(benchmark::kMillisecond);

void BM_EncodeJpeg12MP(benchmark::State& state) {
  const Image& photo = input().photo;
  const double quality = static_cast<double>(state.range(0)) / 100;
  std::size_t size = 0;
  for (auto _ : state) {
    auto jpeg = encodeJPEG(photo, quality);
    if (!jpeg) state.SkipWithError(jpeg.error().message.c_str());
    size = jpeg ? jpeg->size() : 0;
    benchmark::DoNotOptimize(jpeg);
  }
  setMegapixels(state, photo);
  state.counters["bytes"] = static_cast<double>(size);
}
BENCHMARK(BM_EncodeJpeg12MP)->ArgName("quality%")->Arg(65)->Arg(85)->Arg(95)->Unit(benchmark::kMillisecond);

void BM_DecodeHeic12MP(benchmark::State& state) {
  const char* override = std::getenv("HALVANE_MEDIA_DIR");
  const std::filesystem::path media = override ? override : HALVANE_MEDIA_DIR;
  auto bytes = readFileBytes(media / "photo" / "classic-car.heic");
  if (!bytes) {
    state.SkipWithError(bytes.error().message.c_str());
    return;
  }
  for (auto _ : state) {
    auto image = decodeImage(*bytes);
    if (!image) state.SkipWithError(image.error().message.c_str());
    benchmark::DoNotOptimize(image);
  }
  setMegapixels(state, input().photo);
}
BENCHMARK(BM_DecodeHeic12MP)->Unit(benchmark::kMillisecond);

void BM_Scale12MP(benchmark::State& state) {
  const Image& photo = input().photo;
  const int longest = static_cast<int>(state.range(0));
  const int height = longest;
  const int width = static_cast<int>(static_cast<double>(photo.width) * longest / photo.height + 0.5);
  for (auto _ : state) {
    auto scaled = scaleImage(photo, width, height);
    benchmark::DoNotOptimize(scaled);
  }
  setMegapixels(state, photo);
}
BENCHMARK(BM_Scale12MP)->ArgName("longest")->Arg(2048)->Arg(256)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
