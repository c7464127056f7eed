#pragma once
// The little of EXIF the system needs: the orientation tag of IFD0, read from the
// EXIF payload of a JPEG APP1 segment, a PNG eXIf chunk or a WebP EXIF chunk, and a
// minimal EXIF block that carries only that tag, for the JPEG and PNG writers.
// Pure functions on bytes; safe from any thread.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace platform::media {

// The EXIF orientation number (usually 1 to 8) stored in IFD0, or none when the payload
// has no such tag or is malformed. The payload is the TIFF structure, optionally
// preceded by the "Exif\0\0" identifier (JPEG always has it, some PNG and WebP writers
// add it too). Every offset is bounds-checked: any byte sequence is safe to pass.
std::optional<int> readExifOrientation(std::span<const std::uint8_t> payload);

// A big-endian TIFF structure with IFD0 holding one entry, Orientation = exifNumber.
// With withIdentifier, prefixed by "Exif\0\0" as a JPEG APP1 segment wants it.
std::vector<std::uint8_t> makeExifOrientationBlock(int exifNumber, bool withIdentifier);

}  // namespace platform::media
