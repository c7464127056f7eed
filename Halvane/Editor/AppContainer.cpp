#include "Halvane/Editor/AppContainer.h"

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"

namespace halvane {

std::shared_ptr<AppContainer> AppContainer::create(HalvaneConfig configuration, RenderingEngineOptions engineOptions) {
  auto engine = RenderingEngine::create(std::move(engineOptions));
  return std::shared_ptr<AppContainer>(new AppContainer(std::move(configuration), std::move(engine)));
}

AppContainer::AppContainer(HalvaneConfig configuration, std::shared_ptr<RenderingEngine> engine)
    : mediaPickerService(std::make_shared<MediaPickerService>()),
      renderingEngine(std::move(engine)),
      configuration_(std::move(configuration)) {}

void AppContainer::setConfiguration(HalvaneConfig configuration) {
  configuration_ = std::move(configuration);
  scheduleConfigurationChange();
}

void AppContainer::scheduleConfigurationChange() {
  platform::dispatch::assertMainQueue();
  if (configChangeScheduled_) return;
  configChangeScheduled_ = true;
  std::weak_ptr<AppContainer> weakSelf = weak_from_this();
  platform::dispatch::MainQueue::shared()->async([weakSelf] {
    auto self = weakSelf.lock();
    if (!self) return;
    // Cleared before posting, so an assignment inside a handler schedules anew.
    self->configChangeScheduled_ = false;
    platform::dispatch::NotificationCenter::defaultCenter().post(kAppContainerConfigurationDidChange, self.get());
  });
}

}  // namespace halvane
