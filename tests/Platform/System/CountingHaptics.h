#pragma once
// Haptics for tests of controls and prompts: counts each kind of feedback given.
#include <map>

#include "Platform/System/Haptics.h"

namespace platform::system::testing {

class CountingHaptics final : public Haptics {
 public:
  void impactOccurred(ImpactStyle style) override { ++impacts[style]; }
  void notificationOccurred(NotificationFeedback type) override { ++notifications[type]; }

  int impactCount() const {
    int total = 0;
    for (const auto& [style, count] : impacts) total += count;
    return total;
  }

  std::map<ImpactStyle, int> impacts;
  std::map<NotificationFeedback, int> notifications;
};

}  // namespace platform::system::testing
