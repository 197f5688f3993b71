#pragma once
// Coding of typed values to and from Value (and so to JSON): what a codable record in this library
// is, and the wrappers that take part in it (IgnoreCoding and its DefaultValueProviding defaults).
//
// A type T is codable when Coding<T> is defined. Provided: bool, int, std::int64_t, float, double,
// std::string, platform::Date, platform::Value, std::optional<U>, std::vector<U>, std::set<U> and
// std::map<std::string, U> of codable U, and records. A record is a class with
//   void encode(KeyedEncodingContainer& container) const;
//   static R decode(const KeyedDecodingContainer& container);   // may throw DecodingError
// Coding throws EncodingError or DecodingError; the public operations that use it catch them.

#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "norvik/platform/json.h"
#include "norvik/platform/value.h"
#include "norvik/settings/copy_helpers.h"

namespace norvik {

struct EncodingError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct DecodingError : std::runtime_error {
  enum class Kind { keyNotFound, typeMismatch, valueNotFound, dataCorrupted };
  DecodingError(Kind kind, std::string key, const std::string& description)
      : std::runtime_error(description), kind(kind), key(std::move(key)) {}
  Kind kind;
  std::string key;  // the member concerned; empty at the top level
};

template <class T>
struct Coding;

template <class T>
concept Codable = requires(const T& value, const platform::Value& coded) {
  { Coding<T>::encode(value) } -> std::same_as<platform::Value>;
  { Coding<T>::decode(coded) } -> std::same_as<T>;
};

// ---- DefaultValueProviding ----

// A type-level default value. Specialise DefaultValueProvider<T> with `static T defaultValue()`
// to give a type of your own one.
template <class T>
struct DefaultValueProvider;

template <class T>
concept DefaultValueProviding = requires {
  { DefaultValueProvider<T>::defaultValue() } -> std::convertible_to<T>;
};

template <class T>
struct IsOptional : std::false_type {};
template <class U>
struct IsOptional<std::optional<U>> : std::true_type {};
// A type with an absent state (the counterpart of a nil literal).
template <class T>
concept ExpressibleByNilLiteral = IsOptional<T>::value;

template <>
struct DefaultValueProvider<bool> {
  static bool defaultValue() { return false; }
};
template <>
struct DefaultValueProvider<int> {
  static int defaultValue() { return 0; }
};
template <>
struct DefaultValueProvider<std::int64_t> {
  static std::int64_t defaultValue() { return 0; }
};
template <>
struct DefaultValueProvider<float> {
  static float defaultValue() { return 0; }
};
template <>
struct DefaultValueProvider<double> {
  static double defaultValue() { return 0; }
};
template <>
struct DefaultValueProvider<std::string> {
  static std::string defaultValue() { return {}; }
};
template <class U>
struct DefaultValueProvider<std::vector<U>> {
  static std::vector<U> defaultValue() { return {}; }
};
template <class K, class V>
struct DefaultValueProvider<std::map<K, V>> {
  static std::map<K, V> defaultValue() { return {}; }
};
template <class U>
struct DefaultValueProvider<std::set<U>> {
  static std::set<U> defaultValue() { return {}; }
};

// ---- IgnoreCoding ----

// A member of a codable record that coding neither writes nor reads. Encoding emits nothing for
// it; decoding gives T's DefaultValueProvider default, else the absent value of an optional T. A
// T with neither has no value to decode to: the record's decode throws a keyNotFound
// DecodingError ("Key not found"), and decoding the wrapper on its own stops the program with
// "Type T must conform to either DefaultValueProviding or ExpressibleByNilLiteral".
template <class T>
struct IgnoreCoding {
  T wrappedValue;

  IgnoreCoding() requires std::default_initializable<T> : wrappedValue() {}
  IgnoreCoding(T value) : wrappedValue(std::move(value)) {}

  // The value decoding gives; std::nullopt when T has none.
  static std::optional<T> decodedValue() {
    if constexpr (DefaultValueProviding<T>) {
      return std::optional<T>(DefaultValueProvider<T>::defaultValue());
    } else if constexpr (ExpressibleByNilLiteral<T>) {
      return std::optional<T>(T());
    } else {
      return std::nullopt;
    }
  }

  // Decoding the wrapper from any coded form (which is not looked at).
  static IgnoreCoding fromCoded(const platform::Value& /*ignored*/) {
    std::optional<T> value = decodedValue();
    if (!value) {
      std::fputs(
          "Fatal error: Type T must conform to either DefaultValueProviding or "
          "ExpressibleByNilLiteral\n",
          stderr);
      std::abort();
    }
    return IgnoreCoding(std::move(*value));
  }

  // Equal when areEqual says the wrapped values are.
  friend bool operator==(const IgnoreCoding& a, const IgnoreCoding& b) {
    return areEqual(a.wrappedValue, b.wrappedValue);
  }
};

template <class T>
struct IsIgnoreCoding : std::false_type {};
template <class U>
struct IsIgnoreCoding<IgnoreCoding<U>> : std::true_type {};

// ---- keyed containers of records ----

class KeyedEncodingContainer {
 public:
  template <class T>
  void encode(const T& value, std::string_view key) {
    if constexpr (IsIgnoreCoding<T>::value) {
      return;  // never written, not even as null
    } else if constexpr (ExpressibleByNilLiteral<T>) {
      if (value) members_.insert_or_assign(std::string(key), Coding<T>::encode(value));
    } else {
      members_.insert_or_assign(std::string(key), Coding<T>::encode(value));
    }
  }
  platform::Dictionary& members() { return members_; }

 private:
  platform::Dictionary members_;
};

class KeyedDecodingContainer {
 public:
  explicit KeyedDecodingContainer(const platform::Dictionary& members) : members_(members) {}

  template <class T>
  T decode(std::string_view key) const {
    if constexpr (IsIgnoreCoding<T>::value) {
      // The member's key is not looked for.
      auto value = T::decodedValue();
      if (!value) {
        throw DecodingError(DecodingError::Kind::keyNotFound, std::string(key), "Key not found");
      }
      return T(std::move(*value));
    } else {
      const platform::Value* found =
          members_.find(key) == members_.end() ? nullptr : &members_.find(key)->second;
      if constexpr (ExpressibleByNilLiteral<T>) {
        if (!found || found->isNull()) return T();
      }
      if (!found) {
        throw DecodingError(DecodingError::Kind::keyNotFound, std::string(key), "Key not found");
      }
      try {
        return Coding<T>::decode(*found);
      } catch (const DecodingError& error) {
        throw DecodingError(error.kind, std::string(key), error.what());
      }
    }
  }
  bool contains(std::string_view key) const { return members_.find(key) != members_.end(); }

 private:
  const platform::Dictionary& members_;
};

// ---- Coding specialisations ----

namespace detail {
[[noreturn]] inline void typeMismatch(const char* expected) {
  throw DecodingError(DecodingError::Kind::typeMismatch, {},
                      std::string("Expected to decode ") + expected);
}
// An integral number (an integer, or a real without fraction) in [lo, hi].
inline std::int64_t integralNumber(const platform::Value& v, std::int64_t lo, std::int64_t hi,
                                   const char* expected) {
  if (v.type() == platform::Value::Type::Integer) {
    std::int64_t i = *v.int64Value();
    if (i < lo || i > hi) typeMismatch(expected);
    return i;
  }
  if (v.type() == platform::Value::Type::Real) {
    double d = *v.doubleValue();
    if (std::trunc(d) != d || d < static_cast<double>(lo) || d >= 9223372036854775808.0 ||
        d > static_cast<double>(hi)) {
      typeMismatch(expected);
    }
    return static_cast<std::int64_t>(d);
  }
  typeMismatch(expected);
}
}  // namespace detail

template <>
struct Coding<bool> {
  static platform::Value encode(bool v) { return platform::Value(v); }
  static bool decode(const platform::Value& v) {
    if (v.type() != platform::Value::Type::Boolean) detail::typeMismatch("Bool");
    return *v.boolValue();
  }
};
template <>
struct Coding<int> {
  static platform::Value encode(int v) { return platform::Value(v); }
  static int decode(const platform::Value& v) {
    return static_cast<int>(detail::integralNumber(v, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max(), "Int"));
  }
};
template <>
struct Coding<std::int64_t> {
  static platform::Value encode(std::int64_t v) {
    return platform::Value(static_cast<long long>(v));
  }
  static std::int64_t decode(const platform::Value& v) {
    return detail::integralNumber(v, std::numeric_limits<std::int64_t>::min(),
                                  std::numeric_limits<std::int64_t>::max(), "Int64");
  }
};
template <>
struct Coding<double> {
  static platform::Value encode(double v) {
    if (!std::isfinite(v)) throw EncodingError("a number that is not finite has no JSON form");
    return platform::Value(v);
  }
  static double decode(const platform::Value& v) {
    if (v.type() != platform::Value::Type::Integer && v.type() != platform::Value::Type::Real) {
      detail::typeMismatch("Double");
    }
    return *v.doubleValue();
  }
};
template <>
struct Coding<float> {
  static platform::Value encode(float v) { return Coding<double>::encode(v); }
  static float decode(const platform::Value& v) {
    return static_cast<float>(Coding<double>::decode(v));
  }
};
template <>
struct Coding<std::string> {
  static platform::Value encode(const std::string& v) { return platform::Value(v); }
  static std::string decode(const platform::Value& v) {
    if (!v.string()) detail::typeMismatch("String");
    return *v.string();
  }
};
template <>
struct Coding<platform::Date> {
  // Seconds since 1970, the form encodeJSON gives dates.
  static platform::Value encode(platform::Date v) {
    return Coding<double>::encode(v.timeIntervalSince1970());
  }
  static platform::Date decode(const platform::Value& v) {
    if (v.date()) return *v.date();
    return platform::Date(Coding<double>::decode(v));
  }
};
template <>
struct Coding<platform::Value> {
  static platform::Value encode(const platform::Value& v) { return v; }
  static platform::Value decode(const platform::Value& v) { return v; }
};
template <class U>
struct Coding<std::optional<U>> {
  static platform::Value encode(const std::optional<U>& v) {
    return v ? Coding<U>::encode(*v) : platform::Value();
  }
  static std::optional<U> decode(const platform::Value& v) {
    if (v.isNull()) return std::nullopt;
    return Coding<U>::decode(v);
  }
};
template <class U>
struct Coding<std::vector<U>> {
  static platform::Value encode(const std::vector<U>& v) {
    platform::Array array;
    array.reserve(v.size());
    for (const U& element : v) array.push_back(Coding<U>::encode(element));
    return platform::Value(std::move(array));
  }
  static std::vector<U> decode(const platform::Value& v) {
    if (!v.array()) detail::typeMismatch("Array");
    std::vector<U> result;
    for (const platform::Value& element : *v.array()) result.push_back(Coding<U>::decode(element));
    return result;
  }
};
template <class U>
struct Coding<std::set<U>> {
  static platform::Value encode(const std::set<U>& v) {
    platform::Array array;
    for (const U& element : v) array.push_back(Coding<U>::encode(element));
    return platform::Value(std::move(array));
  }
  static std::set<U> decode(const platform::Value& v) {
    if (!v.array()) detail::typeMismatch("Set");
    std::set<U> result;
    for (const platform::Value& element : *v.array()) result.insert(Coding<U>::decode(element));
    return result;
  }
};
template <class U>
struct Coding<std::map<std::string, U>> {
  static platform::Value encode(const std::map<std::string, U>& v) {
    platform::Dictionary dictionary;
    for (const auto& [key, element] : v) dictionary.emplace(key, Coding<U>::encode(element));
    return platform::Value(std::move(dictionary));
  }
  static std::map<std::string, U> decode(const platform::Value& v) {
    if (!v.dictionary()) detail::typeMismatch("Dictionary");
    std::map<std::string, U> result;
    for (const auto& [key, element] : *v.dictionary())
      result.emplace(key, Coding<U>::decode(element));
    return result;
  }
};
template <class U>
struct Coding<IgnoreCoding<U>> {
  static platform::Value encode(const IgnoreCoding<U>&) {
    return platform::Value(platform::Dictionary{});
  }
  static IgnoreCoding<U> decode(const platform::Value& v) { return IgnoreCoding<U>::fromCoded(v); }
};
// Records.
template <class R>
requires requires(const R& r, KeyedEncodingContainer& e, const KeyedDecodingContainer& d) {
  r.encode(e);
  { R::decode(d) } -> std::same_as<R>;
}
struct Coding<R> {
  static platform::Value encode(const R& record) {
    KeyedEncodingContainer container;
    record.encode(container);
    return platform::Value(std::move(container.members()));
  }
  static R decode(const platform::Value& v) {
    if (!v.dictionary()) detail::typeMismatch("a keyed record");
    KeyedDecodingContainer container(*v.dictionary());
    return R::decode(container);
  }
};

// JSON text of a codable value (members sorted by key, no extra white space); std::nullopt when
// it has none (a non-finite number, invalid UTF-8).
template <Codable T>
std::optional<std::string> encodeToJSON(const T& value) {
  try {
    return platform::encodeJSON(Coding<T>::encode(value));
  } catch (const EncodingError&) {
    return std::nullopt;
  }
}

// The value a JSON text codes; std::nullopt when the text is not JSON or does not fit T.
template <Codable T>
std::optional<T> decodeFromJSON(std::string_view text) {
  std::optional<platform::Value> parsed = platform::decodeJSON(text);
  if (!parsed) return std::nullopt;
  try {
    return Coding<T>::decode(*parsed);
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}

}  // namespace norvik
