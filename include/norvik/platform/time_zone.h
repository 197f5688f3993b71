#pragma once
// Time zones named by their Olson identifier ("Europe/Berlin"), with offsets, daylight-saving time
// and names from the ICU time-zone database.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"
#include "norvik/platform/locale.h"

namespace norvik::detail {
struct TimeZoneData;
struct TimeZoneAccess;
}  // namespace norvik::detail

namespace norvik::platform {

class TimeZone {
 public:
  // Styles of localizedName(), as ICU names them: "Central European Standard Time", "GMT+1",
  // "Central European Time", "Germany Time".
  enum class NameStyle {
    standard,
    shortStandard,
    daylightSaving,
    shortDaylightSaving,
    generic,
    shortGeneric
  };

  // UTC.
  TimeZone();

  // The zone with this identifier ("Asia/Shanghai", "UTC", "GMT+08:00"); std::nullopt for an
  // unknown or empty identifier.
  static std::optional<TimeZone> withIdentifier(std::string_view identifier);
  // A fixed offset from GMT in seconds ("GMT+08:00"); std::nullopt beyond ±18 hours.
  static std::optional<TimeZone> withSecondsFromGMT(int seconds);
  // The environment's time zone at the moment of the call; UTC when the environment names an
  // unknown zone.
  static TimeZone current();
  static TimeZone utc();
  // Every Olson identifier the database knows, sorted.
  static std::vector<std::string> knownTimeZoneIdentifiers();

  // The identifier as the database names the zone ("Europe/Berlin", "GMT+08:00").
  const std::string& identifier() const;
  // Offset from GMT at the instant, daylight-saving time included. 0 for a non-finite date.
  int secondsFromGMT(Date at) const;
  bool isDaylightSavingTime(Date at) const;
  // The daylight-saving part of the offset at the instant in seconds (usually 0 or 3600).
  double daylightSavingTimeOffset(Date at) const;
  // The next change of offset strictly after the instant; std::nullopt when there is none.
  std::optional<Date> nextDaylightSavingTimeTransition(Date after) const;
  // The short specific name at the instant in the locale ("PST", "GMT+1", "GMT+8").
  std::string abbreviation(Date at, const Locale& locale = Locale("en_US")) const;
  // The zone's name in the locale; empty when ICU has none.
  std::string localizedName(NameStyle style, const Locale& locale) const;

  bool operator==(const TimeZone& other) const { return identifier() == other.identifier(); }

 private:
  explicit TimeZone(std::shared_ptr<const detail::TimeZoneData> data);
  friend struct detail::TimeZoneAccess;

  std::shared_ptr<const detail::TimeZoneData> data_;  // immutable, shared between copies
};

}  // namespace norvik::platform
