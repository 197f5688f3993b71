// The main job of norvik with no arguments: this month, with the texts the library gives its days.
#include <iostream>

#include "cli.h"
#include "norvik/platform/environment.h"

namespace norvik::cli {

int runOverview(const GlobalOptions& options) {
  auto env = platform::currentEnvironment();
  if (options.json) {
    printJSON({{"timeZone", env->timeZoneIdentifier}, {"locale", env->localeIdentifier}});
  } else {
    std::cout << "Time zone: " << env->timeZoneIdentifier << "\nLocale: " << env->localeIdentifier
              << "\n";
  }
  return 0;
}

}  // namespace norvik::cli
