#pragma once
// The composition root of the engine: owns the RenderingEngine and the
// MediaPickerService for the life of the application, and the host's configuration.
// The configuration belongs to the main queue: any number of assignments in one turn
// of the main queue post one "AppContainerConfigurationDidChange" after the turn.
#include <memory>

#include "Halvane/Editor/HalvaneConfig.h"
#include "Halvane/Import/MediaPickerService.h"
#include "Halvane/Rendering/RenderingEngine.h"

namespace halvane {

inline constexpr const char* kAppContainerConfigurationDidChange = "AppContainerConfigurationDidChange";

class AppContainer : public std::enable_shared_from_this<AppContainer> {
 public:
  // Builds the engine, then the picker service. An engine that cannot start stops the
  // program.
  static std::shared_ptr<AppContainer> create(HalvaneConfig configuration,
                                              RenderingEngineOptions engineOptions = {});

  const std::shared_ptr<MediaPickerService> mediaPickerService;
  const std::shared_ptr<RenderingEngine> renderingEngine;

  HalvaneConfig configuration() const { return configuration_; }
  // Main queue only.
  void setConfiguration(HalvaneConfig configuration);

 private:
  AppContainer(HalvaneConfig configuration, std::shared_ptr<RenderingEngine> engine);
  void scheduleConfigurationChange();

  bool configChangeScheduled_ = false;
  HalvaneConfig configuration_;
};

}  // namespace halvane
