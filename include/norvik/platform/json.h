#pragma once
// JSON coding of Value, on nlohmann-json.

#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

struct JSONWriteOptions {
  bool prettyPrinted = false;
  bool sortedKeys = true;
};

// Writes a value as JSON. Dates are written as seconds since 1970, data as base64 text; reals use
// the number text of Value::numberText. A NaN or infinite real has no JSON form: std::nullopt.
std::optional<std::string> encodeJSON(const Value& value, JSONWriteOptions options = {});

// Parses JSON text. Integers that fit in 64 bits stay integers, other numbers become reals, JSON
// null becomes the null object. Returns std::nullopt for malformed text; never throws.
std::optional<Value> decodeJSON(std::string_view text);

}  // namespace norvik::platform
