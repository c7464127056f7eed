// EditHistory: coalescing of equal states, the limit of 1000, the redo rules, and the
// main-queue assertion of push, undo and redo.
#include "Halvane/Model/EditHistory.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace halvane {
namespace {

using platform::dispatch::MainQueue;

// The n-th distinct state: only the exposure differs, by a step of 1/1024 (exact).
EditState step(int n) { return {.exposure = static_cast<float>(n) / 1024.0f}; }

// The test's thread is the main queue's thread: the queue is made here.
class EditHistoryTest : public ::testing::Test {
 protected:
  void SetUp() override { MainQueue::setShared(std::make_shared<platform::dispatch::ManualMainQueue>()); }
  void TearDown() override { MainQueue::setShared(nullptr); }
};

// What counts as a step is EditState's equality (NaN, -0, the lowest bit of Bool, the
// version), tested with EditState.
TEST_F(EditHistoryTest, UndoAndRedoWalkThePushOrderBothWays) {
  EditHistory history(step(0));
  EXPECT_FALSE(history.canUndo() || history.canRedo() || history.redo());
  EXPECT_EQ(history.currentState(), step(0));
  for (int i = 1; i <= 5; ++i) history.push(step(i));
  for (int i = 4; i >= 0; --i) {
    ASSERT_EQ(history.undo(), step(i));
    EXPECT_EQ(history.currentState(), step(i));
  }
  EXPECT_FALSE(history.undo().has_value());
  // The redo stack is in the order undo filled it; the next to restore is the last.
  ASSERT_EQ(history.redoStack().size(), 5u);
  EXPECT_EQ(history.redoStack().front(), step(5));
  for (int i = 1; i <= 5; ++i) ASSERT_EQ(history.redo(), step(i));
  EXPECT_FALSE(history.redo().has_value());
  ASSERT_EQ(history.undoStack().size(), 5u);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(history.undoStack()[i], step(i));
}

TEST_F(EditHistoryTest, PushingTheCurrentStateKeepsRedoAndAnotherEmptiesIt) {
  EditHistory history(step(0));
  history.push(step(1));
  history.push(step(2));
  history.undo();
  history.push(step(1));  // equal to the current one: both stacks stay as they were
  EXPECT_EQ(history.undoStack().size(), 1u);
  ASSERT_EQ(history.redoStack().size(), 1u);
  EXPECT_EQ(history.redoStack()[0], step(2));
  history.push(step(9));
  EXPECT_FALSE(history.canRedo());
  EXPECT_EQ(history.undoStack().back(), step(1));
  EXPECT_EQ(history.currentState(), step(9));
}

TEST_F(EditHistoryTest, TheOldestEntryGoesBeyondTheLimitAcrossUndoRedoCycles) {
  EditHistory history(step(0));
  for (int i = 1; i <= 1000; ++i) history.push(step(i));
  EXPECT_EQ(history.undoStack().front(), step(0));
  history.push(step(1001));
  ASSERT_EQ(history.undoStack().size(), 1000u);
  EXPECT_EQ(history.undoStack().front(), step(1));
  for (int i = 1002; i <= 1500; ++i) history.push(step(i));
  EXPECT_EQ(history.undoStack().front(), step(500));
  for (int i = 0; i < 10; ++i) history.undo();
  EXPECT_EQ(history.undoStack().size(), 990u);
  for (int i = 0; i < 10; ++i) history.redo();
  EXPECT_EQ(history.undoStack().size(), 1000u);
  history.push(step(5000));
  EXPECT_EQ(history.undoStack().size(), 1000u);
  EXPECT_EQ(history.undoStack().front(), step(501));
  // Undo goes back no further than the oldest kept entry.
  int undos = 0;
  while (history.undo()) ++undos;
  EXPECT_EQ(undos, 1000);
  EXPECT_EQ(history.currentState(), step(501));
}

TEST_F(EditHistoryTest, PushUndoAndRedoOffTheMainQueueStopTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EditHistory history(step(0));
  history.push(step(1));
  EXPECT_DEATH(std::thread([&] { history.push(step(2)); }).join(), "assertMainQueue");
  EXPECT_DEATH(std::thread([&] { history.undo(); }).join(), "assertMainQueue");
  // Even with nothing to redo the assertion comes first.
  EXPECT_DEATH(std::thread([&] { history.redo(); }).join(), "assertMainQueue");
  history.undo();
  history.redo();
  EXPECT_EQ(history.currentState(), step(1));
}

}  // namespace
}  // namespace halvane
