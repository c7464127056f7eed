#include "EngineStart.h"

#include "Command.h"

namespace halvane::cli {

std::shared_ptr<RenderingEngine> startEngine() {
  auto engine = RenderingEngine::make();
  if (!engine) throw CommandError(engine.error().message);
  return *engine;
}

}  // namespace halvane::cli
