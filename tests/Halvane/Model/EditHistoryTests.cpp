// EditHistory: coalescing of equal states, the limit of 1000, the redo rules, and the
// main-queue assertion of push, undo and redo.
#include "Halvane/Model/EditHistory.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace halvane {
namespace {

using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;

// The n-th distinct state: only the exposure differs, by a step of 1/1024 (exact).
EditState step(int n) {
  EditState s;
  s.exposure = static_cast<float>(n) / 1024.0f;
  return s;
}

// The test's thread is the main queue's thread: the queue is made here.
class EditHistoryTest : public ::testing::Test {
 protected:
  void SetUp() override { MainQueue::setShared(std::make_shared<ManualMainQueue>()); }
  void TearDown() override { MainQueue::setShared(nullptr); }
};

TEST_F(EditHistoryTest, StartsEmptyAtTheInitialState) {
  EditState initial;
  initial.contrast = 1.5f;
  EditHistory history(initial);
  EXPECT_FALSE(history.canUndo());
  EXPECT_FALSE(history.canRedo());
  EXPECT_EQ(history.currentState(), initial);
  EXPECT_TRUE(history.undoStack().empty());
  EXPECT_TRUE(history.redoStack().empty());
  EXPECT_FALSE(history.undo().has_value());
  EXPECT_FALSE(history.redo().has_value());
  EXPECT_EQ(history.currentState(), initial);
}

TEST_F(EditHistoryTest, PushRecordsThePreviousState) {
  EditHistory history(step(0));
  history.push(step(1));
  history.push(step(2));
  EXPECT_EQ(history.currentState(), step(2));
  ASSERT_EQ(history.undoStack().size(), 2u);
  EXPECT_EQ(history.undoStack()[0], step(0));
  EXPECT_EQ(history.undoStack()[1], step(1));
  EXPECT_TRUE(history.canUndo());
  EXPECT_FALSE(history.canRedo());
}

TEST_F(EditHistoryTest, PushingTheCurrentStateChangesNothing) {
  EditHistory history(step(0));
  history.push(step(0));
  EXPECT_FALSE(history.canUndo());

  history.push(step(1));
  history.push(step(2));
  ASSERT_TRUE(history.undo().has_value());
  ASSERT_EQ(history.redoStack().size(), 1u);
  // Equal to the current one: both stacks stay as they were, the redo stack included.
  history.push(step(1));
  EXPECT_EQ(history.undoStack().size(), 1u);
  ASSERT_EQ(history.redoStack().size(), 1u);
  EXPECT_EQ(history.redoStack()[0], step(2));
  EXPECT_EQ(history.currentState(), step(1));
}

TEST_F(EditHistoryTest, EqualityDecidesWhatCountsAsAStep) {
  EditHistory history(EditState{});
  EditState negativeZero;
  negativeZero.exposure = -0.0f;
  history.push(negativeZero);  // -0 equals 0: no step
  EXPECT_FALSE(history.canUndo());

  EditState tiny;
  tiny.exposure = std::numeric_limits<float>::denorm_min();
  history.push(tiny);  // any change is a step
  EXPECT_EQ(history.undoStack().size(), 1u);

  EditState otherVersion = tiny;
  otherVersion.version = 2;
  history.push(otherVersion);  // the version takes part in equality
  EXPECT_EQ(history.undoStack().size(), 2u);

  EditState flipByte = otherVersion;
  flipByte.flipHorizontal = Bool::fromByte(2);  // lowest bit clear: still false
  history.push(flipByte);
  EXPECT_EQ(history.undoStack().size(), 2u);

  // A NaN is unequal to itself, so the same state pushed again is another step.
  EditState withNaN;
  withNaN.gamma = std::numeric_limits<float>::quiet_NaN();
  history.push(withNaN);
  history.push(withNaN);
  EXPECT_EQ(history.undoStack().size(), 4u);
}

TEST_F(EditHistoryTest, PushAfterUndoEmptiesTheRedoStack) {
  EditHistory history(step(0));
  history.push(step(1));
  history.push(step(2));
  history.undo();
  EXPECT_TRUE(history.canRedo());
  history.push(step(9));
  EXPECT_FALSE(history.canRedo());
  EXPECT_TRUE(history.redoStack().empty());
  ASSERT_EQ(history.undoStack().size(), 2u);
  EXPECT_EQ(history.undoStack()[1], step(1));
  EXPECT_EQ(history.currentState(), step(9));
}

TEST_F(EditHistoryTest, UndoDownToTheStartThenNone) {
  EditHistory history(step(0));
  for (int i = 1; i <= 5; ++i) history.push(step(i));
  for (int i = 4; i >= 0; --i) {
    const auto state = history.undo();
    ASSERT_TRUE(state.has_value());
    EXPECT_EQ(*state, step(i));
    EXPECT_EQ(history.currentState(), step(i));
  }
  EXPECT_FALSE(history.canUndo());
  EXPECT_FALSE(history.undo().has_value());
  EXPECT_EQ(history.currentState(), step(0));
  EXPECT_EQ(history.redoStack().size(), 5u);
  // The redo stack is in the order undo filled it; the next to restore is the last.
  EXPECT_EQ(history.redoStack().front(), step(5));
  EXPECT_EQ(history.redoStack().back(), step(1));
}

TEST_F(EditHistoryTest, RedoAfterAllUndosReturnsThePushOrder) {
  EditHistory history(step(0));
  for (int i = 1; i <= 5; ++i) history.push(step(i));
  while (history.undo()) {
  }
  for (int i = 1; i <= 5; ++i) {
    const auto state = history.redo();
    ASSERT_TRUE(state.has_value());
    EXPECT_EQ(*state, step(i));
    EXPECT_EQ(history.currentState(), step(i));
  }
  EXPECT_FALSE(history.redo().has_value());
  EXPECT_EQ(history.currentState(), step(5));
  ASSERT_EQ(history.undoStack().size(), 5u);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(history.undoStack()[i], step(i));
}

TEST_F(EditHistoryTest, UndoAndRedoMirrorEachOther) {
  EditHistory history(step(0));
  history.push(step(1));
  history.push(step(2));
  EXPECT_EQ(*history.undo(), step(1));
  EXPECT_EQ(*history.redo(), step(2));
  EXPECT_EQ(*history.undo(), step(1));
  EXPECT_EQ(*history.undo(), step(0));
  EXPECT_EQ(*history.redo(), step(1));
  EXPECT_EQ(history.undoStack().size(), 1u);
  EXPECT_EQ(history.redoStack().size(), 1u);
}

TEST_F(EditHistoryTest, AThousandPushesAreAllKept) {
  EditHistory history(step(0));
  for (int i = 1; i <= 1000; ++i) history.push(step(i));
  ASSERT_EQ(history.undoStack().size(), 1000u);
  EXPECT_EQ(history.undoStack().front(), step(0));
  EXPECT_EQ(history.undoStack().back(), step(999));
}

TEST_F(EditHistoryTest, The1001stPushDropsTheOldestEntry) {
  EditHistory history(step(0));
  for (int i = 1; i <= 1001; ++i) history.push(step(i));
  ASSERT_EQ(history.undoStack().size(), EditHistory::kLimit);
  EXPECT_EQ(EditHistory::kLimit, 1000u);
  // The first state that went onto the stack (the initial one) has gone.
  EXPECT_EQ(history.undoStack().front(), step(1));
  EXPECT_EQ(history.undoStack().back(), step(1000));
  EXPECT_EQ(history.currentState(), step(1001));

  // Undo goes back no further than the oldest kept entry.
  int undos = 0;
  std::optional<EditState> last;
  while (auto state = history.undo()) {
    last = state;
    ++undos;
  }
  EXPECT_EQ(undos, 1000);
  EXPECT_EQ(*last, step(1));
}

TEST_F(EditHistoryTest, TheLimitHoldsAcrossManyPushesAndUndoRedoCycles) {
  EditHistory history(step(0));
  for (int i = 1; i <= 1500; ++i) history.push(step(i));
  EXPECT_EQ(history.undoStack().size(), 1000u);
  EXPECT_EQ(history.undoStack().front(), step(500));
  for (int i = 0; i < 10; ++i) history.undo();
  EXPECT_EQ(history.undoStack().size(), 990u);
  for (int i = 0; i < 10; ++i) history.redo();
  EXPECT_EQ(history.undoStack().size(), 1000u);  // redo applies no limit, but nothing exceeds it here
  EXPECT_EQ(history.undoStack().front(), step(500));
  history.push(step(5000));
  EXPECT_EQ(history.undoStack().size(), 1000u);
  EXPECT_EQ(history.undoStack().front(), step(501));
}

// ---- The main queue -------------------------------------------------------------

class EditHistoryDeathTest : public EditHistoryTest {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EditHistoryTest::SetUp();
  }
};

template <typename Work>
void runOnAnotherThread(Work work) {
  std::thread thread(work);
  thread.join();
}

TEST_F(EditHistoryDeathTest, PushOffTheMainQueueStopsTheProgram) {
  EditHistory history(step(0));
  EXPECT_DEATH(runOnAnotherThread([&] { history.push(step(1)); }), "assertMainQueue");
}

TEST_F(EditHistoryDeathTest, UndoOffTheMainQueueStopsTheProgram) {
  EditHistory history(step(0));
  history.push(step(1));
  EXPECT_DEATH(runOnAnotherThread([&] { history.undo(); }), "assertMainQueue");
}

TEST_F(EditHistoryDeathTest, RedoOffTheMainQueueStopsTheProgram) {
  EditHistory history(step(0));
  // Even with nothing to redo the assertion comes first.
  EXPECT_DEATH(runOnAnotherThread([&] { history.redo(); }), "assertMainQueue");
}

TEST_F(EditHistoryDeathTest, TheSameCallsOnTheMainQueueLive) {
  EditHistory history(step(0));
  history.push(step(1));
  history.undo();
  history.redo();
  EXPECT_EQ(history.currentState(), step(1));
}

}  // namespace
}  // namespace halvane
