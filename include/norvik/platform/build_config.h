#pragma once
// Deployment values fixed when the library is built. Every layer that needs one of them reads it
// from here, so that a deployment changes each value in exactly one place.

#include <string_view>

namespace norvik {

// The application's reverse-domain identifier prefix. Keys and labels that belong to the
// application are made from it: the theme setting "<prefix>.task.theme", the keychain service
// "<prefix>.task.sync", the settings-cache queue "<prefix>.customUserDefaultsCacheQueue".
inline constexpr std::string_view kNVReverseDomainPrefix = "app.norvik";

// The built-in base address of the international site (brand Norvik): "https://" and the host,
// no trailing slash. It is also the default of the current-site setting.
inline constexpr std::string_view kNVNorvikBuiltInSiteDomain = "https://api.norvik.app";

// The built-in base address of the China-region site (brand Lumo), in the same form.
inline constexpr std::string_view kNVLumoBuiltInSiteDomain = "https://api.lumo.cn";

}  // namespace norvik
