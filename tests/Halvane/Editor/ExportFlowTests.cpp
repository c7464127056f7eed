// The export flow: one export of the committed state, pass-through, presets, the share
// sheet without a host, failures, cancellation and the temporary files; and the same
// on the engine's own services: a photo rendered off the main thread, a video loaded,
// trimmed and exported through VideoRenderer.
#include "EditorSessionFakes.h"
#include "Support/MainQueuePump.h"
#include "Support/TestClips.h"

namespace halvane::editor_test {
namespace {

using ExportFlowTest = EditorSessionTest;

TEST_F(ExportFlowTest, TwoFastShareTapsStartOneExportOfTheCommittedState) {
  auto photo = openPhoto();
  commit(*photo, withExposure(0.5f));
  photo->enterAdjustTool();
  photo->setWorkingState(withExposure(2));  // an open tool's scratch is never exported
  photo->shareTapped();
  photo->shareTapped();
  ASSERT_EQ(photoExport->renderedStates, std::vector<EditState>{withExposure(0.5f)});
  EXPECT_EQ(std::count(delegate->calls.begin(), delegate->calls.end(), "willBegin"), 1);

  auto video = shareEdited(openVideo(tempFolder / "clip.mov"));
  video->shareTapped();
  EXPECT_EQ(videoLoader->video->exportURLs.size(), 1u);
}

TEST_F(ExportFlowTest, AnUneditedMediumPassesThroughWithoutARender) {
  auto photo = openPhoto();
  photo->shareTapped();
  EXPECT_TRUE(photoExport->renders.empty());
  EXPECT_EQ(delegate->calls, std::vector<std::string>({"willBegin", "finish"}));
  EXPECT_TRUE(std::get<platform::media::Image>(delegate->results[0]).width == 8 && !photo->isExporting());

  // Without a host the share sheet gets the item, and its end ends the flow.
  const auto url = makeTempFile("clip.mov");
  auto video = openVideo(url);
  video->setDelegate({});
  video->shareTapped();
  ASSERT_EQ(screen->shared.size(), 1u);
  EXPECT_EQ(std::get<std::filesystem::path>(screen->shared[0]), url);
  EXPECT_TRUE(video->isExporting());
  screen->shareCompletions[0]();
  EXPECT_FALSE(video->isExporting());
}

TEST_F(ExportFlowTest, APhotoComesOutAtThePresetsSize) {
  for (const auto& [preset, width, height] :
       {std::tuple(PhotoExportPreset::compressed, 2048, 1536), std::tuple(PhotoExportPreset::balanced, 4000, 3000),
        std::tuple(PhotoExportPreset::maxQuality, 4000, 3000)}) {
    SCOPED_TRACE(int(preset));
    delegate->results.clear();
    photoExport->renders.clear();
    auto session = shareEdited(openPhoto(withPhotoPreset(preset)));
    EXPECT_TRUE(screen->progressIndeterminate);
    ASSERT_EQ(photoExport->renders.size(), 1u);
    photoExport->renders[0](makeImage(4000, 3000));
    ASSERT_EQ(delegate->results.size(), 1u);
    const auto& image = std::get<platform::media::Image>(delegate->results[0]);
    EXPECT_EQ(std::pair(image.width, image.height), std::pair(width, height));
    EXPECT_FALSE(session->isExporting());
  }
}

TEST_F(ExportFlowTest, WithoutAHostAPhotoGoesToTheShareSheetAsAJpegBelowMaxQuality) {
  auto session = shareEdited(openPhoto(withPhotoPreset(PhotoExportPreset::balanced)), false);
  photoExport->renders[0](makeImage(8, 6));
  ASSERT_EQ(photoExport->writes.size(), 1u);
  const auto jpeg = makeTempFile("out.jpg");
  photoExport->writes[0](jpeg);
  ASSERT_EQ(screen->shared.size(), 1u);
  EXPECT_EQ(std::get<std::filesystem::path>(screen->shared[0]), jpeg);
  EXPECT_TRUE(session->isExporting());
  screen->shareCompletions[0]();
  EXPECT_FALSE(session->isExporting() || std::filesystem::exists(jpeg));

  // A JPEG that could not be written: the picture itself is offered, no alert.
  session->shareTapped();
  photoExport->renders[1](makeImage(8, 6));
  photoExport->writes[1](std::nullopt);
  EXPECT_TRUE(std::holds_alternative<platform::media::Image>(screen->shared[1]) && screen->alerts.empty());
}

TEST_F(ExportFlowTest, AFailedPhotoRenderGoesToTheHostOrElseToTheAlert) {
  for (bool host : {true, false}) {
    SCOPED_TRACE(host);
    screen = std::make_shared<FakeScreen>();
    photoExport->renders.clear();
    auto session = shareEdited(openPhoto(), host);
    photoExport->renders[0](std::nullopt);
    EXPECT_FALSE(session->isExporting());
    EXPECT_EQ(screen->alerts, host ? std::vector<EditorAlert>{} : std::vector<EditorAlert>{kExportErrorAlert});
  }
  ASSERT_EQ(delegate->errors.size(), 1u);
  const EditorError& e = delegate->errors[0];
  EXPECT_EQ(std::tie(e.domain, e.code, e.localizedDescription), std::tuple("Halvane", 2, "Photo export failed"));
}

TEST_F(ExportFlowTest, ARenderThatEndsAfterTheFlowIsDropped) {
  using End = std::function<void(std::shared_ptr<EditorSession>&)>;
  const std::tuple<const char*, End, size_t> cases[] = {
      {"the card's cancel", [this](auto&) { screen->progressViews.back()->onCancel(); }, 1},
      {"the close button", [](auto& session) { session->closeTapped(); }, 1},
      {"the session gone", [](auto& session) { session.reset(); }, 0},
  };
  for (const auto& [name, end, errors] : cases) {
    SCOPED_TRACE(name);
    delegate->errors.clear();
    photoExport->renders.clear();
    auto session = shareEdited(openPhoto());
    end(session);
    EXPECT_FALSE(session && session->isExporting());
    photoExport->renders[0](makeImage(8, 6));
    EXPECT_TRUE(delegate->results.empty());
    ASSERT_EQ(delegate->errors.size(), errors);
    for (const auto& error : delegate->errors) EXPECT_EQ(error.code, kUserCancelledErrorCode);
  }
}

TEST_F(ExportFlowTest, AVideoExportShowsItsProgressAndDeliversTheFile) {
  auto session = shareEdited(openVideo(tempFolder / "clip.mov"));
  auto& video = *videoLoader->video;
  EXPECT_FALSE(screen->progressIndeterminate);
  video.progresses[0](0.25f);
  EXPECT_EQ(screen->progressViews[0]->progress, std::vector<float>{0.25f});
  const std::filesystem::path url = video.exportURLs[0];
  EXPECT_EQ(url.parent_path() / url.extension(), temporaryDirectory() / ".mov");  // a .mov in our folder
  video.completions[0](url.string());
  EXPECT_EQ(std::get<std::filesystem::path>(delegate->results.at(0)), url);
  EXPECT_TRUE(session->tempFiles().isDelivered(url) && !session->isExporting());
}

TEST_F(ExportFlowTest, AVideoExportsFailureGoesWhereTheTableSays) {
  enum class Stop { none, card, close };  // what the user did before the result came
  const std::string cancel = "Export cancelled by user", setup = "Failed to set up asset writer";
  // cancelled, stop, a host, what the host heard in order, alerts
  const std::tuple<bool, Stop, bool, std::vector<std::string>, size_t> cases[] = {
      {true, Stop::card, true, {cancel}, 0}, {true, Stop::card, false, {}, 0},  {true, Stop::close, true, {cancel}, 0},
      {false, Stop::none, true, {setup}, 0}, {false, Stop::none, false, {}, 1}, {false, Stop::close, true, {cancel}, 0},
      {false, Stop::close, false, {}, 1},
  };
  for (const auto& [cancelled, stop, host, errors, alerts] : cases) {
    SCOPED_TRACE(::testing::Message() << cancelled << int(stop) << host);
    screen = std::make_shared<FakeScreen>();
    videoLoader->video = std::make_shared<FakeVideo>();
    delegate = std::make_shared<FakeDelegate>();
    auto session = shareEdited(openVideo(tempFolder / "clip.mov"), host);
    if (stop == Stop::card) screen->progressViews[0]->onCancel();
    if (stop == Stop::close) session->closeTapped();
    EXPECT_EQ(videoLoader->video->cancels, stop == Stop::none ? 0 : 1);
    videoLoader->video->completions[0](
        platform::unexpected(cancelled ? VideoRenderError::cancelled() : VideoRenderError::writerSetupFailed()));
    EXPECT_FALSE(session->isExporting());
    std::vector<std::string> heard;
    for (const auto& error : delegate->errors) heard.push_back(error.localizedDescription);
    EXPECT_EQ(heard, errors);
    EXPECT_EQ(screen->alerts.size(), alerts);
    if (stop != Stop::close) continue;
    // The close ends the screen once, with the cancellation's code and no cancel of its own.
    for (const auto& error : delegate->errors) EXPECT_EQ(error.code, kUserCancelledErrorCode);
    EXPECT_EQ(std::count(delegate->calls.begin(), delegate->calls.end(), "cancel"), 0);
    EXPECT_EQ(screen->dismissals, 1);
    session->closeTapped();  // already being dismissed
    EXPECT_EQ(screen->dismissals, 1);
  }
}

TEST_F(ExportFlowTest, AVideoThatNeverLoadedFailsWithCodeThree) {
  videoLoader->hasVideoTrack = false;
  auto session = shareEdited(openVideo(tempFolder / "clip.mov"));
  EXPECT_FALSE(session->isExporting());
  ASSERT_EQ(delegate->errors.size(), 1u);
  const EditorError& e = delegate->errors[0];
  EXPECT_EQ(std::tie(e.code, e.localizedDescription), std::tuple(3, "No video asset"));
}

TEST_F(ExportFlowTest, ADeliveredTemporaryVideoSurvivesTeardownAndAnUndeliveredOneDoesNot) {
  // The source, in the temporary folder: passed through to the host, it survives.
  const auto delivered = makeTempFile("delivered.mov");
  auto session = openVideo(delivered);
  session->shareTapped();
  session.reset();
  EXPECT_TRUE(std::filesystem::exists(delivered));

  const auto kept = makeTempFile("kept.mov");
  openVideo(kept).reset();
  EXPECT_FALSE(std::filesystem::exists(kept));

  // Exports: a second one replaces the first's file unless the first was delivered;
  // teardown removes what was never delivered.
  const auto source = makeTempFile("source.mov");
  session = openVideo(source);
  session->setDelegate({});
  commit(*session, withExposure(0.5f));
  auto& video = *videoLoader->video;
  auto exportOnce = [&] {
    session->shareTapped();
    const std::filesystem::path url = video.exportURLs.back();
    makeTempFile(url.filename());
    video.completions.back()(url.string());
    screen->shareCompletions.back()();
    return url;
  };
  const auto first = exportOnce();
  const auto second = exportOnce();
  EXPECT_NE(first, second);
  EXPECT_FALSE(std::filesystem::exists(first));
  session->setDelegate(delegate);
  const auto third = exportOnce();
  EXPECT_TRUE(!std::filesystem::exists(second) && session->tempFiles().isDelivered(third));
  session->viewWillDisappear(true);
  session.reset();
  EXPECT_TRUE(std::filesystem::exists(third) && !std::filesystem::exists(source));
}

using RealServicesTest = EditorSessionTest;

TEST_F(RealServicesTest, AnEditedPhotoIsRenderedOffTheMainThreadAndDelivered) {
  realServices = true;
  auto session = openPhoto();
  commit(*session, withExposure(-1));
  session->shareTapped();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return !delegate->results.empty(); }));
  const auto& image = std::get<platform::media::Image>(delegate->results[0]);
  EXPECT_EQ(std::pair(image.width, image.height), std::pair(8, 6));
  EXPECT_TRUE(image.pixel(4, 3)[1] < 200 && !session->isExporting());  // darker than the white source
}

TEST_F(RealServicesTest, AVideoOpensInTrimOnceLoadedAndItsExportReachesTheHost) {
  realServices = true;
  HalvaneConfig config;
  config.initialTool = MediaTool::trim;
  auto session = openVideo(testsupport::makeClip("editor-session-clip", {}), config);
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return session->isToolActive(); }));
  EXPECT_EQ(session->activeTool(), MediaTool::trim);
  session->setWorkingState({.exposure = 0.5f, .trimEnd = 0.5});
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
