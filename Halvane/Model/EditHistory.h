#pragma once
// Undo and redo over whole EditState values. Owned by one editing
// session and used on the main queue only: push, undo and redo assert it and stop the
// program on any other thread. The history notifies nobody; the caller applies the
// state it returns.
#include <cstddef>
#include <optional>
#include <vector>

#include "Halvane/Model/EditState.h"

namespace halvane {

class EditHistory {
 public:
  // The most entries undoStack keeps after a push.
  static constexpr std::size_t kLimit = 1000;

  explicit EditHistory(const EditState& initialState);

  // Records `state` unless it equals currentState (then nothing changes, the redo stack
  // included). Keeps the newest kLimit undo entries and empties the redo stack.
  void push(const EditState& state);
  // None, without effect, when there is nothing to undo.
  std::optional<EditState> undo();
  // None, without effect, when there is nothing to redo. Applies no limit.
  std::optional<EditState> redo();

  bool canUndo() const { return !undoStack_.empty(); }
  bool canRedo() const { return !redoStack_.empty(); }
  const EditState& currentState() const { return currentState_; }

  // Oldest first, newest last.
  const std::vector<EditState>& undoStack() const { return undoStack_; }
  // In the order undo filled it; the next to restore is the last.
  const std::vector<EditState>& redoStack() const { return redoStack_; }

 private:
  std::vector<EditState> undoStack_;
  std::vector<EditState> redoStack_;
  EditState currentState_;
};

}  // namespace halvane
