// The device description sent with sign-in and other server requests.
#include "norvik/environment/app_constants.h"
#include "norvik/platform/format.h"
#include "norvik/platform/json.h"

namespace norvik {

std::string NVUtils::deviceInformationWithBuildVersionIncluded(
    bool buildVersionIncluded, std::optional<std::string_view> campaign) {
  auto environment = platform::currentEnvironment();
  const platform::DeviceInfo& device = environment->device;
  platform::Dictionary description;
  switch (NVCurrentDeviceType()) {
    case NVDeviceTypePhone:
      description.emplace(kDeviceInfoKey_platform, "ios_iphone");
      break;
    case NVDeviceTypePad:
      description.emplace(kDeviceInfoKey_platform, "ios_ipad");
      break;
    default:
      break;
  }
  description.emplace(kDeviceInfoKey_os,
                      platform::format("%@ %@", device.systemName, device.systemVersion));
  description.emplace(kDeviceInfoKey_name, urlEncoded(device.name));
  std::string model = device.modelIdentifier;
  for (char& c : model) {
    if (c == ',') c = '.';
  }
  description.emplace(kDeviceInfoKey_device, std::move(model));
  description.emplace(kDeviceInfoKey_id, NVConstants::appID());
  description.emplace(kDeviceInfoKey_channel, "app_store");
  if (campaign) description.emplace(kDeviceInfoKey_campaign, std::string(*campaign));
  std::string version = platform::format("%zd", NVConstants::bundleVersionInteger());
  if (buildVersionIncluded) {
    const auto build = NVConstants::buildVersionString();
    version += build ? platform::format("(%@)", *build) : platform::format("(%@)", nullptr);
  }
  description.emplace(kDeviceInfoKey_version, std::move(version));
  // Every member is a string, so the only failure left is text that is not UTF-8 (a device name
  // is percent-encoded, so only the system name, version or model could carry it).
  return platform::encodeJSON(platform::Value(std::move(description))).value_or("{}");
}

}  // namespace norvik
