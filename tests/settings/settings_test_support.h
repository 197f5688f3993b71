#pragma once
// A fresh application-group container for each settings test, and the other process of the
// two-process tests.

#include <map>
#include <string>

#include "norvik/platform/environment.h"
#include "norvik/settings/defaults_cache.h"
#include "norvik/settings/typed_defaults.h"
#include "support/test_support.h"

namespace norvik::testing {

class SettingsTest : public ::testing::Test {
 protected:
  SettingsTest() : environment_(makeEnvironment(temp_)) {
    SVCustomUserDefaultsCacheManager::shared().clearCache();
  }
  static platform::Environment makeEnvironment(const TempDir& temp) {
    platform::Environment env = baseEnvironment();
    env.appGroupContainerDirectory = temp.path() + "/group";
    return env;
  }
  std::string container() const { return temp_.path() + "/group"; }
  platform::UserDefaults store() { return NVUserDefaults::shared().store(); }
  SVCustomUserDefaultsCacheManager& cache() { return SVCustomUserDefaultsCacheManager::shared(); }

  TempDir temp_;
  platform::ScopedEnvironment environment_;
};

}  // namespace norvik::testing
