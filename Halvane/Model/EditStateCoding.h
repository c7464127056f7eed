#pragma once
// The coded form of EditState: a JSON object with the field names as keys
// (kEditFields), written in the order of the record. Nothing in the system stores it yet; it is
// the format any future store of edits must use. Pure functions, callable on any thread.
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "Halvane/Model/EditState.h"

namespace halvane {

// An error of the encoder (a value JSON cannot carry) or a document that is not an
// object. `key` names the field concerned; it is empty for the document.
class EditStateCodingError : public std::runtime_error {
 public:
  EditStateCodingError(std::string key, const std::string& message)
      : std::runtime_error(message), key_(std::move(key)) {}
  const std::string& key() const noexcept { return key_; }

 private:
  std::string key_;
};

// Writes the 41 keys in order: version, filterType, rotationQuarterTurns, focusMode and
// irisBlades as integers; flipHorizontal and audioMuted as booleans (their lowest bit);
// trimStart and trimEnd as doubles; the other scalars as floats, each written as the
// shortest decimal that reads back to the same Float; cropRect as
// [[x, y], [width, height]] of doubles. JSON has no NaN or infinity: such a value is an
// error of the encoder, thrown as EditStateCodingError and nothing is returned.
nlohmann::ordered_json encodeEditState(const EditState& state);

// Never fails on content: each key is read by itself, and a missing key or a value of
// the wrong type gives the field's default; then every field is made valid by the rules
// of the record (NaN, infinity and out-of-range values, the crop repair in Float
// precision, the trim order). Unknown keys are ignored; `version` is kept as read (1
// when missing). Throws EditStateCodingError only when `document` is not an object.
EditState decodeEditState(const nlohmann::json& document);
EditState decodeEditState(const nlohmann::ordered_json& document);

// Limits on JSON text read from outside (an edit file, a value on a command line).
// The coded form itself is a few hundred bytes nested three deep; the limits leave room
// for unknown keys while keeping every later step (the parser, copies, look-ups) small
// and its recursion shallow.
inline constexpr std::size_t kMaxEditJSONBytes = std::size_t{16} << 20;
inline constexpr int kMaxEditJSONDepth = 64;

// Parses JSON text for decoding: the depth is checked by a scan of the text before the
// parser builds anything, and objects are keyed maps, so that a document of many keys
// costs n log n. Throws EditStateCodingError for text that is too large, nested too
// deeply or not JSON.
nlohmann::json parseEditJSON(std::string_view text);

}  // namespace halvane
