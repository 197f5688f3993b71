#pragma once
// The library's one way to show text: an English key looked up in the main bundle's string tables.
//
// Every module that shows text calls localizedString() instead of asking Bundle::main() itself, so
// that all of them follow the interface language the user chose in the application (the environment
// layer tells the platform that choice when the library is loaded): the chosen language's table,
// else the system's choice of localization, else English. The functions here use
// TextContext::current(); TextContext (text_context.h) has the same lookups for a context of any
// language, and formatLocalized() has a form that takes one.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/format.h"
#include "norvik/platform/text_context.h"

namespace norvik {

// Table of the punctuation-like keys (separators, brackets, list joiners).
inline constexpr std::string_view kNVSpecialStringTable = "Special";

}  // namespace norvik

namespace norvik::platform {

// The translation of `key` in `table` ("Localizable" when empty) of the main bundle, in the user's
// interface language. A key that no table holds gives `value` when it is not empty, else the key.
// Safe from any thread.
std::string localizedString(std::string_view key, std::string_view value = {},
                            std::string_view table = {});

// The same in the table "Special".
std::string specialLocalizedString(std::string_view key);

// Separator between a key and the plural category of one of its variants in a table:
// "Every %d days##few" is the text of "Every %d days" for counts of the category "few".
inline constexpr std::string_view kPluralVariantSeparator = "##";

// The language code of the localization that answers localizedString() now: the interface language
// the user chose when its folder exists, else the main bundle's choice for the system languages,
// else "en".
std::string lookupLanguage();

// The CLDR plural category ("zero", "one", "two", "few", "many" or "other") of `count` in
// `language` (a folder code such as "ru" or "pt-BR"), by ICU's rules; "other" for a code ICU does
// not know. The rules of each language are built once.
std::string pluralCategory(std::string_view language, std::int64_t count);

// The plural categories ICU's rules have for `language`, in ICU's order; {"other"} for a code ICU
// does not know.
std::vector<std::string> pluralCategories(std::string_view language);

// Whether text in `language` runs right to left (ar, fa, ur, he, ...); false for an unknown code.
bool isRightToLeftLanguage(std::string_view language);

// The variant "<key>##<category of count>" of `key` in `table` of the lookup language, when that
// language's own table holds one (no fallback to another language); std::nullopt otherwise.
std::optional<std::string> localizedPluralVariant(std::string_view key, std::int64_t count,
                                                  std::string_view table = {});

// Formats `text`, the looked-up translation of `key` in `table`, with `args`. When the first
// argument is an integer and the lookup language's table holds a plural variant of `key` for it,
// the variant is formatted instead. A translation that cannot format the arguments falls back to
// the key (see formatWithFallback). In a right-to-left lookup language, text arguments that hold
// left-to-right letters are wrapped in U+2068 FIRST STRONG ISOLATE ... U+2069 POP DIRECTIONAL
// ISOLATE so that they keep their own order; left-to-right languages get no direction marks.
std::string formatLocalized(std::string_view key, std::string_view table, std::string_view text,
                            std::span<const FormatArgument> args);

// The same in `context`: its lookup language's plural variants and direction.
std::string formatLocalized(const TextContext& context, std::string_view key,
                            std::string_view table, std::string_view text,
                            std::span<const FormatArgument> args);

template <class... A>
requires(std::constructible_from<FormatArgument, const A&>&&...) std::string
    formatLocalized(const TextContext& context, std::string_view key, std::string_view table,
                    std::string_view text, const A&... args) {
  const std::array<FormatArgument, sizeof...(A)> list{FormatArgument(args)...};
  return formatLocalized(context, key, table, text, std::span<const FormatArgument>(list));
}

template <class... A>
requires(std::constructible_from<FormatArgument, const A&>&&...) std::string
    formatLocalized(std::string_view key, std::string_view table, std::string_view text,
                    const A&... args) {
  const std::array<FormatArgument, sizeof...(A)> list{FormatArgument(args)...};
  return formatLocalized(key, table, text, std::span<const FormatArgument>(list));
}

}  // namespace norvik::platform
