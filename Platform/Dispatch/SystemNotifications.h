#pragma once
// Names of the notifications the platform posts on NotificationCenter::defaultCenter().
namespace platform::dispatch {

// The system is short of memory: caches should be dropped. Posted by the host (the
// application watches the kernel's memory pressure; tests post it by hand).
inline constexpr const char* kMemoryWarningNotification = "ApplicationDidReceiveMemoryWarning";

}  // namespace platform::dispatch
