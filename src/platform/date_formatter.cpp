#include "norvik/platform/date_formatter.h"

#include <unicode/dtfmtsym.h>
#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "norvik/platform/environment.h"
#include "platform/icu_support.h"

namespace norvik::platform {
namespace {

constexpr std::size_t kMaxCacheEntries = 128;

// Pattern generators by ICU locale name, with the patterns they produced. ICU's generator is not
// thread-safe, so everything here is guarded by the mutex.
struct PatternGenerators {
  std::mutex mutex;
  std::map<std::string, std::unique_ptr<icu::DateTimePatternGenerator>, std::less<>> generators;
  std::map<std::string, std::string, std::less<>> patterns;  // "skeleton|locale" -> pattern
};

PatternGenerators& patternGenerators() {
  static PatternGenerators generators;
  return generators;
}

std::string bestPattern(std::string_view skeleton, const icu::Locale& locale) {
  if (skeleton.empty() || skeleton.size() > 100) return {};
  std::string localeName = locale.getName();
  std::string key = std::string(skeleton) + '|' + localeName;
  PatternGenerators& cache = patternGenerators();
  std::lock_guard lock(cache.mutex);
  if (auto it = cache.patterns.find(key); it != cache.patterns.end()) return it->second;
  auto& generator = cache.generators[localeName];
  if (!generator) {
    UErrorCode status = U_ZERO_ERROR;
    generator.reset(icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status)) generator.reset();
  }
  if (!generator) return {};
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString pattern = generator->getBestPattern(detail::fromUtf8(skeleton), status);
  std::string result = U_SUCCESS(status) ? detail::toUtf8(pattern) : std::string();
  if (cache.patterns.size() >= kMaxCacheEntries * 4) cache.patterns.clear();
  cache.patterns.emplace(std::move(key), result);
  return result;
}

// Whether a pattern shows hours on a 24-hour clock ("H" or "k" outside quoted text).
bool patternHas24HourField(std::string_view pattern) {
  bool quoted = false;
  for (char c : pattern) {
    if (c == '\'') quoted = !quoted;
    if (!quoted && (c == 'H' || c == 'k')) return true;
  }
  return false;
}

// The locale override of the shared formatter, guarded by the mutex.
struct SharedFormatterState {
  std::mutex mutex;
  std::optional<Locale> adapted;
};

SharedFormatterState& sharedFormatterState() {
  static SharedFormatterState state;
  return state;
}

// Everything that decides what an ICU formatter writes.
struct FormatterSettings {
  std::string pattern;  // a pattern, or a skeleton when isTemplate
  bool isTemplate = false;
  std::string localeIdentifier;
  std::shared_ptr<const detail::CalendarConfig> calendar;
  TimeZone zone;

  std::string key() const {
    return std::string(isTemplate ? "T" : "P") + pattern + '\x1f' + localeIdentifier + '\x1f' +
           calendar->key + '\x1f' + zone.identifier();
  }

  icu::Locale icuLocale() const {
    return detail::icuLocaleWithCalendar(localeIdentifier,
                                         calendarIdentifierName(calendar->identifier));
  }

  std::string resolvedPattern() const {
    return isTemplate ? bestPattern(pattern, icuLocale()) : pattern;
  }

  std::unique_ptr<icu::SimpleDateFormat> build() const {
    std::string text = resolvedPattern();
    if (text.empty()) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    auto formatter =
        std::make_unique<icu::SimpleDateFormat>(detail::fromUtf8(text), icuLocale(), status);
    if (U_FAILURE(status)) return nullptr;
    std::unique_ptr<icu::Calendar> icuCalendar = calendar->makeIcuCalendar();
    icu::TimeZone* icuZone = icu::TimeZone::createTimeZone(detail::fromUtf8(zone.identifier()));
    if (!icuCalendar || !icuZone) {
      delete icuZone;
      return nullptr;
    }
    icuCalendar->adoptTimeZone(icuZone);
    formatter->adoptCalendar(icuCalendar.release());
    formatter->setLenient(false);
    return formatter;
  }
};

// Built formatters by settings key, cloned for each thread that needs one. Guarded by the mutex;
// the prototypes themselves are never used to format, only cloned.
struct PrototypeCache {
  std::mutex mutex;
  std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>, std::less<>> prototypes;
};

PrototypeCache& prototypeCache() {
  static PrototypeCache cache;
  return cache;
}

std::unique_ptr<icu::SimpleDateFormat> cloneOrBuild(const FormatterSettings& settings,
                                                    const std::string& key) {
  PrototypeCache& cache = prototypeCache();
  {
    std::lock_guard lock(cache.mutex);
    if (auto it = cache.prototypes.find(key); it != cache.prototypes.end()) {
      return std::unique_ptr<icu::SimpleDateFormat>(it->second->clone());
    }
  }
  auto built = settings.build();
  if (!built) return nullptr;
  std::unique_ptr<icu::SimpleDateFormat> copy(built->clone());
  std::lock_guard lock(cache.mutex);
  if (cache.prototypes.size() >= kMaxCacheEntries) cache.prototypes.clear();
  cache.prototypes.emplace(key, std::move(built));
  return copy;
}

// Whether a pattern shows only fields of the local day (no time of day, no zone), so that its text
// is the same for every instant of one local day.
bool patternShowsOnlyTheDay(std::string_view pattern) {
  constexpr std::string_view kTimeFields = "aAbBhHkKmsSzZvVOXxjJC";
  bool quoted = false;
  for (char c : pattern) {
    if (c == '\'') quoted = !quoted;
    if (!quoted && kTimeFields.find(c) != std::string_view::npos) return false;
  }
  return true;
}

// A thread's formatter for one settings key, with the texts it made for whole local days: ICU's
// Chinese and Umm al-Qura calendars take tens of microseconds per date, and calendar views format
// the same days again and again.
struct ThreadFormatter {
  std::string key;
  std::unique_ptr<icu::SimpleDateFormat> formatter;
  bool showsOnlyTheDay = false;
  std::unordered_map<std::int64_t, std::string> dayTexts;
  std::uint64_t lastUse = 0;
};

constexpr std::size_t kMaxDayTexts = 1024;

// ICU formatters change internal state while formatting, so each thread formats with its own
// copies, the most recently used kept (confined to the thread).
class ThreadFormatters {
 public:
  ThreadFormatter* get(const FormatterSettings& settings) {
    std::string key = settings.key();
    ++tick_;
    ThreadFormatter* oldest = &entries_[0];
    for (ThreadFormatter& entry : entries_) {
      if (entry.formatter && entry.key == key) {
        entry.lastUse = tick_;
        return &entry;
      }
      if (entry.lastUse < oldest->lastUse) oldest = &entry;
    }
    auto formatter = cloneOrBuild(settings, key);
    if (!formatter) return nullptr;
    icu::UnicodeString pattern;
    formatter->toPattern(pattern);
    oldest->key = std::move(key);
    oldest->formatter = std::move(formatter);
    oldest->showsOnlyTheDay = patternShowsOnlyTheDay(detail::toUtf8(pattern));
    oldest->dayTexts.clear();
    oldest->lastUse = tick_;
    return oldest;
  }

 private:
  std::array<ThreadFormatter, 16> entries_;
  std::uint64_t tick_ = 0;
};

ThreadFormatter* threadFormatter(const FormatterSettings& settings) {
  if (!settings.calendar) return nullptr;
  thread_local ThreadFormatters formatters;
  return formatters.get(settings);
}

// Symbol lists by kind, locale and calendar, guarded by the mutex.
struct SymbolCache {
  std::mutex mutex;
  std::map<std::string, std::vector<std::string>, std::less<>> lists;
};

SymbolCache& symbolCache() {
  static SymbolCache cache;
  return cache;
}

}  // namespace

DateFormatter::DateFormatter() = default;

DateFormatter::DateFormatter(std::string_view pattern, Locale locale)
    : pattern_(pattern), locale_(std::move(locale)) {}

DateFormatter::DateFormatter(std::string_view pattern, Locale locale, Calendar calendar)
    : pattern_(pattern), locale_(std::move(locale)), calendar_(std::move(calendar)) {}

DateFormatter DateFormatter::shared() {
  DateFormatter formatter;
  formatter.followsSharedLocale_ = true;
  return formatter;
}

void DateFormatter::adaptWithLocale(const Locale& locale) {
  SharedFormatterState& state = sharedFormatterState();
  std::lock_guard lock(state.mutex);
  if (locale.isAutoupdating()) {
    state.adapted.reset();
  } else {
    state.adapted = locale;
  }
}

void DateFormatter::setDateFormat(std::string_view pattern) {
  pattern_ = pattern;
  patternIsTemplate_ = false;
}

void DateFormatter::setLocalizedDateFormatFromTemplate(std::string_view skeleton) {
  pattern_ = skeleton;
  patternIsTemplate_ = true;
}

void DateFormatter::setLocale(const Locale& locale) {
  locale_ = locale;
  followsSharedLocale_ = false;
}

void DateFormatter::setCalendar(const Calendar& calendar) {
  calendar_ = calendar;
}

void DateFormatter::setTimeZone(std::optional<TimeZone> timeZone) {
  timeZone_ = std::move(timeZone);
}

std::string DateFormatter::resolvedLocaleIdentifier() const {
  if (!followsSharedLocale_) return locale_.identifier();
  std::optional<Locale> adapted;
  {
    SharedFormatterState& state = sharedFormatterState();
    std::lock_guard lock(state.mutex);
    adapted = state.adapted;
  }
  return adapted ? adapted->identifier() : Locale::current().identifier();
}

Locale DateFormatter::locale() const {
  return followsSharedLocale_ ? Locale(resolvedLocaleIdentifier()) : locale_;
}

TimeZone DateFormatter::timeZone() const {
  return timeZone_ ? *timeZone_ : calendar_.timeZone();
}

std::string DateFormatter::dateFormat() const {
  if (!patternIsTemplate_) return pattern_;
  auto config = calendar_.config();
  return bestPattern(pattern_,
                     detail::icuLocaleWithCalendar(resolvedLocaleIdentifier(),
                                                   calendarIdentifierName(config->identifier)));
}

std::string DateFormatter::format(Date date) const {
  double seconds = date.timeIntervalSince1970();
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1.0e14 || pattern_.empty()) return {};
  auto config = calendar_.config();
  FormatterSettings settings{pattern_, patternIsTemplate_, resolvedLocaleIdentifier(), config,
                             timeZone_ ? *timeZone_ : config->timeZone};
  ThreadFormatter* entry = threadFormatter(settings);
  if (!entry) return {};
  std::optional<std::int64_t> localDay;
  if (entry->showsOnlyTheDay) {
    localDay = static_cast<std::int64_t>(
        std::floor((seconds + settings.zone.secondsFromGMT(date)) / 86400.0));
    if (auto it = entry->dayTexts.find(*localDay); it != entry->dayTexts.end()) return it->second;
  }
  icu::UnicodeString text;
  entry->formatter->format(seconds * 1000.0, text);
  std::string result = detail::toUtf8(text);
  if (localDay) {
    if (entry->dayTexts.size() >= kMaxDayTexts) entry->dayTexts.clear();
    entry->dayTexts.emplace(*localDay, result);
  }
  return result;
}

std::optional<Date> DateFormatter::date(std::string_view text) const {
  if (pattern_.empty() || text.size() > 1000) return std::nullopt;
  auto config = calendar_.config();
  FormatterSettings settings{pattern_, patternIsTemplate_, resolvedLocaleIdentifier(), config,
                             timeZone_ ? *timeZone_ : config->timeZone};
  ThreadFormatter* entry = threadFormatter(settings);
  if (!entry) return std::nullopt;
  icu::SimpleDateFormat* formatter = entry->formatter.get();
  icu::UnicodeString input = detail::fromUtf8(text);
  icu::ParsePosition position(0);
  UDate millis = formatter->parse(input, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != input.length()) return std::nullopt;
  return Date(millis / 1000.0);
}

std::vector<std::string> DateFormatter::symbols(Symbols kind) const {
  std::string localeIdentifier = resolvedLocaleIdentifier();
  std::string calendarName(calendarIdentifierName(calendar_.identifier()));
  std::string key =
      std::to_string(static_cast<int>(kind)) + '|' + localeIdentifier + '|' + calendarName;
  SymbolCache& cache = symbolCache();
  std::lock_guard lock(cache.mutex);
  if (auto it = cache.lists.find(key); it != cache.lists.end()) return it->second;

  UErrorCode status = U_ZERO_ERROR;
  icu::DateFormatSymbols symbols(detail::icuLocale(localeIdentifier), calendarName.c_str(), status);
  std::vector<std::string> result;
  if (U_SUCCESS(status)) {
    using Symbols_ = icu::DateFormatSymbols;
    auto context = Symbols_::FORMAT;
    auto width = Symbols_::WIDE;
    bool months = false;
    switch (kind) {
      case Symbols::months:
        months = true;
        break;
      case Symbols::shortMonths:
        months = true;
        width = Symbols_::ABBREVIATED;
        break;
      case Symbols::standaloneMonths:
        months = true;
        context = Symbols_::STANDALONE;
        break;
      case Symbols::shortStandaloneMonths:
        months = true;
        context = Symbols_::STANDALONE;
        width = Symbols_::ABBREVIATED;
        break;
      case Symbols::weekdays:
        break;
      case Symbols::shortWeekdays:
        width = Symbols_::ABBREVIATED;
        break;
      case Symbols::standaloneWeekdays:
        context = Symbols_::STANDALONE;
        break;
      case Symbols::shortStandaloneWeekdays:
        context = Symbols_::STANDALONE;
        width = Symbols_::ABBREVIATED;
        break;
      case Symbols::veryShortStandaloneWeekdays:
        context = Symbols_::STANDALONE;
        width = Symbols_::NARROW;
        break;
    }
    int32_t count = 0;
    const icu::UnicodeString* list = months ? symbols.getMonths(count, context, width)
                                            : symbols.getWeekdays(count, context, width);
    // Weekday lists start with an empty entry so that index 1 is Sunday.
    for (int32_t i = months ? 0 : 1; list && i < count; ++i)
      result.push_back(detail::toUtf8(list[i]));
  }
  if (cache.lists.size() >= kMaxCacheEntries) cache.lists.clear();
  cache.lists.emplace(std::move(key), result);
  return result;
}

std::vector<std::string> DateFormatter::monthSymbols() const {
  return symbols(Symbols::months);
}
std::vector<std::string> DateFormatter::shortMonthSymbols() const {
  return symbols(Symbols::shortMonths);
}
std::vector<std::string> DateFormatter::standaloneMonthSymbols() const {
  return symbols(Symbols::standaloneMonths);
}
std::vector<std::string> DateFormatter::shortStandaloneMonthSymbols() const {
  return symbols(Symbols::shortStandaloneMonths);
}
std::vector<std::string> DateFormatter::weekdaySymbols() const {
  return symbols(Symbols::weekdays);
}
std::vector<std::string> DateFormatter::shortWeekdaySymbols() const {
  return symbols(Symbols::shortWeekdays);
}
std::vector<std::string> DateFormatter::standaloneWeekdaySymbols() const {
  return symbols(Symbols::standaloneWeekdays);
}
std::vector<std::string> DateFormatter::shortStandaloneWeekdaySymbols() const {
  return symbols(Symbols::shortStandaloneWeekdays);
}
std::vector<std::string> DateFormatter::veryShortStandaloneWeekdaySymbols() const {
  return symbols(Symbols::veryShortStandaloneWeekdays);
}

std::string DateFormatter::dateFormatFromTemplate(std::string_view skeleton, const Locale& locale) {
  return bestPattern(skeleton, detail::icuLocale(locale.identifier()));
}

bool DateFormatter::localeUses24HourClock(const Locale& locale) {
  return patternHas24HourField(dateFormatFromTemplate("j", locale));
}

bool DateFormatter::uses24HourClock() {
  if (auto preference = currentEnvironment()->uses24HourClock) return *preference;
  return localeUses24HourClock(Locale::current());
}

}  // namespace norvik::platform
