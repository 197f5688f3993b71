#include "norvik/platform/locale.h"

#include <unicode/locid.h>

#include <cstdint>

#include "norvik/platform/environment.h"
#include "platform/icu_support.h"

namespace norvik::platform {
namespace {

constexpr const char* kFallbackIdentifier = "en_US_POSIX";

bool hasOnlyIdentifierCharacters(std::string_view text) {
  for (char c : text) {
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '_' || c == '-' || c == '@' || c == '=' || c == ';' || c == '.' || c == ',' ||
              c == '+';
    if (!ok) return false;
  }
  return true;
}

icu::Locale parseLocale(std::string_view text, bool& ok) {
  ok = false;
  if (!hasOnlyIdentifierCharacters(text) || text.size() > 200) return icu::Locale::getRoot();
  std::string name(text);
  // A POSIX code set ("de_DE.UTF-8@euro") is not part of the locale.
  if (auto dot = name.find('.'); dot != std::string::npos) {
    name.erase(dot, name.find('@', dot) == std::string::npos ? std::string::npos
                                                             : name.find('@', dot) - dot);
  }
  bool looksLikeTag = name.find('-') != std::string::npos && name.find('_') == std::string::npos &&
                      name.find('@') == std::string::npos;
  if (looksLikeTag) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale tagged = icu::Locale::forLanguageTag(name, status);
    if (U_SUCCESS(status) && !tagged.isBogus()) {
      ok = true;
      return tagged;
    }
  }
  icu::Locale parsed = icu::Locale::createFromName(name.c_str());
  if (parsed.isBogus()) return icu::Locale::getRoot();
  ok = true;
  return parsed;
}

// The canonical identifier of the environment's locale, remembered per thread for as long as the
// environment does not change (confined to the calling thread).
std::string environmentLocaleIdentifier() {
  struct Cached {
    std::uint64_t generation = UINT64_MAX;
    std::string identifier;
  };
  thread_local Cached cached;
  std::uint64_t generation = environmentGeneration();
  if (cached.generation != generation) {
    // Read the generation before the environment: a change in between only causes a re-read.
    std::string raw = currentEnvironment()->localeIdentifier;
    cached.identifier = canonicalLocaleIdentifier(raw);
    cached.generation = generation;
  }
  return cached.identifier;
}

icu::Locale localeOf(const Locale& locale) {
  return detail::icuLocale(locale.identifier());
}

}  // namespace

std::string canonicalLocaleIdentifier(std::string_view identifier) {
  bool ok = false;
  icu::Locale parsed = parseLocale(identifier, ok);
  if (!ok) return kFallbackIdentifier;
  return parsed.getName();
}

Locale::Locale() = default;

Locale::Locale(std::string_view identifier) : identifier_(canonicalLocaleIdentifier(identifier)) {}

Locale Locale::current() {
  return Locale(environmentLocaleIdentifier());
}

Locale Locale::autoupdatingCurrent() {
  return Locale(AutoupdatingTag{});
}

Locale Locale::currentLocaleWithLanguageCode(std::string_view languageCode) {
  Locale current = Locale::current();
  bool ok = false;
  icu::Locale code = parseLocale(languageCode, ok);
  if (!ok || languageCode.empty() || !*code.getLanguage()) return current;
  icu::Locale base = localeOf(current);
  std::string name = code.getLanguage();
  if (*code.getScript()) name += std::string("_") + code.getScript();
  if (*base.getCountry() || *base.getVariant()) name += std::string("_") + base.getCountry();
  if (*base.getVariant()) name += std::string("_") + base.getVariant();
  std::string full = base.getName();
  if (auto at = full.find('@'); at != std::string::npos) name += full.substr(at);
  return Locale(name);
}

std::string Locale::identifier() const {
  return autoupdating_ ? environmentLocaleIdentifier() : identifier_;
}

std::string Locale::languageCode() const {
  return localeOf(*this).getLanguage();
}

std::string Locale::scriptCode() const {
  return localeOf(*this).getScript();
}

std::string Locale::countryCode() const {
  return localeOf(*this).getCountry();
}

std::string Locale::variantCode() const {
  return localeOf(*this).getVariant();
}

std::string Locale::keywordValue(std::string_view keyword) const {
  UErrorCode status = U_ZERO_ERROR;
  std::string value = localeOf(*this).getKeywordValue<std::string>(
      icu::StringPiece(keyword.data(), static_cast<int32_t>(keyword.size())), status);
  return U_SUCCESS(status) ? value : std::string();
}

std::string Locale::languageTag() const {
  UErrorCode status = U_ZERO_ERROR;
  std::string tag = localeOf(*this).toLanguageTag<std::string>(status);
  return U_SUCCESS(status) ? tag : std::string("und");
}

Locale Locale::maximized() const {
  icu::Locale locale = localeOf(*this);
  UErrorCode status = U_ZERO_ERROR;
  locale.addLikelySubtags(status);
  return U_SUCCESS(status) ? Locale(locale.getName()) : Locale(identifier());
}

Locale Locale::minimized() const {
  icu::Locale locale = localeOf(*this);
  UErrorCode status = U_ZERO_ERROR;
  locale.minimizeSubtags(status);
  return U_SUCCESS(status) ? Locale(locale.getName()) : Locale(identifier());
}

std::string Locale::displayName(const Locale& displayLocale) const {
  icu::UnicodeString name;
  localeOf(*this).getDisplayName(localeOf(displayLocale), name);
  return detail::toUtf8(name);
}

bool Locale::operator==(const Locale& other) const {
  if (autoupdating_ || other.autoupdating_) return autoupdating_ == other.autoupdating_;
  return identifier_ == other.identifier_;
}

}  // namespace norvik::platform
