// The session on the engine's own services: a photo rendered off the main thread, a
// video loaded, played and exported through VideoRenderer.
#include "EditorSessionFakes.h"
#include "Support/TestClips.h"
#include "Support/MainQueuePump.h"

namespace halvane::editor_test {
namespace {

class RealServicesTest : public EditorSessionTest {
 protected:
  void SetUp() override {
    EditorSessionTest::SetUp();
    realServices = true;
  }
};

TEST_F(RealServicesTest, AnEditedPhotoIsRenderedOffTheMainThreadAndDelivered) {
  auto session = openPhoto();
  commit(*session, withExposure(-1));
  session->shareTapped();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return !delegate->results.empty(); }));
  const auto& image = std::get<platform::media::Image>(delegate->results[0]);
  EXPECT_EQ(image.width, 8);
  EXPECT_EQ(image.height, 6);
  EXPECT_LT(image.pixel(4, 3)[1], 200);  // darker than the white source
  EXPECT_FALSE(session->isExporting());
}

TEST_F(RealServicesTest, AVideoOpensInTrimOnceLoadedAndItsExportReachesTheHost) {
  const std::filesystem::path clip = testsupport::makeClip("editor-session-clip", {});
  HalvaneConfig config;
  config.initialTool = MediaTool::trim;
  auto session = openVideo(clip, config);
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return session->isToolActive(); }));
  EXPECT_EQ(session->activeTool(), MediaTool::trim);
  EditState edit = withExposure(0.5f);
  edit.trimEnd = 0.5;
  session->setWorkingState(edit);
  panel(MediaTool::trim).onConfirm();

  session->shareTapped();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return !delegate->results.empty() || !delegate->errors.empty(); }));
  ASSERT_TRUE(delegate->errors.empty()) << delegate->errors[0].localizedDescription;
  const auto movie = std::get<std::filesystem::path>(delegate->results[0]);
  EXPECT_FALSE(screen->progressViews.at(0)->progress.empty());
  session->viewWillDisappear(true);
  session.reset();
  EXPECT_TRUE(std::filesystem::exists(movie));  // delivered: the host's now
  EXPECT_EQ(testsupport::probeMovie(movie.string()).video.size(), 1u);
}

}  // namespace
}  // namespace halvane::editor_test
