// The light SPIR-V reader, on the compiled test kernels.
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

ShaderInterface reflect(const std::string& name) {
  auto interface = reflectSpirv(module(name));
  EXPECT_TRUE(interface) << name << ": " << interface.error().message;
  return interface ? *interface : ShaderInterface{};
}

TEST(SpirvReflection, AKernelsBlockTexturesAndGroupSize) {
  ShaderInterface shader = reflect("gpuTileKernel");
  EXPECT_EQ(shader.stage, ShaderStage::compute);
  EXPECT_EQ(shader.entryPoint, "main");
  EXPECT_EQ(shader.localSize[0], 16u);
  EXPECT_EQ(shader.localSize[1], 16u);
  EXPECT_EQ(shader.localSize[2], 1u);
  ASSERT_EQ(shader.resources.size(), 3u);
  EXPECT_EQ(shader.resources[0].binding, 0u);
  EXPECT_EQ(shader.resources[0].kind, ResourceKind::uniformBlock);
  EXPECT_EQ(shader.resources[0].blockSize, 8u);
  EXPECT_EQ(shader.resources[1].binding, 8u);
  EXPECT_EQ(shader.resources[1].kind, ResourceKind::sampledTexture);
  EXPECT_EQ(shader.resources[2].binding, 9u);
  EXPECT_EQ(shader.resources[2].kind, ResourceKind::storageTexture);
}

TEST(SpirvReflection, TheSizeOfA208ByteBlock) {
  ShaderInterface shader = reflect("gpuBlockKernel");
  ASSERT_FALSE(shader.resources.empty());
  EXPECT_EQ(shader.resources[0].blockSize, 208u);
}

TEST(SpirvReflection, VertexAndFragmentStages) {
  ShaderInterface vertex = reflect("gpuQuadVertex");
  EXPECT_EQ(vertex.stage, ShaderStage::vertex);
  ASSERT_EQ(vertex.resources.size(), 1u);
  EXPECT_EQ(vertex.resources[0].blockSize, 16u);
  ShaderInterface fragment = reflect("gpuQuadFragment");
  EXPECT_EQ(fragment.stage, ShaderStage::fragment);
  ASSERT_EQ(fragment.resources.size(), 2u);
  EXPECT_EQ(fragment.resources[0].binding, 4u);
  EXPECT_EQ(fragment.resources[1].kind, ResourceKind::sampledTexture);
}

TEST(SpirvReflection, AFormatQualifiedStorageImageIsUnsupported) {
  ShaderInterface shader = reflect("gpuFormattedKernel");
  ASSERT_EQ(shader.resources.size(), 1u);
  EXPECT_EQ(shader.resources[0].kind, ResourceKind::unsupported);
  EXPECT_FALSE(shader.resources[0].unsupportedReason.empty());
}

TEST(SpirvReflection, WordsThatAreNotAModuleAreRefused) {
  auto notAModule = reflectSpirv({1, 2, 3, 4, 5, 6});
  ASSERT_FALSE(notAModule);
  EXPECT_EQ(notAModule.error().kind, GpuError::Kind::unreadableLibrary);
  EXPECT_NE(notAModule.error().message.find("magic"), std::string::npos);
  std::vector<uint32_t> truncated = module("gpuPatternKernel");
  ASSERT_GT(truncated.size(), 20u);
  truncated.resize(truncated.size() - 1);
  truncated.back() = 0xffff0000u | 71u;  // an instruction claiming 65535 words
  EXPECT_FALSE(reflectSpirv(truncated));
}

}  // namespace
}  // namespace platform::gpu::vulkan
