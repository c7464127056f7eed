#include "Halvane/Model/EditHistory.h"

#include <utility>

#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

EditHistory::EditHistory(const EditState& initialState) : currentState_(initialState) {}

void EditHistory::push(const EditState& state) {
  platform::dispatch::assertMainQueue();
  if (state == currentState_) return;
  // The count before the append is what is tested, at kLimit or more; the oldest
  // entries go so that exactly kLimit remain.
  const bool atLimit = undoStack_.size() >= kLimit;
  undoStack_.push_back(currentState_);
  if (atLimit) {
    undoStack_.erase(undoStack_.begin(), undoStack_.begin() + static_cast<std::ptrdiff_t>(undoStack_.size() - kLimit));
  }
  currentState_ = state;
  redoStack_.clear();
}

std::optional<EditState> EditHistory::undo() {
  platform::dispatch::assertMainQueue();
  if (undoStack_.empty()) return std::nullopt;
  EditState previous = std::move(undoStack_.back());
  undoStack_.pop_back();
  redoStack_.push_back(currentState_);
  currentState_ = previous;
  return previous;
}

std::optional<EditState> EditHistory::redo() {
  platform::dispatch::assertMainQueue();
  if (redoStack_.empty()) return std::nullopt;
  EditState next = std::move(redoStack_.back());
  redoStack_.pop_back();
  undoStack_.push_back(currentState_);
  currentState_ = next;
  return next;
}

}  // namespace halvane
