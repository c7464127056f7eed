#pragma once
// What the progress card shows, without its widgets: determinate or indeterminate, the
// clamped fraction and its percent text, and the one-way dismissal. Main thread only.
#include <string>

namespace halvane::panels {

class ExportProgressState {
public:
  bool isIndeterminate() const { return isIndeterminate_; }
  bool isDismissing() const { return isDismissing_; }
  // The fraction shown by the bar, 0 to 1.
  double progress() const { return progress_; }
  // The clamped fraction times 100, truncated toward zero, with "%" behind it: 0.999
  // reads "99%".
  std::string percentText() const;

  // Bar, percent and cancel button belong to the determinate card; the spinner runs
  // exactly while indeterminate.
  bool showsProgressBar() const { return !isIndeterminate_; }
  bool showsPercent() const { return !isIndeterminate_; }
  bool showsCancel() const { return !isIndeterminate_; }
  bool spinnerRunning() const { return isIndeterminate_; }

  // The first real value turns an indeterminate card determinate. Values outside 0 to
  // 1 are clamped; a value that is not a number shows as 0.
  void setProgress(double value);
  void setIndeterminate() { isIndeterminate_ = true; }

  // True the first time only: a second dismissal changes nothing and drops its completion.
  bool beginDismiss();

private:
  bool isIndeterminate_ = false;
  bool isDismissing_ = false;
  double progress_ = 0;
};

}  // namespace halvane::panels
