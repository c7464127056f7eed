// The libFuzzer entry of one target, whose name is given at build time.
#include <cstdlib>

#include "fuzz/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const halvane::fuzz::FuzzTarget* target = halvane::fuzz::findFuzzTarget(HALVANE_FUZZ_TARGET);
  if (!target) std::abort();
  target->run({data, size});
  return 0;
}
