#include "Halvane/Model/EditStateCoding.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {

namespace {

// ---- Encoding -------------------------------------------------------------------

void requireFinite(double value, std::string_view key) {
  if (!std::isfinite(value)) {
    throw EditStateCodingError(std::string(key), "EditState field \"" + std::string(key) +
                                                     "\" holds a NaN or an infinity, which JSON cannot carry");
  }
}

// A Float as the shortest decimal that reads back to the same Float, carried in a
// double: 0.1f is written as 0.1, not as 0.10000000149011612.
nlohmann::ordered_json floatNumber(float value, std::string_view key) {
  requireFinite(value, key);
  char text[64];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double shortest = static_cast<double>(value);
  if (written.ec == std::errc()) {
    double parsed = 0;
    const auto read = std::from_chars(text, written.ptr, parsed);
    // Keep the decimal only when it provably reads back to the same Float.
    if (read.ec == std::errc() && static_cast<float>(parsed) == value &&
        std::signbit(parsed) == std::signbit(value)) {
      shortest = parsed;
    }
  }
  return shortest;
}

nlohmann::ordered_json doubleNumber(double value, std::string_view key) {
  requireFinite(value, key);
  return value;
}

// ---- Decoding -------------------------------------------------------------------
// A read gives none when the key is missing or its value has the wrong type, as the
// platform's keyed container does: numbers of any form read as Float or Double, an
// integer field takes only a number that is an integer within 64 bits, a Bool only
// true or false.

template <typename Json>
const Json* member(const Json& object, std::string_view key) {
  auto found = object.find(std::string(key));
  return found == object.end() ? nullptr : &*found;
}

template <typename Json>
std::optional<double> readDouble(const Json* value) {
  if (value == nullptr) return std::nullopt;
  if (value->is_number_unsigned()) return static_cast<double>(value->template get<std::uint64_t>());
  if (value->is_number_integer()) return static_cast<double>(value->template get<std::int64_t>());
  if (value->is_number_float()) return value->template get<double>();
  return std::nullopt;
}

template <typename Json>
std::optional<float> readFloat(const Json* value) {
  const std::optional<double> number = readDouble(value);
  if (!number) return std::nullopt;
  // A finite number beyond the largest Float does not fit: the read fails.
  if (std::isfinite(*number) && std::fabs(*number) > static_cast<double>(std::numeric_limits<float>::max())) {
    return std::nullopt;
  }
  return static_cast<float>(*number);
}

template <typename Json>
std::optional<std::int64_t> readInt(const Json* value) {
  if (value == nullptr) return std::nullopt;
  if (value->is_number_unsigned()) {
    const std::uint64_t number = value->template get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
    return static_cast<std::int64_t>(number);
  }
  if (value->is_number_integer()) return value->template get<std::int64_t>();
  if (value->is_number_float()) {
    const double number = value->template get<double>();
    constexpr double twoTo63 = 9223372036854775808.0;
    if (!std::isfinite(number) || number < -twoTo63 || number >= twoTo63 || std::trunc(number) != number) {
      return std::nullopt;
    }
    return static_cast<std::int64_t>(number);
  }
  return std::nullopt;
}

template <typename Json>
std::optional<bool> readBool(const Json* value) {
  if (value == nullptr || !value->is_boolean()) return std::nullopt;
  return value->template get<bool>();
}

// An unkeyed pair of doubles; further elements are not read, as with the platform's
// unkeyed container.
template <typename Json>
std::optional<std::pair<double, double>> readPair(const Json& value) {
  if (!value.is_array() || value.size() < 2) return std::nullopt;
  const std::optional<double> first = readDouble(&value[0]);
  const std::optional<double> second = readDouble(&value[1]);
  if (!first || !second) return std::nullopt;
  return std::pair{*first, *second};
}

template <typename Json>
std::optional<Rect> readRect(const Json* value) {
  if (value == nullptr || !value->is_array() || value->size() < 2) return std::nullopt;
  const auto origin = readPair((*value)[0]);
  const auto size = readPair((*value)[1]);
  if (!origin || !size) return std::nullopt;
  return Rect{origin->first, origin->second, size->first, size->second};
}

float cleanFloat(std::optional<float> read, const FloatRange& range) {
  return read ? range.clean(*read) : range.fallback;
}

// Not a NaN, not an infinity.
bool finite(float value) { return std::isfinite(value); }

// The crop repair, in Float precision, stored as Double. Unlike the
// parameter block it keeps every side at 0.01 or more.
Rect repairCrop(const std::optional<Rect>& read) {
  if (!read) return Rect{0, 0, 1, 1};
  // IEEE conversion: a double beyond the Float range becomes an infinity.
  float x = static_cast<float>(read->x);
  float y = static_cast<float>(read->y);
  float width = static_cast<float>(read->width);
  float height = static_cast<float>(read->height);
  constexpr float minimumSide = 0.01f;

  x = (!finite(x) || x <= 0) ? 0.0f : std::fmin(x, 1.0f);
  y = (!finite(y) || y <= 0) ? 0.0f : std::fmin(y, 1.0f);

  auto side = [&](float value, float origin) {
    float result;
    if (!finite(value)) {
      result = 1.0f;
    } else if (value > 0) {
      result = std::fmin(value, 1.0f - origin);
    } else {
      result = minimumSide;
    }
    if (result <= minimumSide) result = minimumSide;
    return result;
  };
  width = side(width, x);
  height = side(height, y);

  x = std::fmin(x, 1.0f - width);
  y = std::fmin(y, 1.0f - height);
  return Rect{x, y, width, height};
}

// A NaN, an infinity, zero or a negative gives 0.
double cleanTrim(std::optional<double> read) {
  if (!read || !std::isfinite(*read) || *read <= 0) return 0;
  return *read;
}

template <typename Json>
EditState decode(const Json& document) {
  if (!document.is_object()) {
    throw EditStateCodingError("", "the coded form of an EditState must be a JSON object");
  }
  EditState s;
  for (const EditField& field : kEditFields) {
    const Json* value = member(document, field.key);
    std::visit(
        [&](auto EditState::*target) {
          using Type = std::remove_reference_t<decltype(s.*target)>;
          auto& stored = s.*target;
          if constexpr (std::is_same_v<Type, float>) {
            stored = cleanFloat(readFloat(value), std::get<FloatRange>(field.range));
          } else if constexpr (std::is_same_v<Type, std::int64_t>) {
            if (const auto read = readInt(value)) stored = std::get<IntRange>(field.range).clamp(*read);
          } else if constexpr (std::is_same_v<Type, double>) {
            stored = cleanTrim(readDouble(value));
          } else if constexpr (std::is_same_v<Type, Bool>) {
            if (const auto read = readBool(value)) stored = *read;
          } else {
            stored = repairCrop(readRect(value));
          }
        },
        field.member);
  }
  // 0 means the whole length and stays; any other end is not before the start.
  if (s.trimEnd != 0 && s.trimEnd < s.trimStart) s.trimEnd = s.trimStart;
  return s;
}

}  // namespace

nlohmann::ordered_json encodeEditState(const EditState& s) {
  using Json = nlohmann::ordered_json;
  Json o = Json::object();
  for (const EditField& field : kEditFields) {
    Json& coded = o[std::string(field.key)];
    std::visit(
        [&](auto EditState::*source) {
          const auto& value = s.*source;
          using Type = std::remove_cvref_t<decltype(value)>;
          if constexpr (std::is_same_v<Type, float>) {
            coded = floatNumber(value, field.key);
          } else if constexpr (std::is_same_v<Type, double>) {
            coded = doubleNumber(value, field.key);
          } else if constexpr (std::is_same_v<Type, std::int64_t>) {
            coded = value;
          } else if constexpr (std::is_same_v<Type, Bool>) {
            coded = value.value();
          } else {
            coded = Json::array({Json::array({doubleNumber(value.x, field.key), doubleNumber(value.y, field.key)}),
                                 Json::array({doubleNumber(value.width, field.key),
                                              doubleNumber(value.height, field.key)})});
          }
        },
        field.member);
  }
  return o;
}

EditState decodeEditState(const nlohmann::json& document) { return decode(document); }

nlohmann::json parseEditJSON(std::string_view text) {
  if (text.size() > kMaxEditJSONBytes) {
    throw EditStateCodingError("", "the JSON text is " + std::to_string(text.size()) + " bytes, more than the limit of " +
                                       std::to_string(kMaxEditJSONBytes));
  }
  // Brackets outside strings give the depth; the parser sees only text that passed.
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > kMaxEditJSONDepth) {
        throw EditStateCodingError("", "the JSON text is nested more than " + std::to_string(kMaxEditJSONDepth) +
                                           " levels deep");
      }
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  nlohmann::json document = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (document.is_discarded()) throw EditStateCodingError("", "the text is not valid JSON");
  return document;
}
EditState decodeEditState(const nlohmann::ordered_json& document) { return decode(document); }

}  // namespace halvane
