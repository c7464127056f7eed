#pragma once
// The fields of EditState as a table to walk at run time: each field's coding key, its
// member and its valid range, in the order of the record. Built from the one list in
// EditFields.h.
#include <array>
#include <cstdint>
#include <string_view>
#include <variant>

#include "Halvane/Model/EditState.h"

namespace halvane {

using EditFieldMember = std::variant<std::int64_t EditState::*, float EditState::*, double EditState::*,
                                     Bool EditState::*, Rect EditState::*>;
using EditFieldRange = std::variant<NoRange, FloatRange, IntRange>;

struct EditField {
  std::string_view key;
  EditFieldMember member;
  EditFieldRange range;
};

inline constexpr std::array kEditFields = {
#define HALVANE_EDIT_FIELD(name, Type, initial, lower, upper, block) \
  EditField{#name, &EditState::name, EditFieldRange{edit_ranges::name}},
    HALVANE_EDIT_FIELDS(HALVANE_EDIT_FIELD)
#undef HALVANE_EDIT_FIELD
};

// The field of a coding key, or nullptr.
constexpr const EditField* findEditField(std::string_view key) {
  for (const EditField& field : kEditFields) {
    if (field.key == key) return &field;
  }
  return nullptr;
}

}  // namespace halvane
