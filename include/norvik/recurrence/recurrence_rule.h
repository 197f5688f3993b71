#pragma once
// The recurrence-rule model and its text form.
//
// A rule is RFC 5545 RRULE text ("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR"), optionally on another
// calendar through RFC 7529 RSCALE/SKIP ("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1"), plus
// the application's own X- parts for workday, official-day, Ebbinghaus and picked-date rules. The
// grammar of those parts is documented in docs/RRULE.md.
//
// SVRecurrenceRule is a plain mutable value: copy it freely; one object may be read from many
// threads at once but must not be changed while others read it. All functions here are pure.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"

namespace norvik {

// Recurrence-from modes stored beside a rule. Compared by string equality.
inline constexpr std::string_view SVRecurrenceFromDefault = "default";
inline constexpr std::string_view SVRecurrenceFromDueDate = "duedate";

// A weekday, 1 (Sunday) to 7 (Saturday).
class SVRecurrenceWeekday {
 public:
  explicit constexpr SVRecurrenceWeekday(int dayNum = 1) : dayNum_(dayNum) {}
  constexpr int dayNum() const { return dayNum_; }
  // "SU".."SA"; the empty string outside 1..7.
  std::string_view icalName() const;
  bool operator==(const SVRecurrenceWeekday&) const = default;

 private:
  int dayNum_;
};

// One BYDAY entry: MO (num 0), 2TU (num 2), -1FR (num -1).
class SVRecurrenceWeekdayNumber {
 public:
  constexpr SVRecurrenceWeekdayNumber(int num, SVRecurrenceWeekday weekday)
      : num_(num), wday_(weekday) {}
  constexpr int num() const { return num_; }
  constexpr SVRecurrenceWeekday wday() const { return wday_; }
  // Equal when both the ordinal and the weekday are equal.
  bool operator==(const SVRecurrenceWeekdayNumber&) const = default;

  // The seven weekdays with num 0, Monday first and Sunday last (the order day lists are shown in).
  static const std::vector<SVRecurrenceWeekdayNumber>& allDays();
  // Whether `days` holds exactly Monday to Friday with num 0 (each once, any order).
  static bool isWeekdays(const std::vector<SVRecurrenceWeekdayNumber>& days);
  // Whether `days` holds exactly Saturday and Sunday with num 0 (each once, any order).
  static bool isWeekends(const std::vector<SVRecurrenceWeekdayNumber>& days);

 private:
  int num_;
  SVRecurrenceWeekday wday_;
};

// A DATE or DATE-TIME value as written in UNTIL or X-NV-DATES: 20240105, 20240105T093000,
// 20240105T093000Z. Kept field by field so that the text round-trips exactly.
struct SVRecurrenceDateValue {
  int year = 1970;
  int month = 1;
  int day = 1;
  bool hasTime = false;
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool utc = false;  // a trailing "Z"; only with a time
  bool operator==(const SVRecurrenceDateValue&) const = default;
  // The iCalendar text of the value.
  std::string toIcal() const;
  // The instant: UTC values as UTC, dates and floating times in `secondsFromGMT` (default UTC).
  platform::Date date(int secondsFromGMT = 0) const;
};

// RFC 7529 SKIP.
enum class SVRecurrenceSkip { omit, backward, forward };

// Workday rules: a monthly rule on the first or last working day of the month.
enum class SVRecurrenceWorkday { none, first, last };
// Official-day rules: every official working day, or every official holiday.
enum class SVRecurrenceOfficialDay { none, workingDay, holiday };

// The Ebbinghaus curve: the 0-based number of the current repetition.
struct SVRecurrenceEbbinghaus {
  std::int64_t cycle = 0;
  bool operator==(const SVRecurrenceEbbinghaus&) const = default;
};
// The application's extension data of a rule.
struct SVRecurrenceExtendable {
  std::optional<SVRecurrenceEbbinghaus> ebbinghausData;  // set on Ebbinghaus rules
  // Ebbinghaus data, or cycle 0 when the rule has none.
  SVRecurrenceEbbinghaus ebbinghaus() const {
    return ebbinghausData.value_or(SVRecurrenceEbbinghaus{});
  }
  bool operator==(const SVRecurrenceExtendable&) const = default;
};
// Hand-picked dates.
struct SVRecurrenceSpecific {
  std::vector<SVRecurrenceDateValue> byDate;
  bool operator==(const SVRecurrenceSpecific&) const = default;
};

// Why a text could not be read.
struct SVRecurrenceError {
  std::string description;  // one line: which part is wrong and how
};

class SVRecurrenceRule {
 public:
  // Frequencies by their iCalendar ordinal.
  enum Frequency : int {
    secondly = 0,
    minutely = 1,
    hourly = 2,
    daily = 3,
    weekly = 4,
    monthly = 5,
    yearly = 6
  };

  // Reads RRULE text ("RRULE:" prefix optional; part names and keywords in any case; parts in any
  // order). Returns a null pointer on malformed text (no or unknown FREQ, a non-number or
  // out-of-range number, an unknown part, a part given twice, COUNT with UNTIL, SKIP without
  // RSCALE, an unknown RSCALE, control or non-ASCII bytes, more than kMaxTextLength bytes) and then
  // sets
  // `*error` when `error` is not null.
  static std::shared_ptr<SVRecurrenceRule> ruleWithIcalString(std::string_view text,
                                                              SVRecurrenceError* error = nullptr);
  static constexpr std::size_t kMaxTextLength = 8192;

  // The rule as RRULE text without the "RRULE:" prefix, parts in a fixed order: RSCALE, FREQ, the
  // standard parts, SKIP, WKST, then the X- parts. Text read by ruleWithIcalString and written
  // again equals that text whenever it was written in this order and in upper case.
  std::string toIcal() const;

  // ---- Standard parts
  int frequencyOrdinal = daily;
  int interval = 0;  // 0 when INTERVAL is absent; counts as 1
  std::optional<std::int64_t> count;
  std::optional<SVRecurrenceDateValue> until;
  std::optional<SVRecurrenceWeekday> weekStart;  // WKST
  std::vector<SVRecurrenceWeekdayNumber> byDay;
  std::vector<int> byMonthDay;
  std::vector<int> byMonth;
  std::vector<bool> byMonthLeap;  // RFC 7529 "5L": parallel to byMonth, or empty for none
  std::vector<int> bySetPos;
  std::vector<int> byYearDay;
  std::vector<int> byWeekNo;
  std::vector<int> byHour;
  std::vector<int> byMinute;
  std::vector<int> bySecond;

  // ---- RFC 7529: the calendar name in upper case ("CHINESE", "HEBREW"), empty for Gregorian.
  std::string rscale;
  std::optional<SVRecurrenceSkip> skip;

  // ---- Extensions
  // Set for a Vietnamese lunar rule (written RSCALE=CHINESE;X-NV-CALENDAR=VIETNAM).
  bool vietnamese = false;
  SVRecurrenceWorkday workday = SVRecurrenceWorkday::none;
  SVRecurrenceOfficialDay officialDay = SVRecurrenceOfficialDay::none;
  SVRecurrenceExtendable extendable;
  std::optional<SVRecurrenceSpecific> specificData;  // set on picked-date rules
  // Other X- parts, kept in their order as NAME=VALUE texts so that they are written back.
  std::vector<std::string> otherExtensions;

  // Replace a list (byMonth also drops leap flags).
  void setByDay(std::vector<SVRecurrenceWeekdayNumber> days) { byDay = std::move(days); }
  void setByMonth(std::vector<int> months) {
    byMonth = std::move(months);
    byMonthLeap.clear();
  }
  void setByMonthDay(std::vector<int> days) { byMonthDay = std::move(days); }

  // byMonthDay in ascending order with -1 (the last day) last; std::nullopt when byMonthDay is
  // empty.
  std::optional<std::vector<int>> monthDaysOfTheSorted() const;

  // Calendar queries (from RSCALE and X-NV-CALENDAR).
  bool isLunar() const;           // RSCALE=CHINESE, not Vietnamese
  bool isKorean() const;          // DANGI
  bool isHijri() const;           // ISLAMIC-CIVIL
  bool isHebcal() const;          // HEBREW
  bool isShaka() const;           // INDIAN
  bool isPersian() const;         // PERSIAN
  bool isVietnam() const;         // CHINESE with X-NV-CALENDAR=VIETNAM
  bool isKuwaiti() const;         // ISLAMIC-TBLA
  bool isSaudi() const;           // ISLAMIC-UMALQURA
  bool isOtherCalendars() const;  // any of the eight above but the Chinese lunar one

  bool isWeekly() const { return frequencyOrdinal == weekly; }
  bool isMonthly() const { return frequencyOrdinal == monthly; }
  bool isYearly() const { return frequencyOrdinal == yearly; }
  bool isFirstWorkday() const { return isMonthly() && workday == SVRecurrenceWorkday::first; }
  bool isLastWorkday() const { return isMonthly() && workday == SVRecurrenceWorkday::last; }
  bool isEveryOfficalWorkingDay() const {
    return officialDay == SVRecurrenceOfficialDay::workingDay;
  }
  bool isEveryOfficalHoliday() const { return officialDay == SVRecurrenceOfficialDay::holiday; }
  bool isEbbinghaus() const { return extendable.ebbinghausData.has_value(); }
  bool isSpecificDate() const { return specificData.has_value(); }
  // The picked dates (empty for other rules).
  SVRecurrenceSpecific specific() const { return specificData.value_or(SVRecurrenceSpecific{}); }

  bool operator==(const SVRecurrenceRule&) const = default;
};

// A start date, a rule text and a recurrence-from mode, and the time zone the rule runs in.
class SVSimpleRecurringObject {
 public:
  void setStartDate(std::optional<platform::Date> date) { startDate_ = date; }
  void setRuleString(std::string_view rule) { ruleString_ = std::string(rule); }
  void setFrom(std::string_view from) { from_ = std::string(from); }
  std::optional<platform::Date> startDateAsRecurringObject() const { return startDate_; }
  const std::string& recurrenceRuleStringAsRecurringObject() const { return ruleString_; }
  const std::string& recurrenceFromAsRecurringObject() const { return from_; }
  // The Olson identifier of the zone whose wall-clock times the occurrences keep; std::nullopt
  // (the default) means the environment's current time zone at the moment of expansion.
  void setTimeZoneIdentifier(std::optional<std::string> identifier) {
    timeZoneIdentifier_ = std::move(identifier);
  }
  const std::optional<std::string>& timeZoneIdentifierAsRecurringObject() const {
    return timeZoneIdentifier_;
  }

 private:
  std::optional<platform::Date> startDate_;
  std::string ruleString_;
  std::string from_;
  std::optional<std::string> timeZoneIdentifier_;
};

}  // namespace norvik
