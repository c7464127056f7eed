#pragma once
// The widget on which the edited picture appears. It never renders by itself: the
// engine draws each preview frame into a drawable of drawableSize() device pixels and
// presents it through frames(); the widget paints the newest frame at device pixels,
// so it is never scaled twice. While a resize waits for a frame of the new size the
// last frame stays, centred on black, so a resize neither tears nor flickers; painting
// is opaque and nothing erases the background first.
//
// GUI thread only, except frames()->present(), which the GPU's completion thread calls.
#include <QSize>
#include <QWidget>

#include <functional>
#include <memory>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Qt/FrameHandoff.h"

namespace platform::qt {

class PreviewSurface : public QWidget {
 public:
  explicit PreviewSurface(std::shared_ptr<dispatch::MainQueue> mainQueue, QWidget* parent = nullptr);
  ~PreviewSurface() override;

  // Where the engine's presenter hands its drawables; it may outlive the widget.
  std::shared_ptr<FrameHandoff> frames() const { return frames_; }

  // The widget's size times its device pixel ratio: the size to render at.
  QSize drawableSize() const { return drawableSize_; }
  // Called when drawableSize() changes, never twice for one size, not on a move.
  std::function<void()> onBoundsChanged;

  // The frame shown now (null before the first).
  const QImage& shownFrame() const { return frame_; }

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void updateDrawableSize();
  void showFrame(const QImage& frame);

  std::shared_ptr<FrameHandoff> frames_;
  QSize drawableSize_{0, 0};
  QImage frame_;
};

}  // namespace platform::qt
