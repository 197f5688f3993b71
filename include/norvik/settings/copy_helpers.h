#pragma once
// Copy and equality helpers for arrays, dictionaries and values.
//
// Values share their data, arrays and dictionaries until one copy is changed (value.h), so every
// copy made here is independent of its source: changing the source afterwards never changes the
// copy. There is no separate immutable form; nv_deepCopy and nv_deepMutableCopy give equal results.

#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <ranges>
#include <type_traits>

#include "norvik/platform/value.h"

namespace norvik {

// A copy of the array whose nested arrays and dictionaries are copies too.
platform::Array nv_deepMutableCopy(const platform::Array& array);
platform::Dictionary nv_deepMutableCopy(const platform::Dictionary& dictionary);
platform::Array nv_deepCopy(const platform::Array& array);
platform::Dictionary nv_deepCopy(const platform::Dictionary& dictionary);

// The elements that pass `test`, in their order. The test gets the element, its index and a stop
// flag: setting the flag ends the walk after that element (which is kept when the test passed).
platform::Array filter(const platform::Array& array,
                       const std::function<bool(const platform::Value&, std::size_t, bool&)>& test);

// True when the object is absent or the null object; false for anything else (the empty string
// and 0 included).
bool NVObjectIsNilOrNull(const std::optional<platform::Value>& object);
// True when both are absent, or a is present and equal to b; false when a is absent and b is not.
bool NVObjectIsEqualToObject(const std::optional<platform::Value>& a,
                             const std::optional<platform::Value>& b);
// The negation of NVObjectIsEqualToObject: false for two absent objects, true for absent a and
// present b.
bool NVObjectIsDifferentFromObject(const std::optional<platform::Value>& a,
                                   const std::optional<platform::Value>& b);

// Whether values of T have an equality: a collection or optional when its elements have one.
template <class T>
struct IsEquatable : std::bool_constant<std::equality_comparable<T>> {};
template <class U>
struct IsEquatable<std::optional<U>> : IsEquatable<U> {};
template <class T>
requires std::ranges::range<T> &&
    (!std::same_as<std::ranges::range_value_t<T>, T>)struct IsEquatable<T>
    : std::bool_constant<std::equality_comparable<T> &&
                         IsEquatable<std::remove_cvref_t<std::ranges::range_value_t<T>>>::value> {
};

// a == b when T has an equality; false when it has none.
template <class T>
bool compareEquatableValues(const T& a, const T& b) {
  if constexpr (IsEquatable<T>::value) {
    return a == b;
  } else {
    return false;
  }
}

// Equality for two values of one type: an empty collection equals exactly the empty ones (even
// when its elements have no equality); otherwise compareEquatableValues, so values of a type
// without an equality are never equal, not even to themselves.
template <class T>
bool areEqual(const T& a, const T& b) {
  if constexpr (std::ranges::sized_range<const T>) {
    if (std::ranges::empty(a)) return std::ranges::empty(b);
  }
  return compareEquatableValues(a, b);
}

}  // namespace norvik
