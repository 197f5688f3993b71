#include "norvik/platform/value.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace norvik::platform {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

std::int64_t truncateToInt64(double d) noexcept {
  if (std::isnan(d)) return 0;
  if (d >= kTwoTo63) return std::numeric_limits<std::int64_t>::max();
  if (d < -kTwoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(d);
}

// Shortest decimal text that reads back to the same double; integral values print without a
// fraction as long as they are exactly representable as integers.
std::string realText(double d) {
  if (std::isnan(d)) return "nan";
  if (std::isinf(d)) return d > 0 ? "inf" : "-inf";
  if (d == 0.0) return std::signbit(d) ? "-0" : "0";
  if (std::trunc(d) == d && std::fabs(d) < 1e17) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.0f", d);
    return buf;
  }
  // Shortest round-trip digits; to_chars chooses between fixed and exponent notation.
  char buf[40];
  auto result = std::to_chars(buf, buf + sizeof buf, d);
  return std::string(buf, result.ptr);
}

void appendQuoted(std::string& out, const std::string& s) {
  bool plain = !s.empty();
  for (unsigned char c : s) {
    if (!(std::isalnum(c) || c == '_' || c == '.' || c >= 0x80)) {
      plain = false;
      break;
    }
  }
  if (plain) {
    out += s;
    return;
  }
  out += '"';
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    out += c;
  }
  out += '"';
}

void describe(const Value& v, std::string& out, int indent) {
  std::string pad(static_cast<std::size_t>(indent) * 4, ' ');
  std::string inner(static_cast<std::size_t>(indent + 1) * 4, ' ');
  switch (v.type()) {
    case Value::Type::Null:
      out += "<null>";
      break;
    case Value::Type::Boolean:
    case Value::Type::Integer:
    case Value::Type::Real:
      out += *v.numberText();
      break;
    case Value::Type::String:
      appendQuoted(out, *v.string());
      break;
    case Value::Type::Date: {
      char buf[64];
      double s = v.date()->timeIntervalSince1970();
      std::time_t t = static_cast<std::time_t>(std::floor(s));
      std::tm tm{};
      gmtime_r(&t, &tm);
      std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S +0000", &tm);
      out += buf;
      break;
    }
    case Value::Type::Data: {
      static constexpr char kHex[] = "0123456789abcdef";
      out += '{';
      out += "length = " + std::to_string(v.data()->size()) + ", bytes = 0x";
      std::size_t n = 0;
      for (std::uint8_t b : *v.data()) {
        if (n++ == 32) {
          out += "...";
          break;
        }
        out += kHex[b >> 4];
        out += kHex[b & 15];
      }
      out += '}';
      break;
    }
    case Value::Type::Array: {
      out += "(\n";
      const Array& a = *v.array();
      for (std::size_t i = 0; i < a.size(); ++i) {
        out += inner;
        describe(a[i], out, indent + 1);
        out += i + 1 < a.size() ? ",\n" : "\n";
      }
      out += pad + ")";
      break;
    }
    case Value::Type::Dictionary: {
      out += "{\n";
      for (const auto& [key, value] : *v.dictionary()) {
        out += inner;
        appendQuoted(out, key);
        out += " = ";
        describe(value, out, indent + 1);
        out += ";\n";
      }
      out += pad + "}";
      break;
    }
  }
}

// Whether a real is exactly the given integer. Comparing through a double conversion would make
// 2^53 + 1 equal to 2^53 as a real, and the real equal to 2^53: equality would stop being
// transitive.
bool realEqualsInteger(double d, std::int64_t i) noexcept {
  if (!(d >= -kTwoTo63 && d < kTwoTo63) || std::trunc(d) != d) return false;
  return static_cast<std::int64_t>(d) == i;
}

bool numbersEqual(const Value& a, const Value& b) noexcept {
  const auto* ai = a.type() == Value::Type::Real ? nullptr : &a;
  const auto* bi = b.type() == Value::Type::Real ? nullptr : &b;
  if (ai && bi) return *a.int64Value() == *b.int64Value();
  if (ai) return realEqualsInteger(*b.doubleValue(), *a.int64Value());
  if (bi) return realEqualsInteger(*a.doubleValue(), *b.int64Value());
  const double x = *a.doubleValue();
  const double y = *b.doubleValue();
  return x == y || (std::isnan(x) && std::isnan(y));  // NaN equals NaN, as containers need
}

std::size_t combine(std::size_t seed, std::size_t h) noexcept {
  return seed ^ (h + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

}  // namespace

Value::Value() noexcept = default;
Value::Value(std::nullptr_t) noexcept {}
Value::Value(bool b) noexcept : storage_(b) {}
Value::Value(int i) noexcept : storage_(static_cast<std::int64_t>(i)) {}
Value::Value(long i) noexcept : storage_(static_cast<std::int64_t>(i)) {}
Value::Value(long long i) noexcept : storage_(static_cast<std::int64_t>(i)) {}
Value::Value(unsigned i) noexcept : storage_(static_cast<std::int64_t>(i)) {}
Value::Value(unsigned long i) noexcept : Value(static_cast<unsigned long long>(i)) {}
Value::Value(unsigned long long i) noexcept {
  if (i > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max())) {
    storage_ = static_cast<double>(i);
  } else {
    storage_ = static_cast<std::int64_t>(i);
  }
}
Value::Value(double d) noexcept : storage_(d) {}
Value::Value(const char* s) {
  if (s) storage_ = std::string(s);
}
Value::Value(std::string s) : storage_(std::move(s)) {}
Value::Value(std::string_view s) : storage_(std::string(s)) {}
Value::Value(Date d) noexcept : storage_(d) {}
Value::Value(Data d) : storage_(std::make_shared<Data>(std::move(d))) {}
Value::Value(Array a) : storage_(std::make_shared<Array>(std::move(a))) {}
Value::Value(Dictionary d) : storage_(std::make_shared<Dictionary>(std::move(d))) {}

bool Value::isNumber() const noexcept {
  Type t = type();
  return t == Type::Boolean || t == Type::Integer || t == Type::Real;
}

const std::string* Value::string() const noexcept {
  return std::get_if<std::string>(&storage_);
}
const Date* Value::date() const noexcept {
  return std::get_if<Date>(&storage_);
}
const Data* Value::data() const noexcept {
  auto p = std::get_if<std::shared_ptr<Data>>(&storage_);
  return p ? p->get() : nullptr;
}
const Array* Value::array() const noexcept {
  auto p = std::get_if<std::shared_ptr<Array>>(&storage_);
  return p ? p->get() : nullptr;
}
const Dictionary* Value::dictionary() const noexcept {
  auto p = std::get_if<std::shared_ptr<Dictionary>>(&storage_);
  return p ? p->get() : nullptr;
}

template <class T>
static T* unshare(std::shared_ptr<T>* p) {
  if (!p) return nullptr;
  if (p->use_count() != 1) *p = std::make_shared<T>(**p);
  return p->get();
}

Array* Value::mutableArray() {
  return unshare(std::get_if<std::shared_ptr<Array>>(&storage_));
}
Dictionary* Value::mutableDictionary() {
  return unshare(std::get_if<std::shared_ptr<Dictionary>>(&storage_));
}

std::optional<std::int64_t> Value::int64Value() const noexcept {
  if (auto b = std::get_if<bool>(&storage_)) return *b ? 1 : 0;
  if (auto i = std::get_if<std::int64_t>(&storage_)) return *i;
  if (auto d = std::get_if<double>(&storage_)) return truncateToInt64(*d);
  return std::nullopt;
}

std::optional<int> Value::intValue() const noexcept {
  auto v = int64Value();
  if (!v) return std::nullopt;
  return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(*v)));
}

std::optional<bool> Value::boolValue() const noexcept {
  if (auto b = std::get_if<bool>(&storage_)) return *b;
  if (auto i = std::get_if<std::int64_t>(&storage_)) return *i != 0;
  if (auto d = std::get_if<double>(&storage_)) return *d != 0.0;
  return std::nullopt;
}

std::optional<double> Value::doubleValue() const noexcept {
  if (auto b = std::get_if<bool>(&storage_)) return *b ? 1.0 : 0.0;
  if (auto i = std::get_if<std::int64_t>(&storage_)) return static_cast<double>(*i);
  if (auto d = std::get_if<double>(&storage_)) return *d;
  return std::nullopt;
}

std::optional<std::string> Value::numberText() const {
  if (auto b = std::get_if<bool>(&storage_)) return std::string(*b ? "1" : "0");
  if (auto i = std::get_if<std::int64_t>(&storage_)) return std::to_string(*i);
  if (auto d = std::get_if<double>(&storage_)) return realText(*d);
  if (auto s = std::get_if<std::string>(&storage_)) return *s;
  return std::nullopt;
}

const Value& nullValue() noexcept {
  static const Value null;
  return null;
}

const Value* Value::find(std::string_view key) const noexcept {
  const Dictionary* d = dictionary();
  if (!d) return nullptr;
  auto it = d->find(key);
  return it == d->end() ? nullptr : &it->second;
}

const Value& Value::operator[](std::string_view key) const noexcept {
  const Value* v = find(key);
  return v ? *v : nullValue();
}

const Value& Value::operator[](std::size_t index) const noexcept {
  const Array* a = array();
  return a && index < a->size() ? (*a)[index] : nullValue();
}

bool operator==(const Value& a, const Value& b) noexcept {
  // Booleans, integers and reals compare by exact numeric value, whatever their kinds.
  if (a.isNumber() && b.isNumber()) return numbersEqual(a, b);
  if (a.type() != b.type()) return false;
  switch (a.type()) {
    case Value::Type::Null:
      return true;
    case Value::Type::String:
      return *a.string() == *b.string();
    case Value::Type::Date:
      return *a.date() == *b.date();
    case Value::Type::Data:
      return *a.data() == *b.data();
    case Value::Type::Array:
      return *a.array() == *b.array();
    case Value::Type::Dictionary:
      return *a.dictionary() == *b.dictionary();
    default:
      return false;
  }
}

std::size_t Value::hash() const noexcept {
  switch (type()) {
    case Type::Null:
      return 0x5bd1e995;
    case Type::Boolean:
    case Type::Integer:
    case Type::Real: {
      // Equal numbers of different kinds must hash alike: hash integral values as integers.
      if (type() != Type::Real) return std::hash<std::int64_t>{}(*int64Value());
      double d = *doubleValue();
      if (std::isnan(d)) return 0x7ff8;
      if (std::trunc(d) == d && d >= -kTwoTo63 && d < kTwoTo63) {
        return std::hash<std::int64_t>{}(static_cast<std::int64_t>(d));
      }
      return std::hash<double>{}(d);
    }
    case Type::String:
      return std::hash<std::string>{}(*string());
    case Type::Date:
      return std::hash<double>{}(date()->timeIntervalSince1970()) ^ 0xda7e;
    case Type::Data:
      return std::hash<std::string_view>{}(
          std::string_view(reinterpret_cast<const char*>(data()->data()), data()->size()));
    case Type::Array: {
      std::size_t h = array()->size();
      for (const auto& v : *array()) h = combine(h, v.hash());
      return h;
    }
    case Type::Dictionary: {
      std::size_t h = dictionary()->size() + 0xd1c7;
      for (const auto& [k, v] : *dictionary()) {
        h = combine(h, std::hash<std::string>{}(k));
        h = combine(h, v.hash());
      }
      return h;
    }
  }
  return 0;
}

std::string Value::description() const {
  std::string out;
  describe(*this, out, 0);
  return out;
}

}  // namespace norvik::platform
