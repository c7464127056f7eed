#pragma once
// The compiled kernels of a resource bundle: a folder of SPIR-V modules, one per entry
// name (<name>.spv). Immutable once loaded; safe to share between threads.
#include <memory>
#include <string>
#include <vector>

namespace platform::gpu {

class Library {
 public:
  virtual ~Library() = default;
  virtual std::string path() const = 0;
  virtual std::vector<std::string> functionNames() const = 0;
  virtual bool hasFunction(const std::string& name) const = 0;
};

}  // namespace platform::gpu
