#include "Halvane/Editor/EditorSession.h"

#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using platform::dispatch::MainQueue;

std::shared_ptr<EditorSession> EditorSession::create(MediaContent content, std::shared_ptr<AppContainer> container,
                                                     EditorViews views, std::shared_ptr<EditorScreen> screen,
                                                     EditorServices services) {
  if (!container || !screen || !views.isComplete())
    platform::fatalError("EditorSession needs a container, a screen and every view");
  if (!services.photoExport || !services.videoLoader) {
    auto real = makeEditorServices(container->renderingEngine);
    if (!services.photoExport) services.photoExport = real.photoExport;
    if (!services.videoLoader) services.videoLoader = real.videoLoader;
  }
  return std::shared_ptr<EditorSession>(new EditorSession(std::move(content), std::move(container), std::move(views),
                                                          std::move(screen), std::move(services)));
}

EditorSession::EditorSession(MediaContent content, std::shared_ptr<AppContainer> container, EditorViews views,
                             std::shared_ptr<EditorScreen> screen, EditorServices services)
    : content_(std::move(content)),
      container_(std::move(container)),
      views_(std::move(views)),
      screen_(std::move(screen)),
      services_(std::move(services)),
      editHistory_(EditState::defaultState()),
      workingState_(EditState::defaultState()) {}

EditorSession::~EditorSession() { teardown(); }

// --- Tool markers.

std::optional<EditState>& EditorSession::stateBeforeSlot(MediaTool tool) {
  return stateBefore_[static_cast<size_t>(tool)];
}

const std::optional<EditState>& EditorSession::stateBefore(MediaTool tool) const {
  return stateBefore_[static_cast<size_t>(tool)];
}

bool EditorSession::isToolActive() const { return activeTool().has_value(); }

std::optional<MediaTool> EditorSession::activeTool() const {
  for (MediaTool tool : kAllMediaTools)
    if (stateBefore(tool)) return tool;
  return std::nullopt;
}

// --- Load.

void EditorSession::viewDidLoad() {
  wirePanels();
  autoEnterInitialToolIfNeeded();
  loadContent();
}

void EditorSession::wirePanels() {
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  for (MediaTool tool : kAllMediaTools) {
    auto& panel = views_.panel(tool);
    panel.onConfirm = [weakSelf, tool] {
      if (auto self = weakSelf.lock()) self->exitTool(tool, true);
    };
    panel.onCancel = [weakSelf, tool] {
      if (auto self = weakSelf.lock()) self->exitTool(tool, false);
    };
  }
  adjustSession_.wire();
}

void EditorSession::autoEnterInitialToolIfNeeded() {
  // Set first: a tool that does not apply is never tried again.
  if (didAutoEnterInitialTool_) return;
  didAutoEnterInitialTool_ = true;
  const auto tool = configuration().initialTool;
  if (!tool) return;
  // Video-only tools wait for the video: audio until it is attached, trim until its
  // track's properties have loaded.
  if (*tool == MediaTool::trim || *tool == MediaTool::audio) return;
  selectAndEnter(*tool);
}

void EditorSession::selectAndEnter(MediaTool tool) {
  views_.toolStrip->setSelectedTool(tool);
  enterTool(tool);
}

void EditorSession::loadContent() {
  if (const auto* image = std::get_if<platform::media::Image>(&content_)) {
    loadPhoto(*image);
    views_.toolStrip->setContentIsVideo(false);
  } else {
    loadVideo(std::get<std::filesystem::path>(content_));
    views_.toolStrip->setContentIsVideo(true);
  }
}

void EditorSession::loadPhoto(const platform::media::Image& image) {
  if (image.isEmpty()) return showLoadError();
  const auto& engine = container_->renderingEngine;
  auto texture = engine->makeTexture(image);
  if (!texture) return showLoadError();
  // Blocks the main thread once, on purpose: from here on the source is upright.
  auto upright = engine->bakeUpright(texture, static_cast<int>(image.orientation));
  if (!upright) return showLoadError();
  const bool baked = *upright != texture;
  texture = std::move(*upright);
  sourceTexture_ = texture;
  sourceWidth_ = static_cast<int>(texture->width());
  sourceHeight_ = static_cast<int>(texture->height());
  sourceColorSpace_ = image.iccProfile;
  if (!baked) sourceCGImage_ = image;
  tempFiles_.sourceImageFileURL = container_->mediaPickerService->takeLastPickedImageFileURL();

  previewView_ = screen_->makePreviewView();
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  previewView_->onBoundsChanged = [weakSelf] {
    if (auto self = weakSelf.lock()) self->markPreviewDirty();
  };
  engine->stopDisplayLink();
  engine->setPreviewView(previewView_);
  previewView_->configure(*engine);
  engine->startDisplayLink();
  engine->setPreviewSource(sourceTexture_);
  engine->setPreviewNeedsDisplay();
  // The committed state, not workingState: an initial tool's full-frame preview is not
  // restored here.
  engine->applyPreviewState(editHistory_.currentState());
  previewTarget_ = engine;
}

void EditorSession::loadVideo(const std::filesystem::path& url) {
  if (isInTemporaryDirectory(url)) tempFiles_.ownedSourceVideoURL = url;
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  services_.videoLoader->loadVideoAsset(url, [weakSelf](std::shared_ptr<platform::media::Asset> asset) {
    auto self = weakSelf.lock();
    if (!self) return;
    if (!asset) return self->showLoadError();
    self->finishVideoLoad(std::move(asset));
  });
}

void EditorSession::finishVideoLoad(std::shared_ptr<platform::media::Asset> asset) {
  previewView_ = screen_->makePreviewView();
  videoRenderer_ = services_.videoLoader->startVideo(std::move(asset), previewView_);
  previewTarget_ = videoRenderer_;
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  previewView_->onBoundsChanged = [weakSelf] {
    if (auto self = weakSelf.lock()) self->markPreviewDirty();
  };
  if (isToolActive()) {
    EditState shown = workingState_;
    if (stateBeforeTransform()) shown.cropRect = Rect{0, 0, 1, 1};
    applyPreviewState(shown);
  }
  if (configuration().initialTool == MediaTool::audio && !isToolActive()) selectAndEnter(MediaTool::audio);
  videoRenderer_->onTrackPropertiesLoaded = [weakSelf] {
    auto self = weakSelf.lock();
    if (!self) return;
    if (!self->views_.cropOverlay->isHidden() && !self->screen_->isFillAnimationRunning())
      self->screen_->updateFraming(false);
    if (self->configuration().initialTool == MediaTool::trim && !self->isToolActive())
      self->selectAndEnter(MediaTool::trim);
  };
}

void EditorSession::showLoadError() {
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  MainQueue::shared()->async([weakSelf] {
    auto self = weakSelf.lock();
    if (!self) return;
    self->screen_->presentAlert(kLoadErrorAlert, [weakSelf] {
      auto self = weakSelf.lock();
      if (!self) return;
      if (auto delegate = self->delegate()) delegate->mediaViewControllerDidCancel(*self);
      self->screen_->dismiss(true);
    });
  });
}

// --- Life cycle.

void EditorSession::viewWillAppear() {
  if (wasPlayingBeforeDisappear_ && videoRenderer_) videoRenderer_->play();
  if (auto tool = activeTool()) views_.panel(*tool).sessionWillAppear();
}

void EditorSession::viewDidAppear() {
  if (!views_.cropOverlay->isHidden() && !screen_->isFillAnimationRunning()) screen_->updateFraming(false);
}

void EditorSession::viewDidLayoutSubviews() {
  if (!views_.cropOverlay->isHidden() && !screen_->isFillAnimationRunning()) {
    screen_->layoutIfNeeded();
    screen_->updateFraming(false);
  }
}

void EditorSession::viewWillDisappear(bool isBeingDismissed) {
  if (videoRenderer_) wasPlayingBeforeDisappear_ = videoRenderer_->rate() > 0;
  screen_->stopFillAnimation();
  if (auto tool = activeTool()) views_.panel(*tool).sessionWillDisappear();
  if (videoRenderer_) videoRenderer_->pause();
  if (isBeingDismissed) teardown();
}

void EditorSession::teardown() {
  // Runs at dismissal and again at the end of life: every step tolerates a repeat.
  screen_->stopFillAnimation();
  if (auto tool = activeTool()) views_.panel(*tool).sessionWillDisappear();
  if (videoRenderer_) {
    videoRenderer_->removeTrimBoundaryObserver();
    videoRenderer_->stopPlayback();
  }
  const auto& engine = container_->renderingEngine;
  // The engine outlives this session and may already draw for the next one.
  auto shownView = engine->previewView();
  if (!shownView || shownView == previewView_) engine->stopDisplayLink();
  tempFiles_.cleanupTempFiles();
}

void EditorSession::didReceiveMemoryWarning() {
  screen_->purgeFilterThumbnails();
  sourceCGImage_.reset();
  container_->renderingEngine->purgeCaches();
}

void EditorSession::closeTapped() {
  if (screen_->isBeingDismissed()) return;
  // The host may let go of the session inside a delegate call.
  const auto keepAlive = shared_from_this();
  if (exportFlow_.isExporting()) {
    exportFlow_.cancelForClose();
  } else if (auto delegate = this->delegate()) {
    delegate->mediaViewControllerDidCancel(*this);
  }
  screen_->dismiss(true);
}

// --- Preview, undo and redo.

void EditorSession::applyPreviewState(const EditState& state) {
  if (previewTarget_) previewTarget_->showPreviewState(state);
  if (videoRenderer_) videoRenderer_->setVolume(state.audioMuted ? 0.0f : state.audioVolume);
}

void EditorSession::markPreviewDirty() {
  if (previewTarget_) previewTarget_->setPreviewNeedsDisplay();
}

void EditorSession::refreshUndoRedoButtons() {
  views_.undoRedoBar->setUndoEnabled(editHistory_.canUndo());
  views_.undoRedoBar->setRedoEnabled(editHistory_.canRedo());
}

void EditorSession::undoTapped() {
  // Not refused while a tool is open: the bar is hidden at the end of the enter
  // transition, and a tap before that is served like any other.
  if (auto state = editHistory_.undo()) {
    applyPreviewState(*state);
    refreshUndoRedoButtons();
  }
}

void EditorSession::redoTapped() {
  if (auto state = editHistory_.redo()) {
    applyPreviewState(*state);
    refreshUndoRedoButtons();
  }
}

}  // namespace halvane
