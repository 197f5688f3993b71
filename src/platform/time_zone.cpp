#include "norvik/platform/time_zone.h"

#include <unicode/basictz.h>
#include <unicode/strenum.h>
#include <unicode/tztrans.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "norvik/platform/environment.h"
#include "platform/icu_support.h"

namespace norvik::platform {
namespace {

using detail::TimeZoneData;

constexpr std::string_view kUnknownZone = "Etc/Unknown";

// Zones already made, by the identifier they were asked for. Guarded by the mutex; a zone is never
// removed, and the number of distinct identifiers is bounded by the database (plus fixed offsets).
struct ZoneRegistry {
  std::mutex mutex;
  std::map<std::string, std::shared_ptr<const TimeZoneData>, std::less<>> zones;
};

ZoneRegistry& registry() {
  static ZoneRegistry r;
  return r;
}

std::shared_ptr<const TimeZoneData> lookUp(std::string_view identifier) {
  if (identifier.empty() || identifier.size() > 100) return nullptr;
  ZoneRegistry& r = registry();
  {
    std::lock_guard lock(r.mutex);
    if (auto it = r.zones.find(identifier); it != r.zones.end()) return it->second;
  }
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(detail::fromUtf8(identifier)));
  if (!zone) return nullptr;
  icu::UnicodeString id;
  zone->getID(id);
  std::string canonical = detail::toUtf8(id);
  if (canonical == kUnknownZone) return nullptr;
  auto data = std::make_shared<TimeZoneData>();
  data->identifier = canonical;
  data->zone = std::move(zone);
  std::lock_guard lock(r.mutex);
  auto [it, inserted] = r.zones.emplace(std::string(identifier), std::move(data));
  return it->second;
}

const std::shared_ptr<const TimeZoneData>& utcData() {
  static const std::shared_ptr<const TimeZoneData> data = lookUp("UTC");
  return data;
}

// Milliseconds for ICU, or nothing for instants ICU cannot represent.
std::optional<double> icuMillis(Date at) {
  double seconds = at.timeIntervalSince1970();
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1.0e14) return std::nullopt;
  return seconds * 1000.0;
}

}  // namespace

TimeZone::TimeZone() : data_(utcData()) {}

TimeZone::TimeZone(std::shared_ptr<const TimeZoneData> data) : data_(std::move(data)) {}

std::optional<TimeZone> TimeZone::withIdentifier(std::string_view identifier) {
  auto data = lookUp(identifier);
  if (!data) return std::nullopt;
  return TimeZone(std::move(data));
}

std::optional<TimeZone> TimeZone::withSecondsFromGMT(int seconds) {
  if (std::abs(seconds) > 18 * 3600) return std::nullopt;
  int magnitude = std::abs(seconds);
  char text[32];
  if (magnitude % 60 == 0) {
    std::snprintf(text, sizeof text, "GMT%c%02d:%02d", seconds < 0 ? '-' : '+', magnitude / 3600,
                  magnitude / 60 % 60);
  } else {
    std::snprintf(text, sizeof text, "GMT%c%02d:%02d:%02d", seconds < 0 ? '-' : '+',
                  magnitude / 3600, magnitude / 60 % 60, magnitude % 60);
  }
  return withIdentifier(text);
}

TimeZone TimeZone::current() {
  // The zone of the environment, remembered per thread until the environment changes (confined to
  // the calling thread).
  struct Cached {
    std::uint64_t generation = UINT64_MAX;
    std::shared_ptr<const TimeZoneData> data;
  };
  thread_local Cached cached;
  std::uint64_t generation = environmentGeneration();
  if (cached.generation != generation || !cached.data) {
    auto data = lookUp(currentEnvironment()->timeZoneIdentifier);
    cached.data = data ? data : utcData();
    cached.generation = generation;
  }
  return TimeZone(cached.data);
}

TimeZone TimeZone::utc() {
  return TimeZone();
}

std::vector<std::string> TimeZone::knownTimeZoneIdentifiers() {
  std::vector<std::string> result;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createTimeZoneIDEnumeration(
      UCAL_ZONE_TYPE_CANONICAL_LOCATION, nullptr, nullptr, status));
  if (U_FAILURE(status) || !ids) return result;
  while (const icu::UnicodeString* id = ids->snext(status)) {
    if (U_FAILURE(status)) break;
    result.push_back(detail::toUtf8(*id));
  }
  std::sort(result.begin(), result.end());
  return result;
}

const std::string& TimeZone::identifier() const {
  return data_->identifier;
}

int TimeZone::secondsFromGMT(Date at) const {
  auto millis = icuMillis(at);
  if (!millis) return 0;
  int32_t raw = 0;
  int32_t dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  data_->zone->getOffset(*millis, false, raw, dst, status);
  return U_SUCCESS(status) ? (raw + dst) / 1000 : 0;
}

bool TimeZone::isDaylightSavingTime(Date at) const {
  return daylightSavingTimeOffset(at) != 0.0;
}

double TimeZone::daylightSavingTimeOffset(Date at) const {
  auto millis = icuMillis(at);
  if (!millis) return 0.0;
  int32_t raw = 0;
  int32_t dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  data_->zone->getOffset(*millis, false, raw, dst, status);
  return U_SUCCESS(status) ? dst / 1000.0 : 0.0;
}

std::optional<Date> TimeZone::nextDaylightSavingTimeTransition(Date after) const {
  auto millis = icuMillis(after);
  auto* basic = dynamic_cast<const icu::BasicTimeZone*>(data_->zone.get());
  if (!millis || !basic) return std::nullopt;
  icu::TimeZoneTransition transition;
  if (!basic->getNextTransition(*millis, false, transition)) return std::nullopt;
  return Date(transition.getTime() / 1000.0);
}

std::string TimeZone::abbreviation(Date at, const Locale& locale) const {
  icu::UnicodeString name;
  data_->zone->getDisplayName(isDaylightSavingTime(at), icu::TimeZone::SHORT,
                              detail::icuLocale(locale.identifier()), name);
  return detail::toUtf8(name);
}

std::string TimeZone::localizedName(NameStyle style, const Locale& locale) const {
  bool daylight = style == NameStyle::daylightSaving || style == NameStyle::shortDaylightSaving;
  icu::TimeZone::EDisplayType type = icu::TimeZone::LONG;
  switch (style) {
    case NameStyle::standard:
    case NameStyle::daylightSaving:
      type = icu::TimeZone::LONG;
      break;
    case NameStyle::shortStandard:
    case NameStyle::shortDaylightSaving:
      type = icu::TimeZone::SHORT;
      break;
    case NameStyle::generic:
      type = icu::TimeZone::LONG_GENERIC;
      break;
    case NameStyle::shortGeneric:
      type = icu::TimeZone::SHORT_GENERIC;
      break;
  }
  icu::UnicodeString name;
  data_->zone->getDisplayName(daylight, type, detail::icuLocale(locale.identifier()), name);
  return detail::toUtf8(name);
}

}  // namespace norvik::platform
