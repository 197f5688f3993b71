#pragma once
// Bundles: a directory with an `Info.plist` and localized resources in `<code>.lproj` folders,
// notably the string tables `<code>.lproj/<table>.strings` (see strings_table.h).
//
//   MainBundle/
//     Info.plist                 CFBundleIdentifier, CFBundleDevelopmentRegion, ...
//     SolarTerms.plist           a resource shared by all languages
//     en.lproj/Localizable.strings
//     de.lproj/Localizable.strings
//     zh-Hans.lproj/Special.strings
//
// Bundle objects are created once per directory and live for the rest of the process. All member
// functions may be called from any thread.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/value.h"

namespace norvik::detail {
class BundleImpl;
struct BundleAccess;
}  // namespace norvik::detail

namespace norvik::platform {

class Bundle {
 public:
  // The bundle of the directory at `path`, or a null pointer when no such directory exists. The
  // same object is returned for every spelling of the same directory (symbolic links, "..", a
  // trailing slash) for the life of the process; what it has read once (Info.plist, the list of
  // localizations, tables) is not read again.
  static std::shared_ptr<Bundle> atPath(std::string_view path);

  // The bundle at the current environment's mainBundlePath; it changes when the environment does.
  // Never null: when that directory does not exist the bundle has no resources, no info dictionary,
  // and its localized strings are the given values or keys. The directory is looked for once per
  // environment, and a missing one is reported once in the log (a warning naming the path).
  static std::shared_ptr<Bundle> main();

  // Makes `path` the main bundle's directory from now on (the environment's mainBundlePath), for a
  // host that keeps its translations elsewhere than NORVIK_MAIN_BUNDLE or the installed share
  // directory.
  static void setMainBundlePath(std::string_view path);

  // The absolute path of the bundle's directory (canonical, for bundles made by atPath).
  const std::string& bundlePath() const;

  // The contents of Info.plist; empty when the file is missing, malformed or not a dictionary.
  // Read once, on first use.
  const Dictionary& infoDictionary() const;
  // The Info.plist entry for `key`; std::nullopt when absent.
  std::optional<Value> objectForInfoDictionaryKey(std::string_view key) const;
  // Info.plist "CFBundleIdentifier" when it is a string, else std::nullopt.
  std::optional<std::string> bundleIdentifier() const;
  // Info.plist "CFBundleDevelopmentRegion" when it is a string, else std::nullopt.
  std::optional<std::string> developmentLocalization() const;

  // The codes of the `<code>.lproj` folders present ("Base", "de", "zh-Hans", ...), sorted. Folders
  // whose code contains anything but letters, digits, '-' and '_' are ignored. Read once.
  std::vector<std::string> localizations() const;

  // The localization this bundle uses for the environment's preferred languages (one element), or
  // an empty list when the bundle has no localizations. Follows changes of the environment.
  std::vector<std::string> preferredLocalizations() const;

  // Chooses among `localizations` (folder codes) for the language tags `preferences`, most
  // preferred first. For each preferred tag in turn it tries the tag itself, then shorter forms
  // ("zh-Hans-CN", "zh-Hans", "zh-CN", "zh"; "pt-BR", "pt"), then the forms with the likely script
  // ("zh-TW" finds "zh-Hant"), matching folder names without regard to case or '-' versus '_'
  // ("zh_CN"), and legacy English names ("English", "German", ...); then any folder of the same
  // language and script ("pt-PT" finds "pt-BR"). When no tag matches: `developmentRegion`, else
  // "en", else the first localization other than "Base". Codes that are not valid folder names
  // (isValidLocalizationCode) are ignored. Returns one code, or an empty list when no valid code
  // is offered.
  static std::vector<std::string> preferredLocalizationsFromArray(
      const std::vector<std::string>& localizations, const std::vector<std::string>& preferences,
      std::string_view developmentRegion = "");

  // Path of the file or directory `name`.`type` (no dot when `type` is empty; a leading dot in
  // `type` is ignored) in the bundle's root, else in the preferred localization's folder, else in
  // the development localization's folder. With `inDirectory`, the same inside that subdirectory
  // ("Sounds/a.caf", then "de.lproj/Sounds/a.caf"). std::nullopt when nothing exists there, when
  // `name` is empty, or when a name, type or directory would lead outside the bundle ("..", "/",
  // an absolute directory).
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const;
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type,
                                             std::string_view inDirectory) const;

  // The translation of `key` in table `table` ("Localizable" when empty) of the preferred
  // localization; when that localization has no such table file, the table of the same name at the
  // bundle's root is used (so that a bundle made from a `<code>.lproj` folder finds its own
  // tables). A missing key gives `value` when it is not empty, else the key. A missing or invalid
  // table behaves as an empty one; a malformed table keeps the entries before its first error.
  // Tables are read once and then served from memory.
  std::string localizedString(std::string_view key, std::string_view value = {},
                              std::string_view table = {}) const;

  // The same lookup in the table of one localization, `<localization>.lproj/<table>.strings`,
  // without the root fallback. An invalid code behaves as a missing table.
  std::string localizedString(std::string_view key, std::string_view value, std::string_view table,
                              std::string_view localization) const;

  // The bundle made of this bundle's `<code>.lproj` folder (for its tables, looked up at that
  // folder's root), or a null pointer when the code is invalid or the folder is missing. The same
  // as atPath of pathForResource(code, "lproj") when that path is a folder at the bundle's root.
  std::shared_ptr<Bundle> bundleForLocalization(std::string_view code) const;

  // Whether `code` may name a `.lproj` folder: 1 to 64 letters, digits, '-' or '_'.
  static bool isValidLocalizationCode(std::string_view code);

  ~Bundle();
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  // Only for the factories above (std::make_shared needs a public constructor).
  explicit Bundle(std::unique_ptr<detail::BundleImpl> impl);

 private:
  friend struct detail::BundleAccess;
  std::unique_ptr<detail::BundleImpl> impl_;
};

}  // namespace norvik::platform
