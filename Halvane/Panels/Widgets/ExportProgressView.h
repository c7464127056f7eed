#pragma once
// The modal card for long work, export and import: it dims its parent with the scrim and
// shows a title, a bar with its percent and a cancel button, or a spinner while the
// length of the work is unknown. Shown once and dismissed once; after its dismissal it
// deletes itself. Main thread only.
#include <QWidget>
#include <functional>

#include "Halvane/Panels/ExportProgressState.h"

class QLabel;
class QGraphicsOpacityEffect;
class QVBoxLayout;

namespace halvane::panels {

class ProgressTrack;
class SpinnerView;
class TextButton;

class ExportProgressView : public QWidget {
  Q_OBJECT

public:
  static constexpr int kCardWidth = 240;

  explicit ExportProgressView(QWidget* parent = nullptr);

  std::function<void()> onCancel;

  bool isIndeterminate() const { return state_.isIndeterminate(); }
  bool isDismissing() const { return state_.isDismissing(); }

  // Covers parent from edge to edge, fading in on the quick spring.
  void show(QWidget* parent);
  void setProgress(double value);
  void setIndeterminate(const QString& title);
  // Fades out, removes the view and then runs completion; a second call does nothing and
  // its completion never runs.
  void dismiss(std::function<void()> completion = {});

  QWidget* card() const { return card_; }
  QLabel* titleLabel() const { return titleLabel_; }
  ProgressTrack* progressBar() const { return progressBar_; }
  SpinnerView* spinner() const { return spinner_; }
  QLabel* percentLabel() const { return percentLabel_; }
  TextButton* cancelButton() const { return cancelButton_; }
  qreal opacity() const;

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

private:
  void centreCard();
  void applyState();

  ExportProgressState state_;
  QWidget* card_;
  QVBoxLayout* stack_;
  QLabel* titleLabel_;
  ProgressTrack* progressBar_;
  SpinnerView* spinner_;
  QLabel* percentLabel_;
  TextButton* cancelButton_;
  QGraphicsOpacityEffect* fade_;
};

}  // namespace halvane::panels
