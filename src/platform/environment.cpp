#include "norvik/platform/environment.h"

#include <dlfcn.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>

namespace norvik::platform {
namespace {

std::string envVar(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::string(value) : std::string();
}

std::string homeDirectory() {
  std::string home = envVar("HOME");
  if (!home.empty()) return home;
  if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/";
}

// Languages commonly written in more than one script keep the script in their tag, as the platform
// writes them (zh-Hans-CN, zh-Hant-TW); for all others the script is implied and left out.
bool keepsScript(std::string_view language) {
  return language == "zh" || language == "sr" || language == "uz" || language == "az" ||
         language == "bs" || language == "pa" || language == "mn";
}

std::vector<std::string> preferredLanguagesFromProcess() {
  std::vector<std::string> result;
  auto add = [&](const std::string& tag) {
    if (tag.empty()) return;
    for (const auto& existing : result)
      if (existing == tag) return;
    result.push_back(tag);
  };
  // LANGUAGE is a colon-separated priority list; it is honoured only when a locale is set at all.
  std::string primary = envVar("LC_ALL");
  if (primary.empty()) primary = envVar("LC_MESSAGES");
  if (primary.empty()) primary = envVar("LANG");
  std::string language = envVar("LANGUAGE");
  if (!language.empty() && !primary.empty() && primary != "C" && primary != "POSIX") {
    std::size_t start = 0;
    while (start <= language.size()) {
      std::size_t end = language.find(':', start);
      if (end == std::string::npos) end = language.size();
      add(languageTagFromPosixLocale(std::string_view(language).substr(start, end - start)));
      start = end + 1;
    }
  }
  add(languageTagFromPosixLocale(primary));
  if (result.empty()) result.push_back("en-US");
  return result;
}

std::string localeIdentifierFromProcess() {
  for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
    std::string value = envVar(name);
    if (value.empty()) continue;
    std::string tag = languageTagFromPosixLocale(value);
    if (tag.empty()) return "en_US";
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale = icu::Locale::forLanguageTag(tag, status);
    if (U_FAILURE(status) || locale.isBogus()) return "en_US";
    std::string id = locale.getLanguage();
    if (*locale.getScript()) id += std::string("_") + locale.getScript();
    if (*locale.getCountry()) id += std::string("_") + locale.getCountry();
    return id;
  }
  return "en_US";
}

bool isKnownTimeZone(const std::string& name) {
  icu::UnicodeString canonical;
  UErrorCode status = U_ZERO_ERROR;
  icu::TimeZone::getCanonicalID(icu::UnicodeString::fromUTF8(name), canonical, status);
  return U_SUCCESS(status) && canonical != UNICODE_STRING_SIMPLE("Etc/Unknown");
}

std::string timeZoneFromProcess() {
  std::string tz = envVar("TZ");
  if (!tz.empty() && tz.front() == ':') tz.erase(0, 1);
  if (!tz.empty() && isKnownTimeZone(tz)) return tz;
  // The host's zone (ICU reads /etc/localtime and /etc/timezone; it may also echo an unknown TZ).
  std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
  if (host) {
    icu::UnicodeString id;
    host->getID(id);
    std::string out;
    id.toUTF8String(out);
    if (isKnownTimeZone(out)) return out;
  }
  return "UTC";
}

std::string osReleaseField(const std::string& text, std::string_view field) {
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string_view line(text.data() + pos, end - pos);
    if (line.size() > field.size() && line.substr(0, field.size()) == field &&
        line[field.size()] == '=') {
      std::string_view value = line.substr(field.size() + 1);
      if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
          value.back() == value.front()) {
        value = value.substr(1, value.size() - 2);
      }
      return std::string(value);
    }
    pos = end + 1;
  }
  return {};
}

DeviceInfo deviceFromProcess() {
  DeviceInfo device;
  utsname names{};
  if (uname(&names) == 0) {
    device.modelIdentifier = names.machine;
    device.systemName = names.sysname;
    device.systemVersion = names.release;
  }
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    std::ifstream in(path);
    if (!in) continue;
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (auto name = osReleaseField(text, "NAME"); !name.empty()) device.systemName = name;
    if (auto version = osReleaseField(text, "VERSION_ID"); !version.empty())
      device.systemVersion = version;
    break;
  }
  char host[256] = {};
  if (gethostname(host, sizeof host - 1) == 0) device.name = host;
  device.idiom = envVar("NORVIK_DEVICE_IDIOM");
  return device;
}

std::string executableDirectory() {
  std::error_code ec;
  auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec) return {};
  return exe.parent_path().string();
}

// The main bundle installed with this library: <prefix>/share/norvik/MainBundle, for the library
// in <prefix>/lib, <prefix>/lib/<multiarch> or, linked statically, in a program in <prefix>/bin.
// Empty when there is none.
std::string mainBundleBesideLibrary() {
#ifdef NORVIK_INSTALL_DATADIR_REL
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&executableDirectory), &info) == 0 ||
      info.dli_fname == nullptr) {
    return {};
  }
  std::error_code error;
  std::filesystem::path dir =
      std::filesystem::weakly_canonical(std::filesystem::path(info.dli_fname), error).parent_path();
  for (int up = 0; up < 3 && !dir.empty() && dir != dir.root_path(); ++up) {
    dir = dir.parent_path();
    const std::filesystem::path candidate = dir / NORVIK_INSTALL_DATADIR_REL / "MainBundle";
    if (std::filesystem::is_directory(candidate, error)) return candidate.string();
  }
#endif
  return {};
}

// NORVIK_MAIN_BUNDLE, else the share directory beside the running program, else the one installed
// with the library (a program linked against the installed library lives anywhere). When none
// exists, the path beside the program, which Bundle::main() reports as missing.
std::string mainBundleFromProcess() {
  std::string path = envVar("NORVIK_MAIN_BUNDLE");
  if (!path.empty()) return path;
  std::string dir = executableDirectory();
#ifdef NORVIK_INSTALL_DATADIR_REL
  if (!dir.empty()) {
    auto candidate =
        std::filesystem::path(dir).parent_path() / NORVIK_INSTALL_DATADIR_REL / "MainBundle";
    std::error_code error;
    if (std::filesystem::is_directory(candidate, error))
      return candidate.lexically_normal().string();
    if (std::string installed = mainBundleBesideLibrary(); !installed.empty()) return installed;
    return candidate.lexically_normal().string();
  }
#endif
  return dir;
}

std::string appGroupContainerFromProcess() {
  std::string dir = envVar("NORVIK_APP_GROUP_DIR");
  if (!dir.empty()) return dir;
  std::string dataHome = envVar("XDG_DATA_HOME");
  if (dataHome.empty() || dataHome.front() != '/') dataHome = homeDirectory() + "/.local/share";
  return dataHome + "/" + std::string(kNVAppGroupIdentifier);
}

std::string documentsFromProcess() {
  std::string dir = envVar("XDG_DOCUMENTS_DIR");
  if (!dir.empty() && dir.front() == '/') return dir;
  return homeDirectory() + "/Documents";
}

struct State {
  std::mutex mutex;
  std::shared_ptr<const Environment> current;  // guarded by mutex
  std::atomic<std::uint64_t> generation{0};
};

State& state() {
  static State s;
  return s;
}

}  // namespace

double systemClockSeconds() {
  auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

Date Date::now() {
  return Date(currentEnvironment()->nowSeconds());
}

double Environment::nowSeconds() const {
  return clock ? clock() : systemClockSeconds();
}

std::string languageTagFromPosixLocale(std::string_view posixName) {
  std::string name(posixName);
  // Drop the code set and keep a script modifier: "sr_RS.UTF-8@latin" -> "sr_RS", modifier latin.
  std::string modifier;
  if (auto at = name.find('@'); at != std::string::npos) {
    modifier = name.substr(at + 1);
    name.erase(at);
  }
  if (auto dot = name.find('.'); dot != std::string::npos) name.erase(dot);
  if (name.empty() || name == "C" || name == "POSIX") return {};
  for (char c : name) {
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '_' || c == '-';
    if (!ok) return {};
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale(name.c_str());
  if (locale.isBogus() || !*locale.getLanguage()) return {};
  std::string language = locale.getLanguage();
  std::string script = locale.getScript();
  std::string region = locale.getCountry();
  if (script.empty()) {
    if (modifier == "latin") {
      script = "Latn";
    } else if (modifier == "cyrillic") {
      script = "Cyrl";
    } else if (keepsScript(language)) {
      icu::Locale maximal = locale;
      maximal.addLikelySubtags(status);
      if (U_SUCCESS(status)) script = maximal.getScript();
    }
  }
  std::string tag = language;
  if (!script.empty()) tag += "-" + script;
  if (!region.empty()) tag += "-" + region;
  return tag;
}

Environment Environment::fromProcess() {
  Environment env;
  env.preferredLanguages = preferredLanguagesFromProcess();
  env.localeIdentifier = localeIdentifierFromProcess();
  env.timeZoneIdentifier = timeZoneFromProcess();
  env.device = deviceFromProcess();
  env.appGroupContainerDirectory = appGroupContainerFromProcess();
  env.mainBundlePath = mainBundleFromProcess();
  env.documentsDirectory = documentsFromProcess();
  std::string clock24 = envVar("NORVIK_USES_24_HOUR_CLOCK");
  if (clock24 == "1") env.uses24HourClock = true;
  if (clock24 == "0") env.uses24HourClock = false;
  env.isAppExtension = envVar("NORVIK_APP_EXTENSION") == "1";
  return env;
}

std::shared_ptr<const Environment> currentEnvironment() {
  State& s = state();
  std::lock_guard lock(s.mutex);
  if (!s.current) s.current = std::make_shared<const Environment>(Environment::fromProcess());
  return s.current;
}

void setEnvironment(Environment environment) {
  auto next = std::make_shared<const Environment>(std::move(environment));
  State& s = state();
  std::lock_guard lock(s.mutex);
  s.current = std::move(next);
  s.generation.fetch_add(1, std::memory_order_acq_rel);
}

void modifyEnvironment(const std::function<void(Environment&)>& change) {
  State& s = state();
  std::lock_guard lock(s.mutex);
  Environment copy = s.current ? *s.current : Environment::fromProcess();
  change(copy);
  s.current = std::make_shared<const Environment>(std::move(copy));
  s.generation.fetch_add(1, std::memory_order_acq_rel);
}

std::uint64_t environmentGeneration() {
  return state().generation.load(std::memory_order_acquire);
}

ScopedEnvironment::ScopedEnvironment(Environment environment) : previous_(currentEnvironment()) {
  setEnvironment(std::move(environment));
}

ScopedEnvironment::~ScopedEnvironment() {
  setEnvironment(*previous_);
}

}  // namespace norvik::platform
