// Loading a photo or a video into a session, its failures, an initial tool, the
// temporary files it owns, covering, memory pressure and teardown; and the container's
// configuration notifications and the host's configuration values.
#include <thread>

#include "EditorSessionFakes.h"
#include "Platform/Dispatch/NotificationCenter.h"

namespace halvane::editor_test {
namespace {

using platform::dispatch::NotificationCenter;
using platform::media::ImageOrientation;
using SessionLoadTest = EditorSessionTest;

TEST_F(SessionLoadTest, APhotoLoadsUprightWithTheSizeOfItsBakedTexture) {
  // A stored 6 x 4 picture; the turned orientations come out 4 x 6.
  using enum ImageOrientation;
  for (ImageOrientation orientation : {up, down, left, right, upMirrored, downMirrored, leftMirrored, rightMirrored}) {
    SCOPED_TRACE(int(orientation));
    const bool turned =
        orientation == left || orientation == right || orientation == leftMirrored || orientation == rightMirrored;
    auto session = open(makeImage(6, 4, orientation));
    ASSERT_TRUE(session->sourceTexture());
    EXPECT_EQ(std::pair(session->sourceWidth(), session->sourceHeight()), turned ? std::pair(4, 6) : std::pair(6, 4));
    EXPECT_EQ(session->sourceImageOrientation(), up);
    // The decoded picture is kept only when no turn was needed.
    EXPECT_EQ(session->sourceCGImage().has_value(), orientation == up);
    EXPECT_EQ(container->renderingEngine->previewSource(), session->sourceTexture());
    EXPECT_EQ(container->renderingEngine->previewView(), session->previewView());
    EXPECT_EQ(toolStrip->isVideo, false);
  }
}

TEST_F(SessionLoadTest, AMediumThatCannotLoadShowsTheAlertWhoseButtonCancelsAndDismisses) {
  videoLoader->hasVideoTrack = false;
  const std::pair<const char*, MediaContent> cases[] = {{"a photo without a bitmap", platform::media::Image{}},
                                                        {"a video without a video track", tempFolder / "sound.m4a"}};
  for (const auto& [name, content] : cases) {
    SCOPED_TRACE(name);
    screen = std::make_shared<FakeScreen>();
    delegate->calls.clear();
    auto session = open(content);
    EXPECT_TRUE(screen->alerts.empty());  // on the next turn
    queue->runPending();
    ASSERT_EQ(screen->alerts, std::vector<EditorAlert>{kLoadErrorAlert});
    EXPECT_TRUE(delegate->calls.empty());
    screen->alertButtons[0]();
    EXPECT_EQ(delegate->calls, std::vector<std::string>{"cancel"});
    EXPECT_EQ(screen->dismissals, 1);
  }
}

TEST_F(SessionLoadTest, AnInitialToolOpensWhenItsMediumAllowsItAndAPhotosTrimIsIgnoredForGood) {
  HalvaneConfig config;
  config.initialTool = MediaTool::adjust;
  auto photo = openPhoto(config);
  EXPECT_EQ(std::tuple(photo->activeTool(), toolStrip->selected), std::tuple(MediaTool::adjust, MediaTool::adjust));
  // Entered before the load: the preview shows the committed state.
  EXPECT_EQ(previewState(), EditState{});
  panel(MediaTool::adjust).onCancel();

  config.initialTool = MediaTool::audio;
  auto video = openVideo(tempFolder / "clip.mov", config);
  EXPECT_EQ(video->activeTool(), MediaTool::audio);  // once the video is attached
  panel(MediaTool::audio).onCancel();

  config.initialTool = MediaTool::trim;
  video = openVideo(tempFolder / "clip.mov", config);
  EXPECT_FALSE(video->isToolActive());
  videoLoader->video->loaded = true;
  videoLoader->video->onTrackPropertiesLoaded();
  EXPECT_EQ(video->activeTool(), MediaTool::trim);

  // On a photo an initial trim is ignored for good.
  video.reset();
  delegate->calls.clear();
  auto session = openPhoto(config);
  EXPECT_TRUE(session->didAutoEnterInitialTool() && !session->isToolActive());
  session->viewWillAppear();
  session->viewDidAppear();
  queue->runUntilIdle();
  EXPECT_TRUE(!session->isToolActive() && delegate->calls.empty());
}

TEST_F(SessionLoadTest, AVideoInTheApplicationsTemporaryFolderIsOwnedAndOneElsewhereIsNot) {
  const auto ours = makeTemporaryDirectory(), userFile = tempFolder / "users-clip.mov";
  std::ofstream(userFile) << "not ours";
  std::filesystem::create_symlink(userFile, ours / "link.mov");
  // A user's file in the shared temporary folder, and a link in ours to a file elsewhere,
  // are not ours: teardown must never delete them.
  const std::pair<std::filesystem::path, bool> cases[] = {
      {ours / "clip.mov", true},
      {ours / "sub" / ".." / "clip.mov", true},
      {ours.string() + "x/clip.mov", false},
      {std::filesystem::path(HALVANE_MEDIA_DIR) / "video" / "train.mov", false},
      {tempFolder / "clip.mov", false},
      {ours / "link.mov", false}};
  for (const auto& [path, owned] : cases) EXPECT_EQ(openVideo(path)->tempFiles().isVideoURLOwned(), owned) << path;
  EXPECT_TRUE(std::filesystem::exists(userFile));
  EXPECT_EQ(toolStrip->isVideo, true);
}

TEST_F(SessionLoadTest, ACoveredVideoPausesAndResumesAndMemoryPressureDropsThePicture) {
  auto video = openVideo(tempFolder / "clip.mov");
  auto& player = *videoLoader->video;
  video->viewWillDisappear(false);
  EXPECT_EQ(std::pair(player.playing, player.stops), std::pair(false, 0));
  video->viewWillAppear();
  EXPECT_TRUE(player.playing);

  auto photo = openPhoto();
  ASSERT_TRUE(photo->sourceCGImage());
  photo->didReceiveMemoryWarning();
  EXPECT_TRUE(!photo->sourceCGImage() && photo->sourceTexture() && screen->purges == 1);
}

TEST_F(SessionLoadTest, TeardownRunsTwiceAndLeavesTheNextSessionsPreviewRunning) {
  auto first = openPhoto();
  first->viewWillDisappear(true);
  EXPECT_FALSE(container->renderingEngine->isDisplayLinkRunning());
  auto second = openPhoto();
  ASSERT_TRUE(container->renderingEngine->isDisplayLinkRunning());
  first.reset();  // end of life: the teardown again
  EXPECT_TRUE(container->renderingEngine->isDisplayLinkRunning());
  EXPECT_EQ(container->renderingEngine->previewView(), second->previewView());
}

// Asking whether a file is the session's makes nothing; the folder appears, owner only,
// when a file is about to be written there.
TEST_F(SessionLoadTest, TheOwnershipTestMakesNoFolder) {
  const auto folder = temporaryDirectory();  // in this test's own TMPDIR
  EXPECT_EQ(folder.parent_path(), tempFolder);
  EXPECT_TRUE(isInTemporaryDirectory(folder / "clip.mov") && !std::filesystem::exists(folder));
  EXPECT_EQ(makeTemporaryDirectory(), folder);
  EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
}

// The configuration's notifications, on the fixture's hand-pumped queue.
class AppContainerTest : public EditorSessionTest {
 protected:
  void SetUp() override {
    EditorSessionTest::SetUp();
    token = NotificationCenter::defaultCenter().addObserver(
        kAppContainerConfigurationDidChange, nullptr, [this](const platform::dispatch::Notification& notification) {
          seen.push_back(static_cast<const AppContainer*>(notification.object)->configuration());
          if (onNotification) onNotification();
        });
  }
  void TearDown() override {
    NotificationCenter::defaultCenter().removeObserver(token);
    EditorSessionTest::TearDown();
  }

  NotificationCenter::ObserverToken token = 0;
  std::vector<HalvaneConfig> seen;
  std::function<void()> onNotification;
};

TEST_F(AppContainerTest, AssignmentsInOneTurnPostOnceWithTheLastValueAndOneInTheHandlerPostsAgain) {
  EXPECT_TRUE(container->renderingEngine && container->mediaPickerService);
  for (auto preset : {PhotoExportPreset::compressed, PhotoExportPreset::balanced, PhotoExportPreset::maxQuality})
    container->setConfiguration(withPhotoPreset(preset));
  EXPECT_TRUE(seen.empty());  // nothing during the turn
  queue->runPending();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].photoExportPreset, PhotoExportPreset::maxQuality);
  queue->runPending();
  EXPECT_EQ(seen.size(), 1u);

  onNotification = [this] {
    onNotification = nullptr;
    container->setConfiguration(withPhotoPreset(PhotoExportPreset::compressed));
  };
  container->setConfiguration(withPhotoPreset(PhotoExportPreset::balanced));
  queue->runPending();
  ASSERT_EQ(seen.size(), 2u);
  queue->runPending();
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_EQ(seen[2].photoExportPreset, PhotoExportPreset::compressed);
}

TEST_F(AppContainerTest, AContainerGoneBeforeDeliveryPostsNothing) {
  auto own = makeContainer();
  own->setConfiguration(withPhotoPreset(PhotoExportPreset::balanced));
  own.reset();
  queue->runPending();
  EXPECT_TRUE(seen.empty());
}

TEST_F(AppContainerTest, SettingOffTheMainQueueStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([] { container->setConfiguration(HalvaneConfig{}); }).join(), "main queue");
}

TEST(HalvaneConfig, NoRatioListShowsTheDefaultsAndAGivenOneStandsAsGivenEvenEmpty) {
  HalvaneConfig config;
  EXPECT_EQ(config.effectiveCropAspects(), defaultCropAspects());
  // An empty list is not none; a ratio is never reduced.
  for (const auto& given : {std::vector<CropAspect>{}, std::vector<CropAspect>{{1188, 2208, "👻"}}}) {
    config.cropAspects = given;
    EXPECT_EQ(config.effectiveCropAspects(), given);
  }
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
}  // namespace halvane::editor_test
