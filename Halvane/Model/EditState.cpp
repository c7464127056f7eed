#include "Halvane/Model/EditState.h"

namespace halvane {

const EditState& EditState::defaultState() {
  static const EditState state{};
  return state;
}

bool EditState::isDefault() const {
  const EditState& reference = defaultState();
  EditState probe = *this;
  probe.version = reference.version;
  return probe == reference;
}

}  // namespace halvane
