#include "norvik/calendar/official_calendar.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <ctime>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>

#include "calendar/calendar_days.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/logger.h"

namespace norvik {
namespace {

constexpr std::string_view kFileName = "OfficialCalendar.txt";
constexpr std::size_t kMaxFileBytes = 1 << 20;
constexpr int kFirstYear = 1950;
constexpr int kLastYear = 2200;
constexpr CivilDay kMaxRangeDays = 60;
constexpr std::size_t kMaxFestivals = 60;  // festival indices use six bits

// Festival names live for the whole process, so that a day's text outlives the table it came
// from. Only new names (a handful per file) are ever added.
std::string_view internFestival(std::string_view name) {
  static std::mutex mutex;
  static std::set<std::string, std::less<>> names;
  std::lock_guard<std::mutex> lock(mutex);
  auto it = names.find(name);
  if (it == names.end()) it = names.emplace(name).first;
  return *it;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

// A "YYYY-MM-DD" day that exists.
std::optional<CivilDay> parseDay(std::string_view text) {
  const std::optional<GregorianDate> date = gregorianDateFromIsoDayText(text);
  if (!date) return std::nullopt;
  return civilDayFromGregorian(date->year, date->month, date->day);
}

bool isWeekend(CivilDay day) {
  const int weekday = detail::weekdayOfCivilDay(day);
  return weekday == 1 || weekday == 7;
}

std::optional<std::string> readFile(const std::string& path, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = "cannot be read";
    return std::nullopt;
  }
  std::string text(kMaxFileBytes + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

}  // namespace

std::string_view officialDayKindName(NVOfficialDayKind kind) {
  switch (kind) {
    case NVOfficialDayKind::ordinaryWorkingDay:
      return "ordinaryWorkingDay";
    case NVOfficialDayKind::ordinaryWeekend:
      return "ordinaryWeekend";
    case NVOfficialDayKind::statutoryHoliday:
      return "statutoryHoliday";
    case NVOfficialDayKind::adjustedWorkingDay:
      return "adjustedWorkingDay";
  }
  return "";
}

std::string_view officialYearStatusName(NVOfficialYearStatus status) {
  switch (status) {
    case NVOfficialYearStatus::none:
      return "none";
    case NVOfficialYearStatus::published:
      return "published";
    case NVOfficialYearStatus::projected:
      return "projected";
  }
  return "";
}

std::optional<NVOfficialCalendarYears> parseOfficialCalendar(std::string_view text,
                                                             std::string* error) {
  std::string ignored;
  std::string& why = error ? *error : ignored;
  if (text.size() > kMaxFileBytes) {
    why = "line 0: more than 1 MB of text";
    return std::nullopt;
  }
  NVOfficialCalendarYears years;
  std::set<std::string_view> festivals;
  std::set<CivilDay> seen;  // days of the current section
  std::vector<NVOfficialCalendarEntry>* section = nullptr;
  int sectionYear = 0;
  int lineNumber = 0;
  auto fail = [&](const std::string& reason) {
    why = "line " + std::to_string(lineNumber) + ": " + reason;
    return std::nullopt;
  };
  while (!text.empty()) {
    ++lineNumber;
    const std::size_t end = text.find('\n');
    std::string_view line = trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[') {
      int year = 0;
      if (line.size() != 6 || line.back() != ']' ||
          !std::all_of(line.begin() + 1, line.end() - 1,
                       [](char c) { return c >= '0' && c <= '9'; })) {
        return fail("'" + std::string(line) + "' is not a section ([YYYY])");
      }
      for (char c : line.substr(1, 4)) year = year * 10 + (c - '0');
      if (year < kFirstYear || year > kLastYear) {
        return fail("year " + std::to_string(year) + " is outside 1950..2200");
      }
      if (years.count(year)) return fail("section " + std::to_string(year) + " is given twice");
      section = &years[year];
      sectionYear = year;
      seen.clear();
      continue;
    }
    if (!section) return fail("an entry before the first section");
    // <day>[..<day>] <holiday|workday> <festival>
    const std::size_t space = line.find_first_of(" \t");
    if (space == std::string_view::npos) return fail("an entry needs a kind and a festival");
    const std::string_view days = line.substr(0, space);
    std::string_view rest = trim(line.substr(space));
    const std::size_t space2 = rest.find_first_of(" \t");
    const std::string_view kind = rest.substr(0, space2);
    const std::string_view festival =
        space2 == std::string_view::npos ? std::string_view() : trim(rest.substr(space2));
    NVOfficialCalendarEntry entry;
    const std::size_t dots = days.find("..");
    const auto first = parseDay(days.substr(0, dots));
    const auto last = dots == std::string_view::npos ? first : parseDay(days.substr(dots + 2));
    if (!first || !last) return fail("'" + std::string(days) + "' is not a day or a range of days");
    if (*last < *first) return fail("'" + std::string(days) + "' ends before it starts");
    if (*last - *first >= kMaxRangeDays) return fail("'" + std::string(days) + "' is too long");
    if (kind == "holiday") {
      entry.holiday = true;
    } else if (kind == "workday") {
      entry.holiday = false;
    } else {
      return fail("'" + std::string(kind) + "' is not holiday or workday");
    }
    if (festival.empty()) return fail("the festival is missing");
    if (festival.size() > 64 || std::any_of(festival.begin(), festival.end(), [](char c) {
          return static_cast<unsigned char>(c) < 0x20;
        })) {
      return fail("the festival name is not a short line of text");
    }
    const CivilDay sectionStart = civilDayFromGregorian(sectionYear - 1, 12, 1);
    const CivilDay sectionEnd = civilDayFromGregorian(sectionYear, 12, 31);
    for (CivilDay d = *first; d <= *last; ++d) {
      if (d < sectionStart || d > sectionEnd) {
        return fail(isoDayText(gregorianFromCivilDay(d)) + " is outside the year " +
                    std::to_string(sectionYear) + " and the December before");
      }
      if (!entry.holiday && !isWeekend(d)) {
        return fail(isoDayText(gregorianFromCivilDay(d)) +
                    " is a weekday and cannot be an adjusted working day");
      }
      if (!seen.insert(d).second) {
        return fail(isoDayText(gregorianFromCivilDay(d)) + " is given twice");
      }
    }
    festivals.insert(internFestival(festival));
    if (festivals.size() > kMaxFestivals) return fail("more than 60 festival names");
    entry.first = *first;
    entry.last = *last;
    entry.festival = std::string(festival);
    section->push_back(std::move(entry));
  }
  return years;
}

// ---- Table ------------------------------------------------------------------------------------

NVOfficialCalendar::Table::Table(const NVOfficialCalendarYears& builtIn,
                                 const NVOfficialCalendarYears& overrides) {
  std::map<int, const std::vector<NVOfficialCalendarEntry>*> years;
  for (const auto& [year, entries] : builtIn) years[year] = &entries;
  for (const auto& [year, entries] : overrides) years[year] = &entries;
  festivals_.push_back({});
  if (years.empty()) return;
  firstPublished_ = years.begin()->first;
  lastPublished_ = years.rbegin()->first;
  // One year before the first section holds the December days of its notice.
  firstYear_ = firstPublished_ - 1;
  const int lastYear = std::max(lastPublished_, kLastProjectedYear);
  base_ = civilDayFromGregorian(firstYear_, 1, 1);
  codes_.assign(static_cast<std::size_t>(civilDayFromGregorian(lastYear + 1, 1, 1) - base_), 0);
  status_.assign(static_cast<std::size_t>(lastYear - firstYear_ + 1), NVOfficialYearStatus::none);
  for (int year = firstPublished_; year <= lastYear; ++year) {
    const auto index = static_cast<std::size_t>(year - firstYear_);
    if (years.count(year)) {
      status_[index] = NVOfficialYearStatus::published;
    } else if (year >= kFirstProjectedYear && year <= kLastProjectedYear) {
      status_[index] = NVOfficialYearStatus::projected;
      project(year);
    }
  }
  // A notice's December days overrule the projection of the year before.
  for (const auto& [year, entries] : years) {
    for (const NVOfficialCalendarEntry& entry : *entries) {
      const NVOfficialDayKind kind = entry.holiday ? NVOfficialDayKind::statutoryHoliday
                                                   : NVOfficialDayKind::adjustedWorkingDay;
      for (CivilDay d = entry.first; d <= entry.last; ++d) mark(d, kind, entry.festival);
    }
  }
}

void NVOfficialCalendar::Table::mark(CivilDay day, NVOfficialDayKind kind,
                                     std::string_view festival) {
  const auto offset = static_cast<std::uint64_t>(day - base_);
  if (offset >= codes_.size()) return;
  const std::string_view name = internFestival(festival);
  auto it = std::find_if(festivals_.begin() + 1, festivals_.end(),
                         [&](std::string_view f) { return f.data() == name.data(); });
  if (it == festivals_.end()) {
    if (festivals_.size() > 63) return;  // parse limits a file; two files stay far below
    festivals_.push_back(name);
    it = festivals_.end() - 1;
  }
  const auto index = static_cast<std::uint8_t>(it - festivals_.begin());
  codes_[offset] = static_cast<std::uint8_t>(static_cast<std::uint8_t>(kind) | (index << 2));
}

// The statutory days of a year by the regulation in force since 2025.
void NVOfficialCalendar::Table::project(int year) {
  const CivilDay first = civilDayFromGregorian(year, 1, 1);
  const CivilDay next = civilDayFromGregorian(year + 1, 1, 1);
  std::vector<LunarDate> lunar(static_cast<std::size_t>(next - first));
  chineseLunarDatesOfDays(first, lunar);
  const auto holiday = NVOfficialDayKind::statutoryHoliday;
  mark(first, holiday, "元旦");
  for (std::size_t i = 0; i < lunar.size(); ++i) {
    const LunarDate& l = lunar[i];
    const CivilDay day = first + static_cast<CivilDay>(i);
    if (l.isLeapMonth || l.month == 0) continue;
    if (l.month == 1 && l.day == 1) {
      for (CivilDay d = day - 1; d <= day + 2; ++d) mark(d, holiday, "春节");
    } else if (l.month == 5 && l.day == 5) {
      mark(day, holiday, "端午节");
    } else if (l.month == 8 && l.day == 15) {
      mark(day, holiday, "中秋节");
    }
  }
  // Qingming from the solar-term table the festival texts use, else from the astronomy.
  std::optional<CivilDay> qingming;
  for (const auto& [day, name] : NVSolarTermsManager::sharedManager().solarTermsBetween(
           civilDayFromGregorian(year, 4, 1), civilDayFromGregorian(year, 4, 10))) {
    if (name == "清明") qingming = day;
  }
  if (!qingming) qingming = LunisolarCalendar::chinese().solarTermDay(year, 6);
  mark(*qingming, holiday, "清明节");
  for (int d = 1; d <= 2; ++d) mark(civilDayFromGregorian(year, 5, d), holiday, "劳动节");
  // National Day wins where the Mid-Autumn festival falls on it.
  for (int d = 1; d <= 3; ++d) mark(civilDayFromGregorian(year, 10, d), holiday, "国庆节");
}

NVOfficialYearStatus NVOfficialCalendar::Table::yearStatus(int year) const {
  const auto index = static_cast<std::uint64_t>(static_cast<std::int64_t>(year) - firstYear_);
  return index < status_.size() ? status_[index] : NVOfficialYearStatus::none;
}

// ---- The table in force -----------------------------------------------------------------------

namespace {

// What identifies a version of the override file.
struct FileSignature {
  std::string path;
  bool exists = false;
  std::int64_t modified = 0;  // nanoseconds
  std::int64_t size = 0;
  std::uint64_t inode = 0;
  bool operator==(const FileSignature&) const = default;
};

FileSignature signatureOf(const std::string& path) {
  FileSignature s;
  s.path = path;
  struct stat info {};
  if (!path.empty() && ::stat(path.c_str(), &info) == 0) {
    s.exists = true;
    s.modified = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    s.size = static_cast<std::int64_t>(info.st_size);
    s.inode = static_cast<std::uint64_t>(info.st_ino);
  }
  return s;
}

std::int64_t coarseMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

NVOfficialCalendarYears readYears(const std::string& path) {
  std::string error;
  std::optional<std::string> text = readFile(path, &error);
  std::optional<NVOfficialCalendarYears> years;
  if (text) years = parseOfficialCalendar(*text, &error);
  if (!years) {
    NV_LOG_ERROR("official calendar " + path + " ignored: " + error);
    return {};
  }
  return *years;
}

const NVOfficialCalendarYears& builtInYears() {
  static const NVOfficialCalendarYears years = [] {
    std::optional<std::string> path;
    if (auto dir = NVSolarTermsManager::libraryBundlePath()) {
      if (auto bundle = platform::Bundle::atPath(*dir)) {
        path = bundle->pathForResource("OfficialCalendar", "txt");
      }
    }
    if (!path) path = platform::Bundle::main()->pathForResource("OfficialCalendar", "txt");
    if (!path) {
      NV_LOG_ERROR("official calendar: OfficialCalendar.txt is in neither bundle");
      return NVOfficialCalendarYears{};
    }
    return readYears(*path);
  }();
  return years;
}

struct State {
  std::mutex mutex;
  std::atomic<const NVOfficialCalendar::Table*> current{nullptr};
  std::atomic<std::int64_t> nextCheck{0};
  std::atomic<std::uint64_t> checkedGeneration{0};
  // Guarded by mutex.
  std::optional<std::string> hostPath;
  std::optional<FileSignature> loaded;
  // Every table ever made, kept so that references handed out stay valid.
  std::vector<std::unique_ptr<const NVOfficialCalendar::Table>> tables;
};

State& state() {
  static State* s = new State;  // never destroyed: threads may look days up during exit
  return *s;
}

std::string overridePathLocked(const State& s) {
  if (s.hostPath) return *s.hostPath;
  const std::string container = platform::currentEnvironment()->appGroupContainerDirectory;
  return container.empty() ? std::string() : container + "/" + std::string(kFileName);
}

const NVOfficialCalendar::Table& refresh(bool force) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  const std::uint64_t generation = platform::environmentGeneration();
  const std::int64_t now = coarseMilliseconds();
  const NVOfficialCalendar::Table* table = s.current.load(std::memory_order_acquire);
  if (!force && table && now < s.nextCheck.load(std::memory_order_relaxed) &&
      generation == s.checkedGeneration.load(std::memory_order_relaxed)) {
    return *table;  // another thread checked meanwhile
  }
  const FileSignature signature = signatureOf(overridePathLocked(s));
  if (!table || !s.loaded || !(*s.loaded == signature)) {
    const NVOfficialCalendarYears overrides =
        signature.exists ? readYears(signature.path) : NVOfficialCalendarYears{};
    s.tables.push_back(std::make_unique<NVOfficialCalendar::Table>(builtInYears(), overrides));
    table = s.tables.back().get();
    s.loaded = signature;
    s.current.store(table, std::memory_order_release);
  }
  s.checkedGeneration.store(generation, std::memory_order_relaxed);
  s.nextCheck.store(now + 1000, std::memory_order_relaxed);
  return *table;
}

}  // namespace

const NVOfficialCalendar::Table& NVOfficialCalendar::current() {
  State& s = state();
  const Table* table = s.current.load(std::memory_order_acquire);
  if (table && coarseMilliseconds() < s.nextCheck.load(std::memory_order_relaxed) &&
      platform::environmentGeneration() == s.checkedGeneration.load(std::memory_order_relaxed)) {
    return *table;
  }
  return refresh(false);
}

std::optional<NVOfficialDay> NVOfficialCalendar::dayOf(int year, int month, int day) {
  const CivilDay civil = civilDayFromGregorian(year, month, day);
  if (!(gregorianFromCivilDay(civil) == GregorianDate{year, month, day})) return std::nullopt;
  return dayOfCivilDay(civil);
}

std::optional<NVOfficialDay> NVOfficialCalendar::dayOfDate(
    platform::Date date, const std::optional<platform::Calendar>& calendar) {
  if (!std::isfinite(date.timeIntervalSince1970())) return std::nullopt;
  const platform::TimeZone zone =
      calendar ? calendar->timeZone() : platform::Calendar::autoupdatingCurrent().timeZone();
  return dayOfCivilDay(detail::civilDayInZone(zone, date));
}

std::string NVOfficialCalendar::overrideFilePath() {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return overridePathLocked(s);
}

void NVOfficialCalendar::setOverrideFilePath(std::optional<std::string> path) {
  State& s = state();
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    s.hostPath = std::move(path);
  }
  refresh(true);
}

void NVOfficialCalendar::reload() {
  refresh(true);
}

}  // namespace norvik
