#pragma once
// JSON coding of Value, on nlohmann-json.

#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

struct JSONWriteOptions {
  bool prettyPrinted = false;  // two-space indentation, one member per line, " : " after keys
  bool sortedKeys = true;      // a Dictionary is ordered by key, so keys always come out sorted
};

// Writes a value as JSON; any value may be the top level. Dates are written as seconds since 1970,
// data as base64 text; integers and reals use the number text of Value::numberText, so a real
// reads back as the identical double. std::nullopt when the value has no JSON form: a NaN or
// infinite real, a string or key that is not valid UTF-8, or containers nested more than 512 deep.
std::optional<std::string> encodeJSON(const Value& value, JSONWriteOptions options = {});

// Parses JSON text (RFC 8259, a scalar top level included). Integers that fit in 64 bits stay
// integers, other numbers become reals, JSON null becomes the null object; a repeated key keeps
// its last value. Returns std::nullopt for malformed text, invalid UTF-8, trailing garbage or
// containers nested more than 512 deep; never throws.
std::optional<Value> decodeJSON(std::string_view text);

}  // namespace norvik::platform
