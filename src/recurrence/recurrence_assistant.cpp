#include "norvik/recurrence/recurrence_assistant.h"

#include <libical/ical.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "calendar/calendar_days.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/time_zone.h"
#include "recurrence/official_day_rule.h"
#include "recurrence/recurrence_assistant_internal.h"
#include "recurrence/rule_calendar.h"

namespace norvik {
namespace {

using platform::Date;
using platform::TimeZone;

constexpr double kDay = 86400.0;

CivilDay floorDay(double localSeconds) {
  return static_cast<CivilDay>(std::floor(localSeconds / kDay));
}

// Wall-clock time in a zone, as seconds since 1970-01-01T00:00 local.
double localSecondsOf(const TimeZone& zone, Date instant) {
  return instant.timeIntervalSince1970() + detail::cachedSecondsFromGMT(zone, instant);
}

// The instant of a wall-clock time. Offsets a day before and a day after stand for the offsets on
// either side of a change near the time (zones change at most once in two days). A time that both
// offsets reach (a fall-back overlap) takes the earlier instant; a time neither reaches (a
// spring-forward gap) is read with the earlier offset, which moves it forward by the gap.
Date instantOfLocal(const TimeZone& zone, double local) {
  const int before = detail::cachedSecondsFromGMT(zone, Date(local - kDay));
  const int after = detail::cachedSecondsFromGMT(zone, Date(local + kDay));
  const Date withBefore(local - before);
  if (before == after) return withBefore;
  const Date withAfter(local - after);
  const bool beforeHolds = detail::cachedSecondsFromGMT(zone, withBefore) == before;
  const bool afterHolds = detail::cachedSecondsFromGMT(zone, withAfter) == after;
  if (beforeHolds && afterHolds) return std::min(withBefore, withAfter);
  if (afterHolds) return withAfter;
  return withBefore;
}

// Collects occurrences in ascending order and decides when a search ends: the limit, COUNT,
// UNTIL, the start, the `from` cut and the search bounds all live here.
class Collector {
 public:
  Collector(const SVRecurrenceRule& rule, const TimeZone& zone, double localStart, Date from,
            std::size_t limit, bool includingFirst)
      : zone_(zone),
        localStart_(localStart),
        startDay_(floorDay(localStart)),
        timeOfDay_(localStart - static_cast<double>(startDay_) * kDay),
        from_(from),
        limit_(limit),
        includingFirst_(includingFirst),
        count_(rule.count),
        fromDay_(floorDay(localSecondsOf(zone, from))) {
    boundDay_ = std::max(startDay_, fromDay_) +
                static_cast<CivilDay>(SVRecurrenceAssistant::kMaxSearchYears) * 366;
    if (rule.until) {
      const SVRecurrenceDateValue& u = *rule.until;
      if (!u.hasTime) {
        untilDay_ = civilDayFromGregorian(u.year, u.month, u.day);
      } else if (u.utc) {
        untilInstant_ = u.date(0);
      } else {
        const double local =
            static_cast<double>(civilDayFromGregorian(u.year, u.month, u.day)) * kDay +
            u.hour * 3600.0 + u.minute * 60.0 + u.second;
        untilInstant_ = instantOfLocal(zone, local);
      }
    }
  }

  CivilDay startDay() const { return startDay_; }
  CivilDay boundDay() const { return boundDay_; }
  double timeOfDay() const { return timeOfDay_; }
  bool done() const { return done_; }
  std::vector<Date> take() { return std::move(found_); }
  // The first civil day a search may skip to without changing the result: COUNT counts from the
  // start, so a counted rule may not skip.
  std::optional<CivilDay> skipTarget() const {
    if (count_) return std::nullopt;
    return fromDay_ - 1;
  }

  // One more step of a search that may produce nothing; ends the search at kMaxCandidates.
  bool step() {
    if (++steps_ > SVRecurrenceAssistant::kMaxCandidates) done_ = true;
    return !done_;
  }

  // Offers the occurrence at the wall-clock time `local`; returns whether the search goes on.
  bool offerLocal(double local) {
    if (done_) return false;
    if (local < localStart_ || (lastLocal_ && local <= *lastLocal_)) return true;
    lastLocal_ = local;
    const CivilDay day = floorDay(local);
    if (day > boundDay_ || ++candidates_ > SVRecurrenceAssistant::kMaxCandidates) {
      done_ = true;
      return false;
    }
    const Date instant = instantOfLocal(zone_, local);
    if ((untilDay_ && day > *untilDay_) || (untilInstant_ && instant > *untilInstant_)) {
      done_ = true;
      return false;
    }
    if (count_ && ++counted_ > *count_) {
      done_ = true;
      return false;
    }
    if (instant > from_ || (includingFirst_ && instant == from_)) {
      found_.push_back(instant);
      if (found_.size() >= limit_) done_ = true;
    }
    return !done_;
  }
  // The occurrence on a civil day at the start's time of day.
  bool offerDay(CivilDay day) { return offerLocal(static_cast<double>(day) * kDay + timeOfDay_); }

 private:
  const TimeZone& zone_;
  double localStart_;
  CivilDay startDay_;
  double timeOfDay_;
  Date from_;
  std::size_t limit_;
  bool includingFirst_;
  std::optional<std::int64_t> count_;
  CivilDay fromDay_;  // the civil day of `from_` in the zone
  std::optional<CivilDay> untilDay_;
  std::optional<Date> untilInstant_;
  CivilDay boundDay_ = 0;
  std::optional<double> lastLocal_;
  std::int64_t counted_ = 0;
  std::size_t candidates_ = 0;
  std::size_t steps_ = 0;
  bool done_ = false;
  std::vector<Date> found_;
};

int weekdayOf(CivilDay day) {
  return detail::weekdayOfCivilDay(day);
}

// ---- Gregorian rules through libical -------------------------------------------------------

int gregorianMonthLength(int month) {
  static constexpr int kLongest[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month >= 1 && month <= 12 ? kLongest[month - 1] : 0;
}

// Whether BYMONTH and BYMONTHDAY together name only days that no year has (the 30th of February).
// libical would search for centuries before giving up on such a rule.
bool namesOnlyImpossibleDays(const SVRecurrenceRule& rule) {
  if (rule.byMonth.empty() || rule.byMonthDay.empty()) return false;
  for (int month : rule.byMonth) {
    for (int day : rule.byMonthDay) {
      if (std::abs(day) <= gregorianMonthLength(month)) return false;
    }
  }
  return true;
}

template <std::size_t N>
void fillShorts(short (&target)[N], const std::vector<int>& values) {
  std::size_t i = 0;
  for (int v : values) {
    if (i + 1 >= N) break;
    target[i++] = static_cast<short>(v);
  }
  target[i] = ICAL_RECURRENCE_ARRAY_MAX;
}

// libical's form of a Gregorian rule. COUNT and UNTIL are left to the Collector.
struct icalrecurrencetype toLibical(const SVRecurrenceRule& rule, int interval) {
  struct icalrecurrencetype r;
  icalrecurrencetype_clear(&r);
  r.freq = static_cast<icalrecurrencetype_frequency>(rule.frequencyOrdinal);
  r.interval = static_cast<short>(interval);
  if (rule.weekStart) {
    r.week_start = static_cast<icalrecurrencetype_weekday>(rule.weekStart->dayNum());
  }
  // libical's weekly expansion expects BYDAY in week order from WKST, as its own parser sorts it.
  std::vector<SVRecurrenceWeekdayNumber> byDay = rule.byDay;
  const int weekStart = static_cast<int>(r.week_start);
  std::stable_sort(byDay.begin(), byDay.end(), [weekStart](const auto& a, const auto& b) {
    return (a.wday().dayNum() - weekStart + 7) % 7 < (b.wday().dayNum() - weekStart + 7) % 7;
  });
  std::vector<int> days;
  days.reserve(byDay.size());
  for (const SVRecurrenceWeekdayNumber& d : byDay) {
    const int encoded = std::abs(d.num()) * 8 + d.wday().dayNum();
    days.push_back(d.num() < 0 ? -encoded : encoded);
  }
  fillShorts(r.by_day, days);
  fillShorts(r.by_month_day, rule.byMonthDay);
  fillShorts(r.by_month, rule.byMonth);
  fillShorts(r.by_set_pos, rule.bySetPos);
  fillShorts(r.by_year_day, rule.byYearDay);
  fillShorts(r.by_week_no, rule.byWeekNo);
  fillShorts(r.by_hour, rule.byHour);
  fillShorts(r.by_minute, rule.byMinute);
  fillShorts(r.by_second, rule.bySecond);
  return r;
}

struct icaltimetype icalLocal(double local) {
  const CivilDay day = floorDay(local);
  const GregorianDate g = gregorianFromCivilDay(day);
  const int secs = static_cast<int>(local - static_cast<double>(day) * kDay);
  struct icaltimetype t = icaltime_null_time();
  t.year = g.year;
  t.month = g.month;
  t.day = g.day;
  t.hour = secs / 3600;
  t.minute = secs / 60 % 60;
  t.second = secs % 60;
  t.is_date = 0;
  return t;
}

// The first civil day after the period (day, week, month or year) holding the start.
CivilDay endOfFirstPeriod(const SVRecurrenceRule& rule, CivilDay startDay) {
  const GregorianDate g = gregorianFromCivilDay(startDay);
  switch (rule.frequencyOrdinal) {
    case SVRecurrenceRule::weekly: {
      const int weekStart = rule.weekStart ? rule.weekStart->dayNum() : 2;
      return startDay - (weekdayOf(startDay) - weekStart + 7) % 7 + 7;
    }
    case SVRecurrenceRule::monthly:
      return civilDayFromGregorian(g.year, g.month + 1, 1);
    case SVRecurrenceRule::yearly:
      return civilDayFromGregorian(g.year + 1, 1, 1);
    default:
      return startDay + 1;
  }
}

void expandWithLibical(const SVRecurrenceRule& rule, Collector& out) {
  if (namesOnlyImpossibleDays(rule)) return;
  const int interval = std::max(rule.interval, 1);
  // libical keeps the interval in a short. Beyond that, periods after the first lie at least 89
  // years (daily) or beyond the search bound (the others) away: only the first period is read.
  const bool firstPeriodOnly = interval > SHRT_MAX;
  struct icalrecurrencetype r = toLibical(rule, firstPeriodOnly ? 1 : interval);
  // An explicit RSCALE=GREGORIAN rule may carry SKIP, which libical honours only with RSCALE.
  char gregorian[] = "GREGORIAN";
  if (rule.rscale == "GREGORIAN" && rule.skip && *rule.skip != SVRecurrenceSkip::omit) {
    r.rscale = gregorian;
    r.skip = *rule.skip == SVRecurrenceSkip::backward ? ICAL_SKIP_BACKWARD : ICAL_SKIP_FORWARD;
  }
  const double localStart = static_cast<double>(out.startDay()) * kDay + out.timeOfDay();
  const double fraction = out.timeOfDay() - std::floor(out.timeOfDay());
  icalrecur_iterator* it = icalrecur_iterator_new(r, icalLocal(localStart));
  if (!it) return;
  const CivilDay periodEnd = endOfFirstPeriod(rule, out.startDay());
  while (out.step()) {
    const struct icaltimetype t = icalrecur_iterator_next(it);
    if (icaltime_is_null_time(t)) break;
    const CivilDay day = civilDayFromGregorian(t.year, t.month, t.day);
    if (firstPeriodOnly && day >= periodEnd) break;
    const double local =
        static_cast<double>(day) * kDay + t.hour * 3600.0 + t.minute * 60.0 + t.second + fraction;
    if (!out.offerLocal(local)) break;
  }
  icalrecur_iterator_free(it);
}

// The first or last Monday-to-Friday day of every INTERVAL-th month, whatever approximation the
// rule text carries for other programs.
void expandWorkdayRule(const SVRecurrenceRule& rule, Collector& out) {
  SVRecurrenceRule plain;
  plain.frequencyOrdinal = SVRecurrenceRule::monthly;
  plain.interval = rule.interval;
  for (int d = 2; d <= 6; ++d) plain.byDay.emplace_back(0, SVRecurrenceWeekday(d));
  plain.bySetPos = {rule.workday == SVRecurrenceWorkday::first ? 1 : -1};
  expandWithLibical(plain, out);
}

// Official working days or holidays at the start's time of day. Which days they are is decided
// by official_day_rule.h; this only walks them (from the search cut when nothing is counted).
void expandOfficialDayRule(const SVRecurrenceRule& rule, Collector& out) {
  const NVOfficialCalendar::Table& table = NVOfficialCalendar::current();
  CivilDay day = std::max(out.startDay(), out.skipTarget().value_or(out.startDay()));
  while (const std::optional<CivilDay> next =
             detail::nextOfficialRuleDay(rule.officialDay, table, day, out.boundDay())) {
    if (!out.offerDay(*next)) break;
    day = *next + 1;
  }
}

// Picked dates, in order; a date without a time falls at the start's time of day.
void expandPickedDates(const SVRecurrenceRule& rule, const TimeZone& zone, Collector& out) {
  std::vector<double> locals;
  for (const SVRecurrenceDateValue& v : rule.specific().byDate) {
    const double day = static_cast<double>(civilDayFromGregorian(v.year, v.month, v.day)) * kDay;
    if (!v.hasTime) {
      locals.push_back(day + out.timeOfDay());
    } else if (v.utc) {
      locals.push_back(localSecondsOf(zone, v.date(0)));
    } else {
      locals.push_back(day + v.hour * 3600.0 + v.minute * 60.0 + v.second);
    }
  }
  std::sort(locals.begin(), locals.end());
  for (double local : locals) {
    if (!out.offerLocal(local)) break;
  }
}

// ---- Rules on the other calendars -----------------------------------------------------------

// The calendar module's calendar of a rule on another calendar; nullptr for a Gregorian rule.
const AlternativeCalendar* calendarOfRule(const SVRecurrenceRule& rule) {
  return alternativeCalendar(detail::calendarTypeOfRule(rule)->rawValue());
}

class CalendarExpansion {
 public:
  CalendarExpansion(const SVRecurrenceRule& rule, const AlternativeCalendar& calendar,
                    Collector& out)
      : rule_(rule),
        cal_(calendar),
        out_(out),
        interval_(std::max(rule.interval, 1)),
        skip_(rule.skip.value_or(SVRecurrenceSkip::omit)) {}

  void run() {
    if (!supported()) return;
    const auto start = cal_.dateOfCivilDay(out_.startDay());
    if (!start) return;
    start_ = *start;
    switch (rule_.frequencyOrdinal) {
      case SVRecurrenceRule::daily:
        return daily();
      case SVRecurrenceRule::weekly:
        return weekly();
      case SVRecurrenceRule::monthly:
        return monthly();
      case SVRecurrenceRule::yearly:
        return yearly();
      default:
        return;
    }
  }

 private:
  bool supported() const {
    if (rule_.frequencyOrdinal < SVRecurrenceRule::daily ||
        rule_.frequencyOrdinal > SVRecurrenceRule::yearly) {
      return false;
    }
    if (!rule_.bySetPos.empty() || !rule_.byYearDay.empty() || !rule_.byWeekNo.empty() ||
        !rule_.byHour.empty() || !rule_.byMinute.empty() || !rule_.bySecond.empty()) {
      return false;
    }
    const bool ordinals = std::any_of(rule_.byDay.begin(), rule_.byDay.end(),
                                      [](const auto& d) { return d.num() != 0; });
    // Ordinal weekdays count inside a month: a daily or weekly rule has none, and a yearly rule
    // needs BYMONTH to name the months.
    if (ordinals && (rule_.frequencyOrdinal <= SVRecurrenceRule::weekly ||
                     (rule_.isYearly() && rule_.byMonth.empty()))) {
      return false;
    }
    return true;
  }

  CalendarMonth monthSpec(std::size_t i) const {
    return {rule_.byMonth[i], i < rule_.byMonthLeap.size() && rule_.byMonthLeap[i]};
  }
  bool monthAllowed(const CalendarDate& d) const {
    if (rule_.byMonth.empty()) return true;
    for (std::size_t i = 0; i < rule_.byMonth.size(); ++i) {
      if (monthSpec(i) == CalendarMonth{d.month, d.leap}) return true;
    }
    return false;
  }
  bool weekdayAllowed(CivilDay day) const {
    if (rule_.byDay.empty()) return true;
    const int w = weekdayOf(day);
    return std::any_of(rule_.byDay.begin(), rule_.byDay.end(),
                       [w](const auto& d) { return d.wday().dayNum() == w; });
  }

  // The date of a civil day and its month's length. Daily and weekly rules read day after day
  // of the same month, so the month last read answers most of them without the calendar.
  std::optional<std::pair<CalendarDate, int>> dateOf(CivilDay day) {
    if (!cachedMonth_ || day < cachedFirst_ || day >= cachedFirst_ + cachedLength_) {
      const auto d = cal_.dateOfCivilDay(day);
      if (!d) return std::nullopt;
      const int length = cal_.daysInMonth(d->year, d->month, d->leap);
      if (length <= 0) return std::nullopt;
      cachedMonth_ = CalendarDate{d->year, d->month, 1, d->leap};
      cachedFirst_ = day - (d->day - 1);
      cachedLength_ = length;
    }
    CalendarDate date = *cachedMonth_;
    date.day = static_cast<int>(day - cachedFirst_) + 1;
    return std::pair{date, cachedLength_};
  }

  // Filters of the daily and weekly rules.
  bool dayAllowed(CivilDay day) {
    if (!weekdayAllowed(day)) return false;
    if (rule_.byMonth.empty() && rule_.byMonthDay.empty()) return true;
    const auto dated = dateOf(day);
    if (!dated || !monthAllowed(dated->first)) return false;
    if (rule_.byMonthDay.empty()) return true;
    const CalendarDate& d = dated->first;
    const int length = dated->second;
    return std::any_of(rule_.byMonthDay.begin(), rule_.byMonthDay.end(),
                       [&](int v) { return v == d.day || (v < 0 && length + 1 + v == d.day); });
  }

  void daily() {
    CivilDay day = out_.startDay();
    if (const auto target = out_.skipTarget(); target && *target > day) {
      day += (*target - day) / interval_ * interval_;
    }
    for (; day <= out_.boundDay() && out_.step(); day += interval_) {
      if (dayAllowed(day) && !out_.offerDay(day)) return;
    }
  }

  void weekly() {
    const int weekStart = rule_.weekStart ? rule_.weekStart->dayNum() : 2;
    auto offsetOf = [weekStart](int weekday) { return (weekday - weekStart + 7) % 7; };
    std::vector<int> offsets;
    for (const auto& d : rule_.byDay) offsets.push_back(offsetOf(d.wday().dayNum()));
    if (offsets.empty()) offsets.push_back(offsetOf(weekdayOf(out_.startDay())));
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    const CivilDay stride = 7 * static_cast<CivilDay>(interval_);
    CivilDay week = out_.startDay() - offsetOf(weekdayOf(out_.startDay()));
    if (const auto target = out_.skipTarget(); target && *target - 7 > week) {
      week += (*target - 7 - week) / stride * stride;
    }
    for (; week <= out_.boundDay() && out_.step(); week += stride) {
      for (int offset : offsets) {
        const CivilDay day = week + offset;
        if (dayAllowed(day) && !out_.offerDay(day)) return;
      }
    }
  }

  // The days a monthly or yearly rule gives in one month, ascending; days a month lacks follow
  // SKIP. `dayOfStart` stands in when the rule names neither month days nor weekdays.
  std::vector<CivilDay> daysOfMonth(int year, CalendarMonth month) {
    std::vector<CivilDay> days;
    const auto first = cal_.civilDayOfDate({year, month.month, 1, month.leap});
    const int length = cal_.daysInMonth(year, month.month, month.leap);
    if (!first || length <= 0) return days;
    auto resolve = [&](int v) -> std::optional<CivilDay> {
      if (v > 0 && v <= length) return *first + v - 1;
      if (v < 0 && length + 1 + v >= 1) return *first + length + v;
      if (v > length) {
        if (skip_ == SVRecurrenceSkip::backward) return *first + length - 1;
        if (skip_ == SVRecurrenceSkip::forward) return *first + length;
      }
      return std::nullopt;
    };
    if (!rule_.byMonthDay.empty()) {
      for (int v : rule_.byMonthDay) {
        if (auto d = resolve(v)) days.push_back(*d);
      }
    } else if (!rule_.byDay.empty()) {
      for (int v = 1; v <= length; ++v) days.push_back(*first + v - 1);
    } else if (auto d = resolve(start_.day)) {
      days.push_back(*d);
    }
    if (!rule_.byDay.empty()) {
      std::erase_if(days, [&](CivilDay day) {
        const int w = weekdayOf(day);
        const int index = static_cast<int>(day - *first) + 1;
        return std::none_of(rule_.byDay.begin(), rule_.byDay.end(), [&](const auto& d) {
          if (d.wday().dayNum() != w) return false;
          if (d.num() == 0 || index > length) return true;
          return d.num() > 0 ? (index - 1) / 7 + 1 == d.num()
                             : (length - index) / 7 + 1 == -d.num();
        });
      });
    }
    std::sort(days.begin(), days.end());
    days.erase(std::unique(days.begin(), days.end()), days.end());
    return days;
  }

  bool offerAll(const std::vector<CivilDay>& days) {
    for (CivilDay day : days) {
      if (!out_.offerDay(day)) return false;
    }
    return true;
  }

  std::optional<CivilDay> firstDayOfYear(int year, const std::vector<CalendarMonth>& months) {
    if (months.empty()) return std::nullopt;
    return cal_.civilDayOfDate({year, months.front().month, 1, months.front().leap});
  }

  void monthly() {
    int year = start_.year;
    std::vector<CalendarMonth> months = cal_.monthsOfYear(year);
    auto position =
        std::find(months.begin(), months.end(), CalendarMonth{start_.month, start_.leap});
    if (position == months.end()) return;
    std::size_t index = static_cast<std::size_t>(position - months.begin());
    while (out_.step()) {
      const CalendarMonth month = months[index];
      const auto first = cal_.civilDayOfDate({year, month.month, 1, month.leap});
      if (!first || *first > out_.boundDay()) return;
      const auto target = out_.skipTarget();
      const bool skippable = target && *first + 31 < *target;
      if (!skippable && monthAllowed({year, month.month, 1, month.leap}) &&
          !offerAll(daysOfMonth(year, month))) {
        return;
      }
      index += static_cast<std::size_t>(interval_);
      while (index >= months.size()) {
        index -= months.size();
        months = cal_.monthsOfYear(++year);
        if (months.empty() || !out_.step()) return;
      }
    }
  }

  // Where a month named by the rule falls in `year`, SKIP applied to a leap month the year lacks.
  std::optional<std::pair<int, CalendarMonth>> resolveMonth(
      int year, const std::vector<CalendarMonth>& months, CalendarMonth wanted) {
    if (std::find(months.begin(), months.end(), wanted) != months.end()) {
      return std::pair{year, wanted};
    }
    if (!wanted.leap || skip_ == SVRecurrenceSkip::omit) return std::nullopt;
    const auto plain = std::find(months.begin(), months.end(), CalendarMonth{wanted.month, false});
    if (plain == months.end()) return std::nullopt;
    if (skip_ == SVRecurrenceSkip::backward) return std::pair{year, *plain};
    if (plain + 1 != months.end()) return std::pair{year, *(plain + 1)};
    const std::vector<CalendarMonth> next = cal_.monthsOfYear(year + 1);
    if (next.empty()) return std::nullopt;
    return std::pair{year + 1, next.front()};
  }

  void yearly() {
    int year = start_.year;
    if (const auto target = out_.skipTarget(); target && *target > out_.startDay()) {
      if (const auto t = cal_.dateOfCivilDay(*target); t && t->year - 1 > year) {
        year += (t->year - 1 - year) / interval_ * interval_;
      }
    }
    for (; out_.step(); year += interval_) {
      const std::vector<CalendarMonth> months = cal_.monthsOfYear(year);
      const auto first = firstDayOfYear(year, months);
      if (!first || *first > out_.boundDay()) return;
      std::vector<CalendarMonth> wanted;
      if (!rule_.byMonth.empty()) {
        for (std::size_t i = 0; i < rule_.byMonth.size(); ++i) wanted.push_back(monthSpec(i));
      } else if (!rule_.byMonthDay.empty() || !rule_.byDay.empty()) {
        wanted = months;
      } else {
        wanted.push_back({start_.month, start_.leap});
      }
      std::vector<CivilDay> days;
      for (const CalendarMonth& m : wanted) {
        if (const auto where = resolveMonth(year, months, m)) {
          const std::vector<CivilDay> some = daysOfMonth(where->first, where->second);
          days.insert(days.end(), some.begin(), some.end());
        }
      }
      std::sort(days.begin(), days.end());
      days.erase(std::unique(days.begin(), days.end()), days.end());
      if (!offerAll(days)) return;
    }
  }

  const SVRecurrenceRule& rule_;
  const AlternativeCalendar& cal_;
  Collector& out_;
  int interval_;
  SVRecurrenceSkip skip_;
  CalendarDate start_;
  std::optional<CalendarDate> cachedMonth_;
  CivilDay cachedFirst_ = 0;
  int cachedLength_ = 0;
};

bool isGregorian(const SVRecurrenceRule& rule) {
  return rule.rscale.empty() || rule.rscale == "GREGORIAN";
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
  Collector out(rule, *zone, localSecondsOf(*zone, *start), from, limit, includingFirst);
  if (rule.isSpecificDate()) {
    expandPickedDates(rule, *zone, out);
  } else if (rule.isEbbinghaus()) {
    return {};
  } else if (rule.officialDay != SVRecurrenceOfficialDay::none) {
    expandOfficialDayRule(rule, out);
  } else if (!isGregorian(rule)) {
    if (const AlternativeCalendar* calendar = calendarOfRule(rule)) {
      CalendarExpansion(rule, *calendar, out).run();
    }
  } else if (rule.workday != SVRecurrenceWorkday::none && rule.isMonthly()) {
    expandWorkdayRule(rule, out);
  } else {
    expandWithLibical(rule, out);
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
