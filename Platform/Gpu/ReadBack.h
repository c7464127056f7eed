#pragma once
// Bringing a texture's BGRA8 pixels back to memory: the one read-back that the preview's
// presenters, the engine's bitmaps and the command-line tool share. Safe from any
// thread, within Texture's rule: never while a command buffer that writes the texture
// is in flight.
#include <cstddef>
#include <memory>

#include "Platform/Gpu/CommandBuffer.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Gpu/Texture.h"

namespace platform::gpu {

// Copies the whole of a host-readable (shared) BGRA8 texture into rows of bytesPerRow
// bytes at `destination`. False, with nothing written, for any other texture or for
// rows shorter than the texture's.
bool readBackBGRA8(const Texture& texture, void* destination, size_t bytesPerRow);

// Encodes a copy of `texture` into a new host-readable texture of its size and format,
// for readBackBGRA8 (or getBytes, for another format) once the command buffer completed.
// None when the copy or the encoder cannot be had.
std::shared_ptr<Texture> encodeHostReadableCopy(Device& device, CommandBuffer& commandBuffer,
                                                const std::shared_ptr<Texture>& texture);

}  // namespace platform::gpu
