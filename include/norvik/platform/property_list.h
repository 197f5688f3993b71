#pragma once
// Property-list coding (XML and binary) of Value, on libplist.

#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

enum class PropertyListFormat { XML, Binary };

// Encodes a value. The null object has no property-list form: it is written as an empty string at
// the top level and dropped from arrays and dictionaries. Strings and keys end at a NUL byte, and
// invalid UTF-8 in them becomes U+FFFD. Dates keep microseconds in the binary format and whole
// seconds in XML, and are clamped to 1932-12-13 ... 2069-01-19 (32-bit seconds from 2001-01-01).
// Never fails for other values.
Data encodePropertyList(const Value& value, PropertyListFormat format);

// Decodes XML or binary property-list bytes (the format is detected). Booleans stay booleans;
// integers above INT64_MAX become reals; keyed-archiver UIDs become integers; dates are clamped to
// the range the encoder writes. Returns std::nullopt for malformed input, for containers nested
// more than 512 deep or containing themselves, and for dictionary keys that are not strings or
// hold a NUL character; never throws.
std::optional<Value> decodePropertyList(std::string_view bytes);

// Reads and decodes a property-list file; std::nullopt when it is missing or malformed.
std::optional<Value> readPropertyListFile(const std::string& path);

}  // namespace norvik::platform
