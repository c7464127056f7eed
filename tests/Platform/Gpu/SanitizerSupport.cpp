// Under AddressSanitizer, leaks inside the Vulkan driver and layers (lavapipe, LLVM, the
// validation layer keep some allocations for the life of the process) would fail every
// GPU test. The loader unloads them before the leak check, so their frames lose their
// names; pinning them keeps the names, and the suppressions below name them. Leaks of
// this project's code still fail.
#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>

#include <initializer_list>

namespace {

const bool pinned = [] {
  for (const char* library : {"libvulkan_lvp.so", "libVkLayer_khronos_validation.so"})
    dlopen(library, RTLD_LAZY | RTLD_NODELETE);
  return true;
}();

}  // namespace

extern "C" const char* __lsan_default_suppressions() {
  return "leak:libvulkan_lvp.so\n"
         "leak:libLLVM\n"
         "leak:libVkLayer_khronos_validation.so\n";
}
#endif
