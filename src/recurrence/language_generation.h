#pragma once
// A counter that moves on every change of the chosen interface language, for caches of localized
// texts: a cache keeps the value it was filled under and refills when the counter has moved.
#include <atomic>
#include <cstdint>

#include "norvik/environment/user_language.h"
#include "norvik/platform/notification_center.h"

namespace norvik::detail {

// The current value; starts at 1 and grows by one on every language-change notification. The
// observer is registered on first use and stays for the life of the process.
inline std::uint64_t languageGeneration() {
  static std::atomic<std::uint64_t> generation{1};
  static const platform::ObserverToken token =
      platform::NotificationCenter::defaultCenter().addObserver(
          NVUserLanguageDidChangeNotification, nullptr,
          [](const platform::Notification&) { generation.fetch_add(1); });
  (void)token;
  return generation.load();
}

}  // namespace norvik::detail
