#pragma once
// Property-list coding (XML and binary) of Value, on libplist.

#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

enum class PropertyListFormat { XML, Binary };

// Encodes a value. The null object has no property-list form: it is written as an empty string at
// the top level and dropped from arrays and dictionaries. Never fails for other values.
Data encodePropertyList(const Value& value, PropertyListFormat format);

// Decodes XML or binary property-list bytes (the format is detected). Returns std::nullopt for
// malformed input; never throws.
std::optional<Value> decodePropertyList(std::string_view bytes);

// Reads and decodes a property-list file; std::nullopt when it is missing or malformed.
std::optional<Value> readPropertyListFile(const std::string& path);

}  // namespace norvik::platform
