#include "norvik/calendar/solar_terms.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
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

}  // namespace

void NVSolarTermsManager::buildIndex() {
  index_.clear();
  days_.clear();
  if (!table_) return;
  for (const auto& [yearKey, yearValue] : *table_) {
    const std::optional<GregorianDate> year = gregorianDateFromIsoDayText(yearKey);
    if (!year || year->month != 1 || year->day != 1 || !yearValue.dictionary()) continue;
    for (const auto& [dayKey, name] : *yearValue.dictionary()) {
      const std::optional<GregorianDate> day = gregorianDateFromIsoDayText(dayKey);
      if (!day || day->year != year->year || !name.string()) continue;
      index_.emplace_back(civilDayFromGregorian(day->year, day->month, day->day), *name.string());
    }
  }
  std::sort(index_.begin(), index_.end(),
            [](const DayTerm& a, const DayTerm& b) { return a.first < b.first; });
  days_.clear();
  for (const DayTerm& term : index_) days_.push_back(term.first);
}

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
  buildIndex();
}

NVSolarTermsManager::NVSolarTermsManager(std::optional<platform::Dictionary> table)
    : table_(std::move(table)) {
  buildIndex();
}

void NVSolarTermsManager::setYearToSolarTerms(std::optional<platform::Dictionary> table) {
  table_ = std::move(table);
  buildIndex();
}

std::optional<std::string> NVSolarTermsManager::solarTermByDate(
    platform::Date date, const std::optional<platform::Calendar>& calendar) const {
  if (!table_) return std::nullopt;
  if (!std::isfinite(date.timeIntervalSince1970())) return std::nullopt;
  // The Gregorian civil day in the calendar's zone, not the calendar's own (Persian, Hebrew...)
  // year, month and day.
  const platform::TimeZone zone =
      calendar ? calendar->timeZone() : platform::Calendar::autoupdatingCurrent().timeZone();
  return solarTermOfCivilDay(detail::civilDayInZone(zone, date));
}

std::optional<std::string> NVSolarTermsManager::solarTermOfDay(int year, int month, int day) const {
  if (!table_) return std::nullopt;
  const CivilDay civil = civilDayFromGregorian(year, month, day);
  // Days that roll over (30 February) have no text of their own.
  if (!(gregorianFromCivilDay(civil) == GregorianDate{year, month, day})) return std::nullopt;
  return solarTermOfCivilDay(civil);
}

std::optional<std::string> NVSolarTermsManager::solarTermOfCivilDay(CivilDay day) const {
  if (!table_) return std::nullopt;
  const std::span<const DayTerm> found = solarTermsBetween(day, day);
  if (found.empty()) return std::nullopt;
  return found.front().second;
}

std::span<const NVSolarTermsManager::DayTerm> NVSolarTermsManager::solarTermsBetween(
    CivilDay first, CivilDay last) const {
  if (days_.empty() || last < first) return {};
  // Terms come about every 15.2 days: guess the position from the day, then step to it.
  const CivilDay span = std::max<CivilDay>(1, days_.back() - days_.front());
  const CivilDay guess = (first - days_.front()) * static_cast<CivilDay>(days_.size() - 1) / span;
  auto begin = days_.begin() + std::clamp<CivilDay>(guess, 0, static_cast<CivilDay>(days_.size()));
  while (begin != days_.begin() && *(begin - 1) >= first) --begin;
  while (begin != days_.end() && *begin < first) ++begin;
  auto end = begin;
  while (end != days_.end() && *end <= last) ++end;
  const auto offset = static_cast<std::size_t>(begin - days_.begin());
  return {index_.data() + offset, static_cast<std::size_t>(end - begin)};
}

}  // namespace norvik
