// Linked into the tests of a sanitizer build only. The Vulkan loader unloads the
// validation layer before the leak check runs, which would leave the layer's own leaks
// without a module name to suppress them by. Opening it once more with RTLD_NODELETE
// keeps it mapped to the end; RTLD_LOCAL keeps its symbols from standing in for the
// loader's.
#include <dlfcn.h>

namespace {

const bool kKeptLoaded = [] {
  dlopen(HALVANE_VALIDATION_LAYER_PATH, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return true;
}();

}  // namespace
