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
  std::string error;
  auto interface = reflectSpirv(module(name), &error);
  EXPECT_TRUE(interface) << name << ": " << error;
  return interface.value_or(ShaderInterface{});
}

TEST(SpirvReflection, StagesBlocksTexturesAndGroupSize) {
  ShaderInterface tile = reflect("gpuTileKernel");
  EXPECT_EQ(tile.stage, ShaderStage::compute);
  EXPECT_EQ(tile.entryPoint, "main");
  EXPECT_EQ(std::vector<uint32_t>(tile.localSize, tile.localSize + 3), (std::vector<uint32_t>{16, 16, 1}));
  struct Row {
    uint32_t binding;
    ResourceKind kind;
  };
  const Row rows[] = {{0, ResourceKind::uniformBlock}, {8, ResourceKind::sampledTexture}, {9, ResourceKind::storageTexture}};
  ASSERT_EQ(tile.resources.size(), std::size(rows));
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(tile.resources[i].binding, rows[i].binding) << i;
    EXPECT_EQ(tile.resources[i].kind, rows[i].kind) << i;
  }
  EXPECT_EQ(tile.resources[0].blockSize, 8u);
  EXPECT_EQ(reflect("gpuBlockKernel").resources.at(0).blockSize, 208u);
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
