#include "norvik/calendar/solar_terms.h"

#include <dlfcn.h>

#include <filesystem>

#include "calendar/calendar_days.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/property_list.h"

namespace norvik {
namespace {

std::optional<platform::Dictionary> readTable(const std::optional<std::string>& path) {
  if (!path) return std::nullopt;
  std::optional<platform::Value> value = platform::readPropertyListFile(*path);
  if (!value || !value->dictionary()) return std::nullopt;
  return *value->dictionary();
}

// nv_notNullObjectForKey: a missing key and a null placeholder are both absent.
const platform::Value* notNullObjectForKey(const platform::Dictionary& dictionary,
                                           std::string_view key) {
  auto it = dictionary.find(key);
  if (it == dictionary.end() || it->second.isNull()) return nullptr;
  return &it->second;
}

}  // namespace

std::optional<std::string> NVSolarTermsManager::libraryBundlePath() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&NVSolarTermsManager::libraryBundlePath), &info) == 0 ||
      info.dli_fname == nullptr) {
    return std::nullopt;
  }
  std::error_code error;
  std::filesystem::path dir =
      std::filesystem::weakly_canonical(std::filesystem::path(info.dli_fname), error).parent_path();
  // lib/, lib/<multiarch>/ or bin/ (a static library inside a program).
  for (int up = 0; up < 3 && !dir.empty(); ++up) {
    dir = dir.parent_path();
    const std::filesystem::path candidate = dir / "share" / "norvik" / "LibraryBundle";
    if (std::filesystem::is_directory(candidate, error)) return candidate.string();
  }
  return std::nullopt;
}

NVSolarTermsManager& NVSolarTermsManager::sharedManager() {
  static NVSolarTermsManager manager;
  return manager;
}

NVSolarTermsManager::NVSolarTermsManager() {
  if (auto path = libraryBundlePath()) {
    if (auto bundle = platform::Bundle::atPath(*path)) {
      table_ = readTable(bundle->pathForResource("SolarTerms", "plist"));
    }
  }
  if (!table_) table_ = readTable(platform::Bundle::main()->pathForResource("SolarTerms", "plist"));
}

NVSolarTermsManager::NVSolarTermsManager(std::optional<platform::Dictionary> table)
    : table_(std::move(table)) {}

void NVSolarTermsManager::setYearToSolarTerms(std::optional<platform::Dictionary> table) {
  table_ = std::move(table);
}

std::optional<std::string> NVSolarTermsManager::solarTermByDate(
    platform::Date date, const std::optional<platform::Calendar>& calendar) const {
  if (!table_) return std::nullopt;
  const platform::Calendar cal = calendar ? *calendar : platform::Calendar::autoupdatingCurrent();
  const std::optional<detail::CalendarDay> day = detail::calendarDay(cal, date);
  if (!day) return std::nullopt;
  return solarTermOfDay(day->year, day->month, day->day);
}

std::optional<std::string> NVSolarTermsManager::solarTermOfDay(int year, int month, int day) const {
  if (!table_) return std::nullopt;
  const platform::Value* terms =
      notNullObjectForKey(*table_, isoDayText(GregorianDate{year, 1, 1}));
  if (!terms || !terms->dictionary()) return std::nullopt;
  const platform::Value* term =
      notNullObjectForKey(*terms->dictionary(), isoDayText(GregorianDate{year, month, day}));
  if (!term || !term->string()) return std::nullopt;
  return *term->string();
}

}  // namespace norvik
