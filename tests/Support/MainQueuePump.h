#pragma once
// Drives a manual main queue while a test waits for work that other threads post to it.
#include <chrono>
#include <functional>

#include "Platform/Dispatch/ManualMainQueue.h"

namespace testsupport {

// Runs turns of the queue until `done`; false once `limit` of real time has passed.
bool pumpUntil(platform::dispatch::ManualMainQueue& queue, const std::function<bool()>& done,
               std::chrono::milliseconds limit = std::chrono::milliseconds(60000));

}  // namespace testsupport
