#include "norvik/vocabulary/quick_add.h"

#include <array>
#include <cmath>
#include <limits>

#include "norvik/platform/environment.h"

namespace norvik {
namespace {

using N = NVQuickAddConfigName;

constexpr std::array<N, 11> kNames{N::date,         N::priority,    N::tag,       N::assign,
                                   N::list,         N::image,       N::template_, N::convertNote,
                                   N::convertEvent, N::suggestions, N::fullscreen};

constexpr std::array<std::string_view, 11> kRawValues{
    "date",     "priority",     "tag",           "assign",      "list",      "image",
    "template", "convert_note", "convert_event", "suggestions", "fullscreen"};

// A pin time read from the dictionary form: integers, booleans, and reals holding an exact 64-bit
// integer. Strings and everything else are not pin times.
std::optional<std::int64_t> pinTimestampFrom(const platform::Value& value) {
  switch (value.type()) {
    case platform::Value::Type::Integer:
    case platform::Value::Type::Boolean:
      return value.int64Value();
    case platform::Value::Type::Real: {
      const double real = *value.doubleValue();
      // 2^63 itself is out of range; every double below it in magnitude is exact when integral.
      if (std::trunc(real) != real || !(real >= -9223372036854775808.0) ||
          !(real < 9223372036854775808.0)) {
        return std::nullopt;
      }
      return static_cast<std::int64_t>(real);
    }
    default:
      return std::nullopt;
  }
}

std::int64_t nowMilliseconds() {
  const double milliseconds = platform::currentEnvironment()->nowSeconds() * 1000.0;
  // Leave room for the four following pin times.
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max() - 4;
  if (std::isnan(milliseconds)) return 0;
  if (milliseconds >= static_cast<double>(kMax)) return kMax;
  if (milliseconds <= static_cast<double>(std::numeric_limits<std::int64_t>::min())) {
    return std::numeric_limits<std::int64_t>::min();
  }
  return static_cast<std::int64_t>(milliseconds);
}

}  // namespace

std::span<const NVQuickAddConfigName> allQuickAddConfigNames() noexcept {
  return kNames;
}

std::string_view rawValue(NVQuickAddConfigName name) noexcept {
  const auto index = static_cast<std::size_t>(name);
  return index < kRawValues.size() ? kRawValues[index] : std::string_view{};
}

std::optional<NVQuickAddConfigName> quickAddConfigNameFromRawValue(std::string_view raw) noexcept {
  for (std::size_t i = 0; i < kRawValues.size(); ++i) {
    if (kRawValues[i] == raw) return kNames[i];
  }
  return std::nullopt;
}

platform::Value encodeQuickAddConfigName(NVQuickAddConfigName name) {
  return platform::Value(rawValue(name));
}

std::optional<NVQuickAddConfigName> decodeQuickAddConfigName(
    const platform::Value& value) noexcept {
  const std::string* text = value.string();
  return text ? quickAddConfigNameFromRawValue(*text) : std::nullopt;
}

platform::Dictionary NVQuickAddButtonItem::toRemoteDict() const {
  return platform::Dictionary{{"key", platform::Value(rawValue(key))},
                              {"pinTimestamp", platform::Value(requirePinTimestamp())}};
}

NVQuickAddButtonItem NVQuickAddButtonItem::itemBy(const platform::Dictionary& dictionary) {
  auto keyEntry = dictionary.find("key");
  if (keyEntry == dictionary.end()) return dateItem();
  const auto name = decodeQuickAddConfigName(keyEntry->second);
  if (!name) return dateItem();
  std::optional<std::int64_t> pin;
  if (auto pinEntry = dictionary.find("pinTimestamp"); pinEntry != dictionary.end()) {
    pin = pinTimestampFrom(pinEntry->second);
  }
  return NVQuickAddButtonItem(*name, pin);
}

NVQuickAddButtonItem NVQuickAddButtonItem::itemBy(const platform::Value& value) {
  const platform::Dictionary* dictionary = value.dictionary();
  return dictionary ? itemBy(*dictionary) : dateItem();
}

std::vector<NVQuickAddButtonItem> NVQuickAddButtonItem::defaults() {
  const std::int64_t now = nowMilliseconds();
  std::vector<NVQuickAddButtonItem> items;
  items.reserve(kNames.size());
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    std::optional<std::int64_t> pin;
    if (i < 5) pin = now + static_cast<std::int64_t>(i);
    items.emplace_back(kNames[i], pin);
  }
  return items;
}

NVQuickAddButtonItem NVQuickAddButtonItem::dateItem() noexcept {
  return {N::date, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::priorityItem() noexcept {
  return {N::priority, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::tagItem() noexcept {
  return {N::tag, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::assignItem() noexcept {
  return {N::assign, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::listItem() noexcept {
  return {N::list, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::imageItem() noexcept {
  return {N::image, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::templateItem() noexcept {
  return {N::template_, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::convertNoteItem() noexcept {
  return {N::convertNote, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::convertEventItem() noexcept {
  return {N::convertEvent, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::suggestionsItem() noexcept {
  return {N::suggestions, std::nullopt};
}
NVQuickAddButtonItem NVQuickAddButtonItem::fullscreenItem() noexcept {
  return {N::fullscreen, std::nullopt};
}

std::size_t NVQuickAddButtonItem::hash() const noexcept {
  const std::size_t k = std::hash<std::string_view>{}(rawValue(key));
  const std::size_t p = pinTimestamp ? std::hash<std::int64_t>{}(*pinTimestamp) : 0;
  return 31 * k + p;  // unsigned arithmetic wraps
}

std::string NVQuickAddButtonItem::description() const {
  std::string text = "NVQuickAddButtonItem:\nkey: ";
  text += rawValue(key);
  text += "\npinTimestamp: ";
  text += std::to_string(requirePinTimestamp());
  text += '\n';
  return text;
}

}  // namespace norvik
