// norvik ics: the Chinese festivals and the 24 solar terms of a range of years as an iCalendar file
// that calendar applications import: one all-day event a day and name, with a UID made from the
// day, the kind and the name, so that importing a second time updates instead of doubling.
// With --only official: mainland China's official holidays (one event a break) and adjusted
// working days, a calendar to subscribe to (it asks to be refreshed daily).
#include <libical/ical.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/official_calendar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"

namespace norvik::cli {
namespace {

struct IcsArgs {
  int from = 0;
  int to = 0;
  std::string output;
  std::string only;  // "", "festivals", "solar-terms" or "official"
};

// The festival and solar-term texts are Chinese whatever the interface language.
constexpr const char* kTextLanguage = "zh-Hans";

// 64-bit FNV-1a of the name, in hex: the UID part that tells two events of one day apart.
std::string nameHash(const std::string& name) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;
  for (unsigned char c : name) {
    hash ^= c;
    hash *= 0x100000001b3ULL;
  }
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

icaltimetype dateOf(const GregorianDate& g) {
  icaltimetype t = icaltime_null_date();
  t.year = g.year;
  t.month = g.month;
  t.day = g.day;
  return t;
}

struct ComponentDeleter {
  void operator()(icalcomponent* c) const { icalcomponent_free(c); }
};
using Component = std::unique_ptr<icalcomponent, ComponentDeleter>;

void addEvent(icalcomponent* calendar, const GregorianDate& day, const char* kind,
              const std::string& name, const std::string& description, icaltimetype stamp,
              const std::string& descriptionLanguage, int days = 1) {
  char ymd[16];
  std::snprintf(ymd, sizeof ymd, "%04d%02d%02d", day.year, day.month, day.day);
  icalcomponent* event = icalcomponent_new_vevent();
  icalcomponent_add_property(
      event,
      icalproperty_new_uid(
          (std::string(ymd) + "-" + kind + "-" + nameHash(name) + "@calendar.norvik.app").c_str()));
  icalcomponent_add_property(event, icalproperty_new_dtstamp(stamp));
  const icaltimetype start = dateOf(day);
  icaltimetype end = start;
  icaltime_adjust(&end, days, 0, 0, 0);
  icalcomponent_add_property(event, icalproperty_new_dtstart(start));
  icalcomponent_add_property(event, icalproperty_new_dtend(end));
  icalproperty* summary = icalproperty_new_summary(name.c_str());
  icalproperty_add_parameter(summary, icalparameter_new_language(kTextLanguage));
  icalcomponent_add_property(event, summary);
  if (!description.empty()) {
    icalproperty* text = icalproperty_new_description(description.c_str());
    icalproperty_add_parameter(text, icalparameter_new_language(descriptionLanguage.c_str()));
    icalcomponent_add_property(event, text);
  }
  const std::string k = kind;
  icalcomponent_add_property(
      event, icalproperty_new_categories(k == "festival" || k == "holiday" ? "HOLIDAY"
                                         : k == "workday"                  ? "WORKDAY"
                                                                           : "SOLAR-TERM"));
  icalcomponent_add_property(event, icalproperty_new_transp(ICAL_TRANSP_TRANSPARENT));
  icalcomponent_add_property(event, icalproperty_new_class(ICAL_CLASS_PUBLIC));
  icalcomponent_add_component(calendar, event);
}

int runIcs(const GlobalOptions& options, const IcsArgs& args) {
  const int to = args.to == 0 ? args.from : args.to;
  if (args.from < 1 || to > 9999) throw UsageError("years run from 1 to 9999");
  if (to < args.from) throw UsageError("the range ends before it starts");
  if (to - args.from >= 200) throw UsageError("at most 200 years at a time");
  const bool official = args.only == "official";
  const bool festivals = args.only != "solar-terms" && !official;
  const bool terms = args.only != "festivals" && !official;

  // The lunar date of each event, as the interface language writes it with the Chinese calendar.
  const platform::Locale locale = NVUserLanguage::localeForCurrentLanguage();
  platform::DateFormatter lunarFormatter("", locale, platform::Calendar::sharedChinese());
  lunarFormatter.setLocalizedDateFormatFromTemplate("UMMMMd");
  std::string language = NVUserLanguage::userLanguageID().value_or("");
  if (language.empty()) {
    language = locale.identifier();
    for (char& c : language) c = c == '_' ? '-' : c;
  }

  Component calendar(icalcomponent_new_vcalendar());
  icalcomponent_add_property(calendar.get(), icalproperty_new_version("2.0"));
  icalcomponent_add_property(calendar.get(),
                             icalproperty_new_prodid("-//Norvik//norvik " NORVIK_VERSION "//EN"));
  icalcomponent_add_property(calendar.get(), icalproperty_new_calscale("GREGORIAN"));
  icalcomponent_add_property(calendar.get(), icalproperty_new_method(ICAL_METHOD_PUBLISH));
  const std::string name = std::string(official             ? "法定节假日与调休"
                                       : festivals && terms ? "节日与节气"
                                       : festivals          ? "节日"
                                                            : "二十四节气") +
                           " " + std::to_string(args.from) +
                           (to != args.from ? "–" + std::to_string(to) : "");
  icalproperty* calendarName = icalproperty_new_x(name.c_str());
  icalproperty_set_x_name(calendarName, "X-WR-CALNAME");
  icalcomponent_add_property(calendar.get(), calendarName);
  if (official) {
    // Subscribers fetch again daily, so a newly published notice replaces the projection.
    icalproperty* refresh = icalproperty_new_x("P1D");
    icalproperty_set_x_name(refresh, "X-PUBLISHED-TTL");
    icalcomponent_add_property(calendar.get(), refresh);
  }

  const icaltimetype stamp = icaltime_from_timet_with_zone(
      static_cast<time_t>(platform::Date::now().timeIntervalSince1970()), 0,
      icaltimezone_get_utc_timezone());
  const NVSolarTermsManager& table = NVSolarTermsManager::sharedManager();
  int events = 0;
  const CivilDay last = civilDayFromGregorian(to, 12, 31);
  const NVOfficialCalendar::Table& officialDays = NVOfficialCalendar::current();
  for (CivilDay d = civilDayFromGregorian(args.from, 1, 1); d <= last && official; ++d) {
    const NVOfficialDay day = officialDays.dayOfCivilDay(d);
    if (!day.isHoliday() && day.kind != NVOfficialDayKind::adjustedWorkingDay) continue;
    // A break is one event: the run of days with the same kind and festival.
    int length = 1;
    while (d + length <= last && day.isHoliday()) {
      const NVOfficialDay next = officialDays.dayOfCivilDay(d + length);
      if (!next.isHoliday() || next.festival != day.festival) break;
      ++length;
    }
    const GregorianDate g = gregorianFromCivilDay(d);
    const bool projected = officialDays.yearStatus(g.year) == NVOfficialYearStatus::projected;
    const std::string festival(day.festival);
    addEvent(calendar.get(), g, day.isHoliday() ? "holiday" : "workday",
             day.isHoliday() ? festival + " 休" : festival + " 补班",
             projected ? "按历法推算，尚未公布" : "", stamp, kTextLanguage, length);
    ++events;
    d += length - 1;
  }
  for (CivilDay d = civilDayFromGregorian(args.from, 1, 1); d <= last && !official; ++d) {
    const GregorianDate g = gregorianFromCivilDay(d);
    const std::optional<std::string> term = table.solarTermOfCivilDay(d);
    const platform::Date noon = localTimeOf(g, 12, 0, isoDayText(g));
    std::string festival =
        festivals ? festivalOrLunarCalendar(noon, FestivalMode::chinese, 1, std::nullopt, nullptr)
                  : std::string();
    if (term && festival == *term) festival.clear();  // Qingming is a solar term
    if (festival.empty() && !(terms && term)) continue;
    const std::string lunar = lunarFormatter.format(noon);
    if (!festival.empty()) {
      addEvent(calendar.get(), g, "festival", festival, lunar, stamp, language);
      ++events;
    }
    if (terms && term) {
      addEvent(calendar.get(), g, "solarterm", *term, lunar, stamp, language);
      ++events;
    }
  }

  char* text = icalcomponent_as_ical_string_r(calendar.get());
  const std::string ics = text ? text : "";
  std::free(text);
  if (!args.output.empty()) {
    std::ofstream file(args.output, std::ios::binary | std::ios::trunc);
    file << ics;
    if (!file.flush()) throw std::runtime_error("cannot write " + args.output);
  }
  if (options.json) {
    nlohmann::json summary = {{"from", args.from}, {"to", to}, {"events", events}};
    if (args.output.empty()) {
      summary["ics"] = ics;
    } else {
      summary["file"] = args.output;
    }
    printJSON(summary);
  } else if (args.output.empty()) {
    std::cout << ics;
  } else {
    std::cerr << "norvik: " << events << " events written to " << args.output << "\n";
  }
  return 0;
}

void addIcsCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<IcsArgs>();
  CLI::App* ics = app.add_subcommand(
      "ics", "An iCalendar file of the Chinese festivals and the 24 solar terms of some years");
  ics->add_option("from", args->from, "First year")->required();
  ics->add_option("to", args->to, "Last year (default: the first)");
  ics->add_option("-o,--output", args->output, "Write to this file instead of standard output");
  ics->add_option("--only", args->only,
                  "Only festivals, only solar terms, or only official holidays and adjusted "
                  "working days (official)")
      ->check(CLI::IsMember({"festivals", "solar-terms", "official"}));
  ics->callback(
      [&options, &run, args] { run = [&options, args] { return runIcs(options, *args); }; });
}

const CommandRegistration registration(addIcsCommand);

}  // namespace
}  // namespace norvik::cli
