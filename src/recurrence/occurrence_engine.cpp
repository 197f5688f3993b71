#include "recurrence/occurrence_engine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <span>

#include "calendar/calendar_days.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/recurrence/recurrence_assistant.h"
#include "recurrence/rule_calendar.h"

namespace norvik::detail {

using platform::Date;
using platform::TimeZone;

namespace {

constexpr double kDay = 86400.0;
constexpr std::int64_t kDaySeconds = 86400;

CivilDay floorDay(double localSeconds) {
  return static_cast<CivilDay>(std::floor(localSeconds / kDay));
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
  std::int64_t q = a / b;
  if (a % b != 0 && ((a < 0) != (b < 0))) --q;
  return q;
}
std::int64_t ceilDiv(std::int64_t a, std::int64_t b) {
  return -floorDiv(-a, b);
}

int weekdayOf(CivilDay day) {
  return weekdayOfCivilDay(day);
}

}  // namespace

double localSecondsOf(const TimeZone& zone, Date instant) {
  return instant.timeIntervalSince1970() + cachedSecondsFromGMT(zone, instant);
}

// Offsets a day before and a day after stand for the offsets on either side of a change near the
// time (zones change at most once in two days). A time that both offsets reach (a fall-back
// overlap) takes the earlier instant; a time neither reaches (a spring-forward gap) is read with
// the earlier offset, which moves it forward by the gap.
Date instantOfLocal(const TimeZone& zone, double local) {
  const int before = cachedSecondsFromGMT(zone, Date(local - kDay));
  const int after = cachedSecondsFromGMT(zone, Date(local + kDay));
  const Date withBefore(local - before);
  if (before == after) return withBefore;
  const Date withAfter(local - after);
  const bool beforeHolds = cachedSecondsFromGMT(zone, withBefore) == before;
  const bool afterHolds = cachedSecondsFromGMT(zone, withAfter) == after;
  if (beforeHolds && afterHolds) return std::min(withBefore, withAfter);
  if (afterHolds) return withAfter;
  return withBefore;
}

// ---- The collector ----------------------------------------------------------------------------

OccurrenceCollector::OccurrenceCollector(const SVRecurrenceRule& rule, const TimeZone& zone,
                                         double localStart, Date from, std::size_t limit,
                                         bool includingFirst)
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
    // Nothing after UNTIL can be an occurrence: the search need not go further.
    const CivilDay last =
        untilDay_ ? *untilDay_ : floorDay(localSecondsOf(zone, *untilInstant_)) + 1;
    boundDay_ = std::min(boundDay_, last);
  }
}

std::optional<CivilDay> OccurrenceCollector::skipTarget() const {
  if (count_) return std::nullopt;
  return fromDay_ - 1;
}

bool OccurrenceCollector::step() {
  if (++steps_ > SVRecurrenceAssistant::kMaxCandidates) done_ = true;
  return !done_;
}

bool OccurrenceCollector::offerLocal(double local) {
  if (done_) return false;
  if (local < localStart_ || (lastLocal_ && local <= *lastLocal_)) return true;
  lastLocal_ = local;
  const CivilDay day = floorDay(local);
  if (day > boundDay_ || ++candidates_ > SVRecurrenceAssistant::kMaxCandidates) {
    done_ = true;
    return false;
  }
  const Date instant = instantOfLocal(zone_, local);
  // A wall-clock time in a spring-forward gap moves onto the next hour's instant: one occurrence.
  if (lastInstant_ && instant <= *lastInstant_) return true;
  lastInstant_ = instant;
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

namespace {

// ---- Gregorian as one calendar of the engine ----------------------------------------------------

class GregorianCalendar final : public AlternativeCalendar {
 public:
  std::string_view identifier() const override { return "gregorian"; }
  std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const override {
    const GregorianDate g = gregorianFromCivilDay(day);
    return CalendarDate{g.year, g.month, g.day, false};
  }
  std::optional<CivilDay> civilDayOfDate(const CalendarDate& date) const override {
    if (date.leap || date.day < 1 || date.day > daysInMonth(date.year, date.month, false)) {
      return std::nullopt;
    }
    return civilDayFromGregorian(date.year, date.month, date.day);
  }
  std::vector<CalendarMonth> monthsOfYear(int) const override {
    std::vector<CalendarMonth> months;
    for (int m = 1; m <= 12; ++m) months.push_back({m, false});
    return months;
  }
  int daysInMonth(int year, int month, bool leap) const override {
    static constexpr int kLength[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (leap || month < 1 || month > 12) return 0;
    const bool leapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return kLength[month - 1] + (month == 2 && leapYear ? 1 : 0);
  }
};

const GregorianCalendar& gregorianCalendar() {
  static const GregorianCalendar calendar;
  return calendar;
}

// ---- Years and months of the rule's calendar ----------------------------------------------------

struct MonthSpan {
  CalendarMonth month;
  CivilDay first = 0;
  int length = 0;
};

// The months of one year, kept in place (a year has at most 13).
class MonthList {
 public:
  void push_back(const MonthSpan& m) { items_[count_++] = m; }
  std::size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  const MonthSpan* begin() const { return items_; }
  const MonthSpan* end() const { return items_ + count_; }
  const MonthSpan& front() const { return items_[0]; }
  const MonthSpan& operator[](std::size_t i) const { return items_[i]; }

 private:
  MonthSpan items_[13];
  std::size_t count_ = 0;
};

struct YearSpan {
  int year = 0;
  CivilDay first = 0;
  int length = 0;
  MonthList months;
  const MonthSpan* monthOf(CivilDay day) const {
    for (const MonthSpan& m : months) {
      if (day >= m.first && day < m.first + m.length) return &m;
    }
    return nullptr;
  }
};

// The years a search reads, computed once each. Gregorian years come by arithmetic.
class YearCache {
 public:
  explicit YearCache(const AlternativeCalendar& calendar)
      : cal_(calendar), gregorian_(&calendar == &gregorianCalendar()) {}

  const YearSpan* year(int y) {
    // Searches move forward through the years: the one wanted is nearly always among the last.
    for (std::size_t i = count_; i-- > 0;) {
      Entry& e = entry(i);
      if (e.year == y) return e.valid ? &e.span : nullptr;
    }
    if (count_ >= kInline) overflow_.push_back(std::make_unique<Entry>());
    Entry& e = entry(count_++);
    e.year = y;
    e.valid = compute(y, e.span);
    return e.valid ? &e.span : nullptr;
  }

  // The year holding a civil day; nullptr outside the calendar's range.
  const YearSpan* yearOf(CivilDay day) {
    if (last_ && day >= last_->first && day < last_->first + last_->length) return last_;
    std::optional<int> y;
    if (gregorian_) {
      y = gregorianFromCivilDay(day).year;
    } else if (const auto d = cal_.dateOfCivilDay(day)) {
      y = d->year;
    }
    if (!y) return nullptr;
    last_ = year(*y);
    return last_;
  }

 private:
  bool compute(int y, YearSpan& span) const {
    span.year = y;
    if (gregorian_) {
      span.first = civilDayFromGregorian(y, 1, 1);
      CivilDay first = span.first;
      for (int m = 1; m <= 12; ++m) {
        const int length = cal_.daysInMonth(y, m, false);
        span.months.push_back({{m, false}, first, length});
        first += length;
      }
      span.length = static_cast<int>(first - span.first);
      return true;
    }
    const std::optional<CalendarYearLayout> layout = cal_.yearLayout(y);
    if (!layout || layout->count > 13) return false;
    span.first = layout->firstDay;
    CivilDay day = layout->firstDay;
    for (int i = 0; i < layout->count; ++i) {
      span.months.push_back({layout->months[i], day, layout->lengths[i]});
      day += layout->lengths[i];
    }
    span.length = static_cast<int>(day - span.first);
    return true;
  }

  const AlternativeCalendar& cal_;
  bool gregorian_;
  struct Entry {
    int year = 0;
    bool valid = false;
    YearSpan span;
  };
  Entry& entry(std::size_t i) { return i < kInline ? inline_[i] : *overflow_[i - kInline]; }
  // The first years live in place; a long search spills into entries of their own, which stay put.
  static constexpr std::size_t kInline = 4;
  Entry inline_[kInline];
  std::vector<std::unique_ptr<Entry>> overflow_;
  std::size_t count_ = 0;
  const YearSpan* last_ = nullptr;
};

// Where ordinal weekdays (2TU, -1FR) count: in the month, in the year, or nowhere (the ordinal
// is ignored, as python-dateutil reads it outside MONTHLY and YEARLY rules).
enum class OrdinalScope { none, month, year };

std::vector<int> sortedUnique(std::vector<int> values) {
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

bool contains(const std::vector<int>& sorted, int value) {
  return std::binary_search(sorted.begin(), sorted.end(), value);
}

// Buffers a search fills and empties period by period. They are kept per thread, so that once a
// thread has run a search the next one allocates nothing for them; a search started inside
// another (from a day hook) gets buffers of its own.
struct RuleWeekday {
  int wday;
  int ordinal;
};

struct Scratch {
  std::vector<CivilDay> days, allowed, candidates;
  std::vector<std::int64_t> bases, picked;
  // The rule's own lists, as the expansion reads them.
  std::vector<CalendarMonth> byMonth;
  std::vector<int> byMonthDay, offsets;
  std::vector<RuleWeekday> byDay;
};

class ScratchLease {
 public:
  ScratchLease() {
    thread_local Scratch shared;
    thread_local bool inUse = false;
    if (inUse) {
      own_ = std::make_unique<Scratch>();
      scratch_ = own_.get();
    } else {
      inUse = true;
      inUse_ = &inUse;
      scratch_ = &shared;
      // The rule's lists are filled by appending; the buffers are emptied before each use.
      shared.byMonth.clear();
      shared.byMonthDay.clear();
      shared.offsets.clear();
      shared.byDay.clear();
    }
  }
  ~ScratchLease() {
    if (inUse_) *inUse_ = false;
  }
  ScratchLease(const ScratchLease&) = delete;
  ScratchLease& operator=(const ScratchLease&) = delete;
  Scratch& get() { return *scratch_; }

 private:
  std::unique_ptr<Scratch> own_;
  Scratch* scratch_ = nullptr;
  bool* inUse_ = nullptr;
};

// ---- The expansion ------------------------------------------------------------------------------

class Expansion {
 public:
  Expansion(const SVRecurrenceRule& rule, const AlternativeCalendar& calendar,
            OccurrenceCollector& out, const DayHook* hook)
      : rule_(rule), cal_(calendar), years_(calendar), out_(out), hook_(hook) {}

  void run() {
    const auto start = cal_.dateOfCivilDay(out_.startDay());
    if (!start) return;
    start_ = *start;
    if (!plan()) return;
    switch (freq_) {
      case SVRecurrenceRule::yearly:
        return yearly();
      case SVRecurrenceRule::monthly:
        return monthly();
      case SVRecurrenceRule::weekly:
        return weekly();
      case SVRecurrenceRule::daily:
        return daily();
      default:
        return subDaily();
    }
  }

 private:
  using Weekday = RuleWeekday;

  // Reads the rule into the sets the expansion works with, defaults filled in from the start.
  // Returns false when the rule can have no occurrence at all.
  bool plan() {
    freq_ = std::clamp(rule_.frequencyOrdinal, 0, 6);
    interval_ = std::max(rule_.interval, 1);
    skip_ = rule_.skip.value_or(SVRecurrenceSkip::omit);
    wkst_ = rule_.weekStart ? rule_.weekStart->dayNum() : 2;
    if (wkst_ < 1 || wkst_ > 7) wkst_ = 2;
    for (std::size_t i = 0; i < rule_.byMonth.size(); ++i) {
      byMonth_.push_back({rule_.byMonth[i], i < rule_.byMonthLeap.size() && rule_.byMonthLeap[i]});
    }
    byMonthDay_ = rule_.byMonthDay;
    byYearDay_ = rule_.byYearDay;
    byWeekNo_ = rule_.byWeekNo;
    for (const auto& d : rule_.byDay) {
      // Outside MONTHLY and YEARLY an ordinal has no month or year to count in: it is dropped.
      const int ordinal = freq_ >= SVRecurrenceRule::monthly ? d.num() : 0;
      byDay_.push_back({d.wday().dayNum(), ordinal});
      if (ordinal == 0) plainWeekdays_ |= 1u << d.wday().dayNum();
      hasOrdinal_ = hasOrdinal_ || ordinal != 0;
    }
    if (byWeekNo_.empty() && byYearDay_.empty() && byMonthDay_.empty() && byDay_.empty()) {
      if (freq_ == SVRecurrenceRule::yearly) {
        if (byMonth_.empty()) byMonth_.push_back({start_.month, start_.leap});
        byMonthDay_.push_back(start_.day);
      } else if (freq_ == SVRecurrenceRule::monthly) {
        byMonthDay_.push_back(start_.day);
      } else if (freq_ == SVRecurrenceRule::weekly) {
        const int w = weekdayOf(out_.startDay());
        byDay_.push_back({w, 0});
        plainWeekdays_ |= 1u << w;
      }
    }
    scope_ = freq_ == SVRecurrenceRule::monthly ? OrdinalScope::month
             : freq_ == SVRecurrenceRule::yearly
                 ? (byMonth_.empty() ? OrdinalScope::year : OrdinalScope::month)
                 : OrdinalScope::none;
    needsDate_ = !byMonth_.empty() || !byMonthDay_.empty() || !byYearDay_.empty() ||
                 !byWeekNo_.empty() || hasOrdinal_;
    if (namesOnlyMissingDays()) return false;

    // Times: each field the period expands takes its list, or the start's value.
    const auto startSecond = static_cast<int>(std::floor(out_.timeOfDay()));
    fraction_ = out_.timeOfDay() - startSecond;
    const int h0 = startSecond / 3600, m0 = startSecond / 60 % 60, s0 = startSecond % 60;
    hours_ = sortedUnique(rule_.byHour);
    minutes_ = sortedUnique(rule_.byMinute);
    seconds_ = sortedUnique(rule_.bySecond);
    // A floating time has no leap second: second 60 names nothing.
    std::erase(seconds_, 60);
    if (!rule_.bySecond.empty() && seconds_.empty()) return false;
    const int oneHour[] = {h0}, oneMinute[] = {m0}, oneSecond[] = {s0};
    const std::span<const int> hs = hours_.empty() ? std::span<const int>(oneHour) : hours_;
    const std::span<const int> ms = minutes_.empty() ? std::span<const int>(oneMinute) : minutes_;
    const std::span<const int> ss = seconds_.empty() ? std::span<const int>(oneSecond) : seconds_;
    if (freq_ >= SVRecurrenceRule::daily) {
      for (int h : hs)
        for (int m : ms)
          for (int s : ss) offsets_.push_back(h * 3600 + m * 60 + s);
    } else if (freq_ == SVRecurrenceRule::hourly) {
      for (int m : ms)
        for (int s : ss) offsets_.push_back(m * 60 + s);
    } else if (freq_ == SVRecurrenceRule::minutely) {
      offsets_.assign(ss.begin(), ss.end());
    } else {
      offsets_ = {0};
    }
    std::sort(offsets_.begin(), offsets_.end());
    bySetPos_ = rule_.bySetPos;
    // A daily or shorter period always holds the same number of times: BYSETPOS beyond it picks
    // nothing, ever.
    const auto size = static_cast<int>(offsets_.size());
    if (freq_ <= SVRecurrenceRule::daily && !bySetPos_.empty() &&
        std::none_of(bySetPos_.begin(), bySetPos_.end(),
                     [size](int p) { return p != 0 && std::abs(p) <= size; })) {
      return false;
    }
    if (hook_ && hook_->lastKnownDay) out_.limitBoundDay(*hook_->lastKnownDay);
    return freq_ >= SVRecurrenceRule::daily || subDailyReachable();
  }

  // Whether the months or month days the rule names exist in no year of its calendar (the 31st of
  // a lunar month or of February, a month 13 outside the Hebrew calendar's numbering). Month
  // lengths are read from five years, which hold every length a month of these calendars has. Such
  // a rule would read every year up to the search bound, and far years of some calendars are slow
  // to compute.
  bool namesOnlyMissingDays() {
    const YearSpan* year = years_.year(start_.year);
    if (!year) return false;
    if (!byMonth_.empty() && std::none_of(byMonth_.begin(), byMonth_.end(), [&](auto m) {
          return m.leap || std::any_of(year->months.begin(), year->months.end(),
                                       [&](const MonthSpan& s) { return s.month == m; });
        })) {
      return true;
    }
    // SKIP moves missing days of monthly and yearly rules elsewhere; every month has 28 days.
    if (byMonthDay_.empty() ||
        std::any_of(byMonthDay_.begin(), byMonthDay_.end(),
                    [](int v) { return std::abs(v) <= 28; }) ||
        (skip_ != SVRecurrenceSkip::omit && freq_ >= SVRecurrenceRule::monthly)) {
      return false;
    }
    int longest = 0;
    for (int y = start_.year; y <= start_.year + 4; ++y) {
      if (const YearSpan* span = years_.year(y)) {
        for (const MonthSpan& m : span->months) {
          if (monthListed(m.month)) longest = std::max(longest, m.length);
        }
      }
    }
    // A listed leap month none of these years has: its length is not known here.
    if (longest == 0) return false;
    return std::all_of(byMonthDay_.begin(), byMonthDay_.end(),
                       [&](int v) { return std::abs(v) > longest; });
  }

  // ---- Days

  bool weekdayMatches(CivilDay day, const YearSpan* year, const MonthSpan* month) const {
    const int w = weekdayOf(day);
    if (plainWeekdays_ & (1u << w)) return true;
    if (!hasOrdinal_) return false;
    CivilDay first = 0;
    int length = 0;
    if (scope_ == OrdinalScope::month && month) {
      first = month->first;
      length = month->length;
    } else if (scope_ == OrdinalScope::year && year) {
      first = year->first;
      length = year->length;
    } else {
      return false;
    }
    const int index = static_cast<int>(day - first) + 1;
    for (const Weekday& d : byDay_) {
      if (d.ordinal == 0 || d.wday != w) continue;
      if (d.ordinal > 0 ? (index - 1) / 7 + 1 == d.ordinal
                        : (length - index) / 7 + 1 == -d.ordinal) {
        return true;
      }
    }
    return false;
  }

  bool monthListed(const CalendarMonth& m) const {
    return byMonth_.empty() || std::find(byMonth_.begin(), byMonth_.end(), m) != byMonth_.end();
  }

  static bool numberMatches(const std::vector<int>& list, int index, int length) {
    for (int v : list) {
      if (v == index || (v < 0 && length + 1 + v == index)) return true;
    }
    return false;
  }

  // The first day of week 1 of the year starting on `first`: the week (from WKST) holding at
  // least four days of the year.
  CivilDay weekOneStart(CivilDay first) const {
    const int ahead = (wkst_ - weekdayOf(first) + 7) % 7;
    return ahead >= 4 ? first + ahead - 7 : first + ahead;
  }

  bool weekNoMatches(CivilDay day, const YearSpan& year) {
    const CivilDay week1 = weekOneStart(year.first);
    const CivilDay nextWeek1 = weekOneStart(year.first + year.length);
    int number = 0;
    int weeks = 0;
    if (day >= nextWeek1) {
      number = 1;
      const YearSpan* next = years_.year(year.year + 1);
      if (!next) return false;
      weeks = static_cast<int>((weekOneStart(next->first + next->length) - nextWeek1) / 7);
    } else if (day < week1) {
      const YearSpan* previous = years_.year(year.year - 1);
      if (!previous) return false;
      weeks = static_cast<int>((week1 - weekOneStart(previous->first)) / 7);
      number = weeks;
    } else {
      number = static_cast<int>((day - week1) / 7) + 1;
      weeks = static_cast<int>((nextWeek1 - week1) / 7);
    }
    return numberMatches(byWeekNo_, number, weeks);
  }

  // Whether a day passes every day part but BYMONTHDAY and BYMONTH, which the caller has
  // applied (or is applying) itself.
  bool passesRest(CivilDay day, const YearSpan& year, const MonthSpan& month) {
    if (!byDay_.empty() && !weekdayMatches(day, &year, &month)) return false;
    if (!byYearDay_.empty() &&
        !numberMatches(byYearDay_, static_cast<int>(day - year.first) + 1, year.length)) {
      return false;
    }
    if (!byWeekNo_.empty() && !weekNoMatches(day, year)) return false;
    return !hook_ || !hook_->allows || hook_->allows(day);
  }

  // Appends the days of one month that pass the day parts. BYMONTHDAY names the days (a day the
  // month lacks follows SKIP when `skipping`); without it every day of the month is tried.
  void appendMonthDays(const YearSpan& year, const MonthSpan& month, bool skipping,
                       std::vector<CivilDay>& days) {
    if (!byMonthDay_.empty()) {
      for (int v : byMonthDay_) {
        CivilDay day = 0;
        if (v > 0 && v <= month.length) {
          day = month.first + v - 1;
        } else if (v < 0 && month.length + 1 + v >= 1) {
          day = month.first + month.length + v;
        } else if (skipping && v > month.length && skip_ != SVRecurrenceSkip::omit) {
          day = skip_ == SVRecurrenceSkip::backward ? month.first + month.length - 1
                                                    : month.first + month.length;
        } else if (skipping && v < 0 && skip_ != SVRecurrenceSkip::omit) {
          // A day counted back past the month's first day: the month's first day (FORWARD) or
          // the previous month's last (BACKWARD).
          day = skip_ == SVRecurrenceSkip::backward ? month.first - 1 : month.first;
        } else {
          continue;
        }
        // A day moved into the next or the previous month is read in that month.
        if (day < month.first || day >= month.first + month.length) {
          const YearSpan* y = years_.yearOf(day);
          const MonthSpan* m = y ? y->monthOf(day) : nullptr;
          if (m && passesRest(day, *y, *m)) days.push_back(day);
        } else if (passesRest(day, year, month)) {
          days.push_back(day);
        }
      }
      return;
    }
    for (CivilDay day = month.first; day < month.first + month.length; ++day) {
      if (passesRest(day, year, month)) days.push_back(day);
    }
  }

  // Whether a day passes all day parts (daily, weekly and sub-daily rules).
  bool dayAllowed(CivilDay day) {
    if (!byDay_.empty() && !needsDate_ && !(plainWeekdays_ & (1u << weekdayOf(day)))) return false;
    if (needsDate_) {
      const YearSpan* year = years_.yearOf(day);
      const MonthSpan* month = year ? year->monthOf(day) : nullptr;
      if (!month || !monthListed(month->month)) return false;
      if (!byMonthDay_.empty() &&
          !numberMatches(byMonthDay_, static_cast<int>(day - month->first) + 1, month->length)) {
        return false;
      }
      return passesRest(day, *year, *month);
    }
    return !hook_ || !hook_->allows || hook_->allows(day);
  }

  // The days of a year that pass all day parts, ascending, into allowed_. Days of the year and
  // week numbers name their few candidates directly; otherwise each listed month is read.
  void listAllowedDays(const YearSpan& year) {
    allowed_.clear();
    if (!byMonthDay_.empty() || (byYearDay_.empty() && byWeekNo_.empty())) {
      for (const MonthSpan& m : year.months) {
        if (monthListed(m.month)) appendMonthDays(year, m, false, allowed_);
      }
      std::sort(allowed_.begin(), allowed_.end());
      return;
    }
    const CivilDay end = year.first + year.length;
    candidates_.clear();
    if (!byYearDay_.empty()) {
      for (int v : byYearDay_) {
        const int index = v > 0 ? v : year.length + 1 + v;
        if (index >= 1 && index <= year.length) candidates_.push_back(year.first + index - 1);
      }
    } else {
      // The week's numbers are checked again below; here only where each week may lie, with the
      // year's first and last days, which may belong to the neighbouring years' weeks.
      const CivilDay week1 = weekOneStart(year.first);
      const CivilDay nextWeek1 = weekOneStart(end);
      auto addRange = [&](CivilDay from, CivilDay to) {
        for (CivilDay d = std::max(from, year.first); d < std::min(to, end); ++d) {
          candidates_.push_back(d);
        }
      };
      addRange(year.first, week1);
      addRange(nextWeek1, end);
      for (int n : byWeekNo_) {
        const CivilDay weekStart = n > 0 ? week1 + (n - 1) * 7 : nextWeek1 + n * 7;
        addRange(weekStart, weekStart + 7);
      }
    }
    for (CivilDay d : candidates_) {
      const MonthSpan* month = year.monthOf(d);
      if (month && monthListed(month->month) && passesRest(d, year, *month)) {
        allowed_.push_back(d);
      }
    }
    std::sort(allowed_.begin(), allowed_.end());
    allowed_.erase(std::unique(allowed_.begin(), allowed_.end()), allowed_.end());
  }

  // The first day at or after `day` that passes all day parts; std::nullopt when none comes
  // before the search bound.
  std::optional<CivilDay> nextAllowedDay(CivilDay day) {
    if (!needsDate_) {
      for (; day <= out_.boundDay(); ++day) {
        if (dayAllowed(day)) return day;
        if (!out_.step()) return std::nullopt;
      }
      return std::nullopt;
    }
    // Dated parts: the allowed days of each year are listed once and searched.
    while (day <= out_.boundDay()) {
      const YearSpan* year = years_.yearOf(day);
      if (!year) return std::nullopt;
      if (allowedYear_ != year->year || !allowedValid_) {
        listAllowedDays(*year);
        allowedYear_ = year->year;
        allowedValid_ = true;
      }
      const auto it = std::lower_bound(allowed_.begin(), allowed_.end(), day);
      if (it != allowed_.end()) return *it <= out_.boundDay() ? std::optional(*it) : std::nullopt;
      day = year->first + year->length;
      if (!out_.step()) return std::nullopt;
    }
    return std::nullopt;
  }

  // ---- Periods

  // Offers the occurrences of one period: every day of `days` (ascending) at every offset (or
  // `base` plus every offset for a sub-daily period), BYSETPOS picking from that set.
  bool emit(const std::vector<std::int64_t>& bases) {
    const std::size_t n = bases.size() * offsets_.size();
    if (n == 0) return true;
    auto at = [&](std::size_t i) {
      return bases[i / offsets_.size()] + offsets_[i % offsets_.size()];
    };
    if (bySetPos_.empty()) {
      for (std::size_t i = 0; i < n; ++i) {
        if (!out_.offerLocal(static_cast<double>(at(i)) + fraction_)) return false;
      }
      return true;
    }
    picked_.clear();
    for (int pos : bySetPos_) {
      const std::int64_t index = pos > 0 ? pos - 1 : static_cast<std::int64_t>(n) + pos;
      if (index >= 0 && index < static_cast<std::int64_t>(n)) {
        picked_.push_back(at(static_cast<std::size_t>(index)));
      }
    }
    std::sort(picked_.begin(), picked_.end());
    for (std::int64_t local : picked_) {
      if (!out_.offerLocal(static_cast<double>(local) + fraction_)) return false;
    }
    return true;
  }

  bool emitDays(std::vector<CivilDay>& days) {
    std::sort(days.begin(), days.end());
    days.erase(std::unique(days.begin(), days.end()), days.end());
    bases_.clear();
    for (CivilDay d : days) bases_.push_back(d * kDaySeconds);
    return emit(bases_);
  }

  // Where a month named by a yearly rule falls in `year`; a leap month the year lacks follows
  // SKIP (BACKWARD: its namesake, FORWARD: the month after the namesake).
  std::optional<std::pair<const YearSpan*, const MonthSpan*>> resolveMonth(const YearSpan& year,
                                                                           CalendarMonth wanted) {
    for (const MonthSpan& m : year.months) {
      if (m.month == wanted) return std::pair{&year, &m};
    }
    if (!wanted.leap || skip_ == SVRecurrenceSkip::omit) return std::nullopt;
    for (std::size_t i = 0; i < year.months.size(); ++i) {
      if (year.months[i].month != CalendarMonth{wanted.month, false}) continue;
      if (skip_ == SVRecurrenceSkip::backward) return std::pair{&year, &year.months[i]};
      if (i + 1 < year.months.size()) return std::pair{&year, &year.months[i + 1]};
      const YearSpan* next = years_.year(year.year + 1);
      if (!next || next->months.empty()) return std::nullopt;
      return std::pair{next, &next->months.front()};
    }
    return std::nullopt;
  }

  void yearly() {
    std::int64_t year = start_.year;
    if (const auto target = out_.skipTarget(); target && *target > out_.startDay()) {
      if (const auto t = cal_.dateOfCivilDay(*target); t && t->year - 1 > year) {
        year += (t->year - 1 - year) / interval_ * interval_;
      }
    }
    const std::int64_t lastYear = yearOfBound();
    for (; year <= lastYear && out_.step(); year += interval_) {
      const YearSpan* span = years_.year(static_cast<int>(year));
      if (!span || span->first > out_.boundDay()) return;
      days_.clear();
      if (byMonth_.empty()) {
        for (const MonthSpan& m : span->months) appendMonthDays(*span, m, true, days_);
      } else {
        for (const CalendarMonth& wanted : byMonth_) {
          if (const auto where = resolveMonth(*span, wanted)) {
            appendMonthDays(*where->first, *where->second, true, days_);
          }
        }
      }
      appendSkippedYearDays(*span);
      if (!emitDays(days_)) return;
    }
  }

  // Days of the year a year lacks (day 366, or -366, of a common year) follow SKIP in a yearly
  // rule that names nothing but BYYEARDAY: FORWARD gives the next year's first day (or this
  // year's first for -366), BACKWARD this year's last day (or the previous year's last).
  void appendSkippedYearDays(const YearSpan& span) {
    if (skip_ == SVRecurrenceSkip::omit || byYearDay_.empty() || !byMonthDay_.empty() ||
        !byDay_.empty() || !byWeekNo_.empty() || !rule_.byMonth.empty()) {
      return;
    }
    const bool forward = skip_ == SVRecurrenceSkip::forward;
    for (int v : byYearDay_) {
      if (v > span.length) {
        days_.push_back(forward ? span.first + span.length : span.first + span.length - 1);
      } else if (v < -span.length) {
        days_.push_back(forward ? span.first : span.first - 1);
      }
    }
  }

  // A year no search reaches: every calendar year here has at least 353 days.
  std::int64_t yearOfBound() const {
    return start_.year + (out_.boundDay() - out_.startDay()) / 353 + 2;
  }

  void monthly() {
    const YearSpan* span = years_.year(start_.year);
    if (!span) return;
    std::size_t index = 0;
    while (index < span->months.size() &&
           span->months[index].month != CalendarMonth{start_.month, start_.leap}) {
      ++index;
    }
    if (index == span->months.size()) return;
    const std::int64_t lastYear = yearOfBound();
    std::int64_t year = start_.year;
    const bool gregorian = &cal_ == &gregorianCalendar();
    while (out_.step()) {
      const MonthSpan& month = span->months[index];
      if (month.first > out_.boundDay()) return;
      const auto target = out_.skipTarget();
      const bool skippable = target && month.first + 62 < *target;
      if (!skippable && monthListed(month.month)) {
        days_.clear();
        appendMonthDays(*span, month, true, days_);
        if (!emitDays(days_)) return;
      }
      std::int64_t ahead = static_cast<std::int64_t>(index) + interval_;
      if (gregorian) {
        // Twelve-month years: no need to read the years passed over.
        year += ahead / 12;
        ahead %= 12;
        if (year > lastYear) return;
        span = years_.year(static_cast<int>(year));
      }
      while (ahead >= static_cast<std::int64_t>(span->months.size())) {
        ahead -= static_cast<std::int64_t>(span->months.size());
        if (++year > lastYear) return;
        span = years_.year(static_cast<int>(year));
        if (!span || span->months.empty()) return;
      }
      index = static_cast<std::size_t>(ahead);
    }
  }

  CivilDay weekStartOf(CivilDay day) const { return day - (weekdayOf(day) - wkst_ + 7) % 7; }

  void weekly() {
    const CivilDay week0 = weekStartOf(out_.startDay());
    const CivilDay stride = 7 * static_cast<CivilDay>(interval_);
    CivilDay week = week0;
    // Every week is whole, the start's too: BYSETPOS picks among the days from WKST on, and the
    // collector drops those before the start.
    if (const auto target = out_.skipTarget(); target && *target - 7 > week) {
      week += (*target - 7 - week) / stride * stride;
    }
    while (week <= out_.boundDay() && out_.step()) {
      days_.clear();
      for (CivilDay day = week; day < week + 7; ++day) {
        if (dayAllowed(day)) days_.push_back(day);
      }
      if (!emitDays(days_)) return;
      CivilDay next = week + stride;
      if (days_.empty() && needsDate_) {
        // A week without a day: move on to the week of the next allowed day, on the grid.
        const auto allowed = nextAllowedDay(week + 7);
        if (!allowed) return;
        next = std::max(next, week0 + ceilDiv(weekStartOf(*allowed) - week0, stride) * stride);
      }
      week = next;
    }
  }

  void daily() {
    const CivilDay day0 = out_.startDay();
    CivilDay day = day0;
    if (const auto target = out_.skipTarget(); target && *target > day) {
      day += (*target - day) / interval_ * interval_;
    }
    const bool filtered = needsDate_ || !byDay_.empty() || hook_;
    while (day <= out_.boundDay() && out_.step()) {
      if (filtered) {
        const auto allowed = nextAllowedDay(day);
        if (!allowed) return;
        if (*allowed != day) {
          day = day0 + ceilDiv(*allowed - day0, interval_) * interval_;
          continue;
        }
      }
      bases_.assign(1, day * kDaySeconds);
      if (!emit(bases_)) return;
      day += interval_;
    }
  }

  // ---- Sub-daily rules

  std::int64_t unit() const {
    return freq_ == SVRecurrenceRule::hourly ? 3600 : freq_ == SVRecurrenceRule::minutely ? 60 : 1;
  }

  // Whether some period start the INTERVAL grid reaches has an hour, minute and second the rule
  // allows (python-dateutil refuses such rules; here they have no occurrences).
  bool subDailyReachable() const {
    const std::int64_t u = unit();
    const std::int64_t step = static_cast<std::int64_t>(interval_) * u;
    const std::int64_t g = std::gcd(step, kDaySeconds);
    const auto startSecond = static_cast<std::int64_t>(std::floor(out_.timeOfDay()));
    const std::int64_t r = startSecond / u * u % g;
    std::vector<int> hs = hours_, ms = minutes_, ss = seconds_;
    auto all = [](int n) {
      std::vector<int> v(static_cast<std::size_t>(n));
      std::iota(v.begin(), v.end(), 0);
      return v;
    };
    if (hs.empty()) hs = all(24);
    if (u < 3600 && ms.empty()) ms = all(60);
    if (u >= 3600) ms = {0};
    if (u < 60 && ss.empty()) ss = all(60);
    if (u >= 60) ss = {0};
    for (int h : hs)
      for (int m : ms)
        for (int s : ss) {
          if ((h * 3600 + m * 60 + s - r) % g == 0) return true;
        }
    return false;
  }

  // The first allowed value at or after `value` in a sorted list; -1 for none.
  static int nextIn(const std::vector<int>& list, int value) {
    const auto it = std::lower_bound(list.begin(), list.end(), value);
    return it == list.end() ? -1 : *it;
  }

  void subDaily() {
    const std::int64_t u = unit();
    const auto localStart = static_cast<std::int64_t>(std::floor(out_.localStart()));
    const std::int64_t p0 = floorDiv(localStart, u);
    const std::int64_t interval = interval_;
    auto onGrid = [&](std::int64_t seconds) {  // the first period at or after a local time
      return p0 + ceilDiv(ceilDiv(seconds, u) - p0, interval) * interval;
    };
    std::int64_t p = p0;
    if (const auto target = out_.skipTarget(); target && *target > out_.startDay()) {
      p = std::max(p, p0 + floorDiv(*target * kDaySeconds / u - p0, interval) * interval);
    }
    const bool filtered = needsDate_ || !byDay_.empty() || hook_;
    CivilDay checkedDay = std::numeric_limits<CivilDay>::min();
    const bool limitHours = !hours_.empty();
    const bool limitMinutes = u <= 60 && !minutes_.empty();
    const bool limitSeconds = u == 1 && !seconds_.empty();
    while (out_.step()) {
      const std::int64_t t = p * u;
      const CivilDay day = floorDiv(t, kDaySeconds);
      if (day > out_.boundDay()) return;
      if (filtered && day != checkedDay) {
        const auto allowed = nextAllowedDay(day);
        if (!allowed) return;
        if (*allowed != day) {
          p = onGrid(*allowed * kDaySeconds);
          continue;
        }
        checkedDay = day;
      }
      const auto second = static_cast<int>(t - day * kDaySeconds);
      const int hour = second / 3600, minute = second / 60 % 60, sec = second % 60;
      const std::int64_t dayStart = day * kDaySeconds;
      if (limitHours && !contains(hours_, hour)) {
        const int h = nextIn(hours_, hour);
        p = onGrid(h < 0 ? dayStart + kDaySeconds : dayStart + h * 3600);
        continue;
      }
      if (limitMinutes && !contains(minutes_, minute)) {
        const int m = nextIn(minutes_, minute);
        p = onGrid(m < 0 ? dayStart + (hour + 1) * 3600 : dayStart + hour * 3600 + m * 60);
        continue;
      }
      if (limitSeconds && !contains(seconds_, sec)) {
        const int s = nextIn(seconds_, sec);
        p = onGrid(s < 0 ? dayStart + hour * 3600 + (minute + 1) * 60
                         : dayStart + hour * 3600 + minute * 60 + s);
        continue;
      }
      bases_.assign(1, t);
      if (!emit(bases_)) return;
      p += interval;
    }
  }

  ScratchLease lease_;  // first: the buffers below refer into it
  const SVRecurrenceRule& rule_;
  const AlternativeCalendar& cal_;
  YearCache years_;
  OccurrenceCollector& out_;
  const DayHook* hook_;
  CalendarDate start_;

  int freq_ = SVRecurrenceRule::daily;
  std::int64_t interval_ = 1;
  SVRecurrenceSkip skip_ = SVRecurrenceSkip::omit;
  int wkst_ = 2;
  std::vector<CalendarMonth>& byMonth_ = lease_.get().byMonth;
  std::vector<int>& byMonthDay_ = lease_.get().byMonthDay;
  std::vector<int> byYearDay_, byWeekNo_;
  std::vector<Weekday>& byDay_ = lease_.get().byDay;
  unsigned plainWeekdays_ = 0;  // bit w for a weekday w (1..7) that needs no ordinal
  bool hasOrdinal_ = false;
  OrdinalScope scope_ = OrdinalScope::none;
  bool needsDate_ = false;  // a day part that needs the day's month or year
  std::vector<int> hours_, minutes_, seconds_;
  // Seconds from the start of a day (or of a sub-daily period).
  std::vector<int>& offsets_ = lease_.get().offsets;
  double fraction_ = 0;  // the start's fraction of a second
  std::vector<int> bySetPos_;

  std::vector<CivilDay>& days_ = lease_.get().days;
  std::vector<std::int64_t>& bases_ = lease_.get().bases;
  std::vector<std::int64_t>& picked_ = lease_.get().picked;
  std::vector<CivilDay>& allowed_ = lease_.get().allowed;
  std::vector<CivilDay>& candidates_ = lease_.get().candidates;
  int allowedYear_ = 0;
  bool allowedValid_ = false;
};

}  // namespace

void expandRule(const SVRecurrenceRule& rule, OccurrenceCollector& out, const DayHook* hook) {
  const AlternativeCalendar* calendar = &gregorianCalendar();
  if (!rule.rscale.empty() && rule.rscale != "GREGORIAN") {
    calendar = alternativeCalendar(calendarTypeOfRule(rule)->rawValue());
    if (!calendar) return;
  }
  Expansion(rule, *calendar, out, hook).run();
}

}  // namespace norvik::detail
