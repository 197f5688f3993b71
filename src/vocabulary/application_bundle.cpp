// Whether a text names the main application.
#include "norvik/platform/build_config.h"
#include "norvik/vocabulary/text_helpers.h"

namespace norvik {

bool isApplicationBundleID(std::string_view text) {
  return text == std::string(kNVReverseDomainPrefix) + ".taskcalendar";
}

}  // namespace norvik
