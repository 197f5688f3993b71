#pragma once
// Small helpers shared by the ICU-backed modules (locale, time zone, calendar, date formatter):
// UTF-8 conversion and the ICU objects behind the public value types.

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "norvik/platform/calendar.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace norvik::detail {

inline std::string toUtf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

inline icu::UnicodeString fromUtf8(std::string_view text) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

// The ICU locale of a canonical identifier.
inline icu::Locale icuLocale(const std::string& canonicalIdentifier) {
  return icu::Locale::createFromName(canonicalIdentifier.c_str());
}

// The ICU locale with its "calendar" keyword set to the given calendar type.
icu::Locale icuLocaleWithCalendar(const std::string& canonicalIdentifier,
                                  std::string_view calendar);

// The immutable ICU zone behind a TimeZone. ICU time zones answer offset queries through const
// member functions that keep no per-call state, so one instance is shared by every thread.
struct TimeZoneData {
  std::string identifier;
  std::unique_ptr<const icu::TimeZone> zone;
};

struct TimeZoneAccess {
  static const icu::TimeZone& icuZone(const platform::TimeZone& zone) { return *zone.data_->zone; }
  static platform::TimeZone make(std::shared_ptr<const TimeZoneData> data) {
    return platform::TimeZone(std::move(data));
  }
};

// Everything that fixes the behaviour of a Calendar. Instances are immutable and interned: equal
// settings share one instance, so `id` identifies the settings in per-thread caches.
struct CalendarConfig {
  std::uint64_t id = 0;
  platform::CalendarIdentifier identifier = platform::CalendarIdentifier::gregorian;
  platform::TimeZone timeZone;
  std::string localeIdentifier;  // canonical, never following the environment
  int firstWeekday = 1;
  int minimumDaysInFirstWeek = 1;
  int requestedFirstWeekday = 0;  // 0: the locale's
  int requestedMinimumDays = 0;   // 0: the locale's
  std::string key;                // identifier|zone|locale|firstWeekday|minimumDays

  // A fresh ICU calendar with these settings; null when ICU cannot make one.
  std::unique_ptr<icu::Calendar> makeIcuCalendar() const;
};

// The interned configuration of a calendar. A firstWeekday or minimumDays of 0 takes the locale's.
std::shared_ptr<const CalendarConfig> internCalendarConfig(platform::CalendarIdentifier identifier,
                                                           const platform::TimeZone& zone,
                                                           const std::string& localeIdentifier,
                                                           int firstWeekday, int minimumDays);

}  // namespace norvik::detail
