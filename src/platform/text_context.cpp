#include "norvik/platform/text_context.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <mutex>

#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/localized_string.h"
#include "platform/bundle_access.h"
#include "platform/language_rules.h"
#include "platform/localized_lookup.h"

namespace norvik::detail {
namespace {

constexpr std::string_view kDefaultTable = "Localizable";

// The tables one lookup reads, in order: the lookup language's (or, for the system's choice, the
// bundle root's when that language has no such table), then English. `own` is the lookup
// language's own table, where plural variants come from. Null where a file is missing.
struct Tables {
  const StringIndex* primary = nullptr;
  const StringIndex* english = nullptr;
  const StringIndex* own = nullptr;
};

const std::string* find(const StringIndex* index, std::string_view key) {
  if (index == nullptr) return nullptr;
  auto it = index->find(key);
  return it == index->end() ? nullptr : it->second;
}

// The weekday names of one locale, read from ICU once per locale; entries are never removed, so
// a context keeps a plain pointer. Guarded by the mutex.
struct LocaleSymbols {
  std::vector<std::string> shortWeekdays;
  std::vector<std::string> weekdays;
};

const LocaleSymbols& localeSymbols(const platform::Locale& locale) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<const LocaleSymbols>, std::less<>> cache;
  const std::string identifier = locale.identifier();
  {
    std::lock_guard lock(mutex);
    if (auto it = cache.find(identifier); it != cache.end()) return *it->second;
  }
  const platform::DateFormatter formatter("", platform::Locale(identifier));
  auto symbols = std::make_unique<LocaleSymbols>(LocaleSymbols{
      formatter.shortStandaloneWeekdaySymbols(), formatter.standaloneWeekdaySymbols()});
  symbols->shortWeekdays.resize(7);
  symbols->weekdays.resize(7);
  std::lock_guard lock(mutex);
  return *cache.emplace(identifier, std::move(symbols)).first->second;
}

}  // namespace

struct TextContextData {
  std::optional<std::string> chosen;
  std::vector<std::string> systemLanguages;
  std::string language;
  bool chosenFolder = false;  // whether `language` is the chosen language's own folder
  platform::Locale locale;
  platform::TimeZone timeZone;
  platform::Calendar calendar;
  std::shared_ptr<platform::Bundle> bundle;
  const LanguageRules* rules = nullptr;
  const LocaleSymbols* symbols = nullptr;
  Tables localizable;
  Tables special;
  platform::DateFormatter monthDay;
  platform::DateFormatter shortMonth;

  Tables resolve(std::string_view table) const {
    Tables tables;
    tables.own = BundleAccess::table(*bundle, language, table);
    tables.primary = tables.own;
    if (tables.primary == nullptr && !chosenFolder) {
      tables.primary = BundleAccess::table(*bundle, {}, table);
    }
    if (language != "en") tables.english = BundleAccess::table(*bundle, "en", table);
    return tables;
  }

  // The two tables the library's texts use are resolved when the context is made; any other is
  // resolved on each lookup (through the bundle's own caches).
  Tables tablesFor(std::string_view table) const {
    if (table.empty() || table == kDefaultTable) return localizable;
    if (table == kNVSpecialStringTable) return special;
    return resolve(table);
  }
};

}  // namespace norvik::detail

namespace norvik::platform {

TextContext::TextContext(std::shared_ptr<const detail::TextContextData> data)
    : data_(std::move(data)) {}

TextContext::TextContext(const Settings& settings) {
  auto data = std::make_shared<detail::TextContextData>();
  try {
    const auto environment = currentEnvironment();
    if (settings.language && !settings.language->empty()) data->chosen = settings.language;
    data->systemLanguages =
        settings.systemLanguages ? *settings.systemLanguages : environment->preferredLanguages;
    if (settings.mainBundlePath) {
      data->bundle = Bundle::atPath(*settings.mainBundlePath);
      if (!data->bundle) data->bundle = detail::BundleAccess::empty(*settings.mainBundlePath);
    } else {
      data->bundle = Bundle::main();
    }
    if (data->chosen && Bundle::isValidLocalizationCode(*data->chosen)) {
      const auto codes = data->bundle->localizations();
      data->chosenFolder = std::find(codes.begin(), codes.end(), *data->chosen) != codes.end();
    }
    if (data->chosenFolder) {
      data->language = *data->chosen;
    } else {
      data->language = detail::BundleAccess::localizationFor(*data->bundle, data->systemLanguages)
                           .value_or("en");
    }
    if (settings.localeIdentifier && !settings.localeIdentifier->empty()) {
      data->locale = Locale(*settings.localeIdentifier);
    } else {
      data->locale = data->chosen ? Locale::currentLocaleWithLanguageCode(*data->chosen)
                                  : Locale(Locale::current().identifier());
    }
    std::optional<TimeZone> zone;
    if (settings.timeZoneIdentifier) zone = TimeZone::withIdentifier(*settings.timeZoneIdentifier);
    data->timeZone = zone ? *zone : TimeZone::current();
    data->calendar =
        Calendar(settings.calendar.value_or(Calendar::autoupdatingCurrent().identifier()),
                 data->timeZone, data->locale);
    data->rules = &detail::languageRules(data->language);
    data->symbols = &detail::localeSymbols(data->locale);
    data->localizable = data->resolve(detail::kDefaultTable);
    data->special = data->resolve(kNVSpecialStringTable);
    data->monthDay = DateFormatter("", data->locale, data->calendar);
    data->monthDay.setLocalizedDateFormatFromTemplate("MMMd");
    data->shortMonth = DateFormatter("MMM", data->locale, data->calendar);
  } catch (const std::exception&) {
    // Out of memory: a context without tables, whose texts are the keys.
    if (!data->rules) data->rules = &detail::languageRules("en");
    if (!data->bundle) data->bundle = detail::BundleAccess::empty({});
    if (!data->symbols) data->symbols = &detail::localeSymbols(Locale("en_US"));
  }
  data_ = std::move(data);
}

TextContext TextContext::withLanguage(std::string_view language) {
  Settings settings;
  settings.language = std::string(language);
  return TextContext(settings);
}

TextContext TextContext::current() {
  // Each thread keeps its snapshot until the environment or the chosen language changes (confined
  // to the thread). The counters are read first: a change made while the snapshot is taken is
  // seen on the next call.
  struct Snapshot {
    std::uint64_t environment = 0;
    std::uint64_t language = 0;
    std::shared_ptr<const detail::TextContextData> data;
  };
  thread_local Snapshot snapshot;
  const std::uint64_t environment = environmentGeneration();
  const std::uint64_t language = detail::lookupLanguageGeneration();
  if (snapshot.data && snapshot.environment == environment && snapshot.language == language) {
    return TextContext(snapshot.data);
  }
  Settings settings;
  settings.language = detail::chosenLanguage();
  // The shared formatters follow the chosen language (the language layer adapts them before it
  // announces a change).
  settings.localeIdentifier = DateFormatter::shared().locale().identifier();
  TextContext context(settings);
  snapshot = Snapshot{environment, language, context.data_};
  return context;
}

const std::optional<std::string>& TextContext::chosenLanguage() const {
  return data_->chosen;
}
const std::string& TextContext::language() const {
  return data_->language;
}
const std::vector<std::string>& TextContext::systemLanguages() const {
  return data_->systemLanguages;
}
const Locale& TextContext::locale() const {
  return data_->locale;
}
const TimeZone& TextContext::timeZone() const {
  return data_->timeZone;
}
const Calendar& TextContext::calendar() const {
  return data_->calendar;
}
const std::shared_ptr<Bundle>& TextContext::mainBundle() const {
  return data_->bundle;
}
bool TextContext::isRightToLeft() const {
  return data_->rules->rightToLeft;
}

std::string_view TextContext::lookUp(std::string_view key, std::string_view table) const {
  if (auto observer = detail::lookupObserver()) observer(key, table);
  try {
    const detail::Tables tables = data_->tablesFor(table);
    if (const std::string* text = detail::find(tables.primary, key)) return *text;
    if (const std::string* text = detail::find(tables.english, key)) return *text;
  } catch (const std::exception&) {
  }
  return key;
}

std::string TextContext::localizedString(std::string_view key, std::string_view value,
                                         std::string_view table) const {
  try {
    const std::string_view text = lookUp(key, table);
    if (text.data() == key.data() && !value.empty()) return std::string(value);
    return std::string(text);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::string_view TextContext::pluralCategory(std::int64_t count) const {
  return data_->rules->category(count);
}

std::optional<std::string_view> TextContext::pluralVariant(std::string_view key, std::int64_t count,
                                                           std::string_view table) const {
  try {
    const detail::Tables tables = data_->tablesFor(table);
    if (tables.own == nullptr) return std::nullopt;
    const std::string_view category = data_->rules->category(count);
    // The variant's key is put together on the stack: a lookup allocates nothing.
    std::array<char, 256> buffer;
    const std::size_t length = key.size() + kPluralVariantSeparator.size() + category.size();
    if (length > buffer.size()) return std::nullopt;
    char* out = std::copy(key.begin(), key.end(), buffer.data());
    out = std::copy(kPluralVariantSeparator.begin(), kPluralVariantSeparator.end(), out);
    std::copy(category.begin(), category.end(), out);
    if (const std::string* text =
            detail::find(tables.own, std::string_view(buffer.data(), length))) {
      return std::string_view(*text);
    }
  } catch (const std::exception&) {
  }
  return std::nullopt;
}

const std::vector<std::string>& TextContext::shortWeekdaySymbols() const {
  return data_->symbols->shortWeekdays;
}
const std::vector<std::string>& TextContext::weekdaySymbols() const {
  return data_->symbols->weekdays;
}

std::string TextContext::monthDayText(Date date) const {
  return data_->monthDay.format(date);
}
std::string TextContext::shortMonthText(Date date) const {
  return data_->shortMonth.format(date);
}

}  // namespace norvik::platform
