#include "Platform/Gpu/vulkan/SpirvReflection.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace platform::gpu::vulkan {
namespace {

// Opcodes, decorations and enumerants of SPIR-V 1.x that this reader uses.
constexpr uint32_t kMagic = 0x07230203;
enum Op : uint32_t {
  OpName = 5,
  OpEntryPoint = 15,
  OpExecutionMode = 16,
  OpCapability = 17,
  OpTypeInt = 21,
  OpTypeFloat = 22,
  OpTypeVector = 23,
  OpTypeMatrix = 24,
  OpTypeImage = 25,
  OpTypeSampler = 26,
  OpTypeSampledImage = 27,
  OpTypeArray = 28,
  OpTypeRuntimeArray = 29,
  OpTypeStruct = 30,
  OpTypePointer = 32,
  OpConstant = 43,
  OpConstantComposite = 44,
  OpVariable = 59,
  OpDecorate = 71,
  OpMemberDecorate = 72,
  OpExecutionModeId = 331,
};
enum Decoration : uint32_t {
  DecorationBlock = 2,
  DecorationBufferBlock = 3,
  DecorationArrayStride = 6,
  DecorationMatrixStride = 7,
  DecorationBuiltIn = 11,
  DecorationBinding = 33,
  DecorationDescriptorSet = 34,
  DecorationOffset = 35,
};
constexpr uint32_t kExecutionModeLocalSize = 17;
constexpr uint32_t kExecutionModeLocalSizeId = 38;
constexpr uint32_t kBuiltInWorkgroupSize = 25;
constexpr uint32_t kCapabilityStorageImageReadWithoutFormat = 55;
constexpr uint32_t kStorageClassUniformConstant = 0;
constexpr uint32_t kStorageClassUniform = 2;
constexpr uint32_t kStorageClassPushConstant = 9;
constexpr uint32_t kStorageClassStorageBuffer = 12;
constexpr uint32_t kDim2D = 1;
constexpr uint32_t kImageFormatUnknown = 0;

struct Instruction {
  uint32_t opcode;
  const uint32_t* operands;
  uint32_t count;  // operand words
};

std::string readString(const uint32_t* words, uint32_t count, uint32_t* consumed) {
  std::string text;
  for (uint32_t i = 0; i < count; ++i) {
    for (int byte = 0; byte < 4; ++byte) {
      char c = static_cast<char>((words[i] >> (8 * byte)) & 0xff);
      if (c == 0) {
        if (consumed) *consumed = i + 1;
        return text;
      }
      text.push_back(c);
    }
  }
  if (consumed) *consumed = count;
  return text;
}

ShaderStage stageOf(uint32_t executionModel) {
  switch (executionModel) {
    case 0: return ShaderStage::vertex;
    case 4: return ShaderStage::fragment;
    case 5: return ShaderStage::compute;
    default: return ShaderStage::other;
  }
}

class Module {
 public:
  explicit Module(const std::vector<Instruction>& instructions) {
    for (const Instruction& in : instructions) {
      const uint32_t* o = in.operands;
      switch (in.opcode) {
        case OpName:
          if (in.count >= 2) names_[o[0]] = readString(o + 1, in.count - 1, nullptr);
          break;
        case OpTypeInt: case OpTypeFloat: case OpTypeVector: case OpTypeMatrix: case OpTypeImage:
        case OpTypeSampler: case OpTypeSampledImage: case OpTypeArray: case OpTypeRuntimeArray:
        case OpTypeStruct: case OpTypePointer:
          if (in.count >= 1) types_[o[0]] = in;
          break;
        case OpConstant:
          if (in.count >= 3) constants_[o[1]] = o[2];
          break;
        case OpConstantComposite:
          if (in.count >= 2) composites_[o[1]] = std::vector<uint32_t>(o + 2, o + in.count);
          break;
        case OpDecorate:
          if (in.count >= 2) decorations_[o[0]].push_back({o[1], in.count >= 3 ? o[2] : 0});
          break;
        case OpMemberDecorate:
          if (in.count >= 3) memberDecorations_[o[0]][o[1]].push_back({o[2], in.count >= 4 ? o[3] : 0});
          break;
        default:
          break;
      }
    }
  }

  std::optional<uint32_t> decoration(uint32_t id, uint32_t which) const {
    auto it = decorations_.find(id);
    if (it == decorations_.end()) return std::nullopt;
    for (const auto& [kind, value] : it->second)
      if (kind == which) return value;
    return std::nullopt;
  }
  bool hasDecoration(uint32_t id, uint32_t which) const { return decoration(id, which).has_value(); }

  std::optional<uint32_t> memberDecoration(uint32_t id, uint32_t member, uint32_t which) const {
    auto it = memberDecorations_.find(id);
    if (it == memberDecorations_.end()) return std::nullopt;
    auto m = it->second.find(member);
    if (m == it->second.end()) return std::nullopt;
    for (const auto& [kind, value] : m->second)
      if (kind == which) return value;
    return std::nullopt;
  }

  const Instruction* type(uint32_t id) const {
    auto it = types_.find(id);
    return it == types_.end() ? nullptr : &it->second;
  }
  std::optional<uint32_t> constant(uint32_t id) const {
    auto it = constants_.find(id);
    if (it == constants_.end()) return std::nullopt;
    return it->second;
  }
  const std::vector<uint32_t>* composite(uint32_t id) const {
    auto it = composites_.find(id);
    return it == composites_.end() ? nullptr : &it->second;
  }
  std::string name(uint32_t id) const {
    auto it = names_.find(id);
    return it == names_.end() ? std::string() : it->second;
  }
  const std::unordered_map<uint32_t, std::vector<uint32_t>>& composites() const { return composites_; }

  // Size in bytes of a type inside a uniform block, from its Offset, ArrayStride and
  // MatrixStride decorations. 0 when it cannot be told.
  uint32_t sizeOf(uint32_t typeId, uint32_t matrixStride, int depth = 0) const {
    const Instruction* t = type(typeId);
    if (!t || depth > 16) return 0;
    const uint32_t* o = t->operands;
    switch (t->opcode) {
      case OpTypeInt:
      case OpTypeFloat:
        return t->count >= 2 ? o[1] / 8 : 0;
      case OpTypeVector:
        return t->count >= 3 ? o[2] * sizeOf(o[1], 0, depth + 1) : 0;
      case OpTypeMatrix:
        return t->count >= 3 ? o[2] * (matrixStride ? matrixStride : sizeOf(o[1], 0, depth + 1)) : 0;
      case OpTypeArray: {
        if (t->count < 3) return 0;
        auto length = constant(o[2]);
        auto stride = decoration(o[0], DecorationArrayStride);
        return length && stride ? *length * *stride : 0;
      }
      case OpTypeStruct: {
        uint32_t size = 0;
        for (uint32_t m = 0; m + 1 < t->count; ++m) {
          auto offset = memberDecoration(o[0], m, DecorationOffset);
          uint32_t memberSize = sizeOf(o[1 + m], memberDecoration(o[0], m, DecorationMatrixStride).value_or(0), depth + 1);
          if (!offset || memberSize == 0) return 0;
          size = std::max(size, *offset + memberSize);
        }
        return size;
      }
      default:
        return 0;
    }
  }

 private:
  std::unordered_map<uint32_t, std::string> names_;
  std::unordered_map<uint32_t, Instruction> types_;
  std::unordered_map<uint32_t, uint32_t> constants_;
  std::unordered_map<uint32_t, std::vector<uint32_t>> composites_;
  std::unordered_map<uint32_t, std::vector<std::pair<uint32_t, uint32_t>>> decorations_;
  std::unordered_map<uint32_t, std::unordered_map<uint32_t, std::vector<std::pair<uint32_t, uint32_t>>>> memberDecorations_;
};

ShaderResource describeVariable(const Module& module, uint32_t variableId, uint32_t pointerType, uint32_t storageClass) {
  ShaderResource r;
  r.set = module.decoration(variableId, DecorationDescriptorSet).value_or(0);
  r.binding = module.decoration(variableId, DecorationBinding).value_or(0);
  r.name = module.name(variableId);

  const Instruction* pointer = module.type(pointerType);
  if (!pointer || pointer->opcode != OpTypePointer || pointer->count < 3) {
    r.unsupportedReason = "its type cannot be read";
    return r;
  }
  uint32_t pointee = pointer->operands[2];
  const Instruction* t = module.type(pointee);
  if (!t) {
    r.unsupportedReason = "its type cannot be read";
    return r;
  }
  if (t->opcode == OpTypeArray || t->opcode == OpTypeRuntimeArray) {
    r.unsupportedReason = "arrays of resources are not supported";
    return r;
  }
  if (storageClass == kStorageClassUniform && t->opcode == OpTypeStruct) {
    if (module.hasDecoration(pointee, DecorationBufferBlock)) {
      r.unsupportedReason = "storage buffers are not supported";
      return r;
    }
    r.kind = ResourceKind::uniformBlock;
    r.blockSize = module.sizeOf(pointee, 0);
    if (r.name.empty()) r.name = module.name(pointee);
    return r;
  }
  if (storageClass == kStorageClassStorageBuffer) {
    r.unsupportedReason = "storage buffers are not supported";
    return r;
  }
  if (storageClass == kStorageClassUniformConstant) {
    if (t->opcode == OpTypeSampledImage && t->count >= 2) {
      const Instruction* image = module.type(t->operands[1]);
      if (image && image->opcode == OpTypeImage && image->count >= 7 && image->operands[2] == kDim2D &&
          image->operands[4] == 0 && image->operands[5] == 0) {
        r.kind = ResourceKind::sampledTexture;
        return r;
      }
      r.unsupportedReason = "only sampler2D is supported";
      return r;
    }
    if (t->opcode == OpTypeImage && t->count >= 8) {
      const uint32_t* o = t->operands;
      if (o[6] == 2 && o[2] == kDim2D && o[4] == 0 && o[5] == 0) {
        if (o[7] != kImageFormatUnknown) {
          r.unsupportedReason =
              "a storage image must have no format qualifier (textures are BGRA8, which GLSL cannot name)";
          return r;
        }
        r.kind = ResourceKind::storageTexture;
        return r;
      }
      r.unsupportedReason = o[6] == 1 ? "separate textures are not supported; use sampler2D"
                                      : "only 2D storage images are supported";
      return r;
    }
    if (t->opcode == OpTypeSampler) {
      r.unsupportedReason = "separate samplers are not supported; use sampler2D";
      return r;
    }
  }
  r.unsupportedReason = "this kind of resource is not supported";
  return r;
}

}  // namespace

platform::Expected<ShaderInterface, GpuError> reflectSpirv(const std::vector<uint32_t>& words) {
  auto fail = [](const std::string& message) {
    return platform::unexpected(GpuError{GpuError::Kind::unreadableLibrary, message});
  };
  if (words.size() < 5 || words[0] != kMagic) return fail("not a SPIR-V module (bad magic number)");

  std::vector<Instruction> instructions;
  for (size_t at = 5; at < words.size();) {
    uint32_t count = words[at] >> 16;
    uint32_t opcode = words[at] & 0xffff;
    if (count == 0 || at + count > words.size()) return fail("truncated SPIR-V instruction");
    instructions.push_back({opcode, &words[at + 1], count - 1});
    at += count;
  }
  Module module(instructions);

  struct Entry {
    ShaderStage stage;
    uint32_t id;
    std::string name;
  };
  std::vector<Entry> entries;
  for (const Instruction& in : instructions)
    if (in.opcode == OpEntryPoint && in.count >= 3)
      entries.push_back({stageOf(in.operands[0]), in.operands[1], readString(in.operands + 2, in.count - 2, nullptr)});
  if (entries.empty()) return fail("the module has no entry point");
  const Entry* entry = &entries.front();
  if (entries.size() > 1) {
    auto it = std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.name == "main"; });
    if (it == entries.end()) return fail("the module has several entry points and none is named main");
    entry = &*it;
  }

  ShaderInterface result;
  result.stage = entry->stage;
  result.entryPoint = entry->name;
  for (const Instruction& in : instructions) {
    const uint32_t* o = in.operands;
    if (in.opcode == OpExecutionMode && in.count >= 5 && o[0] == entry->id && o[1] == kExecutionModeLocalSize) {
      result.localSize[0] = o[2];
      result.localSize[1] = o[3];
      result.localSize[2] = o[4];
    } else if (in.opcode == OpExecutionModeId && in.count >= 5 && o[0] == entry->id && o[1] == kExecutionModeLocalSizeId) {
      for (int i = 0; i < 3; ++i) {
        auto value = module.constant(o[2 + i]);
        if (!value) return fail("the local size is a specialisation constant, which is not supported");
        result.localSize[i] = *value;
      }
    } else if (in.opcode == OpCapability && in.count >= 1 && o[0] == kCapabilityStorageImageReadWithoutFormat) {
      result.readsFormatlessStorageImage = true;
    }
  }
  // A constant decorated as the WorkgroupSize built-in wins over the execution mode.
  for (const auto& [id, components] : module.composites()) {
    if (module.decoration(id, DecorationBuiltIn) == kBuiltInWorkgroupSize && components.size() == 3) {
      for (int i = 0; i < 3; ++i) {
        auto value = module.constant(components[i]);
        if (!value) return fail("the local size is a specialisation constant, which is not supported");
        result.localSize[i] = *value;
      }
    }
  }

  for (const Instruction& in : instructions) {
    if (in.opcode != OpVariable || in.count < 3) continue;
    uint32_t storageClass = in.operands[2];
    uint32_t id = in.operands[1];
    if (storageClass == kStorageClassPushConstant) {
      ShaderResource r;
      r.name = module.name(id);
      r.unsupportedReason = "push constants are not used by this layer; use a uniform block";
      result.resources.push_back(r);
      continue;
    }
    if (storageClass != kStorageClassUniformConstant && storageClass != kStorageClassUniform &&
        storageClass != kStorageClassStorageBuffer)
      continue;
    if (!module.hasDecoration(id, DecorationBinding) && !module.hasDecoration(id, DecorationDescriptorSet)) continue;
    result.resources.push_back(describeVariable(module, id, in.operands[0], storageClass));
  }
  std::sort(result.resources.begin(), result.resources.end(),
            [](const ShaderResource& a, const ShaderResource& b) { return a.binding < b.binding; });
  return result;
}

}  // namespace platform::gpu::vulkan
