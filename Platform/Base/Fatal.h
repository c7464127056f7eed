#pragma once
// Stops the program: start-up faults of the engine and broken preconditions are not
// recoverable, and going on would only hide them.
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace platform {

[[noreturn]] inline void fatalError(std::string_view message) {
  std::fprintf(stderr, "fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  std::abort();
}

}  // namespace platform
