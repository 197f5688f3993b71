#include "norvik/platform/user_defaults.h"

#include <charconv>
#include <cstdio>
#include <exception>
#include <limits>
#include <mutex>

#include "norvik/platform/environment.h"
#include "norvik/platform/property_list.h"
#include "platform/integer_text.h"
#include "platform/user_defaults_store.h"

namespace norvik::platform {
namespace {

using detail::leadingInteger;
using detail::skipSpace;

constexpr std::string_view kFallbackStandardDomain = "app.norvik.standard";
// Suites live in this folder of the application-group container, one database file each.
constexpr std::string_view kPreferencesFolder = "Preferences";

void logProblem(std::string_view suite, std::string_view what) {
  std::fprintf(stderr, "norvik: user defaults suite \"%.*s\": %.*s\n",
               static_cast<int>(suite.size()), suite.data(), static_cast<int>(what.size()),
               what.data());
}

bool isValidSuiteName(std::string_view name) {
  return !name.empty() && name.find('/') == std::string_view::npos &&
         name.find("..") == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

// The main bundle's identifier, read once per bundle path.
std::string standardDomain() {
  // Guarded by `mutex`.
  static std::mutex mutex;
  static std::string cachedBundlePath;
  static std::string cachedDomain;
  std::string bundlePath = currentEnvironment()->mainBundlePath;
  std::lock_guard guard(mutex);
  if (cachedDomain.empty() || bundlePath != cachedBundlePath) {
    cachedDomain = std::string(kFallbackStandardDomain);
    if (!bundlePath.empty()) {
      auto info = readPropertyListFile(bundlePath + "/Info.plist");
      const Value& identifier = info ? (*info)["CFBundleIdentifier"] : nullValue();
      if (identifier.isString() && isValidSuiteName(*identifier.string())) {
        cachedDomain = *identifier.string();
      }
    }
    cachedBundlePath = bundlePath;
  }
  return cachedDomain;
}

// Whether a value has a stored form: containers must not hold the null object at any depth.
bool isStorable(const Value& value) {
  if (const Array* array = value.array()) {
    for (const Value& element : *array) {
      if (element.isNull() || !isStorable(element)) return false;
    }
  } else if (const Dictionary* dictionary = value.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      if (element.isNull() || !isStorable(element)) return false;
    }
  }
  return true;
}

// The platform's truth of a string: after white space, an optional sign and any zeros, a 'Y',
// 'y', 'T', 't' or a digit 1-9 makes it true; whatever follows is ignored.
bool stringTruth(std::string_view text) {
  text = skipSpace(text);
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  while (!text.empty() && text.front() == '0') text.remove_prefix(1);
  if (text.empty()) return false;
  char c = text.front();
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

// The leading decimal number of a string (with fraction, exponent, "inf" or "nan"); an overflow
// gives an infinity and an underflow zero, both with the sign; 0 without a number.
double leadingReal(std::string_view text) {
  text = skipSpace(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) return 0.0;
  double value = 0.0;
  auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general);
  if (error == std::errc::result_out_of_range) {
    std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
    std::size_t e = number.find_first_of("eE");
    bool underflow = e != std::string_view::npos && e + 1 < number.size() && number[e + 1] == '-';
    value = underflow ? 0.0 : std::numeric_limits<double>::infinity();
  } else if (error != std::errc()) {
    return 0.0;
  }
  return negative ? -value : value;
}

}  // namespace

UserDefaults UserDefaults::standard() {
  return UserDefaults(standardDomain());
}

UserDefaults::UserDefaults(std::string_view suiteName) : suiteName_(suiteName) {
  if (!isValidSuiteName(suiteName)) {
    logProblem(suiteName, "invalid suite name; nothing will be read or stored");
    return;
  }
  std::string container = currentEnvironment()->appGroupContainerDirectory;
  if (container.empty()) {
    logProblem(suiteName, "no application-group container; nothing will be read or stored");
    return;
  }
  try {
    store_ = detail::defaultsStoreForPath(
        container + "/" + std::string(kPreferencesFolder) + "/" + suiteName_ + ".sqlite",
        detail::kUserDefaultsTable);
  } catch (const std::exception& e) {
    logProblem(suiteName, e.what());
    store_.reset();
  }
}

UserDefaults::~UserDefaults() = default;

Value UserDefaults::objectForKey(std::string_view key) const {
  if (!store_) return Value();
  try {
    return store_->object(key);
  } catch (const std::exception&) {
    return Value();
  }
}

void UserDefaults::setObject(const Value& value, std::string_view key) {
  if (!store_) return;
  if (!isStorable(value)) {
    logProblem(suiteName_, "refusing to store a container that holds the null object under \"" +
                               std::string(key) + "\"");
    return;
  }
  try {
    if (value.isArray() || value.isDictionary()) {
      // Hold a container as the other processes will read it back from its property-list form,
      // so that every process sees the same value.
      Data bytes = encodePropertyList(value, PropertyListFormat::Binary);
      auto stored = decodePropertyList(
          std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
      if (!stored) {
        logProblem(suiteName_, "refusing to store a value without a property-list form under \"" +
                                   std::string(key) + "\"");
        return;
      }
      store_->set(key, std::move(*stored));
    } else {
      store_->set(key, value);
    }
  } catch (const std::exception& e) {
    logProblem(suiteName_, e.what());
  }
}

void UserDefaults::removeObjectForKey(std::string_view key) {
  setObject(Value(), key);
}

bool UserDefaults::boolForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (value.isNumber()) return value.boolValue().value_or(false);
  if (const std::string* text = value.string()) return stringTruth(*text);
  return false;
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (value.isNumber()) return value.int64Value().value_or(0);
  if (const std::string* text = value.string()) return leadingInteger(*text);
  return 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (value.isNumber()) return value.doubleValue().value_or(0.0);
  if (const std::string* text = value.string()) return leadingReal(*text);
  return 0.0;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (value.isString() || value.isNumber()) return value.numberText();
  return std::nullopt;
}

std::optional<Array> UserDefaults::arrayForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (const Array* array = value.array()) return *array;
  return std::nullopt;
}

std::optional<Dictionary> UserDefaults::dictionaryForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (const Dictionary* dictionary = value.dictionary()) return *dictionary;
  return std::nullopt;
}

std::optional<Data> UserDefaults::dataForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (const Data* data = value.data()) return *data;
  return std::nullopt;
}

std::optional<Date> UserDefaults::dateForKey(std::string_view key) const {
  Value value = objectForKey(key);
  if (const Date* date = value.date()) return *date;
  return std::nullopt;
}

void UserDefaults::setBool(bool value, std::string_view key) {
  setObject(Value(value), key);
}

void UserDefaults::setInteger(std::int64_t value, std::string_view key) {
  setObject(Value(static_cast<long long>(value)), key);
}

void UserDefaults::setDouble(double value, std::string_view key) {
  setObject(Value(value), key);
}

Dictionary UserDefaults::dictionaryRepresentation() const {
  if (!store_) return {};
  try {
    return store_->snapshot();
  } catch (const std::exception&) {
    return {};
  }
}

bool UserDefaults::synchronize() {
  if (!store_) return false;
  try {
    return store_->synchronize();
  } catch (const std::exception& e) {
    logProblem(suiteName_, e.what());
    return false;
  }
}

UserDefaults::StoreStatus UserDefaults::storeStatus() const {
  if (!store_) return StoreStatus::unreadable;
  try {
    switch (store_->reach()) {
      case detail::DefaultsStore::Reach::readWrite:
        return StoreStatus::readWrite;
      case detail::DefaultsStore::Reach::readOnly:
        return StoreStatus::readOnly;
      case detail::DefaultsStore::Reach::unreadable:
        break;
    }
  } catch (const std::exception& e) {
    logProblem(suiteName_, e.what());
  }
  return StoreStatus::unreadable;
}

std::string UserDefaults::storeProblem() const {
  if (!store_) return "the suite has no database";
  return store_->problem();
}

}  // namespace norvik::platform
