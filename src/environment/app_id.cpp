// The installation identifier, kept by the settings manager.
#include <mutex>

#include "norvik/environment/app_constants.h"
#include "norvik/settings/registry.h"

namespace norvik {

std::string NVConstants::appID() {
  // Serialises the read-generate-store step so that concurrent first calls agree.
  static std::mutex lock;
  std::lock_guard guard(lock);
  NVUserDefaultManager& settings = NVUserDefaultManager::shared();
  if (auto stored = settings.appID(); stored && !stored->empty()) return *stored;
  std::string identifier = generate32UUID();
  settings.setAppID(identifier);
  return identifier;
}

}  // namespace norvik
