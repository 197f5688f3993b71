#pragma once
// What formatting needs to know of one language: its plural rules and the direction of its text.

#include <unicode/plurrule.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

namespace norvik::detail {

struct LanguageRules {
  // ICU's plural rules; null when ICU cannot build any. Only read once built.
  std::unique_ptr<const icu::PluralRules> plural;
  bool rightToLeft = false;
  // The categories of the counts 0..255, worked out once: most texts count small numbers.
  std::array<std::string_view, 256> smallCounts{};

  // The CLDR category of `count`: "zero", "one", "two", "few", "many" or "other".
  std::string_view category(std::int64_t count) const;
};

// The rules of `language` (a folder code such as "ru" or "pt-BR"), built on first use and kept for
// the life of the process. Safe from any thread.
const LanguageRules& languageRules(std::string_view language);

}  // namespace norvik::detail
