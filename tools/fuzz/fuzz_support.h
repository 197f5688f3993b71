#pragma once
// Helpers shared by the fuzz targets: a failed invariant prints what broke and aborts, so that
// libFuzzer records the input as a crash.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::fuzz {

[[noreturn]] inline void fail(const char* what) {
  std::fprintf(stderr, "invariant broken: %s\n", what);
  std::abort();
}

inline void check(bool condition, const char* what) {
  if (!condition) fail(what);
}

// Value equality in which a NaN equals a NaN (the platform's == says it does not), so that a
// round trip of a NaN real can be checked.
inline bool sameValue(const platform::Value& a, const platform::Value& b) {
  using platform::Value;
  if (a.type() == Value::Type::Real && b.type() == Value::Type::Real &&
      std::isnan(*a.doubleValue()) && std::isnan(*b.doubleValue())) {
    return true;
  }
  if (a.isArray() && b.isArray()) {
    const auto& x = *a.array();
    const auto& y = *b.array();
    if (x.size() != y.size()) return false;
    for (std::size_t i = 0; i < x.size(); ++i) {
      if (!sameValue(x[i], y[i])) return false;
    }
    return true;
  }
  if (a.isDictionary() && b.isDictionary()) {
    const auto& x = *a.dictionary();
    const auto& y = *b.dictionary();
    if (x.size() != y.size()) return false;
    for (auto i = x.begin(), j = y.begin(); i != x.end(); ++i, ++j) {
      if (i->first != j->first || !sameValue(i->second, j->second)) return false;
    }
    return true;
  }
  return a == b;
}

// Whether a value holds a NaN anywhere (the platform's == is false for it).
inline bool holdsNaN(const platform::Value& v) {
  if (v.type() == platform::Value::Type::Real) return std::isnan(*v.doubleValue());
  if (const auto* array = v.array()) {
    for (const auto& element : *array) {
      if (holdsNaN(element)) return true;
    }
  }
  if (const auto* dictionary = v.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      if (holdsNaN(element)) return true;
    }
  }
  return false;
}

// The invariants of Value itself: equality is reflexive (NaN aside), equal values hash alike, a
// copy is equal, and the description can be made.
inline void checkValue(const platform::Value& v) {
  const platform::Value copy = v;
  if (!holdsNaN(v)) {
    check(v == copy, "a Value equals its copy");
    check(v.hash() == copy.hash(), "equal Values hash alike");
  }
  (void)v.description();
}

}  // namespace norvik::fuzz
