#pragma once
// The host's monotonic media clock, in seconds, as CACurrentMediaTime is on a phone.
namespace platform::dispatch {

double mediaTime();

}  // namespace platform::dispatch
