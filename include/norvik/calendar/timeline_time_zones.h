#pragma once
// The user's extra time zones beside the day timeline: whether the feature is on, the zones tied to
// the device's own zone ("current") and additional zones, each with an optional label. Plain values
// with equality, hashing and a fixed description; not synchronised, so threads share copies.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace norvik {

class NVTimelineTimeZoneItem {
 public:
  // Defined out of line: GCC 12 at -O1 with sanitizers warns about inlined moves of empty
  // optional strings.
  NVTimelineTimeZoneItem(std::optional<std::string> label, std::optional<std::string> timeZone);

  // The name the user gave the zone.
  std::optional<std::string> label;
  // An Olson time-zone identifier ("Europe/Berlin").
  std::optional<std::string> timeZone;

  NVTimelineTimeZoneItem copy() const { return *this; }
  // Both fields equal, an absent field equal only to an absent one.
  bool isEqual(const NVTimelineTimeZoneItem& other) const { return *this == other; }
  bool operator==(const NVTimelineTimeZoneItem&) const = default;
  // (hash of label, 0 when absent) × 31 + (hash of timeZone, 0 when absent), wrapping.
  std::size_t hash() const;
  // "NVTimelineTimeZoneItem:\n.rawValue: <label>\ntimeZone: <timeZone>\n"; an absent value
  // prints as nothing.
  std::string description() const;
};

class NVTimelineTimeZones {
 public:
  using ItemList = std::vector<NVTimelineTimeZoneItem>;

  NVTimelineTimeZones(std::optional<bool> enabled, std::optional<ItemList> current,
                      std::optional<ItemList> additional);

  // Three states: absent, false, true.
  std::optional<bool> enabled;
  std::optional<ItemList> current;
  std::optional<ItemList> additional;

  NVTimelineTimeZones copy() const { return *this; }
  // enabled equal in all three states; each list both absent, or both present with pairwise equal
  // items in order.
  bool isEqual(const NVTimelineTimeZones& other) const { return *this == other; }
  bool operator==(const NVTimelineTimeZones&) const = default;
  // ((enabled ? 1 : 0) × 31, 0 when absent, + hash of current) × 31 + hash of additional,
  // wrapping. A list's hash is 0 when absent, else 1 folded with each item's hash as h × 31 + item.
  std::size_t hash() const;
  // "NVTimelineTimeZones:\nenabled: <true|false>\ncurrent: <list>\nadditional: <list>\n"; absent
  // enabled prints "false", an absent list prints as an empty one. A list is written "(\n" then
  // each item's description on a line of its own, indented by four spaces and separated by
  // commas, then ")".
  std::string description() const;

  // The first item of `current` whose timeZone is exactly the identifier of the environment's
  // current time zone; items without a zone never match and `additional` is not searched.
  std::optional<NVTimelineTimeZoneItem> getCurrentTimeZone() const;

  // The stored form, a JSON object: "enabled" (a boolean), "current" and "additional" (arrays of
  // objects with "label" and "timeZone" strings). A member that is absent in the value is left
  // out, so every absent state survives a round trip.
  std::string toJSON() const;
  // The value of a stored form. std::nullopt for text that is not such a JSON object or has a
  // member of the wrong type; unknown members are ignored.
  static std::optional<NVTimelineTimeZones> fromJSON(std::string_view text);
};

}  // namespace norvik

template <>
struct std::hash<norvik::NVTimelineTimeZoneItem> {
  std::size_t operator()(const norvik::NVTimelineTimeZoneItem& item) const { return item.hash(); }
};
template <>
struct std::hash<norvik::NVTimelineTimeZones> {
  std::size_t operator()(const norvik::NVTimelineTimeZones& zones) const { return zones.hash(); }
};
