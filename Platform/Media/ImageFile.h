#pragma once
// Whole-file reads and all-or-nothing writes for the image codecs. A write goes to a
// temporary file of its own beside the target (see TemporaryFile.h), is flushed to
// disk, and is renamed onto the target only once complete: a failure (full disk,
// missing or read-only folder) leaves neither a half-written target nor the temporary
// file, and touches no other file. Safe from any thread.
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Image.h"
#include "Platform/Media/TemporaryFile.h"

namespace platform::media {

// The bytes of a regular file. Errors: fileNotFound, unreadable (a folder, a device, a
// pipe, an I/O error), tooLarge (over maxBytes).
platform::Expected<std::vector<std::uint8_t>, ImageError> readFileBytes(
    const std::filesystem::path& path, std::uint64_t maxBytes = kMaxImageFileBytes);

// Writes bytes to path as described above. Returns the number of bytes written, or a
// writeFailed error whose message names the file and the system's reason.
platform::Expected<std::size_t, ImageError> writeFileAtomically(
    const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
    ExistingFile existing = ExistingFile::replace);

}  // namespace platform::media
