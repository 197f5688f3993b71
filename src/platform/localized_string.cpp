#include "norvik/platform/localized_string.h"

#include <unicode/locid.h>
#include <unicode/plurrule.h>
#include <unicode/strenum.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <variant>

#include "norvik/platform/bundle.h"
#include "norvik/platform/environment.h"
#include "platform/format_access.h"
#include "platform/localized_lookup.h"

namespace norvik::detail {
namespace {
// Written once while the library loads, read by every lookup: atomic, no lock.
std::atomic<MainBundleLookup> installedLookup{nullptr};
std::atomic<MainBundleLanguage> installedLanguage{nullptr};

icu::Locale localeOf(std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = icu::Locale::forLanguageTag(language, status);
  if (U_FAILURE(status)) return icu::Locale::getRoot();
  return locale;
}

// What the formatting needs to know of one language, built once per language asked for: ICU's
// plural rules (null when ICU cannot build any) and the direction of its text. Entries are never
// removed, and a PluralRules object is only read after it is built. Guarded by `mutex`.
struct LanguageRules {
  std::unique_ptr<const icu::PluralRules> plural;
  bool rightToLeft = false;
};

struct LanguageRulesCache {
  std::mutex mutex;
  std::unordered_map<std::string, std::unique_ptr<const LanguageRules>> languages;
};

const LanguageRules& languageRules(std::string_view language) {
  static LanguageRulesCache cache;
  std::lock_guard lock(cache.mutex);
  auto it = cache.languages.find(std::string(language));
  if (it == cache.languages.end()) {
    auto rules = std::make_unique<LanguageRules>();
    const icu::Locale locale = localeOf(language);
    UErrorCode status = U_ZERO_ERROR;
    rules->plural.reset(icu::PluralRules::forLocale(locale, status));
    if (U_FAILURE(status)) rules->plural.reset();
    rules->rightToLeft = !language.empty() && locale.isRightToLeft();
    it = cache.languages.emplace(std::string(language), std::move(rules)).first;
  }
  return *it->second;
}

const icu::PluralRules* pluralRules(std::string_view language) {
  return languageRules(language).plural.get();
}

std::string utf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

// Whether `text` holds a character of strong left-to-right direction (Latin, Greek, CJK...).
bool hasLeftToRightLetter(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t i = 0; i < length;) {
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c >= 0 && u_charDirection(c) == U_LEFT_TO_RIGHT) return true;
  }
  return false;
}

// The text an argument prints with %@ or %s, when it is a text; std::nullopt for numbers.
std::optional<std::string_view> textOf(const platform::FormatArgument& argument) {
  const auto& s = FormatArgumentAccess::storage(argument);
  if (auto p = std::get_if<std::string_view>(&s)) return *p;
  if (auto p = std::get_if<std::string>(&s)) return std::string_view(*p);
  const platform::Value* v = nullptr;
  if (auto p = std::get_if<const platform::Value*>(&s)) v = *p;
  if (auto p = std::get_if<platform::Value>(&s)) v = p;
  if (v && v->string()) return std::string_view(*v->string());
  return std::nullopt;
}

// The count a text's plural variant is chosen by: the first argument, when it is an integer.
std::optional<std::int64_t> countOf(std::span<const platform::FormatArgument> args) {
  if (args.empty()) return std::nullopt;
  const auto& s = FormatArgumentAccess::storage(args.front());
  if (auto i = std::get_if<std::int64_t>(&s)) return *i;
  if (auto u = std::get_if<std::uint64_t>(&s)) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(*u, INT64_MAX));
  }
  return std::nullopt;
}

constexpr std::string_view kFirstStrongIsolate = "\xE2\x81\xA8";     // U+2068
constexpr std::string_view kPopDirectionalIsolate = "\xE2\x81\xA9";  // U+2069

// Moves whenever the installed language hook may answer differently.
std::atomic<std::uint64_t> lookupGeneration{1};

std::string computeLookupLanguage() {
  if (auto language = installedLanguage.load(std::memory_order_acquire)) return language();
  const auto preferred = platform::Bundle::main()->preferredLocalizations();
  return preferred.empty() ? std::string("en") : preferred.front();
}

// The lookup language and what was found of its plural variants, kept by each thread while the
// environment and the language choice stay the same: asking the hook and the bundle costs more
// than the formatting itself.
struct ThreadLookupState {
  std::uint64_t environment = 0;
  std::uint64_t generation = 0;
  std::string language;
  const LanguageRules* rules = nullptr;
  // table, key and count -> the variant's text, or std::nullopt when the table has none.
  std::unordered_map<std::string, std::optional<std::string>> variants;
};

ThreadLookupState& threadLookupState() {
  thread_local ThreadLookupState state;
  // Read the counters first: a change made while the language is computed is seen next time.
  const std::uint64_t environment = platform::environmentGeneration();
  const std::uint64_t generation = lookupGeneration.load(std::memory_order_acquire);
  if (state.rules == nullptr || state.environment != environment ||
      state.generation != generation) {
    state.language = computeLookupLanguage();
    state.rules = &languageRules(state.language);
    state.variants.clear();
    state.environment = environment;
    state.generation = generation;
  }
  return state;
}

std::string categoryOf(const LanguageRules& rules, std::int64_t count) {
  if (!rules.plural) return "other";
  if (count >= INT32_MIN && count <= INT32_MAX) {
    return utf8(rules.plural->select(static_cast<std::int32_t>(count)));
  }
  return utf8(rules.plural->select(static_cast<double>(count)));
}

// The variant of `key` for `count` in the lookup language's own table: a variant is never taken
// from another language.
std::optional<std::string> pluralVariant(ThreadLookupState& state, std::string_view key,
                                         std::int64_t count, std::string_view table) {
  // Kept by count, so that a repeated text costs neither ICU's rules nor the bundle.
  std::string id;
  id.reserve(table.size() + key.size() + 2 + sizeof count);
  id.append(table).append(1, '\x1f').append(key).append(1, '\x1f');
  id.append(reinterpret_cast<const char*>(&count), sizeof count);
  if (auto it = state.variants.find(id); it != state.variants.end()) return it->second;
  std::string variant(key);
  variant.append(platform::kPluralVariantSeparator).append(categoryOf(*state.rules, count));
  std::optional<std::string> found =
      platform::Bundle::main()->localizedString(variant, {}, table, state.language);
  if (found == variant) found.reset();
  if (state.variants.size() < 4096) state.variants.emplace(std::move(id), found);
  return found;
}

}  // namespace

void setMainBundleLookup(MainBundleLookup lookup) noexcept {
  installedLookup.store(lookup, std::memory_order_release);
}

MainBundleLookup mainBundleLookup() noexcept {
  return installedLookup.load(std::memory_order_acquire);
}

void setMainBundleLanguage(MainBundleLanguage language) noexcept {
  installedLanguage.store(language, std::memory_order_release);
  lookupLanguageChanged();
}

void lookupLanguageChanged() noexcept {
  lookupGeneration.fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace norvik::detail

namespace norvik::platform {

std::string localizedString(std::string_view key, std::string_view value, std::string_view table) {
  try {
    if (auto lookup = detail::installedLookup.load(std::memory_order_acquire)) {
      return lookup(key, value, table);
    }
    return Bundle::main()->localizedString(key, value, table);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::string specialLocalizedString(std::string_view key) {
  return localizedString(key, {}, kNVSpecialStringTable);
}

std::string lookupLanguage() {
  try {
    return detail::threadLookupState().language;
  } catch (const std::exception&) {
    return "en";
  }
}

std::string pluralCategory(std::string_view language, std::int64_t count) {
  try {
    return detail::categoryOf(detail::languageRules(language), count);
  } catch (const std::exception&) {
    return "other";
  }
}

std::vector<std::string> pluralCategories(std::string_view language) {
  std::vector<std::string> out;
  try {
    if (const icu::PluralRules* rules = detail::pluralRules(language)) {
      UErrorCode status = U_ZERO_ERROR;
      std::unique_ptr<icu::StringEnumeration> keywords(rules->getKeywords(status));
      while (keywords && U_SUCCESS(status)) {
        const icu::UnicodeString* keyword = keywords->snext(status);
        if (!keyword || U_FAILURE(status)) break;
        out.push_back(detail::utf8(*keyword));
      }
    }
  } catch (const std::exception&) {
  }
  if (out.empty()) out.emplace_back("other");
  return out;
}

bool isRightToLeftLanguage(std::string_view language) {
  try {
    return detail::languageRules(language).rightToLeft;
  } catch (const std::exception&) {
    return false;
  }
}

std::optional<std::string> localizedPluralVariant(std::string_view key, std::int64_t count,
                                                  std::string_view table) {
  try {
    if (table.empty()) table = "Localizable";
    return detail::pluralVariant(detail::threadLookupState(), key, count, table);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::string formatLocalized(std::string_view key, std::string_view table, std::string_view text,
                            std::span<const FormatArgument> args) {
  try {
    detail::ThreadLookupState& state = detail::threadLookupState();
    std::optional<std::string> variant;
    if (const auto count = detail::countOf(args)) {
      variant = detail::pluralVariant(state, key, *count, table.empty() ? "Localizable" : table);
    }
    const std::string_view format = variant ? std::string_view(*variant) : text;
    if (!state.rules->rightToLeft) return formatWithFallback(format, key, args);
    std::vector<FormatArgument> isolated(args.begin(), args.end());
    for (FormatArgument& argument : isolated) {
      const auto argumentText = detail::textOf(argument);
      if (!argumentText || !detail::hasLeftToRightLetter(*argumentText)) continue;
      std::string wrapped;
      wrapped.reserve(argumentText->size() + 6);
      wrapped.append(detail::kFirstStrongIsolate)
          .append(*argumentText)
          .append(detail::kPopDirectionalIsolate);
      argument = FormatArgument(std::move(wrapped));
    }
    return formatWithFallback(format, key, std::span<const FormatArgument>(isolated));
  } catch (const std::exception&) {
    return std::string(text);
  }
}

}  // namespace norvik::platform
