#pragma once
// The one way this library stops the program on a broken precondition: a line on
// stderr naming what went wrong, then std::abort. Internal to Platform/Dispatch.
#include <string_view>

namespace platform::dispatch::detail {

[[noreturn]] void fatal(std::string_view message);

}  // namespace platform::dispatch::detail
