// The public face of the occurrence engine (occurrence_engine.h) and the application's extension
// rules on top of it.
#include "norvik/recurrence/recurrence_assistant.h"

#include <algorithm>
#include <cmath>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/time_zone.h"
#include "recurrence/occurrence_engine.h"
#include "recurrence/official_day_rule.h"
#include "recurrence/recurrence_assistant_internal.h"

namespace norvik {
namespace {

using platform::Date;
using platform::TimeZone;

constexpr double kDay = 86400.0;

// The first or last Monday-to-Friday day of every INTERVAL-th month, whatever approximation the
// rule text carries for other programs: the plain rule it stands for goes through the engine.
void expandWorkdayRule(const SVRecurrenceRule& rule, detail::OccurrenceCollector& out) {
  SVRecurrenceRule plain;
  plain.frequencyOrdinal = SVRecurrenceRule::monthly;
  plain.interval = rule.interval;
  for (int d = 2; d <= 6; ++d) plain.byDay.emplace_back(0, SVRecurrenceWeekday(d));
  plain.bySetPos = {rule.workday == SVRecurrenceWorkday::first ? 1 : -1};
  detail::expandRule(plain, out);
}

// Official working days or holidays at the start's time of day: a plain daily rule whose days the
// official calendar limits (official_day_rule.h decides which days match). FREQ, INTERVAL and the
// BY parts of the text only stand in for other programs; COUNT and UNTIL still apply through the
// collector. Holidays end with the calendar's last day; working days go on as Monday to Friday.
void expandOfficialDayRule(const SVRecurrenceRule& rule, detail::OccurrenceCollector& out) {
  const NVOfficialCalendar::Table& table = NVOfficialCalendar::current();
  SVRecurrenceRule plain;
  plain.frequencyOrdinal = SVRecurrenceRule::daily;
  const SVRecurrenceOfficialDay which = rule.officialDay;
  const detail::DayHook hook{
      [&table, which](CivilDay day) { return detail::isOfficialRuleDay(which, table, day); },
      which == SVRecurrenceOfficialDay::holiday ? std::optional<CivilDay>(table.lastDay())
                                                : std::nullopt};
  detail::expandRule(plain, out, &hook);
}

// Picked dates, in order; a date without a time falls at the start's time of day.
void expandPickedDates(const SVRecurrenceRule& rule, const TimeZone& zone,
                       detail::OccurrenceCollector& out) {
  std::vector<double> locals;
  for (const SVRecurrenceDateValue& v : rule.specific().byDate) {
    const double day = static_cast<double>(civilDayFromGregorian(v.year, v.month, v.day)) * kDay;
    if (!v.hasTime) {
      locals.push_back(day + out.timeOfDay());
    } else if (v.utc) {
      locals.push_back(detail::localSecondsOf(zone, v.date(0)));
    } else {
      locals.push_back(day + v.hour * 3600.0 + v.minute * 60.0 + v.second);
    }
  }
  std::sort(locals.begin(), locals.end());
  for (double local : locals) {
    if (!out.offerLocal(local)) break;
  }
}

std::optional<TimeZone> zoneOf(const SVSimpleRecurringObject& object) {
  if (const auto& identifier = object.timeZoneIdentifierAsRecurringObject()) {
    return TimeZone::withIdentifier(*identifier);
  }
  return TimeZone::current();
}

}  // namespace

std::optional<Date> detail::sameTimeDayBefore(const SVSimpleRecurringObject& object, Date date) {
  const std::optional<TimeZone> zone = zoneOf(object);
  if (!zone) return std::nullopt;
  return instantOfLocal(*zone, localSecondsOf(*zone, date) - kDay);
}

std::vector<Date> detail::occurrenceDatesOfRule(const SVRecurrenceRule& rule,
                                                const SVSimpleRecurringObject& object, Date from,
                                                std::size_t limit, bool includingFirst) {
  const std::optional<Date> start = object.startDateAsRecurringObject();
  if (!start || limit == 0 || !std::isfinite(start->timeIntervalSince1970()) ||
      !std::isfinite(from.timeIntervalSince1970())) {
    return {};
  }
  const std::optional<TimeZone> zone = zoneOf(object);
  if (!zone) return {};
  OccurrenceCollector out(rule, *zone, localSecondsOf(*zone, *start), from, limit, includingFirst);
  if (rule.isSpecificDate()) {
    expandPickedDates(rule, *zone, out);
  } else if (rule.isEbbinghaus()) {
    return {};
  } else if (rule.officialDay != SVRecurrenceOfficialDay::none) {
    expandOfficialDayRule(rule, out);
  } else if (rule.workday != SVRecurrenceWorkday::none && rule.isMonthly() &&
             (rule.rscale.empty() || rule.rscale == "GREGORIAN")) {
    expandWorkdayRule(rule, out);
  } else {
    expandRule(rule, out);
  }
  return out.take();
}

std::vector<Date> SVRecurrenceAssistant::occurrenceDatesForRecurringObject(
    const SVSimpleRecurringObject& object, Date from, std::size_t limit, bool includingFirst) {
  const auto rule =
      SVRecurrenceRule::ruleWithIcalString(object.recurrenceRuleStringAsRecurringObject());
  if (!rule) return {};
  return detail::occurrenceDatesOfRule(*rule, object, from, limit, includingFirst);
}

}  // namespace norvik
