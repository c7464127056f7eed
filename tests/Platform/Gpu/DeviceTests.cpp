// Device choice, libraries, pipelines made from them, and the SPIR-V reader.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "GpuTestSupport.h"
#include "Platform/Gpu/vulkan/SpirvReflection.h"

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
    ASSERT_TRUE(device) << device.error().message;
    EXPECT_EQ((*device)->capabilities().kind, DeviceKind::cpu);
  }
  ScopedEnvironment environment("HALVANE_GPU_DEVICE", "cpu");
  for (const char* choice : {"no-such-kind", "99"}) {
    options.preferredDevice = choice;
    auto device = Device::createSystemDefault(options);
    ASSERT_FALSE(device) << choice;
    EXPECT_EQ(device.error().kind, GpuError::Kind::noDevice);
    EXPECT_NE(device.error().message.find(choice), std::string::npos) << device.error().message;
  }
  options.preferredDevice.clear();  // the environment chooses
  {
    auto device = Device::createSystemDefault(options);
    ASSERT_TRUE(device) << device.error().message;
    EXPECT_EQ((*device)->capabilities().kind, DeviceKind::cpu);
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

TEST_F(DeviceTest, TheLibraryListsItsModulesAndAMissingBundleGivesNone) {
  EXPECT_EQ(library->path(), testBundlePath());
  EXPECT_TRUE(library->hasFunction("gpuPatternKernel"));
  EXPECT_TRUE(library->hasFunction("gpuQuadVertex"));
  EXPECT_FALSE(library->hasFunction("gpuPatternKernel.spv"));
  auto names = library->functionNames();
  EXPECT_NE(std::find(names.begin(), names.end(), "gpuTileKernel"), names.end());
  auto missing = device->newLibrary("/no/such/folder");
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, GpuError::Kind::unreadableLibrary);
  EXPECT_NE(missing.error().message.find("/no/such/folder"), std::string::npos);
}

template <typename T>
void expectError(const platform::Expected<T, GpuError>& made, GpuError::Kind kind, const std::string& text) {
  ASSERT_FALSE(made) << text;
  EXPECT_EQ(made.error().kind, kind) << made.error().message;
  EXPECT_NE(made.error().message.find(text), std::string::npos) << made.error().message;
}

TEST_F(DeviceTest, PipelinesThatCannotBeMadeGiveTheirError) {
  using Kind = GpuError::Kind;
  for (auto [name, kind, message] : {std::tuple{"noSuchKernel", Kind::missingFunction, "noSuchKernel"},
                                     std::tuple{"gpuMisplacedKernel", Kind::unsupportedShader, "binding 2"},
                                     std::tuple{"gpuFormattedKernel", Kind::unsupportedShader, "format"},
                                     std::tuple{"gpuQuadVertex", Kind::missingFunction, "not a compute shader"}}) {
    expectError(device->newComputePipelineState(library, name), kind, message);
  }
  EXPECT_EQ(computePipeline("gpuSwizzleKernel")->functionName(), "gpuSwizzleKernel");

  RenderPipelineDescriptor descriptor;
  descriptor.library = library;
  descriptor.vertexFunction = "gpuPatternKernel";
  descriptor.fragmentFunction = "gpuQuadFragment";
  expectError(device->newRenderPipelineState(descriptor), GpuError::Kind::missingFunction, "not a vertex shader");
}

// The light SPIR-V reader refuses what is not a module. What it reads from a module
// (stages, bindings and their kinds, block sizes, group size, unsupported images) is
// exercised by every pipeline these tests make, with validation on, and by the
// encoder's and the device's messages built from it.
std::vector<uint32_t> module(const std::string& name) {
  std::ifstream file(testBundlePath() + "/" + name + ".spv", std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<uint32_t> words(bytes.size() / 4);
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(words.data()));
  return words;
}

TEST(SpirvReflection, WordsThatAreNotAModuleAreRefused) {
  auto notAModule = vulkan::reflectSpirv({1, 2, 3, 4, 5, 6});
  ASSERT_FALSE(notAModule);
  EXPECT_EQ(notAModule.error().kind, GpuError::Kind::unreadableLibrary);
  EXPECT_NE(notAModule.error().message.find("magic"), std::string::npos);
  std::vector<uint32_t> truncated = module("gpuPatternKernel");
  ASSERT_GT(truncated.size(), 20u);
  truncated.resize(truncated.size() - 1);
  truncated.back() = 0xffff0000u | 71u;  // an instruction claiming 65535 words
  EXPECT_FALSE(vulkan::reflectSpirv(truncated));
}

}  // namespace
}  // namespace platform::gpu::testing
