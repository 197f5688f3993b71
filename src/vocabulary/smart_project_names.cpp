// Display names of smart lists and inboxes, in the user's interface language.
#include <cctype>

#include "norvik/platform/localized_string.h"
#include "norvik/settings/registry.h"
#include "norvik/vocabulary/smart_projects.h"

namespace norvik {
namespace {

bool beginsWithInboxIgnoringCase(std::string_view identifier) {
  constexpr std::string_view kInbox = "inbox";
  if (identifier.size() < kInbox.size()) return false;
  for (std::size_t i = 0; i < kInbox.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(identifier[i])) != kInbox[i]) return false;
  }
  return true;
}

}  // namespace

std::string SmartProject::nameForSmartProjectID(std::string_view identifier) {
  if (identifier == kNVLocalInboxID ||
      identifier == NVUserDefaultManager::shared().currentInboxID() ||
      beginsWithInboxIgnoringCase(identifier)) {
    return platform::localizedString(kNVInboxProjectName);
  }
  for (const SmartProjectName& entry : nameTable()) {
    if (entry.identifier == identifier) return platform::localizedString(entry.displayKey);
  }
  return {};
}

}  // namespace norvik
