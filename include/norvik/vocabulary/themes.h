#pragma once
// The application's themes, known by the identifier string under which the chosen theme is stored
// and synchronised between devices.

#include <optional>
#include <span>
#include <string_view>

namespace norvik {

// The 49 themes, in the order of allThemeIdentifiers(). Raw values are lower case with underscores
// ("true_black_blue", "happy_2019").
enum class NVThemeIdentifier {
  defaultTheme,  // raw value "default"
  teal,
  matcha,
  turquoise,
  sunshine,
  peach,
  lilac,
  white,
  gray,
  black,
  trueBlackBlue,
  trueBlack,
  march,
  july,
  november,
  february,
  beijing,
  guangzhou,
  hangzhou,
  shanghai,
  shenzhen,
  cairo,
  london,
  losAngeles,
  moscow,
  newYork,
  sanFrancisco,
  seoul,
  sydney,
  tokyo,
  ocean,
  mystery,
  kitty,
  bay,
  architecture,
  blackSea,
  desert,
  greenery,
  swallow,
  dawn,
  blossom,
  frozen,
  meadow,
  silence,
  worldCup,
  happy2019,
  xmas,
  universe,
  custom,
};

// Every theme in case order, "default" first and "custom" last.
std::span<const NVThemeIdentifier> allThemeIdentifiers() noexcept;
// The stored identifier of a theme.
std::string_view rawValue(NVThemeIdentifier theme) noexcept;
// The theme whose identifier is exactly `raw` (case-sensitive); std::nullopt for any other text.
std::optional<NVThemeIdentifier> themeIdentifierFromRawValue(std::string_view raw) noexcept;

// The 28 themes whose tab bar needs special handling: the city themes "beijing" to "mystery",
// "bay" to "swallow", "blossom" to "world_cup", and "xmas" ("kitty", "dawn", "happy_2019",
// "universe", the plain themes and "custom" are not among them).
std::span<const NVThemeIdentifier> themesNeedsSpecialHandlingTabbar() noexcept;
// The solid colours that are drawn as gradients: "pink", "green", "yellow" (plain strings, not
// theme identifiers).
std::span<const std::string_view> themesSolidToGradient() noexcept;

}  // namespace norvik
