#include "Halvane/Editor/ExportFlow.h"

#include "Halvane/Editor/EditorSession.h"
#include "Halvane/Rendering/PhotoOutput.h"

namespace halvane {
namespace {

// Runs `work` with the session if it still exists.
template <typename Work>
auto withSession(std::weak_ptr<EditorSession> weakSession, Work work) {
  return [weakSession = std::move(weakSession), work = std::move(work)](auto&&... args) {
    if (auto session = weakSession.lock()) work(*session, std::forward<decltype(args)>(args)...);
  };
}

}  // namespace

void ExportFlow::shareTapped() {
  if (isExporting_) return;
  isExporting_ = true;
  // The host may let go of the session inside a delegate call.
  const auto keepAlive = session_.shared_from_this();
  // The committed state: an open tool's scratch state is never exported.
  const EditState state = session_.editHistory().currentState();
  hasDelegate_ = session_.delegate() != nullptr;
  if (state.isDefault()) return passthrough();
  if (hasDelegate_)
    if (auto delegate = session_.delegate()) delegate->mediaViewControllerWillBeginExport(session_);
  if (session_.isVideo()) {
    exportVideo(state);
  } else {
    exportPhoto(state);
  }
}

void ExportFlow::passthrough() {
  // Nothing was changed, so nothing is rendered: the source goes out as it is, a photo
  // in the encoding of its file when there is one.
  const auto& content = session_.content();
  if (hasDelegate_) {
    auto delegate = session_.delegate();
    if (delegate) delegate->mediaViewControllerWillBeginExport(session_);
    if (const auto* url = std::get_if<std::filesystem::path>(&content)) session_.tempFiles().markDelivered(*url);
    if (delegate) delegate->mediaViewControllerDidFinish(session_, content);
    isExporting_ = false;
    return;
  }
  ShareItem item = std::get_if<std::filesystem::path>(&content) ? ShareItem(std::get<std::filesystem::path>(content))
                   : session_.tempFiles().sourceImageFileURL    ? ShareItem(*session_.tempFiles().sourceImageFileURL)
                                                                : ShareItem(std::get<platform::media::Image>(content));
  shareItem(std::move(item));
}

void ExportFlow::exportPhoto(const EditState& state) {
  if (!session_.sourceTexture()) {
    isExporting_ = false;
    return fail(EditorError::noSourceTexture());
  }
  auto weakSession = session_.weak_from_this();
  progressView_ = session_.screen()->showExportProgress(true);
  progressView_->onCancel =
      withSession(weakSession, [](EditorSession& session) { session.exportFlow().photoCancel(); });
  session_.services().photoExport->render(
      session_.sourceTexture(), state, session_.sourceColorSpace(),
      withSession(weakSession, [](EditorSession& session, std::optional<platform::media::Image> image) {
        auto& flow = session.exportFlow();
        // A cancel has already ended the flow: the result is dropped.
        if (!flow.isExporting_) return;
        flow.dismissProgress([&flow, image = std::move(image)] { flow.finishPhoto(image); });
      }));
}

void ExportFlow::finishPhoto(std::optional<platform::media::Image> image) {
  if (!image) {
    isExporting_ = false;
    return fail(EditorError::photoExportFailed());
  }
  const auto preset = session_.configuration().photoExportPreset;
  auto limited = limitedImage(*image, session_.sourceImageOrientation(), preset);
  if (hasDelegate_) {
    isExporting_ = false;
    if (auto delegate = session_.delegate()) delegate->mediaViewControllerDidFinish(session_, std::move(limited));
    return;
  }
  if (preset == PhotoExportPreset::maxQuality) return shareItem(std::move(limited));
  auto weakSession = session_.weak_from_this();
  session_.services().photoExport->writeJPEG(
      limited, preset,
      withSession(weakSession, [limited](EditorSession& session, std::optional<std::filesystem::path> file) {
        // A JPEG that could not be written is no error: the picture itself is offered.
        session.exportFlow().shareItem(file ? ShareItem(*file) : ShareItem(limited), [file] {
          std::error_code ignored;
          if (file) std::filesystem::remove(*file, ignored);
        });
      }));
}

void ExportFlow::exportVideo(const EditState& state) {
  const auto& video = session_.videoRenderer();
  if (!video || !video->hasAsset()) {
    isExporting_ = false;
    return fail(EditorError::noVideoAsset());
  }
  auto weakSession = session_.weak_from_this();
  progressView_ = session_.screen()->showExportProgress(false);
  progressView_->onCancel =
      withSession(weakSession, [](EditorSession& session) { session.exportFlow().videoCancel(); });
  const auto url = session_.tempFiles().beginVideoExport();
  // exportVideo clears the renderer's cancel flag under its lock as its first act.
  video->exportVideo(
      url.string(), state, session_.configuration().videoExportPreset,
      withSession(weakSession, [progressView = progressView_](EditorSession&,
                                                              float fraction) { progressView->setProgress(fraction); }),
      withSession(weakSession, [](EditorSession& session, VideoExportResult result) {
        auto& flow = session.exportFlow();
        const bool wasExporting = flow.isExporting_;
        flow.isExporting_ = false;
        flow.dismissProgress(
            [&flow, result = std::move(result), wasExporting] { flow.finishVideo(result, wasExporting); });
      }));
}

void ExportFlow::finishVideo(const VideoExportResult& result, bool wasExporting) {
  if (result) {
    const std::filesystem::path url = result.value();
    if (hasDelegate_) {
      session_.tempFiles().markDelivered(url);
      if (auto delegate = session_.delegate()) delegate->mediaViewControllerDidFinish(session_, url);
    } else {
      // The file stays until teardown.
      shareItem(url);
    }
    return;
  }
  const auto& error = result.error();
  if (error.code() == VideoRenderError::Code::cancelled) {
    // A cancel by the close button was reported there already.
    if (wasExporting && hasDelegate_) fail(EditorError::cancelledByUser());
    return;
  }
  // A host that was there at the tap but whose flow has ended hears nothing more.
  if (hasDelegate_ && !wasExporting) return;
  fail(EditorError::video(error));
}

void ExportFlow::photoCancel() {
  if (!isExporting_) return;
  isExporting_ = false;
  if (auto delegate = session_.delegate())
    delegate->mediaViewControllerDidFail(session_, EditorError::cancelledByUser());
  dismissProgress({});
}

void ExportFlow::videoCancel() {
  if (!isExporting_) return;
  if (const auto& video = session_.videoRenderer()) video->cancelExport();
}

void ExportFlow::cancelForClose() {
  if (const auto& video = session_.videoRenderer()) video->cancelExport();
  isExporting_ = false;
  if (auto delegate = session_.delegate())
    delegate->mediaViewControllerDidFail(session_, EditorError::cancelledByUser());
}

void ExportFlow::fail(const EditorError& error) {
  // Whether a host was present is decided once, at the tap: a host that asked to be
  // told gets no alert.
  if (hasDelegate_) {
    if (auto delegate = session_.delegate()) delegate->mediaViewControllerDidFail(session_, error);
    return;
  }
  session_.screen()->presentAlert(kExportErrorAlert, {});
}

void ExportFlow::dismissProgress(std::function<void()> then) {
  auto progressView = progressView_;
  if (!progressView || progressView->isDismissing) return;
  progressView->isDismissing = true;
  progressView->fadeOut(withSession(session_.weak_from_this(), [then = std::move(then)](EditorSession&) {
    if (then) then();
  }));
}

void ExportFlow::shareItem(ShareItem item, std::function<void()> whenOver) {
  std::weak_ptr<EditorSession> weakSession = session_.weak_from_this();
  session_.screen()->presentShareSheet(std::move(item), [weakSession, whenOver = std::move(whenOver)] {
    if (auto session = weakSession.lock()) session->exportFlow().isExporting_ = false;
    if (whenOver) whenOver();
  });
}

}  // namespace halvane
