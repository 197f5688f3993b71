#include "norvik/calendar/timeline_time_zones.h"

#include "norvik/platform/json.h"
#include "norvik/platform/time_zone.h"
#include "norvik/platform/value.h"

namespace norvik {

using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

std::size_t hashOf(const std::optional<std::string>& text) {
  return text ? std::hash<std::string>{}(*text) : 0;
}

std::size_t hashOf(const std::optional<NVTimelineTimeZones::ItemList>& items) {
  if (!items) return 0;
  std::size_t h = 1;
  for (const auto& item : *items) h = h * 31 + item.hash();
  return h;
}

std::string describe(const std::optional<NVTimelineTimeZones::ItemList>& items) {
  std::string out = "(\n";
  if (items) {
    for (std::size_t i = 0; i < items->size(); ++i) {
      out += "    ";
      out += (*items)[i].description();
      if (i + 1 < items->size()) out += ',';
      out += '\n';
    }
  }
  out += ')';
  return out;
}

Value itemsValue(const NVTimelineTimeZones::ItemList& items) {
  Array array;
  array.reserve(items.size());
  for (const auto& item : items) {
    Dictionary entry;
    if (item.label) entry.emplace("label", Value(*item.label));
    if (item.timeZone) entry.emplace("timeZone", Value(*item.timeZone));
    array.emplace_back(std::move(entry));
  }
  return Value(std::move(array));
}

// An optional string member: absent when missing; false when present but not a string.
bool readString(const Dictionary& dictionary, std::string_view key,
                std::optional<std::string>& out) {
  auto it = dictionary.find(key);
  if (it == dictionary.end()) return true;
  const std::string* text = it->second.string();
  if (!text) return false;
  out = *text;
  return true;
}

bool readItems(const Dictionary& dictionary, std::string_view key,
               std::optional<NVTimelineTimeZones::ItemList>& out) {
  auto it = dictionary.find(key);
  if (it == dictionary.end()) return true;
  const Array* array = it->second.array();
  if (!array) return false;
  NVTimelineTimeZones::ItemList items;
  items.reserve(array->size());
  for (const Value& element : *array) {
    const Dictionary* entry = element.dictionary();
    if (!entry) return false;
    NVTimelineTimeZoneItem item(std::nullopt, std::nullopt);
    if (!readString(*entry, "label", item.label) ||
        !readString(*entry, "timeZone", item.timeZone)) {
      return false;
    }
    items.push_back(std::move(item));
  }
  out = std::move(items);
  return true;
}

}  // namespace

NVTimelineTimeZoneItem::NVTimelineTimeZoneItem(std::optional<std::string> label,
                                               std::optional<std::string> timeZone)
    : label(std::move(label)), timeZone(std::move(timeZone)) {}

NVTimelineTimeZones::NVTimelineTimeZones(std::optional<bool> enabled,
                                         std::optional<ItemList> current,
                                         std::optional<ItemList> additional)
    : enabled(enabled), current(std::move(current)), additional(std::move(additional)) {}

std::size_t NVTimelineTimeZoneItem::hash() const {
  return hashOf(label) * 31 + hashOf(timeZone);
}

std::string NVTimelineTimeZoneItem::description() const {
  return "NVTimelineTimeZoneItem:\n.rawValue: " + label.value_or("") +
         "\ntimeZone: " + timeZone.value_or("") + "\n";
}

std::size_t NVTimelineTimeZones::hash() const {
  std::size_t a = enabled ? static_cast<std::size_t>(*enabled ? 1 : 0) * 31 : 0;
  std::size_t b = hashOf(current);
  std::size_t c = hashOf(additional);
  return (a + b) * 31 + c;
}

std::string NVTimelineTimeZones::description() const {
  return std::string("NVTimelineTimeZones:\nenabled: ") +
         (enabled.value_or(false) ? "true" : "false") + "\ncurrent: " + describe(current) +
         "\nadditional: " + describe(additional) + "\n";
}

std::optional<NVTimelineTimeZoneItem> NVTimelineTimeZones::getCurrentTimeZone() const {
  if (!current) return std::nullopt;
  std::string identifier = platform::TimeZone::current().identifier();
  for (const auto& item : *current) {
    if (item.timeZone && *item.timeZone == identifier) return item;
  }
  return std::nullopt;
}

std::string NVTimelineTimeZones::toJSON() const {
  Dictionary object;
  if (enabled) object.emplace("enabled", Value(*enabled));
  if (current) object.emplace("current", itemsValue(*current));
  if (additional) object.emplace("additional", itemsValue(*additional));
  // Strings that are not valid UTF-8 have no JSON form; such a value is stored as an empty object
  // rather than not at all.
  return platform::encodeJSON(Value(std::move(object))).value_or("{}");
}

std::optional<NVTimelineTimeZones> NVTimelineTimeZones::fromJSON(std::string_view text) {
  auto value = platform::decodeJSON(text);
  if (!value) return std::nullopt;
  const Dictionary* object = value->dictionary();
  if (!object) return std::nullopt;
  NVTimelineTimeZones zones(std::nullopt, std::nullopt, std::nullopt);
  if (auto it = object->find("enabled"); it != object->end()) {
    if (it->second.type() != Value::Type::Boolean) return std::nullopt;
    zones.enabled = it->second.boolValue();
  }
  if (!readItems(*object, "current", zones.current) ||
      !readItems(*object, "additional", zones.additional)) {
    return std::nullopt;
  }
  return zones;
}

}  // namespace norvik
