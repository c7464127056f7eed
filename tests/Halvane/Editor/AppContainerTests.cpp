#include <gtest/gtest.h>

#include "Halvane/Editor/AppContainer.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"

namespace halvane {
namespace {

using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;
using platform::dispatch::NotificationCenter;

class AppContainerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
    RenderingEngineOptions options;
    options.device.preferredDevice = "cpu";
    container = AppContainer::create(HalvaneConfig{}, options);
    token = NotificationCenter::defaultCenter().addObserver(
        kAppContainerConfigurationDidChange, nullptr, [this](const platform::dispatch::Notification& notification) {
          seen.push_back(static_cast<const AppContainer*>(notification.object)->configuration());
          if (onNotification) onNotification();
        });
  }
  void TearDown() override {
    NotificationCenter::defaultCenter().removeObserver(token);
    MainQueue::setShared(nullptr);
  }

  std::shared_ptr<ManualMainQueue> queue;
  std::shared_ptr<AppContainer> container;
  NotificationCenter::ObserverToken token = 0;
  std::vector<HalvaneConfig> seen;
  std::function<void()> onNotification;
};

HalvaneConfig withPreset(PhotoExportPreset preset) {
  HalvaneConfig config;
  config.photoExportPreset = preset;
  return config;
}

TEST_F(AppContainerTest, AssignmentsInOneTurnPostOnceWithTheLastValueAndOneInTheHandlerPostsAgain) {
  EXPECT_TRUE(container->renderingEngine && container->mediaPickerService);
  for (auto preset : {PhotoExportPreset::compressed, PhotoExportPreset::balanced, PhotoExportPreset::maxQuality})
    container->setConfiguration(withPreset(preset));
  EXPECT_TRUE(seen.empty());  // nothing during the turn
  queue->runPending();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].photoExportPreset, PhotoExportPreset::maxQuality);
  queue->runPending();
  EXPECT_EQ(seen.size(), 1u);

  onNotification = [this] {
    onNotification = nullptr;
    container->setConfiguration(withPreset(PhotoExportPreset::compressed));
  };
  container->setConfiguration(withPreset(PhotoExportPreset::balanced));
  queue->runPending();
  ASSERT_EQ(seen.size(), 2u);
  queue->runPending();
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_EQ(seen[2].photoExportPreset, PhotoExportPreset::compressed);
}

TEST_F(AppContainerTest, AContainerGoneBeforeDeliveryPostsNothing) {
  container->setConfiguration(withPreset(PhotoExportPreset::balanced));
  container.reset();
  queue->runPending();
  EXPECT_TRUE(seen.empty());
}

TEST_F(AppContainerTest, SettingOffTheMainQueueStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([this] { container->setConfiguration(HalvaneConfig{}); }).join(), "main queue");
}

TEST(HalvaneConfig, AnEmptyRatioListIsNotNone) {
  HalvaneConfig config;
  EXPECT_EQ(config.effectiveCropAspects().size(), 7u);
  EXPECT_EQ(config.effectiveCropAspects()[0], (CropAspect{1, 1, "Square"}));
  config.cropAspects = std::vector<CropAspect>{};
  EXPECT_TRUE(config.effectiveCropAspects().empty());
  config.cropAspects = std::vector<CropAspect>{{1188, 2208, "👻"}};
  EXPECT_EQ(config.effectiveCropAspects()[0].width, 1188);  // never reduced
}

TEST(MediaTool, RawValuesRoundTrip) {
  for (MediaTool tool : kAllMediaTools) EXPECT_EQ(mediaToolFromRawValue(mediaToolInfo(tool).rawValue), tool);
  EXPECT_FALSE(mediaToolFromRawValue("crop"));
}

TEST(MediaPickerError, DescriptionsCarryTheUnderlyingError) {
  EXPECT_EQ((MediaPickerError{MediaPickerError::Kind::loadFailed, "disk gone"}).localizedDescription(),
            "Failed to load media: disk gone");
  EXPECT_EQ((MediaPickerError{MediaPickerError::Kind::cancelled, std::nullopt}).localizedDescription(),
            "Selection was cancelled");
}

}  // namespace
}  // namespace halvane
