#pragma once
// The tools of the quick-add bar (the row of buttons under the field in which a new task is typed)
// and the item that pairs a tool with the moment it was pinned into the visible row. Items are
// stored locally and sent to the server in their dictionary form.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/value.h"

namespace norvik {

// The tools, in declaration order (the order of the defaults and of decoding).
enum class NVQuickAddConfigName {
  date,
  priority,
  tag,
  assign,
  list,
  image,
  template_,  // raw value "template"
  convertNote,
  convertEvent,
  suggestions,
  fullscreen,
};

// All eleven tools in declaration order.
std::span<const NVQuickAddConfigName> allQuickAddConfigNames() noexcept;
// The raw value: "date", "priority", ..., "convert_note", "convert_event", ..., "fullscreen".
std::string_view rawValue(NVQuickAddConfigName name) noexcept;
// The tool whose raw value is exactly `raw` (case-sensitive); std::nullopt for any other text.
std::optional<NVQuickAddConfigName> quickAddConfigNameFromRawValue(std::string_view raw) noexcept;
// Coding: a tool is its raw string. Decoding gives std::nullopt (an error) for anything but a
// string holding one of the raw values.
platform::Value encodeQuickAddConfigName(NVQuickAddConfigName name);
std::optional<NVQuickAddConfigName> decodeQuickAddConfigName(const platform::Value& value) noexcept;

class NVQuickAddButtonItem {
 public:
  // There is no item without a tool.
  NVQuickAddButtonItem() = delete;
  NVQuickAddButtonItem(NVQuickAddConfigName key, std::optional<std::int64_t> pinTimestamp) noexcept
      : key(key), pinTimestamp(pinTimestamp) {}

  // The tool.
  NVQuickAddConfigName key;
  // When the tool was pinned into the visible row, in milliseconds since 1970 UTC; absent when it
  // is not pinned. The visible row is ordered by it.
  std::optional<std::int64_t> pinTimestamp;

  // The pin time, or -1 when absent.
  std::int64_t requirePinTimestamp() const noexcept { return pinTimestamp.value_or(-1); }
  // Whether the tool shows in the visible row: a pin time of at least 1.
  bool isVisiable() const noexcept { return pinTimestamp && *pinTimestamp >= 1; }

  // {"key": raw value, "pinTimestamp": the pin time or -1 when absent}.
  platform::Dictionary toRemoteDict() const;

  // The item of a dictionary form. A missing, non-string or unknown "key" gives the date tool
  // without a pin time; otherwise a "pinTimestamp" that is an integer (or a boolean, or a real with
  // an exact 64-bit integral value) is the pin time, and anything else leaves it absent. So an
  // unpinned item comes back pinned at -1: still invisible, but not equal to the original.
  static NVQuickAddButtonItem itemBy(const platform::Dictionary& dictionary);
  // The same for a Value; anything but a dictionary gives the unpinned date tool.
  static NVQuickAddButtonItem itemBy(const platform::Value& value);

  // The eleven tools in declaration order; the first five (date, priority, tag, assign, list) are
  // pinned at now, now + 1, ..., now + 4 milliseconds (the environment's clock), the others are
  // unpinned. A clock beyond the range of 64-bit milliseconds is clamped to it.
  static std::vector<NVQuickAddButtonItem> defaults();

  // A new item of each tool, without a pin time.
  static NVQuickAddButtonItem dateItem() noexcept;
  static NVQuickAddButtonItem priorityItem() noexcept;
  static NVQuickAddButtonItem tagItem() noexcept;
  static NVQuickAddButtonItem assignItem() noexcept;
  static NVQuickAddButtonItem listItem() noexcept;
  static NVQuickAddButtonItem imageItem() noexcept;
  static NVQuickAddButtonItem templateItem() noexcept;
  static NVQuickAddButtonItem convertNoteItem() noexcept;
  static NVQuickAddButtonItem convertEventItem() noexcept;
  static NVQuickAddButtonItem suggestionsItem() noexcept;
  static NVQuickAddButtonItem fullscreenItem() noexcept;

  // Equal keys, and pin times both absent or both present and equal.
  friend bool operator==(const NVQuickAddButtonItem& a, const NVQuickAddButtonItem& b) noexcept {
    return a.key == b.key && a.pinTimestamp == b.pinTimestamp;
  }
  // 31 × (hash of the raw value) + (hash of the pin time, 0 when absent), wrapping.
  std::size_t hash() const noexcept;
  // "NVQuickAddButtonItem:\nkey: <raw value>\npinTimestamp: <pin time or -1>\n".
  std::string description() const;
};

}  // namespace norvik

template <>
struct std::hash<norvik::NVQuickAddButtonItem> {
  std::size_t operator()(const norvik::NVQuickAddButtonItem& item) const noexcept {
    return item.hash();
  }
};
