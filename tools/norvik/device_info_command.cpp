// norvik device-info: the device description sent with sign-in and other server requests.
#include <iostream>
#include <optional>

#include "cli.h"
#include "norvik/environment/app_constants.h"
#include "norvik/platform/json.h"

namespace norvik::cli {
namespace {

struct DeviceInfoArgs {
  bool buildVersion = false;
  std::optional<std::string> campaign;
};

void addDeviceInfoCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<DeviceInfoArgs>();
  CLI::App* info = app.add_subcommand("device-info", "Print the device description as JSON");
  info->add_flag("--build-version", args->buildVersion,
                 "Follow the version integer with the build number");
  info->add_option("--campaign", args->campaign, "Campaign text to include");
  info->callback([&options, &run, args] {
    run = [&options, args] {
      std::optional<std::string_view> campaign;
      if (args->campaign) campaign = *args->campaign;
      const std::string description =
          NVUtils::deviceInformationWithBuildVersionIncluded(args->buildVersion, campaign);
      if (options.json) {
        auto value = platform::decodeJSON(description);
        printJSON({{"deviceInformationWithBuildVersionIncluded",
                    value ? toJSON(*value) : nlohmann::json(description)}});
      } else {
        std::cout << description << "\n";
      }
      return 0;
    };
  });
}

const CommandRegistration registration(addDeviceInfoCommand);

}  // namespace
}  // namespace norvik::cli
