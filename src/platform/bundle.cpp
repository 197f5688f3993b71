#include "norvik/platform/bundle.h"

#include <unicode/locid.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "norvik/platform/environment.h"
#include "norvik/platform/logger.h"
#include "norvik/platform/property_list.h"
#include "norvik/platform/strings_table.h"
#include "platform/bundle_access.h"

namespace fs = std::filesystem;

namespace norvik::detail {
namespace {

constexpr std::string_view kDefaultTable = "Localizable";
constexpr std::string_view kLprojSuffix = ".lproj";

std::string normalizedTag(std::string_view tag) {
  std::string out(tag);
  for (char& c : out) {
    if (c == '_') c = '-';
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

// Folder names that older bundles used instead of language codes.
std::string_view legacyFolderLanguage(std::string_view normalized) {
  static constexpr std::pair<std::string_view, std::string_view> kLegacy[] = {
      {"english", "en"}, {"french", "fr"},  {"german", "de"}, {"japanese", "ja"},
      {"spanish", "es"}, {"italian", "it"}, {"dutch", "nl"},
  };
  for (const auto& [name, code] : kLegacy) {
    if (normalized == name) return code;
  }
  return {};
}

struct LikelySubtags {
  std::string language;  // lower case; empty when the tag is not understood
  std::string script;    // lower case
  std::string region;    // lower case
};

LikelySubtags likelySubtags(std::string_view normalized) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = icu::Locale::forLanguageTag(normalized, status);
  if (U_FAILURE(status) || locale.isBogus()) return {};
  locale.addLikelySubtags(status);
  if (U_FAILURE(status)) return {};
  return {normalizedTag(locale.getLanguage()), normalizedTag(locale.getScript()),
          normalizedTag(locale.getCountry())};
}

// The folder names to try for one preferred language tag, best first: the tag, its shorter forms,
// the forms with the likely script and region, and the bare language.
std::vector<std::string> candidateTags(std::string_view tag, const LikelySubtags& likely) {
  const std::string full = normalizedTag(tag);
  std::vector<std::string> out;
  auto add = [&](std::string candidate) {
    if (!candidate.empty() && std::find(out.begin(), out.end(), candidate) == out.end()) {
      out.push_back(std::move(candidate));
    }
  };
  add(full);
  for (std::string shorter = full; shorter.find('-') != std::string::npos;) {
    shorter.resize(shorter.rfind('-'));
    if (shorter.find('-') != std::string::npos) add(shorter);
  }
  if (!likely.language.empty()) {
    const std::string& l = likely.language;
    if (!likely.script.empty() && !likely.region.empty()) {
      add(l + "-" + likely.script + "-" + likely.region);
    }
    if (!likely.script.empty()) add(l + "-" + likely.script);
    if (!likely.region.empty()) add(l + "-" + likely.region);
  }
  add(full.substr(0, full.find('-')));
  return out;
}

// The localizations of a bundle, arranged for matching against language tags.
class LocalizationIndex {
 public:
  explicit LocalizationIndex(std::vector<std::string> codes) : codes_(std::move(codes)) {
    std::sort(codes_.begin(), codes_.end());
    for (const std::string& code : codes_) byName_.emplace(normalizedTag(code), code);
    for (const std::string& code : codes_) {
      const std::string_view legacy = legacyFolderLanguage(normalizedTag(code));
      if (!legacy.empty()) byName_.emplace(std::string(legacy), code);
    }
  }

  const std::vector<std::string>& codes() const { return codes_; }

  std::optional<std::string> choose(const std::vector<std::string>& preferences,
                                    std::string_view developmentRegion) const {
    if (codes_.empty()) return std::nullopt;
    for (const std::string& tag : preferences) {
      if (auto match = matchTag(tag)) return match;
    }
    if (!developmentRegion.empty()) {
      if (auto match = matchTag(developmentRegion)) return match;
    }
    if (auto it = byName_.find("en"); it != byName_.end()) return it->second;
    for (const std::string& code : codes_) {
      if (normalizedTag(code) != "base") return code;
    }
    return codes_.front();
  }

 private:
  std::optional<std::string> matchTag(std::string_view tag) const {
    const LikelySubtags likely = likelySubtags(normalizedTag(tag));
    for (const std::string& candidate : candidateTags(tag, likely)) {
      if (auto it = byName_.find(candidate); it != byName_.end()) return it->second;
    }
    // Any folder of the same language and script: "pt-PT" takes "pt-BR" rather than nothing,
    // while "zh-Hant" never takes "zh-Hans".
    if (likely.language.empty()) return std::nullopt;
    for (const std::string& code : codes_) {
      const std::string normalized = normalizedTag(code);
      const std::string_view legacy = legacyFolderLanguage(normalized);
      const LikelySubtags other = likelySubtags(legacy.empty() ? normalized : legacy);
      if (other.language == likely.language && other.script == likely.script) return code;
    }
    return std::nullopt;
  }

  std::vector<std::string> codes_;                       // sorted folder codes
  std::unordered_map<std::string, std::string> byName_;  // normalized name -> folder code
};

bool isValidFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

// A relative directory inside the bundle without "." and empty parts; std::nullopt when it is
// absolute or climbs out with "..".
std::optional<std::string> cleanSubdirectory(std::string_view directory) {
  if (directory.empty()) return std::string();
  if (directory.front() == '/' || directory.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  std::string out;
  std::size_t start = 0;
  while (start <= directory.size()) {
    std::size_t end = directory.find('/', start);
    if (end == std::string_view::npos) end = directory.size();
    const std::string_view part = directory.substr(start, end - start);
    if (part == "..") return std::nullopt;
    if (!part.empty() && part != ".") {
      if (!out.empty()) out.push_back('/');
      out.append(part);
    }
    start = end + 1;
  }
  return out;
}

struct TableSlot {
  std::once_flag once;
  bool present = false;  // whether the table file exists
  platform::StringsTable table;
  // The table's entries by key, hashed (views into `table`, which is not changed once read).
  std::unordered_map<std::string_view, const std::string*> byKey;

  const std::string* find(std::string_view key) const {
    auto it = byKey.find(key);
    return it == byKey.end() ? nullptr : it->second;
  }
};

// A distinct number for every bundle object ever made, so that a thread's cached resolution can
// never be taken for another bundle's.
std::atomic<std::uint64_t> nextBundleSerial{1};

}  // namespace

class BundleImpl {
 public:
  explicit BundleImpl(std::string root)
      : root_(std::move(root)), serial_(nextBundleSerial.fetch_add(1, std::memory_order_relaxed)) {}

  const std::string& root() const { return root_; }

  const platform::Dictionary& info() {
    std::call_once(infoOnce_, [this] {
      if (auto value = platform::readPropertyListFile(root_ + "/Info.plist")) {
        if (const platform::Dictionary* dictionary = value->dictionary()) info_ = *dictionary;
      }
      if (auto it = info_.find("CFBundleDevelopmentRegion"); it != info_.end()) {
        if (const std::string* region = it->second.string()) developmentRegion_ = *region;
      }
    });
    return info_;
  }

  const std::string& developmentRegion() {
    info();
    return developmentRegion_;
  }

  const LocalizationIndex& index() {
    std::call_once(indexOnce_, [this] {
      std::vector<std::string> codes;
      std::error_code ec;
      for (fs::directory_iterator it(root_, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() <= kLprojSuffix.size() || !name.ends_with(kLprojSuffix)) continue;
        std::error_code typeError;
        if (!it->is_directory(typeError)) continue;
        std::string code = name.substr(0, name.size() - kLprojSuffix.size());
        if (platform::Bundle::isValidLocalizationCode(code)) codes.push_back(std::move(code));
      }
      index_.emplace(std::move(codes));
    });
    return *index_;
  }

  // The folder of the development localization (else "en", else the first), found once.
  const std::optional<std::string>& developmentFolder() {
    std::call_once(developmentOnce_,
                   [this] { developmentFolder_ = index().choose({}, developmentRegion()); });
    return developmentFolder_;
  }

  // The localization chosen for the current environment, recomputed when the environment changes.
  std::optional<std::string> selectedLocalization() {
    const std::uint64_t generation = platform::environmentGeneration();
    {
      std::shared_lock lock(selectionMutex_);
      if (selectionValid_ && selectionGeneration_ == generation) return selection_;
    }
    const auto environment = platform::currentEnvironment();
    std::optional<std::string> choice =
        index().choose(environment->preferredLanguages, developmentRegion());
    std::unique_lock lock(selectionMutex_);
    selectionValid_ = true;
    selectionGeneration_ = generation;
    selection_ = choice;
    return choice;
  }

  // The table `table` of `localization` ("" for the bundle's root), read on first use.
  const TableSlot& tableSlot(std::string_view localization, std::string_view table) {
    TableSlot* slot = nullptr;
    {
      std::shared_lock lock(tablesMutex_);
      slot = findSlot(localization, table);
    }
    if (slot == nullptr) {
      std::unique_lock lock(tablesMutex_);
      slot = findSlot(localization, table);
      if (slot == nullptr) {
        auto& perLocalization = tables_[std::string(localization)];
        slot = perLocalization.emplace(std::string(table), std::make_unique<TableSlot>())
                   .first->second.get();
      }
    }
    std::call_once(slot->once, [&] {
      std::string path = root_ + "/";
      if (!localization.empty()) path.append(localization).append(kLprojSuffix).append("/");
      path.append(table).append(".strings");
      std::error_code ec;
      slot->present = fs::is_regular_file(path, ec);
      if (slot->present) slot->table = platform::readStringsTableFile(path);
      slot->byKey.reserve(slot->table.entries.size());
      for (const auto& [key, text] : slot->table.entries) slot->byKey.emplace(key, &text);
    });
    return *slot;
  }

  // The slot that lookups in `table` read for the current environment: the selected
  // localization's table when it exists, else the bundle root's. Each thread remembers its last
  // few answers until the environment changes (a new environment may select another
  // localization); slots are never removed, so a remembered pointer stays valid.
  const TableSlot& lookupSlot(std::string_view table) {
    struct Resolved {
      std::uint64_t bundle = 0;  // serial_ of the bundle; 0 for an empty entry
      std::uint64_t generation = 0;
      std::string table;
      const TableSlot* slot = nullptr;
    };
    thread_local std::array<Resolved, 4> resolved;
    thread_local std::size_t next = 0;
    const std::uint64_t generation = platform::environmentGeneration();
    for (const Resolved& entry : resolved) {
      if (entry.bundle == serial_ && entry.generation == generation && entry.table == table) {
        return *entry.slot;
      }
    }
    const TableSlot* slot = nullptr;
    if (const auto selected = selectedLocalization()) {
      const TableSlot& candidate = tableSlot(*selected, table);
      if (candidate.present) slot = &candidate;
    }
    if (slot == nullptr) slot = &tableSlot({}, table);
    Resolved& entry = resolved[next];
    next = (next + 1) % resolved.size();
    entry.bundle = serial_;
    entry.generation = generation;
    entry.table.assign(table);
    entry.slot = slot;
    return *slot;
  }

 private:
  TableSlot* findSlot(std::string_view localization, std::string_view table) const {
    auto outer = tables_.find(localization);
    if (outer == tables_.end()) return nullptr;
    auto inner = outer->second.find(table);
    return inner == outer->second.end() ? nullptr : inner->second.get();
  }

  const std::string root_;
  const std::uint64_t serial_;

  std::once_flag infoOnce_;
  platform::Dictionary info_;
  std::string developmentRegion_;

  std::once_flag indexOnce_;
  std::optional<LocalizationIndex> index_;

  std::once_flag developmentOnce_;
  std::optional<std::string> developmentFolder_;

  // The selection is guarded by selectionMutex_ and the table map by tablesMutex_; a slot, once in
  // the map, is never removed or moved, and its contents are written once under its once_flag.
  std::shared_mutex selectionMutex_;
  bool selectionValid_ = false;
  std::uint64_t selectionGeneration_ = 0;
  std::optional<std::string> selection_;

  std::shared_mutex tablesMutex_;
  std::map<std::string, std::map<std::string, std::unique_ptr<TableSlot>, std::less<>>, std::less<>>
      tables_;
};

namespace {

std::string lookup(const TableSlot& slot, std::string_view key, std::string_view value) {
  if (const std::string* found = slot.find(key)) return *found;
  return std::string(value.empty() ? key : value);
}

// Every bundle made by atPath, by canonical path, for the life of the process; guarded by its
// mutex.
struct BundleRegistry {
  std::mutex mutex;
  std::unordered_map<std::string, std::shared_ptr<platform::Bundle>> bundles;
};

BundleRegistry& registry() {
  static BundleRegistry instance;
  return instance;
}

// The main bundle for the environment generation it was made for; guarded by its mutex.
struct MainBundleCache {
  std::shared_mutex mutex;
  bool valid = false;
  bool missing = false;
  std::uint64_t generation = 0;
  std::string path;
  std::string reportedMissing;  // the last missing path reported in the log
  std::shared_ptr<platform::Bundle> bundle;
};

MainBundleCache& mainBundleCache() {
  static MainBundleCache instance;
  return instance;
}

}  // namespace
}  // namespace norvik::detail

namespace norvik::platform {

Bundle::Bundle(std::unique_ptr<detail::BundleImpl> impl) : impl_(std::move(impl)) {}
Bundle::~Bundle() = default;

std::shared_ptr<Bundle> Bundle::atPath(std::string_view path) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return nullptr;
  try {
    std::error_code ec;
    const fs::path canonical = fs::canonical(fs::path(path), ec);
    if (ec) return nullptr;
    if (!fs::is_directory(canonical, ec)) return nullptr;

    auto& reg = detail::registry();
    std::lock_guard lock(reg.mutex);
    auto& bundle = reg.bundles[canonical.string()];
    if (!bundle) {
      bundle = std::make_shared<Bundle>(std::make_unique<detail::BundleImpl>(canonical.string()));
    }
    return bundle;
  } catch (const std::exception&) {
    return nullptr;
  }
}

std::shared_ptr<Bundle> Bundle::main() {
  // Each thread remembers the bundle of an environment generation; the process looks for the
  // directory once per generation, and a missing one is reported once per path.
  struct Remembered {
    std::uint64_t generation = 0;
    std::shared_ptr<Bundle> bundle;
  };
  thread_local Remembered remembered;
  const std::uint64_t generation = environmentGeneration();
  if (remembered.bundle && remembered.generation == generation) return remembered.bundle;
  auto& cache = detail::mainBundleCache();
  {
    std::shared_lock lock(cache.mutex);
    if (cache.valid && cache.generation == generation) {
      remembered = Remembered{generation, cache.bundle};
      return cache.bundle;
    }
  }
  const std::string path = currentEnvironment()->mainBundlePath;
  std::shared_ptr<Bundle> found = atPath(path);
  bool report = false;
  std::shared_ptr<Bundle> result;
  {
    std::unique_lock lock(cache.mutex);
    try {
      if (found) {
        cache.missing = false;
        cache.bundle = std::move(found);
      } else if (!(cache.valid && cache.missing && cache.path == path)) {
        // A stand-in without resources: its texts are the given values or keys.
        cache.missing = true;
        cache.bundle = std::make_shared<Bundle>(std::make_unique<detail::BundleImpl>(path));
        report = cache.reportedMissing != path;
        cache.reportedMissing = path;
      }
      cache.valid = true;
      cache.generation = generation;
      cache.path = path;
    } catch (const std::exception&) {
      // Out of memory: keep the previous bundle.
    }
    result = cache.bundle;
  }
  if (report) {
    SVLoggerObjcWrapper::logWarning(
        "no main bundle at \"" + path +
            "\": texts stay in English; set NORVIK_MAIN_BUNDLE or Bundle::setMainBundlePath()",
        __FILE__, __func__, __LINE__);
  }
  remembered = Remembered{generation, result};
  return result;
}

void Bundle::setMainBundlePath(std::string_view path) {
  const std::string copy(path);
  modifyEnvironment([&copy](Environment& environment) { environment.mainBundlePath = copy; });
}

const std::string& Bundle::bundlePath() const {
  return impl_->root();
}

const Dictionary& Bundle::infoDictionary() const {
  return impl_->info();
}

std::optional<Value> Bundle::objectForInfoDictionaryKey(std::string_view key) const {
  const Dictionary& info = impl_->info();
  auto it = info.find(key);
  if (it == info.end()) return std::nullopt;
  return it->second;
}

std::optional<std::string> Bundle::bundleIdentifier() const {
  auto value = objectForInfoDictionaryKey("CFBundleIdentifier");
  if (!value || !value->isString()) return std::nullopt;
  return *value->string();
}

std::optional<std::string> Bundle::developmentLocalization() const {
  const std::string& region = impl_->developmentRegion();
  if (region.empty()) return std::nullopt;
  return region;
}

std::vector<std::string> Bundle::localizations() const {
  return impl_->index().codes();
}

std::vector<std::string> Bundle::preferredLocalizations() const {
  auto selected = impl_->selectedLocalization();
  if (!selected) return {};
  return {*selected};
}

std::vector<std::string> Bundle::preferredLocalizationsFromArray(
    const std::vector<std::string>& localizations, const std::vector<std::string>& preferences,
    std::string_view developmentRegion) {
  try {
    std::vector<std::string> valid;
    for (const std::string& code : localizations) {
      if (isValidLocalizationCode(code)) valid.push_back(code);
    }
    auto choice =
        detail::LocalizationIndex(std::move(valid)).choose(preferences, developmentRegion);
    if (!choice) return {};
    return {*choice};
  } catch (const std::exception&) {
    return {};
  }
}

std::optional<std::string> Bundle::pathForResource(std::string_view name,
                                                   std::string_view type) const {
  return pathForResource(name, type, {});
}

std::optional<std::string> Bundle::pathForResource(std::string_view name, std::string_view type,
                                                   std::string_view inDirectory) const {
  if (!type.empty() && type.front() == '.') type.remove_prefix(1);
  if (!detail::isValidFileName(name) || (!type.empty() && !detail::isValidFileName(type))) {
    return std::nullopt;
  }
  const auto directory = detail::cleanSubdirectory(inDirectory);
  if (!directory) return std::nullopt;
  try {
    std::string file(name);
    if (!type.empty()) file.append(".").append(type);
    auto existing = [&](const std::string& folder) -> std::optional<std::string> {
      std::string path = impl_->root();
      if (!folder.empty()) path.append("/").append(folder);
      if (!directory->empty()) path.append("/").append(*directory);
      path.append("/").append(file);
      std::error_code ec;
      if (fs::exists(path, ec)) return path;
      return std::nullopt;
    };
    if (auto path = existing({})) return path;
    const auto selected = impl_->selectedLocalization();
    if (selected) {
      if (auto path = existing(*selected + std::string(detail::kLprojSuffix))) return path;
    }
    const auto& development = impl_->developmentFolder();
    if (development && development != selected) {
      if (auto path = existing(*development + std::string(detail::kLprojSuffix))) return path;
    }
  } catch (const std::exception&) {
  }
  return std::nullopt;
}

std::string Bundle::localizedString(std::string_view key, std::string_view value,
                                    std::string_view table) const {
  try {
    if (table.empty()) {
      table = detail::kDefaultTable;
    } else if (!detail::isValidFileName(table)) {
      return std::string(value.empty() ? key : value);
    }
    return detail::lookup(impl_->lookupSlot(table), key, value);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::string Bundle::localizedString(std::string_view key, std::string_view value,
                                    std::string_view table, std::string_view localization) const {
  try {
    if (table.empty()) table = detail::kDefaultTable;
    if (!detail::isValidFileName(table) || !isValidLocalizationCode(localization)) {
      return std::string(value.empty() ? key : value);
    }
    return detail::lookup(impl_->tableSlot(localization, table), key, value);
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::shared_ptr<Bundle> Bundle::bundleForLocalization(std::string_view code) const {
  if (!isValidLocalizationCode(code)) return nullptr;
  return atPath(impl_->root() + "/" + std::string(code) + std::string(detail::kLprojSuffix));
}

bool Bundle::isValidLocalizationCode(std::string_view code) {
  if (code.empty() || code.size() > 64) return false;
  return std::all_of(code.begin(), code.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
}

}  // namespace norvik::platform

namespace norvik::detail {

const StringIndex* BundleAccess::table(const platform::Bundle& bundle,
                                       std::string_view localization, std::string_view table) {
  if (table.empty()) table = kDefaultTable;
  if (!isValidFileName(table)) return nullptr;
  if (!localization.empty() && !platform::Bundle::isValidLocalizationCode(localization)) {
    return nullptr;
  }
  const TableSlot& slot = bundle.impl_->tableSlot(localization, table);
  return slot.present ? &slot.byKey : nullptr;
}

std::shared_ptr<platform::Bundle> BundleAccess::empty(const std::string& path) {
  return std::make_shared<platform::Bundle>(std::make_unique<BundleImpl>(path));
}

std::optional<std::string> BundleAccess::localizationFor(
    const platform::Bundle& bundle, const std::vector<std::string>& preferences) {
  BundleImpl& impl = *bundle.impl_;
  return impl.index().choose(preferences, impl.developmentRegion());
}

}  // namespace norvik::detail
