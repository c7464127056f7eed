#include "Platform/Qt/PreviewSurface.h"

#include <QEvent>
#include <QPainter>

namespace platform::qt {

PreviewSurface::PreviewSurface(std::shared_ptr<dispatch::MainQueue> mainQueue, QWidget* parent)
    : QWidget(parent), frames_(FrameHandoff::create(std::move(mainQueue))) {
  // Every pixel is painted each time: no background erase, no system background.
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAttribute(Qt::WA_NoSystemBackground);
  setAutoFillBackground(false);
  frames_->onFrame = [this](const QImage& frame) { showFrame(frame); };
}

PreviewSurface::~PreviewSurface() { frames_->onFrame = nullptr; }

bool PreviewSurface::event(QEvent* event) {
  const bool handled = QWidget::event(event);
  switch (event->type()) {
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::ScreenChangeInternal:  // another screen may have another pixel ratio
      updateDrawableSize();
      break;
    default:
      break;
  }
  return handled;
}

void PreviewSurface::updateDrawableSize() {
  const qreal ratio = devicePixelRatioF();
  const QSize size(qRound(width() * ratio), qRound(height() * ratio));
  if (size == drawableSize_) return;
  drawableSize_ = size;
  if (onBoundsChanged) onBoundsChanged();
}

void PreviewSurface::showFrame(const QImage& frame) {
  frame_ = frame;
  update();
}

void PreviewSurface::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (frame_.size() != drawableSize_) painter.fillRect(rect(), Qt::black);
  if (frame_.isNull()) return;
  // The frame's pixels are device pixels: with the ratio set, one maps to one. A frame
  // of an older size is centred, as the picture in it is, on whole device pixels.
  const qreal ratio = devicePixelRatioF();
  QImage frame = frame_;
  frame.setDevicePixelRatio(ratio);
  const int left = (drawableSize_.width() - frame.width()) / 2;
  const int top = (drawableSize_.height() - frame.height()) / 2;
  painter.drawImage(QPointF(left / ratio, top / ratio), frame);
}

}  // namespace platform::qt
