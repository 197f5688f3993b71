#pragma once
// The occurrence engine and the repair of rules against a moved date.
//
// Occurrences are expanded in the recurring object's time zone with floating local times: every
// occurrence keeps the wall-clock time of the start, across daylight-saving changes. A wall-clock
// time that a spring-forward change skips is moved forward by the gap; one that a fall-back
// change repeats is the earlier of the two instants.
//
// Every rule is expanded by the library's own engine, on its calendar: Gregorian (no RSCALE or
// RSCALE=GREGORIAN) or the RSCALE calendars CHINESE, DANGI, HEBREW, ISLAMIC-CIVIL, ISLAMIC-TBLA,
// ISLAMIC-UMALQURA, PERSIAN, INDIAN and the Vietnamese marker, over the library's calendar
// arithmetic (other_calendar.h). Every part of RFC 5545 (FREQ SECONDLY to YEARLY, INTERVAL,
// COUNT, UNTIL, BYSECOND to BYMONTH, BYSETPOS, WKST) and of RFC 7529 (leap months "5L", SKIP)
// means the same on every calendar. Where RFC 5545 is silent or forbids a combination the rule is
// read as python-dateutil reads it: BYWEEKNO, BYYEARDAY and BYMONTHDAY limit the days in any
// frequency, an ordinal BYDAY outside MONTHLY and YEARLY counts as the plain weekday, and
// BYSETPOS in a weekly rule picks within each whole week from WKST.
//
// The application's extensions: a workday rule gives the first or last Monday-to-Friday day of
// every INTERVAL-th month; a picked-dates rule gives its dates (dates without a time at the start's
// time of day); an official working-day rule gives every official working day and an official
// holiday rule every holiday day of the official calendar (calendar/official_calendar.h), at the
// start's time of day, whatever FREQ and INTERVAL say; the Ebbinghaus curve has no occurrences
// here (its schedule is the application's). docs/RRULE.md explains these choices.
//
// Every search is bounded: it ends after kMaxSearchYears years past the later of the start and
// `from`, or after kMaxCandidates steps (periods read or skipped), whichever comes first, and
// returns what it found. Periods a rule's coarse parts exclude are skipped whole, so a rule that
// has no occurrence gives an empty list, never an endless loop.
//
// No state of its own: callable from any thread.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik {

class SVRecurrenceAssistant {
 public:
  // Bounds of one search (see above).
  static constexpr int kMaxSearchYears = 500;
  static constexpr std::size_t kMaxCandidates = 200000;

  // Up to `limit` occurrence instants of `object`'s rule, in ascending order, starting with its
  // start date: those after `from`, and also one exactly at `from` when `includingFirst` is set.
  // The start itself is an occurrence only when it matches the rule. COUNT counts from the start.
  // Empty for a missing start, a rule text that does not parse, an unknown time zone identifier
  // (the object's zone is then not guessed), a limit of 0, and every rule the engine does not
  // expand (see above).
  static std::vector<platform::Date> occurrenceDatesForRecurringObject(
      const SVSimpleRecurringObject& object, platform::Date from, std::size_t limit,
      bool includingFirst);

  // ---- Repair (recurrence_assistant_repair.cpp)

  // The rule text with its day fields rewritten from `date` (see byDay_fixedRecurrenceRule), for
  // mode SVRecurrenceFromDefault; any other mode, and a text that does not parse, give `text`
  // unchanged, byte for byte. A text that does not parse is logged at error level as
  // "abnormal recurrence rule: <text> <reason>".
  static std::string byDay_fixedRecurrenceRuleString(std::string_view text,
                                                     std::string_view recurrenceFrom,
                                                     platform::Date date);

  // Rewrites the day fields of `rule` in place from `date` and returns it (a null rule gives
  // null); only in mode SVRecurrenceFromDefault:
  // - a Chinese lunar rule takes the date's lunar day (monthly) or lunar month and day (yearly);
  // - a rule on another calendar takes the date's month and day in that calendar the same way; a
  //   date that calendar cannot express leaves the rule as it was;
  // - a Gregorian yearly rule takes the date's month and day (BYDAY is kept); a monthly rule with
  //   one BYDAY entry takes the date's weekday and its ordinal in the month (the 4th Friday), else
  //   one BYMONTHDAY entry or none at all takes the date's day; a weekly rule with at most one
  //   weekday takes the date's weekday.
  // Rules with several weekdays or several month days, and other frequencies, are left alone.
  // Dates are read in the current time zone (the Chinese calendar in China's civil days); a
  // non-finite date leaves the rule as it was.
  static std::shared_ptr<SVRecurrenceRule> byDay_fixedRecurrenceRule(
      std::shared_ptr<SVRecurrenceRule> rule, std::string_view recurrenceFrom, platform::Date date);

  // The first occurrence of a due-date object (mode SVRecurrenceFromDueDate) with a weekly,
  // monthly or yearly rule: the start date itself when it matches the rule, else the next
  // occurrence. std::nullopt for a missing start, an empty rule text or mode, another mode or
  // frequency, a rule without occurrences, and a text that does not parse (logged as above).
  static std::optional<platform::Date> firstOccurenceDateForRecurringObjectIfExists(
      const SVSimpleRecurringObject& object);
};

}  // namespace norvik
