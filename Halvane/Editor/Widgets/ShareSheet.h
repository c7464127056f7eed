#pragma once
// The share sheet of the desktop: a small dialog that offers one item three ways:
// save it as a file (the desktop's file chooser, through the XDG portal where there
// is one, starting in the Pictures or Videos folder), copy it to the clipboard (the
// picture for a photo, the file's URL for a video), or open it with the desktop's
// default application (a file only). onFinished runs once, when the sheet closes,
// whether anything was done or not. Main thread only.
#include <QDialog>

#include <functional>

#include "Halvane/Editor/Widgets/ShareOffer.h"

namespace halvane {
class DSTextLabel;
}

namespace halvane::editor {

class ShareSheet : public QDialog {
 public:
  ShareSheet(ShareOffer offer, QWidget* parent);
  ~ShareSheet() override;

  // Opens the sheet over its parent without blocking; it deletes itself once closed.
  static ShareSheet* present(ShareOffer offer, QWidget* parent, std::function<void()> onFinished);

  std::function<void()> onFinished;

  // The chosen file is written; an error shows in the sheet, which then stays open.
  bool saveTo(const QString& path);
  void copyToClipboard();

 private:
  void saveAs();
  void openWithDefaultApplication();
  void showError(const QString& message);
  void finish();

  ShareOffer offer_;
  DSTextLabel* errorLabel_;
  bool finished_ = false;
};

}  // namespace halvane::editor
