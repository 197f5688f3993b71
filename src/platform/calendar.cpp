#include "norvik/platform/calendar.h"

#include <unicode/calendar.h>

#include <array>
#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <unordered_map>

#include "norvik/platform/environment.h"
#include "platform/icu_support.h"

namespace norvik::detail {

using platform::CalendarIdentifier;

icu::Locale icuLocaleWithCalendar(const std::string& canonicalIdentifier,
                                  std::string_view calendar) {
  icu::Locale locale = icuLocale(canonicalIdentifier);
  UErrorCode status = U_ZERO_ERROR;
  locale.setKeywordValue("calendar", std::string(calendar).c_str(), status);
  return locale;
}

std::unique_ptr<icu::Calendar> CalendarConfig::makeIcuCalendar() const {
  icu::Locale locale = icuLocaleWithCalendar(localeIdentifier, calendarIdentifierName(identifier));
  icu::TimeZone* zone = icu::TimeZone::createTimeZone(fromUtf8(timeZone.identifier()));
  if (!zone) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(zone, locale, status));
  if (U_FAILURE(status) || !calendar) return nullptr;
  // Zero while the configuration is being made: the locale's week rules are then read from it.
  if (firstWeekday) calendar->setFirstDayOfWeek(static_cast<UCalendarDaysOfWeek>(firstWeekday));
  if (minimumDaysInFirstWeek) {
    calendar->setMinimalDaysInFirstWeek(static_cast<uint8_t>(minimumDaysInFirstWeek));
  }
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  calendar->setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
  calendar->setLenient(true);
  return calendar;
}

namespace {

// Interned configurations by key. Guarded by the mutex. Recently made configurations stay even when
// no Calendar holds them, so that short-lived calendars do not rebuild their ICU objects.
struct ConfigTable {
  std::mutex mutex;
  std::map<std::string, std::shared_ptr<const CalendarConfig>, std::less<>> configs;
  std::uint64_t nextId = 1;
};

ConfigTable& configTable() {
  static ConfigTable table;
  return table;
}

constexpr std::size_t kMaxIdleConfigs = 256;

}  // namespace

std::shared_ptr<const CalendarConfig> internCalendarConfig(CalendarIdentifier identifier,
                                                           const platform::TimeZone& zone,
                                                           const std::string& localeIdentifier,
                                                           int firstWeekday, int minimumDays) {
  if (firstWeekday < 1 || firstWeekday > 7) firstWeekday = 0;
  if (minimumDays < 1 || minimumDays > 7) minimumDays = 0;
  std::string key = std::string(calendarIdentifierName(identifier)) + '|' + zone.identifier() +
                    '|' + localeIdentifier + '|' + std::to_string(firstWeekday) + '|' +
                    std::to_string(minimumDays);
  ConfigTable& table = configTable();
  {
    std::lock_guard lock(table.mutex);
    if (auto it = table.configs.find(key); it != table.configs.end()) return it->second;
  }
  auto config = std::make_shared<CalendarConfig>();
  config->identifier = identifier;
  config->timeZone = zone;
  config->localeIdentifier = localeIdentifier;
  config->key = key;
  config->requestedFirstWeekday = firstWeekday;
  config->requestedMinimumDays = minimumDays;
  config->firstWeekday = 0;
  config->minimumDaysInFirstWeek = 0;
  if (auto probe = config->makeIcuCalendar()) {
    UErrorCode status = U_ZERO_ERROR;
    int localeFirstWeekday = probe->getFirstDayOfWeek(status);
    if (U_SUCCESS(status)) config->firstWeekday = localeFirstWeekday;
    config->minimumDaysInFirstWeek = probe->getMinimalDaysInFirstWeek();
  }
  if (config->firstWeekday < 1 || config->firstWeekday > 7) config->firstWeekday = 1;
  if (config->minimumDaysInFirstWeek < 1 || config->minimumDaysInFirstWeek > 7) {
    config->minimumDaysInFirstWeek = 1;
  }
  if (firstWeekday) config->firstWeekday = firstWeekday;
  if (minimumDays) config->minimumDaysInFirstWeek = minimumDays;

  std::lock_guard lock(table.mutex);
  if (auto it = table.configs.find(key); it != table.configs.end()) return it->second;
  if (table.configs.size() >= kMaxIdleConfigs) {
    for (auto it = table.configs.begin(); it != table.configs.end();) {
      it = it->second.use_count() == 1 ? table.configs.erase(it) : std::next(it);
    }
  }
  config->id = table.nextId++;
  table.configs.emplace(key, config);
  return config;
}

}  // namespace norvik::detail

namespace norvik::platform {
namespace {

using detail::CalendarConfig;

constexpr std::array<std::string_view, 18> kIdentifierNames = {
    "gregorian",        "chinese",       "dangi",
    "hebrew",           "islamic-civil", "islamic-tbla",
    "islamic-umalqura", "persian",       "indian",
    "buddhist",         "japanese",      "roc",
    "coptic",           "ethiopic",      "ethiopic-amete-alem",
    "islamic",          "islamic-rgsa",  "iso8601"};

// A thread's ICU calendar for one configuration, and a Gregorian calendar in the same zone that
// finds local days and times of day quickly (day boundaries are the same in every calendar).
struct ThreadCalendar {
  icu::Calendar* calendar = nullptr;
  icu::Calendar* dayCalendar = nullptr;
  explicit operator bool() const { return calendar && dayCalendar; }
};

std::unique_ptr<icu::Calendar> makeDayCalendar(const CalendarConfig& config) {
  if (config.identifier == CalendarIdentifier::gregorian) return nullptr;
  icu::TimeZone* zone =
      icu::TimeZone::createTimeZone(detail::fromUtf8(config.timeZone.identifier()));
  if (!zone) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(
      icu::Calendar::createInstance(zone, icu::Locale("en_US@calendar=gregorian"), status));
  if (U_FAILURE(status) || !calendar) return nullptr;
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  calendar->setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
  return calendar;
}

// ICU calendars are not thread-safe, so every thread keeps its own small set of them, made from
// the interned configurations and reused while the configuration lives (confined to the thread).
class ThreadCalendars {
 public:
  ThreadCalendar get(const std::shared_ptr<const CalendarConfig>& config) {
    ++tick_;
    Entry* oldest = &entries_[0];
    for (Entry& entry : entries_) {
      if (entry.config && entry.config->id == config->id) {
        entry.lastUse = tick_;
        return entry.view();
      }
      if (entry.lastUse < oldest->lastUse) oldest = &entry;
    }
    auto calendar = config->makeIcuCalendar();
    auto dayCalendar = makeDayCalendar(*config);
    if (!calendar || (config->identifier != CalendarIdentifier::gregorian && !dayCalendar)) {
      return {};
    }
    oldest->config = config;
    oldest->calendar = std::move(calendar);
    oldest->dayCalendar = std::move(dayCalendar);
    oldest->lastUse = tick_;
    return oldest->view();
  }

 private:
  struct Entry {
    std::shared_ptr<const CalendarConfig> config;
    std::unique_ptr<icu::Calendar> calendar;
    std::unique_ptr<icu::Calendar> dayCalendar;  // null for Gregorian configurations
    std::uint64_t lastUse = 0;
    ThreadCalendar view() const {
      return {calendar.get(), dayCalendar ? dayCalendar.get() : calendar.get()};
    }
  };
  std::array<Entry, 8> entries_;
  std::uint64_t tick_ = 0;
};

ThreadCalendar threadCalendar(const std::shared_ptr<const CalendarConfig>& config) {
  if (!config) return {};
  thread_local ThreadCalendars calendars;
  return calendars.get(config);
}

// An instant split into whole seconds for ICU (as milliseconds) and the fraction that ICU does
// not keep. Instants ICU cannot hold give nothing.
struct SplitInstant {
  double millis = 0.0;
  double fraction = 0.0;
};

std::optional<SplitInstant> split(Date date) {
  double seconds = date.timeIntervalSince1970();
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1.0e14) return std::nullopt;
  double whole = std::floor(seconds);
  return SplitInstant{whole * 1000.0, seconds - whole};
}

Date joined(double millis, double fraction) {
  return Date(millis / 1000.0 + fraction);
}

// The shared calendars' locale override and their configurations, rebuilt when the environment or
// the override changes. `adapted` is guarded by the mutex; the generation is atomic.
struct SharedState {
  std::mutex mutex;
  std::optional<Locale> adapted;
  std::atomic<std::uint64_t> adaptGeneration{0};
};

SharedState& sharedState() {
  static SharedState state;
  return state;
}

struct FieldRead {
  icu::Calendar* calendar;
  UErrorCode status = U_ZERO_ERROR;
  int operator()(UCalendarDateFields field) { return calendar->get(field, status); }
};

// The fields of a local day in one calendar.
struct DayFields {
  int era, year, month, day, leap, weekday, weekdayOrdinal, weekOfYear, weekOfMonth,
      yearForWeekOfYear;
};

std::optional<DayFields> readDayFields(icu::Calendar* calendar) {
  FieldRead read{calendar};
  DayFields fields{read(UCAL_ERA),
                   read(UCAL_YEAR),
                   read(UCAL_MONTH) + 1,
                   read(UCAL_DATE),
                   read(UCAL_IS_LEAP_MONTH),
                   read(UCAL_DAY_OF_WEEK),
                   read(UCAL_DAY_OF_WEEK_IN_MONTH),
                   read(UCAL_WEEK_OF_YEAR),
                   read(UCAL_WEEK_OF_MONTH),
                   read(UCAL_YEAR_WOY)};
  if (U_FAILURE(read.status)) return std::nullopt;
  return fields;
}

// ICU's lunisolar and Umm al-Qura calendars compute a day's fields astronomically or from tables
// (10 to 35 microseconds), so the fields of each local day are remembered by configuration and
// Julian day. Guarded by the mutex; emptied when it grows past a bound.
struct DayFieldCache {
  std::mutex mutex;
  std::unordered_map<std::uint64_t, DayFields> days;
};

DayFieldCache& dayFieldCache() {
  static DayFieldCache cache;
  return cache;
}

constexpr std::size_t kMaxCachedDays = 50000;

// The local day of the instant: its Julian day, and its fields in the configuration's calendar.
struct LocalDay {
  int julianDay = 0;
  DayFields fields{};
};

std::optional<LocalDay> localDay(const CalendarConfig& config, ThreadCalendar calendars,
                                 double millis) {
  UErrorCode status = U_ZERO_ERROR;
  calendars.dayCalendar->setTime(millis, status);
  LocalDay day;
  day.julianDay = calendars.dayCalendar->get(UCAL_JULIAN_DAY, status);
  if (U_FAILURE(status)) return std::nullopt;
  if (calendars.dayCalendar == calendars.calendar) {
    auto fields = readDayFields(calendars.calendar);
    if (!fields) return std::nullopt;
    day.fields = *fields;
    return day;
  }
  std::uint64_t key = (config.id << 32) ^ static_cast<std::uint32_t>(day.julianDay);
  DayFieldCache& cache = dayFieldCache();
  {
    std::lock_guard lock(cache.mutex);
    if (auto it = cache.days.find(key); it != cache.days.end()) {
      day.fields = it->second;
      return day;
    }
  }
  calendars.calendar->setTime(millis, status);
  auto fields = U_SUCCESS(status) ? readDayFields(calendars.calendar) : std::nullopt;
  if (!fields) return std::nullopt;
  day.fields = *fields;
  std::lock_guard lock(cache.mutex);
  if (cache.days.size() >= kMaxCachedDays) cache.days.clear();
  cache.days.emplace(key, *fields);
  return day;
}

// Moves the calendar to the first instant of its current day (usually local midnight).
double startOfCurrentDay(icu::Calendar* calendar, UErrorCode& status) {
  calendar->set(UCAL_HOUR_OF_DAY, 0);
  calendar->set(UCAL_MINUTE, 0);
  calendar->set(UCAL_SECOND, 0);
  calendar->set(UCAL_MILLISECOND, 0);
  return calendar->getTime(status);
}

}  // namespace

std::string_view calendarIdentifierName(CalendarIdentifier identifier) {
  auto index = static_cast<std::size_t>(identifier);
  return index < kIdentifierNames.size() ? kIdentifierNames[index] : kIdentifierNames[0];
}

std::optional<CalendarIdentifier> calendarIdentifierFromName(std::string_view name) {
  for (std::size_t i = 0; i < kIdentifierNames.size(); ++i) {
    if (kIdentifierNames[i] == name) return static_cast<CalendarIdentifier>(i);
  }
  return std::nullopt;
}

std::optional<int> DateComponents::value(CalendarUnit unit) const {
  switch (unit) {
    case CalendarUnit::era:
      return era;
    case CalendarUnit::year:
      return year;
    case CalendarUnit::month:
      return month;
    case CalendarUnit::day:
      return day;
    case CalendarUnit::hour:
      return hour;
    case CalendarUnit::minute:
      return minute;
    case CalendarUnit::second:
      return second;
    case CalendarUnit::nanosecond:
      return nanosecond;
    case CalendarUnit::weekday:
      return weekday;
    case CalendarUnit::weekdayOrdinal:
      return weekdayOrdinal;
    case CalendarUnit::weekOfYear:
      return weekOfYear;
    case CalendarUnit::weekOfMonth:
      return weekOfMonth;
    case CalendarUnit::yearForWeekOfYear:
      return yearForWeekOfYear;
  }
  return std::nullopt;
}

void DateComponents::setValue(CalendarUnit unit, std::optional<int> value) {
  switch (unit) {
    case CalendarUnit::era:
      era = value;
      break;
    case CalendarUnit::year:
      year = value;
      break;
    case CalendarUnit::month:
      month = value;
      break;
    case CalendarUnit::day:
      day = value;
      break;
    case CalendarUnit::hour:
      hour = value;
      break;
    case CalendarUnit::minute:
      minute = value;
      break;
    case CalendarUnit::second:
      second = value;
      break;
    case CalendarUnit::nanosecond:
      nanosecond = value;
      break;
    case CalendarUnit::weekday:
      weekday = value;
      break;
    case CalendarUnit::weekdayOrdinal:
      weekdayOrdinal = value;
      break;
    case CalendarUnit::weekOfYear:
      weekOfYear = value;
      break;
    case CalendarUnit::weekOfMonth:
      weekOfMonth = value;
      break;
    case CalendarUnit::yearForWeekOfYear:
      yearForWeekOfYear = value;
      break;
  }
}

Calendar::Calendar(CalendarIdentifier identifier)
    : Calendar(identifier, TimeZone::current(), Locale::current()) {}

Calendar::Calendar(CalendarIdentifier identifier, const TimeZone& timeZone, const Locale& locale)
    : config_(detail::internCalendarConfig(identifier, timeZone, locale.identifier(), 0, 0)) {}

Calendar::Calendar(SharedKind kind) : shared_(kind) {}

std::optional<Calendar> Calendar::withIdentifier(std::string_view name) {
  auto identifier = calendarIdentifierFromName(name);
  if (!identifier) return std::nullopt;
  return Calendar(*identifier);
}

Calendar Calendar::autoupdatingCurrent() {
  return Calendar(SharedKind::autoupdatingCurrent);
}

Calendar Calendar::currentGregorian() {
  return Calendar(SharedKind::currentGregorian);
}

Calendar Calendar::sharedChinese() {
  return Calendar(SharedKind::chinese);
}

void Calendar::adaptWithLocale(const Locale& locale) {
  SharedState& state = sharedState();
  std::lock_guard lock(state.mutex);
  if (locale.isAutoupdating()) {
    state.adapted.reset();
  } else {
    state.adapted = locale;
  }
  state.adaptGeneration.fetch_add(1, std::memory_order_acq_rel);
}

std::shared_ptr<const CalendarConfig> Calendar::config() const {
  if (shared_ == SharedKind::none) return config_;
  // Each thread remembers the shared configurations it resolved, until the environment or the
  // locale override changes (confined to the calling thread).
  struct Cached {
    std::uint64_t environment = UINT64_MAX;
    std::uint64_t adapt = UINT64_MAX;
    std::array<std::shared_ptr<const CalendarConfig>, 3> configs;
  };
  thread_local Cached cached;
  SharedState& state = sharedState();
  // Generations are read before the values they guard: a change in between only causes a re-read.
  std::uint64_t environment = environmentGeneration();
  std::uint64_t adapt = state.adaptGeneration.load(std::memory_order_acquire);
  if (cached.environment != environment || cached.adapt != adapt) {
    cached.configs = {};
    cached.environment = environment;
    cached.adapt = adapt;
  }
  auto& slot = cached.configs[static_cast<std::size_t>(shared_) - 1];
  if (!slot) {
    std::optional<Locale> adapted;
    {
      std::lock_guard lock(state.mutex);
      adapted = state.adapted;
    }
    Locale locale = adapted ? *adapted : Locale::current();
    CalendarIdentifier identifier = CalendarIdentifier::gregorian;
    if (shared_ == SharedKind::chinese) {
      identifier = CalendarIdentifier::chinese;
    } else if (shared_ == SharedKind::autoupdatingCurrent) {
      identifier = calendarIdentifierFromName(locale.keywordValue("calendar"))
                       .value_or(CalendarIdentifier::gregorian);
    }
    slot = detail::internCalendarConfig(identifier, TimeZone::current(), locale.identifier(), 0, 0);
  }
  return slot;
}

CalendarIdentifier Calendar::identifier() const {
  return config()->identifier;
}

TimeZone Calendar::timeZone() const {
  return config()->timeZone;
}

Locale Calendar::locale() const {
  return Locale(config()->localeIdentifier);
}

int Calendar::firstWeekday() const {
  return config()->firstWeekday;
}

int Calendar::minimumDaysInFirstWeek() const {
  return config()->minimumDaysInFirstWeek;
}

void Calendar::setTimeZone(const TimeZone& timeZone) {
  auto current = config();
  config_ =
      detail::internCalendarConfig(current->identifier, timeZone, current->localeIdentifier,
                                   current->requestedFirstWeekday, current->requestedMinimumDays);
  shared_ = SharedKind::none;
}

void Calendar::setLocale(const Locale& locale) {
  auto current = config();
  config_ =
      detail::internCalendarConfig(current->identifier, current->timeZone, locale.identifier(),
                                   current->requestedFirstWeekday, current->requestedMinimumDays);
  shared_ = SharedKind::none;
}

void Calendar::setFirstWeekday(int weekday) {
  if (weekday < 1 || weekday > 7) return;
  auto current = config();
  config_ = detail::internCalendarConfig(current->identifier, current->timeZone,
                                         current->localeIdentifier, weekday,
                                         current->requestedMinimumDays);
  shared_ = SharedKind::none;
}

void Calendar::setMinimumDaysInFirstWeek(int days) {
  if (days < 1 || days > 7) return;
  auto current = config();
  config_ =
      detail::internCalendarConfig(current->identifier, current->timeZone,
                                   current->localeIdentifier, current->requestedFirstWeekday, days);
  shared_ = SharedKind::none;
}

DateComponents Calendar::components(Date date) const {
  DateComponents result;
  auto config = this->config();
  auto instant = split(date);
  ThreadCalendar calendars = threadCalendar(config);
  if (!instant || !calendars) return result;
  auto day = localDay(*config, calendars, instant->millis);
  if (!day) return result;
  // The day calendar holds the instant now: the time of day comes from it.
  FieldRead read{calendars.dayCalendar};
  result.hour = read(UCAL_HOUR_OF_DAY);
  result.minute = read(UCAL_MINUTE);
  result.second = read(UCAL_SECOND);
  if (U_FAILURE(read.status)) return DateComponents{};
  const DayFields& f = day->fields;
  result.era = f.era;
  result.year = f.year;
  result.month = f.month;
  result.day = f.day;
  result.weekday = f.weekday;
  result.weekdayOrdinal = f.weekdayOrdinal;
  result.weekOfYear = f.weekOfYear;
  result.weekOfMonth = f.weekOfMonth;
  result.yearForWeekOfYear = f.yearForWeekOfYear;
  result.isLeapMonth = f.leap != 0;
  result.nanosecond = std::min(999'999'999, static_cast<int>(std::lround(instant->fraction * 1e9)));
  return result;
}

std::optional<int> Calendar::component(CalendarUnit unit, Date date) const {
  return components(date).value(unit);
}

std::optional<Date> Calendar::dateFromComponents(const DateComponents& c) const {
  auto config = this->config();
  icu::Calendar* calendar = threadCalendar(config).calendar;
  if (!calendar || (!c.year && !c.yearForWeekOfYear)) return std::nullopt;
  if (c.nanosecond && (*c.nanosecond < 0 || *c.nanosecond > 999'999'999)) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  std::optional<int> era = c.era;
  bool cyclic = config->identifier == CalendarIdentifier::chinese ||
                config->identifier == CalendarIdentifier::dangi;
  if (!era && cyclic) {
    if (auto now = split(Date::now())) {
      calendar->setTime(now->millis, status);
      era = calendar->get(UCAL_ERA, status);
    }
  }
  // Fields are set leniently, so that a local time skipped by a daylight-saving change moves
  // forward instead of failing; the ranges of the time fields are checked here and the date fields
  // by reading them back below.
  auto outside = [](const std::optional<int>& value, int low, int high) {
    return value && (*value < low || *value > high);
  };
  if (outside(c.hour, 0, 23) || outside(c.minute, 0, 59) || outside(c.second, 0, 59) ||
      outside(c.weekday, 1, 7) || outside(c.month, 1, 13) || outside(c.day, 1, 31)) {
    return std::nullopt;
  }
  calendar->clear();
  if (era) calendar->set(UCAL_ERA, *era);
  if (c.year) calendar->set(UCAL_YEAR, *c.year);
  if (c.yearForWeekOfYear) calendar->set(UCAL_YEAR_WOY, *c.yearForWeekOfYear);
  if (c.month) calendar->set(UCAL_MONTH, *c.month - 1);
  if (c.isLeapMonth) calendar->set(UCAL_IS_LEAP_MONTH, *c.isLeapMonth ? 1 : 0);
  if (c.weekOfYear) calendar->set(UCAL_WEEK_OF_YEAR, *c.weekOfYear);
  if (c.weekOfMonth) calendar->set(UCAL_WEEK_OF_MONTH, *c.weekOfMonth);
  if (c.weekdayOrdinal) calendar->set(UCAL_DAY_OF_WEEK_IN_MONTH, *c.weekdayOrdinal);
  if (c.weekday) calendar->set(UCAL_DAY_OF_WEEK, *c.weekday);
  if (c.day) calendar->set(UCAL_DATE, *c.day);
  if (c.hour) calendar->set(UCAL_HOUR_OF_DAY, *c.hour);
  if (c.minute) calendar->set(UCAL_MINUTE, *c.minute);
  if (c.second) calendar->set(UCAL_SECOND, *c.second);
  double millis = calendar->getTime(status);
  if (U_FAILURE(status)) return std::nullopt;

  // ICU accepts some impossible dates by moving them (a missing leap month becomes the next
  // month), so the result must name the fields it was asked for.
  FieldRead read{calendar};
  auto differs = [&](const std::optional<int>& wanted, UCalendarDateFields field, int offset) {
    return wanted && read(field) + offset != *wanted;
  };
  bool mismatch = differs(era, UCAL_ERA, 0) || differs(c.year, UCAL_YEAR, 0) ||
                  differs(c.month, UCAL_MONTH, 1) ||
                  (c.isLeapMonth && (read(UCAL_IS_LEAP_MONTH) != 0) != *c.isLeapMonth);
  if (c.day) {
    mismatch = mismatch || differs(c.day, UCAL_DATE, 0);
  } else {
    mismatch = mismatch || differs(c.weekday, UCAL_DAY_OF_WEEK, 0) ||
               differs(c.weekdayOrdinal, UCAL_DAY_OF_WEEK_IN_MONTH, 0) ||
               differs(c.weekOfYear, UCAL_WEEK_OF_YEAR, 0) ||
               differs(c.weekOfMonth, UCAL_WEEK_OF_MONTH, 0) ||
               differs(c.yearForWeekOfYear, UCAL_YEAR_WOY, 0);
  }
  if (mismatch || U_FAILURE(read.status)) return std::nullopt;
  return joined(millis, c.nanosecond.value_or(0) / 1e9);
}

std::optional<Date> Calendar::dateByAdding(const DateComponents& c, Date date) const {
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config()).calendar;
  if (!instant || !calendar) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  auto add = [&](const std::optional<int>& amount, UCalendarDateFields field) {
    if (amount && *amount != 0) calendar->add(field, *amount, status);
  };
  add(c.era, UCAL_ERA);
  add(c.year, UCAL_YEAR);
  add(c.yearForWeekOfYear, UCAL_YEAR_WOY);
  add(c.month, UCAL_MONTH);
  add(c.weekOfYear, UCAL_WEEK_OF_YEAR);
  add(c.weekOfMonth, UCAL_WEEK_OF_MONTH);
  add(c.weekdayOrdinal, UCAL_WEEK_OF_MONTH);
  add(c.day, UCAL_DATE);
  add(c.weekday, UCAL_DATE);
  add(c.hour, UCAL_HOUR_OF_DAY);
  add(c.minute, UCAL_MINUTE);
  add(c.second, UCAL_SECOND);
  double millis = calendar->getTime(status);
  if (U_FAILURE(status)) return std::nullopt;
  Date result = joined(millis, instant->fraction + c.nanosecond.value_or(0) / 1e9);
  if (!std::isfinite(result.timeIntervalSince1970())) return std::nullopt;
  return result;
}

std::optional<Date> Calendar::dateByAdding(CalendarUnit unit, int value, Date date) const {
  DateComponents components;
  components.setValue(unit, value);
  return dateByAdding(components, date);
}

Date Calendar::startOfDay(Date date) const {
  // Days begin at the same instant in every calendar, so the quick Gregorian day calendar serves.
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config()).dayCalendar;
  if (!instant || !calendar) return date;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  double millis = startOfCurrentDay(calendar, status);
  return U_SUCCESS(status) ? Date(millis / 1000.0) : date;
}

Date Calendar::startOfMonth(Date date) const {
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config()).calendar;
  if (!instant || !calendar) return date;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  calendar->set(UCAL_DATE, 1);
  double millis = startOfCurrentDay(calendar, status);
  return U_SUCCESS(status) ? Date(millis / 1000.0) : date;
}

Date Calendar::startOfYear(Date date) const {
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config()).calendar;
  if (!instant || !calendar) return date;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  calendar->set(UCAL_MONTH, 0);
  calendar->set(UCAL_IS_LEAP_MONTH, 0);
  calendar->set(UCAL_DATE, 1);
  double millis = startOfCurrentDay(calendar, status);
  return U_SUCCESS(status) ? Date(millis / 1000.0) : date;
}

bool Calendar::isDate(Date date, Date inSameDayAs) const {
  // The same local day is the same day in every calendar: compare Julian days.
  icu::Calendar* calendar = threadCalendar(config()).dayCalendar;
  auto julianDay = [&](Date d) -> std::optional<int> {
    auto instant = split(d);
    if (!calendar || !instant) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    calendar->setTime(instant->millis, status);
    int day = calendar->get(UCAL_JULIAN_DAY, status);
    return U_SUCCESS(status) ? std::optional<int>(day) : std::nullopt;
  };
  auto first = julianDay(date);
  return first && first == julianDay(inSameDayAs);
}

bool Calendar::isDateInToday(Date date) const {
  return isDate(date, Date::now());
}

std::optional<CalendarRange> Calendar::rangeOfDaysInMonth(Date date) const {
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config()).calendar;
  if (!instant || !calendar) return std::nullopt;
  // ICU's actual maximum of the day ignores Chinese leap months, so measure the month instead:
  // Julian days from its first day to the first day of the next month.
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  calendar->set(UCAL_DATE, 1);
  int first = calendar->get(UCAL_JULIAN_DAY, status);
  calendar->add(UCAL_MONTH, 1, status);
  int next = calendar->get(UCAL_JULIAN_DAY, status);
  if (U_FAILURE(status) || next <= first) return std::nullopt;
  return CalendarRange{1, next - first};
}

std::optional<int> Calendar::ordinality(CalendarUnit smaller, CalendarUnit larger,
                                        Date date) const {
  auto config = this->config();
  auto instant = split(date);
  icu::Calendar* calendar = threadCalendar(config).calendar;
  if (!instant || !calendar) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(instant->millis, status);
  FieldRead read{calendar};
  bool week = larger == CalendarUnit::weekOfYear || larger == CalendarUnit::weekOfMonth;
  bool weekUnit = smaller == CalendarUnit::weekOfYear || smaller == CalendarUnit::weekOfMonth;
  bool dayUnit = smaller == CalendarUnit::day || smaller == CalendarUnit::weekday;
  // Position of the day in its week, counted from the first weekday.
  auto dayInWeek = [&](int weekday) { return (weekday - config->firstWeekday + 7) % 7 + 1; };
  // The row of a day in a grid of weeks that starts with the partial week of day 1.
  auto weekRow = [&](int dayOrdinal) {
    int weekday = read(UCAL_DAY_OF_WEEK);
    int firstWeekdayOfPeriod = ((weekday - 1 - (dayOrdinal - 1)) % 7 + 7) % 7 + 1;
    return (dayOrdinal - 1 + dayInWeek(firstWeekdayOfPeriod) - 1) / 7 + 1;
  };
  std::optional<int> result;
  if (dayUnit && week) {
    result = dayInWeek(read(UCAL_DAY_OF_WEEK));
  } else if (dayUnit && larger == CalendarUnit::month) {
    result = read(UCAL_DATE);
  } else if (dayUnit && larger == CalendarUnit::year) {
    result = read(UCAL_DAY_OF_YEAR);
  } else if (weekUnit && larger == CalendarUnit::month) {
    result = weekRow(read(UCAL_DATE));
  } else if (weekUnit && larger == CalendarUnit::year) {
    result = weekRow(read(UCAL_DAY_OF_YEAR));
  } else if (smaller == CalendarUnit::hour && larger == CalendarUnit::day) {
    result = read(UCAL_HOUR_OF_DAY) + 1;
  } else if (smaller == CalendarUnit::minute && larger == CalendarUnit::hour) {
    result = read(UCAL_MINUTE) + 1;
  } else if (smaller == CalendarUnit::second && larger == CalendarUnit::minute) {
    result = read(UCAL_SECOND) + 1;
  } else if (smaller == CalendarUnit::month && larger == CalendarUnit::year) {
    // Count the months from the start of the year, so that leap months count as months.
    double target = instant->millis;
    calendar->set(UCAL_MONTH, 0);
    calendar->set(UCAL_IS_LEAP_MONTH, 0);
    calendar->set(UCAL_DATE, 1);
    startOfCurrentDay(calendar, status);
    // ICU steps through a Hebrew common year's missing Adar I without moving, so only steps that
    // reach a later month count.
    int count = 1;
    double previous = calendar->getTime(status);
    for (int step = 0; step < 14 && U_SUCCESS(status); ++step) {
      calendar->add(UCAL_MONTH, 1, status);
      double start = calendar->getTime(status);
      if (U_FAILURE(status) || start > target) break;
      if (start > previous) ++count;
      previous = start;
    }
    result = count;
  }
  if (U_FAILURE(status) || U_FAILURE(read.status)) return std::nullopt;
  return result;
}

bool Calendar::operator==(const Calendar& other) const {
  if (shared_ != other.shared_) return false;
  if (shared_ != SharedKind::none) return true;
  return config_->key == other.config_->key;
}

}  // namespace norvik::platform
