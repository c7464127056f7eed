#pragma once
// What the rendering commands allow of an output path, the same for every command: an
// output that is the input (by any path or link, compared by device and inode) is
// refused, and an existing output is kept unless `-y`/`--overwrite` asks to replace it.
#include <string>

namespace halvane::cli {

// Throws CommandError when the output would be the input, or exists without
// `overwrite`.
void checkOutputPath(const std::string& input, const std::string& output, bool overwrite);

}  // namespace halvane::cli
