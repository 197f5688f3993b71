#pragma once
// The process's view of the operating system: languages, locale, time zone, clock, device, and the
// directories the library works in. Everything the library would ask the system for is read through
// the current Environment, so that tests and the command-line program can replace it as a whole or
// field by field.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"

namespace norvik {

// Identifier of the application group whose container the application's processes share.
inline constexpr std::string_view kNVAppGroupIdentifier = "group.app.norvik.taskcalendar";

}  // namespace norvik

namespace norvik::platform {

// Mobile network information; Linux has no telephony service, so a process environment has none.
struct CarrierInfo {
  std::string carrierName;
  std::string mobileCountryCode;
  std::string mobileNetworkCode;
  std::string isoCountryCode;
};

struct DeviceInfo {
  std::string idiom;            // "phone", "pad", "watch", ...; empty when unspecified
  std::string modelIdentifier;  // hardware identifier, uname's machine on Linux ("x86_64")
  std::string systemName;       // os-release NAME, else uname's sysname
  std::string systemVersion;    // os-release VERSION_ID, else uname's release
  std::string name;             // the host name
};

struct Environment {
  // User's preferred languages as language tags, most preferred first ("zh-Hans-CN", "en-US").
  std::vector<std::string> preferredLanguages;
  // The current locale in ICU form ("en_US", "zh_CN"); the formatting locale of the system.
  std::string localeIdentifier;
  // An Olson time-zone identifier ("Europe/Berlin").
  std::string timeZoneIdentifier;
  // Seconds since 1970; empty means the system clock.
  std::function<double()> clock;
  std::optional<CarrierInfo> carrier;
  DeviceInfo device;
  // The container directory of kNVAppGroupIdentifier; empty when the group is not available.
  std::string appGroupContainerDirectory;
  // Directory of the main bundle (Info.plist and the .lproj string tables).
  std::string mainBundlePath;
  // The user's documents directory.
  std::string documentsDirectory;
  // Overrides the 24-hour preference that is otherwise taken from the locale's hour cycle.
  std::optional<bool> uses24HourClock;
  // Whether this process runs as an application extension (a widget, a share extension, ...).
  bool isAppExtension = false;

  // Reads everything from the running process: LANGUAGE, LC_ALL, LC_MESSAGES, LANG, TZ, uname,
  // os-release, the host name, NORVIK_APP_GROUP_DIR (else $XDG_DATA_HOME/<group identifier>),
  // NORVIK_MAIN_BUNDLE (else the share directory beside the running program), XDG_DOCUMENTS_DIR,
  // NORVIK_USES_24_HOUR_CLOCK ("0"/"1") and NORVIK_APP_EXTENSION ("1").
  static Environment fromProcess();

  // The current time from `clock`, or from the system clock when none is set.
  double nowSeconds() const;
};

// Turns a POSIX locale name ("zh_CN.UTF-8", "sr_RS@latin", "de") into the language tag the platform
// writes ("zh-Hans-CN", "sr-Latn-RS", "de"). Returns an empty string for "C", "POSIX" and malformed
// names.
std::string languageTagFromPosixLocale(std::string_view posixName);

// The environment in force, created from the process on first use. The snapshot stays valid and
// unchanged while the caller holds it, even if the environment is replaced meanwhile.
std::shared_ptr<const Environment> currentEnvironment();

// Replaces the whole environment.
void setEnvironment(Environment environment);

// Changes some fields of the current environment in one atomic step.
void modifyEnvironment(const std::function<void(Environment&)>& change);

// Grows by one on every replacement or modification, so that caches can tell when to rebuild.
std::uint64_t environmentGeneration();

// Installs an environment for the lifetime of the object and restores the previous one after it.
class ScopedEnvironment {
 public:
  explicit ScopedEnvironment(Environment environment);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::shared_ptr<const Environment> previous_;
};

}  // namespace norvik::platform
