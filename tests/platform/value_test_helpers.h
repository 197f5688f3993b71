#pragma once
// Helpers for tests of Value and its codings.

#include <ostream>

#include "norvik/platform/value.h"

namespace norvik::platform {

// Lets GoogleTest print a Value in failure messages.
inline void PrintTo(const Value& value, std::ostream* out) {
  *out << value.description();
}

}  // namespace norvik::platform

namespace norvik::testing {

// Value's equality treats true, 1 and 1.0 as equal; coding tests also check that every member kept
// its kind.
inline bool sameKinds(const platform::Value& a, const platform::Value& b) {
  if (a.type() != b.type()) return false;
  if (const auto* array = a.array()) {
    for (std::size_t i = 0; i < array->size(); ++i) {
      if (!sameKinds((*array)[i], b[i])) return false;
    }
  } else if (const auto* dictionary = a.dictionary()) {
    for (const auto& [key, member] : *dictionary) {
      if (!sameKinds(member, b[key])) return false;
    }
  }
  return true;
}

}  // namespace norvik::testing
