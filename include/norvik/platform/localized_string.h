#pragma once
// The library's one way to show text: an English key looked up in the main bundle's string tables.
//
// Every module that shows text calls localizedString() instead of asking Bundle::main() itself, so
// that all of them follow the interface language the user chose in the application (the environment
// layer installs that rule when the library is loaded): the chosen language's table, else the
// system's choice of localization, else English.

#include <string>
#include <string_view>

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

}  // namespace norvik::platform
