#include "norvik/platform/localized_string.h"

#include <atomic>
#include <exception>

#include "norvik/platform/bundle.h"
#include "platform/localized_lookup.h"

namespace norvik::detail {
namespace {
// Written once while the library loads, read by every lookup: atomic, no lock.
std::atomic<MainBundleLookup> installedLookup{nullptr};
}  // namespace

void setMainBundleLookup(MainBundleLookup lookup) noexcept {
  installedLookup.store(lookup, std::memory_order_release);
}

}  // namespace norvik::detail

namespace norvik::platform {

std::string localizedString(std::string_view key, std::string_view value, std::string_view table) {
  try {
    if (auto lookup = detail::installedLookup.load(std::memory_order_acquire)) {
      return lookup(key, value, table);
    }
    return Bundle::main()->localizedString(key, value, table);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::string specialLocalizedString(std::string_view key) {
  return localizedString(key, {}, kNVSpecialStringTable);
}

}  // namespace norvik::platform
