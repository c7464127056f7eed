// The light SPIR-V reader refuses what is not a module. What it reads from a module
// (stages, bindings and their kinds, block sizes, group size, unsupported images) is
// exercised by every pipeline the other tests make, with validation on, and by the
// encoder's and the device's messages built from it.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "GpuTestSupport.h"
#include "Platform/Gpu/vulkan/SpirvReflection.h"

namespace platform::gpu::vulkan {
namespace {

std::vector<uint32_t> module(const std::string& name) {
  std::ifstream file(testing::testBundlePath() + "/" + name + ".spv", std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<uint32_t> words(bytes.size() / 4);
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(words.data()));
  return words;
}

TEST(SpirvReflection, WordsThatAreNotAModuleAreRefused) {
  std::string error;
  EXPECT_FALSE(reflectSpirv({1, 2, 3, 4, 5, 6}, &error));
  EXPECT_NE(error.find("magic"), std::string::npos);
  std::vector<uint32_t> truncated = module("gpuPatternKernel");
  ASSERT_GT(truncated.size(), 20u);
  truncated.resize(truncated.size() - 1);
  truncated.back() = 0xffff0000u | 71u;  // an instruction claiming 65535 words
  EXPECT_FALSE(reflectSpirv(truncated, &error));
}

}  // namespace
}  // namespace platform::gpu::vulkan
