#pragma once
// The Qt application object of a test program, made before its first test and
// destroyed after its last: QCoreApplication, QGuiApplication or QApplication, as the
// tests need. Header only, so that Qt stays out of the test support library.
#include <gtest/gtest.h>

#include <memory>

namespace halvane::testing {

template <typename Application>
class QtApplicationEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<Application>(argc_, argv_); }
  void TearDown() override { application_.reset(); }

 private:
  int argc_ = 1;
  char name_[16] = "halvane-tests";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<Application> application_;
};

}  // namespace halvane::testing
