#pragma once
// Names of the cross-process message channel shared by the application and its extensions (see
// norvik/platform/message_channel.h) and of the messages that travel on it.

#include <string_view>

namespace norvik {

// Subdirectory of the application-group container that holds the channel's messages.
inline constexpr std::string_view kNVWormholeMessageDirectory = "kNVWormholeMessageDirectory";

inline constexpr std::string_view kNVWormholeMessageIdentifier_AccountStatusChanged =
    "kNVWormholeMessageIdentifier_AccountStatusChanged";
inline constexpr std::string_view kNVWormholeMessageIdentifier_CountDownStatusChanged =
    "kNVWormholeMessageIdentifier_CountDownStatusChanged";
inline constexpr std::string_view kNVWormholeMessageIdentifier_DBUpgraded =
    "kNVWormholeMessageIdentifier_DBUpgraded";
inline constexpr std::string_view kNVWormholeMessageIdentifier_DataChanged =
    "kNVWormholeMessageIdentifier_DataChanged";
inline constexpr std::string_view kNVWormholeMessageIdentifier_SignIn =
    "kNVWormholeMessageIdentifier_SignIn";
inline constexpr std::string_view kNVWormholeMessageIdentifier_SignOut =
    "kNVWormholeMessageIdentifier_SignOut";
inline constexpr std::string_view kNVWormholeMessageIdentifier_UserSettingsChanged =
    "kNVWormholeMessageIdentifier_UserSettingsChanged";

}  // namespace norvik
