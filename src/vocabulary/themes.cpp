#include "norvik/vocabulary/themes.h"

#include <array>

namespace norvik {
namespace {

using T = NVThemeIdentifier;

struct ThemeEntry {
  T theme;
  std::string_view raw;
};

// In case order: the index of an entry is its case's value.
constexpr std::array<ThemeEntry, 49> kThemes{{
    {T::defaultTheme, "default"},
    {T::teal, "teal"},
    {T::matcha, "matcha"},
    {T::turquoise, "turquoise"},
    {T::sunshine, "sunshine"},
    {T::peach, "peach"},
    {T::lilac, "lilac"},
    {T::white, "white"},
    {T::gray, "gray"},
    {T::black, "black"},
    {T::trueBlackBlue, "true_black_blue"},
    {T::trueBlack, "true_black"},
    {T::march, "march"},
    {T::july, "july"},
    {T::november, "november"},
    {T::february, "february"},
    {T::beijing, "beijing"},
    {T::guangzhou, "guangzhou"},
    {T::hangzhou, "hangzhou"},
    {T::shanghai, "shanghai"},
    {T::shenzhen, "shenzhen"},
    {T::cairo, "cairo"},
    {T::london, "london"},
    {T::losAngeles, "los_angeles"},
    {T::moscow, "moscow"},
    {T::newYork, "new_york"},
    {T::sanFrancisco, "san_francisco"},
    {T::seoul, "seoul"},
    {T::sydney, "sydney"},
    {T::tokyo, "tokyo"},
    {T::ocean, "ocean"},
    {T::mystery, "mystery"},
    {T::kitty, "kitty"},
    {T::bay, "bay"},
    {T::architecture, "architecture"},
    {T::blackSea, "black_sea"},
    {T::desert, "desert"},
    {T::greenery, "greenery"},
    {T::swallow, "swallow"},
    {T::dawn, "dawn"},
    {T::blossom, "blossom"},
    {T::frozen, "frozen"},
    {T::meadow, "meadow"},
    {T::silence, "silence"},
    {T::worldCup, "world_cup"},
    {T::happy2019, "happy_2019"},
    {T::xmas, "xmas"},
    {T::universe, "universe"},
    {T::custom, "custom"},
}};

constexpr bool themesInCaseOrder() {
  for (std::size_t i = 0; i < kThemes.size(); ++i) {
    if (static_cast<std::size_t>(kThemes[i].theme) != i) return false;
  }
  return true;
}
static_assert(themesInCaseOrder());

constexpr std::array<T, 49> kAllThemes = [] {
  std::array<T, 49> all{};
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = kThemes[i].theme;
  return all;
}();

constexpr std::array<T, 28> kSpecialTabbar{
    T::beijing,  T::guangzhou,  T::hangzhou, T::shanghai, T::shenzhen,     T::cairo,
    T::london,   T::losAngeles, T::moscow,   T::newYork,  T::sanFrancisco, T::seoul,
    T::sydney,   T::tokyo,      T::ocean,    T::mystery,  T::bay,          T::architecture,
    T::blackSea, T::desert,     T::greenery, T::swallow,  T::blossom,      T::frozen,
    T::meadow,   T::silence,    T::worldCup, T::xmas,
};

constexpr std::array<std::string_view, 3> kSolidToGradient{"pink", "green", "yellow"};

}  // namespace

std::span<const NVThemeIdentifier> allThemeIdentifiers() noexcept {
  return kAllThemes;
}

std::string_view rawValue(NVThemeIdentifier theme) noexcept {
  const auto index = static_cast<std::size_t>(theme);
  return index < kThemes.size() ? kThemes[index].raw : std::string_view{};
}

std::optional<NVThemeIdentifier> themeIdentifierFromRawValue(std::string_view raw) noexcept {
  for (const ThemeEntry& entry : kThemes) {
    if (entry.raw == raw) return entry.theme;
  }
  return std::nullopt;
}

std::span<const NVThemeIdentifier> themesNeedsSpecialHandlingTabbar() noexcept {
  return kSpecialTabbar;
}

std::span<const std::string_view> themesSolidToGradient() noexcept {
  return kSolidToGradient;
}

}  // namespace norvik
