#include "EditorSessionFakes.h"

namespace halvane::editor_test {
namespace {

using platform::media::ImageOrientation;
using SessionLoadTest = EditorSessionTest;

TEST_F(SessionLoadTest, APhotoLoadsUprightWithTheSizeOfItsBakedTexture) {
  // A stored 6 x 4 picture; the turned orientations come out 4 x 6.
  using enum ImageOrientation;
  for (ImageOrientation orientation : {up, down, left, right, upMirrored, downMirrored, leftMirrored, rightMirrored}) {
    SCOPED_TRACE(int(orientation));
    const bool turned = orientation == left || orientation == right || orientation == leftMirrored ||
                        orientation == rightMirrored;
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
  EXPECT_EQ(photo->activeTool(), MediaTool::adjust);
  EXPECT_EQ(toolStrip->selected, MediaTool::adjust);
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
  EXPECT_TRUE(session->didAutoEnterInitialTool());
  EXPECT_FALSE(session->isToolActive());
  session->viewWillAppear();
  session->viewDidAppear();
  queue->runUntilIdle();
  EXPECT_FALSE(session->isToolActive());
  EXPECT_TRUE(delegate->calls.empty());
}

TEST_F(SessionLoadTest, AVideoInTheApplicationsTemporaryFolderIsOwnedAndOneElsewhereIsNot) {
  const auto ours = makeTemporaryDirectory(), userFile = tempFolder / "users-clip.mov";
  std::ofstream(userFile) << "not ours";
  std::filesystem::create_symlink(userFile, ours / "link.mov");
  // A user's file in the shared temporary folder, and a link in ours to a file elsewhere,
  // are not ours: teardown must never delete them.
  const std::pair<std::filesystem::path, bool> cases[] = {
      {ours / "clip.mov", true},        {ours / "sub" / ".." / "clip.mov", true},
      {ours.string() + "x/clip.mov", false}, {std::filesystem::path(HALVANE_MEDIA_DIR) / "video" / "train.mov", false},
      {tempFolder / "clip.mov", false}, {ours / "link.mov", false}};
  for (const auto& [path, owned] : cases) EXPECT_EQ(openVideo(path)->tempFiles().isVideoURLOwned(), owned) << path;
  EXPECT_TRUE(std::filesystem::exists(userFile));
  EXPECT_EQ(toolStrip->isVideo, true);
}

TEST_F(SessionLoadTest, ACoveredVideoPausesAndResumesAndMemoryPressureDropsThePicture) {
  auto video = openVideo(tempFolder / "clip.mov");
  auto& player = *videoLoader->video;
  video->viewWillDisappear(false);
  EXPECT_FALSE(player.playing);
  EXPECT_EQ(player.stops, 0);
  video->viewWillAppear();
  EXPECT_TRUE(player.playing);

  auto photo = openPhoto();
  ASSERT_TRUE(photo->sourceCGImage());
  photo->didReceiveMemoryWarning();
  EXPECT_FALSE(photo->sourceCGImage());
  EXPECT_TRUE(photo->sourceTexture());
  EXPECT_EQ(screen->purges, 1);
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
  EXPECT_TRUE(isInTemporaryDirectory(folder / "clip.mov"));
  EXPECT_FALSE(std::filesystem::exists(folder));
  EXPECT_EQ(makeTemporaryDirectory(), folder);
  EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace halvane::editor_test
