#include "norvik/settings/typed_defaults.h"

#include <charconv>
#include <mutex>

#include "norvik/platform/environment.h"

namespace norvik {

void DefaultsInt64Bridge::save(std::string_view key, const std::optional<std::int64_t>& value,
                               platform::UserDefaults& store) {
  if (!value) {
    store.removeObjectForKey(key);
  } else {
    store.setObject(platform::Value(static_cast<long long>(*value)), key);
  }
}

std::optional<std::int64_t> DefaultsInt64Bridge::parseText(std::string_view text) {
  std::size_t start = 0;
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    start = 1;
  }
  if (start == text.size()) return std::nullopt;  // empty, or a sign alone
  for (std::size_t i = start; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
  }
  // Digits are read with the sign so that the most negative value is in range.
  std::string digits = (negative ? "-" : "") + std::string(text.substr(start));
  std::int64_t result = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
  if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return result;
}

std::optional<std::int64_t> DefaultsInt64Bridge::get(std::string_view key,
                                                     const platform::UserDefaults& store) {
  platform::Value object = store.objectForKey(key);
  if (object.isNumber()) return object.int64Value();
  if (const std::string* text = object.string()) return parseText(*text);
  return std::nullopt;
}

std::optional<std::int64_t> DefaultsInt64Bridge::deserialize(const platform::Value&) {
  return std::nullopt;
}

// The handle of the environment generation it was made for; guarded by `mutex`.
struct NVUserDefaults::Cached {
  std::mutex mutex;
  std::uint64_t generation = 0;
  std::optional<platform::UserDefaults> handle;
};

NVUserDefaults& NVUserDefaults::shared() {
  static NVUserDefaults instance;
  return instance;
}

NVUserDefaults::Cached& NVUserDefaults::cached() {
  static Cached cached;
  return cached;
}

platform::UserDefaults NVUserDefaults::store() {
  Cached& state = cached();
  std::uint64_t generation = platform::environmentGeneration();
  std::lock_guard lock(state.mutex);
  if (!state.handle || state.generation != generation) {
    state.handle.emplace(kNVAppGroupIdentifier);
    state.generation = generation;
  }
  return *state.handle;
}

}  // namespace norvik
