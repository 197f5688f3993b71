#pragma once
// Small facts about the running application and device: the installation's identifier, the main
// bundle's identifier and versions, the marketing version as one integer, the kind of device,
// whether the process is an extension, system-version comparisons, and the device description
// sent with sign-in and other server requests. The null-tolerant comparisons are in
// settings/copy_helpers.h, the cross-process message identifiers in
// environment/message_identifiers.h.
//
// Everything about the device is read from platform::currentEnvironment(); everything about the
// application from the main bundle's Info.plist. All functions may be called from any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/environment/message_identifiers.h"
#include "norvik/platform/environment.h"

namespace norvik {

// Settings key of the installation identifier.
inline constexpr std::string_view kNVAppIDKey = "app_id";

// Keys of the device description.
inline constexpr std::string_view kDeviceInfoKey_platform = "platform";
inline constexpr std::string_view kDeviceInfoKey_os = "os";
inline constexpr std::string_view kDeviceInfoKey_name = "name";
inline constexpr std::string_view kDeviceInfoKey_device = "device";
inline constexpr std::string_view kDeviceInfoKey_id = "id";
inline constexpr std::string_view kDeviceInfoKey_channel = "channel";
inline constexpr std::string_view kDeviceInfoKey_campaign = "campaign";
inline constexpr std::string_view kDeviceInfoKey_version = "version";

// The kind of device: 0 phone, 1 pad, 2 television, 3 car display, 5 anything else (an
// unspecified idiom, a desktop, a watch). Read from the environment's device idiom: "phone",
// "pad", "tv" and "carPlay" (also "car") name the first four; Linux leaves the idiom empty, so
// the type there is 5 unless NORVIK_DEVICE_IDIOM says otherwise.
using NVDeviceType = int;
inline constexpr NVDeviceType NVDeviceTypePhone = 0;
inline constexpr NVDeviceType NVDeviceTypePad = 1;
inline constexpr NVDeviceType NVDeviceTypeTV = 2;
inline constexpr NVDeviceType NVDeviceTypeCarPlay = 3;
inline constexpr NVDeviceType NVDeviceTypeOther = 5;

// Facts from the main bundle and the installation.
struct NVConstants {
  // The installation identifier: the settings manager's stored app identifier ("app_id"); when
  // none is stored (or it is empty), a new one from generate32UUID() is stored and returned. The
  // read-generate-store step runs under a lock, so concurrent first calls agree.
  static std::string appID();
  // Info.plist "CFBundleIdentifier"; std::nullopt when missing or not a string.
  static std::optional<std::string> bundleIdentifier();
  // Info.plist "CFBundleShortVersionString" (the marketing version, such as 6.3.1).
  static std::optional<std::string> bundleVersionString();
  // Info.plist "CFBundleVersion" (the build number).
  static std::optional<std::string> buildVersionString();
  // versionInteger(bundleVersionString()); 0 when the version is missing.
  static std::int64_t bundleVersionInteger();

  // A marketing version as one integer: every "." is removed, the leading decimal number of the
  // rest is read (leading blanks and a sign allowed; digits after the first non-digit ignored; no
  // digits gives 0; saturating at the 64-bit limits), and that number n with k decimal digits is
  // multiplied by 10^(4 - k), truncated. So 6.3.1 gives 6310, 6.3 gives 6300, 6.3.10 gives 6310
  // too (the collision is deliberate), 6 gives 6000, 6.3.1.25 gives 6312.
  static std::int64_t versionInteger(std::string_view marketingVersion);
};

NVDeviceType NVCurrentDeviceType();
bool NVCurrentDeviceIsiPhone();
bool NVCurrentDeviceIsiPad();
// Always false: there are no simulator builds of this library.
bool NVCurrentDeviceIsSimulator() noexcept;

// Whether the hardware model is a phone newer than the eighth generation: for a model identifier
// containing "iPhone", the text after its first six characters, cut at the first ",", read as an
// integer, is greater than 9 (iPhone10,1 yes, iPhone9,1 no). Any other model gives false.
bool isLaterThanIPhone8();

// The environment's system version compared with `version`, numerically part by part at the dots
// (so 10.0 is later than 9.3). A part's value is its leading decimal digits (0 when it has none);
// missing trailing parts count as 0, so 17 equals 17.0.
bool NVSystemVersionLaterThanVersion(std::string_view version);
bool NVSystemVersionLaterThanOrEqualToVersion(std::string_view version);
bool NVSystemVersionEqualToVersion(std::string_view version);
// The comparison behind the three above: negative, zero or positive as a is earlier than, equal
// to or later than b.
int compareVersionsNumerically(std::string_view a, std::string_view b) noexcept;

// Whether this process is an application extension: the environment says so (isAppExtension,
// NORVIK_APP_EXTENSION=1) or the main bundle's path ends with ".appex". Worked out on the first
// call and remembered for the life of the process.
bool IsAppExtension();

constexpr double DEGREE_TO_RADIAN(double degrees) noexcept {
  return degrees * 2.0 * 3.14159265358979323846 / 360.0;
}
constexpr double RADIAN_TO_DEGREE(double radians) noexcept {
  return radians * 57.29577951308232;
}

// A new random identifier: a version-4 UUID written as 32 lower-case hexadecimal digits without
// hyphens.
std::string generate32UUID();

// `text` percent-encoded for use in a URL: every byte of its UTF-8 form other than the unreserved
// characters A-Z a-z 0-9 - . _ ~ becomes %XX with upper-case digits.
std::string urlEncoded(std::string_view text);

struct NVUtils {
  // The device description as compact JSON text with the keys "platform" ("ios_iphone" for a
  // phone, "ios_ipad" for a pad, left out otherwise), "os" (system name and version), "name" (the
  // device name, urlEncoded), "device" (the model identifier with "," replaced by "."), "id"
  // (NVConstants::appID()), "channel" ("app_store"), "campaign" (left out when absent) and
  // "version" (bundleVersionInteger, followed by "(<build>)" when `buildVersionIncluded`; "(null)"
  // when the bundle has no build number). Keys come out sorted. "{}" when a text from the
  // environment is not valid UTF-8 and so has no JSON form.
  static std::string deviceInformationWithBuildVersionIncluded(
      bool buildVersionIncluded, std::optional<std::string_view> campaign);
};

}  // namespace norvik
