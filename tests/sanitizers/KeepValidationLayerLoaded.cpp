// Linked into the tests of a sanitizer build only. The Vulkan loader unloads the
// validation layer and the CPU driver (lavapipe) before the leak check runs, which
// would leave their own leaks without a module name to suppress them by. Opening them
// once more with RTLD_NODELETE keeps them mapped to the end; RTLD_LOCAL keeps their
// symbols from standing in for the loader's.
#include <dlfcn.h>

#include <initializer_list>

namespace {

const bool kKeptLoaded = [] {
  for (const char* library : {HALVANE_VALIDATION_LAYER_PATH, "libvulkan_lvp.so"})
    dlopen(library, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return true;
}();

}  // namespace
