// lunisolar_tables month-table FILE   writes the Chinese month-start table (C++ initializer)
// lunisolar_tables solar-terms FILE   writes SolarTerms.plist for 1901..2100 (UTC+8 days)
// lunisolar_tables vietnamese-month-table FILE   the Vietnamese month-start table
// lunisolar_tables korean-month-table FILE   the Korean month-start table read from ICU
// lunisolar_tables umm-al-qura-table FILE   the Umm al-Qura table read from ICU (its
//                                     inconsistencies on standard error)
// lunisolar_tables persian-shifts FILE   the years 1278..1480 AP whose astronomical Nowruz differs
//                                     from the 33-year rule's
// lunisolar_tables compare-calendars  every day 1900..2100 of the alternative calendars against
//                                     ICU's, in runs of disagreement
// lunisolar_tables vietnam-vs-china   the runs of days on which the Vietnamese and Chinese
//                                     calendars differ, 1900..2100
// lunisolar_tables korea-vs-engine    ICU's dangi calendar against the engine at Korea's offsets
// lunisolar_tables compare            lists every day from 1901-02-19 to 2099-12-31 on which the
//                                     computed calendar, ICU's Chinese calendar and the lunar table
//                                     disagree, grouped in runs, with the nearby new moons and
//                                     major terms and their distance from the calendar's midnight
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "calendar/alternative_calendars.h"
#include "lunisolar_tables/persian_equinox.h"
#include "norvik/calendar/lunar_converter.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/property_list.h"
#include "norvik/platform/time_zone.h"

using namespace norvik;

namespace {

constexpr int kChina = 28800;

bool writeFile(const std::string& path, std::string_view text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  return static_cast<bool>(out);
}

std::string lunarText(const LunarDate& d) {
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%d-%s%d-%d", d.year, d.isLeapMonth ? "L" : "", d.month,
                d.day);
  return buffer;
}

// The offset the Chinese calendar reckons in at an instant.
int offsetAt(double jdUniversal) {
  static const LunisolarCalendar chinese = LunisolarCalendar::chinese();
  return chinese.utcOffsetSeconds(astro::dateFromJulianDay(jdUniversal));
}

std::string localTime(double jdUniversal) {
  const double local = jdUniversal - 2440587.5 + offsetAt(jdUniversal) / 86400.0;
  const CivilDay day = static_cast<CivilDay>(std::floor(local));
  const int seconds = static_cast<int>(std::lround((local - static_cast<double>(day)) * 86400.0));
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%s %02d:%02d:%02d",
                isoDayText(gregorianFromCivilDay(day)).c_str(), seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return buffer;
}

// Seconds from the nearest local midnight (negative: before it).
long fromMidnight(double jdUniversal) {
  const double local = (jdUniversal - 2440587.5) * 86400.0 + offsetAt(jdUniversal);
  const double s = std::fmod(local, 86400.0);
  const double r = s < 0 ? s + 86400.0 : s;
  return std::lround(r > 43200.0 ? r - 86400.0 : r);
}

// New moons and major terms whose local day is within [from, to].
void explain(CivilDay from, CivilDay to) {
  const int k0 = astro::newMoonNumberAtOrBefore(2440587.5 + static_cast<double>(from) - 1.0);
  for (int k = k0; k <= k0 + 3; ++k) {
    const double jd = astro::universalFromDynamical(astro::newMoonJDE(k));
    const CivilDay day = civilDayOfDate(astro::dateFromJulianDay(jd), offsetAt(jd));
    if (day < from || day > to) continue;
    std::printf("    new moon   %s (%+ld s from midnight)\n", localTime(jd).c_str(),
                fromMidnight(jd));
  }
  const int year = gregorianFromCivilDay(from).year;
  for (int y = year - 1; y <= year + 1; ++y) {
    for (int index = 1; index < kSolarTermCount; index += 2) {
      const double jd =
          astro::universalFromDynamical(astro::solarLongitudeJDE(y, solarTermLongitude(index)));
      const CivilDay day = civilDayOfDate(astro::dateFromJulianDay(jd), offsetAt(jd));
      if (day < from - 1 || day > to + 1) continue;
      std::printf("    major term %s %s (%+ld s from midnight)\n",
                  std::string(solarTermName(index)).c_str(), localTime(jd).c_str(),
                  fromMidnight(jd));
    }
  }
}

int compare() {
  const platform::Calendar icu(platform::CalendarIdentifier::chinese,
                               *platform::TimeZone::withSecondsFromGMT(kChina),
                               platform::Locale("zh_CN"));
  const CivilDay first = civilDayFromGregorian(1901, 2, 19);
  const CivilDay last = civilDayFromGregorian(2099, 12, 31);
  for (int source = 0; source < 2; ++source) {
    std::printf("== computed calendar vs %s\n", source == 0 ? "ICU" : "lunar table");
    // The first day of the current run of disagreements; meaningful only while inRun.
    bool inRun = false;
    CivilDay runStart = 0;
    std::string runText;
    int runs = 0;
    long days = 0;
    for (CivilDay day = first; day <= last + 1; ++day) {
      bool differs = false;
      std::string text;
      if (day <= last) {
        const LunarDate ours = *chineseLunarDateOfCivilDay(day);
        LunarDate other;
        if (source == 0) {
          const auto c = icu.components(platform::Date(static_cast<double>(day) * 86400.0));
          other = LunarDate{(*c.era - 1) * 60 + *c.year - 2637, *c.month, *c.day,
                            c.isLeapMonth.value_or(false)};
          differs = !(ours == other);
        } else {
          const GregorianDate g = gregorianFromCivilDay(day);
          const SimpleDate s = solar_to_lunar(g.year, g.month, g.day);
          // The table flags both months of the leap number; only a flag it lacks is a difference.
          other = LunarDate{s.year, s.month, s.day, s.isLeapMonth != 0};
          differs = ours.year != other.year || ours.month != other.month || ours.day != other.day ||
                    (ours.isLeapMonth && !other.isLeapMonth);
        }
        text = "ours " + lunarText(ours) + " other " + lunarText(other);
      }
      if (differs) {
        ++days;
        if (!inRun) {
          inRun = true;
          runStart = day;
          runText = text;
        }
      } else if (inRun) {
        ++runs;
        std::printf("  %s .. %s (%ld days): at start %s\n",
                    isoDayText(gregorianFromCivilDay(runStart)).c_str(),
                    isoDayText(gregorianFromCivilDay(day - 1)).c_str(),
                    static_cast<long>(day - runStart), runText.c_str());
        explain(runStart - 1, runStart + 1);
        explain(day - 1, day + 1);
        inRun = false;
      }
    }
    std::printf("  %d runs, %ld days\n", runs, days);
  }
  return 0;
}

std::string calendarText(const std::optional<CalendarDate>& d) {
  if (!d) return "none";
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%d-%s%d-%d", d->year, d->leap ? "L" : "", d->month, d->day);
  return buffer;
}

// Prints the runs of days in [first, last] on which a and b differ; returns the days.
long compareRuns(const AlternativeCalendar& a, const AlternativeCalendar& b, CivilDay first,
                 CivilDay last) {
  long days = 0;
  int runs = 0;
  CivilDay runStart = 0;
  bool inRun = false;
  std::string runText;
  for (CivilDay day = first; day <= last + 1; ++day) {
    bool differs = false;
    std::string text;
    if (day <= last) {
      const std::optional<CalendarDate> x = a.dateOfCivilDay(day);
      const std::optional<CalendarDate> y = b.dateOfCivilDay(day);
      differs = x != y;
      text = calendarText(x) + " / " + calendarText(y);
    }
    if (differs) {
      ++days;
      if (!inRun) {
        inRun = true;
        runStart = day;
        runText = text;
      }
    } else if (inRun) {
      ++runs;
      std::printf("  %s .. %s (%ld days): at start %s\n",
                  isoDayText(gregorianFromCivilDay(runStart)).c_str(),
                  isoDayText(gregorianFromCivilDay(day - 1)).c_str(),
                  static_cast<long>(day - runStart), runText.c_str());
      inRun = false;
    }
  }
  std::printf("  %d runs, %ld days\n", runs, days);
  return days;
}

int compareCalendars() {
  const CivilDay first = civilDayFromGregorian(1900, 1, 1);
  const CivilDay last = civilDayFromGregorian(2100, 12, 31);
  for (const char* type : {"hebcal", "hijri", "hijri-kuwaiti", "hijri-saudi", "persian", "shaka",
                           "lunar", "korean-lunar"}) {
    const auto icu = detail::makeIcuCalendar(type, first, last);
    std::printf(
        "== %s: library / ICU %s\n", type,
        std::string(platform::calendarIdentifierName(*detail::icuCalendarOfType(type))).c_str());
    compareRuns(*alternativeCalendar(type), *icu, first, last);
  }
  return 0;
}

int vietnamVsChina() {
  std::printf("== vietnam / lunar\n");
  compareRuns(*alternativeCalendar("vietnam"), *alternativeCalendar("lunar"),
              civilDayFromGregorian(1900, 1, 1), civilDayFromGregorian(2100, 12, 31));
  return 0;
}

int koreaVsEngine() {
  // Korea's standard offsets: Seoul mean time (UTC+8:27:52) until 1908-04-01, UTC+8:30 until
  // 1912, UTC+9 until 1954-03-21, UTC+8:30 until 1961-08-10, UTC+9 since.
  struct Period {
    GregorianDate from;
    int offset;
  };
  const Period periods[] = {{{1900, 1, 1}, 30472},
                            {{1908, 4, 1}, 30600},
                            {{1912, 1, 1}, 32400},
                            {{1954, 3, 21}, 30600},
                            {{1961, 8, 10}, 32400}};
  class KoreaEngine final : public AlternativeCalendar {
   public:
    explicit KoreaEngine(const Period* periods, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) {
        starts_.push_back(civilDayFromGregorian(periods[i].from.year, periods[i].from.month,
                                                periods[i].from.day));
        engines_.emplace_back(periods[i].offset);
      }
    }
    std::string_view identifier() const override { return "korea-engine"; }
    std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const override {
      std::size_t i = 0;
      while (i + 1 < starts_.size() && starts_[i + 1] <= day) ++i;
      const LunarDate d = engines_[i].lunarDate(day);
      return CalendarDate{d.year, d.month, d.day, d.isLeapMonth};
    }
    std::optional<CivilDay> civilDayOfDate(const CalendarDate&) const override {
      return std::nullopt;
    }
    std::vector<CalendarMonth> monthsOfYear(int) const override { return {}; }
    int daysInMonth(int, int, bool) const override { return 0; }

   private:
    std::vector<CivilDay> starts_;
    std::vector<LunisolarCalendar> engines_;
  };
  const KoreaEngine engine(periods, std::size(periods));
  std::printf("== korean-lunar (ICU dangi) / engine at Korea's offsets\n");
  compareRuns(*alternativeCalendar("korean-lunar"), engine, civilDayFromGregorian(1900, 1, 1),
              civilDayFromGregorian(2100, 12, 31));
  return 0;
}

std::string persianShiftsSource() {
  std::string text =
      "// Generated by tools/lunisolar_tables (persian-shifts); do not edit.\n"
      "// {year AP, astronomical minus arithmetic Nowruz in days}, astronomical Nowruz\n";
  for (int year = detail::kPersianAstronomicalFirstYear;
       year <= detail::kPersianAstronomicalLastYear; ++year) {
    const CivilDay arithmetic = detail::persianArithmeticNewYear(year);
    const CivilDay astronomical = tables::persianAstronomicalNewYear(year);
    if (arithmetic == astronomical) continue;
    const double margin = tables::persianEquinoxFromNoonSeconds(year);
    if (std::fabs(margin) < detail::kPersianDecisionMarginSeconds) {
      std::fprintf(stderr, "%d AP: equinox %+.0f s from noon, undecided\n", year, margin);
      continue;
    }
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, "{%d, %d},  // %s\n", year,
                  static_cast<int>(astronomical - arithmetic),
                  isoDayText(gregorianFromCivilDay(astronomical)).c_str());
    text += buffer;
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "month-table" && argc == 3) {
    return writeFile(argv[2], generateChineseMonthTableSource()) ? 0 : 1;
  }
  if (command == "solar-terms" && argc == 3) {
    const platform::Data data =
        platform::encodePropertyList(platform::Value(generateSolarTermsTable(1901, 2100, kChina)),
                                     platform::PropertyListFormat::XML);
    return writeFile(argv[2],
                     std::string_view(reinterpret_cast<const char*>(data.data()), data.size()))
               ? 0
               : 1;
  }
  if (command == "compare") return compare();
  if (command == "vietnamese-month-table" && argc == 3) {
    return writeFile(argv[2], generateVietnameseMonthTableSource()) ? 0 : 1;
  }
  if (command == "korean-month-table" && argc == 3) {
    return writeFile(argv[2], detail::generateKoreanMonthTableSource()) ? 0 : 1;
  }
  if (command == "umm-al-qura-table" && argc == 3) {
    std::vector<std::string> problems;
    const std::string text = detail::generateUmmAlQuraTableSource(&problems);
    for (const std::string& problem : problems) std::cerr << problem << "\n";
    return !text.empty() && writeFile(argv[2], text) ? 0 : 1;
  }
  if (command == "persian-shifts" && argc == 3) {
    return writeFile(argv[2], persianShiftsSource()) ? 0 : 1;
  }
  if (command == "compare-calendars") return compareCalendars();
  if (command == "vietnam-vs-china") return vietnamVsChina();
  if (command == "korea-vs-engine") return koreaVsEngine();
  std::cerr
      << "usage: lunisolar_tables month-table FILE | solar-terms FILE | compare |\n"
         "  vietnamese-month-table FILE | korean-month-table FILE | umm-al-qura-table FILE |\n"
         "  persian-shifts FILE |\n"
         "  compare-calendars | vietnam-vs-china | korea-vs-engine\n";
  return 2;
}
