#pragma once
// A property-list value: the null object, a boolean, an integer, a real, a string, a date, data, an
// array or a dictionary keyed by string. Row dictionaries, user-information dictionaries and stored
// settings of the whole library are made of these.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "norvik/platform/date.h"

namespace norvik::platform {

class Value;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;
using Data = std::vector<std::uint8_t>;

class Value {
 public:
  enum class Type { Null, Boolean, Integer, Real, String, Date, Data, Array, Dictionary };

  Value() noexcept;  // the null object
  Value(std::nullptr_t) noexcept;
  Value(bool b) noexcept;
  Value(int i) noexcept;
  Value(long i) noexcept;
  Value(long long i) noexcept;
  Value(unsigned i) noexcept;
  Value(unsigned long i) noexcept;       // values above INT64_MAX are stored as reals
  Value(unsigned long long i) noexcept;  // likewise
  Value(double d) noexcept;
  Value(const char* s);  // a null pointer gives the null object
  Value(std::string s);
  Value(std::string_view s);
  Value(Date d) noexcept;
  Value(Data d);
  Value(Array a);
  Value(Dictionary d);

  // Copies are cheap: data, arrays and dictionaries are shared until one copy is changed.
  Value(const Value& other) = default;
  Value(Value&& other) noexcept = default;
  Value& operator=(const Value& other) = default;
  Value& operator=(Value&& other) noexcept = default;
  ~Value() = default;

  Type type() const noexcept { return static_cast<Type>(storage_.index()); }
  bool isNull() const noexcept { return type() == Type::Null; }
  // A number is a boolean, an integer or a real, as the platform's number class holds all three.
  bool isNumber() const noexcept;
  bool isString() const noexcept { return type() == Type::String; }
  bool isArray() const noexcept { return type() == Type::Array; }
  bool isDictionary() const noexcept { return type() == Type::Dictionary; }

  // Direct access; a null pointer when the value is of another type.
  const std::string* string() const noexcept;
  const Date* date() const noexcept;
  const Data* data() const noexcept;
  const Array* array() const noexcept;
  const Dictionary* dictionary() const noexcept;
  // Mutable access; unshares the container first. A null pointer for other types.
  Array* mutableArray();
  Dictionary* mutableDictionary();

  // Number conversions with the platform's rules: a real truncates toward zero (saturating at the
  // type's limits, NaN gives 0); a boolean is 0 or 1; anything but a number gives std::nullopt.
  std::optional<bool> boolValue() const noexcept;  // non-zero is true
  std::optional<int> intValue() const noexcept;    // 64-bit value truncated to 32 bits
  std::optional<std::int64_t> int64Value() const noexcept;
  std::optional<double> doubleValue() const noexcept;

  // A number's decimal text as the platform prints it: booleans "1"/"0", integers in decimal,
  // integral reals without a fraction ("3"), other reals with the shortest digits that read back to
  // the same double ("1700000000.5", "0.1"), "nan", "inf", "-inf". Strings are returned as they
  // are; other types give std::nullopt.
  std::optional<std::string> numberText() const;

  // Dictionary and array access; the null object (a shared static) when missing or of another type.
  const Value& operator[](std::string_view key) const noexcept;
  const Value& operator[](std::size_t index) const noexcept;
  // Pointer to the member under `key`, or nullptr when absent or this is not a dictionary.
  const Value* find(std::string_view key) const noexcept;

  // The platform's equality: numbers compare by numeric value whatever their kind (true == 1 ==
  // 1.0), strings by bytes, dates by instant, containers element by element.
  friend bool operator==(const Value& a, const Value& b) noexcept;
  // A hash that agrees with ==.
  std::size_t hash() const noexcept;

  // A short debug description in the platform's property-list style.
  std::string description() const;

 private:
  using Storage =
      std::variant<std::monostate, bool, std::int64_t, double, std::string, Date,
                   std::shared_ptr<Data>, std::shared_ptr<Array>, std::shared_ptr<Dictionary>>;
  Storage storage_;
};

// The shared null object returned by failed lookups.
const Value& nullValue() noexcept;

}  // namespace norvik::platform

template <>
struct std::hash<norvik::platform::Value> {
  std::size_t operator()(const norvik::platform::Value& v) const noexcept { return v.hash(); }
};
