// Device choice, libraries and pipelines made from them.
#include <algorithm>
#include <cstdlib>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using DeviceTest = GpuTest;

// Restores an environment variable when it goes.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value, 1);
  }
  ~ScopedEnvironment() {
    if (old_.empty()) unsetenv(name_);
    else setenv(name_, old_.c_str(), 1);
  }

 private:
  const char* name_;
  std::string old_;
};

TEST(DeviceChoice, TheOptionsWinOverTheEnvironmentAndAnUnknownChoiceGivesNone) {
  ValidationLog log;
  DeviceOptions options = validatedCpuOptions(log);
  {
    ScopedEnvironment environment("HALVANE_GPU_DEVICE", "no-such-kind");
    auto device = Device::createSystemDefault(options);
    ASSERT_TRUE(device);
    EXPECT_EQ(device->capabilities().kind, DeviceKind::cpu);
  }
  ScopedEnvironment environment("HALVANE_GPU_DEVICE", "cpu");
  for (const char* choice : {"no-such-kind", "99"}) {
    options.preferredDevice = choice;
    EXPECT_FALSE(Device::createSystemDefault(options)) << choice;
  }
  options.preferredDevice.clear();  // the environment chooses
  auto device = Device::createSystemDefault(options);
  ASSERT_TRUE(device);
  EXPECT_EQ(device->capabilities().kind, DeviceKind::cpu);
  device.reset();
  EXPECT_TRUE(log.messages().empty());
}

TEST(DeviceChoice, AnIndexChoosesThatDevice) {
  // Some index is the CPU device; every index that gives a device gives a usable one.
  bool sawCpu = false;
  for (int index = 0; index < 8; ++index) {
    DeviceOptions options;
    options.preferredDevice = std::to_string(index);
    auto device = Device::createSystemDefault(options);
    if (device && device->capabilities().kind == DeviceKind::cpu) {
      sawCpu = true;
      break;
    }
  }
  EXPECT_TRUE(sawCpu);
}

TEST_F(DeviceTest, TheLibraryListsItsModulesAndAMissingBundleGivesNone) {
  EXPECT_EQ(library->path(), testBundlePath());
  EXPECT_TRUE(library->hasFunction("gpuPatternKernel"));
  EXPECT_TRUE(library->hasFunction("gpuQuadVertex"));
  EXPECT_FALSE(library->hasFunction("gpuPatternKernel.spv"));
  auto names = library->functionNames();
  EXPECT_NE(std::find(names.begin(), names.end(), "gpuTileKernel"), names.end());
  std::string error;
  EXPECT_FALSE(device->newLibrary("/no/such/folder", &error));
  EXPECT_NE(error.find("/no/such/folder"), std::string::npos);
  EXPECT_FALSE(device->newLibrary("/no/such/folder"));  // no message wanted
}

TEST_F(DeviceTest, PipelinesThatCannotBeMadeGiveNoneWithAMessage) {
  std::string error;
  for (auto [name, message] : {std::pair{"noSuchKernel", "noSuchKernel"}, std::pair{"gpuMisplacedKernel", "binding 2"},
                               std::pair{"gpuFormattedKernel", "format"},
                               std::pair{"gpuQuadVertex", "not a compute shader"}}) {
    EXPECT_FALSE(device->newComputePipelineState(library, name, &error)) << name;
    EXPECT_NE(error.find(message), std::string::npos) << error;
  }
  EXPECT_EQ(computePipeline("gpuSwizzleKernel")->functionName(), "gpuSwizzleKernel");

  RenderPipelineDescriptor descriptor;
  descriptor.library = library;
  descriptor.vertexFunction = "gpuPatternKernel";
  descriptor.fragmentFunction = "gpuQuadFragment";
  EXPECT_FALSE(device->newRenderPipelineState(descriptor, &error));
  EXPECT_NE(error.find("not a vertex shader"), std::string::npos) << error;
}

}  // namespace
}  // namespace platform::gpu::testing
