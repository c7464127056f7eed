#pragma once
// The engine for a command: a machine without a usable GPU or with a broken install
// gets the reason and exit status 1, not a crash.
#include <memory>

#include "Halvane/Rendering/RenderingEngine.h"

namespace halvane::cli {

// Throws CommandError naming why the engine could not start.
std::shared_ptr<RenderingEngine> startEngine();

}  // namespace halvane::cli
