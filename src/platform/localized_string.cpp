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
#include "norvik/platform/text_context.h"
#include "platform/format_access.h"
#include "platform/language_rules.h"
#include "platform/localized_lookup.h"

namespace norvik::detail {
namespace {
icu::Locale localeOf(std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = icu::Locale::forLanguageTag(language, status);
  if (U_FAILURE(status)) return icu::Locale::getRoot();
  return locale;
}

// Every language's rules, built once per language asked for; entries are never removed. Guarded by
// `mutex`.
struct LanguageRulesCache {
  std::mutex mutex;
  std::unordered_map<std::string, std::unique_ptr<const LanguageRules>> languages;
};

// One of the six category names, as a view that lives as long as the process.
std::string_view categoryName(const icu::UnicodeString& keyword) {
  static constexpr std::string_view kNames[] = {"zero", "one", "two", "few", "many"};
  for (std::string_view name : kNames) {
    if (keyword ==
        icu::UnicodeString(name.data(), static_cast<std::int32_t>(name.size()), US_INV)) {
      return name;
    }
  }
  return "other";
}

}  // namespace

std::string_view LanguageRules::category(std::int64_t count) const {
  if (count >= 0 && count < static_cast<std::int64_t>(smallCounts.size())) {
    return smallCounts[static_cast<std::size_t>(count)];
  }
  if (!plural) return "other";
  if (count >= INT32_MIN && count <= INT32_MAX) {
    return categoryName(plural->select(static_cast<std::int32_t>(count)));
  }
  return categoryName(plural->select(static_cast<double>(count)));
}

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
    for (std::size_t count = 0; count < rules->smallCounts.size(); ++count) {
      rules->smallCounts[count] =
          rules->plural ? categoryName(rules->plural->select(static_cast<std::int32_t>(count)))
                        : std::string_view("other");
    }
    it = cache.languages.emplace(std::string(language), std::move(rules)).first;
  }
  return *it->second;
}

namespace {

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

// Written once while the library loads (the source) or by a tool (the observer), read by every
// lookup: atomic, no lock.
std::atomic<ChosenLanguage> installedChosenLanguage{nullptr};
std::atomic<LookupObserver> installedObserver{nullptr};
// Moves whenever the installed language source may answer differently.
std::atomic<std::uint64_t> lookupGeneration{1};

}  // namespace

void setChosenLanguageSource(ChosenLanguage source) noexcept {
  installedChosenLanguage.store(source, std::memory_order_release);
  lookupLanguageChanged();
}

std::optional<std::string> chosenLanguage() {
  if (auto source = installedChosenLanguage.load(std::memory_order_acquire)) return source();
  return std::nullopt;
}

void lookupLanguageChanged() noexcept {
  lookupGeneration.fetch_add(1, std::memory_order_acq_rel);
}

std::uint64_t lookupLanguageGeneration() noexcept {
  return lookupGeneration.load(std::memory_order_acquire);
}

void setLookupObserver(LookupObserver observer) noexcept {
  installedObserver.store(observer, std::memory_order_release);
}

LookupObserver lookupObserver() noexcept {
  return installedObserver.load(std::memory_order_acquire);
}

}  // namespace norvik::detail

namespace norvik::platform {

std::string localizedString(std::string_view key, std::string_view value, std::string_view table) {
  try {
    return TextContext::current().localizedString(key, value, table);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::string specialLocalizedString(std::string_view key) {
  return localizedString(key, {}, kNVSpecialStringTable);
}

std::string lookupLanguage() {
  try {
    return TextContext::current().language();
  } catch (const std::exception&) {
    return "en";
  }
}

std::string pluralCategory(std::string_view language, std::int64_t count) {
  try {
    return std::string(detail::languageRules(language).category(count));
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
    if (auto variant = TextContext::current().pluralVariant(key, count, table)) {
      return std::string(*variant);
    }
  } catch (const std::exception&) {
  }
  return std::nullopt;
}

std::string formatLocalized(const TextContext& context, std::string_view key,
                            std::string_view table, std::string_view text,
                            std::span<const FormatArgument> args) {
  try {
    std::optional<std::string_view> variant;
    if (const auto count = detail::countOf(args)) {
      variant = context.pluralVariant(key, *count, table);
    }
    const std::string_view format = variant ? *variant : text;
    if (!context.isRightToLeft()) return formatWithFallback(format, key, args);
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

std::string formatLocalized(std::string_view key, std::string_view table, std::string_view text,
                            std::span<const FormatArgument> args) {
  try {
    return formatLocalized(TextContext::current(), key, table, text, args);
  } catch (const std::exception&) {
    return std::string(text);
  }
}

}  // namespace norvik::platform
