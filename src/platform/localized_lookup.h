#pragma once
// How the interface-language layer takes over the main bundle's localized lookups.

#include <string>
#include <string_view>

namespace norvik::detail {

using MainBundleLookup = std::string (*)(std::string_view key, std::string_view value,
                                         std::string_view table);

// Routes every platform::localizedString() call through `lookup` from now on (null: the main
// bundle's own lookup). Installed once while the library loads.
void setMainBundleLookup(MainBundleLookup lookup) noexcept;

// The lookup installed now (null: the main bundle's own).
MainBundleLookup mainBundleLookup() noexcept;

using MainBundleLanguage = std::string (*)();

// Names the localization whose tables `lookup` answers from, for platform::lookupLanguage() (null:
// the main bundle's own choice). Installed together with the lookup.
void setMainBundleLanguage(MainBundleLanguage language) noexcept;

// Tells the platform that the installed language hook may now answer differently (the user chose
// another language); lookups ask it again. Environment changes are noticed without it.
void lookupLanguageChanged() noexcept;

}  // namespace norvik::detail
