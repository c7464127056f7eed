// Device choice, libraries, pipelines made from them, the SPIR-V reader, and the
// pipeline cache file: written atomically when pipelines were made, given back to the
// driver on the next start, ignored when corrupt or foreign.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "GpuTestSupport.h"
#include "Platform/Gpu/vulkan/SpirvReflection.h"

namespace platform::gpu::testing {
namespace {

namespace fs = std::filesystem;
using DeviceTest = GpuTest;
using Kind = GpuError::Kind;

template <typename T>
void expectError(const platform::Expected<T, GpuError>& made, Kind kind, const std::string& text) {
  ASSERT_FALSE(made) << text;
  EXPECT_EQ(made.error().kind, kind) << made.error().message;
  EXPECT_THAT(made.error().message, HasSubstr(text));
}

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(DeviceChoice, TheOptionsWinOverTheEnvironmentAnIndexChoosesAndAnUnknownChoiceGivesNone) {
  const char* before = std::getenv("HALVANE_GPU_DEVICE");
  const std::shared_ptr<void> restore(nullptr, [before = std::string(before ? before : "")](void*) {
    before.empty() ? unsetenv("HALVANE_GPU_DEVICE") : setenv("HALVANE_GPU_DEVICE", before.c_str(), 1);
  });
  DeviceOptions options = validatedCpuOptions();
  auto expectCpu = [&] {
    auto device = Device::createSystemDefault(options);
    ASSERT_TRUE(device) << device.error().message;
    EXPECT_EQ((*device)->capabilities().kind, DeviceKind::cpu);
  };
  setenv("HALVANE_GPU_DEVICE", "no-such-kind", 1);
  expectCpu();
  setenv("HALVANE_GPU_DEVICE", "cpu", 1);
  for (const char* choice : {"no-such-kind", "99"}) {
    options.preferredDevice = choice;
    expectError(Device::createSystemDefault(options), Kind::noDevice, choice);
  }
  options.preferredDevice.clear();  // the environment chooses
  expectCpu();
  // Some index is the CPU device (other devices there are not validated).
  options = DeviceOptions{};
  bool sawCpu = false;
  for (int index = 0; index < 8 && !sawCpu; ++index) {
    options.preferredDevice = std::to_string(index);
    auto device = Device::createSystemDefault(options);
    sawCpu = device && (*device)->capabilities().kind == DeviceKind::cpu;
  }
  EXPECT_TRUE(sawCpu);
}

TEST_F(DeviceTest, TheLibraryListsItsModulesAndWhatCannotBeMadeGivesItsError) {
  EXPECT_TRUE(library->hasFunction("gpuPatternKernel"));
  EXPECT_TRUE(library->hasFunction("gpuQuadVertex"));
  EXPECT_FALSE(library->hasFunction("gpuPatternKernel.spv"));
  EXPECT_THAT(library->functionNames(), ::testing::Contains("gpuSwizzleKernel"));
  expectError(device->newLibrary("/no/such/folder"), Kind::unreadableLibrary, "/no/such/folder");
  for (auto [name, kind, message] : {std::tuple{"noSuchKernel", Kind::missingFunction, "noSuchKernel"},
                                     std::tuple{"gpuMisplacedKernel", Kind::unsupportedShader, "binding 2"},
                                     std::tuple{"gpuFormattedKernel", Kind::unsupportedShader, "format"},
                                     std::tuple{"gpuQuadVertex", Kind::missingFunction, "not a compute shader"}})
    expectError(device->newComputePipelineState(library, name), kind, message);
  EXPECT_EQ(computePipeline("gpuSwizzleKernel")->functionName(), "gpuSwizzleKernel");
  expectError(device->newRenderPipelineState(
                  {.library = library, .vertexFunction = "gpuPatternKernel", .fragmentFunction = "gpuQuadFragment"}),
              Kind::missingFunction, "not a vertex shader");
}

// The light SPIR-V reader refuses what is not a module. What it reads from a module
// (stages, bindings and their kinds, block sizes, group size, unsupported images) is
// exercised by every pipeline these tests make, with validation on, and by the
// encoder's and the device's messages built from it.
TEST(SpirvReflection, WordsThatAreNotAModuleAreRefused) {
  expectError(vulkan::reflectSpirv({1, 2, 3, 4, 5, 6}), Kind::unreadableLibrary, "magic");
  const std::string bytes = contents(kBundlePath + "/gpuPatternKernel.spv");
  std::vector<uint32_t> truncated(bytes.size() / 4 - 1);
  ASSERT_GT(truncated.size(), 20u);
  std::memcpy(truncated.data(), bytes.data(), truncated.size() * 4);
  truncated.back() = 0xffff0000u | 71u;  // an instruction claiming 65535 words
  EXPECT_FALSE(vulkan::reflectSpirv(truncated));
}

class PipelineCacheTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::remove_all(folder); }
  void TearDown() override { fs::remove_all(folder); }

  // One start of the program: a device, two pipelines, and the end.
  PipelineCacheInfo start() {
    DeviceOptions options = validatedCpuOptions();
    options.pipelineCachePath = path.string();
    auto device = Device::createSystemDefault(options);
    EXPECT_TRUE(device);
    if (!device) return {};
    auto library = (*device)->newLibrary(kBundlePath);
    EXPECT_TRUE(library);
    if (!library) return {};
    EXPECT_TRUE((*device)->newComputePipelineState(*library, "gpuPatternKernel"));
    EXPECT_TRUE((*device)->newRenderPipelineState(
        {.library = *library, .vertexFunction = "gpuQuadVertex", .fragmentFunction = "gpuQuadFragment"}));
    return (*device)->pipelineCacheInfo();
  }

  const fs::path folder = fs::path(::testing::TempDir()) / ("halvane-pipeline-cache-" + std::to_string(::getpid()));
  const fs::path path = folder / "nested" / "pipelines.bin";
};

// The second start reuses the file the first wrote; a corrupt or foreign file is ignored
// and replaced.
TEST_F(PipelineCacheTest, TheSecondStartReusesTheFileTheFirstWroteAndACorruptOrForeignOneIsReplaced) {
  PipelineCacheInfo first = start();
  EXPECT_FALSE(first.loadedFromFile);
  EXPECT_EQ(first.pipelinesCreated, 2u);
  // Only the file: no temporary file left behind.
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder), fs::recursive_directory_iterator()), 2);
  const std::string written = contents(path);
  ASSERT_GE(written.size(), 32u);  // at least the header that names the device
  const auto firstWritten = fs::last_write_time(path);

  PipelineCacheInfo second = start();
  EXPECT_TRUE(second.loadedFromFile);
  EXPECT_EQ(second.loadedBytes, written.size());
  EXPECT_EQ(second.pipelinesCreated, 2u);
  // A driver that keeps pipelines in its cache finds both there; lavapipe keeps only the
  // header: nothing to find, and nothing new to write.
  if (second.driverReportsCacheHits && written.size() > 32) {
    EXPECT_EQ(second.pipelinesFromCache, 2u);
  }
  // A start that adds nothing leaves the file as it was.
  EXPECT_EQ(contents(path), written);
  EXPECT_EQ(fs::last_write_time(path), firstWritten) << "not written again";

  std::string foreign = written;
  foreign[16] ^= 0x5a;  // another driver's cache UUID
  for (const std::string& bad :
       {foreign, std::string("not a pipeline cache, but long enough to have a header's size")}) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bad;
    PipelineCacheInfo info = start();
    EXPECT_FALSE(info.loadedFromFile);
    EXPECT_EQ(info.pipelinesCreated, 2u);
    EXPECT_TRUE(start().loadedFromFile);
  }
}

}  // namespace
}  // namespace platform::gpu::testing
