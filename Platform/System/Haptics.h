#pragma once
// Touch feedback of controls and prompts: a light or medium impact as a ruler passes a
// mark or an alert is tapped, a success when something was copied. Main thread only.
// Desktops have no actuator: DesktopHaptics does nothing, and tests count the calls.
namespace platform::system {

enum class ImpactStyle { light, medium, heavy };
enum class NotificationFeedback { success, warning, error };

class Haptics {
 public:
  virtual ~Haptics() = default;
  virtual void impactOccurred(ImpactStyle style) = 0;
  virtual void notificationOccurred(NotificationFeedback type) = 0;
};

class DesktopHaptics final : public Haptics {
 public:
  void impactOccurred(ImpactStyle) override {}
  void notificationOccurred(NotificationFeedback) override {}
};

}  // namespace platform::system
