// Device choice, libraries and pipelines made from them.
#include <algorithm>
#include <cstdlib>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using DeviceTest = GpuTest;

TEST_F(DeviceTest, TheCpuDeviceIsLavapipe) {
  EXPECT_EQ(device->capabilities().kind, DeviceKind::cpu);
  EXPECT_FALSE(device->name().empty());
  EXPECT_GE(device->capabilities().maxTextureDimension, 4096u);
}

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

TEST(DeviceChoice, TheEnvironmentVariableChoosesWhenTheOptionsDoNot) {
  ValidationLog log;
  ScopedEnvironment environment("HALVANE_GPU_DEVICE", "cpu");
  DeviceOptions options = validatedCpuOptions(log);
  options.preferredDevice.clear();
  auto made = Device::createSystemDefault(options);
  ASSERT_TRUE(made) << made.error().message;
  auto device = std::move(made).value();
  EXPECT_EQ(device->capabilities().kind, DeviceKind::cpu);
  device.reset();
  EXPECT_TRUE(log.messages().empty());
}

TEST(DeviceChoice, TheOptionsWinOverTheEnvironment) {
  ValidationLog log;
  ScopedEnvironment environment("HALVANE_GPU_DEVICE", "no-such-kind");
  auto device = Device::createSystemDefault(validatedCpuOptions(log));
  ASSERT_TRUE(device) << device.error().message;
  EXPECT_EQ((*device)->capabilities().kind, DeviceKind::cpu);
}

TEST(DeviceChoice, AnUnknownChoiceOrIndexFailsNamingIt) {
  ValidationLog log;
  DeviceOptions options = validatedCpuOptions(log);
  for (const char* choice : {"no-such-kind", "99"}) {
    options.preferredDevice = choice;
    auto device = Device::createSystemDefault(options);
    ASSERT_FALSE(device) << choice;
    EXPECT_EQ(device.error().kind, GpuError::Kind::noDevice);
    EXPECT_NE(device.error().message.find(choice), std::string::npos) << device.error().message;
  }
  EXPECT_TRUE(log.messages().empty());
}

TEST(DeviceChoice, AnIndexChoosesThatDevice) {
  // Some index is the CPU device; every index that gives a device gives a usable one.
  bool sawCpu = false;
  for (int index = 0; index < 8; ++index) {
    DeviceOptions options;
    options.preferredDevice = std::to_string(index);
    auto device = Device::createSystemDefault(options);
    if (device && (*device)->capabilities().kind == DeviceKind::cpu) {
      sawCpu = true;
      break;
    }
  }
  EXPECT_TRUE(sawCpu);
}

TEST_F(DeviceTest, TheLibraryListsItsModules) {
  EXPECT_EQ(library->path(), testBundlePath());
  EXPECT_TRUE(library->hasFunction("gpuPatternKernel"));
  EXPECT_TRUE(library->hasFunction("gpuQuadVertex"));
  EXPECT_FALSE(library->hasFunction("gpuPatternKernel.spv"));
  auto names = library->functionNames();
  EXPECT_NE(std::find(names.begin(), names.end(), "gpuTileKernel"), names.end());
}

TEST_F(DeviceTest, AMissingBundleGivesAnErrorNamingIt) {
  auto missing = device->newLibrary("/no/such/folder");
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, GpuError::Kind::unreadableLibrary);
  EXPECT_NE(missing.error().message.find("/no/such/folder"), std::string::npos);
}

TEST_F(DeviceTest, PipelinesThatCannotBeMadeGiveTheirError) {
  const auto expectError = [](const auto& made, GpuError::Kind kind, const char* text) {
    ASSERT_FALSE(made) << text;
    EXPECT_EQ(made.error().kind, kind) << made.error().message;
    EXPECT_NE(made.error().message.find(text), std::string::npos) << made.error().message;
  };
  expectError(device->newComputePipelineState(library, "noSuchKernel"), GpuError::Kind::missingFunction, "noSuchKernel");
  expectError(device->newComputePipelineState(library, "gpuMisplacedKernel"), GpuError::Kind::unsupportedShader,
              "binding 2");
  expectError(device->newComputePipelineState(library, "gpuFormattedKernel"), GpuError::Kind::unsupportedShader,
              "format");
  expectError(device->newComputePipelineState(library, "gpuQuadVertex"), GpuError::Kind::missingFunction,
              "not a compute shader");
  RenderPipelineDescriptor descriptor;
  descriptor.library = library;
  descriptor.vertexFunction = "gpuPatternKernel";
  descriptor.fragmentFunction = "gpuQuadFragment";
  expectError(device->newRenderPipelineState(descriptor), GpuError::Kind::missingFunction, "not a vertex shader");
}

TEST_F(DeviceTest, PipelineStatesKnowTheirFunction) {
  auto pipeline = computePipeline("gpuSwizzleKernel");
  ASSERT_TRUE(pipeline);
  EXPECT_EQ(pipeline->functionName(), "gpuSwizzleKernel");
}

}  // namespace
}  // namespace platform::gpu::testing
